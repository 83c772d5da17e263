// The reference platform: the launcher that installs the vendor services a
// stock UEFI firmware lacks and then starts QuorvexSetup.efi, and the hooks
// and store API the host simulator drives it through.
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

// ---------------------------------------------------------------------------
// Settings store (see store.h for the record and the per-setting accessors).
// ---------------------------------------------------------------------------
// Sets a setting by its schema name; also "<name>_present" for the presence
// answer of a setting that has a presence operation. False when the name is
// unknown, the setting is a read-only value text, or the value is outside the
// setting's range (nothing changes then).
bool Store_SetByName(const char* Name, UINT64 Value);
// Reads the store from its variable; defaults when it is missing or corrupt.
void Store_Load();
// Writes the whole store in one SetVariable call.
EFI_STATUS Store_Save();
// The schema's defaults for every setting the user can change, except the
// ones that do not revert (Secure Boot, TPM); the language, the passwords and
// the platform's own answers keep their values.
void Store_LoadDefaults();
