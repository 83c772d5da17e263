// The Advanced page's item table. Widths are those of a 1024-pixel screen;
// the page's layout routine recomputes them from the screen width.
//
// Option arrays hold text references; the item list resolves them in the
// current language each time it draws.
#include "setup_data/advanced_page_table.h"

#include "setup_data/item_row.h"
#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

namespace {

const CHAR16* const OnOffOptions[] = {TEXT(CommonOptionDisabled), TEXT(CommonOptionEnabled),
                                      nullptr};
const CHAR16* const AvailabilityOptions[] = {TEXT(AdvancedOptionNotAvailable),
                                             TEXT(AdvancedOptionAvailable), nullptr};
const CHAR16* const BeepOptions[] = {TEXT(AdvancedOptionOff), TEXT(AdvancedOptionOn), nullptr};
const CHAR16* const BootSpeedOptions[] = {TEXT(AdvancedBootSpeedFast),
                                          TEXT(AdvancedBootSpeedNormal), nullptr};
const CHAR16* const VirtualizationOptions[] = {TEXT(AdvancedOptionListDisabled),
                                               TEXT(AdvancedVtxOnly), nullptr};

} // namespace

const CHAR16* const AdvancedSleepChargeModeTexts[SleepChargeModeCount] = {
    TEXT(AdvancedOptionListDisabled), TEXT(AdvancedAutoMode), TEXT(AdvancedTypicalMode),
    TEXT(AdvancedAlternateMode)};

const CHAR16* AdvancedSleepChargeOptions[kAdvancedSleepChargeSlots] = {
    TEXT(AdvancedOptionListDisabled), TEXT(AdvancedAutoMode), TEXT(AdvancedTypicalMode),
    TEXT(AdvancedAlternateMode), nullptr};

SetupItem AdvancedPageItems[AdvancedPageRowCount] = {
    ItemRow(ItemDropDown, TEXT(AdvancedBootSpeed),
            {kAdvancedRowWidth, kAdvancedListHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedBootSpeedHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(BootSpeedOptions)
        .Focused(),
    ItemRow(ItemOptionCycle, TEXT(AdvancedExecuteDisableBit),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedExecuteDisableBitHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(AvailabilityOptions)),
    ItemRow(ItemDropDown, TEXT(AdvancedVirtualization),
            {kAdvancedRowWidth, kAdvancedListHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedVirtualizationHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(VirtualizationOptions),
    ItemRow(ItemOptionCycle, TEXT(AdvancedBeepSound),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedBeepSoundHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(BeepOptions)),
    ItemRow(ItemOptionCycle, TEXT(AdvancedIntelAt),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedIntelAtHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(AdvancedIntelAtSuspend),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedIntelAtSuspendHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(AdvancedRapidStart),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedRapidStartHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemDropDown, TEXT(AdvancedSleepAndCharge),
            {kAdvancedRowWidth, kAdvancedListHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedSleepAndChargeHelp))
        .Action(Quorvex_Page_OpenDropDown)
        .Options(AdvancedSleepChargeOptions),
    ItemRow(ItemOptionCycle, TEXT(AdvancedCdpChargeMode),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedCdpChargeModeHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(AdvancedUsbPowerInSleep),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedUsbPowerInSleepHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(AdvancedSleepAndMusic),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedSleepAndMusicHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(AdvancedUsbLegacyEmulation),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedUsbLegacyEmulationHelp))
        .Action(Quorvex_Page_ToggleOption)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemButton, TEXT(AdvancedChangeBootOrder),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedChangeBootOrderHelp))
        .Action(Quorvex_AdvancedPage_ChangeBootOrder),
    // No help text of its own: the help box stays empty on this row.
    ItemRow(ItemButton, TEXT(AdvancedSystemConfiguration),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Action(Quorvex_AdvancedPage_SystemConfiguration),
    ItemRow(ItemButton, TEXT(AdvancedBootUpLogo),
            {kAdvancedRowWidth, kAdvancedRowHeight, kAdvancedRowGap})
        .Help(TEXT(AdvancedBootUpLogoHelp))
        .Action(Quorvex_AdvancedPage_BootLogo),
};
UINT64 AdvancedPageItemCount = AdvancedPageRowCount;
