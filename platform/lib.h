// The platform library: memory and string helpers, bounded formatting, the
// restart point, and the pool allocation wrappers. Written freestanding so the
// same code runs in the UEFI image and under the host tests.
#pragma once

#include "platform/efi.h"

// ---------------------------------------------------------------------------
// Initialisation: keeps the system table for the pool wrappers.
// ---------------------------------------------------------------------------
void Quorvex_Lib_Init(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable);

// ---------------------------------------------------------------------------
// Memory
// ---------------------------------------------------------------------------
void MemCopy(void* Destination, const void* Source, UINTN Length);
void MemMove(void* Destination, const void* Source, UINTN Length);
void MemFill(void* Buffer, UINT8 Value, UINTN Length);
INTN MemCompare(const void* A, const void* B, UINTN Length);
// Fills Count 32-bit pixels (or any 32-bit words) with Value.
void MemFill32(void* Buffer, UINT32 Value, UINTN Count);
// Zeroes a buffer in a way the optimiser cannot drop (used on passwords).
void MemWipe(void* Buffer, UINTN Length);

// ---------------------------------------------------------------------------
// UTF-16 and ASCII strings
// ---------------------------------------------------------------------------
UINTN StrLen(const CHAR16* String);
UINTN AsciiStrLen(const CHAR8* String);
// Copies at most Capacity - 1 units and always terminates (Capacity > 0).
void StrCopy(CHAR16* Destination, UINTN Capacity, const CHAR16* Source);
INTN StrCompare(const CHAR16* A, const CHAR16* B);

// ---------------------------------------------------------------------------
// Bounded formatting: %d %02d %04d %u %x %lx %s %c (and %%). Writes at most
// Capacity - 1 units and always terminates; returns the units written.
// %s takes a CHAR16* or CHAR8* string, %c a character, the numbers any integer.
// ---------------------------------------------------------------------------
struct FormatArg {
  enum Kind : UINT8 { Signed, Unsigned, Utf16String, AsciiString } kind;
  union {
    INT64 s;
    UINT64 u;
    const CHAR16* w;
    const CHAR8* a;
  };
  constexpr FormatArg(int v) : kind(Signed), s(v) {}
  constexpr FormatArg(long v) : kind(Signed), s(v) {}
  constexpr FormatArg(long long v) : kind(Signed), s(v) {}
  constexpr FormatArg(unsigned v) : kind(Unsigned), u(v) {}
  constexpr FormatArg(unsigned long v) : kind(Unsigned), u(v) {}
  constexpr FormatArg(unsigned long long v) : kind(Unsigned), u(v) {}
  constexpr FormatArg(unsigned char v) : kind(Unsigned), u(v) {}
  constexpr FormatArg(unsigned short v) : kind(Unsigned), u(v) {}
  constexpr FormatArg(char16_t v) : kind(Unsigned), u(v) {}
  constexpr FormatArg(const CHAR16* v) : kind(Utf16String), w(v) {}
  constexpr FormatArg(CHAR16* v) : kind(Utf16String), w(v) {}
  constexpr FormatArg(const CHAR8* v) : kind(AsciiString), a(v) {}
  constexpr FormatArg(CHAR8* v) : kind(AsciiString), a(v) {}
  FormatArg(const void* v) : kind(Unsigned), u(reinterpret_cast<UINT64>(v)) {}
};

UINTN FormatV(CHAR16* Buffer, UINTN Capacity, const CHAR16* Format, const FormatArg* Args,
              UINTN ArgCount);
UINTN AsciiFormatV(CHAR8* Buffer, UINTN Capacity, const CHAR8* Format, const FormatArg* Args,
                   UINTN ArgCount);

template <typename... T>
UINTN Format(CHAR16* Buffer, UINTN Capacity, const CHAR16* Fmt, T... Values) {
  const FormatArg args[sizeof...(T) + 1] = {FormatArg(Values)..., FormatArg(0)};
  return FormatV(Buffer, Capacity, Fmt, args, sizeof...(T));
}
template <typename... T>
UINTN AsciiFormat(CHAR8* Buffer, UINTN Capacity, const CHAR8* Fmt, T... Values) {
  const FormatArg args[sizeof...(T) + 1] = {FormatArg(Values)..., FormatArg(0)};
  return AsciiFormatV(Buffer, Capacity, Fmt, args, sizeof...(T));
}

// ---------------------------------------------------------------------------
// Restart point. SetJump returns 0 when called and 1 (the LongJump value) when
// a LongJump comes back to it. The frame that called SetJump must still be
// live at the LongJump. Nothing with a non-trivial destructor may be alive in
// the frames that a LongJump abandons.
// ---------------------------------------------------------------------------
struct JumpBuffer {
  UINT64 Registers[10]; // rbx rsp rbp rdi rsi r12 r13 r14 r15 rip
  UINT64 Xmm[20];       // xmm6-xmm15, 16 bytes each
  UINT64 Mxcsr;
};
extern "C" UINTN EFIAPI __attribute__((returns_twice)) Quorvex_SetJump(JumpBuffer* Buffer);
[[noreturn]] void Quorvex_LongJump(JumpBuffer* Buffer, UINTN Value);

// ---------------------------------------------------------------------------
// Pool allocations (EfiBootServicesData). Every allocation and free goes
// through these wrappers; when kAllocationTrace is on, each is followed by a
// line on the debug trace protocol naming the module, routine, line and
// address.
// ---------------------------------------------------------------------------
#ifndef QUORVEX_ALLOCATION_TRACE
#define QUORVEX_ALLOCATION_TRACE 0
#endif
constexpr bool kAllocationTrace = QUORVEX_ALLOCATION_TRACE != 0;

void* Quorvex_AllocatePoolAt(UINTN Size, const CHAR8* File, const CHAR8* Function, UINTN Line);
void Quorvex_FreePoolAt(void* Buffer, const CHAR8* File, const CHAR8* Function, UINTN Line);
// Wipes Size bytes before freeing (password buffers).
void Quorvex_FreeSecretAt(void* Buffer, UINTN Size, const CHAR8* File, const CHAR8* Function,
                          UINTN Line);

#define Quorvex_AllocatePool(Size) Quorvex_AllocatePoolAt((Size), __FILE__, __func__, __LINE__)
#define Quorvex_FreePool(Buffer) Quorvex_FreePoolAt((Buffer), __FILE__, __func__, __LINE__)
#define Quorvex_FreeSecret(Buffer, Size)                                                           \
  Quorvex_FreeSecretAt((Buffer), (Size), __FILE__, __func__, __LINE__)

// A scoped pool array for drawing routines: allocated on construction, freed
// when the scope ends. Never keep one alive around a loop that polls input
// (a restart jump would skip the destructor).
template <typename T> class PoolArray {
public:
  // A Count whose byte size does not fit in UINTN gives an empty array.
  PoolArray(UINTN Count, const CHAR8* File, const CHAR8* Function, UINTN Line)
      : file_(File), function_(Function), line_(Line),
        data_(Count > ~static_cast<UINTN>(0) / sizeof(T)
                  ? nullptr
                  : static_cast<T*>(
                        Quorvex_AllocatePoolAt(Count * sizeof(T), File, Function, Line))) {}
  ~PoolArray() {
    if (data_) Quorvex_FreePoolAt(data_, file_, function_, line_);
  }
  PoolArray(const PoolArray&) = delete;
  PoolArray& operator=(const PoolArray&) = delete;
  T* get() const { return data_; }
  explicit operator bool() const { return data_ != nullptr; }
  T& operator[](UINTN i) const { return data_[i]; }

private:
  const CHAR8* file_;
  const CHAR8* function_;
  UINTN line_;
  T* data_;
};
#define QUORVEX_POOL_ARRAY(Type, Name, Count)                                                      \
  PoolArray<Type> Name((Count), __FILE__, __func__, __LINE__)
