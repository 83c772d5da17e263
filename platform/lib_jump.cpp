// The restart jump. The register work is in jump_x64.S; this wrapper tells
// the AddressSanitizer (host test builds) that the frames in between are
// abandoned, so their stack shadow does not linger.
#include "platform/lib.h"

static_assert(sizeof(JumpBuffer) == 248, "jump_x64.S relies on this layout");
static_assert(offsetof(JumpBuffer, Xmm) == 80 && offsetof(JumpBuffer, Mxcsr) == 240);

#if defined(__SANITIZE_ADDRESS__)
#define QUORVEX_HAS_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUORVEX_HAS_ASAN 1
#endif
#endif

#if defined(QUORVEX_HAS_ASAN)
extern "C" void __asan_handle_no_return();
#endif

extern "C" [[noreturn]] void EFIAPI Quorvex_InternalLongJump(JumpBuffer* Buffer, UINTN Value);

void Quorvex_LongJump(JumpBuffer* Buffer, UINTN Value) {
#if defined(QUORVEX_HAS_ASAN)
  __asan_handle_no_return();
#endif
  Quorvex_InternalLongJump(Buffer, Value);
}
