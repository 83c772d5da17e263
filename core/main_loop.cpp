// The main loop: the tab state machine at the top of the utility. Each pass
// refreshes the Main page clock, polls the pointer and dispatches one key;
// entering a page hands the keys to that page's own loop until it is left.
#include "core/main_loop.h"

#include "core/startup.h"
#include "graphics/windows.h"
#include "input/mouse.h"
#include "pages/main_page.h"
#include "pages/page_common.h"
#include "pages/pages.h"
#include "setup_data/setup_data_wrappers.h"

UINT32 PageState;
UINT16 HotKeyScanCode;

void FlushKeys() {
  EFI_INPUT_KEY key;
  while (!EFI_ERROR(SystemTable->ConIn->ReadKeyStroke(SystemTable->ConIn, &key))) {
  }
}

void Quorvex_LoadHotKey() {
  SetupData_Get_hot_key_scan_code(&HotKeyScanCode);
}

EFI_STATUS Quorvex_ReadKey(EFI_INPUT_KEY* Key) {
  Key->ScanCode = 0;
  Key->UnicodeChar = 0;
  EFI_STATUS status = SystemTable->ConIn->ReadKeyStroke(SystemTable->ConIn, Key);
  if (EFI_ERROR(status)) return status;
  // A hot key of 0 (a service answer outside the schema) would match every
  // character key: it is ignored.
  if (HotKeyScanCode != 0 && Key->ScanCode == HotKeyScanCode) {
    SetupData_report_hot_key(Key->ScanCode);
  }
  return EFI_SUCCESS;
}

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

void TabUp() {
  switch (PageState) {
  case kStateSecurityTab:
    PageState = kStateMainTab;
    Quorvex_MainPageSelected_Draw();
    Quorvex_SecurityPageNotSelected_Draw();
    break;
  case kStatePowerTab:
    PageState = kStateSecurityTab;
    Quorvex_SecurityPageSelected_Draw();
    Quorvex_PowerManagementPageNotSelected_Draw();
    break;
  case kStateAdvancedTab:
  case kStateAdvancedSubPageTab:
    PageState = kStatePowerTab;
    Quorvex_PowerManagementPageSelected_Draw();
    Quorvex_AdvancedPageNotSelected_Draw();
    break;
  case kStateExitTab:
    PageState = kStateAdvancedTab;
    Quorvex_AdvancedPageSelected_Draw();
    Quorvex_ExitPageNotSelected_Draw();
    break;
  default:
    break;
  }
}

void TabDown() {
  switch (PageState) {
  case kStateMainTab:
    PageState = kStateSecurityTab;
    Quorvex_MainPageNotSelected_Draw();
    Quorvex_SecurityPageSelected_Draw();
    break;
  case kStateSecurityTab:
    PageState = kStatePowerTab;
    Quorvex_SecurityPageNotSelected_Draw();
    Quorvex_PowerManagementPageSelected_Draw();
    break;
  case kStatePowerTab:
    PageState = kStateAdvancedTab;
    Quorvex_PowerManagementPageNotSelected_Draw();
    Quorvex_AdvancedPageSelected_Draw();
    break;
  case kStateAdvancedTab:
  case kStateAdvancedSubPageTab:
    PageState = kStateExitTab;
    Quorvex_AdvancedPageNotSelected_Draw();
    Quorvex_ExitPageSelected_Draw();
    break;
  default:
    break;
  }
}

namespace {

// Right and Enter share these transitions; only Right enters from state 4.
void EnterFromTab(bool FromSubPageTab) {
  switch (PageState) {
  case kStateMainTab:
    PageState = kStateMainPage;
    Quorvex_MainPage_Enter();
    break;
  case kStateSecurityTab:
    PageState = kStateSecurityPage;
    Quorvex_SecurityPage_Enter();
    break;
  case kStatePowerTab:
    PageState = kStatePowerPage;
    Quorvex_PowerManagementPage_Enter();
    break;
  case kStateAdvancedTab:
    PageState = kStateAdvancedPage;
    Quorvex_AdvancedPage_Enter();
    break;
  case kStateAdvancedSubPageTab:
    if (!FromSubPageTab) break;
    PageState = kStateAdvancedSubPage;
    Quorvex_AdvancedPage_Enter();
    break;
  case kStateExitTab:
    PageState = kStateExitPage;
    Quorvex_ExitPage_Enter();
    break;
  default:
    break;
  }
}

} // namespace

void EnterPage() {
  EnterFromTab(true);
}

void EnterPageByEnter() {
  EnterFromTab(false);
}

void LeavePage() {
  switch (PageState) {
  case kStateMainPage:
    PageState = kStateMainTab;
    Quorvex_MainPageSelected_Draw();
    break;
  case kStateSecurityPage:
    PageState = kStateSecurityTab;
    Quorvex_SecurityPageSelected_Draw();
    break;
  case kStatePowerPage:
    PageState = kStatePowerTab;
    Quorvex_PowerManagementPageSelected_Draw();
    break;
  case kStateAdvancedPage:
    PageState = kStateAdvancedTab;
    Quorvex_AdvancedPageSelected_Draw();
    break;
  case kStateExitPage:
    PageState = kStateExitTab;
    Quorvex_ExitPageSelected_Draw();
    break;
  default:
    break;
  }
}

void Quorvex_MainLoop_Dispatch(const EFI_INPUT_KEY& Key) {
  switch (Key.ScanCode) {
  case SCAN_UP:
    TabUp();
    break;
  case SCAN_DOWN:
    TabDown();
    break;
  case SCAN_RIGHT:
    EnterPage();
    break;
  case SCAN_LEFT:
    LeavePage();
    break;
  case SCAN_PAGE_UP:
  case SCAN_PAGE_DOWN:
    // Nothing to page at the tab level.
    break;
  default:
    Quorvex_GlobalKey(Key);
    break;
  }
  if (Key.UnicodeChar == CHAR_CARRIAGE_RETURN) EnterPageByEnter();
}

void Quorvex_MainLoop_Start() {
  // After a restart nothing of an abandoned dialog may linger, and the pixels
  // saved under the cursor belong to the screen that was rebuilt.
  Quorvex_Pages_ForgetModalState();
  Quorvex_Mouse_ForgetScreen();
  Quorvex_LoadHotKey();
  PageState = kStateMainTab;
  Quorvex_MainPageSelected_Draw();
  Quorvex_SecurityPageNotSelected_Draw();
  Quorvex_PowerManagementPageNotSelected_Draw();
  Quorvex_AdvancedPageNotSelected_Draw();
  Quorvex_ExitPageNotSelected_Draw();
  FlushKeys();
  Quorvex_MouseDrain();
}

void Quorvex_MainLoop_Pass() {
  Quorvex_MainPage_ClockRefresh();
  Quorvex_MousePoll();
  EFI_INPUT_KEY key;
  if (EFI_ERROR(Quorvex_ReadKey(&key))) return;
  Quorvex_MainLoop_Dispatch(key);
}

void Quorvex_MainLoop() {
  Quorvex_MainLoop_Start();
  for (;;) Quorvex_MainLoop_Pass();
}
