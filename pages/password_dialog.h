// The Security page's password dialog: current, new and confirmed password,
// checked and stored through the setup data service.
#pragma once

#include "platform/efi.h"

// Prompt sets by the item that opened the dialog.
enum PasswordPrompts : UINT32 {
  kPromptsUser = 1,
  kPromptsSupervisor = 2,
  kPromptsHddMaster = 5,
  kPromptsHddUser = 6,
};

// The most characters a password field takes, whatever the platform allows.
constexpr UINT64 kPasswordFieldLimit = 99;

// Everything the dialog keeps between calls; Quorvex_PasswordDialog_Reset
// puts it back to these values.
struct PasswordDialogState {
  // Wrong current passwords since the utility started, over every kind.
  UINT64 VerifyFailCount = 0;
  // Set while a message box is shown; a click that closes it clears it.
  UINT8 MessageBoxOpen = 0;
  // The asterisks shown for the typed characters, shared by every field.
  CHAR16 Mask[kPasswordFieldLimit + 1] = {};
};
extern constinit PasswordDialogState PasswordDialog;

// The module's state under its long-standing names.
inline constexpr UINT64& VerifyFailCount = PasswordDialog.VerifyFailCount;
inline constexpr UINT8& SecurityMessageBoxOpen = PasswordDialog.MessageBoxOpen;

// The dialog for a password kind (kPassword*) with a prompt set.
void Quorvex_SecurityPasswordConfirm(UINT32 Kind, UINT32 Prompts);
// One password field titled Title: EFI_SUCCESS on Enter with the text in
// Buffer (at least kPasswordFieldLimit + 1 units), EFI_ABORTED on Esc.
EFI_STATUS Quorvex_SecurityPasswordInput(const CHAR16* Title, CHAR16* Buffer);
// A red message box with two lines and one button, until Enter. With a
// countdown, the box counts changes of the clock's second and shuts the
// system down when it has seen Countdown of them.
void Quorvex_SecurityMessageBox(const CHAR16* Line1, const CHAR16* Line2, const CHAR16* Button,
                                UINT64 Countdown);
// The master password sequence of the HDD/SSD "Master" item.
void Quorvex_SecurityMasterSequence();

// Where the password window and the message box lie (for their clicks).
struct PasswordWindowRect {
  UINT64 X, Y, Width, Height;
};
// The password window: above the on-screen keyboard while it runs, else
// centred.
PasswordWindowRect Quorvex_SecurityPasswordBox();
// The message box: the password window's size, centred.
PasswordWindowRect Quorvex_SecurityMessageBoxRect();
// The Security page's clicks while a dialog is open (close marks, message
// box button): EFI_SUCCESS when the click was the dialog's.
EFI_STATUS Quorvex_SecurityPage_DialogClick();
// The message box's close mark and button wherever the box was opened from
// (outside the Security page's dialogs): EFI_SUCCESS when the click closed it.
EFI_STATUS Quorvex_SecurityMessageBox_Click();
// A restart abandoned the dialog: its password buffers are wiped and freed.
void Quorvex_SecurityPasswordDialog_Forget();
// The state back to its power-on values (the mask wiped).
void Quorvex_PasswordDialog_Reset();
