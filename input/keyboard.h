// The keyboard-source replacement (module Keyboard): with key-source mode 2
// the console's key reader takes its keys from the firmware's extended
// key-code protocol instances instead of the console.
#pragma once

#include "platform/efi.h"
#include "platform/vendor_protocols.h"

// Everything the replacement keeps; Quorvex_Keyboard_Reset puts it back to
// these values.
struct KeyboardState {
  // Written by the Security page from operation 193; 2 routes key reading
  // to the extended key-code protocol.
  UINT32 KeySourceMode = 0;
  // The extended key-code instances found at the last scan.
  ExtendedKeyCodeProtocol** Interfaces = nullptr;
  UINT64 InterfaceCount = 0;
  // Handles that carried the protocol at the last scan (hot-plug detection).
  UINT64 HandleCount = 0;
  // ConIn's ReadKeyStroke as found before the replacement; null until then.
  EFI_INPUT_READ_KEY SavedConInReadKeyStroke = nullptr;
};
extern constinit KeyboardState Keyboard;

// The module's state under its long-standing names.
inline constexpr UINT32& KeySourceMode = Keyboard.KeySourceMode;
inline constexpr ExtendedKeyCodeProtocol**& KeyCodeInterfaces = Keyboard.Interfaces;
inline constexpr UINT64& KeyCodeInterfaceCount = Keyboard.InterfaceCount;
inline constexpr UINT64& KeyCodeHandleCount = Keyboard.HandleCount;
inline constexpr EFI_INPUT_READ_KEY& SavedConInReadKeyStroke = Keyboard.SavedConInReadKeyStroke;

// Scans the extended key-code instances and, once, installs
// Quorvex_KeyboardReadKeyStroke over ConIn's ReadKeyStroke.
void Quorvex_KeyboardConIn_Replacement_Start();
EFI_STATUS EFIAPI Quorvex_KeyboardReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This,
                                                EFI_INPUT_KEY* Key);

// The state back to its power-on values: the instance list and the saved
// reader are forgotten (the firmware that held them is gone; nothing is
// freed).
void Quorvex_Keyboard_Reset();
