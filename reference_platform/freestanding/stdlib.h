// The few C library declarations the picture decoder needs in the UEFI image
// (its allocations are mapped onto the pool wrappers, so none are here).
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

static inline int abs(int Value) {
  return Value < 0 ? -Value : Value;
}

// The Microsoft rotate-left the decoder uses when it sees that toolchain
// (clang provides it as a builtin for the UEFI target).
#if !defined(__has_builtin) || !__has_builtin(_lrotl)
static inline unsigned long _lrotl(unsigned long Value, int Shift) {
  const unsigned bits = sizeof(unsigned long) * 8;
  Shift &= bits - 1;
  return Shift ? (Value << Shift) | (Value >> (bits - Shift)) : Value;
}
#endif

#ifdef __cplusplus
}
#endif
