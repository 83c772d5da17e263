// The fake firmware's memory services: a pool (and pages) that remembers
// every block it gave out, counts what is outstanding per memory type,
// refuses frees of pointers it never gave out, and can be told to fail the
// Nth allocation.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/fake_internal.h"

namespace fake::detail {

namespace {

constexpr UINT32 kMaxMemoryType = 16; // EfiMaxMemoryType
constexpr UINT32 kOemMemoryTypeStart = 0x70000000u;
constexpr UINTN kLargestAllocation = 512ull << 20; // a bigger request finds no memory
constexpr UINTN kPageSize = 4096;

bool ValidPoolType(EFI_MEMORY_TYPE Type) {
  const UINT32 type = Type;
  if (type == EfiConventionalMemory) return false;
  return type < kMaxMemoryType || type >= kOemMemoryTypeStart;
}

UINT32 TypeIndex(EFI_MEMORY_TYPE Type) {
  return Type < kMemoryTypeCount ? static_cast<UINT32>(Type) : kMemoryTypeCount - 1;
}

// True when this allocation is the one the test asked to fail.
bool InjectedFailure() {
  if (g->FailCountdown == 0) return false;
  return --g->FailCountdown == 0;
}

void Account(const PoolBlock& Block, bool Add) {
  PoolStats& p = g->Pool;
  const UINT32 type = TypeIndex(Block.Type);
  if (Add) {
    ++p.OutstandingCount;
    p.OutstandingBytes += Block.Size;
    ++p.OutstandingCountByType[type];
    p.OutstandingBytesByType[type] += Block.Size;
    if (p.OutstandingBytes > p.PeakBytes) p.PeakBytes = p.OutstandingBytes;
  } else {
    --p.OutstandingCount;
    p.OutstandingBytes -= Block.Size;
    --p.OutstandingCountByType[type];
    p.OutstandingBytesByType[type] -= Block.Size;
  }
}

void* Remember(void* Memory, UINTN Size, EFI_MEMORY_TYPE Type, UINTN Pages) {
  // New memory holds a fixed pattern, never zeroes or leftovers, so that a
  // reader of memory it never wrote sees the same thing on every run.
  if (g->PoolFill) std::memset(Memory, kPoolFillByte, Size ? Size : 1);
  PoolBlock block{Size, Type, g->NextBlockSerial++, Pages};
  g->Blocks[Memory] = block;
  Account(block, true);
  return Memory;
}

EFI_STATUS EFIAPI AllocatePool(EFI_MEMORY_TYPE PoolType, UINTN Size, void** Buffer) {
  if (Buffer == nullptr || !ValidPoolType(PoolType)) {
    ++g->Pool.FailedAllocations;
    return EFI_INVALID_PARAMETER;
  }
  *Buffer = nullptr;
  if (InjectedFailure() || Size > kLargestAllocation) {
    ++g->Pool.FailedAllocations;
    return EFI_OUT_OF_RESOURCES;
  }
  void* memory = std::malloc(Size ? Size : 1);
  if (memory == nullptr) {
    ++g->Pool.FailedAllocations;
    return EFI_OUT_OF_RESOURCES;
  }
  *Buffer = Remember(memory, Size, PoolType, 0);
  ++g->Pool.Allocations;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FreePool(void* Buffer) {
  auto it = Buffer ? g->Blocks.find(Buffer) : g->Blocks.end();
  if (it == g->Blocks.end() || it->second.Pages != 0) {
    ++g->Pool.BadFrees;
    return EFI_INVALID_PARAMETER;
  }
  Account(it->second, false);
  g->Blocks.erase(it);
  std::free(Buffer);
  ++g->Pool.Frees;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI AllocatePages(EFI_ALLOCATE_TYPE Type, EFI_MEMORY_TYPE MemoryType, UINTN Pages,
                                EFI_PHYSICAL_ADDRESS* Memory) {
  if (Memory == nullptr || !ValidPoolType(MemoryType) || Type > AllocateAddress) {
    ++g->Pool.FailedAllocations;
    return EFI_INVALID_PARAMETER;
  }
  // A fixed address cannot be promised on the host.
  if (Type == AllocateAddress) return EFI_NOT_FOUND;
  if (InjectedFailure() || Pages == 0 || Pages > kLargestAllocation / kPageSize) {
    ++g->Pool.FailedAllocations;
    return EFI_OUT_OF_RESOURCES;
  }
  void* memory = std::aligned_alloc(kPageSize, Pages * kPageSize);
  if (memory == nullptr) return EFI_OUT_OF_RESOURCES;
  Remember(memory, Pages * kPageSize, MemoryType, Pages);
  *Memory = reinterpret_cast<EFI_PHYSICAL_ADDRESS>(memory);
  ++g->Pool.Allocations;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FreePages(EFI_PHYSICAL_ADDRESS Memory, UINTN Pages) {
  void* pointer = reinterpret_cast<void*>(Memory);
  auto it = g->Blocks.find(pointer);
  if (it == g->Blocks.end() || it->second.Pages != Pages) {
    ++g->Pool.BadFrees;
    return EFI_NOT_FOUND;
  }
  Account(it->second, false);
  g->Blocks.erase(it);
  std::free(pointer);
  ++g->Pool.Frees;
  return EFI_SUCCESS;
}

} // namespace

void* PoolAllocate(UINTN Size) {
  void* buffer = nullptr;
  if (EFI_ERROR(AllocatePool(EfiBootServicesData, Size, &buffer))) return nullptr;
  return buffer;
}

void ReleaseAllBlocks(State& S) {
  for (auto& [memory, block] : S.Blocks) std::free(memory);
  S.Blocks.clear();
}

void SetUpMemoryServices(State& S) {
  S.BootServices.AllocatePool = AllocatePool;
  S.BootServices.FreePool = FreePool;
  S.BootServices.AllocatePages = AllocatePages;
  S.BootServices.FreePages = FreePages;
}

} // namespace fake::detail

namespace fake {

using namespace detail;

PoolStats Pool() {
  return g->Pool;
}

void SetPoolFill(bool Fill) {
  g->PoolFill = Fill;
}

void ResetPoolPeak() {
  g->Pool.PeakBytes = g->Pool.OutstandingBytes;
}

void FailAllocation(UINT64 Nth) {
  g->FailCountdown = Nth;
}

std::vector<std::string> DescribeOutstanding() {
  std::vector<PoolBlock> blocks;
  for (const auto& [memory, block] : g->Blocks) blocks.push_back(block);
  std::sort(blocks.begin(), blocks.end(),
            [](const PoolBlock& a, const PoolBlock& b) { return a.Serial < b.Serial; });
  std::vector<std::string> lines;
  for (const PoolBlock& block : blocks) {
    char line[128];
    std::snprintf(line, sizeof line, "block #%llu: %llu bytes of memory type %u%s",
                  static_cast<unsigned long long>(block.Serial),
                  static_cast<unsigned long long>(block.Size), static_cast<unsigned>(block.Type),
                  block.Pages ? " (pages)" : "");
    lines.push_back(line);
  }
  return lines;
}

} // namespace fake
