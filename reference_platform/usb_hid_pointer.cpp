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
//
// This file binds and releases interfaces; usb_hid_discovery.cpp reads their
// descriptors, usb_hid_transfer.cpp their reports, usb_hid_protocols.cpp
// serves the pointer protocols.
#include "reference_platform/usb_hid_pointer.h"

#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/serial.h"
#include "reference_platform/usb_hid_device.h"

namespace usb_pointer {

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

} // namespace usb_pointer

using namespace usb_pointer;

namespace {

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
