// The firmware watchdog. A firmware arms a five-minute watchdog before it
// starts a boot option and resets the machine when it runs out; the setup
// waits for a person, so it disarms it for as long as it runs and arms it
// again, as the firmware had it, when it hands the machine back. Both the
// launcher and the utility's entry call these, so an image that starts the
// utility directly (a firmware's front page) is covered as well.
#pragma once

#include "platform/efi.h"

// The watchdog a firmware arms before it starts an image, in seconds.
constexpr UINTN kFirmwareWatchdogSeconds = 5 * 60;

// Disarms the watchdog (a timeout of 0). A firmware without the service, or
// one that refuses, is left as it is.
void Quorvex_Watchdog_Disarm(EFI_BOOT_SERVICES* Services);
// Arms the firmware's own five-minute watchdog again before the setup
// returns to the firmware that started it.
void Quorvex_Watchdog_HandBack(EFI_BOOT_SERVICES* Services);
