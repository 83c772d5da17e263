// The Security page's item table. Widths are those of a 1024-pixel screen;
// the page's layout routine recomputes them from the screen width.
#include "setup_data/security_page_table.h"

#include "setup_data/item_row.h"
#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

namespace {

const CHAR16* const OnOffOptions[] = {TEXT(CommonOptionDisabled), TEXT(CommonOptionEnabled),
                                      nullptr};
const CHAR16* const ModeOptions[] = {TEXT(SecurityModeUserOnly), TEXT(SecurityModeMasterUser),
                                     nullptr};
const CHAR16* const AccessRightsOptions[] = {TEXT(SecurityAccessFull),
                                             TEXT(SecurityAccessRestricted),
                                             TEXT(SecurityAccessReadOnly), nullptr};

constexpr UINT64 kWidth = 412;

} // namespace

SetupItem SecurityPageItems[SecurityPageRowCount] = {
    ItemRow(ItemHeading, TEXT(SecurityBiosPassword), {kWidth, kSecurityHeadingHeight, 0}).Greyed(),
    ItemRow(ItemButton, TEXT(SecurityUser), {kWidth, kSecurityButtonHeight, kSecurityRowGap})
        .Help(TEXT(SecurityUserHelp))
        .Action(Quorvex_SecurityPage_UserPassword)
        .Focused(),
    ItemRow(ItemButton, TEXT(SecuritySupervisor), {kWidth, kSecurityButtonHeight, kSecurityRowGap})
        .Help(TEXT(SecuritySupervisorHelp))
        .Action(Quorvex_SecurityPage_SupervisorPassword),
    ItemRow(ItemHeading, TEXT(SecurityHddSsdPassword), {kWidth, kSecurityHeadingHeight, 0})
        .Help(TEXT(SecurityModeHelp))
        .Greyed(),
    ItemRow(ItemDropDown, TEXT(SecurityMode), {kWidth, kSecurityDropDownHeight, kSecurityRowGap})
        .Help(TEXT(SecurityModeHelp))
        .Action(Quorvex_SecurityPage_OptionList)
        .Options(ModeOptions),
    // Only offered in Master+User mode; the refresh shows it.
    ItemRow(ItemButton, TEXT(SecurityMaster), {kWidth, kSecurityButtonHeight, kSecurityRowGap})
        .Help(TEXT(SecurityMasterHelp))
        .Action(Quorvex_SecurityPage_MasterPassword)
        .Greyed()
        .Hidden(),
    ItemRow(ItemButton, TEXT(SecurityUser), {kWidth, kSecurityButtonHeight, kSecurityRowGap})
        .Help(TEXT(SecurityHddUserHelp))
        .Action(Quorvex_SecurityPage_HddUserPassword),
    ItemRow(ItemOptionCycle, TEXT(SecuritySecureBoot),
            {kWidth, kSecurityButtonHeight, kSecurityRowGap})
        .Help(TEXT(SecuritySecureBootHelp))
        .Action(Quorvex_SecurityPage_Toggle)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemButton, TEXT(SecurityClearSecureBootKeys),
            {kWidth, kSecurityButtonHeight, kSecurityRowGap})
        .Help(TEXT(SecurityClearSecureBootKeysHelp))
        .Action(Quorvex_SecurityPage_ClearSecureBootKeys),
    ItemRow(ItemOptionCycle, TEXT(SecurityTpm), {kWidth, kSecurityButtonHeight, kSecurityRowGap})
        .Help(TEXT(SecurityTpmHelp))
        .Action(Quorvex_SecurityPage_Toggle)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemOptionCycle, TEXT(SecurityBootMenu),
            {kWidth, kSecurityButtonHeight, kSecurityRowGap})
        .Help(TEXT(SecurityBootMenuHelp))
        .Action(Quorvex_SecurityPage_Toggle)
        .Data(reinterpret_cast<UINT64>(OnOffOptions)),
    ItemRow(ItemDropDown, TEXT(SecurityBiosAccessRights),
            {kWidth, kSecurityDropDownHeight, kSecurityRowGap})
        .Help(TEXT(SecurityBiosAccessRightsHelp))
        .Action(Quorvex_SecurityPage_OptionList)
        .Options(AccessRightsOptions),
};
UINT64 SecurityPageItemCount = SecurityPageRowCount;
