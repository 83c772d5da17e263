#include "pages/secure_boot_item.h"

#include "graphics/modal_scope.h"
#include "pages/page_common.h"
#include "pages/password_dialog.h"
#include "setup_data/security_page_table.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/text_table.h"

namespace {

constinit UINT8 gRefused = 0;
constinit UINT8 gShowing = 0; // the refusal's message box is open

} // namespace

void Quorvex_SecureBootItem_ReadPresence() {
  SetupItem& item = SecurityPageItems[SecurityRowSecureBoot];
  item.Present = 1;
  Quorvex_Page_ReadPresence(item, SetupData_Present_secure_boot);
  // Without Secure Boot there are no keys to clear.
  SecurityPageItems[SecurityRowClearSecureBootKeys].Present = item.Present;
}

void Quorvex_SecureBootItem_Store() {
  SetupItem& item = SecurityPageItems[SecurityRowSecureBoot];
  if (item.Present == 0) return;
  const UINT64 status = SetupData_Set_secure_boot(ItemState(item));
  if (!EFI_ERROR(status)) return;
  // The page never shows a value the firmware did not take.
  UINT8 state = ItemState(item);
  SetupData_Get_secure_boot(&state);
  SetItemState(item, state != 0 ? 1 : 0);
  gRefused = 1;
}

bool Quorvex_SecureBootItem_ReportRefusal() {
  if (gRefused == 0) return false;
  gRefused = 0;
  {
    ModalScope modal(&gShowing);
    Quorvex_SecurityMessageBox(TextOf(TEXT(SecuritySecureBootRefused)),
                               TextOf(TEXT(SecuritySecureBootRefusedDetail)),
                               TextOf(TEXT(SecurityEnterButton)), 0);
  }
  return true;
}

EFI_STATUS Quorvex_SecureBootItem_Click() {
  if (gShowing == 0) return EFI_ABORTED;
  return Quorvex_SecurityMessageBox_Click();
}

void Quorvex_SecureBootItem_Reset() {
  gRefused = 0;
  gShowing = 0;
}
