// Drawing the on-screen keyboard: the panel, then every key in its normal or
// pressed style, composed off screen and copied to the screen in one piece.
#include "graphics/buttons.h"
#include "graphics/double_buffer.h"
#include "graphics/draw_util.h"
#include "graphics/text_draw.h"
#include "input/mouse.h"
#include "input/virtual_keyboard.h"
#include "platform/lib.h"

namespace {

// Labels are drawn over the key face: a background with the Reserved byte
// set is not painted.
constexpr EFI_GRAPHICS_OUTPUT_BLT_PIXEL kLabelBackground = Pixel(0x000000, 1);
constexpr UINT64 kLabelUnits = 8;

// One key: the face copied from a pool buffer, then the label centred on it.
EFI_STATUS DrawKey(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, const CHAR16* Label,
                   bool Pressed) {
  if (!DrawableExtent(Width, Height)) return EFI_INVALID_PARAMETER;
  const UINT32 fill = Pressed ? kColourAccent : kColourButtonFace;
  const UINT32 border = Pressed ? kColourDarkText : kColourButtonBorder;
  {
    QUORVEX_POOL_ARRAY(EFI_GRAPHICS_OUTPUT_BLT_PIXEL, face, Width * Height);
    if (!face) return EFI_OUT_OF_RESOURCES;
    Quorvex_Draw_Button_Face(face.get(), Width, Height, Pixel(fill), Pixel(border));
    const EFI_STATUS status = Quorvex_Blt(face.get(), EfiBltBufferToVideo, 0, 0, X, Y, Width,
                                          Height, Width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
    if (EFI_ERROR(status)) return status;
  }
  if (Label == nullptr || Label[0] == 0) return EFI_SUCCESS;
  const UINT64 textWidth = Quorvex_TextWidth(Label);
  const UINT64 left = X + SaturatingSub(Width, textWidth) / 2;
  if (Pressed) {
    return Quorvex_DrawString(Label, Pixel(kColourWhite), kLabelBackground, left,
                              SaturatingSub(Y + Height / 2, GlyphLineHeight / 2),
                              SaturatingSub(Width, 10), GlyphLineHeight);
  }
  return Quorvex_DrawString(Label, Pixel(kColourDarkText), kLabelBackground, left,
                            Y + SaturatingSub(Height, GlyphLineHeight) / 2, Width, GlyphLineHeight);
}

// Whether key (Row, Column) is drawn pressed: the highlighted key, and Caps
// and Shift while their states are on.
bool Pressed(UINT32 Row, UINT32 Column) {
  if (Column == kWideKeyColumn && Row == 3) return CapsOn != 0;
  if (Column == kWideKeyColumn && Row == 4) return ShiftOn != 0;
  return HighlightRow != kNoHighlight && HighlightRow == Row + 1 && HighlightColumn == Column;
}

} // namespace

EFI_STATUS Quorvex_VirtualKeyboard_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                  const CHAR16* Label) {
  return DrawKey(X, Y, Width, Height, Label, false);
}

EFI_STATUS Quorvex_VirtualKeyboard_Selected_Button_Control(UINT64 X, UINT64 Y, UINT64 Width,
                                                           UINT64 Height, const CHAR16* Label) {
  return DrawKey(X, Y, Width, Height, Label, true);
}

void Quorvex_VirtualKeyboard_Draw() {
  const KeyboardRect panel = Quorvex_VirtualKeyboard_Panel();
  // Without an off-screen frame the keys are drawn straight to the screen.
  const bool buffered =
      !EFI_ERROR(Quorvex_DoubleBuffer_Start(panel.X, panel.Y, panel.Width, panel.Height));
  {
    CursorHidden cursor;
    Quorvex_Button_Control(panel.X, panel.Y, panel.Width, panel.Height, nullptr);
    // The panel's top border is painted over, so that it joins the password
    // window drawn above it.
    Quorvex_FillRect(panel.X + 2, panel.Y, SaturatingSub(panel.Width, 4), 2, kColourButtonFace);
    const bool shift = ShiftOn != 0;
    const bool caps = CapsOn != 0;
    for (UINT32 row = 0; row < kKeyboardRows; ++row) {
      for (UINT32 column = 0; column < kKeyboardColumns; ++column) {
        KeyboardRect key;
        CHAR16 label[kLabelUnits];
        if (!Quorvex_VirtualKeyboard_KeyRect(row, column, &key)) continue;
        Quorvex_VirtualKeyboard_KeyLabel(row, column, shift, caps, label);
        if (Pressed(row, column)) {
          Quorvex_VirtualKeyboard_Selected_Button_Control(key.X, key.Y, key.Width, key.Height,
                                                          label);
        } else {
          Quorvex_VirtualKeyboard_Button_Control(key.X, key.Y, key.Width, key.Height, label);
        }
      }
    }
  }
  if (buffered) {
    Quorvex_DoubleBuffer_Flush();
    Quorvex_DoubleBuffer_Stop();
  }
}
