#include "reference_platform/salt_source.h"

#include "platform/efi_storage.h"
#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/sha256.h"

namespace {

// The instruction can come back empty for a moment under load; ten tries is
// the processor makers' advice before giving up.
constexpr UINT32 kRdrandTries = 10;

bool CpuHasRdrand() {
#if defined(__x86_64__)
  UINT32 eax = 1, ebx = 0, ecx = 0, edx = 0;
  asm volatile("cpuid" : "+a"(eax), "=b"(ebx), "+c"(ecx), "=d"(edx));
  return (ecx >> 30) & 1u;
#else
  return false;
#endif
}

bool CpuRdrand64(UINT64* Value) {
#if defined(__x86_64__)
  UINT64 value = 0;
  UINT8 ok = 0;
  asm volatile("rdrand %0\n\tsetc %1" : "=r"(value), "=qm"(ok) : : "cc");
  *Value = value;
  return ok != 0;
#else
  (void)Value;
  return false;
#endif
}

constexpr RdrandAccess kProcessorRdrand = {CpuHasRdrand, CpuRdrand64};
constinit const RdrandAccess* gRdrand = &kProcessorRdrand;

bool FromRngProtocol(UINT8* Salt, UINTN Size) {
  if (!PlatformBootServices || !PlatformBootServices->LocateProtocol) return false;
  void* interface = nullptr;
  if (EFI_ERROR(PlatformBootServices->LocateProtocol(&kRngProtocolGuid, nullptr, &interface)) ||
      !interface)
    return false;
  auto* rng = static_cast<EFI_RNG_PROTOCOL*>(interface);
  if (!rng->GetRNG) return false;
  return !EFI_ERROR(rng->GetRNG(rng, nullptr, Size, Salt));
}

bool FromRdrand(UINT8* Salt, UINTN Size) {
  if (!gRdrand->Present || !gRdrand->Read64 || !gRdrand->Present()) return false;
  for (UINTN done = 0; done < Size;) {
    UINT64 value = 0;
    bool got = false;
    for (UINT32 tries = 0; tries < kRdrandTries && !got; ++tries) got = gRdrand->Read64(&value);
    if (!got) return false;
    const UINTN take = Size - done < sizeof(value) ? Size - done : sizeof(value);
    MemCopy(Salt + done, &value, take);
    done += take;
  }
  return true;
}

// The mixing pool every salt is drawn from, and how many draws it has fed.
struct MixState {
  UINT64 Counter;
  UINT8 Pool[kSha256DigestSize];
};
constinit MixState gMix = {};

UINT64 CycleCounter() {
#if defined(__x86_64__)
  return __builtin_ia32_rdtsc();
#else
  return 0;
#endif
}

// The previous pool, a counter, the cycle counter, the firmware's monotonic
// count and the clock, run through SHA-256: different for every salt.
void FromMix(UINT8* Salt, UINTN Size) {
  struct {
    UINT8 Pool[kSha256DigestSize];
    UINT64 Counter;
    UINT64 Cycles;
    UINT64 Monotonic;
    EFI_TIME Time;
  } seed;
  for (UINTN done = 0; done < Size;) {
    MemFill(&seed, 0, sizeof(seed));
    MemCopy(seed.Pool, gMix.Pool, sizeof(seed.Pool));
    seed.Counter = ++gMix.Counter;
    seed.Cycles = CycleCounter();
    if (PlatformBootServices && PlatformBootServices->GetNextMonotonicCount)
      PlatformBootServices->GetNextMonotonicCount(&seed.Monotonic);
    if (PlatformRuntimeServices && PlatformRuntimeServices->GetTime)
      PlatformRuntimeServices->GetTime(&seed.Time, nullptr);
    Sha256(&seed, sizeof(seed), gMix.Pool);
    const UINTN take = Size - done < kSha256DigestSize ? Size - done : kSha256DigestSize;
    MemCopy(Salt + done, gMix.Pool, take);
    done += take;
  }
  MemWipe(&seed, sizeof(seed));
}

} // namespace

SaltSource Salt_Fill(UINT8* Salt, UINTN Size) {
  if (FromRngProtocol(Salt, Size)) return SaltSource_RngProtocol;
  if (FromRdrand(Salt, Size)) return SaltSource_Rdrand;
  FromMix(Salt, Size);
  return SaltSource_Mix;
}

void Salt_SetRdrandAccess(const RdrandAccess* Access) {
  gRdrand = Access ? Access : &kProcessorRdrand;
}
