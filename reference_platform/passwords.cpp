#include "reference_platform/passwords.h"

#include "platform/lib.h"
#include "reference_platform/salt_source.h"
#include "reference_platform/serial.h"
#include "reference_platform/sha256.h"

namespace {

constinit UINT32 gIterations = kPasswordIterations;
constinit bool gSourceReported = false;

// Once per start: which source the salts come from (a machine without a
// random source is worth knowing about).
void ReportSaltSource(SaltSource Source) {
  if (gSourceReported) return;
  gSourceReported = true;
  switch (Source) {
  case SaltSource_RngProtocol:
    Serial_WriteLine("Quorvex passwords: salts from the firmware's RNG protocol");
    break;
  case SaltSource_Rdrand:
    Serial_WriteLine("Quorvex passwords: salts from the processor's RDRAND");
    break;
  default:
    Serial_WriteLine("Quorvex passwords: no random source, salts from counters and the clock");
    break;
  }
}

// Length in units, or kPasswordScanLimit when no terminator is found in time.
UINTN BoundedLength(const CHAR16* Text) {
  UINTN n = 0;
  while (n < kPasswordScanLimit && Text[n]) ++n;
  return n;
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

UINT32 Password_Iterations() {
  return gIterations;
}

void Password_SetIterations(UINT32 Iterations) {
  gIterations = Iterations == 0                       ? kPasswordIterations
                : Iterations > kPasswordMaxIterations ? kPasswordMaxIterations
                                                      : Iterations;
}

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
  if (entry->Iterations == 0 || entry->Iterations > kPasswordMaxIterations) return false;
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
  fresh.Iterations = gIterations;
  ReportSaltSource(Salt_Fill(fresh.Salt, kPasswordSaltSize));
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
