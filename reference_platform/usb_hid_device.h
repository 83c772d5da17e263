// What the USB pointer driver's parts share (usb_hid_pointer.h): the state
// of one bound interface and the list of bound interfaces.
#pragma once

#include "platform/efi.h"
#include "platform/efi_pointer.h"
#include "platform/usb_io.h"
#include "reference_platform/usb_hid_report.h"

namespace usb_pointer {

constexpr UINTN kMaxDevices = 8;
constexpr UINT32 kControlTimeoutMs = 1000;

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

// The bound interfaces; the driver binding's agent handle.
extern Device* Devices[kMaxDevices];
extern UINTN DeviceCount;
extern EFI_HANDLE Agent;

// One line "USB pointer: What <hex Value>" on the serial output.
void Log(const CHAR8* What, UINT64 Value);
inline bool IsAbsolute(const Device* D) {
  return D->Layout.Kind == HidPointerKind::Absolute;
}

// ---- Protocols (usb_hid_protocols.cpp) ---------------------------------------
// Fills the Simple or Absolute Pointer protocol and its mode from the layout.
void SetUpProtocols(Device* D);
// WaitForInput's notify: signalled while there is a state GetState has not
// handed out.
void EFIAPI WaitForInput(EFI_EVENT Event, void* Context);

// ---- Reports (usb_hid_transfer.cpp) ------------------------------------------
// Starts and cancels the interrupt transfer whose reports feed the state.
EFI_STATUS StartTransfer(Device* D);
void CancelTransfer(Device* D);
// The recovery timer's notify: clears the endpoint's halt and submits the
// transfer again.
void EFIAPI Recover(EFI_EVENT Event, void* Context);

// ---- Discovery (usb_hid_discovery.cpp) ---------------------------------------
// The interface's USB I/O and descriptor when it is a HID interface that
// may be a pointer (boot keyboards are left alone).
bool HidInterface(EFI_HANDLE Controller, EFI_USB_IO_PROTOCOL** UsbIo,
                  EFI_USB_INTERFACE_DESCRIPTOR* Interface);
// Reads and parses the report descriptor; a boot mouse that gives no usable
// one is put into the boot protocol with its fixed report.
bool ReadLayout(Device* D, const EFI_USB_INTERFACE_DESCRIPTOR& Interface);
// The interrupt IN endpoint, its polling interval and the transfer length.
bool FindInterruptIn(Device* D, const EFI_USB_INTERFACE_DESCRIPTOR& Interface);
// A class request without data to the interface.
void ClassRequest(EFI_USB_IO_PROTOCOL* UsbIo, UINT8 Request, UINT16 Value, UINT16 Interface);
// Switches a touch screen with an Input Mode feature to multi-touch reports.
void SetTouchInputMode(Device* D);

} // namespace usb_pointer
