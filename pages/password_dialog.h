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

// Wrong current passwords since the utility started, over every kind.
extern UINT64 VerifyFailCount;
// The most characters a password field takes, whatever the platform allows.
constexpr UINT64 kPasswordFieldLimit = 99;

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
