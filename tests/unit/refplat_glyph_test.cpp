// The glyph font services: a glyph's box expanded into its full cell
// (offsets, clipping at the cell's edges), the fallbacks for unknown code
// points and refused null arguments.
#include "reference_platform/glyph_font.h"
#include "tests/unit/refplat_fixture.h"

namespace {

// Boxes: 'A' 3x4 at (1, 2); 'R' and 'W' reaching past the cell's right,
// left and bottom edges; 'm' a wide cell. Coverage values count up so that any misplaced byte
// shows.
constexpr UINT8 kBitmaps[] = {
    // 'A' (offset 0)
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12,
    // 'W' (offset 12)
    21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32,
    // 'm' (offset 24), 2x1
    200, 201,
    // '?' (offset 26), 1x1
    99,
    // U+FFFD (offset 27), 1x1
    77};

constexpr FontGlyphRecord kWithQuestion[] = {
    {u'?', 5, 2, 3, 1, 1, 0, 26},  {u'A', 6, 1, 2, 3, 4, 0, 0},    {u'R', 3, 2, 6, 3, 2, 0, 0},
    {u'W', 3, -1, 6, 4, 3, 0, 12}, {u'm', 40, 30, 0, 2, 1, 0, 24},
};
constexpr FontData kFontWithQuestion = {8, 6, 5, kWithQuestion, kBitmaps};

constexpr FontGlyphRecord kWithReplacement[] = {
    {u'?', 5, 2, 3, 1, 1, 0, 26},
    {0xFFFD, 7, 3, 4, 1, 1, 0, 27},
};
constexpr FontData kFontWithReplacement = {8, 6, 2, kWithReplacement, kBitmaps};

constexpr FontGlyphRecord kOnlyA[] = {{u'A', 6, 1, 2, 3, 4, 0, 0}};
constexpr FontData kFontOnlyA = {10, 8, 1, kOnlyA, kBitmaps};

class RefPlatGlyphTest : public RefPlatTest {
protected:
  void TearDown() override {
    GlyphFont_Release(&Instance);
    RefPlatTest::TearDown();
  }
  struct Cell {
    std::vector<UINT8> Map;
    UINT32 Width = 0, Height = 0, Pitch = 0;
  };
  Cell Get(const FontData& Font, CHAR16 Character) {
    if (Instance.Font != &Font) {
      GlyphFont_Release(&Instance);
      GlyphFont_Init(&Instance, &Font);
    }
    Cell cell;
    const UINT8* map = nullptr;
    EXPECT_EQ(Instance.Protocol.GetGlyph(&Instance.Protocol, Character, &map, &cell.Width,
                                         &cell.Height, &cell.Pitch),
              EFI_SUCCESS);
    if (map) cell.Map.assign(map, map + cell.Pitch * cell.Height);
    return cell;
  }
  GlyphFontInstance Instance = {};
};

TEST_F(RefPlatGlyphTest, BoxIsPlacedInsideTheCell) {
  const Cell cell = Get(kFontWithQuestion, u'A');
  ASSERT_EQ(cell.Width, 6u);
  ASSERT_EQ(cell.Height, 8u);
  ASSERT_EQ(cell.Pitch, 6u);
  for (UINT32 y = 0; y < 8; ++y)
    for (UINT32 x = 0; x < 6; ++x) {
      const bool inside = x >= 1 && x < 4 && y >= 2 && y < 6;
      const UINT8 expected = inside ? static_cast<UINT8>(1 + (y - 2) * 3 + (x - 1)) : 0;
      EXPECT_EQ(cell.Map[y * 6 + x], expected) << x << "," << y;
    }
}

TEST_F(RefPlatGlyphTest, BoxesReachingPastTheCellAreClipped) {
  // 'W': 3 wide cell, box from x = -1 (4 wide) and y = 6 (3 high, cell 8).
  const Cell w = Get(kFontWithQuestion, u'W');
  ASSERT_EQ(w.Width, 3u);
  const std::vector<UINT8> expected = {0, 0, 0, 0, 0, 0, 0,  0,  0,  0,  0,  0,
                                       0, 0, 0, 0, 0, 0, 22, 23, 24, 26, 27, 28};
  EXPECT_EQ(w.Map, expected);
  // 'R': 3 wide cell, box 3x2 from (2, 6): only its first column is inside.
  const Cell r = Get(kFontWithQuestion, u'R');
  std::vector<UINT8> only_corner(24, 0);
  only_corner[6 * 3 + 2] = 1;
  only_corner[7 * 3 + 2] = 4;
  EXPECT_EQ(r.Map, only_corner);
  // 'm': a 40-wide cell with its box at x = 30.
  const Cell m = Get(kFontWithQuestion, u'm');
  ASSERT_EQ(m.Width, 40u);
  EXPECT_EQ(m.Map[30], 200);
  EXPECT_EQ(m.Map[31], 201);
  // A smaller glyph after the larger one reuses the buffer correctly.
  const Cell a = Get(kFontWithQuestion, u'A');
  EXPECT_EQ(a.Map[2 * 6 + 1], 1);
  EXPECT_EQ(a.Map[0], 0);
}

TEST_F(RefPlatGlyphTest, UnknownCodePointsFallBack) {
  const Cell question = Get(kFontWithQuestion, 0x65E5);
  EXPECT_EQ(question.Width, 5u);
  EXPECT_EQ(question.Map[3 * 5 + 2], 99);

  const Cell replacement = Get(kFontWithReplacement, u'Z');
  EXPECT_EQ(replacement.Width, 7u);
  EXPECT_EQ(replacement.Map[4 * 7 + 3], 77);

  const Cell empty = Get(kFontOnlyA, u'Z');
  EXPECT_EQ(empty.Width, 5u); // half the line height
  EXPECT_EQ(empty.Height, 10u);
  for (UINT8 v : empty.Map) EXPECT_EQ(v, 0);

  UINT64 advance = 0;
  EXPECT_EQ(Instance.Protocol.GetAdvance(&Instance.Protocol, u'Z', &advance), EFI_SUCCESS);
  EXPECT_EQ(advance, 5u);
  EXPECT_EQ(Instance.Protocol.GetAdvance(&Instance.Protocol, u'A', &advance), EFI_SUCCESS);
  EXPECT_EQ(advance, 6u);
  UINT64 line_height = 0;
  EXPECT_EQ(Instance.Protocol.GetLineHeight(&Instance.Protocol, &line_height), EFI_SUCCESS);
  EXPECT_EQ(line_height, 10u);
}

TEST_F(RefPlatGlyphTest, NullArgumentsAreRefused) {
  GlyphFont_Init(&Instance, &kFontOnlyA);
  UINT32 w, h, p;
  EXPECT_EQ(Instance.Protocol.GetGlyph(&Instance.Protocol, u'A', nullptr, &w, &h, &p),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Instance.Protocol.GetAdvance(&Instance.Protocol, u'A', nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Instance.Protocol.GetLineHeight(nullptr, nullptr), EFI_INVALID_PARAMETER);
}

} // namespace
