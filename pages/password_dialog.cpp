// The password dialog of the Security page. Passwords live only in the
// dialog's own pool buffers (wiped before they are freed) and in the
// arguments of the setup data service's operations; the utility keeps none.
#include "pages/password_dialog.h"

#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/background.h"
#include "graphics/buttons.h"
#include "graphics/colours.h"
#include "graphics/double_buffer.h"
#include "graphics/modal_scope.h"
#include "graphics/windows.h"
#include "graphics/draw_util.h"
#include "graphics/text_draw.h"
#include "graphics/windows.h"
#include "input/mouse.h"
#include "input/virtual_keyboard.h"
#include "pages/security_page.h"
#include "platform/lib.h"
#include "setup_data/security_page_table.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/text_table.h"

constinit PasswordDialogState PasswordDialog = {};

namespace {

constexpr UINT64 kBufferBytes = 1000;
constexpr UINT64 kShutdownAfterFailures = 3;
constexpr UINT64 kShutdownCountdown = 3;

constexpr auto& Mask = PasswordDialog.Mask;

using Box = PasswordWindowRect;

Box PasswordBox() {
  return Quorvex_SecurityPasswordBox();
}

struct Prompts {
  const CHAR16* Current;
  const CHAR16* New;
  const CHAR16* Confirm;
};

Prompts PromptsFor(UINT32 Set) {
  switch (Set) {
  case kPromptsHddMaster:
    return {TEXT(SecurityEnterCurrentMasterPassword), TEXT(SecurityEnterNewMasterPassword),
            TEXT(SecurityConfirmNewMasterPassword)};
  case kPromptsHddUser:
    return {TEXT(SecurityEnterCurrentUserPassword), TEXT(SecurityEnterNewUserPassword),
            TEXT(SecurityConfirmNewUserPassword)};
  default:
    return {TEXT(SecurityEnterCurrentPassword), TEXT(SecurityEnterNewPassword),
            TEXT(SecurityConfirmNewPassword)};
  }
}

bool Verify(UINT32 Kind, const CHAR16* Password) {
  switch (Kind) {
  case kPasswordUser:
    return SetupData_user_password_verify(Password, nullptr) != 0;
  case kPasswordSupervisor:
    return SetupData_supervisor_password_verify(Password, nullptr) != 0;
  case kPasswordHddMaster:
    return SetupData_hdd_master_password_verify(Password, nullptr) != 0;
  case kPasswordHddUser:
    return SetupData_hdd_user_password_verify(Password, nullptr) != 0;
  default:
    return false;
  }
}

void SetPassword(UINT32 Kind, const CHAR16* Password) {
  switch (Kind) {
  case kPasswordUser:
    SetupData_user_password_set(Password, nullptr);
    break;
  case kPasswordSupervisor:
    SetupData_supervisor_password_set(Password, nullptr);
    break;
  case kPasswordHddMaster:
    SetupData_hdd_master_password_set(Password, nullptr);
    break;
  case kPasswordHddUser:
    SetupData_hdd_user_password_set(Password, nullptr);
    break;
  default:
    break;
  }
}

bool MasterPlusUser() {
  const SetupItem& mode = SecurityPageItems[SecurityRowMode];
  return mode.Present != 0 && mode.Data == 1;
}

void DrawWindow(const CHAR16* Title) {
  const Box box = PasswordBox();
  CursorHidden cursor;
  Quorvex_Button_Control(box.X, box.Y, box.Width, box.Height, u"");
  Quorvex_DrawString(Title, Pixel(kColourDarkText), kTransparent, box.X + 25, box.Y + 25,
                     SaturatingSub(box.Width, 50), GlyphLineHeight * 2);
  const ScreenRect mark = Quorvex_CloseMark_Rect({box.X, box.Y, box.Width, box.Height});
  Quorvex_DrawPicture(kCloseMark, mark.X, mark.Y);
}

void DrawField() {
  const Box box = PasswordBox();
  const LookRect field = Look_PasswordField({box.X, box.Y, box.Width, box.Height}, GlyphLineHeight);
  const UINT64 x = field.X;
  const UINT64 y = field.Y;
  const UINT64 width = field.Width;
  const UINT64 height = field.Height;
  // Without an off-screen frame (no memory for it) the field is drawn
  // straight to the screen: the mask must show every typed character.
  const bool buffered = !EFI_ERROR(Quorvex_DoubleBuffer_Start(x, y, width, height));
  {
    CursorHidden cursor;
    Quorvex_Button_Control(x, y, width, height, Mask);
  }
  if (buffered) {
    Quorvex_DoubleBuffer_Flush();
    Quorvex_DoubleBuffer_Stop();
  }
}

// The two answer buffers of a password change. A restart that abandons the
// dialog wipes and frees them like its normal end does.
struct PasswordBuffers {
  CHAR16* Fresh;
  CHAR16* Confirm;
};

void ReleasePasswordBuffers(void* Context) {
  auto* buffers = static_cast<PasswordBuffers*>(Context);
  Quorvex_FreeSecret(buffers->Fresh, kBufferBytes);
  Quorvex_FreeSecret(buffers->Confirm, kBufferBytes);
  buffers->Fresh = nullptr;
  buffers->Confirm = nullptr;
  MemWipe(Mask, sizeof(Mask));
}

// Asks for a new password until an answer is accepted; false on Esc. An
// empty answer is refused when RefuseEmpty holds.
bool AskNew(const CHAR16* Title, CHAR16* Buffer, bool RefuseEmpty) {
  for (;;) {
    if (Quorvex_SecurityPasswordInput(Title, Buffer) != EFI_SUCCESS) return false;
    if (!(RefuseEmpty && Buffer[0] == 0)) return true;
  }
}

bool SameSecond(const EFI_TIME& A, const EFI_TIME& B) {
  return A.Year == B.Year && A.Month == B.Month && A.Day == B.Day && A.Hour == B.Hour &&
         A.Minute == B.Minute && A.Second == B.Second;
}

} // namespace

PasswordWindowRect Quorvex_SecurityPasswordBox() {
  const LookRect r = Look_PasswordWindow(ScreenWidth, ScreenHeight, VirtualKeyboardActive != 0);
  return {r.X, r.Y, r.Width, r.Height};
}

PasswordWindowRect Quorvex_SecurityMessageBoxRect() {
  const ScreenRect box = Quorvex_MessageBox_Rect();
  return {box.X, box.Y, box.Width, box.Height};
}

void Quorvex_SecurityPasswordDialog_Forget() {
  MemWipe(Mask, sizeof(Mask));
  SecurityMessageBoxOpen = 0;
}

void Quorvex_PasswordDialog_Reset() {
  MemWipe(Mask, sizeof(Mask));
  PasswordDialog = {};
}

EFI_STATUS Quorvex_SecurityPasswordInput(const CHAR16* Title, CHAR16* Buffer) {
  MemWipe(Mask, sizeof(Mask));
  FlushKeys();
  Quorvex_MouseDrain();
  const bool keyboard = Quorvex_VirtualKeyboard_Start() == EFI_SUCCESS;
  DrawWindow(Title);
  if (keyboard) {
    // The window's bottom border is painted over where the keyboard joins it.
    const Box box = PasswordBox();
    CursorHidden cursor;
    Quorvex_FillRect(box.X + 2, box.Y + box.Height - 2, SaturatingSub(box.Width, 4), 2,
                     kColourButtonFace);
  }
  DrawField();
  Buffer[0] = 0;
  UINT64 length = 0;
  UINT64 maximum = kPasswordFieldLimit;
  SetupData_Get_max_password_length(&maximum);
  Quorvex_LoadHotKey();

  for (;;) {
    Quorvex_MousePoll();
    if (ActionBusy == 0) {
      // A click on the close mark ended the dialog.
      PageState = kStateSecurityPage;
      Quorvex_VirtualKeyboard_Stop();
      return EFI_ABORTED;
    }
    EFI_INPUT_KEY key;
    if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
    if (key.ScanCode == SCAN_ESC) {
      PageState = kStateSecurityPage;
      Quorvex_VirtualKeyboard_Stop();
      return EFI_ABORTED;
    }
    if (key.UnicodeChar == CHAR_CARRIAGE_RETURN) {
      Quorvex_VirtualKeyboard_Stop();
      return EFI_SUCCESS;
    }
    if (key.UnicodeChar == CHAR_BACKSPACE) {
      if (length > 0) {
        --length;
        Buffer[length] = 0;
        Mask[length] = 0;
        DrawField();
      }
      continue;
    }
    if (key.ScanCode != SCAN_NULL || key.UnicodeChar == 0 || key.UnicodeChar == CHAR_TAB) {
      continue;
    }
    if (length < maximum && length < kPasswordFieldLimit) {
      Buffer[length] = key.UnicodeChar;
      Buffer[length + 1] = 0;
      Mask[length] = u'*';
      Mask[length + 1] = 0;
      ++length;
      DrawField();
    } else {
      SetupData_password_over_length_notice(length);
    }
  }
}

void Quorvex_SecurityMessageBox(const CHAR16* Line1, const CHAR16* Line2, const CHAR16* Button,
                                UINT64 Countdown) {
  FlushKeys();
  Quorvex_MouseDrain();
  const Box box = Quorvex_SecurityMessageBoxRect();
  {
    CursorHidden cursor;
    Quorvex_ErrorMessageWindow(box.X, box.Y, box.Width, box.Height, Line1, Line2, nullptr, Button);
  }
  EFI_TIME last = {};
  RuntimeServices->GetTime(&last, nullptr);
  UINT64 seen = 0;
  SecurityMessageBoxOpen = 1;
  for (;;) {
    Quorvex_MousePoll();
    // A click on the box's button or close mark closed it.
    if (SecurityMessageBoxOpen == 0) break;
    if (Countdown != 0) {
      EFI_TIME now = {};
      RuntimeServices->GetTime(&now, nullptr);
      if (!SameSecond(now, last)) {
        last = now;
        if (++seen >= Countdown) SetupData_shut_down();
      }
    }
    EFI_INPUT_KEY key;
    if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
    if (key.UnicodeChar == CHAR_CARRIAGE_RETURN) break;
  }
  SecurityMessageBoxOpen = 0;
}

void Quorvex_SecurityPasswordConfirm(UINT32 Kind, UINT32 Set) {
  const Prompts prompts = PromptsFor(Set);
  auto* fresh = static_cast<CHAR16*>(Quorvex_AllocatePool(kBufferBytes));
  auto* confirm = static_cast<CHAR16*>(Quorvex_AllocatePool(kBufferBytes));
  if (fresh == nullptr || confirm == nullptr) {
    if (fresh != nullptr) Quorvex_FreePool(fresh);
    if (confirm != nullptr) Quorvex_FreePool(confirm);
    return;
  }
  MemFill(fresh, 0, kBufferBytes);
  MemFill(confirm, 0, kBufferBytes);
  PasswordBuffers buffers = {fresh, confirm};
  RestartRelease release(&ReleasePasswordBuffers, &buffers);
  {
    ModalScope modal;

    const bool masterSelected = SecurityPageItems[SecurityRowMaster].Selected != 0;
    const bool hddUserSelected = SecurityPageItems[SecurityRowHddUser].Selected != 0;
    bool asked = false;
    if (!Quorvex_PasswordInstalled(Kind)) {
      // The user password chained after a new master password may not be empty.
      const bool refuseEmpty = MasterPlusUser() && Set == kPromptsHddUser && masterSelected;
      asked = AskNew(TextOf(prompts.New), fresh, refuseEmpty);
    } else if (Quorvex_SecurityPasswordInput(TextOf(prompts.Current), fresh) == EFI_SUCCESS) {
      if (!Verify(Kind, fresh)) {
        MemWipe(fresh, kBufferBytes);
        modal.Regrey();
        ++VerifyFailCount;
        if (VerifyFailCount < kShutdownAfterFailures) {
          Quorvex_SecurityMessageBox(TextOf(TEXT(SecurityVerifyError)),
                                     TextOf(TEXT(SecurityPressEnterToContinue)),
                                     TextOf(TEXT(SecurityEnterButton)), 0);
        } else {
          Quorvex_SecurityMessageBox(TextOf(TEXT(SecurityVerifyError)),
                                     TextOf(TEXT(SecuritySystemShuttingDown)),
                                     TextOf(TEXT(CommonOk)), kShutdownCountdown);
          SetupData_shut_down();
        }
      } else {
        // In Master+User mode the HDD/SSD user password cannot be deleted on
        // its own.
        const bool refuseEmpty = MasterPlusUser() && hddUserSelected;
        asked = AskNew(TextOf(prompts.New), fresh, refuseEmpty);
      }
    }

    if (asked && Quorvex_SecurityPasswordInput(TextOf(prompts.Confirm), confirm) == EFI_SUCCESS) {
      if (SetupData_compare_passwords(fresh, confirm) == 0) {
        modal.Regrey();
        Quorvex_SecurityMessageBox(TextOf(TEXT(SecurityPasswordsNotSame)),
                                   TextOf(TEXT(SecurityPressEnterToContinue)),
                                   TextOf(TEXT(SecurityEnterButton)), 0);
      } else {
        SetPassword(Kind, fresh);
        if (fresh[0] == 0 && Kind == kPasswordSupervisor) {
          SetPassword(kPasswordUser, u"");
          PasswordDeletedFlag = 1;
        }
        if (fresh[0] == 0 && Kind == kPasswordHddMaster && MasterPlusUser()) {
          SetPassword(kPasswordHddUser, u"");
        }
      }
    }
  }
  ReleasePasswordBuffers(&buffers);
}

void Quorvex_SecurityMasterSequence() {
  Quorvex_SecurityPasswordConfirm(kPasswordHddMaster, kPromptsHddMaster);
  if (Quorvex_PasswordInstalled(kPasswordHddMaster) &&
      !Quorvex_PasswordInstalled(kPasswordHddUser)) {
    Quorvex_SecurityPasswordConfirm(kPasswordHddUser, kPromptsHddUser);
  }
  // In Master+User mode a master password never stays without a user one.
  if (MasterPlusUser() && !Quorvex_PasswordInstalled(kPasswordHddUser)) {
    SetPassword(kPasswordHddMaster, u"");
  }
}
