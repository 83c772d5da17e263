// Platform library: bounded formatting, memory and string helpers, the pool
// wrappers over boot services and the restart jump.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "core/startup.h"
#include "platform/lib.h"

namespace {

std::u16string U(const CHAR16* s) {
  return std::u16string(s);
}

// Formats into a buffer surrounded by guard units and checks the guards.
template <typename... T> std::u16string Fmt(UINTN capacity, const CHAR16* fmt, T... args) {
  std::vector<CHAR16> storage(capacity + 8, u'#');
  CHAR16* buffer = storage.data() + 4;
  const UINTN written = Format(buffer, capacity, fmt, args...);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(storage[i], u'#') << "underrun";
  for (UINTN i = capacity + 4; i < storage.size(); ++i) EXPECT_EQ(storage[i], u'#') << "overrun";
  if (capacity == 0) return u"<untouched>";
  EXPECT_EQ(written, StrLen(buffer));
  return U(buffer);
}

template <typename... T> std::string AFmt(UINTN capacity, const CHAR8* fmt, T... args) {
  std::vector<CHAR8> storage(capacity + 8, '#');
  CHAR8* buffer = storage.data() + 4;
  const UINTN written = AsciiFormat(buffer, capacity, fmt, args...);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(storage[i], '#') << "underrun";
  for (UINTN i = capacity + 4; i < storage.size(); ++i) EXPECT_EQ(storage[i], '#') << "overrun";
  if (capacity == 0) return "<untouched>";
  EXPECT_EQ(written, AsciiStrLen(buffer));
  return std::string(buffer);
}

TEST(Format, NumbersPaddingAndStrings) {
  EXPECT_EQ(Fmt(64, u"%d|%d|%d", 0, -7, 2147483647), u"0|-7|2147483647");
  // Clock and date fields; the width is a minimum.
  EXPECT_EQ(Fmt(64, u"%02d:%02d:%02d", 9, 5, 59), u"09:05:59");
  EXPECT_EQ(Fmt(64, u"%04d/%02d|%02d", 2024, 12, 123), u"2024/12|123");
  EXPECT_EQ(Fmt(64, u"%03d|%5d|%-5d|", -5, -42, 42), u"-05|  -42|42   |");
  EXPECT_EQ(Fmt(64, u"%u %x %X", 4000000000u, 0xBEEFu, 0xBEEFu), u"4000000000 beef BEEF");
  EXPECT_EQ(Fmt(64, u"%lx", static_cast<UINT64>(0xFFFF800012345678ull)), u"ffff800012345678");
  EXPECT_EQ(Fmt(64, u"%d", static_cast<INT64>(INT64_MIN)), u"-9223372036854775808");
  // A negative int printed as hex is its 32-bit pattern; with 'l' the 64-bit one.
  EXPECT_EQ(Fmt(64, u"%x %lx", -1, -1), u"ffffffff ffffffffffffffff");
  EXPECT_EQ(Fmt(64, u"%c%c%%%c", u'A', 0x00E9, 'z'), u"A\u00E9%z");

  const CHAR16* wide = u"Heure syst\u00E8me";
  EXPECT_EQ(Fmt(64, u"[%s][%s]", wide, "ascii"), u"[Heure syst\u00E8me][ascii]");
  EXPECT_EQ(Fmt(64, u"[%6s][%-6s]", u"ab", "cd"), u"[    ab][cd    ]");
  EXPECT_EQ(Fmt(64, u"%s", static_cast<const CHAR16*>(nullptr)), u"(null)");
  // UTF-16 into ASCII: anything beyond 7 bits becomes '?'.
  EXPECT_EQ(AFmt(64, "%s|%s|%c", wide, "ascii", 0x3042), "Heure syst?me|ascii|?");
}

TEST(Format, BoundsAndMalformedFormats) {
  // Truncated at capacity - 1 units, terminated, return value = units written.
  EXPECT_EQ(Fmt(6, u"%s", u"abcdefgh"), u"abcde");
  EXPECT_EQ(Fmt(4, u"%04d", 7), u"000");
  EXPECT_EQ(Fmt(5, u"x%dy", -123456), u"x-12");
  EXPECT_EQ(Fmt(1, u"anything %d", 5), u"");
  EXPECT_EQ(Fmt(0, u"anything"), u"<untouched>");
  EXPECT_EQ(AFmt(3, "%lx", static_cast<UINT64>(0xABCDEF)), "ab");
  EXPECT_EQ(Fmt(4, u"%d", 123), u"123"); // exactly full
  // A huge width is capped and still bounded.
  EXPECT_EQ(Fmt(300, u"%999999999d", 1).size(), 255u);
  EXPECT_EQ(Format(static_cast<CHAR16*>(nullptr), 10, u"x"), 0u);

  // Missing arguments print 0 or nothing; unknown conversions are copied; a
  // type mismatch never dereferences a number as a string.
  EXPECT_EQ(Fmt(64, u"%d-%s-%c-%x"), u"0---0");
  EXPECT_EQ(Fmt(64, u"%q %5y 100%", 1), u"%q %5y 100%");
  EXPECT_EQ(Fmt(64, u"[%s][%d][%c]", 42, u"str", u"str"), u"[][0][]");
  EXPECT_EQ(Fmt(64, static_cast<const CHAR16*>(nullptr), 1), u"");
}

TEST(Memory, MoveFillCompareAndStrings) {
  UINT8 buf[16];
  for (int i = 0; i < 16; ++i) buf[i] = static_cast<UINT8>(i);
  MemMove(buf + 2, buf, 10); // overlap, destination above
  const UINT8 up[] = {0, 1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 13, 14, 15};
  EXPECT_EQ(0, std::memcmp(buf, up, 16));
  for (int i = 0; i < 16; ++i) buf[i] = static_cast<UINT8>(i);
  MemMove(buf, buf + 3, 10); // overlap, destination below
  const UINT8 down[] = {3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 10, 11, 12, 13, 14, 15};
  EXPECT_EQ(0, std::memcmp(buf, down, 16));

  UINT32 pixels[7] = {};
  MemFill32(pixels + 1, 0x00EBF1FAu, 5);
  EXPECT_EQ(pixels[0], 0u);
  EXPECT_EQ(pixels[5], 0x00EBF1FAu);
  EXPECT_EQ(pixels[6], 0u);
  // Pixels go in pairs: every count, odd or even, from a start that is not
  // 8-byte aligned, fills exactly Count pixels.
  for (UINTN count = 0; count <= 6; ++count) {
    UINT32 row[9] = {};
    UINT32* start = reinterpret_cast<uintptr_t>(row) % 8 == 0 ? row + 1 : row;
    MemFill32(start, 0x12345678u, count);
    for (UINTN i = 0; i < 9; ++i) {
      const bool inside = row + i >= start && row + i < start + count;
      EXPECT_EQ(row[i], inside ? 0x12345678u : 0u) << "count " << count << " pixel " << i;
    }
  }
  // Bytes compare unsigned.
  UINT8 hi[2] = {1, 0xF0}, lo[2] = {1, 0x10};
  EXPECT_GT(MemCompare(hi, lo, 2), 0);
  EXPECT_EQ(MemCompare(hi, lo, 1), 0);

  CHAR16 dst[6];
  StrCopy(dst, 6, u"Power Management");
  EXPECT_EQ(U(dst), u"Power");
  StrCopy(dst, 6, nullptr);
  EXPECT_EQ(U(dst), u"");
  StrCopy(nullptr, 5, u"x"); // nothing to write into: no effect
  EXPECT_EQ(StrLen(nullptr), 0u);
  EXPECT_GT(StrCompare(u"\u3042", u"z"), 0); // code units compare unsigned
}

// Pool wrappers over a fake boot services table.
struct PoolLog {
  std::vector<std::string> events;
  bool fail = false;
  bool wiped_before_free = false;
  UINTN secret_size = 0;
};
PoolLog* g_pool = nullptr;

EFI_STATUS EFIAPI FakeAllocatePool(EFI_MEMORY_TYPE type, UINTN size, void** buffer) {
  g_pool->events.push_back("alloc type=" + std::to_string(type) + " size=" + std::to_string(size));
  if (g_pool->fail) return EFI_OUT_OF_RESOURCES;
  *buffer = std::malloc(size ? size : 1);
  return EFI_SUCCESS;
}
EFI_STATUS EFIAPI FakeFreePool(void* buffer) {
  g_pool->events.push_back("free");
  if (g_pool->secret_size) {
    const UINT8* p = static_cast<const UINT8*>(buffer);
    g_pool->wiped_before_free = true;
    for (UINTN i = 0; i < g_pool->secret_size; ++i)
      if (p[i]) g_pool->wiped_before_free = false;
  }
  std::free(buffer);
  return EFI_SUCCESS;
}

#if QUORVEX_POOL_TRACE_LINKED
std::vector<std::string>* g_trace = nullptr;
EFI_STATUS EFIAPI FakeTrace(DebugTraceProtocolTable*, const CHAR8* format, const CHAR8* file,
                            const CHAR8* function, UINT64 line, UINT64 address) {
  CHAR8 line_text[256];
  AsciiFormat(line_text, sizeof line_text, format, file, function, line, address);
  g_trace->push_back(line_text);
  return EFI_SUCCESS;
}
#endif

class Pool : public ::testing::Test {
protected:
  void SetUp() override {
    g_pool = &log_;
    boot_.AllocatePool = FakeAllocatePool;
    boot_.FreePool = FakeFreePool;
    system_.BootServices = &boot_;
    Quorvex_Lib_Init(nullptr, &system_);
  }
  void TearDown() override {
    Quorvex_Lib_Init(nullptr, nullptr);
    g_pool = nullptr;
  }
  PoolLog log_;
  EFI_BOOT_SERVICES boot_{};
  EFI_SYSTEM_TABLE system_{};
};

TEST_F(Pool, AllocatesBootServicesDataAndFailsCleanly) {
  void* p = Quorvex_AllocatePool(40);
  ASSERT_NE(p, nullptr);
  Quorvex_FreePool(p);
  Quorvex_FreePool(nullptr); // not passed on
  log_.fail = true;
  EXPECT_EQ(Quorvex_AllocatePool(8), nullptr);
  EXPECT_EQ(log_.events,
            (std::vector<std::string>{"alloc type=4 size=40", "free", "alloc type=4 size=8"}));
  // Without a system table nothing is called and nothing is returned.
  Quorvex_Lib_Init(nullptr, nullptr);
  log_.events.clear();
  EXPECT_EQ(Quorvex_AllocatePool(8), nullptr);
  Quorvex_FreePool(reinterpret_cast<void*>(0x1000));
  EXPECT_TRUE(log_.events.empty());
}

TEST_F(Pool, SecretsAreWipedBeforeTheyAreFreed) {
  CHAR16* secret = static_cast<CHAR16*>(Quorvex_AllocatePool(16 * sizeof(CHAR16)));
  ASSERT_NE(secret, nullptr);
  StrCopy(secret, 16, u"hunter2");
  log_.secret_size = 16 * sizeof(CHAR16);
  Quorvex_FreeSecret(secret, 16 * sizeof(CHAR16));
  EXPECT_TRUE(log_.wiped_before_free);
}

TEST_F(Pool, ScopedArrayFreesAtScopeEndAndRefusesOverflowingCounts) {
  {
    QUORVEX_POOL_ARRAY(UINT32, pixels, 100);
    ASSERT_TRUE(pixels);
    pixels[99] = 1;
    EXPECT_EQ(log_.events.size(), 1u);
  }
  EXPECT_EQ(log_.events, (std::vector<std::string>{"alloc type=4 size=400", "free"}));
  // A width x height product that wraps around must not become a small buffer.
  log_.events.clear();
  {
    QUORVEX_POOL_ARRAY(UINT32, huge, (~static_cast<UINTN>(0) / 4) + 2);
    EXPECT_FALSE(huge);
  }
  EXPECT_TRUE(log_.events.empty());
}

#if QUORVEX_POOL_TRACE_LINKED
TEST_F(Pool, AllocationTraceNamesTheCaller) {
  std::vector<std::string> trace;
  g_trace = &trace;
  DebugTraceProtocolTable table{};
  table.Operation[kDebugTraceOperationIndex] = FakeTrace;
  DebugTraceProtocol = &table;
  void* p = Quorvex_AllocatePoolAt(24, "pages/main_page.cpp", "Quorvex_MainPage_Init", 77);
  Quorvex_FreePoolAt(p, "pages/main_page.cpp", "Quorvex_MainPage_Init", 80);
  log_.fail = true;
  Quorvex_AllocatePoolAt(24, "x.cpp", "F", 2); // a failed allocation is not traced
  DebugTraceProtocol = nullptr;
  Quorvex_AllocatePoolAt(24, "x.cpp", "F", 3); // no protocol: no trace, no crash
  g_trace = nullptr;

  CHAR8 address[32];
  AsciiFormat(address, sizeof address, "%lx", p);
  ASSERT_EQ(trace.size(), 2u);
  EXPECT_EQ(trace[0], std::string("Malloc at file : pages/main_page.cpp function : "
                                  "Quorvex_MainPage_Init line : 77 address : ") +
                          address);
  EXPECT_EQ(trace[1].substr(0, 9), "FreePool ");
}
#endif

// Sets every register the Microsoft convention preserves (and MXCSR) to a
// pattern, saves a restart point, clobbers them all and jumps back, then
// returns a bit mask of the registers that did not come back: bits 0-7 rbx
// rbp rdi rsi r12-r15, bits 8-17 xmm6-xmm15, bit 18 MXCSR, bit 20 the wrong
// value from the jump. Written in assembly so that no compiler choice
// hides a register the jump forgot.
extern "C" UINT64 EFIAPI JumpRegisterProbe(JumpBuffer* Buffer);
extern "C" [[noreturn]] void EFIAPI Quorvex_InternalLongJump(JumpBuffer* Buffer, UINTN Value);
asm(R"(
        .text
        .globl JumpRegisterProbe
        .type JumpRegisterProbe, @function
JumpRegisterProbe:
        .irp r, rbx,rbp,rdi,rsi,r12,r13,r14,r15
        pushq %\r
        .endr
        subq $216, %rsp
        .irp n, 6,7,8,9,10,11,12,13,14,15
        movdqu %xmm\n, (\n*16-64)(%rsp)
        .endr
        movq %rcx, 192(%rsp)
        stmxcsr 200(%rsp)
        movl $0x7F80, 204(%rsp)
        ldmxcsr 204(%rsp)
        .set probe_n, 1
        .irp r, rbx,rbp,rdi,rsi,r12,r13,r14,r15
        movabsq $(0x1111111111111100 + probe_n), %\r
        .set probe_n, probe_n + 1
        .endr
        .irp n, 6,7,8,9,10,11,12,13,14,15
        movabsq $0x22222222222222\n, %rax
        movq %rax, %xmm\n
        punpcklqdq %xmm\n, %xmm\n
        .endr
        movq 192(%rsp), %rcx
        call Quorvex_SetJump
        testq %rax, %rax
        jnz 2f
        .irp r, rbx,rbp,rdi,rsi,r12,r13,r14,r15
        xorq %\r, %\r
        .endr
        .irp n, 6,7,8,9,10,11,12,13,14,15
        pxor %xmm\n, %xmm\n
        .endr
        movl $0x1F80, 204(%rsp)
        ldmxcsr 204(%rsp)
        movq 192(%rsp), %rcx
        movl $7, %edx
        call Quorvex_InternalLongJump
2:
        xorl %r11d, %r11d
        cmpq $7, %rax
        je 3f
        orq $0x100000, %r11
3:
        .set probe_n, 1
        .irp r, rbx,rbp,rdi,rsi,r12,r13,r14,r15
        movabsq $(0x1111111111111100 + probe_n), %rax
        cmpq %rax, %\r
        je 3f
        orq $(1 << (probe_n - 1)), %r11
3:
        .set probe_n, probe_n + 1
        .endr
        .irp n, 6,7,8,9,10,11,12,13,14,15
        movabsq $0x22222222222222\n, %rax
        movq %rax, %xmm0
        punpcklqdq %xmm0, %xmm0
        pcmpeqb %xmm\n, %xmm0
        pmovmskb %xmm0, %eax
        cmpl $0xFFFF, %eax
        je 3f
        orq $(1 << (\n + 2)), %r11
3:
        .endr
        stmxcsr 204(%rsp)
        cmpl $0x7F80, 204(%rsp)
        je 3f
        orq $0x40000, %r11
3:
        ldmxcsr 200(%rsp)
        .irp n, 6,7,8,9,10,11,12,13,14,15
        movdqu (\n*16-64)(%rsp), %xmm\n
        .endr
        addq $216, %rsp
        .irp r, r15,r14,r13,r12,rsi,rdi,rbp,rbx
        popq %\r
        .endr
        movq %r11, %rax
        ret
        .size JumpRegisterProbe, . - JumpRegisterProbe
)");

TEST(Jump, RestoresEveryPreservedRegister) {
  JumpBuffer buffer{};
  EXPECT_EQ(JumpRegisterProbe(&buffer), 0u);
}

JumpBuffer g_restart;
int g_depth_reached = 0;

// Recursion with stack arrays (sanitizer red zones) that jumps out at the
// bottom, like a restart out of a page's key loop.
__attribute__((noinline)) void DeepThenJump(int depth, UINTN value) {
  volatile char frame[200];
  frame[depth % 200] = static_cast<char>(depth);
  g_depth_reached = depth + frame[depth % 200] * 0;
  if (depth < 0) return;
  if (depth == 0) Quorvex_LongJump(&g_restart, value);
  DeepThenJump(depth - 1, value);
  frame[0] = 0; // keeps the frame live across the call
}

// Uses the same stack region as the abandoned frames, with a different
// layout: stale red zones from DeepThenJump would be reported here.
__attribute__((noinline)) int UseStack() {
  volatile unsigned char big[4096];
  for (int i = 0; i < 4096; ++i) big[i] = static_cast<unsigned char>(i);
  int sum = 0;
  for (int i = 0; i < 4096; i += 64) sum += big[i];
  return sum;
}

// One restart round: the restart point lives in this frame while the jump
// comes from 31 frames further down.
__attribute__((noinline)) UINTN RestartRound(UINTN value) {
  const UINTN r = Quorvex_SetJump(&g_restart);
  if (r == 0) {
    DeepThenJump(30, value);
    ADD_FAILURE() << "LongJump returned";
  }
  return r;
}

TEST(Jump, ReturnsTheValueAndUnwindsNestedFrames) {
  for (int round = 0; round < 50; ++round) {
    g_depth_reached = -1;
    // LongJump with 0 arrives as 1, like longjmp.
    EXPECT_EQ(RestartRound(round % 2 == 0 ? 5 : 0), round % 2 == 0 ? 5u : 1u);
    EXPECT_EQ(g_depth_reached, 0);
    EXPECT_EQ(UseStack(), 6144);
  }
}

} // namespace
