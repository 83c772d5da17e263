#include "reference_platform/passwords.h"

#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/sha256.h"

namespace {

constinit UINT64 gSaltCounter = 0;
constinit UINT8 gSaltPool[kSha256DigestSize] = {};

// Length in units, or kPasswordScanLimit when no terminator is found in time.
UINTN BoundedLength(const CHAR16* Text) {
  UINTN n = 0;
  while (n < kPasswordScanLimit && Text[n]) ++n;
  return n;
}

UINT64 CycleCounter() {
#if defined(__x86_64__) || defined(_M_X64)
  return __builtin_ia32_rdtsc();
#else
  return 0;
#endif
}

// A salt that differs for every hash: the previous pool, a counter, the cycle
// counter, the clock and the firmware's monotonic count, run through SHA-256.
void MakeSalt(PasswordKind Kind, UINT8 Salt[kPasswordSaltSize]) {
  struct {
    UINT8 Pool[kSha256DigestSize];
    UINT64 Counter;
    UINT64 Cycles;
    UINT64 Monotonic;
    EFI_TIME Time;
    UINT32 Kind;
  } seed;
  MemFill(&seed, 0, sizeof(seed));
  MemCopy(seed.Pool, gSaltPool, sizeof(seed.Pool));
  seed.Counter = ++gSaltCounter;
  seed.Cycles = CycleCounter();
  if (PlatformBootServices && PlatformBootServices->GetNextMonotonicCount)
    PlatformBootServices->GetNextMonotonicCount(&seed.Monotonic);
  if (PlatformRuntimeServices && PlatformRuntimeServices->GetTime)
    PlatformRuntimeServices->GetTime(&seed.Time, nullptr);
  seed.Kind = Kind;
  Sha256(&seed, sizeof(seed), gSaltPool);
  MemCopy(Salt, gSaltPool, kPasswordSaltSize);
}

void HashPassword(const CHAR16* Password, UINTN Units, const StoredPassword& Entry,
                  UINT8 Hash[kPasswordHashSize]) {
  // CHAR16 is stored little-endian on x86-64: the bytes are the UTF-16LE text.
  Pbkdf2HmacSha256(Password, Units * sizeof(CHAR16), Entry.Salt, kPasswordSaltSize,
                   Entry.Iterations, Hash, kPasswordHashSize);
}

UINTN MaximumUnits() {
  const UINT64 platform = Store_Get(kSetting_max_password_length);
  return platform < kPasswordMaxUnits ? static_cast<UINTN>(platform) : kPasswordMaxUnits;
}

} // namespace

bool Password_Installed(PasswordKind Kind) {
  const StoredPassword* entry = Store_Password(Kind);
  return entry && entry->Installed;
}

bool Password_Verify(PasswordKind Kind, const CHAR16* Password) {
  const StoredPassword* entry = Store_Password(Kind);
  if (!entry || !Password) return false;
  const UINTN units = BoundedLength(Password);
  if (units >= kPasswordScanLimit) return false;
  if (!entry->Installed) return units == 0;
  UINT8 hash[kPasswordHashSize];
  HashPassword(Password, units, *entry, hash);
  const bool match = ConstantTimeEqual(hash, entry->Hash, kPasswordHashSize);
  MemWipe(hash, sizeof(hash));
  return match;
}

bool Password_Set(PasswordKind Kind, const CHAR16* Password) {
  StoredPassword* entry = Store_Password(Kind);
  if (!entry || !Password) return false;
  const UINTN units = BoundedLength(Password);
  if (units > MaximumUnits()) return false;
  if (units == 0) {
    MemWipe(entry, sizeof(*entry));
    return true;
  }
  StoredPassword fresh;
  MemFill(&fresh, 0, sizeof(fresh));
  fresh.Installed = 1;
  fresh.Iterations = kPasswordIterations;
  MakeSalt(Kind, fresh.Salt);
  HashPassword(Password, units, fresh, fresh.Hash);
  MemCopy(entry, &fresh, sizeof(fresh));
  MemWipe(&fresh, sizeof(fresh));
  return true;
}

bool Password_Compare(const CHAR16* A, const CHAR16* B) {
  static constexpr CHAR16 kEmpty[1] = {0};
  if (!A) A = kEmpty;
  if (!B) B = kEmpty;
  const UINTN length_a = BoundedLength(A);
  const UINTN length_b = BoundedLength(B);
  // Walk the longer string whole; past its end a string reads as zeros.
  const UINTN span = length_a > length_b ? length_a : length_b;
  UINT16 difference = length_a == length_b ? 0 : 1;
  for (UINTN i = 0; i < span; ++i) {
    const CHAR16 a = i < length_a ? A[i] : 0;
    const CHAR16 b = i < length_b ? B[i] : 0;
    difference |= static_cast<UINT16>(a ^ b);
  }
  return difference == 0;
}
