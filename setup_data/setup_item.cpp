// Focus movement and activation over a page's item records. Every page uses
// these same rules on its own array.
#include "setup_data/setup_item.h"

bool ItemFocusable(const SetupItem& Item) {
  return Item.Kind != ItemInfo && Item.GreyedOut == 0 && Item.Hidden == 0;
}

UINT64 SelectedIndex(const SetupItem* Items, UINT64 Count) {
  for (UINT64 i = 0; i < Count; ++i) {
    if (Items[i].Selected != 0) return i;
  }
  return Count;
}

namespace {

// Moves the focus from the selected row to the nearest focusable row in the
// given direction; does nothing at the ends (the focus does not wrap) or when
// no row has the focus.
void MoveFocus(SetupItem* Items, UINT64 Count, bool Forward) {
  const UINT64 from = SelectedIndex(Items, Count);
  if (from == Count) return;
  UINT64 row = from;
  while (Forward ? row + 1 < Count : row > 0) {
    row = Forward ? row + 1 : row - 1;
    if (ItemFocusable(Items[row])) {
      Items[from].Selected = 0;
      Items[row].Selected = 1;
      return;
    }
  }
}

} // namespace

void SelectPrevious(SetupItem* Items, UINT64 Count) {
  MoveFocus(Items, Count, false);
}

void SelectNext(SetupItem* Items, UINT64 Count) {
  MoveFocus(Items, Count, true);
}

void FixFocus(SetupItem* Items, UINT64 Count) {
  UINT64 lost = Count;
  for (UINT64 i = 0; i < Count; ++i) {
    if (Items[i].Selected != 0 && (Items[i].GreyedOut != 0 || Items[i].Hidden != 0)) {
      lost = i;
      break;
    }
  }
  if (lost == Count) return;
  Items[lost].Selected = 0;
  for (UINT64 i = 0; i < Count; ++i) {
    if (ItemFocusable(Items[i])) {
      Items[i].Selected = 1;
      return;
    }
  }
}
