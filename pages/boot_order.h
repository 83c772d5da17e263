// The boot order of the Advanced page: up to four device classes packed four
// bits per position into one setting, and the "Boot Priority Options" dialog
// that reorders them on a working copy.
#pragma once

#include "assets/assets.h"
#include "platform/efi.h"

constexpr UINT64 kBootClassCount = 4;

// Unpacks Packed into Order (Count positions). Positions past the packed
// list, or holding no valid class, take the classes not listed yet in class
// order, so every shown position names a distinct class.
void Quorvex_BootOrder_Unpack(UINT64 Packed, UINT64 Count, UINT64* Order);
// Writes the Count shown positions of Order into Packed; the nibbles of the
// positions not shown are kept.
UINT64 Quorvex_BootOrder_Pack(UINT64 Packed, UINT64 Count, const UINT64* Order);
// Positions shown: 4 with both optional classes, 3 with one, 2 with none.
UINT64 Quorvex_BootOrder_CountFor(bool OptionalOne, bool OptionalTwo);

// The boot order setting: read into the order array (set-up and after the
// defaults were loaded), laid out into the dialog's rows, stored back.
void Quorvex_BootOrder_Load();
void Quorvex_BootOrder_Layout();
void Quorvex_BootOrder_Store();
// A click on the dialog while it runs.
EFI_STATUS Quorvex_BootOrder_Click();

// One key of the dialog; false when the dialog ends.
bool Quorvex_BootOrder_Key(const EFI_INPUT_KEY& Key);
// Runs the dialog (PageState 10 while it runs, 9 after).
void Quorvex_BootOrder_Dialog();

// One row of the dialog's device list.
struct BootRow {
  UINT8 Selected;
  UINT8 Flag;
  const CHAR16* Label;
  Picture Pictures[2];
  UINT64 X, Y, Width, Height;
};

// Index of the focused button (0 Up, 1 Down, 2 OK, 3 Cancel), or 4 for none.
constexpr UINT32 kBootNoButton = 4;

// Everything the boot order and its dialog keep; Quorvex_BootOrder_Reset
// puts it back to these values.
struct BootOrderState {
  // The packed order (nibble i = class index + 1 of position i; 0 ends it),
  // the order array it unpacks to, and the number of positions shown.
  UINT64 Packed = 0;
  UINT64 Order[kBootClassCount] = {};
  UINT64 Count = 2;
  // The dialog: its rows, whether the list (1) or a button has the focus,
  // the focused button, the order held when it opened, and its end.
  BootRow Rows[kBootClassCount] = {};
  UINT8 ListFocus = 1;
  UINT32 FocusedButton = kBootNoButton;
  UINT64 SavedPacked = 0;
  bool Done = false;
};
extern constinit BootOrderState BootOrderDialog;

// The module's state under its long-standing names.
inline constexpr UINT64& BootOrderPacked = BootOrderDialog.Packed;
inline constexpr UINT64 (&BootOrder)[kBootClassCount] = BootOrderDialog.Order;
inline constexpr UINT64& BootOrderCount = BootOrderDialog.Count;
inline constexpr BootRow (&BootRows)[kBootClassCount] = BootOrderDialog.Rows;
inline constexpr UINT8& BootListFocus = BootOrderDialog.ListFocus;
inline constexpr UINT32& BootFocusedButton = BootOrderDialog.FocusedButton;

// The state back to its power-on values.
void Quorvex_BootOrder_Reset();
