// The Advanced page: platform settings edited in place, and three buttons
// that open the boot order dialog, the System Configuration sub-page and the
// boot-logo question.
#include "pages/advanced_page.h"

#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/draw_util.h"
#include "pages/boot_order.h"
#include "setup_data/page_actions.h"
#include "input/mouse.h"
#include "pages/confirm.h"
#include "pages/page_common.h"
#include "pages/pages.h"
#include "setup_data/advanced_page_table.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/text_table.h"

SleepChargeSupport SleepChargeModes;

namespace {

// The twelve settings rows in table order (read and written in this order).
constexpr RowSetting kSettings[] = {
    {AdvancedRowBootSpeed, SetupData_Present_boot_speed, SetupData_Get_boot_speed,
     SetupData_Set_boot_speed},
    {AdvancedRowExecuteDisableBit, SetupData_Present_execute_disable_bit,
     SetupData_Get_execute_disable_bit, SetupData_Set_execute_disable_bit},
    {AdvancedRowVirtualization, SetupData_Present_virtualization_technology,
     SetupData_Get_virtualization_technology, SetupData_Set_virtualization_technology},
    {AdvancedRowBeepSound, SetupData_Present_beep_sound, SetupData_Get_beep_sound,
     SetupData_Set_beep_sound},
    {AdvancedRowIntelAt, SetupData_Present_intel_at, SetupData_Get_intel_at,
     SetupData_Set_intel_at},
    {AdvancedRowIntelAtSuspend, SetupData_Present_intel_at_suspend, SetupData_Get_intel_at_suspend,
     SetupData_Set_intel_at_suspend},
    {AdvancedRowRapidStart, SetupData_Present_rapid_start, SetupData_Get_rapid_start,
     SetupData_Set_rapid_start},
    {AdvancedRowSleepAndCharge, SetupData_Present_sleep_and_charge, SetupData_Get_sleep_and_charge,
     SetupData_Set_sleep_and_charge},
    {AdvancedRowCdpChargeMode, SetupData_Present_system_on_cdp_charge,
     SetupData_Get_system_on_cdp_charge, SetupData_Set_system_on_cdp_charge},
    {AdvancedRowUsbPowerInSleep, SetupData_Present_usb_power_in_sleep,
     SetupData_Get_usb_power_in_sleep, SetupData_Set_usb_power_in_sleep},
    {AdvancedRowSleepAndMusic, SetupData_Present_sleep_and_music, SetupData_Get_sleep_and_music,
     SetupData_Set_sleep_and_music},
    {AdvancedRowUsbLegacyEmulation, SetupData_Present_usb_legacy_emulation,
     SetupData_Get_usb_legacy_emulation, SetupData_Set_usb_legacy_emulation},
};

SetupItem& Row(UINT64 Index) {
  return AdvancedPageItems[Index];
}

void ReadFlag(bool* Flag, UINT64 (*Get)(UINT8*)) {
  UINT8 value = *Flag ? 1 : 0;
  Get(&value);
  *Flag = value != 0;
}

// Runs the sub-page with the System Configuration row as the focused row.
void EnterSubPage() {
  Quorvex_Page_SelectRow(AdvancedPageItems, AdvancedPageItemCount, AdvancedRowSystemConfiguration);
  PageState = kStateAdvancedSubPage;
  Quorvex_SystemConfigurationPage_Enter();
}

} // namespace

constinit const PageView kAdvancedPageView = {AdvancedPageItems,  &AdvancedPageItemCount,
                                              kTabAdvanced,       kStateAdvancedTab,
                                              kStateAdvancedPage, Quorvex_AdvancedPage_Refresh};

// ---- Sleep and Charge -------------------------------------------------------------

UINT64 Quorvex_SleepCharge_BuildOptions(const SleepChargeSupport& Support, const CHAR16** Options) {
  UINT64 count = 0;
  Options[count++] = AdvancedSleepChargeModeTexts[SleepChargeDisabled];
  if (Support.Auto) Options[count++] = AdvancedSleepChargeModeTexts[SleepChargeAuto];
  if (Support.Typical) Options[count++] = AdvancedSleepChargeModeTexts[SleepChargeTypical];
  if (Support.Alternate) Options[count++] = AdvancedSleepChargeModeTexts[SleepChargeAlternate];
  Options[count] = nullptr;
  return count;
}

UINT64 Quorvex_SleepCharge_StoredToIndex(const SleepChargeSupport& Support, UINT64 Stored) {
  switch (Stored) {
  case SleepChargeDisabled:
    return 0;
  case SleepChargeAuto:
    return 1;
  case SleepChargeTypical:
    return Support.Auto ? 2 : 1;
  case SleepChargeAlternate:
    if (Support.Auto && Support.Typical) return 3;
    if (Support.Auto || Support.Typical) return 2;
    return 1;
  default:
    // No such mode: shown and kept as disabled.
    return 0;
  }
}

UINT64 Quorvex_SleepCharge_IndexToStored(const SleepChargeSupport& Support, UINT64 Index) {
  switch (Index) {
  case 0:
    return SleepChargeDisabled;
  case 1:
    if (Support.Auto) return SleepChargeAuto;
    return Support.Typical ? SleepChargeTypical : SleepChargeAlternate;
  case 2:
    if (!Support.Auto) return SleepChargeAlternate;
    return Support.Typical ? SleepChargeTypical : SleepChargeAlternate;
  case 3:
    return SleepChargeAlternate;
  default:
    return SleepChargeDisabled;
  }
}

// ---- Item actions -----------------------------------------------------------------

void Quorvex_AdvancedPage_SystemConfiguration(SetupItem*) {
  EnterSubPage();
  if (PageState == kStateAdvancedPage) Quorvex_Page_FocusedDraw(kAdvancedPageView);
}

void Quorvex_AdvancedPage_BootLogo(SetupItem*) {
  if (Quorvex_ConfirmYesNo(TextOf(TEXT(AdvancedSetDefaultImageQuestion))))
    SetupData_reset_boot_logo();
}

void Quorvex_AdvancedPage_ChangeBootOrder(SetupItem*) {
  Quorvex_BootOrder_Dialog();
  if (PageState == kStateAdvancedPage) {
    // The dialog's screen is gone: draw the whole screen again.
    Quorvex_Page_RedrawScreen(kAdvancedPageView);
  }
}

// ---- Page routines ------------------------------------------------------------------

void Quorvex_AdvancedPage_LoadValues() {
  for (const RowSetting& setting : kSettings) Quorvex_Page_LoadRow(AdvancedPageItems, setting);
  Quorvex_Page_ReadPresence(Row(AdvancedRowChangeBootOrder),
                            SetupData_Get_change_boot_order_present);
  Quorvex_Page_ReadPresence(Row(AdvancedRowSystemConfiguration),
                            SetupData_Get_system_configuration_present);
  Quorvex_Page_ReadPresence(Row(AdvancedRowBootUpLogo), SetupData_Get_boot_logo_present);
  ReadFlag(&SleepChargeModes.Auto, SetupData_Get_sleep_charge_auto_supported);
  ReadFlag(&SleepChargeModes.Typical, SetupData_Get_sleep_charge_typical_supported);
  ReadFlag(&SleepChargeModes.Alternate, SetupData_Get_sleep_charge_alternate_supported);
  SetupItem& sleep = Row(AdvancedRowSleepAndCharge);
  if (sleep.Present != 0) {
    sleep.Data = Quorvex_SleepCharge_StoredToIndex(SleepChargeModes, sleep.Data);
  }
  Quorvex_Page_HideAbsent(AdvancedPageItems, AdvancedPageItemCount);
}

void Quorvex_AdvancedPage_Prepare() {
  Quorvex_Page_CloseLists(AdvancedPageItems, AdvancedPageItemCount);
}

void Quorvex_AdvancedPage_Init() {
  Quorvex_AdvancedPage_LoadValues();
}

// Option texts and the access level, before each draw and after loading.
void Quorvex_AdvancedPage_Refresh() {
  Quorvex_SleepCharge_BuildOptions(SleepChargeModes, AdvancedSleepChargeOptions);
  if (Quorvex_FullAccess()) {
    Quorvex_Page_GreyByAccessLevel(AdvancedPageItems, AdvancedPageItemCount);
  } else if (Quorvex_RestrictedAccess()) {
    // Restricted: only "System Configuration" stays usable.
    for (UINT64 row = 0; row < AdvancedPageItemCount; ++row) {
      SetGrey(Row(row), row != AdvancedRowSystemConfiguration);
    }
  }
  FixFocus(AdvancedPageItems, AdvancedPageItemCount);
}

void Quorvex_AdvancedPage_Layout() {
  for (UINT64 row = 0; row < AdvancedPageItemCount; ++row) {
    SetupItem& item = Row(row);
    item.Width = SaturatingSub(ScreenWidth * 2 / 4, 100);
    item.Height = item.Kind == ItemDropDown ? kAdvancedListHeight : kAdvancedRowHeight;
    item.Gap = kAdvancedRowGap;
  }
}

void Quorvex_AdvancedPage_Store() {
  for (const RowSetting& setting : kSettings) {
    const SetupItem& item = Row(setting.Row);
    if (item.Present == 0) continue;
    UINT64 value = Quorvex_Page_RowValue(item);
    if (setting.Row == AdvancedRowSleepAndCharge) {
      value = Quorvex_SleepCharge_IndexToStored(SleepChargeModes, value);
    }
    setting.Set(value);
  }
}

void Quorvex_AdvancedPageSelected_Draw() {
  if (PageState == kStateAdvancedSubPageTab) {
    Quorvex_SystemConfigurationPage_TabDraw();
    return;
  }
  Quorvex_Page_HighlightedDraw(kAdvancedPageView);
}

void Quorvex_AdvancedPageNotSelected_Draw() {
  Quorvex_Page_NotSelectedDraw(kAdvancedPageView);
}

void Quorvex_AdvancedPage_Enter() {
  if (PageState == kStateAdvancedSubPage) {
    // Back into the sub-page that was left for the tab column.
    Quorvex_Tab_Draw(kTabAdvanced, TabLook::PageFocus);
    ActionBusy = 1;
    EnterSubPage();
    ActionBusy = 0;
    if (PageState != kStateAdvancedPage) return;
  }
  Quorvex_Page_FocusedDraw(kAdvancedPageView);
  if (ActionBusy != 0) return;
  Quorvex_Page_KeyLoop(kAdvancedPageView, PageLoopHooks{});
}

EFI_STATUS Quorvex_AdvancedPage_MouseClick() {
  // The Advanced tab while the sub-page is shown keeps the sub-page.
  if (!Quorvex_PointerBusy() && Quorvex_Page_InTabStrip() && Quorvex_Page_OnTab(kTabAdvanced) &&
      (PageState == kStateAdvancedSubPage || PageState == kStateAdvancedSubPageTab)) {
    PageState = kStateAdvancedSubPageTab;
    Quorvex_SystemConfigurationPage_TabDraw();
    return EFI_ABORTED;
  }
  return Quorvex_Page_Click(kAdvancedPageView,
                            {Quorvex_AdvancedPageSelected_Draw,
                             Quorvex_AdvancedPageNotSelected_Draw, nullptr, nullptr, nullptr});
}

void Quorvex_AdvancedPage_Reset() {
  SleepChargeModes = {};
}
