// The Power Management page's item table. Widths are those of a 1024-pixel
// screen; the page's layout routine recomputes them from the screen width.
//
// Option arrays hold text references; the item list resolves them in the
// current language each time it draws.
#include "setup_data/power_page_table.h"

#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

// Rows name only the fields they set; every other field is zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

const CHAR16* const OnOffOptions[] = {TEXT(CommonOptionDisabled), TEXT(CommonOptionEnabled),
                                      nullptr};
const CHAR16* const DynamicCpuOptions[] = {TEXT(PowerDynamicSwitch), TEXT(PowerAlwaysLow), nullptr};
const CHAR16* const BacklightModeOptions[] = {TEXT(PowerBacklightTimer), TEXT(PowerBacklightOn),
                                              TEXT(PowerBacklightOff), nullptr};
// Value 0 is "Battery life" although the help text describes Performance
// first; the stored values follow this order.
const CHAR16* const SataInterfaceOptions[] = {TEXT(PowerBatteryLife), TEXT(PowerPerformance),
                                              nullptr};

} // namespace

UINT64 PowerBacklightTimeMaximum = kPowerBacklightTimeInitial;

SetupItem PowerManagementPageItems[PowerManagementPageRowCount] = {
    {.Present = 1,
     .Selected = 1,
     .Kind = ItemOptionCycle,
     .Width = kPowerRowWidth,
     .Height = kPowerToggleHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerWakeOnLanHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(PowerWakeOnLan),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kPowerRowWidth,
     .Height = kPowerToggleHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerWakeOnKeyboardHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(PowerWakeOnKeyboard),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kPowerRowWidth,
     .Height = kPowerToggleHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerCriticalBatteryWakeUpHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(PowerCriticalBatteryWakeUp),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kPowerRowWidth,
     .Height = kPowerToggleHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerPanelOpenPowerOnHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(PowerPanelOpenPowerOn),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kPowerRowWidth,
     .Height = kPowerToggleHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerPowerOnByAcHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(PowerPowerOnByAc),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kPowerRowWidth,
     .Height = kPowerToggleHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerInternalCirHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(PowerInternalCir),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemDropDown,
     .Width = kPowerRowWidth,
     .Height = kPowerListHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerDynamicCpuFrequencyModeHelp),
     .Action = Quorvex_Page_OpenDropDown,
     .Label = TEXT(PowerDynamicCpuFrequencyMode),
     .Options = DynamicCpuOptions},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kPowerRowWidth,
     .Height = kPowerToggleHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerCoreMultiProcessingHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(PowerCoreMultiProcessing),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kPowerRowWidth,
     .Height = kPowerToggleHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerTurboBoostHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(PowerTurboBoost),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
    {.Present = 1,
     .Kind = ItemDropDown,
     .Width = kPowerRowWidth,
     .Height = kPowerListHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerKeyboardBacklightModeHelp),
     .Action = Quorvex_Page_OpenDropDown,
     .Label = TEXT(PowerKeyboardBacklightMode),
     .Options = BacklightModeOptions},
    // "+" and "-" change the time while the row has the focus; Enter does
    // nothing here.
    {.Present = 1,
     .Kind = ItemAdjust,
     .Width = kPowerRowWidth,
     .Height = kPowerListHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerBacklightLightingTimeHelp),
     .Label = TEXT(PowerBacklightLightingTime),
     .Data = kPowerBacklightTimeInitial},
    {.Present = 1,
     .Kind = ItemDropDown,
     .Width = kPowerRowWidth,
     .Height = kPowerListHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerSataInterfaceSettingHelp),
     .Action = Quorvex_Page_OpenDropDown,
     .Label = TEXT(PowerSataInterfaceSetting),
     .Options = SataInterfaceOptions},
    {.Present = 1,
     .Kind = ItemOptionCycle,
     .Width = kPowerRowWidth,
     .Height = kPowerToggleHeight,
     .Gap = kPowerRowGap,
     .Help = TEXT(PowerInternalUsb3ControllerHelp),
     .Action = Quorvex_Page_ToggleOption,
     .Label = TEXT(PowerInternalUsb3Controller),
     .Data = reinterpret_cast<UINT64>(OnOffOptions)},
};
UINT64 PowerManagementPageItemCount = PowerManagementPageRowCount;
