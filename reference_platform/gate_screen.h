// The password gate's window, drawn by the reference platform itself in the
// setup utility's look (setup_data/look.h, the same glyph font and the text
// table's strings): the screen behind it, the masked entry field, the red
// message box and, where a touch panel exists, the on-screen keyboard of
// setup_data/keyboard_layout.h. Every part is composed in a pool buffer and
// copied to the screen with one Blt.
#pragma once

#include "platform/efi.h"
#include "platform/vendor_protocols.h"
#include "reference_platform/glyph_font.h"

struct GateScreen {
  EFI_GRAPHICS_OUTPUT_PROTOCOL* Gop;
  UINT64 Width;
  UINT64 Height;
  GlyphFontProtocol* Font; // the installed text font, or OwnFont
  GlyphFontInstance OwnFont;
  UINT64 LineHeight;
  UINT32 Language; // 0 English, 1 Japanese, 2 French
  bool Keyboard;   // the on-screen keyboard is shown
};

// Finds the graphics output (mode: the narrowest at least 1024 wide, as the
// utility chooses) and the text font; false without a graphics output.
bool GateScreen_Open(GateScreen* Screen, bool Keyboard, UINT32 Language);
void GateScreen_Close(GateScreen* Screen);

// The mouse cursor: a small arrow drawn over the screen with the pixels
// under it kept, shown once the mouse has moved.
constexpr UINT64 kGateCursorWidth = 11;
constexpr UINT64 kGateCursorHeight = 17;
struct GateCursor {
  bool Up; // drawn, Under holds the pixels beneath
  UINT64 X, Y, Width, Height;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL Under[kGateCursorWidth * kGateCursorHeight];
};
// Draws the cursor at (X, Y) (clipped to the screen).
void GateCursor_Show(const GateScreen& Screen, GateCursor* Cursor, UINT64 X, UINT64 Y);
// Puts the pixels under the cursor back.
void GateCursor_Hide(const GateScreen& Screen, GateCursor* Cursor);

// The text of a constant triple (text_constants.h) in the screen's language.
const CHAR16* GateScreen_Text(const GateScreen& Screen, const CHAR16* const (&Triple)[3]);

// Background, window with Title, the field with Length asterisks, and the
// keyboard.
void GateScreen_DrawAll(const GateScreen& Screen, const CHAR16* Title, UINT64 Length, bool Caps,
                        bool Shift);
void GateScreen_DrawField(const GateScreen& Screen, UINT64 Length);
void GateScreen_DrawKeyboard(const GateScreen& Screen, bool Caps, bool Shift);
// The red message box (the window's size, centred) with two lines and one
// highlighted button.
void GateScreen_DrawMessage(const GateScreen& Screen, const CHAR16* Line1, const CHAR16* Line2,
                            const CHAR16* Button);
