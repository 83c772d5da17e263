// The access level the passwords grant: 0 or 1 full access, 2 or 3
// restricted (settings can be viewed, not changed). It starts at 4 (not yet
// computed) and is set by the Exit page's set-up.
#pragma once

#include "setup_data/setup_data_state.h" // AccessLevel, kAccessLevelUnset

// Full access: every setting may be changed.
inline bool Quorvex_FullAccess() {
  return AccessLevel <= 1;
}
// Restricted access: settings are shown greyed and defaults cannot be loaded.
inline bool Quorvex_RestrictedAccess() {
  return AccessLevel == 2 || AccessLevel == 3;
}
