// The main loop: the tab state machine at the top of the utility. Each pass
// refreshes the Main page clock, polls the pointer and dispatches one key;
// entering a page hands the keys to that page's own loop until it is left.
#include "core/main_loop.h"

#include "core/startup.h"
#include "graphics/double_buffer.h"
#include "input/keys.h"
#include "input/mouse.h"
#include "pages/main_page.h"
#include "pages/page_common.h"
#include "pages/page_table.h"
#include "pages/pages.h"

namespace {

// The tab of the highlighted state (the sub-page's tab state is the Advanced
// tab), or kTabCount outside the tab states.
UINT32 HighlightedTab() {
  const PageRow* row = Quorvex_PageTable_TabStateRow(PageState);
  return row != nullptr && IsTabState(PageState) ? row->View->Tab : kTabCount;
}

} // namespace

void TabUp() {
  const UINT32 tab = HighlightedTab();
  if (tab == kTabCount || tab == 0) return;
  const PageRow& from = Quorvex_PageTable_TabRow(tab);
  const PageRow& to = Quorvex_PageTable_TabRow(tab - 1);
  PageState = to.View->TabState;
  to.SelectedDraw();
  from.NotSelectedDraw();
}

void TabDown() {
  const UINT32 tab = HighlightedTab();
  if (tab == kTabCount || tab + 1 >= kTabCount) return;
  const PageRow& from = Quorvex_PageTable_TabRow(tab);
  const PageRow& to = Quorvex_PageTable_TabRow(tab + 1);
  PageState = to.View->TabState;
  // The new page first: the two tabs' looks, quick to draw, follow it.
  to.SelectedDraw();
  from.NotSelectedDraw();
}

namespace {

// Right and Enter share these transitions; only Right enters the sub-page
// from its tab state. The sub-page is entered through the Advanced page's
// loop, which hands over to it.
void EnterFromTab(bool FromSubPageTab) {
  if (!IsTabState(PageState)) return;
  if (PageState == kStateAdvancedSubPageTab) {
    if (!FromSubPageTab) return;
    PageState = kStateAdvancedSubPage;
    kPageTable[kRowAdvanced].Enter();
    return;
  }
  const PageRow* row = Quorvex_PageTable_TabStateRow(PageState);
  if (row == nullptr) return;
  PageState = row->View->InsideState;
  row->Enter();
}

} // namespace

void EnterPage() {
  EnterFromTab(true);
}

void EnterPageByEnter() {
  EnterFromTab(false);
}

void LeavePage() {
  // The boot order dialog and the sub-page leave through their own loops.
  if (PageState == kStateBootOrderDialog || PageState == kStateAdvancedSubPage) return;
  const PageRow* row = Quorvex_PageTable_InsideStateRow(PageState);
  if (row == nullptr) return;
  PageState = row->View->TabState;
  row->SelectedDraw();
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
  // From here each input's drawing reaches the screen in one burst, when
  // the next input is read.
  Quorvex_DoubleBuffer_SetDeferred(true);
  // After a restart nothing of an abandoned dialog may linger, and the pixels
  // saved under the cursor belong to the screen that was rebuilt.
  Quorvex_Pages_ForgetModalState();
  Quorvex_Mouse_ForgetScreen();
  Quorvex_LoadHotKey();
  PageState = kStateMainTab;
  for (UINT32 tab = 0; tab < kTabCount; ++tab) {
    const PageRow& row = Quorvex_PageTable_TabRow(tab);
    if (tab == 0) {
      row.SelectedDraw();
    } else {
      row.NotSelectedDraw();
    }
  }
  FlushKeys();
  Quorvex_MouseDrain();
}

// A first click on a page's item gives the page the focus from the pointer
// poll; its own loop is run from here, not inside the poll. The sub-page is
// run through the Advanced page's loop, as Right from its tab state does.
void Quorvex_MainLoop_EnterClickedPage() {
  if (IsTabState(PageState) || PageState == kStateBootOrderDialog) return;
  if (PageState == kStateAdvancedSubPage) {
    kPageTable[kRowAdvanced].Enter();
    return;
  }
  const PageRow* row = Quorvex_PageTable_InsideStateRow(PageState);
  if (row != nullptr) row->Enter();
}

void Quorvex_MainLoop_Pass() {
  Quorvex_MainPage_ClockRefresh();
  Quorvex_MousePoll();
  Quorvex_MainLoop_EnterClickedPage();
  EFI_INPUT_KEY key;
  if (EFI_ERROR(Quorvex_ReadKey(&key))) return;
  Quorvex_MainLoop_Dispatch(key);
}

void Quorvex_MainLoop() {
  Quorvex_MainLoop_Start();
  for (;;) Quorvex_MainLoop_Pass();
}
