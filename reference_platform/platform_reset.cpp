#include "reference_platform/platform_reset.h"

#include "reference_platform/gate.h"
#include "reference_platform/password_field_watch.h"
#include "reference_platform/power_on.h"
#include "reference_platform/store.h"

namespace {

using ResetRoutine = void (*)();

// A module with state of its own adds its reset here, and only here.
constexpr ResetRoutine kPlatformResets[] = {
    Store_ResetAll,
    Gate_Reset,
    PowerOn_Reset,
    PasswordFieldWatch_Reset,
};

} // namespace

void Platform_ResetAll() {
  for (ResetRoutine reset : kPlatformResets) reset();
}
