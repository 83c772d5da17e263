// The item record every page consists of, and the focus rules shared by all
// pages.
#pragma once

#include "platform/efi.h"
#include "setup_data/setup_data_state.h" // ActionBusy, SubPageActionBusy

struct SetupItem;
// Runs when an item is activated; receives the page's item array.
typedef void (*ItemAction)(SetupItem* Page);

enum ItemKind : UINT32 {
  ItemButton = 0,      // button with the label; Action on Enter or click
  ItemValueButton = 1, // label + value text (Data: CHAR16[200] buffer, Value: label width)
  ItemInfo = 2,        // read-only label + value (Data: CHAR16*, Value: label width)
  ItemOptionCycle = 3, // on/off option (Data: option text array, Value: state)
  ItemDropDown = 4,    // drop-down (Data: index, Value: open flag, Options: texts)
  ItemHeading = 5,     // section heading (label only)
  ItemAdjust = 6,      // adjustment button (Data: current number)
};

// Twelve 64-bit words per record.
struct SetupItem {
  UINT8 Present;
  UINT8 Selected;
  UINT8 Pad0[2];
  UINT32 Kind;
  UINT64 Width;
  UINT64 Height;
  UINT64 Gap;
  const CHAR16* Help; // text reference (English slot), or null
  ItemAction Action;
  UINT8 GreyedOut;
  UINT8 Hidden;
  UINT8 Pad1[6];
  const CHAR16* Label; // text reference (English slot)
  UINT64 Data;         // by kind: buffer / text pointer / option array / index / number
  UINT64 Value;        // by kind: label width / state / open flag
  const CHAR16* const* Options;
  UINT64 Spare;
};
static_assert(sizeof(SetupItem) == 96);

// Data word views.
inline CHAR16* ItemValueBuffer(const SetupItem& Item) {
  return reinterpret_cast<CHAR16*>(Item.Data);
}
inline const CHAR16* ItemInfoText(const SetupItem& Item) {
  return reinterpret_cast<const CHAR16*>(Item.Data);
}
inline const CHAR16* const* ItemOptionTexts(const SetupItem& Item) {
  return reinterpret_cast<const CHAR16* const*>(Item.Data);
}
template <typename T> inline UINT64 ItemDataFrom(T* Pointer) {
  return reinterpret_cast<UINT64>(Pointer);
}

// A drop-down row's list is open while the low byte of its Value is set.
inline bool ItemListOpen(const SetupItem& Item) {
  return (Item.Value & 0xFF) != 0;
}

// Focus movement inside a page: to the nearest row towards the top / bottom
// that is not an information row, not greyed and not hidden; no wrap.
void SelectPrevious(SetupItem* Items, UINT64 Count);
void SelectNext(SetupItem* Items, UINT64 Count);
// Moves the focus off a row that became greyed or hidden, to the first
// focusable row from the top (or to none).
void FixFocus(SetupItem* Items, UINT64 Count);
// Index of the first selected row, or Count when none.
UINT64 SelectedIndex(const SetupItem* Items, UINT64 Count);
// True when a row can take the focus.
bool ItemFocusable(const SetupItem& Item);
