// Memory copy, fill and compare. In the UEFI image they run on register
// moves and the string instructions; on the host they go through the C library so that the
// AddressSanitizer sees every access. The UEFI image also gets the C routines
// the compiler emits calls to (memcpy, memset, memmove, memcmp) and _fltused.
#include "platform/lib.h"

#if defined(_WIN32)

// Blocks of 16 bytes through a register, then the string instruction for
// the rest. An emulator without fast string instructions (QEMU's TCG) runs
// a `rep movsb` one byte per round; the block loop moves 16. The empty
// statement keeps the compiler from turning the loop back into a call of
// this very routine.
void MemCopy(void* Destination, const void* Source, UINTN Length) {
  auto* d = static_cast<UINT8*>(Destination);
  const auto* s = static_cast<const UINT8*>(Source);
  for (; Length >= 16; Length -= 16, d += 16, s += 16) {
    UINT64 a, b;
    __builtin_memcpy(&a, s, 8);
    __builtin_memcpy(&b, s + 8, 8);
    __builtin_memcpy(d, &a, 8);
    __builtin_memcpy(d + 8, &b, 8);
    asm volatile("" : : : "memory");
  }
  asm volatile("rep movsb" : "+D"(d), "+S"(s), "+c"(Length) : : "memory");
}

void MemMove(void* Destination, const void* Source, UINTN Length) {
  UINT8* d = static_cast<UINT8*>(Destination);
  const UINT8* s = static_cast<const UINT8*>(Source);
  if (d == s || Length == 0) return;
  if (d < s || d >= s + Length) {
    MemCopy(d, s, Length);
    return;
  }
  // Overlap with the destination above the source: copy backwards.
  const UINT8* last_s = s + Length - 1;
  UINT8* last_d = d + Length - 1;
  asm volatile("std\n\trep movsb\n\tcld" : "+D"(last_d), "+S"(last_s), "+c"(Length) : : "memory");
}

void MemFill(void* Buffer, UINT8 Value, UINTN Length) {
  asm volatile("rep stosb" : "+D"(Buffer), "+c"(Length) : "a"(Value) : "memory");
}

void MemFill32(void* Buffer, UINT32 Value, UINTN Count) {
  auto* p = static_cast<UINT8*>(Buffer);
  const UINT64 pair = (static_cast<UINT64>(Value) << 32) | Value;
  // Four pixels a round (see MemCopy), then pairs, then the odd one.
  for (; Count >= 4; Count -= 4, p += 16) {
    __builtin_memcpy(p, &pair, 8);
    __builtin_memcpy(p + 8, &pair, 8);
    asm volatile("" : : : "memory");
  }
  UINTN pairs = Count / 2;
  asm volatile("rep stosq" : "+D"(p), "+c"(pairs) : "a"(pair) : "memory");
  if (Count & 1) __builtin_memcpy(p, &Value, 4);
}

extern "C" {
void* memcpy(void* Destination, const void* Source, size_t Length) {
  MemCopy(Destination, Source, Length);
  return Destination;
}
void* memmove(void* Destination, const void* Source, size_t Length) {
  MemMove(Destination, Source, Length);
  return Destination;
}
void* memset(void* Buffer, int Value, size_t Length) {
  MemFill(Buffer, static_cast<UINT8>(Value), Length);
  return Buffer;
}
int memcmp(const void* A, const void* B, size_t Length) {
  const INTN r = MemCompare(A, B, Length);
  return r < 0 ? -1 : (r > 0 ? 1 : 0);
}
// The Microsoft toolchain convention: present when floating point is used.
int _fltused = 0;
}

#else

void MemCopy(void* Destination, const void* Source, UINTN Length) {
  if (Length) __builtin_memcpy(Destination, Source, Length);
}

void MemMove(void* Destination, const void* Source, UINTN Length) {
  if (Length) __builtin_memmove(Destination, Source, Length);
}

void MemFill(void* Buffer, UINT8 Value, UINTN Length) {
  if (Length) __builtin_memset(Buffer, Value, Length);
}

// Sixteen pixels a round as four 16-byte vector stores (plain accesses the
// sanitizer checks), then pairs, then the odd one left.
void MemFill32(void* Buffer, UINT32 Value, UINTN Count) {
  typedef UINT32 Quad __attribute__((vector_size(16), aligned(4)));
  UINT32* p = static_cast<UINT32*>(Buffer);
  const UINT64 pair = (static_cast<UINT64>(Value) << 32) | Value;
  const Quad quad = {Value, Value, Value, Value};
  UINTN i = 0;
  for (; i + 16 <= Count; i += 16) {
    Quad* q = reinterpret_cast<Quad*>(p + i);
    q[0] = quad;
    q[1] = quad;
    q[2] = quad;
    q[3] = quad;
  }
  for (; i + 2 <= Count; i += 2) __builtin_memcpy(p + i, &pair, sizeof pair);
  if (i < Count) p[i] = Value;
}

#endif

INTN MemCompare(const void* A, const void* B, UINTN Length) {
  const UINT8* a = static_cast<const UINT8*>(A);
  const UINT8* b = static_cast<const UINT8*>(B);
  UINTN i = 0;
  // Equal stretches eight bytes at a time; the first differing word is
  // then compared byte by byte.
  for (; i + 8 <= Length; i += 8) {
    UINT64 x;
    UINT64 y;
    __builtin_memcpy(&x, a + i, sizeof x);
    __builtin_memcpy(&y, b + i, sizeof y);
    if (x != y) break;
  }
  for (; i < Length; ++i) {
    if (a[i] != b[i]) return static_cast<INTN>(a[i]) - static_cast<INTN>(b[i]);
  }
  return 0;
}

void MemWipe(void* Buffer, UINTN Length) {
  volatile UINT8* p = static_cast<volatile UINT8*>(Buffer);
  for (UINTN i = 0; i < Length; ++i) p[i] = 0;
  // Keep the stores even if the buffer is freed right after.
  asm volatile("" : : "r"(Buffer) : "memory");
}
