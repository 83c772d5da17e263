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

// What the Security page keeps; Quorvex_SecurityPage_Reset puts it back to
// these values.
struct SecurityPageState {
  // Set when deleting the supervisor password also deleted the user
  // password.
  UINT8 PasswordDeletedFlag = 0;
  // Set at set-up when a user password but no supervisor password was set.
  UINT8 UserOnlyAtStart = 0;
};
extern constinit SecurityPageState SecurityPage;

// The module's state under its long-standing names.
inline constexpr UINT8& PasswordDeletedFlag = SecurityPage.PasswordDeletedFlag;
inline constexpr UINT8& UserOnlyAtStart = SecurityPage.UserOnlyAtStart;
