// The page table and the orders derived from it.
#include "pages/page_table.h"

#include "input/mouse.h"
#include "pages/pages.h"
#include "pages/sysconfig_page.h"
#include "setup_data/page_state.h"

// clang-format off
constinit const PageRow kPageTable[kPageRows] = {
    // View, Prepare, Init, Refresh, Layout, Store, SelectedDraw, NotSelectedDraw, Enter,
    // MouseClick, MouseClick2, FocusedRedraw, Init2, Layout2, Store2, LoadValues, LoadValues2
    {&kMainPageView, Quorvex_MainPage_Prepare, Quorvex_MainPage_Init, Quorvex_MainPage_Refresh,
     Quorvex_MainPage_Layout, Quorvex_MainPage_Store, Quorvex_MainPageSelected_Draw,
     Quorvex_MainPageNotSelected_Draw, Quorvex_MainPage_Enter, Quorvex_MainPage_MouseClick, nullptr,
     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr},
    {&kSecurityPageView, Quorvex_SecurityPage_Prepare, Quorvex_SecurityPage_Init,
     Quorvex_SecurityPage_Refresh, Quorvex_SecurityPage_Layout, Quorvex_SecurityPage_Store,
     Quorvex_SecurityPageSelected_Draw, Quorvex_SecurityPageNotSelected_Draw,
     Quorvex_SecurityPage_Enter, Quorvex_SecurityPage_MouseClick, nullptr, nullptr, nullptr, nullptr,
     nullptr, Quorvex_SecurityPage_LoadValues, nullptr},
    {&kPowerManagementPageView, Quorvex_PowerManagementPage_Prepare,
     Quorvex_PowerManagementPage_Init, Quorvex_PowerManagementPage_Refresh,
     Quorvex_PowerManagementPage_Layout, Quorvex_PowerManagementPage_Store,
     Quorvex_PowerManagementPageSelected_Draw, Quorvex_PowerManagementPageNotSelected_Draw,
     Quorvex_PowerManagementPage_Enter, Quorvex_PowerManagementPage_MouseClick, nullptr, nullptr, nullptr,
     nullptr, nullptr, Quorvex_PowerManagementPage_LoadValues, nullptr},
    {&kAdvancedPageView, Quorvex_AdvancedPage_Prepare, Quorvex_AdvancedPage_Init,
     Quorvex_AdvancedPage_Refresh, Quorvex_AdvancedPage_Layout, Quorvex_AdvancedPage_Store,
     Quorvex_AdvancedPageSelected_Draw, Quorvex_AdvancedPageNotSelected_Draw,
     Quorvex_AdvancedPage_Enter, Quorvex_AdvancedPage_MouseClick, Quorvex_AdvancedPage_MouseClick2, nullptr,
     Quorvex_AdvancedPage_Init2, Quorvex_AdvancedPage_Layout2, Quorvex_AdvancedPage_Store2,
     Quorvex_AdvancedPage_LoadValues, Quorvex_AdvancedPage_LoadValues2},
    {&kSystemConfigurationPageView, Quorvex_SystemConfigurationPage_Prepare,
     Quorvex_SystemConfigurationPage_Init, Quorvex_SystemConfigurationPage_Refresh,
     Quorvex_SystemConfigurationPage_Layout, Quorvex_SystemConfigurationPage_Store,
     Quorvex_SystemConfigurationPageSelected_Draw, Quorvex_SystemConfigurationPageNotSelected_Draw,
     Quorvex_SystemConfigurationPage_Enter, Quorvex_SystemConfigurationPage_MouseClick, nullptr,
     Quorvex_SystemConfigurationPage_FocusedRedraw, nullptr, nullptr, nullptr,
     Quorvex_SystemConfigurationPage_LoadValues, nullptr},
    {&kExitPageView, Quorvex_ExitPage_Prepare, Quorvex_ExitPage_Init, Quorvex_ExitPage_Refresh,
     Quorvex_ExitPage_Layout, Quorvex_ExitPage_Store, Quorvex_ExitPageSelected_Draw,
     Quorvex_ExitPageNotSelected_Draw, Quorvex_ExitPage_Enter, Quorvex_ExitPage_MouseClick, Quorvex_ExitPage_MouseClick2,
     nullptr, Quorvex_ExitPage_Init2, nullptr, nullptr, nullptr, nullptr},
};
// clang-format on

namespace {

using Routine = void (*PageRow::*)();

struct Step {
  PageRowId Row;
  Routine Which;
};

void Run(const Step* Steps, UINTN Count) {
  for (UINTN i = 0; i < Count; ++i) {
    void (*routine)() = kPageTable[Steps[i].Row].*(Steps[i].Which);
    if (routine != nullptr) routine();
  }
}

template <UINTN N> void Run(const Step (&Steps)[N]) {
  Run(Steps, N);
}

// Set-up reads the settings; the Exit page's second routine computes the
// access level last, so that the refresh after it applies it everywhere.
constexpr Step kSetUpOrder[] = {
    {kRowExit, &PageRow::Init},      {kRowMain, &PageRow::Init},
    {kRowPower, &PageRow::Init},     {kRowAdvanced, &PageRow::Init},
    {kRowAdvanced, &PageRow::Init2}, {kRowSystemConfiguration, &PageRow::Init},
    {kRowSecurity, &PageRow::Init},  {kRowExit, &PageRow::Init2},
};

// The sub-page lays itself out when it is entered.
constexpr Step kLayoutOrder[] = {
    {kRowMain, &PageRow::Layout},      {kRowSecurity, &PageRow::Layout},
    {kRowPower, &PageRow::Layout},     {kRowAdvanced, &PageRow::Layout},
    {kRowAdvanced, &PageRow::Layout2}, {kRowExit, &PageRow::Layout},
};

// The boot order is stored last.
constexpr Step kStoreOrder[] = {
    {kRowMain, &PageRow::Store},
    {kRowSecurity, &PageRow::Store},
    {kRowPower, &PageRow::Store},
    {kRowAdvanced, &PageRow::Store},
    {kRowSystemConfiguration, &PageRow::Store},
    {kRowAdvanced, &PageRow::Store2},
};

constexpr Step kLoadValuesOrder[] = {
    {kRowPower, &PageRow::LoadValues},     {kRowAdvanced, &PageRow::LoadValues},
    {kRowAdvanced, &PageRow::LoadValues2}, {kRowSystemConfiguration, &PageRow::LoadValues},
    {kRowSecurity, &PageRow::LoadValues},
};

struct ClickStep {
  PageRowId Row;
  EFI_STATUS (*PageRow::*Handler)(INT64, INT64);
};

// The Exit page's first handler serves the message windows that F1, F9, F10
// and Esc open over every page. The last two handlers swap places for a
// touch: the sub-page's before the Exit page's own.
constexpr ClickStep kClickOrder[] = {
    {kRowExit, &PageRow::MouseClick},     {kRowMain, &PageRow::MouseClick},
    {kRowSecurity, &PageRow::MouseClick}, {kRowPower, &PageRow::MouseClick},
    {kRowAdvanced, &PageRow::MouseClick}, {kRowAdvanced, &PageRow::MouseClick2},
};
constexpr ClickStep kMouseTail[] = {{kRowExit, &PageRow::MouseClick2},
                                    {kRowSystemConfiguration, &PageRow::MouseClick}};
constexpr ClickStep kTouchTail[] = {{kRowSystemConfiguration, &PageRow::MouseClick},
                                    {kRowExit, &PageRow::MouseClick2}};

// Offers the click to Steps in order; true when one took it.
template <UINTN N> bool Offer(const ClickStep (&Steps)[N], INT64 X, INT64 Y) {
  for (const ClickStep& c : Steps) {
    if ((kPageTable[c.Row].*(c.Handler))(X, Y) == EFI_SUCCESS) return true;
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

const PageRow* Quorvex_PageTable_TabStateRow(UINT32 State) {
  if (State == kStateAdvancedSubPageTab) return &kPageTable[kRowAdvanced];
  for (const PageRow& row : kPageTable) {
    if (row.View->TabState == State) return &row;
  }
  return nullptr;
}

const PageRow* Quorvex_PageTable_InsideStateRow(UINT32 State) {
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
  const INT64 x = CursorX;
  const INT64 y = CursorY;
  if (Offer(kClickOrder, x, y)) return EFI_SUCCESS;
  const bool taken = Touch ? Offer(kTouchTail, x, y) : Offer(kMouseTail, x, y);
  return taken ? EFI_SUCCESS : EFI_ABORTED;
}
