// Settings that live in the firmware's own variables where the machine has
// them: the boot priority (BootOrder and its Boot#### options, by device
// class) and the language (PlatformLang). Where the firmware has none of
// them, the settings store alone answers, as before.
#pragma once

#include "platform/efi.h"

// After the store is loaded: the boot order setting and the presence of the
// LAN and ODD classes follow the machine's BootOrder, and with no stored
// record the language follows PlatformLang.
void MachineSettings_Load();
// After the store is saved: BootOrder is rewritten for the saved class
// order (one SetVariable, only when it changes or needed repair), and
// PlatformLang is set to the saved language when PlatformLangCodes offers
// it. A failure is reported on the serial port; the store stays saved.
void MachineSettings_Save();

// The boot order setting as the service answers it: on a machine with a
// BootOrder, the classes it has no option of come last (after the defaults
// are loaded, say); otherwise Stored as it is.
UINT64 MachineSettings_BootOrderAnswer(UINT64 Stored);

// Whether the machine's BootOrder was read (its options are answered).
bool MachineSettings_HasBootOrder();
// The language code written for a stored language (0, 1, 2), and the
// stored language a PlatformLang value stands for (-1 for none of ours).
const CHAR8* MachineSettings_LanguageCode(UINT64 Language);
INT32 MachineSettings_LanguageOf(const CHAR8* Code, UINTN Size);
// Whether a PlatformLangCodes value ("en-US;fr-FR", Size bytes, NUL or not)
// lists Code.
bool MachineSettings_CodesOffer(const CHAR8* Codes, UINTN Size, const CHAR8* Code);
