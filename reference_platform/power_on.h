// The power-on password inside the firmware image: a DXE driver
// (QuorvexPowerOn.efi, dispatched from the firmware volume before the boot
// manager runs) that waits on the ready-to-boot signal. The boot manager
// signals it just before it starts any boot option (an OS loader, a disk, the
// shell, a network boot); the driver then runs the password gate for the
// power-on purpose and returns only when the boot may go on.
//
// The setup is a boot option too (F2 or Esc start the front-page file, which
// is our setup image): its own gate asks before the utility opens, so the
// power-on gate stands aside when the option being started is the setup and
// the user is never asked twice in a row.
#pragma once

#include "platform/efi.h"

// Whether the boot option being started (BootCurrent) is the setup: its
// load option's path names the firmware-volume file SetupFile. Anything
// missing, damaged or unreadable answers false, so the gate asks.
bool PowerOn_BootIsSetup(const EFI_GUID& SetupFile);

// What the driver does on ready-to-boot: reads the store as it is now and,
// unless the setup is starting, runs the power-on gate (once per boot; after
// the last wrong answer the machine powers off).
void PowerOn_ReadyToBoot();

// Host tests: forget that the gate was passed.
void PowerOn_Reset();

extern "C" EFI_STATUS EFIAPI QuorvexPowerOn_EntryPoint(EFI_HANDLE ImageHandle,
                                                       EFI_SYSTEM_TABLE* SystemTable);
