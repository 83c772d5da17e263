// The pointer protocols a bound interface hands out: Simple Pointer for
// mice, Absolute Pointer for tablets and touch screens.
#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/usb_hid_device.h"

namespace usb_pointer {

namespace {

// Mice without a physical extent: counts per millimetre (about 400 dpi).
constexpr UINT64 kDefaultMouseResolution = 16;

// The TPL that keeps an unplugged device from being released meanwhile,
// raised for the life of the guard.
class NotifyTpl {
public:
  NotifyTpl() : Old(PlatformBootServices->RaiseTPL(TPL_NOTIFY)) {}
  ~NotifyTpl() { PlatformBootServices->RestoreTPL(Old); }
  NotifyTpl(const NotifyTpl&) = delete;
  NotifyTpl& operator=(const NotifyTpl&) = delete;

private:
  EFI_TPL Old;
};

// The live device whose protocol This is, or null: a caller may hold on to a
// protocol whose device has gone. Called at the notify TPL.
Device* FindSimple(EFI_SIMPLE_POINTER_PROTOCOL* This) {
  for (UINTN i = 0; i < DeviceCount; ++i)
    if (&Devices[i]->Simple == This) return Devices[i];
  return nullptr;
}

Device* FindAbsolute(EFI_ABSOLUTE_POINTER_PROTOCOL* This) {
  for (UINTN i = 0; i < DeviceCount; ++i)
    if (&Devices[i]->Absolute == This) return Devices[i];
  return nullptr;
}

// Forgets what the device gathered since GetState last handed it out.
void Forget(Device* D) {
  D->PressedSinceRead = 0;
  D->Changed = false;
}

EFI_STATUS EFIAPI SimpleReset(EFI_SIMPLE_POINTER_PROTOCOL* This, BOOLEAN) {
  NotifyTpl raised;
  Device* d = FindSimple(This);
  if (d == nullptr) return EFI_INVALID_PARAMETER;
  d->SimpleState = {};
  Forget(d);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SimpleGetState(EFI_SIMPLE_POINTER_PROTOCOL* This,
                                 EFI_SIMPLE_POINTER_STATE* State) {
  if (State == nullptr) return EFI_INVALID_PARAMETER;
  NotifyTpl raised;
  Device* d = FindSimple(This);
  if (d == nullptr) return EFI_INVALID_PARAMETER;
  if (!d->Changed) return EFI_NOT_READY;
  *State = d->SimpleState;
  if ((d->PressedSinceRead & 1) != 0) State->LeftButton = 1;
  if ((d->PressedSinceRead & 2) != 0) State->RightButton = 1;
  // Movement is reported once; the buttons stay as they are.
  d->SimpleState.RelativeMovementX = 0;
  d->SimpleState.RelativeMovementY = 0;
  d->SimpleState.RelativeMovementZ = 0;
  Forget(d);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI AbsoluteReset(EFI_ABSOLUTE_POINTER_PROTOCOL* This, BOOLEAN) {
  NotifyTpl raised;
  Device* d = FindAbsolute(This);
  if (d == nullptr) return EFI_INVALID_PARAMETER;
  d->AbsoluteState = {};
  Forget(d);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI AbsoluteGetState(EFI_ABSOLUTE_POINTER_PROTOCOL* This,
                                   EFI_ABSOLUTE_POINTER_STATE* State) {
  if (State == nullptr) return EFI_INVALID_PARAMETER;
  NotifyTpl raised;
  Device* d = FindAbsolute(This);
  if (d == nullptr) return EFI_INVALID_PARAMETER;
  if (!d->Changed) return EFI_NOT_READY;
  *State = d->AbsoluteState;
  State->ActiveButtons |= d->PressedSinceRead;
  Forget(d);
  return EFI_SUCCESS;
}

} // namespace

void EFIAPI WaitForInput(EFI_EVENT Event, void* Context) {
  const auto* d = static_cast<const Device*>(Context);
  if (d->Changed) PlatformBootServices->SignalEvent(Event);
}

void SetUpProtocols(Device* D) {
  if (IsAbsolute(D)) {
    D->AbsoluteMode.AbsoluteMaxX = HidReport_AbsoluteRange(D->Layout.X);
    D->AbsoluteMode.AbsoluteMaxY = HidReport_AbsoluteRange(D->Layout.Y);
    D->AbsoluteMode.Attributes = D->Layout.Buttons[1].BitSize != 0 ? EFI_ABSP_SupportsAltActive : 0;
    D->Absolute.Reset = AbsoluteReset;
    D->Absolute.GetState = AbsoluteGetState;
    D->Absolute.Mode = &D->AbsoluteMode;
    return;
  }
  // Counts per millimetre from the physical extent when the descriptor
  // gives one in centimetres or inches; otherwise a usual mouse's.
  UINT64 resolution = kDefaultMouseResolution;
  const HidField& x = D->Layout.X;
  const UINT32 system = x.Unit & 0xF;
  const UINT32 length = (x.Unit >> 4) & 0xF;
  const INT64 physical = static_cast<INT64>(x.PhysicalMax) - x.PhysicalMin;
  const INT64 logical = static_cast<INT64>(x.LogicalMax) - x.LogicalMin;
  if ((system == 1 || system == 3) && length == 1 && physical > 0 && logical > 0 &&
      x.UnitExponent >= -4 && x.UnitExponent <= 0) {
    // physical * 10^exponent units of 10 mm (cm) or 25.4 mm (inch).
    INT64 tenthsMm = physical * (system == 1 ? 100 : 254);
    for (INT8 e = x.UnitExponent; e < 0; ++e) tenthsMm /= 10;
    if (tenthsMm > 0) {
      const INT64 perMm = logical * 10 / tenthsMm;
      if (perMm > 0) resolution = static_cast<UINT64>(perMm);
    }
  }
  D->SimpleMode.ResolutionX = resolution;
  D->SimpleMode.ResolutionY = resolution;
  D->SimpleMode.ResolutionZ = D->Layout.Wheel.BitSize != 0 ? 1 : 0;
  D->SimpleMode.LeftButton = D->Layout.Buttons[0].BitSize != 0;
  D->SimpleMode.RightButton = D->Layout.Buttons[1].BitSize != 0;
  D->Simple.Reset = SimpleReset;
  D->Simple.GetState = SimpleGetState;
  D->Simple.Mode = &D->SimpleMode;
}

} // namespace usb_pointer
