// The on-screen keyboard's geometry and key tables for the current screen
// size (the tables themselves are shared with the reference platform's
// password gate: setup_data/keyboard_layout.h).
#include "platform/bindings.h"
#include "input/virtual_keyboard.h"

KeyboardRect Quorvex_VirtualKeyboard_Panel() {
  return Keyboard_Panel(ScreenWidth, ScreenHeight);
}

bool Quorvex_VirtualKeyboard_KeyRect(UINT32 Row, UINT32 Column, KeyboardRect* Rect) {
  return Keyboard_KeyRect(ScreenWidth, ScreenHeight, Row, Column, Rect);
}

CHAR16 Quorvex_VirtualKeyboard_KeyChar(UINT32 Row, UINT32 Column, bool Shift, bool Caps) {
  return Keyboard_KeyChar(Row, Column, Shift, Caps);
}

bool Quorvex_VirtualKeyboard_KeyLabel(UINT32 Row, UINT32 Column, bool Shift, bool Caps,
                                      CHAR16* Label) {
  return Keyboard_KeyLabel(ScreenWidth, ScreenHeight, Row, Column, Shift, Caps, Label);
}
