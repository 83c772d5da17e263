#include "reference_platform/password_field_watch.h"

namespace {

constexpr UINT32 kOpMaxPasswordLength = 7;
// The operations a password field's own loop calls.
constexpr UINT32 kFieldLoopOps[] = {5, 10, 11, 12, 15};

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
