#include "reference_platform/password_field_watch.h"

namespace {

constexpr UINT32 kOpMaxPasswordLength = 7;
// The operations a password field's own loop can call: over-length notice
// (5), the pointer's set-up when a pointer is plugged in (6, 15), hot key
// (10, 11), the on-screen keyboard's switch and key source (12, 193).
constexpr UINT32 kFieldLoopOps[] = {5, 6, 10, 11, 12, 15, 193};

constinit bool gFieldOpen = false;

bool InFieldLoop(UINT32 Number) {
  for (const UINT32 op : kFieldLoopOps) {
    if (op == Number) return true;
  }
  return false;
}

} // namespace

void PasswordFieldWatch_Note(UINT32 Number) {
  if (Number == kOpMaxPasswordLength) {
    gFieldOpen = true;
  } else if (!InFieldLoop(Number)) {
    gFieldOpen = false;
  }
}

bool PasswordFieldWatch_Open() {
  return gFieldOpen;
}

void PasswordFieldWatch_Reset() {
  gFieldOpen = false;
}
