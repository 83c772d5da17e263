// The on-screen keyboard's geometry and key tables, for a given screen size:
// where each key sits, what it types and what it is labelled, with the Shift
// latch choosing the shifted symbols and the Caps state the case of letters.
// Header-only: the utility's keyboard (input/) and the reference platform's
// password gate draw the same keys from it.
#pragma once

#include "platform/efi.h"

// Rows of the keyboard, top down: function keys, digits, q row, a row, z row,
// the bottom row (symbols, Space, Enter).
constexpr UINT32 kKeyboardRows = 6;
constexpr UINT32 kKeyboardColumns = 12;
// Column of the wide keys (ESC, Back, Caps, Shift, Enter) and of Space.
constexpr UINT32 kWideKeyColumn = 10;
constexpr UINT32 kSpaceColumn = 7;
constexpr UINT32 kBottomSymbolCount = 7;

struct KeyboardRect {
  UINT64 X, Y, Width, Height;
};

namespace keyboard_layout {

// Character keys of rows 1 to 4 (ten each) and the bottom row's symbols.
inline constexpr const CHAR16* kPlainRows[4] = {u"1234567890", u"qwertyuiop", u"asdfghjkl;",
                                                u"zxcvbnm,./"};
inline constexpr const CHAR16* kShiftedRows[4] = {u"!@#$%^&*()", u"qwertyuiop", u"asdfghjkl:",
                                                  u"zxcvbnm<>?"};
inline constexpr CHAR16 kPlainSymbols[kBottomSymbolCount] = {0x60, 0x2D, 0x3D, 0x5B,
                                                             0x5D, 0x5C, 0x27};
inline constexpr CHAR16 kShiftedSymbols[kBottomSymbolCount] = {0x7E, 0x5F, 0x2B, 0x7B,
                                                               0x7D, 0x7C, 0x22};
// Labels of the wide keys at column 10 of rows 1 to 4.
inline constexpr const CHAR16* kWideLabels[4] = {u"ESC", u"Back", u"Caps", u"Shift"};
constexpr UINT32 kCharacterKeys = 10;

struct Metrics {
  UINT64 PanelWidth, PanelHeight, Left, Top;
  UINT64 KeyWidth, Gap, KeyHeight, RowGap;
};

constexpr Metrics Measure(UINT64 W, UINT64 H) {
  Metrics m{};
  m.PanelWidth = W * 50 / 100;
  m.PanelHeight = H * 50 / 100;
  m.Left = (W - m.PanelWidth) / 2;
  m.Top = H * 25 / 200 + H * 25 / 100;
  m.KeyWidth = W * 50 / 100 * 7 / 100;
  m.Gap = W * 50 / 10000;
  m.KeyHeight = H * 50 / 100 * 12 / 100;
  m.RowGap = H * 50 / 100 * 3 / 100;
  return m;
}

// Letters follow the Caps state: upper case while it is on, lower case while
// it is off. Digits and symbols are left alone.
constexpr CHAR16 ApplyCase(CHAR16 Character, bool Caps) {
  if (Caps && Character >= u'a' && Character <= u'z') return static_cast<CHAR16>(Character - 32);
  if (!Caps && Character >= u'A' && Character <= u'Z') return static_cast<CHAR16>(Character + 32);
  return Character;
}

constexpr void Copy(CHAR16* Label, const CHAR16* Text) {
  UINT32 i = 0;
  for (; Text[i] != 0; ++i) Label[i] = Text[i];
  Label[i] = 0;
}

} // namespace keyboard_layout

// The panel on a W x H screen (below the password window).
constexpr KeyboardRect Keyboard_Panel(UINT64 W, UINT64 H) {
  const keyboard_layout::Metrics m = keyboard_layout::Measure(W, H);
  return {m.Left, m.Top, m.PanelWidth, m.PanelHeight};
}

// Key (Row, Column): its rectangle; false where the row has no key there.
constexpr bool Keyboard_KeyRect(UINT64 W, UINT64 H, UINT32 Row, UINT32 Column, KeyboardRect* Rect) {
  if (Row >= kKeyboardRows || Column >= kKeyboardColumns) return false;
  const keyboard_layout::Metrics m = keyboard_layout::Measure(W, H);
  UINT64 width = m.KeyWidth;
  if (Row >= 1 && Row <= 4) {
    if (Column > kWideKeyColumn) return false;
    if (Column == kWideKeyColumn) width = 2 * m.KeyWidth + m.Gap;
  } else if (Row == 5) {
    if (Column == kSpaceColumn) {
      width = 3 * m.KeyWidth + 2 * m.Gap;
    } else if (Column == kWideKeyColumn) {
      width = 2 * m.KeyWidth + m.Gap;
    } else if (Column >= kBottomSymbolCount) {
      return false;
    }
  }
  // Twelve columns of keys with eleven gaps, centred in the panel.
  const UINT64 first = m.Left + (m.PanelWidth - 11 * m.Gap - 12 * m.KeyWidth) / 2;
  Rect->X = first + (m.KeyWidth + m.Gap) * Column;
  Rect->Y = m.Top + m.PanelHeight * 10 / 100 + (m.KeyHeight + m.RowGap) * Row;
  Rect->Width = width;
  Rect->Height = m.KeyHeight;
  return true;
}

// The character a key of rows 1-5 types (0 for keys that type none), with
// the shift and case rules applied.
constexpr CHAR16 Keyboard_KeyChar(UINT32 Row, UINT32 Column, bool Shift, bool Caps) {
  using namespace keyboard_layout;
  if (Row >= 1 && Row <= 4 && Column < kCharacterKeys) {
    const CHAR16 c = (Shift ? kShiftedRows : kPlainRows)[Row - 1][Column];
    return Row >= 2 ? ApplyCase(c, Caps) : c;
  }
  if (Row == 5 && Column < kBottomSymbolCount) {
    return (Shift ? kShiftedSymbols : kPlainSymbols)[Column];
  }
  if (Row == 5 && Column == kSpaceColumn) return u' ';
  return 0;
}

// The key's label, into Label (at least 8 units); false when there is no key.
constexpr bool Keyboard_KeyLabel(UINT64 W, UINT64 H, UINT32 Row, UINT32 Column, bool Shift,
                                 bool Caps, CHAR16* Label) {
  using namespace keyboard_layout;
  KeyboardRect rect{};
  if (!Keyboard_KeyRect(W, H, Row, Column, &rect)) return false;
  if (Row == 0) {
    const UINT32 number = Column + 1;
    Label[0] = u'F';
    if (number < 10) {
      Label[1] = static_cast<CHAR16>(u'0' + number);
      Label[2] = 0;
    } else {
      Label[1] = static_cast<CHAR16>(u'0' + number / 10);
      Label[2] = static_cast<CHAR16>(u'0' + number % 10);
      Label[3] = 0;
    }
    return true;
  }
  if (Row <= 4 && Column == kWideKeyColumn) {
    Copy(Label, kWideLabels[Row - 1]);
    return true;
  }
  if (Row == 5 && Column == kSpaceColumn) {
    Copy(Label, u"Space");
    return true;
  }
  if (Row == 5 && Column == kWideKeyColumn) {
    Copy(Label, u"Enter");
    return true;
  }
  Label[0] = Keyboard_KeyChar(Row, Column, Shift, Caps);
  Label[1] = 0;
  return true;
}
