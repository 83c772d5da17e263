// The Power Management page's item table. Widths are those of a 1024-pixel
// screen; the page's layout routine recomputes them from the screen width.
//
// Option arrays hold text references; the item list resolves them in the
// current language each time it draws.
#include "setup_data/power_page_table.h"

#include "setup_data/item_row.h"
#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

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

SetupItem PowerManagementPageItems[PowerManagementPageRowCount] = {
    ItemRow(ItemOptionCycle, TEXT(PowerWakeOnLan),
            {kPowerRowWidth, kPowerToggleHeight, kPowerRowGap})
        .Help(TEXT(PowerWakeOnLanHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions))
        .Focused(),
    ItemRow(ItemOptionCycle, TEXT(PowerWakeOnKeyboard),
            {kPowerRowWidth, kPowerToggleHeight, kPowerRowGap})
        .Help(TEXT(PowerWakeOnKeyboardHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(PowerCriticalBatteryWakeUp),
            {kPowerRowWidth, kPowerToggleHeight, kPowerRowGap})
        .Help(TEXT(PowerCriticalBatteryWakeUpHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(PowerPanelOpenPowerOn),
            {kPowerRowWidth, kPowerToggleHeight, kPowerRowGap})
        .Help(TEXT(PowerPanelOpenPowerOnHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(PowerPowerOnByAc),
            {kPowerRowWidth, kPowerToggleHeight, kPowerRowGap})
        .Help(TEXT(PowerPowerOnByAcHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(PowerInternalCir),
            {kPowerRowWidth, kPowerToggleHeight, kPowerRowGap})
        .Help(TEXT(PowerInternalCirHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemDropDown, TEXT(PowerDynamicCpuFrequencyMode),
            {kPowerRowWidth, kPowerListHeight, kPowerRowGap})
        .Help(TEXT(PowerDynamicCpuFrequencyModeHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(DynamicCpuOptions),
    ItemRow(ItemOptionCycle, TEXT(PowerCoreMultiProcessing),
            {kPowerRowWidth, kPowerToggleHeight, kPowerRowGap})
        .Help(TEXT(PowerCoreMultiProcessingHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(PowerTurboBoost),
            {kPowerRowWidth, kPowerToggleHeight, kPowerRowGap})
        .Help(TEXT(PowerTurboBoostHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemDropDown, TEXT(PowerKeyboardBacklightMode),
            {kPowerRowWidth, kPowerListHeight, kPowerRowGap})
        .Help(TEXT(PowerKeyboardBacklightModeHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(BacklightModeOptions),
    // "+" and "-" change the time while the row has the focus; Enter does
    // nothing here.
    ItemRow(ItemAdjust, TEXT(PowerBacklightLightingTime),
            {kPowerRowWidth, kPowerListHeight, kPowerRowGap})
        .Help(TEXT(PowerBacklightLightingTimeHelp))
        .Data(kPowerBacklightTimeInitial),
    ItemRow(ItemDropDown, TEXT(PowerSataInterfaceSetting),
            {kPowerRowWidth, kPowerListHeight, kPowerRowGap})
        .Help(TEXT(PowerSataInterfaceSettingHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(SataInterfaceOptions),
    ItemRow(ItemOptionCycle, TEXT(PowerInternalUsb3Controller),
            {kPowerRowWidth, kPowerToggleHeight, kPowerRowGap})
        .Help(TEXT(PowerInternalUsb3ControllerHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
};
UINT64 PowerManagementPageItemCount = PowerManagementPageRowCount;
