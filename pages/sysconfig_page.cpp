// The System Configuration sub-page of the Advanced page: device enables,
// storage controller mode, boot mode, display routing and the function-key
// mode. It replaces the Advanced list while the Advanced tab stays in its
// page-focus look; Esc or the previous-page button go back to that list.
#include "pages/sysconfig_page.h"

#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/background.h"
#include "graphics/draw_util.h"
#include "pages/advanced_page.h"
#include "setup_data/page_actions.h"
#include "input/mouse.h"
#include "pages/page_common.h"
#include "pages/page_table.h"
#include "pages/pages.h"
#include "setup_data/security_page_table.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/sysconfig_page_table.h"

namespace {

constexpr RowSetting kLeadingSettings[] = {
    {SysConfigRowBuiltInLan, SetupData_Present_built_in_lan, SetupData_Get_built_in_lan,
     SetupData_Set_built_in_lan},
    {SysConfigRowPointingDevice, SetupData_Present_internal_pointing_device,
     SetupData_Get_internal_pointing_device, SetupData_Set_internal_pointing_device},
    {SysConfigRowWebCamera, SetupData_Present_web_camera, SetupData_Get_web_camera,
     SetupData_Set_web_camera},
    {SysConfigRowSataControllerMode, SetupData_Present_sata_controller_mode,
     SetupData_Get_sata_controller_mode, SetupData_Set_sata_controller_mode},
    {SysConfigRowBootMode, SetupData_Present_boot_mode, SetupData_Get_boot_mode,
     SetupData_Set_boot_mode},
    {SysConfigRowPowerOnDisplay, SetupData_Present_power_on_display, SetupData_Get_power_on_display,
     SetupData_Set_power_on_display},
};
constexpr RowSetting kExternalDisplay = {
    SysConfigRowExternalDisplay, SetupData_Present_external_display_device,
    SetupData_Get_external_display_device, SetupData_Set_external_display_device};
constexpr RowSetting kFunctionKeys = {
    SysConfigRowFunctionKeysMode, SetupData_Present_function_keys_mode,
    SetupData_Get_function_keys_mode, SetupData_Set_function_keys_mode};

constinit bool LeaveRequested = false;

SetupItem& Row(UINT64 Index) {
  return SystemConfigurationPageItems[Index];
}

void LoadPorts() {
  UINT32 codes[kExternalPortCount] = {ExternalPortNone, ExternalPortNone, ExternalPortNone,
                                      ExternalPortNone};
  UINT8 present[kExternalPortCount] = {};
  SetupData_read_display_port_types(codes);
  SetupData_read_display_port_present(present);
  SetupItem& item = Row(SysConfigRowExternalDisplay);
  if (!Quorvex_SysConfig_CompactPorts(codes, present)) {
    item.Present = 0;
    return;
  }
  Quorvex_SysConfig_PortOptions(codes, SysConfigExternalDisplayOptions);
  item.Options = SysConfigExternalDisplayOptions;
}

void Leave() {
  PageState = kStateAdvancedPage;
  Quorvex_Page_FocusedDraw(kAdvancedPageView);
}

void Activate() {
  SubPageActionBusy = 1;
  ActivateSelected(SystemConfigurationPageItems, SystemConfigurationPageItemCount);
  SubPageActionBusy = 0;
}

void AfterActivate() {
  if (!LeaveRequested) return;
  LeaveRequested = false;
  Leave();
}

// Esc goes back to the Advanced list (it does not ask to discard changes).
bool PageKey(const EFI_INPUT_KEY& Key) {
  if (Key.ScanCode != SCAN_ESC) return false;
  Leave();
  return true;
}

// Left: the Advanced tab takes the focus, the sub-page stays shown.
void LeaveToTab() {
  PageState = kStateAdvancedSubPageTab;
  Quorvex_SystemConfigurationPage_TabDraw();
}

} // namespace

constinit const PageView kSystemConfigurationPageView = {SystemConfigurationPageItems,
                                                         &SystemConfigurationPageItemCount,
                                                         kTabAdvanced,
                                                         kStateAdvancedSubPageTab,
                                                         kStateAdvancedSubPage,
                                                         Quorvex_SystemConfigurationPage_Refresh};

bool Quorvex_SysConfig_CompactPorts(UINT32* Codes, const UINT8* Present) {
  for (UINT64 i = 0; i < kExternalPortCount; ++i) {
    if (Present[i] == 0) Codes[i] = ExternalPortNone;
  }
  // Four passes; each shifts the codes behind a free position one place
  // down. Only the four reported positions are read and written.
  for (UINT64 pass = 0; pass < kExternalPortCount; ++pass) {
    for (UINT64 i = 0; i < kExternalPortCount; ++i) {
      if (Codes[i] != ExternalPortNone) continue;
      for (UINT64 j = i; j + 1 < kExternalPortCount; ++j) Codes[j] = Codes[j + 1];
      Codes[kExternalPortCount - 1] = ExternalPortNone;
    }
  }
  return Codes[0] != ExternalPortNone;
}

UINT64 Quorvex_SysConfig_PortOptions(const UINT32* Codes, const CHAR16** Options) {
  UINT64 count = 0;
  while (count < kExternalPortCount && Codes[count] < kExternalPortTypeCount) {
    Options[count] = SysConfigPortTypeTexts[Codes[count]];
    ++count;
  }
  Options[count] = nullptr;
  return count;
}

void Quorvex_SystemConfigurationPage_PreviousPage(SetupItem*) {
  LeaveRequested = true;
}

void Quorvex_SystemConfigurationPage_ActivateFromClick() {
  Activate();
  AfterActivate();
}

void Quorvex_SystemConfigurationPage_LoadValues() {
  for (const RowSetting& setting : kLeadingSettings) {
    Quorvex_Page_LoadRow(SystemConfigurationPageItems, setting);
  }
  SetupItem& external = Row(SysConfigRowExternalDisplay);
  Quorvex_Page_ReadPresence(external, kExternalDisplay.Present);
  if (external.Present != 0) LoadPorts();
  Quorvex_Page_ReadRowValue(external, kExternalDisplay.Get);
  Quorvex_Page_LoadRow(SystemConfigurationPageItems, kFunctionKeys);
  Quorvex_Page_HideAbsent(SystemConfigurationPageItems, SystemConfigurationPageItemCount);
}

void Quorvex_SystemConfigurationPage_Prepare() {
  Quorvex_Page_CloseLists(SystemConfigurationPageItems, SystemConfigurationPageItemCount);
  LeaveRequested = false;
}

void Quorvex_SystemConfigurationPage_Init() {
  Quorvex_SystemConfigurationPage_LoadValues();
}

// Access level first, then the dependencies, which may grey a row again.
void Quorvex_SystemConfigurationPage_Refresh() {
  Quorvex_Page_GreyByAccessLevel(SystemConfigurationPageItems, SystemConfigurationPageItemCount);
  SetupItem& display = Row(SysConfigRowPowerOnDisplay);
  SetHidden(Row(SysConfigRowExternalDisplay), !(display.Present != 0 && display.Data == 2));
  SetupItem& bootMode = Row(SysConfigRowBootMode);
  const SetupItem& secureBoot = SecurityPageItems[SecurityRowSecureBoot];
  if (bootMode.Present != 0 && secureBoot.Present != 0 && ItemState(secureBoot) != 0) {
    bootMode.Data = 0;
    SetGrey(bootMode, true);
  }
  const bool csm = bootMode.Present != 0 && bootMode.Data == 1;
  if (bootMode.Present != 0) SetHidden(Row(SysConfigRowSataControllerMode), !csm);
  SetHidden(SecurityPageItems[SecurityRowTpm], csm);
  FixFocus(SystemConfigurationPageItems, SystemConfigurationPageItemCount);
}

void Quorvex_SystemConfigurationPage_Layout() {
  const UINT64 width = SaturatingSub(ScreenWidth * 2 / 4, 100);
  for (UINT64 row = 0; row < SystemConfigurationPageItemCount; ++row) {
    SetupItem& item = Row(row);
    item.Width = width;
    item.Height = item.Kind == ItemDropDown ? kSysConfigListHeight : kSysConfigToggleHeight;
    item.Gap = kSysConfigRowGap;
  }
  Row(SysConfigRowPreviousPage).Width = SaturatingSub(ScreenWidth * 2 / 8, 10);
  Row(SysConfigRowPreviousPage).Height = kSysConfigButtonHeight;
  Row(SysConfigRowHeading).Height = kSysConfigHeadingHeight;
  Row(SysConfigRowFunctionKeysMode).Height =
      Language == 2 ? kSysConfigFunctionKeysHeightFrench : kSysConfigFunctionKeysHeight;
}

void Quorvex_SystemConfigurationPage_Store() {
  for (const RowSetting& setting : kLeadingSettings) {
    Quorvex_Page_StoreRow(SystemConfigurationPageItems, setting);
  }
  Quorvex_Page_StoreRow(SystemConfigurationPageItems, kExternalDisplay);
  Quorvex_Page_StoreRow(SystemConfigurationPageItems, kFunctionKeys);
}

void Quorvex_SystemConfigurationPage_TabDraw() {
  Quorvex_Page_HighlightedDraw(kSystemConfigurationPageView);
}

void Quorvex_SystemConfigurationPageSelected_Draw() {
  Quorvex_SystemConfigurationPage_TabDraw();
}

void Quorvex_SystemConfigurationPageNotSelected_Draw() {
  Quorvex_Tab_Draw(kTabAdvanced, TabLook::NotSelected);
}

void Quorvex_SystemConfigurationPage_Enter() {
  Quorvex_SystemConfigurationPage_Layout();
  Quorvex_Tab_Draw(kTabAdvanced, TabLook::PageFocus);
  Quorvex_Page_DrawList(kSystemConfigurationPageView, true);
  PageLoopHooks hooks = {};
  hooks.PageKey = PageKey;
  hooks.Activate = Activate;
  hooks.AfterActivate = AfterActivate;
  hooks.Leave = LeaveToTab;
  Quorvex_Page_KeyLoop(kSystemConfigurationPageView, hooks);
}

EFI_STATUS Quorvex_SystemConfigurationPage_MouseClick() {
  if (Quorvex_Page_DropDownClick(kSystemConfigurationPageView) == EFI_SUCCESS) return EFI_SUCCESS;
  if (Quorvex_PointerBusy() || !Quorvex_Page_InItemArea()) return EFI_ABORTED;
  if (PageState != kStateAdvancedSubPageTab && PageState != kStateAdvancedSubPage) {
    return EFI_ABORTED;
  }
  return Quorvex_Page_Click(
      kSystemConfigurationPageView,
      {Quorvex_SystemConfigurationPage_TabDraw, Quorvex_SystemConfigurationPageNotSelected_Draw,
       kPageTable[kRowAdvanced].Enter, Quorvex_SystemConfigurationPage_ActivateFromClick, nullptr});
}

void Quorvex_SystemConfigurationPage_FocusedRedraw() {
  Quorvex_Tab_Draw(kTabAdvanced, TabLook::PageFocus);
  Quorvex_Page_DrawList(kSystemConfigurationPageView, true);
}
