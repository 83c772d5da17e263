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
  // A copy with one field changed. It stands before its callers: clang
  // folds a table's rows at build time only with it defined by then, and
  // would otherwise give the table a global constructor.
  template <typename Field, typename New>
  constexpr ItemRow With(Field SetupItem::*Which, New Set) const {
    ItemRow row = *this;
    row.Item.*Which = Set;
    return row;
  }

public:
  constexpr ItemRow(ItemKind Kind, const CHAR16* Label, ItemSize Size) : Item{} {
    Item.Present = 1;
    Item.Kind = Kind;
    Item.Width = Size.Width;
    Item.Height = Size.Height;
    Item.Gap = Size.Gap;
    Item.Label = Label;
  }

  constexpr ItemRow Help(const CHAR16* Text) const { return With(&SetupItem::Help, Text); }
  constexpr ItemRow Action(ItemAction Routine) const { return With(&SetupItem::Action, Routine); }
  constexpr ItemRow Data(UINT64 Word) const { return With(&SetupItem::Data, Word); }
  constexpr ItemRow Value(UINT64 Word) const { return With(&SetupItem::Value, Word); }
  constexpr ItemRow Options(const CHAR16* const* Texts) const {
    return With(&SetupItem::Options, Texts);
  }
  // The row holding the focus when the page is first entered.
  constexpr ItemRow Focused() const { return With(&SetupItem::Selected, UINT8{1}); }
  constexpr ItemRow Greyed() const { return With(&SetupItem::GreyedOut, UINT8{1}); }
  constexpr ItemRow Hidden() const { return With(&SetupItem::Hidden, UINT8{1}); }

  constexpr operator SetupItem() const { return Item; }

private:
  SetupItem Item;
};
