#include "reference_platform/system_info.h"

#include "platform/lib.h"
#include "platform/efi_storage.h"
#include "reference_platform/disk_model.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/smbios.h"

namespace {

constexpr UINTN kTextCapacity = 64;

enum InfoSlot : UINT32 {
  SlotCpuType,
  SlotCpuSpeed,
  SlotDisk,
  SlotOdd,
  SlotMemory,
  SlotBios,
  SlotEc,
  kSlotCount
};

constinit CHAR16 gTexts[kSlotCount][kTextCapacity] = {};
constinit bool gReady = false;

INT32 SlotOf(UINT32 SettingIndex) {
  switch (SettingIndex) {
  case kSetting_cpu_type:
    return SlotCpuType;
  case kSetting_cpu_speed:
    return SlotCpuSpeed;
  case kSetting_hdd_ssd:
    return SlotDisk;
  case kSetting_odd:
    return SlotOdd;
  case kSetting_total_memory_size:
    return SlotMemory;
  case kSetting_system_bios_version:
    return SlotBios;
  case kSetting_ec_version:
    return SlotEc;
  default:
    return -1;
  }
}

void SetAscii(InfoSlot Slot, const CHAR8* Text) {
  UINTN i = 0;
  for (; Text[i] && i + 1 < kTextCapacity; ++i) gTexts[Slot][i] = static_cast<UINT8>(Text[i]);
  gTexts[Slot][i] = 0;
}

// Where the firmware publishes SMBIOS tables, the firmware and EC versions,
// the processor speed and the installed memory come from them; a value the
// tables lack shows "Unknown".
void ApplySmbios() {
  SmbiosInfo info;
  if (!Smbios_FromSystemTable(PlatformSystemTable, &info)) return;
  if (info.Vendor[0] && info.Version[0]) {
    Format(gTexts[SlotBios], kTextCapacity, u"%s %s", info.Vendor, info.Version);
  } else {
    SetAscii(SlotBios, info.Version[0] ? info.Version : info.Vendor[0] ? info.Vendor : "Unknown");
  }
  if (info.HasEcRelease) {
    Format(gTexts[SlotEc], kTextCapacity, u"%u.%u", info.EcMajor, info.EcMinor);
  } else {
    SetAscii(SlotEc, "Unknown");
  }
  if (info.CurrentSpeedMhz >= 1000) {
    Format(gTexts[SlotCpuSpeed], kTextCapacity, u"%u.%02u GHz", info.CurrentSpeedMhz / 1000,
           (info.CurrentSpeedMhz % 1000) / 10);
  } else if (info.CurrentSpeedMhz) {
    Format(gTexts[SlotCpuSpeed], kTextCapacity, u"%u MHz", info.CurrentSpeedMhz);
  }
  if (info.MemoryMegabytes)
    Format(gTexts[SlotMemory], kTextCapacity, u"%u MB", info.MemoryMegabytes);
}

// Memory descriptor of the UEFI memory map.
struct MemoryDescriptor {
  UINT32 Type;
  UINT32 Pad;
  UINT64 PhysicalStart;
  UINT64 VirtualStart;
  UINT64 NumberOfPages;
  UINT64 Attribute;
};

bool CountsAsRam(UINT32 Type) {
  switch (Type) {
  case 1:  // loader code
  case 2:  // loader data
  case 3:  // boot services code
  case 4:  // boot services data
  case 5:  // runtime services code
  case 6:  // runtime services data
  case 7:  // conventional
  case 9:  // ACPI reclaim
  case 10: // ACPI NVS
  case 14: // persistent
    return true;
  default:
    return false;
  }
}

#if defined(_WIN32)

void Cpuid(UINT32 Leaf, UINT32 Registers[4]) {
  asm volatile("cpuid"
               : "=a"(Registers[0]), "=b"(Registers[1]), "=c"(Registers[2]), "=d"(Registers[3])
               : "a"(Leaf), "c"(0));
}

void ReadProcessor() {
  CHAR8 brand[49];
  MemFill(brand, 0, sizeof(brand));
  UINT32 r[4];
  Cpuid(0x80000000u, r);
  if (r[0] >= 0x80000004u) {
    for (UINT32 leaf = 0; leaf < 3; ++leaf) {
      Cpuid(0x80000002u + leaf, r);
      MemCopy(brand + 16 * leaf, r, 16);
    }
  } else {
    Cpuid(0, r);
    MemCopy(brand, &r[1], 4);
    MemCopy(brand + 4, &r[3], 4);
    MemCopy(brand + 8, &r[2], 4);
  }
  const CHAR8* start = brand;
  while (*start == ' ') ++start;
  SetAscii(SlotCpuType, *start ? start : "Unknown");

  if (SystemInfo_SpeedFromBrand(start, gTexts[SlotCpuSpeed], kTextCapacity)) return;
  // No speed in the brand: count time-stamp ticks over 20 ms.
  if (PlatformBootServices && PlatformBootServices->Stall) {
    const UINT64 before = __builtin_ia32_rdtsc();
    PlatformBootServices->Stall(20000);
    const UINT64 ticks = __builtin_ia32_rdtsc() - before;
    Format(gTexts[SlotCpuSpeed], kTextCapacity, u"%u MHz", ticks / 20000);
  } else {
    SetAscii(SlotCpuSpeed, "Unknown");
  }
}

void ReadMemory() {
  SetAscii(SlotMemory, "Unknown");
  if (!PlatformBootServices || !PlatformBootServices->GetMemoryMap) return;
  UINTN size = 0, key = 0, descriptor = 0;
  UINT32 version = 0;
  PlatformBootServices->GetMemoryMap(&size, nullptr, &key, &descriptor, &version);
  // The allocation itself may add descriptors: leave room for a few.
  for (int attempt = 0; attempt < 3 && size; ++attempt) {
    UINTN capacity = size + 8 * (descriptor ? descriptor : sizeof(MemoryDescriptor));
    void* map = Quorvex_AllocatePool(capacity);
    if (!map) return;
    size = capacity;
    const EFI_STATUS status =
        PlatformBootServices->GetMemoryMap(&size, map, &key, &descriptor, &version);
    if (!EFI_ERROR(status)) {
      SystemInfo_MegabyteText(SystemInfo_MemoryBytes(map, size, descriptor), gTexts[SlotMemory],
                              kTextCapacity);
      Quorvex_FreePool(map);
      return;
    }
    Quorvex_FreePool(map);
    if (status != EFI_BUFFER_TOO_SMALL) return;
  }
}

void ReadDisks() {
  SetAscii(SlotDisk, "None");
  SetAscii(SlotOdd, "None");
  if (!PlatformBootServices || !PlatformBootServices->LocateHandleBuffer) return;
  UINTN count = 0;
  EFI_HANDLE* handles = nullptr;
  if (EFI_ERROR(PlatformBootServices->LocateHandleBuffer(ByProtocol, &kBlockIoGuid, nullptr, &count,
                                                         &handles)) ||
      !handles)
    return;
  // The disk shown is the first fixed disk whose controller names its model
  // (ATA or NVMe identify data); without one, the first fixed disk's size.
  bool sized = false, named = false, odd = false;
  for (UINTN i = 0; i < count; ++i) {
    void* interface = nullptr;
    if (EFI_ERROR(PlatformBootServices->HandleProtocol(handles[i], &kBlockIoGuid, &interface)) ||
        !interface)
      continue;
    const BlockIoMedia* media = static_cast<BlockIoProtocol*>(interface)->Media;
    if (!media || media->LogicalPartition) continue;
    if (!named && !media->RemovableMedia && media->MediaPresent) {
      CHAR8 model[kTextCapacity];
      if (DiskModel_OfHandle(handles[i], model, sizeof(model))) {
        SetAscii(SlotDisk, model);
        named = true;
      } else if (!sized) {
        const UINT64 bytes = (media->LastBlock + 1) * media->BlockSize;
        if (bytes >= 1000000000ull) {
          Format(gTexts[SlotDisk], kTextCapacity, u"%u GB Disk", bytes / 1000000000ull);
        } else {
          Format(gTexts[SlotDisk], kTextCapacity, u"%u MB Disk", bytes / 1000000ull);
        }
      }
      sized = true;
    } else if (!odd && media->RemovableMedia && media->BlockSize == 2048) {
      SetAscii(SlotOdd, "CD/DVD Drive");
      odd = true;
    }
  }
  PlatformBootServices->FreePool(handles);
}

void ReadAll() {
  ReadProcessor();
  ReadMemory();
  ReadDisks();
  SetAscii(SlotBios, "QVX 1.00");
  SetAscii(SlotEc, "QVX EC 1.00");
  ApplySmbios();
}

#else

// Fixed texts: the simulator's screenshots must not depend on the host.
void ReadAll() {
  SetAscii(SlotCpuType, "Intel(R) Core(TM) i5-3337U CPU @ 1.80GHz");
  SetAscii(SlotCpuSpeed, "1.80 GHz");
  SetAscii(SlotDisk, "128 GB SSD");
  SetAscii(SlotOdd, "DVD Super Multi");
  SetAscii(SlotMemory, "4096 MB");
  SetAscii(SlotBios, "QVX 1.00");
  SetAscii(SlotEc, "QVX EC 1.00");
  ApplySmbios();
}

#endif

} // namespace

const CHAR16* SystemInfo_Text(UINT32 SettingIndex) {
  static constexpr CHAR16 kEmpty[1] = {0};
  const INT32 slot = SlotOf(SettingIndex);
  if (slot < 0) return kEmpty;
  if (!gReady) {
    ReadAll();
    gReady = true;
  }
  return gTexts[slot];
}

bool SystemInfo_SpeedFromBrand(const CHAR8* Brand, CHAR16* Out, UINTN Capacity) {
  if (!Brand || !Out || Capacity == 0) return false;
  const CHAR8* at = nullptr;
  for (const CHAR8* p = Brand; *p; ++p)
    if (*p == '@') at = p;
  if (!at) return false;
  const CHAR8* p = at + 1;
  while (*p == ' ') ++p;
  const CHAR8* number = p;
  while ((*p >= '0' && *p <= '9') || *p == '.') ++p;
  if (p == number) return false;
  const CHAR8* unit = p;
  while (*unit == ' ') ++unit;
  const bool giga = unit[0] == 'G' && unit[1] == 'H' && unit[2] == 'z';
  const bool mega = unit[0] == 'M' && unit[1] == 'H' && unit[2] == 'z';
  if (!giga && !mega) return false;
  UINTN n = 0;
  for (const CHAR8* q = number; q < p && n + 1 < Capacity; ++q) Out[n++] = static_cast<UINT8>(*q);
  const CHAR8* suffix = giga ? " GHz" : " MHz";
  for (; *suffix && n + 1 < Capacity; ++suffix) Out[n++] = static_cast<UINT8>(*suffix);
  Out[n] = 0;
  return true;
}

UINT64 SystemInfo_MemoryBytes(const void* Map, UINTN MapSize, UINTN DescriptorSize) {
  if (!Map || DescriptorSize < sizeof(MemoryDescriptor)) return 0;
  const UINT8* bytes = static_cast<const UINT8*>(Map);
  UINT64 total = 0;
  for (UINTN offset = 0; offset + sizeof(MemoryDescriptor) <= MapSize; offset += DescriptorSize) {
    MemoryDescriptor descriptor;
    MemCopy(&descriptor, bytes + offset, sizeof(descriptor));
    if (CountsAsRam(descriptor.Type)) total += descriptor.NumberOfPages * 4096;
  }
  return total;
}

void SystemInfo_MegabyteText(UINT64 Bytes, CHAR16* Out, UINTN Capacity) {
  const UINT64 megabytes = (Bytes + (1ull << 20) - 1) >> 20;
  Format(Out, Capacity, u"%u MB", megabytes);
}
