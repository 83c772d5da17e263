// The keyboard-source replacement (module Keyboard): with key-source mode 2
// the console's key reader takes its keys from the firmware's extended
// key-code protocol instances instead of the console.
#pragma once

#include "platform/efi.h"
#include "platform/vendor_protocols.h"

// Written by the Security page from operation 193; 2 routes key reading to
// the extended key-code protocol.
extern UINT32 KeySourceMode;

// The extended key-code instances found at the last scan.
extern ExtendedKeyCodeProtocol** KeyCodeInterfaces;
extern UINT64 KeyCodeInterfaceCount;
// Handles that carried the protocol at the last scan (hot-plug detection).
extern UINT64 KeyCodeHandleCount;
// ConIn's ReadKeyStroke as found before the replacement; null until then.
extern EFI_INPUT_READ_KEY SavedConInReadKeyStroke;

// Scans the extended key-code instances and, once, installs
// Quorvex_KeyboardReadKeyStroke over ConIn's ReadKeyStroke.
void Quorvex_KeyboardConIn_Replacement_Start();
EFI_STATUS EFIAPI Quorvex_KeyboardReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This,
                                                EFI_INPUT_KEY* Key);

// Host tests: forget the instance list and the saved reader (the firmware
// that held them is gone; nothing is freed).
void Quorvex_Keyboard_Reset();
