// The value texts of the Main page's information rows (processor, speed,
// disk, optical drive, memory, firmware and EC versions). The UEFI image
// reads the machine; the host build gives fixed texts so that screenshots
// repeat exactly.
#pragma once

#include "reference_platform/store.h"

// The text of a value-text setting; never null (empty for other settings).
// The texts are worked out once, on first use.
const CHAR16* SystemInfo_Text(UINT32 SettingIndex);

// "1.80 GHz" from a processor brand string such as
// "Intel(R) Core(TM) i5-3337U CPU @ 1.80GHz"; false when the brand names no
// clock speed.
bool SystemInfo_SpeedFromBrand(const CHAR8* Brand, CHAR16* Out, UINTN Capacity);

// The memory a UEFI memory map describes as RAM, in bytes (reserved, unusable
// and memory-mapped I/O ranges are not counted). Descriptors are
// DescriptorSize apart; a size smaller than a descriptor counts nothing.
UINT64 SystemInfo_MemoryBytes(const void* Map, UINTN MapSize, UINTN DescriptorSize);

// "4096 MB" style text of a byte count, rounded up to whole megabytes.
void SystemInfo_MegabyteText(UINT64 Bytes, CHAR16* Out, UINTN Capacity);
