// The firmware watchdog around the setup's lifetime.
#include "platform/watchdog.h"

namespace {

void Arm(EFI_BOOT_SERVICES* Services, UINTN Seconds) {
  if (Services == nullptr || Services->SetWatchdogTimer == nullptr) return;
  // Watchdog code 0 with no data: the firmware's own code for its timer.
  Services->SetWatchdogTimer(Seconds, 0, 0, nullptr);
}

} // namespace

void Quorvex_Watchdog_Disarm(EFI_BOOT_SERVICES* Services) {
  Arm(Services, 0);
}

void Quorvex_Watchdog_HandBack(EFI_BOOT_SERVICES* Services) {
  Arm(Services, kFirmwareWatchdogSeconds);
}
