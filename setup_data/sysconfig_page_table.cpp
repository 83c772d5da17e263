// The System Configuration sub-page's item table. Widths are those of a
// 1024-pixel screen; the layout routine recomputes them from the screen width.
//
// Option arrays hold text references; the item list resolves them in the
// current language each time it draws.
#include "setup_data/sysconfig_page_table.h"

#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

// Rows name only the fields they set; every other field is zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

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
    {.Present = 1,
     .Kind = ItemButton,
     .Width = kSysConfigButtonWidth,
     .Height = kSysConfigButtonHeight,
     .Gap = kSysConfigRowGap,
     .Action = Quorvex_SystemConfigurationPage_PreviousPage,
     .GreyedOut = 1,
     .Label = TEXT(SysConfigPreviousPageRow)},
    // The sub-page's title: an information row without a value text.
    {.Present = 1,
     .Kind = ItemInfo,
     .Width = kSysConfigRowWidth,
     .Height = kSysConfigHeadingHeight,
     .Gap = kSysConfigRowGap,
     .GreyedOut = 1,
     .Label = TEXT(AdvancedSystemConfiguration),
     .Value = kSysConfigHeadingLabelWidth},
    {.Present = 1,
     .Selected = 1,
     .Kind = ItemOptionCycle,
     .Width = kSysConfigRowWidth,
     .Height = kSysConfigToggleHeight,
     .Gap = kSysConfigRowGap,
     .Help = TEXT(SysConfigBuiltInLanHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(SysConfigBuiltInLan),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kSysConfigRowWidth,
     .Height = kSysConfigToggleHeight,
     .Gap = kSysConfigRowGap,
     .Help = TEXT(SysConfigPointingDeviceHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(SysConfigPointingDevice),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kSysConfigRowWidth,
     .Height = kSysConfigToggleHeight,
     .Gap = kSysConfigRowGap,
     .Help = TEXT(SysConfigWebCameraHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(SysConfigWebCamera),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemDropDown,
     .Width = kSysConfigRowWidth,
     .Height = kSysConfigListHeight,
     .Gap = kSysConfigRowGap,
     .Help = TEXT(SysConfigSataControllerModeHelp),
     .Action = Quorvex_Page_OpenDropDown,
     .Label = TEXT(SysConfigSataControllerMode),
     .Options = SataModeOptions},
    {.Present = 1,
     .Kind = ItemDropDown,
     .Width = kSysConfigRowWidth,
     .Height = kSysConfigListHeight,
     .Gap = kSysConfigRowGap,
     .Help = TEXT(SysConfigBootModeHelp),
     .Action = Quorvex_Page_OpenDropDown,
     .Label = TEXT(SysConfigBootMode),
     .Options = BootModeOptions},
    {.Present = 1,
     .Kind = ItemDropDown,
     .Width = kSysConfigRowWidth,
     .Height = kSysConfigListHeight,
     .Gap = kSysConfigRowGap,
     .Help = TEXT(SysConfigPowerOnDisplayHelp),
     .Action = Quorvex_Page_OpenDropDown,
     .Label = TEXT(SysConfigPowerOnDisplay),
     .Options = PowerOnDisplayOptions},
    {.Present = 1,
     .Kind = ItemDropDown,
     .Width = kSysConfigRowWidth,
     .Height = kSysConfigListHeight,
     .Gap = kSysConfigRowGap,
     .Help = TEXT(SysConfigPowerOnDisplayHelp),
     .Action = Quorvex_Page_OpenDropDown,
     .Label = TEXT(SysConfigExternalDisplayDevice),
     .Options = SysConfigExternalDisplayOptions},
    {.Present = 1,
     .Kind = ItemDropDown,
     .Width = kSysConfigRowWidth,
     .Height = kSysConfigFunctionKeysHeight,
     .Gap = kSysConfigRowGap,
     .Help = TEXT(SysConfigFunctionKeysModeHelp),
     .Action = Quorvex_Page_OpenDropDown,
     .Label = TEXT(SysConfigFunctionKeysMode),
     .Options = FunctionKeysOptions},
};
UINT64 SystemConfigurationPageItemCount = SystemConfigurationPageRowCount;
