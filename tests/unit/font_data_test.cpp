// The embedded fonts: record order and packing, glyph boxes inside their
// cells, and a glyph for every character the texts can show.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "reference_platform/font_data.h"

namespace {

const FontGlyphRecord* Find(const FontData& Font, uint32_t CodePoint) {
  const FontGlyphRecord* End = Font.Glyphs + Font.GlyphCount;
  const FontGlyphRecord* It =
      std::lower_bound(Font.Glyphs, End, CodePoint,
                       [](const FontGlyphRecord& R, uint32_t Cp) { return R.CodePoint < Cp; });
  return (It != End && It->CodePoint == CodePoint) ? It : nullptr;
}

int MaxCoverage(const FontData& Font, const FontGlyphRecord& G) {
  int Max = 0;
  for (int I = 0; I < G.Width * G.Height; ++I) Max = std::max<int>(Max, Font.Bitmaps[G.Offset + I]);
  return Max;
}

bool IsBlank(uint32_t Cp) {
  return Cp == 0x20 || Cp == 0xA0 || Cp == 0x3000;
}

// Code points of a UTF-8 string (validated by the generators).
std::vector<uint32_t> Utf8(const std::string& S) {
  std::vector<uint32_t> Out;
  for (size_t I = 0; I < S.size();) {
    const unsigned char B = static_cast<unsigned char>(S[I]);
    const int N = B < 0x80 ? 0 : B < 0xE0 ? 1 : B < 0xF0 ? 2 : 3;
    uint32_t Cp = N == 0 ? B : (B & (0x3F >> N));
    for (int K = 1; K <= N && I + K < S.size(); ++K) Cp = (Cp << 6) | (S[I + K] & 0x3F);
    Out.push_back(Cp);
    I += N + 1;
  }
  return Out;
}

const FontData* const kFonts[] = {&kGlyphFontData, &kLargeDigitFontData};

TEST(FontData, RecordsAreSortedAndCoverageIsPacked) {
  for (const FontData* Font : kFonts) {
    ASSERT_GT(Font->GlyphCount, 0u);
    UINT32 Expected = 0;
    for (UINT32 I = 0; I < Font->GlyphCount; ++I) {
      const FontGlyphRecord& G = Font->Glyphs[I];
      if (I > 0) {
        EXPECT_LT(Font->Glyphs[I - 1].CodePoint, G.CodePoint) << "record " << I;
      }
      // Boxes follow each other without gaps or overlaps, in record order.
      EXPECT_EQ(G.Offset, Expected) << "U+" << std::hex << G.CodePoint;
      Expected += G.Width * G.Height;
    }
  }
}

TEST(FontData, EveryBoxLiesInsideItsCell) {
  for (const FontData* Font : kFonts) {
    for (UINT32 I = 0; I < Font->GlyphCount; ++I) {
      const FontGlyphRecord& G = Font->Glyphs[I];
      SCOPED_TRACE(testing::Message() << "U+" << std::hex << G.CodePoint);
      EXPECT_GT(G.Advance, 0);
      EXPECT_GE(G.Left, 0);
      EXPECT_GE(G.Top, 0);
      EXPECT_LE(G.Left + G.Width, G.Advance);
      EXPECT_LE(G.Top + G.Height, Font->LineHeight);
      if (IsBlank(G.CodePoint)) {
        EXPECT_EQ(G.Width * G.Height, 0);
      } else {
        // Empty or faint: the rasteriser missed the outlines.
        ASSERT_GT(G.Width * G.Height, 0);
        EXPECT_GE(MaxCoverage(*Font, G), 96);
      }
    }
  }
}

TEST(FontData, DigitsShareOneAdvance) {
  // So clock and date fields do not jitter.
  for (const FontData* Font : kFonts) {
    const FontGlyphRecord* Zero = Find(*Font, '0');
    ASSERT_NE(Zero, nullptr);
    for (char D = '1'; D <= '9'; ++D) {
      ASSERT_NE(Find(*Font, D), nullptr);
      EXPECT_EQ(Find(*Font, D)->Advance, Zero->Advance) << D;
    }
  }
}

TEST(FontData, CoversEveryCharacterTheUtilityDraws) {
  for (uint32_t Cp = 0x20; Cp <= 0x7E; ++Cp) {
    EXPECT_NE(Find(kGlyphFontData, Cp), nullptr) << "U+" << std::hex << Cp;
    EXPECT_NE(Find(kLargeDigitFontData, Cp), nullptr) << "U+" << std::hex << Cp;
  }
  for (uint32_t Cp = 0xA0; Cp <= 0xFF; ++Cp) {
    EXPECT_NE(Find(kGlyphFontData, Cp), nullptr) << "U+" << std::hex << Cp;
  }
  EXPECT_NE(Find(kGlyphFontData, 0xFFFD), nullptr);

  // Every non-ASCII character of the text sources, read independently of the
  // rasteriser.
  const std::filesystem::path Root =
      std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
  std::vector<std::filesystem::path> Sources = {Root / "tools" / "fixed_strings.txt"};
  for (const auto& Entry : std::filesystem::directory_iterator(Root / "setup_data" / "texts"))
    if (Entry.path().extension() == ".txt") Sources.push_back(Entry.path());
  ASSERT_GT(Sources.size(), 1u) << "no text sources under " << Root;

  std::set<uint32_t> Missing;
  size_t Checked = 0;
  for (const auto& Path : Sources) {
    std::ifstream In(Path);
    ASSERT_TRUE(In) << Path;
    std::string Line;
    while (std::getline(In, Line)) {
      const size_t First = Line.find_first_not_of(" \t");
      if (First == std::string::npos || Line[First] == '#') continue;
      for (uint32_t Cp : Utf8(Line)) {
        if (Cp < 0x80 || Cp == 0xFEFF) continue;
        ++Checked;
        if (!Find(kGlyphFontData, Cp)) Missing.insert(Cp);
      }
    }
  }
  EXPECT_GT(Checked, 100u);
  std::string List;
  for (uint32_t Cp : Missing) List += " U+" + std::to_string(Cp);
  EXPECT_TRUE(Missing.empty()) << "characters without a glyph (decimal):" << List;
}

} // namespace
