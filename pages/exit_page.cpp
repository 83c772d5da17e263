// The Exit page and the global actions it shares with every page through F9,
// F10 and Esc: leaving with or without saving, loading the defaults and the
// battery service action. Leaving itself is the setup data service's
// business; nothing here runs after a leave operation that does not return.
#include "graphics/double_buffer.h"
#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "setup_data/page_actions.h"
#include "pages/confirm.h"
#include "pages/page_common.h"
#include "pages/page_table.h"
#include "pages/pages.h"
#include "pages/secure_boot_item.h"
#include "setup_data/exit_page_table.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/text_table.h"

constinit const PageView kExitPageView = {ExitPageItems, &ExitPageItemCount, kTabExit,
                                          kStateExitTab, kStateExitPage,     nullptr};

namespace {

// The platform's answer whether the battery may be disabled now.
bool BatteryMayBeDisabled() {
  if (AuxProtocolA == nullptr || AuxProtocolA->Operations == nullptr) return false;
  PLATFORM_SERVICE_OPERATION ask = AuxProtocolA->Operations->Operation[kPlatformBatteryQuestion];
  return ask != nullptr && ask() != 0;
}

// Draws the page that PageState names again, without entering its loop (the
// boot order dialog draws itself again over its own page).
void RedrawCurrentPage() {
  if (const PageRow* row = Quorvex_PageTable_TabStateRow(PageState); row && IsTabState(PageState)) {
    row->SelectedDraw();
  } else if (const PageRow* inside = Quorvex_PageTable_InsideStateRow(PageState)) {
    if (inside->FocusedRedraw != nullptr) {
      inside->FocusedRedraw();
    } else {
      Quorvex_Page_FocusedDraw(*inside->View);
    }
  }
}

// A setting the firmware refused: the user is told, the pages show what the
// firmware has, and nothing is left until the user saves again.
bool StayAfterRefusal() {
  if (!Quorvex_SecureBootItem_ReportRefusal()) return false;
  Quorvex_RefreshAllPages();
  RedrawCurrentPage();
  return true;
}

void FixFocusOf(const PageView& View) {
  FixFocus(View.Items, *View.Count);
}

} // namespace

// ---- Global actions -------------------------------------------------------------

void Quorvex_ExitSavingChanges() {
  if (!Quorvex_ConfirmYesNo(TextOf(TEXT(ExitSavingChanges)))) return;
  Quorvex_StoreAllPages();
  if (StayAfterRefusal()) return;
  Quorvex_DoubleBuffer_Present();
  SetupData_save_and_leave();
}

void Quorvex_ExitDiscardingChanges() {
  if (!Quorvex_ConfirmYesNo(TextOf(TEXT(ExitDiscardingChanges)))) return;
  Quorvex_DoubleBuffer_Present();
  SetupData_leave_without_saving(EFI_ABORTED);
}

void Quorvex_LoadSetupDefaults() {
  // Restricted access cannot load the defaults: no question, nothing at all.
  if (!Quorvex_FullAccess()) return;
  if (!Quorvex_ConfirmYesNo(TextOf(TEXT(ExitLoadSetupDefaults)))) return;
  SetupData_load_defaults();
  // The store now holds the defaults: bring every page's records up to date,
  // then move the focus off rows that can no longer hold it.
  Quorvex_Pages_LoadAllValues();
  Quorvex_Pages_ForEachView(FixFocusOf);
  Quorvex_RefreshAllPages();
  RedrawCurrentPage();
}

void Quorvex_DisableBatteryAndPowerOff() {
  if (!Quorvex_ConfirmYesNo(TextOf(TEXT(ExitDisableBatteryConfirm)), 3)) return;
  if (!BatteryMayBeDisabled()) return;
  Quorvex_StoreAllPages();
  if (StayAfterRefusal()) return;
  Quorvex_DoubleBuffer_Present();
  SetupData_save_battery_off_and_power_off();
}

// ---- Item actions ---------------------------------------------------------------

void Quorvex_ExitPage_SaveChanges(SetupItem*) {
  Quorvex_ExitSavingChanges();
}
void Quorvex_ExitPage_DiscardChanges(SetupItem*) {
  Quorvex_ExitDiscardingChanges();
}
void Quorvex_ExitPage_LoadDefaults(SetupItem*) {
  Quorvex_LoadSetupDefaults();
}
void Quorvex_ExitPage_DisableBattery(SetupItem*) {
  Quorvex_DisableBatteryAndPowerOff();
}

// ---- Page routines --------------------------------------------------------------

void Quorvex_ExitPage_Prepare() {
  for (UINT64 i = 0; i < ExitPageItemCount; ++i) ExitPageItems[i].Present = 1;
}

void Quorvex_ExitPage_Init() {
  SetupItem& battery = ExitPageItems[ExitRowDisableBattery];
  battery.Present = SetupData_ReadValue_battery_disable_present() != 0 ? 1 : 0;
  Quorvex_Page_HideAbsent(ExitPageItems, ExitPageItemCount);
}

// The access level: 0 with supervisor access; otherwise 1, 2 or 3 by the
// BIOS access rights; 3 whenever the platform's restriction holds.
void Quorvex_ExitPage_SetAccessLevel() {
  if (SetupData_ReadValue_supervisor_access() == 1) {
    AccessLevel = 0;
  } else {
    const INT64 rights = SetupData_ReadValue_bios_access_rights();
    // An answer outside 0-2 is treated as the most restricted level.
    AccessLevel = (rights >= 0 && rights <= 2) ? static_cast<UINT64>(rights) + 1 : 3;
  }
  if (SetupData_ReadValue_restricted_condition() != 0) AccessLevel = 3;
}

void Quorvex_ExitPage_Refresh() {
  SetupItem& defaults = ExitPageItems[ExitRowLoadDefaults];
  SetGrey(defaults, !Quorvex_FullAccess());
  FixFocus(ExitPageItems, ExitPageItemCount);
}

void Quorvex_ExitPage_Layout() {
  for (UINT64 i = 0; i < ExitPageItemCount; ++i) {
    ExitPageItems[i].Width = ScreenWidth * 2 / 4 - 100;
    ExitPageItems[i].Height = kExitRowHeight;
    ExitPageItems[i].Gap = kExitRowGap;
  }
}

void Quorvex_ExitPage_Store() {}

void Quorvex_ExitPageSelected_Draw() {
  Quorvex_Page_HighlightedDraw(kExitPageView);
}

void Quorvex_ExitPageNotSelected_Draw() {
  Quorvex_Page_NotSelectedDraw(kExitPageView);
}

void Quorvex_ExitPage_Enter() {
  Quorvex_Page_FocusedDraw(kExitPageView);
  if (ActionBusy != 0) return;
  Quorvex_Page_KeyLoop(kExitPageView, PageLoopHooks{});
}

EFI_STATUS Quorvex_MessageWindows_Click() {
  if (Quorvex_ChoiceWindow_Click() == EFI_SUCCESS) return EFI_SUCCESS;
  if (Quorvex_SecureBootItem_Click() == EFI_SUCCESS) return EFI_SUCCESS;
  return Quorvex_GeneralHelp_Click();
}

// The page's own tab and items.
EFI_STATUS Quorvex_ExitPage_MouseClick() {
  return Quorvex_Page_Click(
      kExitPageView,
      {Quorvex_ExitPageSelected_Draw, Quorvex_ExitPageNotSelected_Draw, nullptr, nullptr, nullptr});
}
