#include "reference_platform/disk_model.h"

#include "platform/lib.h"
#include "reference_platform/platform_context.h"

namespace {

constexpr EFI_GUID kDiskInfoGuid = {
    0xD432A67F, 0x14DC, 0x484B, {0xB3, 0xBB, 0x3F, 0x02, 0x91, 0x84, 0x93, 0x27}};
constexpr EFI_GUID kIdeInterface = {
    0x5E948FE3, 0x26D3, 0x42B5, {0xAF, 0x17, 0x61, 0x02, 0x87, 0x18, 0x8D, 0xEC}};
constexpr EFI_GUID kAhciInterface = {
    0x9E498932, 0x4ABC, 0x45AF, {0xA3, 0x4D, 0x02, 0x47, 0x78, 0x7B, 0xE7, 0xC6}};
constexpr EFI_GUID kNvmeInterface = {
    0x3AB14680, 0x5D3F, 0x4A4D, {0xBC, 0xDC, 0xCC, 0x38, 0x00, 0x18, 0xC7, 0xF7}};

struct DiskInfoProtocol {
  EFI_GUID Interface;
  EFI_STATUS(EFIAPI* Inquiry)(DiskInfoProtocol* This, void* Data, UINT32* Size);
  EFI_STATUS(EFIAPI* Identify)(DiskInfoProtocol* This, void* Data, UINT32* Size);
};

constexpr UINTN kAtaModelOffset = 54;
constexpr UINTN kNvmeModelOffset = 24;
constexpr UINTN kModelLength = 40;
constexpr UINT32 kIdentifySize = 4096; // NVMe's is the larger (ATA's is 512)

bool Finish(CHAR8* Out, UINTN Length) {
  while (Length && Out[Length - 1] == ' ') --Length;
  Out[Length] = 0;
  return Length != 0;
}

void Put(CHAR8* Out, UINTN* Length, UINTN Capacity, UINT8 C) {
  if (*Length + 1 >= Capacity) return;
  if (C == ' ' && *Length == 0) return; // leading blanks go
  Out[(*Length)++] = (C >= 0x20 && C < 0x7F) ? static_cast<CHAR8>(C) : '?';
}

} // namespace

bool DiskModel_FromAta(const UINT8* Identify, UINTN Size, CHAR8* Out, UINTN Capacity) {
  if (!Out || Capacity == 0) return false;
  Out[0] = 0;
  if (!Identify || Size < kAtaModelOffset + kModelLength) return false;
  UINTN n = 0;
  for (UINTN i = 0; i < kModelLength; i += 2) {
    Put(Out, &n, Capacity, Identify[kAtaModelOffset + i + 1]);
    Put(Out, &n, Capacity, Identify[kAtaModelOffset + i]);
  }
  return Finish(Out, n);
}

bool DiskModel_FromNvme(const UINT8* Identify, UINTN Size, CHAR8* Out, UINTN Capacity) {
  if (!Out || Capacity == 0) return false;
  Out[0] = 0;
  if (!Identify || Size < kNvmeModelOffset + kModelLength) return false;
  UINTN n = 0;
  for (UINTN i = 0; i < kModelLength; ++i) Put(Out, &n, Capacity, Identify[kNvmeModelOffset + i]);
  return Finish(Out, n);
}

bool DiskModel_OfHandle(EFI_HANDLE Handle, CHAR8* Out, UINTN Capacity) {
  if (!Out || Capacity == 0) return false;
  Out[0] = 0;
  if (!PlatformBootServices || !PlatformBootServices->HandleProtocol) return false;
  void* interface = nullptr;
  if (EFI_ERROR(PlatformBootServices->HandleProtocol(Handle, &kDiskInfoGuid, &interface)) ||
      !interface)
    return false;
  DiskInfoProtocol* info = static_cast<DiskInfoProtocol*>(interface);
  const bool ata =
      GuidEqual(info->Interface, kIdeInterface) || GuidEqual(info->Interface, kAhciInterface);
  const bool nvme = GuidEqual(info->Interface, kNvmeInterface);
  if ((!ata && !nvme) || !info->Identify) return false;
  UINT8* data = static_cast<UINT8*>(Quorvex_AllocatePool(kIdentifySize));
  if (!data) return false;
  MemFill(data, 0, kIdentifySize);
  UINT32 size = kIdentifySize;
  bool found = false;
  if (!EFI_ERROR(info->Identify(info, data, &size))) {
    // A driver reporting more than the buffer held is believed only as far
    // as the buffer goes.
    const UINTN got = size < kIdentifySize ? size : kIdentifySize;
    found = ata ? DiskModel_FromAta(data, got, Out, Capacity)
                : DiskModel_FromNvme(data, got, Out, Capacity);
  }
  Quorvex_FreePool(data);
  return found;
}
