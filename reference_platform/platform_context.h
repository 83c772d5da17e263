// The firmware tables the reference platform's services work with. They are
// separate from the utility's bound globals: in the simulator both sides live
// in one process and bind to the same fake firmware independently.
#pragma once

#include "platform/efi.h"

extern EFI_HANDLE PlatformImageHandle;
extern EFI_SYSTEM_TABLE* PlatformSystemTable;
extern EFI_BOOT_SERVICES* PlatformBootServices;
extern EFI_RUNTIME_SERVICES* PlatformRuntimeServices;

// Keeps the tables (null arguments are kept as null; every user checks).
void Platform_BindFirmware(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable);

// Installs Interface under Guid on a new handle; returns the status. The
// installation is remembered for Platform_UninstallAll.
EFI_STATUS Platform_InstallOnNewHandle(const EFI_GUID& Guid, void* Interface);
// Uninstalls everything installed above, newest first: nothing may point
// into the launcher's image once it has returned to the firmware.
void Platform_UninstallAll();
