#include "reference_platform/smbios.h"

#include "platform/lib.h"

namespace {

constexpr EFI_GUID kSmbios3Guid = {
    0xF2FD1544, 0x9794, 0x4A2C, {0x99, 0x2E, 0xE5, 0xBB, 0xCF, 0x20, 0xE3, 0x94}};
constexpr EFI_GUID kSmbiosGuid = {
    0xEB9D2D31, 0x2D88, 0x11D3, {0x9A, 0x16, 0x00, 0x90, 0x27, 0x3F, 0xC1, 0x4D}};

constexpr UINTN kEntry3Size = 24;
constexpr UINTN kEntry2Size = 31;
// Both entry points are fixed-size structures; a table larger than this is
// not believed (no machine's SMBIOS comes near it).
constexpr UINT32 kMaxTableSize = 1u << 20;

UINT16 Read16(const UINT8* P) {
  return static_cast<UINT16>(P[0] | (P[1] << 8));
}
UINT32 Read32(const UINT8* P) {
  return static_cast<UINT32>(Read16(P)) | (static_cast<UINT32>(Read16(P + 2)) << 16);
}
UINT64 Read64(const UINT8* P) {
  return static_cast<UINT64>(Read32(P)) | (static_cast<UINT64>(Read32(P + 4)) << 32);
}

bool SumsToZero(const UINT8* P, UINTN Size) {
  UINT8 sum = 0;
  for (UINTN i = 0; i < Size; ++i) sum = static_cast<UINT8>(sum + P[i]);
  return sum == 0;
}

// One structure: formatted area [Start, Start + Length), strings up to End
// (the second of the two NULs that close them).
struct Structure {
  const UINT8* Start;
  UINT8 Type;
  UINT8 Length;
  const UINT8* Strings;
  const UINT8* End;
};

// Copies string Index (1-based) of S as printable ASCII; anything else
// becomes '?'. Trailing blanks go. Empty when the string is not there.
void CopyString(const Structure& S, UINT8 Index, CHAR8* Out) {
  Out[0] = 0;
  if (Index == 0) return;
  const UINT8* p = S.Strings;
  for (UINT8 n = 1; p < S.End && *p; ++n) {
    const UINT8* begin = p;
    while (p < S.End && *p) ++p;
    if (n == Index) {
      UINTN k = 0;
      for (const UINT8* q = begin; q < p && k + 1 < kSmbiosTextCapacity; ++q)
        Out[k++] = (*q >= 0x20 && *q < 0x7F) ? static_cast<CHAR8>(*q) : '?';
      while (k && Out[k - 1] == ' ') --k;
      Out[k] = 0;
      return;
    }
    ++p; // past this string's NUL
  }
}

void ReadBios(const Structure& S, SmbiosInfo* Out) {
  if (S.Length >= 0x06) {
    CopyString(S, S.Start[4], Out->Vendor);
    CopyString(S, S.Start[5], Out->Version);
  }
  // 0xFF in both release fields: the firmware has no embedded controller
  // release to report.
  if (S.Length >= 0x18 && !(S.Start[0x16] == 0xFF && S.Start[0x17] == 0xFF)) {
    Out->HasEcRelease = true;
    Out->EcMajor = S.Start[0x16];
    Out->EcMinor = S.Start[0x17];
  }
}

void ReadProcessor(const Structure& S, SmbiosInfo* Out) {
  if (Out->CurrentSpeedMhz || S.Length < 0x18) return;
  Out->CurrentSpeedMhz = Read16(S.Start + 0x16);
}

// Kilobytes of one memory device (0: empty slot or unknown size).
UINT64 DeviceKilobytes(const Structure& S) {
  if (S.Length < 0x0E) return 0;
  const UINT16 size = Read16(S.Start + 0x0C);
  if (size == 0 || size == 0xFFFF) return 0;
  if (size == 0x7FFF) {
    if (S.Length < 0x20) return 0;
    return static_cast<UINT64>(Read32(S.Start + 0x1C) & 0x7FFFFFFFu) << 10;
  }
  if (size & 0x8000) return size & 0x7FFF;
  return static_cast<UINT64>(size) << 10;
}

UINT64 RangeKilobytes(const Structure& S) {
  if (S.Length < 0x0F) return 0;
  const UINT32 start = Read32(S.Start + 4);
  const UINT32 end = Read32(S.Start + 8);
  if (start == 0xFFFFFFFFu) {
    if (S.Length < 0x1F) return 0;
    const UINT64 first = Read64(S.Start + 0x0F);
    const UINT64 last = Read64(S.Start + 0x17);
    return last >= first ? ((last - first) >> 10) + 1 : 0;
  }
  return end >= start ? static_cast<UINT64>(end - start) + 1 : 0;
}

} // namespace

void Smbios_ReadTable(const UINT8* Table, UINTN Size, SmbiosInfo* Out) {
  if (!Out) return;
  MemFill(Out, 0, sizeof(*Out));
  if (!Table) return;
  UINT64 deviceKb = 0, rangeKb = 0;
  UINTN at = 0;
  while (at + 4 <= Size) {
    Structure s;
    s.Start = Table + at;
    s.Type = Table[at];
    s.Length = Table[at + 1];
    if (s.Length < 4 || s.Length > Size - at) break;
    // The strings end with two NULs; a set that runs to the end of the
    // table is not read at all.
    UINTN end = at + s.Length;
    while (end + 1 < Size && !(Table[end] == 0 && Table[end + 1] == 0)) ++end;
    if (end + 1 >= Size) break;
    s.Strings = Table + at + s.Length;
    s.End = Table + end;
    switch (s.Type) {
    case 0:
      ReadBios(s, Out);
      break;
    case 4:
      ReadProcessor(s, Out);
      break;
    case 17:
      deviceKb += DeviceKilobytes(s);
      break;
    case 19:
      rangeKb += RangeKilobytes(s);
      break;
    default:
      break;
    }
    if (s.Type == 127) break;
    at = end + 2;
  }
  Out->MemoryMegabytes = (deviceKb ? deviceKb : rangeKb) >> 10;
}

bool Smbios_Entry3(const UINT8* Entry, UINTN Size, UINT64* Address, UINT32* TableSize) {
  if (!Entry || Size < kEntry3Size || MemCompare(Entry, "_SM3_", 5) != 0) return false;
  const UINT8 length = Entry[6];
  if (length < kEntry3Size || length > Size || !SumsToZero(Entry, length)) return false;
  *TableSize = Read32(Entry + 12);
  *Address = Read64(Entry + 16);
  return *Address != 0;
}

bool Smbios_Entry2(const UINT8* Entry, UINTN Size, UINT64* Address, UINT32* TableSize) {
  if (!Entry || Size < kEntry2Size || MemCompare(Entry, "_SM_", 4) != 0) return false;
  const UINT8 length = Entry[5];
  if (length < kEntry2Size || length > Size || !SumsToZero(Entry, length)) return false;
  if (MemCompare(Entry + 16, "_DMI_", 5) != 0 || !SumsToZero(Entry + 16, 15)) return false;
  *TableSize = Read16(Entry + 22);
  *Address = Read32(Entry + 24);
  return *Address != 0;
}

bool Smbios_FromSystemTable(const EFI_SYSTEM_TABLE* SystemTable, SmbiosInfo* Out) {
  if (!SystemTable || !SystemTable->ConfigurationTable || !Out) return false;
  for (int pass = 0; pass < 2; ++pass) {
    const EFI_GUID& wanted = pass == 0 ? kSmbios3Guid : kSmbiosGuid;
    for (UINTN i = 0; i < SystemTable->NumberOfTableEntries; ++i) {
      const EFI_CONFIGURATION_TABLE& entry = SystemTable->ConfigurationTable[i];
      if (!GuidEqual(entry.VendorGuid, wanted) || !entry.VendorTable) continue;
      // The entry point's own length byte says how much of it there is; the
      // fixed part is read first.
      const UINT8* ep = static_cast<const UINT8*>(entry.VendorTable);
      UINT64 address = 0;
      UINT32 size = 0;
      const bool found = pass == 0 ? Smbios_Entry3(ep, ep[6], &address, &size)
                                   : Smbios_Entry2(ep, ep[5], &address, &size);
      if (!found || size == 0 || size > kMaxTableSize) continue;
      Smbios_ReadTable(reinterpret_cast<const UINT8*>(static_cast<UINTN>(address)), size, Out);
      return true;
    }
  }
  return false;
}
