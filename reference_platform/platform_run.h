// The reference platform's part of every start: bind to the firmware, load
// the settings store, install the vendor services and the USB pointer
// driver, run the utility, and take it all down again if the utility
// returns (a start-up failure; leaving the setup resets the machine). The
// launcher on a disk and the setup image inside the firmware both start here
// and differ only in how they run the utility.
#pragma once

#include "platform/efi.h"

using PlatformUtilityRunner = EFI_STATUS (*)(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable);

EFI_STATUS QuorvexPlatform_Run(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable,
                               PlatformUtilityRunner RunUtility);

// "QuorvexPlatform: <What> (status 0x…)" on the serial port and, when there
// is one, on the console.
void Platform_Report(const CHAR8* What, EFI_STATUS Status);
