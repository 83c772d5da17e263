// The Security page's state shared with the password dialog and the click
// handler.
#pragma once

#include "platform/efi.h"

enum PasswordKind : UINT32 {
  kPasswordUser = 0,
  kPasswordSupervisor = 1,
  kPasswordHddMaster = 2,
  kPasswordHddUser = 3,
};

// True when the service says a password of the kind is set.
bool Quorvex_PasswordInstalled(UINT32 Kind);

// Set when deleting the supervisor password also deleted the user password.
extern UINT8 PasswordDeletedFlag;
// Set at set-up when a user password but no supervisor password was set.
extern UINT8 UserOnlyAtStart;
