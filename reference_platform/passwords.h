// The four passwords of the settings store, kept as salted PBKDF2-HMAC-SHA-256
// hashes. Passwords arrive as NUL-terminated UTF-16 strings and are hashed as
// their UTF-16LE bytes; no clear text is kept, logged or traced.
#pragma once

#include "reference_platform/store.h"

// PBKDF2 iterations for a new hash: about 0.1 s per check on a current
// processor (docs/password-store.md has the measurements). Records keep
// their own count, so hashes made with an older count still verify.
constexpr UINT32 kPasswordIterations = 150000;
static_assert(kPasswordIterations <= kStoredPasswordMaxIterations,
              "a record with the shipped count must load as undamaged");
// A stored count above this is damage, not a hash we made: such a record
// matches nothing (a check must not run for hours).
constexpr UINT32 kPasswordMaxIterations = 10000000;
// The longest password the store accepts (the utility's own field holds 99).
constexpr UINTN kPasswordMaxUnits = 99;
// How far a password string is searched for its terminator.
constexpr UINTN kPasswordScanLimit = 512;

// The count new hashes use: kPasswordIterations unless a host test lowered
// it (the tests would otherwise spend seconds in every hash).
UINT32 Password_Iterations();
void Password_SetIterations(UINT32 Iterations);

bool Password_Installed(PasswordKind Kind);
// True when Password matches; with no password installed only the empty
// password matches.
bool Password_Verify(PasswordKind Kind, const CHAR16* Password);
// Stores a new hash; an empty password deletes. False (nothing changes) for a
// null pointer, a string without terminator within the scan limit, or one
// longer than the platform's maximum length.
bool Password_Set(PasswordKind Kind, const CHAR16* Password);
// True when both strings are equal; the time taken does not depend on where
// they differ. A null pointer counts as the empty string.
bool Password_Compare(const CHAR16* A, const CHAR16* B);
