// The global keys every loop shares: F1 help, F9 defaults, F10 save and
// leave, Esc leave without saving.
#include "graphics/windows.h"
#include "input/modal_windows.h"
#include "pages/pages.h"

bool Quorvex_GlobalKey(const EFI_INPUT_KEY& Key) {
  switch (Key.ScanCode) {
  case SCAN_F1:
    Quorvex_GeneralHelp();
    return true;
  case SCAN_F9:
    Quorvex_LoadSetupDefaults();
    return true;
  case SCAN_F10:
    Quorvex_ExitSavingChanges();
    return true;
  case SCAN_ESC:
    Quorvex_ExitDiscardingChanges();
    return true;
  default:
    return false;
  }
}
