// List controls with a label above a value: the on/off toggle item and the
// drop-down list, closed and open.
#include "platform/bindings.h"
#include "graphics/buttons.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/item_list.h"
#include "graphics/text_draw.h"

namespace {

// Keeps the first failure; a missing text (EFI_ABORTED) is not one.
void Keep(EFI_STATUS* First, EFI_STATUS Status) {
  if (!EFI_ERROR(*First) && EFI_ERROR(Status) && Status != EFI_ABORTED) *First = Status;
}

// Option Index of a null-terminated array, or null past its end.
const CHAR16* OptionAt(const CHAR16* const* Options, UINT64 Index) {
  if (!Options) return nullptr;
  for (UINT64 i = 0; Options[i] != nullptr; ++i)
    if (i == Index) return Options[i];
  return nullptr;
}

void ClearMargin(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT32 Colour) {
  Quorvex_FillRect(SaturatingSub(X, 5), SaturatingSub(Y, 5), Width + 10, Height + 10, Colour);
}

EFI_STATUS Toggle(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, const CHAR16* Label,
                  const CHAR16* Option, UINT64 Value, UINT32 Margin, UINT32 Ink,
                  EFI_GRAPHICS_OUTPUT_BLT_PIXEL Back) {
  const UINT64 lineHeight = GlyphLineHeight;
  ClearMargin(X, Y, Width, Height, Margin);
  EFI_STATUS status = EFI_SUCCESS;
  Keep(&status, Quorvex_DrawString(Label, Pixel(Ink), Back, X, Y, Width, lineHeight));
  Keep(&status, Quorvex_DrawString(Option, Pixel(Ink), Back, X,
                                   SaturatingSub(Y + Height, lineHeight), Width, lineHeight));
  Quorvex_DrawPicture(Value != 0 ? kSwitchOn : kSwitchOff, SaturatingSub(X + Width, 62),
                      SaturatingSub(Y + Height, 26));
  return status;
}

EFI_STATUS ClosedList(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, const CHAR16* Label,
                      const CHAR16* const* Options, UINT64 Index, UINT32 Margin, UINT32 LabelInk) {
  ClearMargin(X, Y, Width, Height, Margin);
  EFI_STATUS status = EFI_SUCCESS;
  if (Label)
    Keep(&status, Quorvex_DrawString(Label, Pixel(LabelInk), Pixel(Margin), X, Y, Width,
                                     2 * GlyphLineHeight));
  Keep(&status, Quorvex_Button_Control(X + 10, SaturatingSub(Y + Height, 35),
                                       SaturatingSub(Width, 10), 35, OptionAt(Options, Index)));
  Quorvex_DrawPicture(kDropDownArrow, SaturatingSub(X + Width, 20), SaturatingSub(Y + Height, 23));
  return status;
}

} // namespace

ScreenRect Quorvex_DropDown_OptionRect(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                       UINT64 Index) {
  return {X + 30, SaturatingSub(Y + Height + Index * GlyphLineHeight, 17), SaturatingSub(Width, 30),
          GlyphLineHeight};
}

EFI_STATUS Quorvex_Toggle_Item_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                       const CHAR16* Label, const CHAR16* Option, UINT64 Value) {
  return Toggle(X, Y, Width, Height, Label, Option, Value, kColourPageArea, kColourDarkText,
                Pixel(kColourPageArea));
}

EFI_STATUS Quorvex_Selected_Toggle_Item_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                const CHAR16* Label, const CHAR16* Option,
                                                UINT64 Value) {
  return Toggle(X, Y, Width, Height, Label, Option, Value, kColourAccent, kColourWhite,
                kTransparent);
}

EFI_STATUS Quorvex_Grayout_Toggle_Item_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                               const CHAR16* Label, const CHAR16* Option,
                                               UINT64 Value) {
  return Toggle(X, Y, Width, Height, Label, Option, Value, kColourPageArea, kColourGreyText,
                Pixel(kColourPageArea));
}

EFI_STATUS Quorvex_DropDownList_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                        const CHAR16* Label, const CHAR16* const* Options,
                                        UINT64 Index) {
  return ClosedList(X, Y, Width, Height, Label, Options, Index, kColourPageArea, kColourDarkText);
}

EFI_STATUS Quorvex_Selected_DropDownList_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                 const CHAR16* Label, const CHAR16* const* Options,
                                                 UINT64 Index) {
  return ClosedList(X, Y, Width, Height, Label, Options, Index, kColourAccent, kColourWhite);
}

EFI_STATUS Quorvex_Grayout_DropDownList_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                const CHAR16* Label, const CHAR16* const* Options,
                                                UINT64 Index) {
  return ClosedList(X, Y, Width, Height, Label, Options, Index, kColourPageArea, kColourGreyText);
}

EFI_STATUS Quorvex_ItemSelected_Label_DropDownList_Control(UINT64 X, UINT64 Y, UINT64 Width,
                                                           UINT64 Height, const CHAR16* Label,
                                                           const CHAR16* const* Options,
                                                           UINT64 Highlighted) {
  const UINT64 lineHeight = GlyphLineHeight;
  UINT64 count = 0;
  while (Options && Options[count] != nullptr) ++count;

  ClearMargin(X, Y, Width, Height, kColourAccent);
  EFI_STATUS status = EFI_SUCCESS;
  if (Label)
    Keep(&status,
         Quorvex_DrawString(Label, Pixel(kColourWhite), kTransparent, X, Y, Width, 2 * lineHeight));
  Keep(&status, Quorvex_Button_Control(X + 10, SaturatingSub(Y + Height, 35),
                                       SaturatingSub(Width, 10), 35, nullptr));
  // The unfolded list hangs below the control, over the items that follow.
  Keep(&status, Quorvex_Draw_Face(X + 19, SaturatingSub(Y + Height, 22), SaturatingSub(Width, 8),
                                  count * lineHeight + 10, kColourButtonFace, kColourDarkText));
  for (UINT64 i = 0; i < count; ++i) {
    const bool lit = i == Highlighted;
    const ScreenRect r = Quorvex_DropDown_OptionRect(X, Y, Width, Height, i);
    Keep(&status, Quorvex_DrawString(Options[i], Pixel(lit ? kColourWhite : kColourDarkText),
                                     Pixel(lit ? kColourAccent : kColourButtonFace), r.X, r.Y,
                                     r.Width, r.Height));
  }
  return status;
}
