// The setup image inside the firmware: the reference platform's services and
// the utility linked into one UEFI application, which the firmware starts in
// place of its own front page (F2 or Esc at power-on).
#pragma once

#include "platform/efi.h"

extern "C" EFI_STATUS EFIAPI QuorvexFirmware_EntryPoint(EFI_HANDLE ImageHandle,
                                                        EFI_SYSTEM_TABLE* SystemTable);
