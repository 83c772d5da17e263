// The System Configuration sub-page's item table. Widths are those of a
// 1024-pixel screen; the layout routine recomputes them from the screen width.
//
// Option arrays hold text references; the item list resolves them in the
// current language each time it draws.
#include "setup_data/sysconfig_page_table.h"

#include "setup_data/item_row.h"
#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

namespace {

const CHAR16* const OnOffOptions[] = {TEXT(CommonOptionDisabled), TEXT(CommonOptionEnabled),
                                      nullptr};
const CHAR16* const SataModeOptions[] = {TEXT(SysConfigAhci), TEXT(SysConfigCompatibility),
                                         nullptr};
const CHAR16* const BootModeOptions[] = {TEXT(SysConfigUefiBoot), TEXT(SysConfigCsmBoot), nullptr};
const CHAR16* const PowerOnDisplayOptions[] = {TEXT(SysConfigAutoSelected),
                                               TEXT(SysConfigSystemLcdOnly),
                                               TEXT(SysConfigExternalDisplay), nullptr};
const CHAR16* const FunctionKeysOptions[] = {TEXT(SysConfigSpecialFunctionMode),
                                             TEXT(SysConfigStandardFKeyMode), nullptr};

} // namespace

const CHAR16* const SysConfigPortTypeTexts[kExternalPortTypeCount] = {
    TEXT(SysConfigPortAnalogRgb), TEXT(SysConfigPortDisplayPort), TEXT(SysConfigPortHdmi),
    TEXT(SysConfigPortDvi)};

const CHAR16* SysConfigExternalDisplayOptions[kSysConfigExternalDisplaySlots] = {
    TEXT(SysConfigPortAnalogRgb), TEXT(SysConfigPortDisplayPort), TEXT(SysConfigPortHdmi),
    TEXT(SysConfigPortDvi), nullptr};

SetupItem SystemConfigurationPageItems[SystemConfigurationPageRowCount] = {
    // Greyed until the access level is applied at refresh; Esc leaves the
    // sub-page either way.
    ItemRow(ItemButton, TEXT(SysConfigPreviousPageRow),
            {kSysConfigButtonWidth, kSysConfigButtonHeight, kSysConfigRowGap})
        .Action(Quorvex_SystemConfigurationPage_PreviousPage)
        .Greyed(),
    // The sub-page's title: an information row without a value text.
    ItemRow(ItemInfo, TEXT(AdvancedSystemConfiguration),
            {kSysConfigRowWidth, kSysConfigHeadingHeight, kSysConfigRowGap})
        .Value(kSysConfigHeadingLabelWidth)
        .Greyed(),
    ItemRow(ItemOptionCycle, TEXT(SysConfigBuiltInLan),
            {kSysConfigRowWidth, kSysConfigToggleHeight, kSysConfigRowGap})
        .Help(TEXT(SysConfigBuiltInLanHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions))
        .Focused(),
    ItemRow(ItemOptionCycle, TEXT(SysConfigPointingDevice),
            {kSysConfigRowWidth, kSysConfigToggleHeight, kSysConfigRowGap})
        .Help(TEXT(SysConfigPointingDeviceHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(SysConfigWebCamera),
            {kSysConfigRowWidth, kSysConfigToggleHeight, kSysConfigRowGap})
        .Help(TEXT(SysConfigWebCameraHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemDropDown, TEXT(SysConfigSataControllerMode),
            {kSysConfigRowWidth, kSysConfigListHeight, kSysConfigRowGap})
        .Help(TEXT(SysConfigSataControllerModeHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(SataModeOptions),
    ItemRow(ItemDropDown, TEXT(SysConfigBootMode),
            {kSysConfigRowWidth, kSysConfigListHeight, kSysConfigRowGap})
        .Help(TEXT(SysConfigBootModeHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(BootModeOptions),
    ItemRow(ItemDropDown, TEXT(SysConfigPowerOnDisplay),
            {kSysConfigRowWidth, kSysConfigListHeight, kSysConfigRowGap})
        .Help(TEXT(SysConfigPowerOnDisplayHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(PowerOnDisplayOptions),
    ItemRow(ItemDropDown, TEXT(SysConfigExternalDisplayDevice),
            {kSysConfigRowWidth, kSysConfigListHeight, kSysConfigRowGap})
        .Help(TEXT(SysConfigPowerOnDisplayHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(SysConfigExternalDisplayOptions),
    ItemRow(ItemDropDown, TEXT(SysConfigFunctionKeysMode),
            {kSysConfigRowWidth, kSysConfigFunctionKeysHeight, kSysConfigRowGap})
        .Help(TEXT(SysConfigFunctionKeysModeHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(FunctionKeysOptions),
};
UINT64 SystemConfigurationPageItemCount = SystemConfigurationPageRowCount;
