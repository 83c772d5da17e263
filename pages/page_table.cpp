// The page table and the orders derived from it.
#include "pages/page_table.h"

#include "graphics/background.h"
#include "pages/boot_order.h"
#include "pages/pages.h"
#include "pages/sysconfig_page.h"
#include "setup_data/page_state.h"

// One row per PageRowId, in that order.
constinit const PageRow kPageTable[kPageRows] = {
    {
        .View = &kMainPageView,
        .Prepare = Quorvex_MainPage_Prepare,
        .Refresh = Quorvex_MainPage_Refresh,
        .SelectedDraw = Quorvex_MainPageSelected_Draw,
        .NotSelectedDraw = Quorvex_MainPageNotSelected_Draw,
        .Enter = Quorvex_MainPage_Enter,
        .FocusedRedraw = nullptr,
    },
    {
        .View = &kSecurityPageView,
        .Prepare = Quorvex_SecurityPage_Prepare,
        .Refresh = Quorvex_SecurityPage_Refresh,
        .SelectedDraw = Quorvex_SecurityPageSelected_Draw,
        .NotSelectedDraw = Quorvex_SecurityPageNotSelected_Draw,
        .Enter = Quorvex_SecurityPage_Enter,
        .FocusedRedraw = nullptr,
    },
    {
        .View = &kPowerManagementPageView,
        .Prepare = Quorvex_PowerManagementPage_Prepare,
        .Refresh = Quorvex_PowerManagementPage_Refresh,
        .SelectedDraw = Quorvex_PowerManagementPageSelected_Draw,
        .NotSelectedDraw = Quorvex_PowerManagementPageNotSelected_Draw,
        .Enter = Quorvex_PowerManagementPage_Enter,
        .FocusedRedraw = nullptr,
    },
    {
        .View = &kAdvancedPageView,
        .Prepare = Quorvex_AdvancedPage_Prepare,
        .Refresh = Quorvex_AdvancedPage_Refresh,
        .SelectedDraw = Quorvex_AdvancedPageSelected_Draw,
        .NotSelectedDraw = Quorvex_AdvancedPageNotSelected_Draw,
        .Enter = Quorvex_AdvancedPage_Enter,
        .FocusedRedraw = nullptr,
    },
    {
        .View = &kSystemConfigurationPageView,
        .Prepare = Quorvex_SystemConfigurationPage_Prepare,
        .Refresh = Quorvex_SystemConfigurationPage_Refresh,
        .SelectedDraw = Quorvex_SystemConfigurationPageSelected_Draw,
        .NotSelectedDraw = Quorvex_SystemConfigurationPageNotSelected_Draw,
        .Enter = Quorvex_SystemConfigurationPage_Enter,
        .FocusedRedraw = Quorvex_SystemConfigurationPage_FocusedRedraw,
    },
    {
        .View = &kExitPageView,
        .Prepare = Quorvex_ExitPage_Prepare,
        .Refresh = Quorvex_ExitPage_Refresh,
        .SelectedDraw = Quorvex_ExitPageSelected_Draw,
        .NotSelectedDraw = Quorvex_ExitPageNotSelected_Draw,
        .Enter = Quorvex_ExitPage_Enter,
        .FocusedRedraw = nullptr,
    },
};

namespace {

using Routine = void (*)();

template <UINTN N> void Run(const Routine (&Routines)[N]) {
  for (Routine routine : Routines) routine();
}

// Set-up reads the settings; the access level is computed last, so that the
// refresh after it applies it everywhere.
constexpr Routine kSetUpOrder[] = {
    Quorvex_ExitPage_Init,
    Quorvex_MainPage_Init,
    Quorvex_PowerManagementPage_Init,
    Quorvex_AdvancedPage_Init,
    Quorvex_BootOrder_Load,
    Quorvex_SystemConfigurationPage_Init,
    Quorvex_SecurityPage_Init,
    Quorvex_ExitPage_SetAccessLevel,
};

// The sub-page lays itself out when it is entered.
constexpr Routine kLayoutOrder[] = {
    Quorvex_MainPage_Layout,     Quorvex_SecurityPage_Layout, Quorvex_PowerManagementPage_Layout,
    Quorvex_AdvancedPage_Layout, Quorvex_BootOrder_Layout,    Quorvex_ExitPage_Layout,
};

// The boot order is stored last.
constexpr Routine kStoreOrder[] = {
    Quorvex_MainPage_Store,
    Quorvex_SecurityPage_Store,
    Quorvex_PowerManagementPage_Store,
    Quorvex_AdvancedPage_Store,
    Quorvex_SystemConfigurationPage_Store,
    Quorvex_BootOrder_Store,
};

// The settings read again after the defaults were loaded.
constexpr Routine kLoadValuesOrder[] = {
    Quorvex_PowerManagementPage_LoadValues,
    Quorvex_AdvancedPage_LoadValues,
    Quorvex_BootOrder_Load,
    Quorvex_SystemConfigurationPage_LoadValues,
    Quorvex_SecurityPage_LoadValues,
};

using ClickHandler = EFI_STATUS (*)();

// The message windows that F1, F9, F10 and Esc open over every page come
// first. The last two handlers swap places for a touch: the sub-page's
// before the Exit page's own.
constexpr ClickHandler kClickOrder[] = {
    Quorvex_MessageWindows_Click,    Quorvex_MainPage_MouseClick,
    Quorvex_SecurityPage_MouseClick, Quorvex_PowerManagementPage_MouseClick,
    Quorvex_AdvancedPage_MouseClick, Quorvex_BootOrder_Click,
};
constexpr ClickHandler kMouseTail[] = {Quorvex_ExitPage_MouseClick,
                                       Quorvex_SystemConfigurationPage_MouseClick};
constexpr ClickHandler kTouchTail[] = {Quorvex_SystemConfigurationPage_MouseClick,
                                       Quorvex_ExitPage_MouseClick};

// Offers the click to Handlers in order; true when one took it.
template <UINTN N> bool Offer(const ClickHandler (&Handlers)[N]) {
  for (ClickHandler handler : Handlers) {
    if (handler() == EFI_SUCCESS) return true;
  }
  return false;
}

// The tab rows in tab order (the sub-page shares the Advanced tab).
constexpr PageRowId kTabRows[kTabCount] = {kRowMain, kRowSecurity, kRowPower, kRowAdvanced,
                                           kRowExit};

} // namespace

const PageRow& Quorvex_PageTable_TabRow(UINT32 Tab) {
  return kPageTable[kTabRows[Tab < kTabCount ? Tab : 0]];
}

const PageRow* Quorvex_PageTable_TabStateRow(PageStateValue State) {
  if (State == kStateAdvancedSubPageTab) return &kPageTable[kRowAdvanced];
  for (const PageRow& row : kPageTable) {
    if (row.View->TabState == State) return &row;
  }
  return nullptr;
}

const PageRow* Quorvex_PageTable_InsideStateRow(PageStateValue State) {
  for (const PageRow& row : kPageTable) {
    if (row.View->InsideState == State) return &row;
  }
  return nullptr;
}

void Quorvex_Pages_PrepareAll() {
  for (const PageRow& row : kPageTable) row.Prepare();
}

void Quorvex_Pages_SetUpAll() {
  Run(kSetUpOrder);
  // The help bar was drawn with the background, before the stored language
  // was read.
  Quorvex_HelpBar_Draw();
}

void Quorvex_Pages_LayOutAll() {
  Run(kLayoutOrder);
}

void Quorvex_RefreshAllPages() {
  for (const PageRow& row : kPageTable) row.Refresh();
}

void Quorvex_StoreAllPages() {
  Run(kStoreOrder);
}

void Quorvex_Pages_LoadAllValues() {
  Run(kLoadValuesOrder);
}

void Quorvex_Pages_ForEachView(void (*Routine)(const PageView& View)) {
  for (const PageRow& row : kPageTable) Routine(*row.View);
}

EFI_STATUS Quorvex_Pages_ClickChain(bool Touch) {
  if (Offer(kClickOrder)) return EFI_SUCCESS;
  const bool taken = Touch ? Offer(kTouchTail) : Offer(kMouseTail);
  return taken ? EFI_SUCCESS : EFI_ABORTED;
}
