// Secure Boot as the firmware has it: the Security page's "Secure Boot" item
// shows the firmware's SecureBoot variable and switches enforcement through
// the firmware's own configuration variable (SecureBootEnable, as OVMF and
// other EDK2-based firmware keep it); "Clear Secure Boot keys" deletes the
// platform key through the firmware's custom mode at the next start.
#pragma once

#include "platform/efi.h"

// Where the "Secure Boot" setting lives, decided once per start.
enum SecureBootBacking : UINT8 {
  SecureBootFirmware, // the firmware reports SetupMode: its variables answer
  SecureBootAbsent,   // no Secure Boot in the firmware: the item is absent
  SecureBootStore,    // no Secure Boot in the firmware: the private store answers
};

// What a firmware without Secure Boot variables gets: false (the UEFI
// image's default) makes the item absent; true (the host build's default)
// keeps the setting in the private settings store, as the simulator's fake
// firmware had it before it could model Secure Boot.
extern bool SecureBootStoreFallback;

// Looks at the firmware's Secure Boot variables and decides the backing; an
// absent item is also marked absent in the store's presence answers. Call
// after Store_Load.
void SecureBoot_Probe();
SecureBootBacking SecureBoot_Backing();

// 1 when the firmware enforces Secure Boot now (SecureBoot = 1), else 0.
UINT64 SecureBoot_Enforced();
// Asks for enforcement on (1) or off (0) from the next start on: writes
// SecureBootEnable when its value differs. EFI_NOT_READY for 1 while no
// platform key is enrolled (nothing to enforce with); otherwise the
// firmware's status.
EFI_STATUS SecureBoot_SetEnforced(UINT64 Value);

// True when a platform key is enrolled (PK exists).
bool SecureBoot_PlatformKeyEnrolled();
// Deletes the platform key through the firmware's custom mode, which puts
// the firmware in Setup Mode; custom mode is switched off again afterwards.
// EFI_SUCCESS also when no platform key was enrolled.
EFI_STATUS SecureBoot_DeletePlatformKey();

// Carries out a recorded "Clear Secure Boot keys" request: deletes the
// platform key (firmware backing only), writes a serial line saying what
// happened, and drops the request from the store whether it succeeded or
// not. For the launcher's start-up and for a firmware image that starts the
// utility itself; both call it after Store_Load and SecureBoot_Probe.
void SecureBoot_ClearKeysIfRequested();
