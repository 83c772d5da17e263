// The reference platform's USB pointer driver. Stock OVMF binds no driver to
// USB mice and tablets; before the utility starts, the launcher takes every
// HID interface that no other driver owns and whose report descriptor
// describes a pointer, receives its reports by asynchronous interrupt
// transfers and installs on its handle an Absolute Pointer protocol
// (tablets, touch screens: a tip switch or the left button is contact, bit 0
// of ActiveButtons) or a Simple Pointer protocol (mice).
#pragma once

#include "platform/efi.h"

// Installs the driver binding on ImageHandle and binds every usable
// interface present; returns how many were bound. Pointers plugged in later
// are bound when the firmware connects them.
UINTN UsbHidPointer_Start(EFI_HANDLE ImageHandle);
// Cancels the transfers, uninstalls the protocols and the driver binding and
// releases the interfaces, so nothing points into the launcher's image once
// it returns.
void UsbHidPointer_Stop();
