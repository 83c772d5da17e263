// The item tables' rows: one builder that names the row's kind, label and
// size and then only the fields the row sets; every other field is zero.
// Each step is constexpr, so a table of rows is written at build time.
#pragma once

#include "setup_data/setup_item.h"

struct ItemSize {
  UINT64 Width;
  UINT64 Height;
  UINT64 Gap;
};

class ItemRow {
public:
  constexpr ItemRow(ItemKind Kind, const CHAR16* Label, ItemSize Size)
      : Item{} {
    Item.Present = 1;
    Item.Kind = Kind;
    Item.Width = Size.Width;
    Item.Height = Size.Height;
    Item.Gap = Size.Gap;
    Item.Label = Label;
  }

  constexpr ItemRow Help(const CHAR16* Text) const {
    ItemRow row = *this;
    row.Item.Help = Text;
    return row;
  }
  constexpr ItemRow Action(ItemAction Routine) const {
    ItemRow row = *this;
    row.Item.Action = Routine;
    return row;
  }
  constexpr ItemRow Data(UINT64 Word) const {
    ItemRow row = *this;
    row.Item.Data = Word;
    return row;
  }
  constexpr ItemRow Value(UINT64 Word) const {
    ItemRow row = *this;
    row.Item.Value = Word;
    return row;
  }
  constexpr ItemRow Options(const CHAR16* const* Texts) const {
    ItemRow row = *this;
    row.Item.Options = Texts;
    return row;
  }
  // The row holding the focus when the page is first entered.
  constexpr ItemRow Focused() const {
    ItemRow row = *this;
    row.Item.Selected = 1;
    return row;
  }
  constexpr ItemRow Greyed() const {
    ItemRow row = *this;
    row.Item.GreyedOut = 1;
    return row;
  }
  constexpr ItemRow Hidden() const {
    ItemRow row = *this;
    row.Item.Hidden = 1;
    return row;
  }

  constexpr operator SetupItem() const { return Item; }

private:
  SetupItem Item;
};
