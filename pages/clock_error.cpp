// The clock editor's error window, drawn in the style of every error window
// (one message, one button, a close mark).
#include "pages/clock_error.h"

#include "graphics/buttons.h"
#include "graphics/cursor.h"
#include "graphics/modal_scope.h"
#include "graphics/windows.h"
#include "input/keys.h"
#include "input/mouse.h"
#include "platform/bindings.h"
#include "setup_data/text_table.h"

UINT8 ClockErrorOpen;

void Quorvex_ClockError_Show() {
  ModalScope modal(&ClockErrorOpen);
  const ScreenRect box = Quorvex_MessageBox_Rect();
  {
    CursorHidden cursor;
    Quorvex_ErrorMessageWindow(box.X, box.Y, box.Width, box.Height, TextOf(TEXT(MainClockRefused)),
                               TextOf(TEXT(MainClockKept)), nullptr, TextOf(TEXT(CommonOk)));
  }
  // The key or press that accepted the editor must not close the window.
  FlushKeys();
  Quorvex_MouseDrain();
  for (;;) {
    Quorvex_MousePoll();
    if (ClockErrorOpen == 0) break;
    EFI_INPUT_KEY key;
    if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
    if (key.UnicodeChar == CHAR_CARRIAGE_RETURN || key.ScanCode == SCAN_ESC) break;
  }
}

EFI_STATUS Quorvex_ClockError_Click() {
  if (ClockErrorOpen == 0) return EFI_ABORTED;
  const ScreenRect box = Quorvex_MessageBox_Rect();
  if (Quorvex_PointInRect(Quorvex_ErrorWindow_ButtonRect(box)) ||
      Quorvex_PointInRect(Quorvex_CloseMark_Rect(box))) {
    ClockErrorOpen = 0;
  }
  return EFI_SUCCESS;
}
