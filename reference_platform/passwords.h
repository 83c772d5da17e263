// The four passwords of the settings store, kept as salted PBKDF2-HMAC-SHA-256
// hashes. Passwords arrive as NUL-terminated UTF-16 strings and are hashed as
// their UTF-16LE bytes; no clear text is kept, logged or traced.
#pragma once

#include "reference_platform/store.h"

// Modest enough for QEMU without acceleration, where a check must stay quick.
constexpr UINT32 kPasswordIterations = 2000;
// The longest password the store accepts (the utility's own field holds 99).
constexpr UINTN kPasswordMaxUnits = 99;
// How far a password string is searched for its terminator.
constexpr UINTN kPasswordScanLimit = 512;

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
