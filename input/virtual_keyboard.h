// The on-screen keyboard (module VirtualKeyboard): a touch keyboard below the
// password window on machines with a touch panel. While it runs, its own
// reader sits over the console's ReadKeyStroke: it hands out the last touched
// key, or else reads the physical keyboards itself, and keeps the Caps key
// and the keyboards' Caps Lock light in step.
#pragma once

#include "platform/efi.h"
#include "platform/efi_pointer.h"
#include "platform/restart.h"
#include "platform/vendor_protocols.h"
#include "setup_data/keyboard_layout.h"

// ---- State ------------------------------------------------------------------
constexpr UINT8 kNoHighlight = 255;

// Everything the keyboard keeps between calls; Quorvex_VirtualKeyboard_Reset
// puts it back to these values.
struct VirtualKeyboardState {
  UINT8 Active = 0;     // 1 between start and stop
  UINT8 Enabled = 0;    // the platform's answer (operation 12)
  UINT8 CapsOn = 0;     // letters upper case
  UINT8 ShiftOn = 0;    // shifted symbols (a latch)
  UINT8 KeyPending = 0; // a touched key waits to be read
  UINT16 PendingScanCode = 0;
  UINT16 PendingChar = 0;
  // The key drawn pressed: row code (2 digit row ... 6 bottom row) and
  // column; kNoHighlight in both means none.
  UINT8 HighlightRow = kNoHighlight;
  UINT8 HighlightColumn = kNoHighlight;
  // This run's reader and keyboards (between start and stop).
  EFI_INPUT_READ_KEY SavedReadKeyStroke = nullptr;
  EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL** TextInputExList = nullptr;
  UINT64 TextInputExCount = 0;
  UINT64 TextInputExHandlesSeen = 0;
  ExtendedKeyCodeProtocol** KeyCodeList = nullptr;
  UINT64 KeyCodeCount = 0;
  EFI_ABSOLUTE_POINTER_PROTOCOL* TouchDevice = nullptr;
  // The restart registry slot that takes the reader off if a restart
  // abandons the password field.
  UINTN RestartSlot = kNoRestartSlot;
};
extern constinit VirtualKeyboardState VirtualKeyboard;

// The module's state under its long-standing names.
inline constexpr UINT8& VirtualKeyboardActive = VirtualKeyboard.Active;
inline constexpr UINT8& VirtualKeyboardEnabled = VirtualKeyboard.Enabled;
inline constexpr UINT8& CapsOn = VirtualKeyboard.CapsOn;
inline constexpr UINT8& ShiftOn = VirtualKeyboard.ShiftOn;
inline constexpr UINT8& KeyPending = VirtualKeyboard.KeyPending;
inline constexpr UINT16& PendingScanCode = VirtualKeyboard.PendingScanCode;
inline constexpr UINT16& PendingChar = VirtualKeyboard.PendingChar;
inline constexpr UINT8& HighlightRow = VirtualKeyboard.HighlightRow;
inline constexpr UINT8& HighlightColumn = VirtualKeyboard.HighlightColumn;

// Keyboard toggle states handed to SetState: valid and exposed, with Caps Lock.
constexpr UINT8 kLedsCapsOff = 0xC0;
constexpr UINT8 kLedsCapsOn = 0xC4;

// ---- Layout -----------------------------------------------------------------
// The panel and its keys for the current screen size.
KeyboardRect Quorvex_VirtualKeyboard_Panel();
// Key (Row, Column): its rectangle; false where the row has no key there.
bool Quorvex_VirtualKeyboard_KeyRect(UINT32 Row, UINT32 Column, KeyboardRect* Rect);
// The character a key of rows 1-5 types (0 for keys that type none), with
// the shift and case rules applied.
CHAR16 Quorvex_VirtualKeyboard_KeyChar(UINT32 Row, UINT32 Column, bool Shift, bool Caps);
// The key's label, into Label (at least 8 units); false when there is no key.
bool Quorvex_VirtualKeyboard_KeyLabel(UINT32 Row, UINT32 Column, bool Shift, bool Caps,
                                      CHAR16* Label);

// ---- Interfaces -------------------------------------------------------------
// Start: needs a touch panel and the platform's consent (EFI_ABORTED
// otherwise); draws the keyboard and installs the reader.
EFI_STATUS Quorvex_VirtualKeyboard_Start();
// Stop: puts the saved reader back and forgets the keyboard lists. The
// picture stays; the caller redraws.
EFI_STATUS Quorvex_VirtualKeyboard_Stop();
// Finds the Simple Text Input Ex and extended key-code instances.
EFI_STATUS Quorvex_VirtualKeyboard_Init();
// SetState on every Simple Text Input Ex instance.
EFI_STATUS Quorvex_VirtualKeyboard_SetLeds(UINT8 ToggleState);
void Quorvex_VirtualKeyboard_Draw();
EFI_STATUS Quorvex_VirtualKeyboard_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                  const CHAR16* Label);
EFI_STATUS Quorvex_VirtualKeyboard_Selected_Button_Control(UINT64 X, UINT64 Y, UINT64 Width,
                                                           UINT64 Height, const CHAR16* Label);
// The last handler of the click chain: EFI_SUCCESS when a key was touched.
EFI_STATUS Quorvex_VirtualKeyboard_Touch();
EFI_STATUS EFIAPI Quorvex_VirtualKeyboard_ReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This,
                                                        EFI_INPUT_KEY* Key);

// The state back to its power-on values (nothing is freed).
void Quorvex_VirtualKeyboard_Reset();
