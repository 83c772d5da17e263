// The on-screen keyboard's geometry and key tables: where each key sits for
// the current screen size, what it types and what it is labelled, with the
// Shift latch choosing the shifted symbols and the Caps state the case of
// letters.
#include "platform/bindings.h"
#include "input/virtual_keyboard.h"

namespace {

// Character keys of rows 1 to 4 (ten each) and the bottom row's symbols.
constexpr const CHAR16* kPlainRows[4] = {u"1234567890", u"qwertyuiop", u"asdfghjkl;",
                                         u"zxcvbnm,./"};
constexpr const CHAR16* kShiftedRows[4] = {u"!@#$%^&*()", u"qwertyuiop", u"asdfghjkl:",
                                           u"zxcvbnm<>?"};
constexpr CHAR16 kPlainSymbols[kBottomSymbolCount] = {0x60, 0x2D, 0x3D, 0x5B, 0x5D, 0x5C, 0x27};
constexpr CHAR16 kShiftedSymbols[kBottomSymbolCount] = {0x7E, 0x5F, 0x2B, 0x7B, 0x7D, 0x7C, 0x22};
// Labels of the wide keys at column 10 of rows 1 to 4.
constexpr const CHAR16* kWideLabels[4] = {u"ESC", u"Back", u"Caps", u"Shift"};
constexpr UINT32 kCharacterKeys = 10;

struct Metrics {
  UINT64 PanelWidth, PanelHeight, Left, Top;
  UINT64 KeyWidth, Gap, KeyHeight, RowGap;
};

Metrics Measure() {
  const UINT64 w = ScreenWidth;
  const UINT64 h = ScreenHeight;
  Metrics m;
  m.PanelWidth = w * 50 / 100;
  m.PanelHeight = h * 50 / 100;
  m.Left = (w - m.PanelWidth) / 2;
  m.Top = h * 25 / 200 + h * 25 / 100;
  m.KeyWidth = w * 50 / 100 * 7 / 100;
  m.Gap = w * 50 / 10000;
  m.KeyHeight = h * 50 / 100 * 12 / 100;
  m.RowGap = h * 50 / 100 * 3 / 100;
  return m;
}

// Letters follow the Caps state: upper case while it is on, lower case while
// it is off. Digits and symbols are left alone.
CHAR16 ApplyCase(CHAR16 Character, bool Caps) {
  if (Caps && Character >= u'a' && Character <= u'z') return static_cast<CHAR16>(Character - 32);
  if (!Caps && Character >= u'A' && Character <= u'Z') return static_cast<CHAR16>(Character + 32);
  return Character;
}

void Copy(CHAR16* Label, const CHAR16* Text) {
  UINT32 i = 0;
  for (; Text[i] != 0; ++i) Label[i] = Text[i];
  Label[i] = 0;
}

} // namespace

KeyboardRect Quorvex_VirtualKeyboard_Panel() {
  const Metrics m = Measure();
  return {m.Left, m.Top, m.PanelWidth, m.PanelHeight};
}

bool Quorvex_VirtualKeyboard_KeyRect(UINT32 Row, UINT32 Column, KeyboardRect* Rect) {
  if (Row >= kKeyboardRows || Column >= kKeyboardColumns) return false;
  const Metrics m = Measure();
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

CHAR16 Quorvex_VirtualKeyboard_KeyChar(UINT32 Row, UINT32 Column, bool Shift, bool Caps) {
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

bool Quorvex_VirtualKeyboard_KeyLabel(UINT32 Row, UINT32 Column, bool Shift, bool Caps,
                                      CHAR16* Label) {
  KeyboardRect rect;
  if (!Quorvex_VirtualKeyboard_KeyRect(Row, Column, &rect)) return false;
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
  Label[0] = Quorvex_VirtualKeyboard_KeyChar(Row, Column, Shift, Caps);
  Label[1] = 0;
  return true;
}
