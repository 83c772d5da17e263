// Modal message windows: the choice window with its row of buttons, run
// until the user decides, and the red error message window (drawing only).
#include "graphics/windows.h"

#include "platform/bindings.h"
#include "graphics/background.h"
#include "graphics/buttons.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/item_list.h"
#include "graphics/text_draw.h"
#include "graphics/cursor.h"

constinit ChoiceWindowState ChoiceWindow = {};

constinit const CHAR16* YesNoCaptions[3] = {u"    Yes", u"    No", nullptr};

namespace {

constexpr UINT64 kRowButtonWidth = 100;
constexpr UINT64 kRowButtonHeight = 30;
constexpr UINT64 kRowButtonPitch = 110;
// The close mark picture (drawn 32 pixels in from the right edge).
constexpr UINT64 kCloseMarkWidth = 20;
constexpr UINT64 kCloseMarkHeight = 27;

UINT64 CountCaptions(const CHAR16* const* Captions) {
  UINT64 count = 0;
  while (Captions && Captions[count] != nullptr) ++count;
  return count;
}

// Left edge of a row of Count buttons centred in a window Width wide.
UINT64 RowLeft(UINT64 X, UINT64 Width, UINT64 Count) {
  const UINT64 row = kRowButtonPitch * Count - (kRowButtonPitch - kRowButtonWidth);
  return row < Width ? X + (Width - row) / 2 : X;
}

// Line Text of the error window, centred in the window, at Top.
EFI_STATUS CentredLine(const CHAR16* Text, UINT64 X, UINT64 Width, UINT64 Top) {
  if (!Text) return EFI_SUCCESS;
  const UINT64 textWidth = Quorvex_TextWidth(Text);
  const UINT64 left = textWidth < Width ? X + (Width - textWidth) / 2 : X;
  return Quorvex_DrawString(Text, Pixel(kColourWhite), kTransparent, left, Top,
                            SaturatingSub(Width, 20), GlyphLineHeight);
}

} // namespace

void Quorvex_PopUp_Button_Row(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                              const CHAR16* const* Captions, UINT64 Highlighted) {
  const UINT64 count = CountCaptions(Captions);
  if (count == 0) return;
  const ScreenRect window = {X, Y, Width, Height};
  const ScreenRect first = Quorvex_ButtonRow_Rect(window, count, 0);
  CursorHiddenOver hidden(first.X, first.Y, kRowButtonPitch * count, kRowButtonHeight);
  for (UINT64 i = 0; i < count; ++i) {
    const ScreenRect r = Quorvex_ButtonRow_Rect(window, count, i);
    if (i == Highlighted) {
      Quorvex_Selected_Button_Control_PopUpForm(r.X, r.Y, r.Width, r.Height, Captions[i]);
    } else {
      Quorvex_Button_Control_PopUpForm(r.X, r.Y, r.Width, r.Height, Captions[i]);
    }
  }
}

ScreenRect Quorvex_ChoiceWindow_Frame(UINT64 Width, UINT64 Height) {
  return {SaturatingSub(ScreenWidth / 2, Width / 2), SaturatingSub(ScreenHeight / 2, Height / 2),
          Width, Height};
}

ScreenRect Quorvex_MessageBox_Rect() {
  ScreenRect box;
  box.Width = ScreenWidth * 50 / 100;
  box.Height = ScreenHeight * 25 / 100;
  box.X = (ScreenWidth - box.Width) / 2;
  box.Y = (ScreenHeight - box.Height) / 2;
  return box;
}

ScreenRect Quorvex_ButtonRow_Rect(const ScreenRect& Window, UINT64 Count, UINT64 Index) {
  const UINT64 left = RowLeft(Window.X, Window.Width, Count);
  return {left + kRowButtonPitch * Index, SaturatingSub(Window.Y + Window.Height, 40),
          kRowButtonWidth, kRowButtonHeight};
}

UINT64 Quorvex_CountCaptions(const CHAR16* const* Captions) {
  return CountCaptions(Captions);
}

void Quorvex_ChoiceWindow_DrawFrame(const ScreenRect& Window, const CHAR16* Message,
                                    UINT64 LeftMargin, UINT64 TopMargin) {
  CursorHidden hidden;
  Quorvex_Button_Control(Window.X, Window.Y, Window.Width, Window.Height, nullptr);
  Quorvex_DrawString(Message, Pixel(kColourDarkText), kTransparent, Window.X + LeftMargin,
                     Window.Y + TopMargin, SaturatingSub(Window.Width, LeftMargin),
                     SaturatingSub(Window.Height, TopMargin));
}

ScreenRect Quorvex_ErrorWindow_ButtonRect(const ScreenRect& Window) {
  return {SaturatingSub(Window.X + Window.Width / 2, 50),
          SaturatingSub(Window.Y + Window.Height, 35), kRowButtonWidth, kRowButtonHeight};
}

ScreenRect Quorvex_CloseMark_Rect(const ScreenRect& Window) {
  return {SaturatingSub(Window.X + Window.Width, 32), Window.Y + 10, kCloseMarkWidth,
          kCloseMarkHeight};
}

EFI_STATUS Quorvex_ErrorMessageWindow(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                      const CHAR16* Line1, const CHAR16* Line2, const CHAR16* Line3,
                                      const CHAR16* ButtonCaption) {
  EFI_STATUS status = Quorvex_Draw_Face(X, Y, Width, Height, kColourErrorBox, kColourErrorBox);
  if (EFI_ERROR(status)) return status;
  const UINT64 lineHeight = GlyphLineHeight;
  const UINT64 middle = SaturatingSub(Height, lineHeight) / 2;
  CentredLine(Line1, X, Width, Y + lineHeight / 2);
  CentredLine(Line2, X, Width, SaturatingSub(Y + middle, lineHeight / 2));
  CentredLine(Line3, X, Width, Y + lineHeight + middle);
  const ScreenRect window = {X, Y, Width, Height};
  const ScreenRect button = Quorvex_ErrorWindow_ButtonRect(window);
  status = Quorvex_Selected_Button_Control_PopUpForm(button.X, button.Y, button.Width,
                                                     button.Height, ButtonCaption);
  const ScreenRect close = Quorvex_CloseMark_Rect(window);
  Quorvex_DrawPicture(kCloseMark, close.X, close.Y);
  return EFI_ERROR(status) && status != EFI_INVALID_PARAMETER ? status : EFI_SUCCESS;
}

void Quorvex_ChoiceWindow_Reset() {
  ChoiceWindow = {};
}
