// The access level the passwords grant: 0 or 1 full access, 2 or 3
// restricted (settings can be viewed, not changed). It starts at 4 (not yet
// computed) and is set by the Exit page's set-up.
#pragma once

#include "platform/efi.h"

extern UINT64 AccessLevel;

constexpr UINT64 kAccessLevelUnset = 4;

// Full access: every setting may be changed.
inline bool Quorvex_FullAccess() {
  return AccessLevel <= 1;
}
// Restricted access: settings are shown greyed and defaults cannot be loaded.
inline bool Quorvex_RestrictedAccess() {
  return AccessLevel == 2 || AccessLevel == 3;
}
