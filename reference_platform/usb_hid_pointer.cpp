// USB HID pointer driver (see usb_hid_pointer.h).
//
// A driver binding on the launcher's image: the firmware offers it every
// USB interface, at start-up through ConnectController and later when a
// device is plugged in, and stops it before an interface goes away.
// Per interface: the interface descriptor must be HID and not a boot
// keyboard; the interface is opened BY_DRIVER, which fails when another
// driver (OVMF's keyboard driver) owns it; the configuration descriptor gives
// the report descriptor's length, the report descriptor gives the layout. A
// boot mouse whose report descriptor cannot be used is switched to the boot
// protocol. Reports arrive in the interrupt callback (raised TPL) and are
// folded into the protocol state that GetState hands out.
#include "reference_platform/usb_hid_pointer.h"

#include "platform/lib.h"
#include "platform/usb_io.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/serial.h"
#include "reference_platform/usb_hid_config.h"
#include "reference_platform/usb_hid_descriptor.h"
#include "reference_platform/usb_hid_report.h"

namespace {

constexpr UINTN kMaxDevices = 8;
constexpr UINT32 kControlTimeoutMs = 1000;
constexpr UINT16 kLongestConfig = 4096;
constexpr UINT16 kLongestReportDescriptor = 4096;
// A transfer that failed (a stalled endpoint, a device gone) is tried again
// after this long, at most this many times.
constexpr UINT64 kRecoveryDelay100ns = 10000000; // 1 s
constexpr UINT32 kMaxRecoveries = 5;
constexpr UINT32 kTimerRelative = 2;
// Mice without a physical extent: counts per millimetre (about 400 dpi).
constexpr UINT64 kDefaultMouseResolution = 16;

struct Device {
  EFI_HANDLE Controller;
  EFI_USB_IO_PROTOCOL* UsbIo;
  UINT8 Interface;
  UINT8 Endpoint;
  UINT8 PollingMs;
  UINTN TransferLength;
  HidPointerLayout Layout;
  bool Opened;
  bool TransferActive;
  bool ProtocolInstalled;
  UINT32 Recoveries;
  EFI_EVENT RecoveryTimer;
  // What GetState hands out next, and whether it differs from what it
  // handed out last.
  bool Changed;
  // Buttons pressed in any report since GetState last handed out a state: a
  // tap or click that begins and ends between two polls is still seen once.
  UINT32 PressedSinceRead;
  EFI_SIMPLE_POINTER_PROTOCOL Simple;
  EFI_SIMPLE_POINTER_MODE SimpleMode;
  EFI_SIMPLE_POINTER_STATE SimpleState;
  EFI_ABSOLUTE_POINTER_PROTOCOL Absolute;
  EFI_ABSOLUTE_POINTER_MODE AbsoluteMode;
  EFI_ABSOLUTE_POINTER_STATE AbsoluteState;
};

constinit Device* Devices[kMaxDevices] = {};
constinit UINTN DeviceCount = 0;
constinit EFI_HANDLE Agent = nullptr;

void Log(const CHAR8* What, UINT64 Value) {
  AsciiLine line;
  AsciiLine_Start(&line, "USB pointer: ");
  AsciiLine_Append(&line, What);
  AsciiLine_Append(&line, " ");
  AsciiLine_AppendHex(&line, Value);
  Serial_WriteLine(line.Text);
}

bool IsAbsolute(const Device* D) {
  return D->Layout.Kind == HidPointerKind::Absolute;
}

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

// ---------------------------------------------------------------------------
// Protocol functions. This is looked up among the live devices (at the TPL
// that keeps an unplugged device from being released meanwhile) before
// anything is read through it: a caller may hold on to a protocol whose
// device has gone.
// ---------------------------------------------------------------------------
EFI_STATUS EFIAPI SimpleReset(EFI_SIMPLE_POINTER_PROTOCOL* This, BOOLEAN) {
  const EFI_TPL old = PlatformBootServices->RaiseTPL(TPL_NOTIFY);
  Device* d = FindSimple(This);
  if (d == nullptr) {
    PlatformBootServices->RestoreTPL(old);
    return EFI_INVALID_PARAMETER;
  }
  d->SimpleState = {};
  d->PressedSinceRead = 0;
  d->Changed = false;
  PlatformBootServices->RestoreTPL(old);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SimpleGetState(EFI_SIMPLE_POINTER_PROTOCOL* This,
                                 EFI_SIMPLE_POINTER_STATE* State) {
  if (State == nullptr) return EFI_INVALID_PARAMETER;
  const EFI_TPL old = PlatformBootServices->RaiseTPL(TPL_NOTIFY);
  Device* d = FindSimple(This);
  EFI_STATUS status = d == nullptr ? EFI_INVALID_PARAMETER : EFI_NOT_READY;
  if (d != nullptr && d->Changed) {
    *State = d->SimpleState;
    if ((d->PressedSinceRead & 1) != 0) State->LeftButton = 1;
    if ((d->PressedSinceRead & 2) != 0) State->RightButton = 1;
    d->PressedSinceRead = 0;
    // Movement is reported once; the buttons stay as they are.
    d->SimpleState.RelativeMovementX = 0;
    d->SimpleState.RelativeMovementY = 0;
    d->SimpleState.RelativeMovementZ = 0;
    d->Changed = false;
    status = EFI_SUCCESS;
  }
  PlatformBootServices->RestoreTPL(old);
  return status;
}

EFI_STATUS EFIAPI AbsoluteReset(EFI_ABSOLUTE_POINTER_PROTOCOL* This, BOOLEAN) {
  const EFI_TPL old = PlatformBootServices->RaiseTPL(TPL_NOTIFY);
  Device* d = FindAbsolute(This);
  if (d == nullptr) {
    PlatformBootServices->RestoreTPL(old);
    return EFI_INVALID_PARAMETER;
  }
  d->AbsoluteState = {};
  d->PressedSinceRead = 0;
  d->Changed = false;
  PlatformBootServices->RestoreTPL(old);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI AbsoluteGetState(EFI_ABSOLUTE_POINTER_PROTOCOL* This,
                                   EFI_ABSOLUTE_POINTER_STATE* State) {
  if (State == nullptr) return EFI_INVALID_PARAMETER;
  const EFI_TPL old = PlatformBootServices->RaiseTPL(TPL_NOTIFY);
  Device* d = FindAbsolute(This);
  EFI_STATUS status = d == nullptr ? EFI_INVALID_PARAMETER : EFI_NOT_READY;
  if (d != nullptr && d->Changed) {
    *State = d->AbsoluteState;
    State->ActiveButtons |= d->PressedSinceRead;
    d->PressedSinceRead = 0;
    d->Changed = false;
    status = EFI_SUCCESS;
  }
  PlatformBootServices->RestoreTPL(old);
  return status;
}

// WaitForInput: signalled while there is a state GetState has not handed out.
void EFIAPI WaitForInput(EFI_EVENT Event, void* Context) {
  const auto* d = static_cast<const Device*>(Context);
  if (d->Changed) PlatformBootServices->SignalEvent(Event);
}

// ---------------------------------------------------------------------------
// Reports
// ---------------------------------------------------------------------------
INT32 AddClamped(INT32 A, INT32 B) {
  const INT64 sum = static_cast<INT64>(A) + B;
  if (sum > 0x7FFFFFFF) return 0x7FFFFFFF;
  if (sum < -0x7FFFFFFF) return -0x7FFFFFFF;
  return static_cast<INT32>(sum);
}

void Fold(Device* D, const HidPointerSample& S) {
  if (IsAbsolute(D)) {
    EFI_ABSOLUTE_POINTER_STATE next = D->AbsoluteState;
    if (S.InRange) {
      next.CurrentX = static_cast<UINT64>(S.X);
      next.CurrentY = static_cast<UINT64>(S.Y);
    }
    next.ActiveButtons = (S.Contact ? 1u : 0u) | ((S.Buttons & 2) != 0 ? 2u : 0u);
    D->PressedSinceRead |= next.ActiveButtons;
    if (next.CurrentX != D->AbsoluteState.CurrentX || next.CurrentY != D->AbsoluteState.CurrentY ||
        next.ActiveButtons != D->AbsoluteState.ActiveButtons) {
      D->AbsoluteState = next;
      D->Changed = true;
    }
    return;
  }
  EFI_SIMPLE_POINTER_STATE& s = D->SimpleState;
  const BOOLEAN left = (S.Buttons & 1) != 0;
  const BOOLEAN right = (S.Buttons & 2) != 0;
  if (S.X != 0 || S.Y != 0 || S.Wheel != 0 || left != s.LeftButton || right != s.RightButton)
    D->Changed = true;
  s.RelativeMovementX = AddClamped(s.RelativeMovementX, S.X);
  s.RelativeMovementY = AddClamped(s.RelativeMovementY, S.Y);
  s.RelativeMovementZ = AddClamped(s.RelativeMovementZ, S.Wheel);
  s.LeftButton = left;
  s.RightButton = right;
  D->PressedSinceRead |= (left ? 1u : 0u) | (right ? 2u : 0u);
}

EFI_STATUS EFIAPI OnReport(void* Data, UINTN Length, void* Context, UINT32 Status);

EFI_STATUS StartTransfer(Device* D) {
  const EFI_STATUS status = D->UsbIo->UsbAsyncInterruptTransfer(
      D->UsbIo, D->Endpoint, 1, D->PollingMs, D->TransferLength, OnReport, D);
  D->TransferActive = !EFI_ERROR(status);
  return status;
}

void CancelTransfer(Device* D) {
  if (!D->TransferActive) return;
  D->UsbIo->UsbAsyncInterruptTransfer(D->UsbIo, D->Endpoint, 0, 0, 0, nullptr, nullptr);
  D->TransferActive = false;
}

// The recovery timer: clears the endpoint's halt and submits the transfer again.
void EFIAPI Recover(EFI_EVENT, void* Context) {
  auto* d = static_cast<Device*>(Context);
  if (d->TransferActive) return;
  EFI_USB_DEVICE_REQUEST clear = {0x02, 0x01, 0, d->Endpoint, 0}; // CLEAR_FEATURE(ENDPOINT_HALT)
  UINT32 usbStatus = 0;
  d->UsbIo->UsbControlTransfer(d->UsbIo, &clear, EfiUsbNoData, kControlTimeoutMs, nullptr, 0,
                               &usbStatus);
  StartTransfer(d);
}

EFI_STATUS EFIAPI OnReport(void* Data, UINTN Length, void* Context, UINT32 Status) {
  auto* d = static_cast<Device*>(Context);
  if (Status != 0) {
    // The host controller stops a failed transfer's polling: cancel it and
    // try again later, a few times.
    CancelTransfer(d);
    if (d->RecoveryTimer != nullptr && d->Recoveries < kMaxRecoveries) {
      ++d->Recoveries;
      PlatformBootServices->SetTimer(d->RecoveryTimer, kTimerRelative, kRecoveryDelay100ns);
    }
    return EFI_DEVICE_ERROR;
  }
  d->Recoveries = 0;
  HidPointerSample sample = {};
  if (Length > d->TransferLength) Length = d->TransferLength;
  if (HidReport_Decode(d->Layout, static_cast<const UINT8*>(Data), Length, &sample))
    Fold(d, sample);
  return EFI_SUCCESS;
}

// ---------------------------------------------------------------------------
// Discovery
// ---------------------------------------------------------------------------
EFI_STATUS GetDescriptor(EFI_USB_IO_PROTOCOL* UsbIo, UINT8 RequestType, UINT8 Type, UINT8 Index,
                         UINT16 LanguageOrInterface, void* Buffer, UINT16 Length) {
  EFI_USB_DEVICE_REQUEST request = {RequestType, kUsbRequestGetDescriptor,
                                    static_cast<UINT16>((Type << 8) | Index), LanguageOrInterface,
                                    Length};
  UINT32 usbStatus = 0;
  const EFI_STATUS status = UsbIo->UsbControlTransfer(
      UsbIo, &request, EfiUsbDataIn, kControlTimeoutMs, Buffer, Length, &usbStatus);
  return EFI_ERROR(status) || usbStatus != 0 ? EFI_DEVICE_ERROR : EFI_SUCCESS;
}

void ClassRequest(EFI_USB_IO_PROTOCOL* UsbIo, UINT8 Request, UINT16 Value, UINT16 Interface) {
  EFI_USB_DEVICE_REQUEST request = {kUsbRequestTypeClassInterfaceOut, Request, Value, Interface, 0};
  UINT32 usbStatus = 0;
  UsbIo->UsbControlTransfer(UsbIo, &request, EfiUsbNoData, kControlTimeoutMs, nullptr, 0,
                            &usbStatus);
}

// A touch screen with an Input Mode feature reports as a mouse until told
// otherwise: its feature report is read (to keep the other fields), the mode
// set to multi-touch and the report written back.
void SetTouchInputMode(Device* D) {
  const auto& mode = D->Layout.InputMode;
  if (mode.BitSize == 0) return;
  const UINT16 id = D->Layout.UsesReportIds ? 1 : 0;
  const UINT16 length = static_cast<UINT16>(mode.FeatureBytes + id);
  UINT8 report[kHidMaxReportBytes + 1] = {};
  const UINT16 value = static_cast<UINT16>((kHidReportTypeFeature << 8) | mode.ReportId);
  EFI_USB_DEVICE_REQUEST get = {kUsbRequestTypeClassInterfaceIn, kHidRequestGetReport, value,
                                D->Interface, length};
  UINT32 usbStatus = 0;
  if (EFI_ERROR(D->UsbIo->UsbControlTransfer(D->UsbIo, &get, EfiUsbDataIn, kControlTimeoutMs,
                                             report, length, &usbStatus)) ||
      usbStatus != 0)
    MemFill(report, 0, sizeof(report));
  if (id != 0) report[0] = mode.ReportId;
  HidReport_SetBits(report + id, mode.FeatureBytes, mode.BitOffset, mode.BitSize,
                    kHidInputModeMultiTouch);
  EFI_USB_DEVICE_REQUEST set = {kUsbRequestTypeClassInterfaceOut, kHidRequestSetReport, value,
                                D->Interface, length};
  const EFI_STATUS status = D->UsbIo->UsbControlTransfer(
      D->UsbIo, &set, EfiUsbDataOut, kControlTimeoutMs, report, length, &usbStatus);
  Log("touch input mode set, status", status);
}

// The report descriptor's length, from the configuration the interface
// belongs to; 0 when it cannot be found.
UINT16 ReportDescriptorLength(EFI_USB_IO_PROTOCOL* UsbIo,
                              const EFI_USB_INTERFACE_DESCRIPTOR& Interface) {
  EFI_USB_CONFIG_DESCRIPTOR active = {};
  EFI_USB_DEVICE_DESCRIPTOR device = {};
  if (EFI_ERROR(UsbIo->UsbGetConfigDescriptor(UsbIo, &active)) ||
      EFI_ERROR(UsbIo->UsbGetDeviceDescriptor(UsbIo, &device)))
    return 0;
  UINT16 total = active.TotalLength;
  if (total < sizeof(EFI_USB_CONFIG_DESCRIPTOR)) return 0;
  if (total > kLongestConfig) total = kLongestConfig;
  UINT8* config = static_cast<UINT8*>(Quorvex_AllocatePool(total));
  if (config == nullptr) return 0;
  UINT16 length = 0;
  // The active configuration is the one whose value matches; usually index 0.
  for (UINT8 index = 0; index < device.NumConfigurations && length == 0; ++index) {
    MemFill(config, 0, total);
    if (EFI_ERROR(GetDescriptor(UsbIo, kUsbRequestTypeStandardDeviceIn, kUsbDescriptorConfiguration,
                                index, 0, config, total)))
      continue;
    if (config[1] != kUsbDescriptorConfiguration || config[5] != active.ConfigurationValue)
      continue;
    length = UsbHidConfig_ReportDescriptorLength(config, total, Interface.InterfaceNumber,
                                                 Interface.AlternateSetting);
  }
  Quorvex_FreePool(config);
  return length;
}

// Reads and parses the report descriptor; a boot mouse that gives no usable
// one is put into the boot protocol with its fixed report.
bool ReadLayout(Device* D, const EFI_USB_INTERFACE_DESCRIPTOR& Interface) {
  HidParseResult result = HidParseResult::Malformed;
  UINT16 length = ReportDescriptorLength(D->UsbIo, Interface);
  if (length > kLongestReportDescriptor) length = 0;
  if (length != 0) {
    UINT8* report = static_cast<UINT8*>(Quorvex_AllocatePool(length));
    if (report != nullptr) {
      if (!EFI_ERROR(GetDescriptor(D->UsbIo, kUsbRequestTypeStandardInterfaceIn,
                                   kUsbDescriptorHidReport, 0, Interface.InterfaceNumber, report,
                                   length)))
        result = HidDescriptor_Parse(report, length, &D->Layout);
      Quorvex_FreePool(report);
    }
  }
  const bool bootMouse = Interface.InterfaceSubClass == kUsbHidSubclassBoot &&
                         Interface.InterfaceProtocol == kUsbHidProtocolMouse;
  Log("report descriptor bytes", length);
  if (result == HidParseResult::Ok) {
    if (Interface.InterfaceSubClass == kUsbHidSubclassBoot)
      ClassRequest(D->UsbIo, kHidRequestSetProtocol, kHidProtocolReport, D->Interface);
    return true;
  }
  Log("report descriptor unusable, result", static_cast<UINT64>(result));
  if (!bootMouse) return false;
  HidDescriptor_BootMouseLayout(&D->Layout);
  ClassRequest(D->UsbIo, kHidRequestSetProtocol, kHidProtocolBoot, D->Interface);
  return true;
}

bool FindInterruptIn(Device* D, const EFI_USB_INTERFACE_DESCRIPTOR& Interface) {
  for (UINT8 i = 0; i < Interface.NumEndpoints; ++i) {
    EFI_USB_ENDPOINT_DESCRIPTOR e = {};
    if (EFI_ERROR(D->UsbIo->UsbGetEndpointDescriptor(D->UsbIo, i, &e))) continue;
    if ((e.EndpointAddress & kUsbEndpointDirectionIn) == 0 ||
        (e.Attributes & kUsbEndpointTypeMask) != kUsbEndpointTypeInterrupt)
      continue;
    D->Endpoint = e.EndpointAddress;
    // bInterval is in frames or in powers of two of microframes depending
    // on the speed; a pointer is polled every 1..8 ms either way.
    D->PollingMs = e.Interval == 0 ? 1 : (e.Interval > 8 ? 8 : e.Interval);
    const UINTN report = D->Layout.MaxReportBytes + (D->Layout.UsesReportIds ? 1 : 0);
    const UINTN packet = e.MaxPacketSize & 0x7FF;
    D->TransferLength = packet > report ? packet : report;
    if (D->TransferLength > kHidMaxReportBytes + 1) D->TransferLength = kHidMaxReportBytes + 1;
    return true;
  }
  return false;
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

void Release(Device* D) {
  CancelTransfer(D);
  if (D->ProtocolInstalled) {
    if (IsAbsolute(D))
      PlatformBootServices->UninstallProtocolInterface(D->Controller, &kAbsolutePointerGuid,
                                                       &D->Absolute);
    else
      PlatformBootServices->UninstallProtocolInterface(D->Controller, &kSimplePointerGuid,
                                                       &D->Simple);
    D->ProtocolInstalled = false;
  }
  if (D->RecoveryTimer != nullptr) PlatformBootServices->CloseEvent(D->RecoveryTimer);
  EFI_EVENT wait = IsAbsolute(D) ? D->Absolute.WaitForInput : D->Simple.WaitForInput;
  if (wait != nullptr) PlatformBootServices->CloseEvent(wait);
  if (D->Opened)
    PlatformBootServices->CloseProtocol(D->Controller, &kUsbIoGuid, Agent, D->Controller);
  Quorvex_FreePool(D);
}

// The interface's USB I/O and descriptor when it is a HID interface that
// may be a pointer (boot keyboards are left alone).
bool HidInterface(EFI_HANDLE Controller, EFI_USB_IO_PROTOCOL** UsbIo,
                  EFI_USB_INTERFACE_DESCRIPTOR* Interface) {
  void* found = nullptr;
  if (EFI_ERROR(PlatformBootServices->HandleProtocol(Controller, &kUsbIoGuid, &found)) ||
      found == nullptr)
    return false;
  *UsbIo = static_cast<EFI_USB_IO_PROTOCOL*>(found);
  *Interface = {};
  if (EFI_ERROR((*UsbIo)->UsbGetInterfaceDescriptor(*UsbIo, Interface)) ||
      Interface->InterfaceClass != kUsbClassHid)
    return false;
  return !(Interface->InterfaceSubClass == kUsbHidSubclassBoot &&
           Interface->InterfaceProtocol == kUsbHidProtocolKeyboard);
}

// Binds one interface; false (nothing kept) when it is not a usable pointer.
bool Bind(EFI_HANDLE Controller) {
  EFI_BOOT_SERVICES* bs = PlatformBootServices;
  EFI_USB_IO_PROTOCOL* usbIo = nullptr;
  EFI_USB_INTERFACE_DESCRIPTOR interface = {};
  if (DeviceCount >= kMaxDevices || !HidInterface(Controller, &usbIo, &interface)) return false;
  // Refused when a driver already owns the interface.
  void* opened = nullptr;
  if (EFI_ERROR(bs->OpenProtocol(Controller, &kUsbIoGuid, &opened, Agent, Controller,
                                 EFI_OPEN_PROTOCOL_BY_DRIVER)))
    return false;

  auto* d = static_cast<Device*>(Quorvex_AllocatePool(sizeof(Device)));
  if (d == nullptr) {
    bs->CloseProtocol(Controller, &kUsbIoGuid, Agent, Controller);
    return false;
  }
  *d = {};
  d->Controller = Controller;
  d->UsbIo = usbIo;
  d->Interface = interface.InterfaceNumber;
  d->Opened = true;
  if (!ReadLayout(d, interface) || !FindInterruptIn(d, interface)) {
    Release(d);
    return false;
  }
  // Reports only when something changes.
  ClassRequest(usbIo, kHidRequestSetIdle, 0, d->Interface);
  SetTouchInputMode(d);
  SetUpProtocols(d);

  EFI_EVENT* wait = IsAbsolute(d) ? &d->Absolute.WaitForInput : &d->Simple.WaitForInput;
  EFI_STATUS status = bs->CreateEvent(EVT_NOTIFY_WAIT, TPL_NOTIFY, WaitForInput, d, wait);
  if (!EFI_ERROR(status))
    status =
        bs->CreateEvent(EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Recover, d, &d->RecoveryTimer);
  if (!EFI_ERROR(status)) {
    EFI_HANDLE handle = Controller;
    status = IsAbsolute(d) ? bs->InstallProtocolInterface(&handle, &kAbsolutePointerGuid,
                                                          EFI_NATIVE_INTERFACE, &d->Absolute)
                           : bs->InstallProtocolInterface(&handle, &kSimplePointerGuid,
                                                          EFI_NATIVE_INTERFACE, &d->Simple);
    d->ProtocolInstalled = !EFI_ERROR(status);
  }
  // Devices is filled before the transfer starts: the callback's state is
  // reachable through the protocol only once it is listed.
  if (!EFI_ERROR(status)) {
    Devices[DeviceCount++] = d;
    status = StartTransfer(d);
    if (EFI_ERROR(status)) --DeviceCount;
  }
  if (EFI_ERROR(status)) {
    Log("cannot start the interface, status", status);
    Release(d);
    return false;
  }
  Log(IsAbsolute(d) ? "absolute pointer on interface" : "relative pointer on interface",
      d->Interface);
  return true;
}

// Takes the device of Controller off the list and releases it.
bool Unbind(EFI_HANDLE Controller) {
  for (UINTN i = 0; i < DeviceCount; ++i) {
    Device* d = Devices[i];
    if (d->Controller != Controller) continue;
    Devices[i] = Devices[--DeviceCount];
    Devices[DeviceCount] = nullptr;
    Log("released interface", d->Interface);
    Release(d);
    return true;
  }
  return false;
}

// ---------------------------------------------------------------------------
// Driver binding: the firmware connects the driver to interfaces that appear
// while the utility runs and disconnects it from those that go away.
// ---------------------------------------------------------------------------
// Set when the firmware asks the binding about a controller.
constinit bool BindingAsked = false;

EFI_STATUS EFIAPI BindingSupported(EFI_DRIVER_BINDING_PROTOCOL*, EFI_HANDLE Controller,
                                   EFI_DEVICE_PATH_PROTOCOL*) {
  BindingAsked = true;
  EFI_USB_IO_PROTOCOL* usbIo = nullptr;
  EFI_USB_INTERFACE_DESCRIPTOR interface = {};
  if (!HidInterface(Controller, &usbIo, &interface)) return EFI_UNSUPPORTED;
  void* opened = nullptr;
  const EFI_STATUS status = PlatformBootServices->OpenProtocol(
      Controller, &kUsbIoGuid, &opened, Agent, Controller, EFI_OPEN_PROTOCOL_BY_DRIVER);
  if (EFI_ERROR(status)) return status;
  PlatformBootServices->CloseProtocol(Controller, &kUsbIoGuid, Agent, Controller);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI BindingStart(EFI_DRIVER_BINDING_PROTOCOL*, EFI_HANDLE Controller,
                               EFI_DEVICE_PATH_PROTOCOL*) {
  return Bind(Controller) ? EFI_SUCCESS : EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI BindingStop(EFI_DRIVER_BINDING_PROTOCOL*, EFI_HANDLE Controller, UINTN,
                              EFI_HANDLE*) {
  return Unbind(Controller) ? EFI_SUCCESS : EFI_NOT_FOUND;
}

constinit EFI_DRIVER_BINDING_PROTOCOL Binding = {BindingSupported, BindingStart, BindingStop, 0x10,
                                                 nullptr,          nullptr};
constinit bool BindingInstalled = false;

} // namespace

UINTN UsbHidPointer_Start(EFI_HANDLE ImageHandle) {
  EFI_BOOT_SERVICES* bs = PlatformBootServices;
  // Each launcher run starts from nothing: what a run that never returned
  // left behind (a reset ended it; the host tests replace the firmware)
  // belonged to a firmware that is gone.
  for (Device*& d : Devices) d = nullptr;
  DeviceCount = 0;
  BindingInstalled = false;
  if (bs == nullptr) return 0;
  EFI_HANDLE handle = ImageHandle;
  BindingInstalled = !EFI_ERROR(
      bs->InstallProtocolInterface(&handle, &kDriverBindingGuid, EFI_NATIVE_INTERFACE, &Binding));
  Agent = BindingInstalled ? handle : ImageHandle;
  Binding.ImageHandle = ImageHandle;
  Binding.DriverBindingHandle = Agent;
  UINTN count = 0;
  EFI_HANDLE* handles = nullptr;
  if (EFI_ERROR(bs->LocateHandleBuffer(ByProtocol, &kUsbIoGuid, nullptr, &count, &handles)) ||
      handles == nullptr)
    return 0;
  // Connected through the binding, so the firmware knows who owns the
  // interface; when the firmware does not consult the binding, the
  // interface is bound directly.
  EFI_HANDLE drivers[2] = {Agent, nullptr};
  for (UINTN i = 0; i < count; ++i) {
    BindingAsked = false;
    if (BindingInstalled) bs->ConnectController(handles[i], drivers, nullptr, 0);
    if (!BindingAsked) Bind(handles[i]);
  }
  Quorvex_FreePool(handles);
  return DeviceCount;
}

void UsbHidPointer_Stop() {
  EFI_BOOT_SERVICES* bs = PlatformBootServices;
  while (DeviceCount > 0) {
    const EFI_HANDLE controller = Devices[DeviceCount - 1]->Controller;
    if (BindingInstalled) bs->DisconnectController(controller, Agent, nullptr);
    // Still listed when the firmware did not call the binding's Stop.
    Unbind(controller);
  }
  if (BindingInstalled) {
    bs->UninstallProtocolInterface(Agent, &kDriverBindingGuid, &Binding);
    BindingInstalled = false;
  }
}
