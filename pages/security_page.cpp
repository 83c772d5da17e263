// The Security page: BIOS user and supervisor passwords, the HDD/SSD password
// mode with its master and user passwords, Secure Boot and its keys, TPM,
// the Boot Menu restriction and the BIOS access rights. Its availability
// rules run whenever the page is drawn and after every item action.
#include "pages/security_page.h"

#include "input/keyboard.h"
#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/draw_util.h"
#include "setup_data/page_actions.h"
#include "pages/confirm.h"
#include "pages/page_common.h"
#include "pages/password_dialog.h"
#include "pages/pages.h"
#include "pages/secure_boot_item.h"
#include "setup_data/security_page_table.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/sysconfig_page_table.h"
#include "setup_data/text_table.h"

constinit SecurityPageState SecurityPage = {};

namespace {

SetupItem& Row(UINT64 Index) {
  return SecurityPageItems[Index];
}

void ReadState(SetupItem& Item, UINT64 (*Get)(UINT8*)) {
  if (Item.Present == 0) return;
  UINT8 state = ItemState(Item);
  Get(&state);
  SetItemState(Item, state);
}

void ReadIndex(SetupItem& Item, UINT64 (*Get)(UINT8*)) {
  if (Item.Present == 0) return;
  ReadIntoWord<UINT8>(&Item.Data, Get);
}

void Show(UINT64 Index, bool Visible) {
  SetHidden(Row(Index), !Visible);
}
void Grey(UINT64 Index, bool Grey) {
  SetGrey(Row(Index), Grey);
}

void RegistrationLabel(UINT64 Index, UINT32 Kind, const CHAR16* NotRegistered,
                       const CHAR16* Registered) {
  Row(Index).Label = Quorvex_PasswordInstalled(Kind) ? Registered : NotRegistered;
}

void AfterActivate() {
  Quorvex_SecurityPage_Refresh();
}

} // namespace

// The rules ask the service about the passwords, so they run when the page is
// drawn selected and after each item action, not before every list redraw.
constinit const PageView kSecurityPageView = {SecurityPageItems,  &SecurityPageItemCount,
                                              kTabSecurity,       kStateSecurityTab,
                                              kStateSecurityPage, nullptr};

bool Quorvex_PasswordInstalled(UINT32 Kind) {
  switch (Kind) {
  case kPasswordUser:
    return SetupData_user_password_installed() != 0;
  case kPasswordSupervisor:
    return SetupData_supervisor_password_installed() != 0;
  case kPasswordHddMaster:
    return SetupData_hdd_master_password_installed() != 0;
  case kPasswordHddUser:
    return SetupData_hdd_user_password_installed() != 0;
  default:
    return false;
  }
}

// ---- Item actions -----------------------------------------------------------------

void Quorvex_SecurityPage_OptionList(SetupItem* Page) {
  Quorvex_Page_OpenDropDown(Page);
}

void Quorvex_SecurityPage_Toggle(SetupItem*) {
  const UINT64 row = SelectedIndex(SecurityPageItems, SecurityPageItemCount);
  if (row >= SecurityPageItemCount) return;
  SetupItem& item = Row(row);
  if (item.Kind != ItemOptionCycle || !ItemFocusable(item)) return;
  Quorvex_Page_Toggle(item);
  if (row == SecurityRowTpm) SetupData_tpm_state_changed(ItemState(item));
}

void Quorvex_SecurityPage_ClearSecureBootKeys(SetupItem*) {
  if (Quorvex_ConfirmYesNo(TextOf(TEXT(SecurityClearSecureBootKeysConfirm)))) {
    SetupData_clear_secure_boot_keys();
  }
}

void Quorvex_SecurityPage_UserPassword(SetupItem*) {
  Quorvex_SecurityPasswordConfirm(kPasswordUser, kPromptsUser);
}

void Quorvex_SecurityPage_SupervisorPassword(SetupItem*) {
  Quorvex_SecurityPasswordConfirm(kPasswordSupervisor, kPromptsSupervisor);
}

void Quorvex_SecurityPage_MasterPassword(SetupItem*) {
  Quorvex_SecurityMasterSequence();
}

void Quorvex_SecurityPage_HddUserPassword(SetupItem*) {
  Quorvex_SecurityPasswordConfirm(kPasswordHddUser, kPromptsHddUser);
}

// ---- Page routines ------------------------------------------------------------------

void Quorvex_SecurityPage_LoadValues() {
  ReadIndex(Row(SecurityRowMode), SetupData_Get_hdd_password_mode);
  ReadState(Row(SecurityRowSecureBoot), SetupData_Get_secure_boot);
  ReadState(Row(SecurityRowBootMenu), SetupData_Get_boot_menu);
  ReadIndex(Row(SecurityRowAccessRights), SetupData_Get_bios_access_rights);
  ReadState(Row(SecurityRowTpm), SetupData_Get_tpm);
  if (Row(SecurityRowMaster).Present != 0) {
    Row(SecurityRowMode).Data = Quorvex_PasswordInstalled(kPasswordHddMaster) ? 1 : 0;
  }
}

void Quorvex_SecurityPage_Prepare() {
  Quorvex_Page_CloseLists(SecurityPageItems, SecurityPageItemCount);
  PasswordDeletedFlag = 0;
}

void Quorvex_SecurityPage_Init() {
  Quorvex_SecureBootItem_ReadPresence();
  Quorvex_Page_HideAbsent(SecurityPageItems, SecurityPageItemCount);
  Quorvex_SecurityPage_LoadValues();
  UserOnlyAtStart =
      Quorvex_PasswordInstalled(kPasswordUser) && !Quorvex_PasswordInstalled(kPasswordSupervisor)
          ? 1
          : 0;
  KeySourceMode = static_cast<UINT32>(SetupData_ReadValue_key_source_mode());
  Quorvex_KeyboardConIn_Replacement_Start();
}

// The availability rules, in order; each touches a row only if present.
void Quorvex_SecurityPage_Refresh() {
  // Option texts are text references, resolved in the current language when
  // drawn: nothing to rebuild.
  const bool supervisor = Quorvex_PasswordInstalled(kPasswordSupervisor);
  Show(SecurityRowClearSecureBootKeys, supervisor);
  Show(SecurityRowBootMenu, supervisor);
  Show(SecurityRowAccessRights, supervisor);
  if (!supervisor && Row(SecurityRowAccessRights).Present != 0) {
    Row(SecurityRowAccessRights).Data = 1;
  }

  Grey(SecurityRowClearSecureBootKeys, ItemState(Row(SecurityRowSecureBoot)) != 0);

  const UINT64 mode = Row(SecurityRowMode).Data;
  if (mode == 1) {
    Show(SecurityRowMaster, true);
    Grey(SecurityRowMaster, false);
    Grey(SecurityRowHddUser, true);
  } else if (mode == 0) {
    Show(SecurityRowMaster, false);
    Grey(SecurityRowMaster, true);
    Grey(SecurityRowHddUser, false);
  }

  const SetupItem& bootMode = SystemConfigurationPageItems[SysConfigRowBootMode];
  if (bootMode.Present != 0) {
    if (bootMode.Data != 1) {
      Show(SecurityRowSecureBoot, true);
    } else {
      Show(SecurityRowSecureBoot, false);
      Show(SecurityRowClearSecureBootKeys, false);
    }
  }

  if (mode == 0) {
    Grey(SecurityRowMode, Quorvex_PasswordInstalled(kPasswordHddUser));
  } else if (mode == 1) {
    if (!Quorvex_PasswordInstalled(kPasswordHddMaster)) {
      Grey(SecurityRowMode, false);
    } else {
      Grey(SecurityRowMode, true);
      Grey(SecurityRowHddUser, false);
    }
  }

  if (PasswordDeletedFlag != 0) {
    SetItemState(Row(SecurityRowBootMenu), 0);
    PasswordDeletedFlag = 0;
  }

  switch (AccessLevel) {
  case 0:
    if (UserOnlyAtStart != 0) Grey(SecurityRowSupervisor, true);
    break;
  case 1:
    Grey(SecurityRowSupervisor, true);
    break;
  case 2:
    Grey(SecurityRowSupervisor, true);
    if (!supervisor) Grey(SecurityRowSecureBoot, true);
    Show(SecurityRowClearSecureBootKeys, false);
    Show(SecurityRowBootMenu, false);
    Show(SecurityRowAccessRights, false);
    break;
  case 3:
    for (UINT64 row = 0; row < SecurityPageItemCount; ++row) Grey(row, true);
    Show(SecurityRowClearSecureBootKeys, false);
    Show(SecurityRowBootMenu, false);
    Show(SecurityRowAccessRights, false);
    Grey(SecurityRowMode, true);
    break;
  default:
    break;
  }

  if (Row(SecurityRowUser).Present != 0) {
    RegistrationLabel(SecurityRowUser, kPasswordUser, TEXT(SecurityUserNotRegistered),
                      TEXT(SecurityUserRegistered));
    RegistrationLabel(SecurityRowSupervisor, kPasswordSupervisor,
                      TEXT(SecuritySupervisorNotRegistered), TEXT(SecuritySupervisorRegistered));
  }
  if (Row(SecurityRowSupervisor).Present != 0) {
    RegistrationLabel(SecurityRowMaster, kPasswordHddMaster, TEXT(SecurityMasterNotRegistered),
                      TEXT(SecurityMasterRegistered));
  }
  if (Row(SecurityRowHddSsdPassword).Present != 0) {
    RegistrationLabel(SecurityRowHddUser, kPasswordHddUser, TEXT(SecurityUserNotRegistered),
                      TEXT(SecurityUserRegistered));
  }
  FixFocus(SecurityPageItems, SecurityPageItemCount);
}

void Quorvex_SecurityPage_Layout() {
  for (UINT64 row = 0; row < SecurityPageItemCount; ++row) {
    Row(row).Width = SaturatingSub(ScreenWidth * 2 / 4, 100);
  }
}

void Quorvex_SecurityPage_Store() {
  if (Row(SecurityRowMode).Present != 0) {
    SetupData_Set_hdd_password_mode(Row(SecurityRowMode).Data);
  }
  Quorvex_SecureBootItem_Store();
  if (Row(SecurityRowTpm).Present != 0) SetupData_Set_tpm(ItemState(Row(SecurityRowTpm)));
  if (Row(SecurityRowBootMenu).Present != 0) {
    SetupData_Set_boot_menu(ItemState(Row(SecurityRowBootMenu)));
  }
  if (Row(SecurityRowAccessRights).Present != 0) {
    SetupData_Set_bios_access_rights(Row(SecurityRowAccessRights).Data);
  }
}

void Quorvex_SecurityPageSelected_Draw() {
  Quorvex_SecurityPage_Refresh();
  Quorvex_Page_HighlightedDraw(kSecurityPageView);
}

void Quorvex_SecurityPageNotSelected_Draw() {
  Quorvex_Page_NotSelectedDraw(kSecurityPageView);
}

void Quorvex_SecurityPage_Enter() {
  Quorvex_SecurityPage_Refresh();
  Quorvex_Page_FocusedDraw(kSecurityPageView);
  if (ActionBusy != 0) return;
  PageLoopHooks hooks = {};
  hooks.AfterActivate = AfterActivate;
  Quorvex_Page_KeyLoop(kSecurityPageView, hooks);
}

EFI_STATUS Quorvex_SecurityPage_MouseClick() {
  if (Quorvex_SecurityPage_DialogClick() == EFI_SUCCESS) return EFI_SUCCESS;
  return Quorvex_Page_Click(kSecurityPageView, {Quorvex_SecurityPageSelected_Draw,
                                                Quorvex_SecurityPageNotSelected_Draw, nullptr,
                                                nullptr, Quorvex_SecurityPage_Refresh});
}

void Quorvex_SecurityPage_Reset() {
  SecurityPage = {};
}
