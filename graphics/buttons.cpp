// Flat buttons: a filled face with a two-pixel border and a caption drawn
// over it with a transparent background. One routine per kind and state; the
// state only chooses a row of colours.
#include "graphics/buttons.h"

#include "platform/bindings.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/text_draw.h"
#include "platform/lib.h"

namespace {

constexpr ButtonColours kNormal = {kColourButtonFace, kColourButtonBorder, kColourDarkText};
constexpr ButtonColours kSelected = {kColourAccent, kColourDarkText, kColourWhite};
constexpr ButtonColours kGreyed = {kColourButtonFace, kColourButtonBorder, kColourGreyText};

// Keeps the first failure of a sequence of drawing steps.
void Keep(EFI_STATUS* First, EFI_STATUS Status) {
  if (!EFI_ERROR(*First) && EFI_ERROR(Status)) *First = Status;
}

// Top of a one-line text box centred vertically in a Height-high control.
UINT64 CentredLineTop(UINT64 Y, UINT64 Height) {
  return SaturatingSub(Y + Height / 2, GlyphLineHeight / 2);
}

EFI_STATUS LabelledButton(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, const CHAR16* Label,
                          const CHAR16* Caption, UINT64 LabelWidth, const ButtonColours& Colours,
                          UINT32 LabelColour) {
  // The 5-pixel margin round the control is cleared first, so a redraw in
  // another state leaves nothing of the previous one.
  Quorvex_FillRect(SaturatingSub(X, 5), SaturatingSub(Y, 5), Width + 10, Height + 10,
                   kColourPageArea);
  EFI_STATUS status = EFI_SUCCESS;
  if (Label)
    Keep(&status, Quorvex_DrawString(Label, Pixel(LabelColour), kTransparent, X,
                                     CentredLineTop(Y, Height), LabelWidth, GlyphLineHeight));
  const EFI_STATUS button =
      Quorvex_Draw_Plain_Button(X + LabelWidth, Y, Width, Height, Caption, Colours);
  // A face that could not be drawn is the failure that matters most.
  return EFI_ERROR(button) ? button : status;
}

EFI_STATUS HelpButton(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, const CHAR16* Caption,
                      const CHAR16* KeyText, UINT32 TextColour) {
  EFI_STATUS status =
      Quorvex_Draw_Face(X, Y, Width, Height, kColourButtonFace, kColourButtonBorder);
  if (EFI_ERROR(status)) return status;
  const UINT64 top = CentredLineTop(Y, Height);
  if (Caption)
    Keep(&status, Quorvex_DrawString(Caption, Pixel(TextColour), kTransparent, X + 10, top,
                                     SaturatingSub(Width, 10), GlyphLineHeight));
  if (KeyText)
    Keep(&status, Quorvex_DrawString(KeyText, Pixel(TextColour), kTransparent,
                                     SaturatingSub(X + Width, 60), top, 50, GlyphLineHeight));
  return status;
}

} // namespace

void Quorvex_Draw_Button_Face(EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT64 Width, UINT64 Height,
                              EFI_GRAPHICS_OUTPUT_BLT_PIXEL Fill,
                              EFI_GRAPHICS_OUTPUT_BLT_PIXEL Border) {
  if (!Pixels || Width == 0 || Height == 0) return;
  const UINT32 fill = PixelWord(Fill);
  const UINT32 border = PixelWord(Border);
  UINT32* words = reinterpret_cast<UINT32*>(Pixels);
  for (UINT64 r = 0; r < Height; ++r) {
    UINT32* row = words + r * Width;
    if (r < 2 || r + 2 >= Height) {
      MemFill32(row, border, Width);
      continue;
    }
    MemFill32(row, fill, Width);
    for (UINT64 c = 0; c < 2 && c < Width; ++c) {
      row[c] = border;
      row[Width - 1 - c] = border;
    }
  }
}

EFI_STATUS Quorvex_Draw_Face(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT32 Fill,
                             UINT32 Border) {
  if (Width == 0 || Height == 0) return EFI_SUCCESS;
  if (!GraphicsOutput) return EFI_NOT_FOUND;
  if (InsideScreen(X, Y, Width, Height)) {
    // On the screen two fills give exactly the face array's pixels: the
    // border colour everywhere, then the inside.
    EFI_STATUS status = Quorvex_FillRect(X, Y, Width, Height, Border);
    if (EFI_ERROR(status)) return status;
    if (Width > 4 && Height > 4)
      status = Quorvex_FillRect(X + 2, Y + 2, Width - 4, Height - 4, Fill);
    return status;
  }
  if (!DrawableExtent(Width, Height)) return EFI_INVALID_PARAMETER;
  QUORVEX_POOL_ARRAY(EFI_GRAPHICS_OUTPUT_BLT_PIXEL, face, Width * Height);
  if (!face) return EFI_OUT_OF_RESOURCES;
  Quorvex_Draw_Button_Face(face.get(), Width, Height, Pixel(Fill), Pixel(Border));
  return Quorvex_Blt(face.get(), EfiBltBufferToVideo, 0, 0, X, Y, Width, Height,
                     Width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
}

EFI_STATUS Quorvex_Draw_Plain_Button(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                     const CHAR16* Caption, const ButtonColours& Colours) {
  const EFI_STATUS status = Quorvex_Draw_Face(X, Y, Width, Height, Colours.Fill, Colours.Border);
  if (EFI_ERROR(status) || !Caption) return status;
  return Quorvex_DrawString(Caption, Pixel(Colours.Caption), kTransparent, X + 10,
                            CentredLineTop(Y, Height), SaturatingSub(Width, 10), GlyphLineHeight);
}

EFI_STATUS Quorvex_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                  const CHAR16* Caption) {
  return Quorvex_Draw_Plain_Button(X, Y, Width, Height, Caption, kNormal);
}

EFI_STATUS Quorvex_Selected_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                           const CHAR16* Caption) {
  return Quorvex_Draw_Plain_Button(X, Y, Width, Height, Caption, kSelected);
}

EFI_STATUS Quorvex_Grayout_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                          const CHAR16* Caption) {
  return Quorvex_Draw_Plain_Button(X, Y, Width, Height, Caption, kGreyed);
}

EFI_STATUS Quorvex_Label_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                        const CHAR16* Label, const CHAR16* Caption,
                                        UINT64 LabelWidth) {
  return LabelledButton(X, Y, Width, Height, Label, Caption, LabelWidth, kNormal, kColourDarkText);
}

EFI_STATUS Quorvex_Selected_Label_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                 const CHAR16* Label, const CHAR16* Caption,
                                                 UINT64 LabelWidth) {
  return LabelledButton(X, Y, Width, Height, Label, Caption, LabelWidth, kSelected,
                        kColourDarkText);
}

EFI_STATUS Quorvex_Grayout_Label_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                const CHAR16* Label, const CHAR16* Caption,
                                                UINT64 LabelWidth) {
  return LabelledButton(X, Y, Width, Height, Label, Caption, LabelWidth, kGreyed, kColourGreyText);
}

EFI_STATUS Quorvex_Help_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                       const CHAR16* Caption, const CHAR16* KeyText) {
  return HelpButton(X, Y, Width, Height, Caption, KeyText, kColourDarkText);
}

EFI_STATUS Quorvex_Grayout_Help_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                               const CHAR16* Caption, const CHAR16* KeyText) {
  return HelpButton(X, Y, Width, Height, Caption, KeyText, kColourGreyText);
}

EFI_STATUS Quorvex_Label_Value_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                       const CHAR16* Label, const CHAR16* Value,
                                       UINT64 LabelWidth) {
  Quorvex_FillRect(SaturatingSub(X, 5), SaturatingSub(Y, 5), Width + 10, Height + 10,
                   kColourPageArea);
  EFI_STATUS status = EFI_SUCCESS;
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL ink = Pixel(kColourDarkText);
  if (Label) Keep(&status, Quorvex_DrawString(Label, ink, kTransparent, X, Y, LabelWidth, Height));
  if (Value)
    Keep(&status, Quorvex_DrawString(Value, ink, kTransparent, X + LabelWidth, Y, Width, Height));
  return status;
}

EFI_STATUS Quorvex_Button_Control_Color_Modified_Mode(UINT64 X, UINT64 Y, UINT64 Width,
                                                      UINT64 Height, const CHAR16* Caption,
                                                      EFI_GRAPHICS_OUTPUT_BLT_PIXEL Fill,
                                                      EFI_GRAPHICS_OUTPUT_BLT_PIXEL Border) {
  const EFI_STATUS status =
      Quorvex_Draw_Face(X, Y, Width, Height, PixelWord(Fill), PixelWord(Border));
  if (EFI_ERROR(status) || !Caption) return status;
  return Quorvex_DrawString(Caption, Pixel(kColourDarkText), kTransparent, X + 10, Y + 10,
                            SaturatingSub(Width, 10), SaturatingSub(Height, GlyphLineHeight));
}
