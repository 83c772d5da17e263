// Text layout and glyph blending: tab marks, wrapping, Japanese line breaks,
// the cut at the box bottom, and the page splitter agreeing with the drawer.
#include <string>
#include <vector>

#include "graphics/text_draw.h"
#include "graphics_test_support.h"

namespace {

using gfxtest::kLineHeight;

class TextDrawTest : public GraphicsTest {
protected:
  static constexpr UINT64 kX = 100;
  static constexpr UINT64 kY = 100;
  static EFI_STATUS Draw(const CHAR16* Text, UINT64 Width, UINT64 Height,
                         EFI_GRAPHICS_OUTPUT_BLT_PIXEL Back = Pixel(0)) {
    return Quorvex_DrawString(Text, Pixel(0xFFFFFF), Back, kX, kY, Width, Height);
  }
  // The characters of text line N of the box.
  static std::vector<Mark> Line(UINT64 N, UINT64 Width = 400) {
    return MarksInRow(kX, kY + N * kLineHeight, Width);
  }
};

TEST_F(TextDrawTest, TabMarksSetThePenFromTheBoxEdge) {
  ASSERT_EQ(Draw(u"abc%x1000def", 400, 100), EFI_SUCCESS);
  EXPECT_EQ(Line(0), (std::vector<Mark>{{0, u'a'}, {10, u'b'}, {20, u'c'}}));
  EXPECT_EQ(Line(1), (std::vector<Mark>{{0, u'd'}, {10, u'e'}, {20, u'f'}}));
  EXPECT_TRUE(Line(2).empty());

  // %x220 (either case) aligns what follows at 220; the mark is not drawn.
  ASSERT_EQ(Draw(u"ab%x220cd%X300e", 400, 100), EFI_SUCCESS);
  EXPECT_EQ(Line(0),
            (std::vector<Mark>{{0, u'a'}, {10, u'b'}, {220, u'c'}, {230, u'd'}, {300, u'e'}}));
  // A mark moving the pen back starts a new line; one moving it nowhere not.
  Paint(kX, kY, 400, 100, 0);
  ASSERT_EQ(Draw(u"%x0Wxyz%x5q%x15r", 400, 100), EFI_SUCCESS);
  EXPECT_EQ(Line(0), (std::vector<Mark>{{0, u'W'}, {20, u'x'}, {30, u'y'}, {40, u'z'}}));
  EXPECT_EQ(Line(1), (std::vector<Mark>{{5, u'q'}, {15, u'r'}}));
  // "%x" followed by a character outside '0'..'@' is ordinary text.
  ASSERT_EQ(Draw(u"%xAb", 400, 100), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY, 400), u"%xAb");
}

TEST_F(TextDrawTest, WordsWrapWholeAndOverlongWordsWrapByCharacter) {
  // "cd" ends exactly at the edge (30 + 20 = 50): no wrap.
  ASSERT_EQ(Draw(u"ab cd", 50, 100), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY, 50), u"ab cd");

  // One pixel less: the next word moves down whole.
  Paint(kX, kY, 60, 60, 0);
  ASSERT_EQ(Draw(u"ab cd", 49, 100), EFI_SUCCESS);
  EXPECT_EQ(Line(0, 49), (std::vector<Mark>{{0, u'a'}, {10, u'b'}, {20, u' '}}));
  EXPECT_EQ(Line(1, 49), (std::vector<Mark>{{0, u'c'}, {10, u'd'}}));

  // A word longer than the box: new line, then cut by character.
  Paint(kX, kY, 60, 120, 0);
  ASSERT_EQ(Draw(u"xy abcdefghkl", 35, 120), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY, 35), u"xy ");
  EXPECT_EQ(TextInRow(kX, kY + kLineHeight, 35), u"abc");
  EXPECT_EQ(TextInRow(kX, kY + 2 * kLineHeight, 35), u"def");
  EXPECT_EQ(TextInRow(kX, kY + 3 * kLineHeight, 35), u"ghk");
  EXPECT_EQ(TextInRow(kX, kY + 4 * kLineHeight, 35), u"l");

  // The word is measured only up to a tab mark.
  Paint(kX, kY, 60, 120, 0);
  ASSERT_EQ(Draw(u"a bb%x0cccccc", 60, 60), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY, 60), u"a bb");
  EXPECT_EQ(TextInRow(kX, kY + kLineHeight, 60), u"cccccc");
}

// The test font marks each glyph with its code unit's low byte.
std::u16string Low(std::u16string Text) {
  for (char16_t& c : Text) c = static_cast<char16_t>(c & 0xFF);
  return Text;
}

TEST_F(TextDrawTest, JapaneseBreaksBetweenCharactersButNotBeforeClosingMarks) {
  // Glyphs are 10 wide. Japanese breaks between any two characters.
  ASSERT_EQ(Draw(u"<T> あいうえおか", 50, 100), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY, 50), Low(u"<T> あ"));
  EXPECT_EQ(TextInRow(kX, kY + kLineHeight, 50), Low(u"いうえおか"));

  // "。" and small kana never start a line; an opening bracket never ends one.
  Paint(kX, kY, 60, 100, 0);
  ASSERT_EQ(Draw(u"あいうえお。か", 50, 100), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY, 50), Low(u"あいうえ"));
  EXPECT_EQ(TextInRow(kX, kY + kLineHeight, 50), Low(u"お。か"));
  Paint(kX, kY, 60, 100, 0);
  ASSERT_EQ(Draw(u"あいうえ（ッー）", 50, 100), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY, 50), Low(u"あいうえ"));
  EXPECT_EQ(TextInRow(kX, kY + kLineHeight, 50), Low(u"（ッー）"));

  // A no-break space holds its neighbours together.
  Paint(kX, kY, 60, 100, 0);
  ASSERT_EQ(Draw(u"ab cd\u00A0?", 50, 100), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY, 50), u"ab ");
  EXPECT_EQ(TextInRow(kX, kY + kLineHeight, 50), u"cd ?");
}

TEST_F(TextDrawTest, TextBeyondTheLastFittingLineIsCutAndReported) {
  // Height 40: lines at 0 and 20 fit, the third does not.
  EXPECT_EQ(Draw(u"aa%x1000bb%x1000cc", 400, 40), EFI_INVALID_PARAMETER);
  EXPECT_EQ(TextInRow(kX, kY, 400), u"aa");
  EXPECT_EQ(TextInRow(kX, kY + 20, 400), u"bb");
  EXPECT_TRUE(Uniform(kX, kY + 40, 400, 40, 0));

  Paint(kX, kY, 400, 80, 0);
  EXPECT_EQ(Draw(u"aa%x1000bb", 400, 39), EFI_INVALID_PARAMETER);
  EXPECT_EQ(TextInRow(kX, kY, 400), u"aa");
  EXPECT_TRUE(Uniform(kX, kY + 20, 400, 20, 0));

  // A box lower than one line draws no character; an opaque background is laid.
  Paint(kX, kY, 400, 80, 0x123456);
  EXPECT_EQ(Quorvex_DrawString(u"abc", Pixel(0xFFFFFF), kTransparent, kX, kY, 400, 19),
            EFI_INVALID_PARAMETER);
  EXPECT_TRUE(Uniform(kX, kY, 400, 80, 0x123456));
  EXPECT_EQ(Quorvex_DrawString(u"abc", Pixel(0xFFFFFF), Pixel(0x654321), kX, kY, 400, 19),
            EFI_INVALID_PARAMETER);
  EXPECT_TRUE(Uniform(kX, kY, 400, 19, 0x654321));
  EXPECT_TRUE(Uniform(kX, kY + 19, 400, 61, 0x123456));

  EXPECT_EQ(Quorvex_DrawString(nullptr, Pixel(0), Pixel(0x0000FF), kX, kY, 10, 10), EFI_ABORTED);
  EXPECT_TRUE(Uniform(kX, kY, 10, 10, 0x0000FF)) << "the box is cleared before the text check";
  GraphicsOutput = nullptr;
  EXPECT_EQ(Draw(u"a", 100, 100), EFI_NOT_FOUND);
}

TEST_F(TextDrawTest, GlyphsBlendOverTheScreenOrOverAnOpaqueBackground) {
  // '#' has coverage 0, 64, 128, 255 in its first four columns.
  const UINT32 backdrop = 0x204060;
  const UINT32 ink = 0xC08040;
  Paint(kX, kY, 30, 30, backdrop);
  ASSERT_EQ(Quorvex_DrawString(u"#", Pixel(ink), kTransparent, kX, kY, 100, 40), EFI_SUCCESS);
  const auto blend = gfxtest::Blend;
  for (UINT64 row = 0; row < kLineHeight; ++row) {
    EXPECT_EQ(At(kX, kY + row), backdrop) << "no coverage: the screen is untouched";
    EXPECT_EQ(At(kX + 1, kY + row), blend(ink, backdrop, 64));
    EXPECT_EQ(At(kX + 2, kY + row), blend(ink, backdrop, 128));
    EXPECT_EQ(At(kX + 3, kY + row), ink);
  }
  EXPECT_EQ(At(kX + 4, kY), backdrop) << "the pitch bytes past the glyph are not drawn";

  // Opaque: blended against the background; the cached blend of the last
  // colour pair must follow every change of either colour.
  const UINT32 back = 0x102030;
  const UINT32 pairs[][2] = {{ink, back}, {ink, 0x405060}, {0x20E0A0, 0x405060}, {ink, back}};
  for (const auto& pair : pairs) {
    ASSERT_EQ(Quorvex_DrawString(u"#", Pixel(pair[0]), Pixel(pair[1]), kX, kY, 30, 30),
              EFI_SUCCESS);
    EXPECT_EQ(At(kX, kY + 3), pair[1]);
    EXPECT_EQ(At(kX + 1, kY + 3), blend(pair[0], pair[1], 64)) << std::hex << pair[0];
    EXPECT_EQ(At(kX + 2, kY + 3), blend(pair[0], pair[1], 128)) << std::hex << pair[1];
    EXPECT_EQ(At(kX + 3, kY + 3), pair[0]);
    EXPECT_TRUE(Uniform(kX + 4, kY, 26, 30, pair[1]));
  }
}

TEST_F(TextDrawTest, SplitterCutsPagesWhereTheDrawerWouldStopAndKeepsTheMarks) {
  static CHAR16 pages[4][kSplitLineUnits];
  UINT64 last = 99;
  // Height 60: three lines per page.
  ASSERT_EQ(Quorvex_SplitTextLines(u"l1%x1000l2%x1000l3%x1000l4%x1000l5", 400, 60, pages, 4, &last),
            EFI_SUCCESS);
  ASSERT_EQ(last, 1u);
  EXPECT_EQ(std::u16string(pages[0]), u"l1%x1000l2%x1000l3%x1000");
  EXPECT_EQ(std::u16string(pages[1]), u"l4%x1000l5");
  // Each page draws completely in a box of that size.
  EXPECT_EQ(Draw(pages[0], 400, 60), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY + 40, 400), u"l3");

  // Word wrap decides the same way as the drawer.
  ASSERT_EQ(Quorvex_SplitTextLines(u"ab cd ef", 49, 40, pages, 4, &last), EFI_SUCCESS);
  ASSERT_EQ(last, 1u);
  EXPECT_EQ(std::u16string(pages[0]), u"ab cd ");
  EXPECT_EQ(std::u16string(pages[1]), u"ef");

  // Line-breaking rules and backward marks split as they draw.
  const CHAR16* rules = u"あいうえお。かき%x0くけ%x5こ%x0";
  ASSERT_EQ(Quorvex_SplitTextLines(rules, 50, 40, pages, 4, &last), EFI_SUCCESS);
  ASSERT_EQ(last, 1u);
  EXPECT_EQ(std::u16string(pages[0]), u"あいうえお。かき");
  // The last mark would only open a page with nothing on it: it is left out.
  EXPECT_EQ(std::u16string(pages[1]), u"%x0くけ%x5こ");
  Paint(kX, kY, 60, 100, 0);
  ASSERT_EQ(Draw(pages[1], 50, 40), EFI_SUCCESS);
  EXPECT_EQ(TextInRow(kX, kY, 50), Low(u"くけ"));
  EXPECT_EQ(Line(1, 50), (std::vector<Mark>{{5, static_cast<char16_t>(u'こ' & 0xFF)}}));

  // Out of slots: the text is cut and the last slot still terminated.
  ASSERT_EQ(Quorvex_SplitTextLines(u"a%x1000b%x1000c", 400, 20, pages, 2, &last),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(last, 1u);
  EXPECT_EQ(std::u16string(pages[1]), u"b%x1000");
  EXPECT_EQ(Quorvex_SplitTextLines(nullptr, 400, 20, pages, 2, &last), EFI_ABORTED);

  // A page longer than a slot continues in the next slot: nothing is lost.
  std::u16string longText(1500, u'a');
  ASSERT_EQ(Quorvex_SplitTextLines(longText.c_str(), 100000, 100000, pages, 4, &last), EFI_SUCCESS);
  EXPECT_EQ(last, 1u);
  EXPECT_EQ(std::u16string(pages[0]).size() + std::u16string(pages[1]).size(), 1500u);
}

} // namespace
