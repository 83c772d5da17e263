// The Power Management page: wake-up and power-on sources, processor power
// options, the keyboard backlight with its lighting time, and the SATA and
// USB 3.0 power options. Keys, lists and pointer work as on the Advanced page.
#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/draw_util.h"
#include "pages/page_common.h"
#include "pages/pages.h"
#include "setup_data/power_page_table.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/sysconfig_page_table.h"

namespace {

// Rows in the order they are read and written (the backlight mode and the
// lighting time are written last, mode first).
constexpr RowSetting kSettings[] = {
    {PowerRowWakeOnLan, SetupData_Present_wake_on_lan, SetupData_Get_wake_on_lan,
     SetupData_Set_wake_on_lan},
    {PowerRowWakeOnKeyboard, SetupData_Present_wake_on_keyboard, SetupData_Get_wake_on_keyboard,
     SetupData_Set_wake_on_keyboard},
    {PowerRowCriticalBatteryWakeUp, SetupData_Present_critical_battery_wakeup,
     SetupData_Get_critical_battery_wakeup, SetupData_Set_critical_battery_wakeup},
    {PowerRowPanelOpenPowerOn, SetupData_Present_panel_open_power_on,
     SetupData_Get_panel_open_power_on, SetupData_Set_panel_open_power_on},
    {PowerRowPowerOnByAc, SetupData_Present_power_on_by_ac, SetupData_Get_power_on_by_ac,
     SetupData_Set_power_on_by_ac},
    {PowerRowInternalCir, SetupData_Present_internal_cir, SetupData_Get_internal_cir,
     SetupData_Set_internal_cir},
    {PowerRowDynamicCpuFrequency, SetupData_Present_dynamic_cpu_frequency,
     SetupData_Get_dynamic_cpu_frequency, SetupData_Set_dynamic_cpu_frequency},
    {PowerRowCoreMultiProcessing, SetupData_Present_core_multi_processing,
     SetupData_Get_core_multi_processing, SetupData_Set_core_multi_processing},
    {PowerRowTurboBoost, SetupData_Present_turbo_boost, SetupData_Get_turbo_boost,
     SetupData_Set_turbo_boost},
    {PowerRowSataInterface, SetupData_Present_sata_interface, SetupData_Get_sata_interface,
     SetupData_Set_sata_interface},
    {PowerRowInternalUsb3, SetupData_Present_internal_usb3, SetupData_Get_internal_usb3,
     SetupData_Set_internal_usb3},
    {PowerRowKeyboardBacklightMode, SetupData_Present_keyboard_backlight_mode,
     SetupData_Get_keyboard_backlight_mode, SetupData_Set_keyboard_backlight_mode},
};

SetupItem& Row(UINT64 Index) {
  return PowerManagementPageItems[Index];
}

// The "+" and "-" keys of the lighting time; every other key goes on.
bool PageKey(const EFI_INPUT_KEY& Key) {
  if (Key.ScanCode != SCAN_NULL || (Key.UnicodeChar != u'+' && Key.UnicodeChar != u'-')) {
    return false;
  }
  SetupItem& time = Row(PowerRowBacklightLightingTime);
  if (time.Selected == 0 || !ItemFocusable(time)) return true;
  if (Key.UnicodeChar == u'+' && time.Data < PowerBacklightTimeMaximum) ++time.Data;
  if (Key.UnicodeChar == u'-' && time.Data > 0) --time.Data;
  Quorvex_Page_DrawList(kPowerManagementPageView, true);
  return true;
}

} // namespace

constinit const PageView kPowerManagementPageView = {
    PowerManagementPageItems, &PowerManagementPageItemCount,      kTabPower, kStatePowerTab,
    kStatePowerPage,          Quorvex_PowerManagementPage_Refresh};

void Quorvex_PowerManagementPage_LoadValues() {
  for (const RowSetting& setting : kSettings)
    Quorvex_Page_LoadRow(PowerManagementPageItems, setting);
  SetupItem& time = Row(PowerRowBacklightLightingTime);
  UINT8 present = time.Present;
  SetupData_Present_backlight_lighting_time(&present);
  time.Present = present != 0 ? 1 : 0;
  if (time.Present != 0) SetupData_Get_backlight_lighting_time(&time.Data);
  SetupData_Get_backlight_time_maximum(&PowerBacklightTimeMaximum);
  // "+" never offers a time the store would refuse, whatever maximum the
  // platform reports.
  if (PowerBacklightTimeMaximum > kSettingMax_backlight_lighting_time) {
    PowerBacklightTimeMaximum = kSettingMax_backlight_lighting_time;
  }
  Quorvex_Page_HideAbsent(PowerManagementPageItems, PowerManagementPageItemCount);
}

void Quorvex_PowerManagementPage_Prepare() {
  Quorvex_Page_CloseLists(PowerManagementPageItems, PowerManagementPageItemCount);
}

void Quorvex_PowerManagementPage_Init() {
  Quorvex_PowerManagementPage_LoadValues();
}

// Dependencies and the access level, before each draw and after loading.
void Quorvex_PowerManagementPage_Refresh() {
  const SetupItem& lan = SystemConfigurationPageItems[SysConfigRowBuiltInLan];
  if (lan.Present != 0) SetHidden(Row(PowerRowWakeOnLan), ItemState(lan) == 0);
  // The lighting time only matters in TIMER mode (index 0).
  SetHidden(Row(PowerRowBacklightLightingTime), Row(PowerRowKeyboardBacklightMode).Data != 0);
  Quorvex_Page_GreyByAccessLevel(PowerManagementPageItems, PowerManagementPageItemCount);
  FixFocus(PowerManagementPageItems, PowerManagementPageItemCount);
}

void Quorvex_PowerManagementPage_Layout() {
  for (UINT64 row = 0; row < PowerManagementPageItemCount; ++row) {
    SetupItem& item = Row(row);
    item.Width = SaturatingSub(ScreenWidth * 2 / 4, 100);
    item.Height = item.Kind == ItemOptionCycle ? kPowerToggleHeight : kPowerListHeight;
    item.Gap = kPowerRowGap;
  }
}

void Quorvex_PowerManagementPage_Store() {
  for (const RowSetting& setting : kSettings)
    Quorvex_Page_StoreRow(PowerManagementPageItems, setting);
  const SetupItem& time = Row(PowerRowBacklightLightingTime);
  if (time.Present != 0) SetupData_Set_backlight_lighting_time(time.Data);
}

void Quorvex_PowerManagementPageSelected_Draw() {
  Quorvex_Page_HighlightedDraw(kPowerManagementPageView);
}

void Quorvex_PowerManagementPageNotSelected_Draw() {
  Quorvex_Page_NotSelectedDraw(kPowerManagementPageView);
}

void Quorvex_PowerManagementPage_Enter() {
  Quorvex_Page_FocusedDraw(kPowerManagementPageView);
  if (ActionBusy != 0) return;
  PageLoopHooks hooks = {};
  hooks.PageKey = PageKey;
  Quorvex_Page_KeyLoop(kPowerManagementPageView, hooks);
}

EFI_STATUS Quorvex_PowerManagementPage_MouseClick() {
  return Quorvex_Page_Click(kPowerManagementPageView, {Quorvex_PowerManagementPageSelected_Draw,
                                                       Quorvex_PowerManagementPageNotSelected_Draw,
                                                       nullptr, nullptr, nullptr});
}
