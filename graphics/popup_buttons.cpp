// Buttons of pop-up forms and message windows (caption centred), and the
// adjustment button: a label with minus, value and plus buttons at its right.
#include "platform/bindings.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/item_list.h"
#include "graphics/text_draw.h"
#include "platform/lib.h"

namespace {

constexpr ButtonColours kPopUpNormal = {kColourPageArea, kColourButtonBorder, kColourDarkText};
constexpr ButtonColours kPopUpSelected = {kColourAccent, kColourDarkText, kColourWhite};
constexpr ButtonColours kPopUpGreyed = {kColourPageArea, kColourButtonBorder, kColourGreyText};

// Width of each of the adjustment's three buttons; they stand 48 pixels
// apart so that neighbouring borders overlap.
constexpr UINT64 kAdjustButtonWidth = 50;
// Room at the right of an adjustment's label for its three buttons.
constexpr UINT64 kAdjustButtonsRoom = 150;
constexpr UINT64 kSignWidth = 12;

EFI_STATUS PopUpButton(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, const CHAR16* Caption,
                       const ButtonColours& Colours) {
  const EFI_STATUS status = Quorvex_Draw_Face(X, Y, Width, Height, Colours.Fill, Colours.Border);
  if (EFI_ERROR(status) || !Caption) return status;
  // Centred; a caption wider than the button starts at its left edge.
  const UINT64 textWidth = Quorvex_TextWidth(Caption);
  const UINT64 left = textWidth < Width ? X + (Width - textWidth) / 2 : X;
  const UINT64 top = SaturatingSub(Y + Height / 2, GlyphLineHeight / 2);
  return Quorvex_DrawString(Caption, Pixel(Colours.Caption), kTransparent, left, top,
                            SaturatingSub(Width, 10), GlyphLineHeight);
}

EFI_STATUS Adjustment(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, const CHAR16* Label,
                      UINT64 Value, UINT32 Margin, UINT32 LabelInk, bool GreyValue) {
  // At most ten digits: larger values show their first ten.
  CHAR16 digits[11];
  Format(digits, 11, u"%u", Value);

  const UINT64 lineHeight = GlyphLineHeight;
  const UINT64 labelWidth = SaturatingSub(Width, kAdjustButtonsRoom);
  const UINT64 lines = labelWidth == 0 ? 1 : Quorvex_TextWidth(Label) / labelWidth + 1;
  Quorvex_FillRect(SaturatingSub(X, 5), SaturatingSub(Y, 5), Width + 10, Height + 10, Margin);
  EFI_STATUS status = EFI_SUCCESS;
  if (Label)
    status = Quorvex_DrawString(Label, Pixel(LabelInk), kTransparent, X,
                                SaturatingSub(Y + Height / 2, lineHeight * lines / 2), labelWidth,
                                Height);

  const UINT64 right = X + Width;
  const UINT64 signTop = SaturatingSub(Y + Height / 2, 8);
  const UINT64 signOffset = (kAdjustButtonWidth - kSignWidth) / 2;
  const UINT64 minusX = SaturatingSub(right, 146);
  const UINT64 valueX = SaturatingSub(right, 98);
  const UINT64 plusX = SaturatingSub(right, 50);
  EFI_STATUS step = PopUpButton(minusX, Y, kAdjustButtonWidth, Height, nullptr, kPopUpNormal);
  if (!EFI_ERROR(status)) status = step;
  Quorvex_DrawPicture(kMinusSign, minusX + signOffset, signTop);
  step = PopUpButton(valueX, Y, kAdjustButtonWidth, Height, digits,
                     GreyValue ? kPopUpGreyed : kPopUpNormal);
  if (!EFI_ERROR(status)) status = step;
  step = PopUpButton(plusX, Y, kAdjustButtonWidth, Height, nullptr, kPopUpNormal);
  if (!EFI_ERROR(status)) status = step;
  Quorvex_DrawPicture(kPlusSign, plusX + signOffset, signTop);
  return status;
}

} // namespace

EFI_STATUS Quorvex_Button_Control_PopUpForm(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                            const CHAR16* Caption) {
  return PopUpButton(X, Y, Width, Height, Caption, kPopUpNormal);
}

EFI_STATUS Quorvex_Selected_Button_Control_PopUpForm(UINT64 X, UINT64 Y, UINT64 Width,
                                                     UINT64 Height, const CHAR16* Caption) {
  return PopUpButton(X, Y, Width, Height, Caption, kPopUpSelected);
}

EFI_STATUS Quorvex_Grayout_Button_Control_PopUpForm(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                    const CHAR16* Caption) {
  return PopUpButton(X, Y, Width, Height, Caption, kPopUpGreyed);
}

EFI_STATUS Quorvex_Adjustment_Button(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                     const CHAR16* Label, UINT64 Value) {
  return Adjustment(X, Y, Width, Height, Label, Value, kColourPageArea, kColourDarkText, false);
}

EFI_STATUS Quorvex_Selected_Adjustment_Button(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                              const CHAR16* Label, UINT64 Value) {
  return Adjustment(X, Y, Width, Height, Label, Value, kColourAccent, kColourWhite, false);
}

EFI_STATUS Quorvex_Grayout_Adjustment_Button(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                             const CHAR16* Label, UINT64 Value) {
  return Adjustment(X, Y, Width, Height, Label, Value, kColourPageArea, kColourGreyText, true);
}
