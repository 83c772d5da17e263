// The fixed background: the left band native and stretched, the help bar by
// access level, the item help box, and the grey-out with its exact restore.
#include <vector>

#include "graphics/background.h"
#include "graphics/pixel_runs.h"
#include "graphics/double_buffer.h"
#include "graphics_test_support.h"

namespace {

using gfxtest::BandPattern;
using gfxtest::MarkerColour;

class BackgroundTest : public GraphicsTest {};

TEST_F(BackgroundTest, AtTheNativeSizeThePictureGoesStraightToTheScreen) {
  Quorvex_BackGround_Left();
  const auto band = PicturesOf(kLeftBandPicture);
  ASSERT_EQ(band.size(), 1u);
  EXPECT_EQ(band[0].X, 3u);
  EXPECT_EQ(band[0].Y, 0u);
  EXPECT_FALSE(band[0].Buffered) << "no off-screen frame at 1024 x 768";
  EXPECT_EQ(At(3, 0), BandPattern(0, 0));
  EXPECT_EQ(At(256, 767), BandPattern(253, 767));

  EXPECT_EQ(PicturesOf(kUpperLogo).size(), 1u);

  // French has its own lower logo; Japanese shares the English one.
  for (UINT64 language : {0u, 1u, 2u}) {
    gfxtest::Images().Calls.clear();
    Language = language;
    Quorvex_BackGround_Left();
    EXPECT_EQ(PicturesOf(kLowerLogoFrench).size(), language == 2 ? 1u : 0u);
    EXPECT_EQ(PicturesOf(kLowerLogoEnglish).size(), language == 2 ? 0u : 1u);
  }
}

class WideBandTest : public GraphicsTest {
protected:
  std::vector<fake::Mode> Modes() const override { return {{1280, 1024}}; }
};

TEST_F(WideBandTest, ColumnsAndRowsAreRepeatedToFillTheBand) {
  Paint(0, 0, 4, ScreenHeight, 0x0000AA);
  Quorvex_BackGround_Left();
  const auto band = PicturesOf(kLeftBandPicture);
  ASSERT_EQ(band.size(), 1u);
  EXPECT_TRUE(band[0].Buffered);
  EXPECT_FALSE(PicturesOf(kUpperLogo).at(0).Buffered) << "logos after the band reached the screen";
  EXPECT_FALSE(Quorvex_DoubleBuffer_Active());

  // Band 320 wide: every 5th column doubles a source column; the picture
  // starts at source column 3.
  auto sourceColumn = [](UINT64 C) { return C / 5 * 4 + (C % 5 == 4 ? 3 : C % 5); };
  // H = 1024: dy = 256, so every 4th row is repeated.
  auto sourceRow = [](UINT64 R) { return R - R / 4; };
  for (UINT64 r : {0u, 3u, 4u, 5u, 7u, 8u, 500u, 1022u}) {
    for (UINT64 c = 4; c < 320; ++c) {
      const UINT64 u = sourceColumn(c);
      ASSERT_GE(u, 3u);
      ASSERT_EQ(At(c, r), BandPattern(u - 3, sourceRow(r))) << "column " << c << " row " << r;
    }
  }
  // Columns 0-3 are not drawn; the four past the band get the page colour.
  EXPECT_TRUE(Uniform(0, 0, 4, ScreenHeight, 0x0000AA));
  EXPECT_TRUE(Uniform(320, 0, 4, ScreenHeight, kColourPageArea));
}

class ShortWideBandTest : public GraphicsTest {
protected:
  std::vector<fake::Mode> Modes() const override { return {{1280, 720}}; }
};

TEST_F(ShortWideBandTest, ALowerScreenShowsTheTopRowsOneToOne) {
  Quorvex_BackGround_Left();
  // Source column 7 (picture column 4) is shown at 8 and again at 9.
  for (UINT64 r : {0u, 1u, 4u, 719u}) {
    EXPECT_EQ(At(8, r), BandPattern(4, r)) << r;
    EXPECT_EQ(At(9, r), BandPattern(4, r)) << "doubled column, row " << r;
    EXPECT_EQ(At(10, r), BandPattern(5, r)) << r;
  }
}

TEST_F(BackgroundTest, HelpBarGreysTheDefaultsButtonForRestrictedAccess) {
  const UINT64 x = 3 * ScreenWidth / 4 + 10;
  const UINT64 width = ScreenWidth / 4 - 20;
  const UINT64 top = 3 * ScreenHeight / 5;
  // Caption and key text are vertically centred in the 50-pixel buttons.
  auto captionPixel = [&](UINT64 Button) { return At(x + 10, top + 20 + 60 * Button + 15); };
  auto keyPixel = [&](UINT64 Button) { return At(x + width - 60, top + 20 + 60 * Button + 15); };

  for (UINT64 level : {0u, 1u, 2u, 3u}) {
    AccessLevel = level;
    Quorvex_HelpBar_Draw();
    const UINT32 ink = level < 2 ? kColourDarkText : kColourGreyText;
    EXPECT_EQ(captionPixel(1), MarkerColour(u'S', ink, kColourButtonFace)) << "level " << level;
    EXPECT_EQ(keyPixel(1), MarkerColour(u'[', ink, kColourButtonFace)) << "level " << level;
    EXPECT_EQ(captionPixel(0), MarkerColour(u'H', kColourDarkText, kColourButtonFace));
    EXPECT_EQ(captionPixel(2), MarkerColour(u'S', kColourDarkText, kColourButtonFace));
    EXPECT_EQ(captionPixel(3), MarkerColour(u'C', kColourDarkText, kColourButtonFace));
  }
}

TEST_F(BackgroundTest, ItemHelpClearsTheBoxAndDrawsTitleAndTextInTheLanguage) {
  const UINT64 x = 3 * ScreenWidth / 4 + 10;
  const UINT64 height = 3 * ScreenHeight / 5;
  Paint(x, 10, ScreenWidth / 4 - 20, height, 0xFF00FF);
  Quorvex_ItemHelp_Draw(u"ab");
  EXPECT_EQ(At(x + 50, 10), MarkerColour(u'I', kColourDarkText, kColourRightColumn));
  EXPECT_EQ(At(x, 2 * 20 + 10), MarkerColour(u'a', kColourDarkText, kColourRightColumn));
  EXPECT_EQ(At(x + 10, 2 * 20 + 10), MarkerColour(u'b', kColourDarkText, kColourRightColumn));
  EXPECT_EQ(At(x + 20, 2 * 20 + 10), kColourRightColumn);
  EXPECT_EQ(At(x + 100, 10 + height - 1), kColourRightColumn) << "the whole box is cleared";

  // The Japanese title is a single blank.
  Language = 1;
  Quorvex_ItemHelp_Draw(nullptr);
  EXPECT_EQ(At(x, 10), MarkerColour(u' ', kColourDarkText, kColourRightColumn));
  EXPECT_EQ(At(x + 50, 10), kColourRightColumn);
  EXPECT_EQ(At(x, 2 * 20 + 10), kColourRightColumn);
}

TEST_F(BackgroundTest, GreyOutHalvesEveryChannelAndRestoreGivesBackTheExactScreen) {
  // A screen of varied pixels with reserved bytes, written through the GOP.
  const UINT64 count = ScreenWidth * ScreenHeight;
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> picture(count);
  for (UINT64 i = 0; i < count; ++i)
    picture[i] = {static_cast<UINT8>(i * 7), static_cast<UINT8>(i * 13 + 1),
                  static_cast<UINT8>(i * 31 + 255), static_cast<UINT8>(i * 3)};
  ASSERT_EQ(GraphicsOutput->Blt(GraphicsOutput, picture.data(), EfiBltBufferToVideo, 0, 0, 0, 0,
                                ScreenWidth, ScreenHeight, 0),
            EFI_SUCCESS);

  Quorvex_Grayout_All_Screen();
  const auto& screen = fake::Framebuffer();
  for (UINT64 i = 0; i < count; i += 997) {
    ASSERT_EQ(screen[i].Blue, picture[i].Blue >> 1) << i;
    ASSERT_EQ(screen[i].Green, picture[i].Green >> 1) << i;
    ASSERT_EQ(screen[i].Red, picture[i].Red >> 1) << i;
    ASSERT_EQ(screen[i].Reserved, picture[i].Reserved) << i;
  }
  // What changes under the window is lost at the restore.
  Paint(10, 10, 5, 5, 0x00FF00);
  Quorvex_Restore_All_Screen();
  for (UINT64 i = 0; i < count; ++i) {
    ASSERT_EQ(PixelWord(screen[i]), PixelWord(picture[i])) << i;
  }
  // Restore without a grey-out does nothing.
  Paint(0, 0, 1, 1, 0x123456);
  Quorvex_Restore_All_Screen();
  EXPECT_EQ(At(0, 0), 0x123456u);

  // Grey-outs do not nest: the second saves the dimmed screen.
  Quorvex_Grayout_All_Screen();
  Quorvex_Grayout_All_Screen();
  EXPECT_EQ(At(0, 0), (0x123456u >> 2) & 0x3F3F3Fu);
  Quorvex_Restore_All_Screen();
  EXPECT_EQ(At(0, 0), (0x123456u >> 1) & 0x7F7F7Fu);

  // Without memory for the saved screen nothing is dimmed and nothing is
  // restored later.
  fake::FailAllocation(1);
  Quorvex_Grayout_All_Screen();
  EXPECT_EQ(At(0, 0), (0x123456u >> 1) & 0x7F7F7Fu);
  Paint(0, 0, 1, 1, 0x00FF00);
  Quorvex_Restore_All_Screen();
  EXPECT_EQ(At(0, 0), 0x00FF00u);
}

} // namespace

namespace {

// The tabs' band is kept as runs: a flat picture shrinks, a noisy one is
// kept whole, and both come back exactly.
TEST_F(BackgroundTest, KeptRunsGiveBackThePixels) {
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> flat(253 * 80, {0xFA, 0xF1, 0xEB, 0});
  for (UINT64 i = 500; i < 700; ++i) flat[i] = {1, 2, 3, static_cast<UINT8>(i & 1)};
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> noisy(1001);
  for (UINT64 i = 0; i < noisy.size(); ++i)
    noisy[i] = {static_cast<UINT8>(i), static_cast<UINT8>(i * 7), 0, 0};
  for (const auto* picture : {&flat, &noisy}) {
    PixelRuns runs;
    ASSERT_TRUE(Quorvex_PixelRuns_Keep(picture->data(), picture->size(), &runs));
    EXPECT_EQ(runs.Raw, picture == &noisy);
    std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> back(picture->size(), {9, 9, 9, 9});
    Quorvex_PixelRuns_Expand(runs, back.data());
    EXPECT_EQ(std::memcmp(back.data(), picture->data(), back.size() * sizeof back[0]), 0);
    Quorvex_PixelRuns_Free(&runs);
  }
  PixelRuns none;
  fake::FailAllocation(1);
  EXPECT_FALSE(Quorvex_PixelRuns_Keep(flat.data(), flat.size(), &none));
  EXPECT_EQ(none.Words, nullptr);
}

} // namespace
