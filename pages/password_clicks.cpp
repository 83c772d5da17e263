// Clicks while the Security page has a dialog open: the close marks of the
// password window and the message box, and the message box's button. With
// the on-screen keyboard running every other click goes on to the keyboard,
// the last handler of the chain.
#include "input/keys.h"
#include "platform/bindings.h"
#include "setup_data/page_state.h"
#include "graphics/item_list.h"
#include "graphics/windows.h"
#include "input/mouse.h"
#include "input/virtual_keyboard.h"
#include "pages/page_common.h"
#include "pages/password_dialog.h"
#include "setup_data/security_page_table.h"
#include "setup_data/setup_item.h"

namespace {

// The close mark where the window's drawer puts it.
bool OnCloseMark(const PasswordWindowRect& Box) {
  const ScreenRect mark = Quorvex_CloseMark_Rect({Box.X, Box.Y, Box.Width, Box.Height});
  return Quorvex_PointInRect(mark);
}

// The message box's button where the window's drawer puts it, and the 25
// pixels above it, so a press on its upper edge counts.
bool OnMessageButton(const PasswordWindowRect& Box) {
  const ScreenRect button = Quorvex_ErrorWindow_ButtonRect({Box.X, Box.Y, Box.Width, Box.Height});
  return Quorvex_PointInRect(button.X, SaturatingSub(button.Y, 25), button.Width,
                             button.Height + 25);
}

} // namespace

EFI_STATUS Quorvex_SecurityPage_DialogClick() {
  if (ActionBusy == 0 || PageState != kStateSecurityPage) return EFI_ABORTED;
  const UINT64 row = SelectedIndex(SecurityPageItems, SecurityPageItemCount);
  if (row >= SecurityPageItemCount) return EFI_ABORTED;
  if (Quorvex_Item_Top(SecurityPageItems, SecurityPageItemCount, row) >= ScreenHeight) {
    return EFI_ABORTED;
  }
  if (SecurityPageItems[row].Kind != ItemButton) return EFI_ABORTED;

  const bool messageShown = SecurityMessageBoxOpen != 0;
  const PasswordWindowRect message = Quorvex_SecurityMessageBoxRect();
  if ((messageShown && OnCloseMark(message)) || OnCloseMark(Quorvex_SecurityPasswordBox())) {
    if (messageShown) {
      SecurityMessageBoxOpen = 0;
    } else if (row != SecurityRowClearSecureBootKeys) {
      // Ends the password field as Esc would.
      ActionBusy = 0;
    }
    return EFI_SUCCESS;
  }
  if (VirtualKeyboardActive != 0) return EFI_ABORTED;
  if (messageShown && OnMessageButton(message)) {
    SecurityMessageBoxOpen = 0;
    return EFI_SUCCESS;
  }
  return EFI_ABORTED;
}

EFI_STATUS Quorvex_SecurityMessageBox_Click() {
  if (SecurityMessageBoxOpen == 0) return EFI_ABORTED;
  const PasswordWindowRect message = Quorvex_SecurityMessageBoxRect();
  if (!OnCloseMark(message) && !OnMessageButton(message)) return EFI_ABORTED;
  SecurityMessageBoxOpen = 0;
  return EFI_SUCCESS;
}
