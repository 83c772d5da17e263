// What the SMBIOS tables say about the machine: firmware vendor and version
// and the embedded controller's release (type 0), the processor's current
// speed (type 4), the installed memory (type 17 devices, or type 19 mapped
// ranges when no device gives a size). The table reader never reads past the
// size it is given: a structure whose length or string set runs past the end
// ends the walk, and a string index beyond a structure's strings is missing.
#pragma once

#include "platform/efi.h"

constexpr UINTN kSmbiosTextCapacity = 64;

struct SmbiosInfo {
  CHAR8 Vendor[kSmbiosTextCapacity];  // empty when missing
  CHAR8 Version[kSmbiosTextCapacity]; // empty when missing
  bool HasEcRelease;
  UINT8 EcMajor;
  UINT8 EcMinor;
  UINT32 CurrentSpeedMhz; // 0 when unknown
  UINT64 MemoryMegabytes; // 0 when unknown
};

// Reads Size bytes of structures from Table into Out (which starts cleared).
void Smbios_ReadTable(const UINT8* Table, UINTN Size, SmbiosInfo* Out);

// The structure table an entry point names: the 3.x one ("_SM3_", 64-bit
// address, maximum size) or the 2.x one ("_SM_" with "_DMI_", 32-bit address
// and length). False for a missing anchor or a bad checksum. Size is the
// entry point's own bytes available to read.
bool Smbios_Entry3(const UINT8* Entry, UINTN Size, UINT64* Address, UINT32* TableSize);
bool Smbios_Entry2(const UINT8* Entry, UINTN Size, UINT64* Address, UINT32* TableSize);

// Looks the SMBIOS tables up in the system table's configuration table (the
// 3.x entry point first, then the 2.x one) and reads them. False when the
// firmware publishes none that can be read.
bool Smbios_FromSystemTable(const EFI_SYSTEM_TABLE* SystemTable, SmbiosInfo* Out);
