// The text drawer and the page splitter with the real text font: random
// UTF-16 (tab marks made frequent), random boxes (also past the screen's
// edges), transparent or opaque backgrounds, with or without the double
// buffer. Nothing may be touched outside an object, every pool block comes
// back, and the splitter's slots hold exactly the text in order.
#include <vector>

#include "core/startup.h"
#include "graphics/double_buffer.h"
#include "graphics/graphics_state.h"
#include "graphics/line_break.h"
#include "graphics/text_draw.h"
#include "platform/lib.h"
#include "reference_platform/glyph_font.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

GlyphFontInstance Font;

// Units 0xF000..0xF00F stand for "%x" followed by a digit, so marks are
// common; a lone "%" or "x" still comes through as itself.
std::vector<CHAR16> MakeText(const std::vector<uint8_t>& Bytes) {
  std::vector<CHAR16> text;
  // A few hundred units fill any box of the screen; longer texts only slow
  // the search down.
  for (size_t i = 0; i + 1 < Bytes.size() && text.size() < 600; i += 2) {
    const CHAR16 unit = static_cast<CHAR16>(Bytes[i] | Bytes[i + 1] << 8);
    if (unit == 0) continue;
    if ((unit & 0xFFF0) == 0xF000) {
      text.push_back(u'%');
      text.push_back(unit & 1 ? u'X' : u'x');
      text.push_back(static_cast<CHAR16>(u'0' + (unit & 0xF) % 10));
      continue;
    }
    // Mostly printable ASCII and spaces, so words and wraps happen.
    text.push_back(unit >= 0x8000 ? static_cast<CHAR16>(u' ' + unit % 95) : unit);
  }
  text.push_back(0);
  return text;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fake::Options options;
  options.Modes = {{640, 480}};
  options.Mouse = false;
  options.Touch = false;
  fake::Reset(options);
  Quorvex_Lib_Init(nullptr, fake::SystemTable());
  ::SystemTable = fake::SystemTable();
  ::BootServices = fake::BootServices();
  ::RuntimeServices = fake::RuntimeServices();
  ::GraphicsOutput = fake::Gop();
  ::ScreenWidth = fake::ScreenWidth();
  ::ScreenHeight = fake::ScreenHeight();
  GlyphFont_Init(&Font, &kGlyphFontData);
  ::GlyphFont = &Font.Protocol;
  ::GlyphLineHeight = kGlyphFontData.LineHeight;
  // The font's cell buffer is the one long-lived block.
  const UINT8* coverage;
  UINT32 w, h, pitch;
  Font.Protocol.GetGlyph(&Font.Protocol, u'W', &coverage, &w, &h, &pitch);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  fuzz::Bytes in(Data, Size);
  const uint8_t flags = in.U8();
  const UINT64 x = in.U16() % 1200;
  const UINT64 y = in.U16() % 1000;
  const UINT64 width = in.U16() % 800;
  const UINT64 height = in.U16() % 600;
  const UINT64 maxLines = in.U8() % 6 + 1;
  const std::vector<CHAR16> text = MakeText(in.Rest());

  fuzz::PoolBalance balance;
  if (flags & 4) Quorvex_DoubleBuffer_Start(0, 0, ::ScreenWidth, ::ScreenHeight);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL ink = {0x10, 0x20, 0x30, 0};
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL back = {0xF0, 0xE0, 0xD0,
                                              static_cast<UINT8>(flags & 1 ? 0xFF : 0)};
  Quorvex_DrawString(text.data(), ink, back, x, y, width, height);
  if (flags & 4) {
    Quorvex_DoubleBuffer_Flush();
    Quorvex_DoubleBuffer_Stop();
  }
  (void)Quorvex_TextWidth(text.data());

  // Exactly MaxLines slots on the heap: a slot written past shows.
  std::vector<CHAR16> slots(maxLines * kSplitLineUnits, 0xBEEF);
  auto* lines = reinterpret_cast<CHAR16(*)[kSplitLineUnits]>(slots.data());
  UINT64 last = ~0ull;
  const EFI_STATUS status =
      Quorvex_SplitTextLines(text.data(), width, height, lines, maxLines, &last);
  fuzz::Check(status == EFI_SUCCESS || status == EFI_BUFFER_TOO_SMALL, "splitter status");
  fuzz::Check(last < maxLines, "last slot index inside the array");
  std::vector<CHAR16> joined;
  for (UINT64 s = 0; s <= last; ++s) {
    UINTN n = 0;
    while (n < kSplitLineUnits && lines[s][n] != 0) joined.push_back(lines[s][n++]);
    fuzz::Check(n < kSplitLineUnits, "every slot is terminated");
  }
  const size_t length = text.size() - 1;
  fuzz::Check(joined.size() <= length, "the slots hold no more than the text");
  for (size_t i = 0; i < joined.size(); ++i)
    fuzz::Check(joined[i] == text[i], "the slots hold the text in order");
  if (status == EFI_SUCCESS && joined.size() < length) {
    // Only marks that would open a page with nothing on it may be left out
    // at the end.
    TextLayoutCursor cursor;
    TextLayoutStep step;
    Quorvex_TextLayout_Start(&cursor, text.data() + joined.size(), width);
    while (Quorvex_TextLayout_Next(&cursor, &step))
      fuzz::Check(step.IsMark, "all of the text when it fits, but marks at the end");
  }
  return 0;
}
