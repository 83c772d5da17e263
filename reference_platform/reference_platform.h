// The reference platform: the launcher that installs the vendor services a
// stock UEFI firmware lacks and then starts QuorvexSetup.efi, and the hooks
// the host simulator drives it through (the store's API is in store.h).
#pragma once

#include "platform/efi.h"

// The launcher (QuorvexPlatform.efi's entry point).
extern "C" EFI_STATUS EFIAPI QuorvexPlatform_EntryPoint(EFI_HANDLE ImageHandle,
                                                        EFI_SYSTEM_TABLE* SystemTable);

// Called by the launcher after the services are installed and before the
// utility is started; null in the UEFI image. The simulator sets it to apply
// its --settings file (through Store_SetByName).
extern void (*PlatformStartHook)();

// Whether the launcher runs the password gate (reference_platform/gate.h)
// before it starts the utility: true in the UEFI image; the simulator clears
// it unless --gate is given.
extern bool PlatformGateEnabled;

// Installs a password by kind name ("supervisor", "user", "hdd_master",
// "hdd_user") from printable ASCII text, hashed as the setup data service
// would; false for an unknown kind, other characters or a text longer than
// the platform's maximum. The simulator's --password.
bool Password_SetByName(const char* Kind, const char* Text);

// Receives one line per setup data operation ("op 27 -> 0"); null in the UEFI
// image. The simulator sets it to write its trace file.
extern void (*SetupDataTraceSink)(const char* Line);
