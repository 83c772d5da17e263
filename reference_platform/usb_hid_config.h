// Finding a HID interface's report descriptor length in its configuration
// descriptor. Plain code with no firmware calls.
#pragma once

#include "platform/efi.h"

// Walks Length bytes of configuration descriptor (header, then interface,
// class and endpoint descriptors) to the interface InterfaceNumber /
// AlternateSetting and the HID class descriptor that follows it; returns the
// length it gives for the report descriptor, 0 when there is none or the
// descriptor chain is broken (a length below 2 or past the end).
UINT16 UsbHidConfig_ReportDescriptorLength(const UINT8* Config, UINTN Length, UINT8 InterfaceNumber,
                                           UINT8 AlternateSetting);
