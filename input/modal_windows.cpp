#include "input/modal_windows.h"

#include "graphics/buffered_window.h"
#include "graphics/modal_scope.h"
#include "graphics/windows.h"
#include "input/keys.h"
#include "input/mouse.h"

namespace {
// What a window draws beyond its own rectangle: nothing, its buttons lie
// inside it.
constexpr UINT64 kWindowMargin = 0;
} // namespace

EFI_STATUS Quorvex_Choice_Window(UINT64 Width, UINT64 Height, UINT64 LeftMargin, UINT64 TopMargin,
                                 const CHAR16* Message, const CHAR16* const* Captions,
                                 UINT64 InitialChoice, UINT64* Choice) {
  const ScreenRect window = Quorvex_ChoiceWindow_Frame(Width, Height);
  const UINT64 count = Quorvex_CountCaptions(Captions);
  const UINT64 last = count == 0 ? 0 : count - 1;

  ChoiceWindowChoice = InitialChoice < last ? InitialChoice : last;
  ChoiceWindowShown = window;
  ChoiceWindowButtons = count;
  EFI_STATUS result = EFI_ABORTED;
  {
    ModalScope modal(&ChoiceWindowOpen);
    UINT64 shown = ChoiceWindowChoice;
    {
      BufferedWindow buffered(window.X, window.Y, window.Width, window.Height, kWindowMargin);
      Quorvex_ChoiceWindow_DrawFrame(window, Message, LeftMargin, TopMargin);
      Quorvex_PopUp_Button_Row(window.X, window.Y, window.Width, window.Height, Captions, shown);
    }
    // The press that opened the window must not count as a click on it.
    Quorvex_MouseDrain();

    for (;;) {
      Quorvex_MousePoll();
      if (ChoiceWindowChoice > last) ChoiceWindowChoice = last;
      if (ChoiceWindowChoice != shown) {
        shown = ChoiceWindowChoice;
        Quorvex_PopUp_Button_Row(window.X, window.Y, window.Width, window.Height, Captions, shown);
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
        Quorvex_PopUp_Button_Row(window.X, window.Y, window.Width, window.Height, Captions, shown);
      }
    }
  }
  ChoiceWindowButtons = 0;
  if (result == EFI_SUCCESS && Choice) *Choice = ChoiceWindowChoice;
  return result;
}

EFI_STATUS Quorvex_GeneralHelp() {
  EFI_STATUS result = EFI_ABORTED;
  ModalScope modal(&GeneralHelpOpen);
  Quorvex_GeneralHelp_DrawWindow();
  // The press that opened the help must not count as a click in it.
  Quorvex_MouseDrain();

  for (;;) {
    Quorvex_MousePoll();
    if (!GeneralHelpOpen) {
      result = EFI_ABORTED;
      break;
    }
    EFI_INPUT_KEY key;
    if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
    if (key.ScanCode == SCAN_UP || key.ScanCode == SCAN_PAGE_UP) {
      Quorvex_GeneralHelp_PageUp();
    } else if (key.ScanCode == SCAN_DOWN || key.ScanCode == SCAN_PAGE_DOWN) {
      Quorvex_GeneralHelp_PageDown();
    } else if (key.ScanCode == SCAN_ESC) {
      result = EFI_ABORTED;
      break;
    } else if (key.UnicodeChar == CHAR_CARRIAGE_RETURN || key.UnicodeChar == u'N' ||
               key.UnicodeChar == u'n' || key.UnicodeChar == u'Y' || key.UnicodeChar == u'y') {
      result = EFI_SUCCESS;
      break;
    }
  }
  return result;
}
