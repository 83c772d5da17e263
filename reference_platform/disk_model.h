// The model name of a disk from the identify data its controller driver
// gives through the Disk Info protocol: ATA IDENTIFY DEVICE (IDE and AHCI
// interfaces) or NVMe Identify Controller.
#pragma once

#include "platform/efi.h"

// Model name from ATA IDENTIFY data (words 27-46, each word's bytes in
// swapped order) or NVMe Identify Controller data (bytes 24-63): printable
// ASCII, trailing blanks dropped, at most Capacity - 1 characters. False
// (Out empty) when Size does not reach the field or the name is blank.
bool DiskModel_FromAta(const UINT8* Identify, UINTN Size, CHAR8* Out, UINTN Capacity);
bool DiskModel_FromNvme(const UINT8* Identify, UINTN Size, CHAR8* Out, UINTN Capacity);

// The model of the disk behind Handle through its Disk Info protocol (ATA,
// AHCI or NVMe interface only); false when there is none.
bool DiskModel_OfHandle(EFI_HANDLE Handle, CHAR8* Out, UINTN Capacity);
