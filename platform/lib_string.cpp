// UTF-16 and ASCII string helpers.
#include "platform/lib.h"

UINTN StrLen(const CHAR16* String) {
  if (!String) return 0;
  UINTN n = 0;
  while (String[n]) ++n;
  return n;
}

UINTN AsciiStrLen(const CHAR8* String) {
  if (!String) return 0;
  UINTN n = 0;
  while (String[n]) ++n;
  return n;
}

void StrCopy(CHAR16* Destination, UINTN Capacity, const CHAR16* Source) {
  if (!Destination || Capacity == 0) return;
  UINTN n = 0;
  if (Source) {
    while (n + 1 < Capacity && Source[n]) {
      Destination[n] = Source[n];
      ++n;
    }
  }
  Destination[n] = 0;
}

INTN StrCompare(const CHAR16* A, const CHAR16* B) {
  static constexpr CHAR16 kEmpty[1] = {0};
  if (!A) A = kEmpty;
  if (!B) B = kEmpty;
  while (*A && *A == *B) {
    ++A;
    ++B;
  }
  return static_cast<INTN>(*A) - static_cast<INTN>(*B);
}
