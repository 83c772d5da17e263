// Modal message windows: the choice window with its row of buttons, run
// until the user decides, and the red error message window (drawing only).
#include "graphics/windows.h"

#include "core/main_loop.h"
#include "core/startup.h"
#include "graphics/background.h"
#include "graphics/buttons.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/item_list.h"
#include "graphics/text_draw.h"
#include "input/mouse.h"

UINT8 ChoiceWindowOpen = 0;
UINT64 ChoiceWindowChoice = 0;

constinit const CHAR16* YesNoCaptions[3] = {u"    Yes", u"    No", nullptr};

namespace {

constexpr UINT64 kRowButtonWidth = 100;
constexpr UINT64 kRowButtonHeight = 30;
constexpr UINT64 kRowButtonPitch = 110;

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
  const UINT64 left = RowLeft(X, Width, count);
  const UINT64 top = SaturatingSub(Y + Height, 40);
  CursorHiddenOver hidden(left, top, kRowButtonPitch * count, kRowButtonHeight);
  for (UINT64 i = 0; i < count; ++i) {
    const UINT64 x = left + kRowButtonPitch * i;
    if (i == Highlighted) {
      Quorvex_Selected_Button_Control_PopUpForm(x, top, kRowButtonWidth, kRowButtonHeight,
                                                Captions[i]);
    } else {
      Quorvex_Button_Control_PopUpForm(x, top, kRowButtonWidth, kRowButtonHeight, Captions[i]);
    }
  }
}

EFI_STATUS Quorvex_Choice_Window(UINT64 Width, UINT64 Height, UINT64 LeftMargin, UINT64 TopMargin,
                                 const CHAR16* Message, const CHAR16* const* Captions,
                                 UINT64 InitialChoice, UINT64* Choice) {
  const UINT64 x0 = SaturatingSub(ScreenWidth / 2, Width / 2);
  const UINT64 y0 = SaturatingSub(ScreenHeight / 2, Height / 2);
  const UINT64 count = CountCaptions(Captions);
  const UINT64 last = count == 0 ? 0 : count - 1;

  ChoiceWindowOpen = 1;
  ChoiceWindowChoice = InitialChoice < last ? InitialChoice : last;
  {
    CursorHidden hidden;
    Quorvex_Grayout_All_Screen();
    Quorvex_Button_Control(x0, y0, Width, Height, nullptr);
    Quorvex_DrawString(Message, Pixel(kColourDarkText), kTransparent, x0 + LeftMargin,
                       y0 + TopMargin, SaturatingSub(Width, LeftMargin),
                       SaturatingSub(Height, TopMargin));
  }
  UINT64 shown = ChoiceWindowChoice;
  Quorvex_PopUp_Button_Row(x0, y0, Width, Height, Captions, shown);
  // The press that opened the window must not count as a click on it.
  Quorvex_MouseDrain();

  EFI_STATUS result = EFI_ABORTED;
  for (;;) {
    Quorvex_MousePoll();
    if (ChoiceWindowChoice > last) ChoiceWindowChoice = last;
    if (ChoiceWindowChoice != shown) {
      shown = ChoiceWindowChoice;
      Quorvex_PopUp_Button_Row(x0, y0, Width, Height, Captions, shown);
    }
    if (!ChoiceWindowOpen) {
      result = EFI_SUCCESS;
      break;
    }
    EFI_INPUT_KEY key;
    if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
    if (key.ScanCode == SCAN_RIGHT) {
      if (ChoiceWindowChoice < last) ++ChoiceWindowChoice;
    } else if (key.ScanCode == SCAN_LEFT) {
      if (ChoiceWindowChoice > 0) --ChoiceWindowChoice;
    } else if (key.ScanCode == SCAN_ESC || key.UnicodeChar == u'N' || key.UnicodeChar == u'n') {
      result = EFI_ABORTED;
      break;
    } else if (key.UnicodeChar == CHAR_CARRIAGE_RETURN) {
      result = EFI_SUCCESS;
      break;
    } else if (key.UnicodeChar == u'Y' || key.UnicodeChar == u'y') {
      ChoiceWindowChoice = 0;
      result = EFI_SUCCESS;
      break;
    }
    if (ChoiceWindowChoice != shown) {
      shown = ChoiceWindowChoice;
      Quorvex_PopUp_Button_Row(x0, y0, Width, Height, Captions, shown);
    }
  }

  ChoiceWindowOpen = 0;
  {
    CursorHidden hidden;
    Quorvex_Restore_All_Screen();
  }
  if (result == EFI_SUCCESS && Choice) *Choice = ChoiceWindowChoice;
  return result;
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
  status = Quorvex_Selected_Button_Control_PopUpForm(SaturatingSub(X + Width / 2, 50),
                                                     SaturatingSub(Y + Height, 35), kRowButtonWidth,
                                                     kRowButtonHeight, ButtonCaption);
  Quorvex_DrawPicture(kCloseMark, SaturatingSub(X + Width, 32), Y + 10);
  return EFI_ERROR(status) && status != EFI_INVALID_PARAMETER ? status : EFI_SUCCESS;
}
