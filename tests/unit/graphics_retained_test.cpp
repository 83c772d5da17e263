// Retained drawing: a list redrawn only where it changed must leave exactly
// the screen a full redraw leaves, whatever else was written meanwhile; the
// changed-pixel flush and the recorder that decides what changed.
#include <vector>

#include "graphics/double_buffer.h"
#include "graphics/draw_record.h"
#include "graphics/item_list.h"
#include "graphics/screen_log.h"
#include "graphics/text_draw.h"
#include "graphics_test_support.h"

namespace {

SetupItem Row(UINT32 Kind, const CHAR16* Label, UINT64 Value = 0) {
  SetupItem item = {};
  item.Present = 1;
  item.Kind = Kind;
  item.Width = 300;
  item.Height = 30;
  item.Gap = 10;
  item.Label = Label;
  item.Value = Value;
  return item;
}

class RetainedTest : public GraphicsTest {
protected:
  std::vector<SetupItem> items_ = {
      Row(ItemButton, TEXT(CommonYes)), Row(ItemButton, TEXT(CommonNo)),
      Row(ItemButton, TEXT(CommonYes)), Row(ItemButton, TEXT(CommonNo)),
      Row(ItemButton, TEXT(CommonYes))};

  void Select(size_t Index) {
    for (size_t i = 0; i < items_.size(); ++i) items_[i].Selected = i == Index;
  }
  void Draw() { Quorvex_Draw_Item_List(items_.data(), items_.size(), 1); }
  // The screen a redraw of everything on a screen of noise gives.
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> FullRedraw() {
    const std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> kept = fake::Framebuffer();
    Quorvex_Item_ListForget();
    // Noise over the list's region: the Main page's takes the right column
    // along.
    const bool main = ::PageState == kStateMainPage;
    const UINT64 width = main ? 3 * ScreenWidth / 4 : ScreenWidth / 2;
    for (UINT64 y = 0; y < ScreenHeight; y += 7) Paint(ScreenWidth / 4, y, width, 3, 0x123456 + y);
    Draw();
    std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> full = fake::Framebuffer();
    for (UINT64 i = 0; i < kept.size(); ++i)
      fake::SetPixel(static_cast<UINT32>(i % ScreenWidth), static_cast<UINT32>(i / ScreenWidth),
                     PixelWord(kept[i]) & 0xFFFFFF);
    return full;
  }
  static UINT64 Written() { return fake::Blt().PixelsWritten; }
};

// Equal screens, or the first pixel where they differ.
::testing::AssertionResult SameScreen(const std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL>& A,
                                      const std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL>& B) {
  if (A.size() != B.size()) return ::testing::AssertionFailure() << "screen sizes differ";
  for (size_t i = 0; i < A.size(); ++i)
    if ((PixelWord(A[i]) & 0xFFFFFF) != (PixelWord(B[i]) & 0xFFFFFF))
      return ::testing::AssertionFailure()
             << "pixel " << i % ScreenWidth << "," << i / ScreenWidth << " differs";
  return ::testing::AssertionSuccess();
}

TEST_F(RetainedTest, ARedrawAfterAFocusMoveEqualsAFullRedrawAndWritesOnlyTheChange) {
  Select(0);
  Draw();
  const UINT64 before = Written();
  Select(1);
  Draw();
  const UINT64 written = Written() - before;
  EXPECT_GT(written, 0u);
  // Two rows of 300 x 30 at most changed; the region is 512 x 768.
  EXPECT_LE(written, 2u * 300 * 30);
  EXPECT_TRUE(SameScreen(fake::Framebuffer(), FullRedraw()));

  // Nothing changed: nothing is written.
  const UINT64 again = Written();
  Draw();
  EXPECT_EQ(Written(), again);
}

TEST_F(RetainedTest, WritesByOthersIntoTheRegionAreRepaired) {
  Select(2);
  Draw();
  // Drawn straight to the screen over two rows and the background.
  Quorvex_FillRect(ScreenWidth / 4 + 40, 80, 200, 60, 0xFF00FF);
  // Drawn through another buffered region.
  Quorvex_DoubleBuffer_Start(ScreenWidth / 2, 300, 50, 50);
  Quorvex_FillRect(0, 0, ScreenWidth, ScreenHeight, 0x00FF00);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  Draw();
  EXPECT_TRUE(SameScreen(fake::Framebuffer(), FullRedraw()));
}

TEST_F(RetainedTest, ChangesOfLabelOrListAndAnotherRegionRedrawCorrectly) {
  Select(0);
  Draw();
  items_[3].Label = TEXT(CommonYes);
  items_[1].Hidden = 1; // every row below moves up
  Draw();
  EXPECT_TRUE(SameScreen(fake::Framebuffer(), FullRedraw()));
  items_.pop_back();
  Draw();
  EXPECT_TRUE(SameScreen(fake::Framebuffer(), FullRedraw()));
  // The Main page's region takes the right column along.
  ::PageState = kStateMainPage;
  Draw();
  EXPECT_TRUE(SameScreen(fake::Framebuffer(), FullRedraw()));
  ::PageState = kStateSecurityPage;
  Select(2);
  Draw();
  EXPECT_TRUE(SameScreen(fake::Framebuffer(), FullRedraw()));
}

TEST_F(RetainedTest, FlushChangedWritesTheChangedRunsOnly) {
  Paint(0, 0, ScreenWidth, ScreenHeight, 0x000000);
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(100, 100, 300, 200), EFI_SUCCESS);
  Quorvex_FillRect(100, 100, 300, 200, 0x000000);
  Quorvex_FillRect(120, 150, 10, 5, 0xFFFFFF); // one block
  Quorvex_FillRect(200, 160, 1, 1, 0x0000FF);  // a single pixel
  Quorvex_FillRect(203, 160, 1, 1, 0x0000FF);  // close by: one run with it
  Quorvex_FillRect(399, 299, 1, 1, 0x00FF00);  // the last pixel
  const UINT64 before = Written();
  Quorvex_DoubleBuffer_FlushChanged();
  Quorvex_DoubleBuffer_Stop();
  EXPECT_EQ(Written() - before, 50u + 4 + 1);
  EXPECT_TRUE(Uniform(120, 150, 10, 5, 0xFFFFFF));
  EXPECT_EQ(At(200, 160), 0x0000FFu);
  EXPECT_EQ(At(201, 160), 0u);
  EXPECT_EQ(At(203, 160), 0x0000FFu);
  EXPECT_EQ(At(399, 299), 0x00FF00u);
  EXPECT_EQ(At(400, 299), 0u);
}

TEST_F(RetainedTest, RecordsTellDrawingsApartAndBoundWhatTheyWrite) {
  auto record = [](auto&& Drawing) {
    DrawRecord r;
    EXPECT_TRUE(Quorvex_DrawRecord_Begin(&r));
    Drawing();
    Quorvex_DrawRecord_End();
    return r;
  };
  const UINT32 screen = At(10, 10);
  const DrawRecord a = record([] { Quorvex_FillRect(10, 20, 30, 40, 0x112233); });
  const DrawRecord b = record([] { Quorvex_FillRect(10, 20, 30, 40, 0x112233); });
  const DrawRecord c = record([] { Quorvex_FillRect(10, 20, 30, 40, 0x112234); });
  EXPECT_EQ(At(10, 20), screen) << "recording draws nothing";
  EXPECT_EQ(a.Hash, b.Hash);
  EXPECT_NE(a.Hash, c.Hash);
  EXPECT_EQ(a.Box.X, 10u);
  EXPECT_EQ(a.Box.Y, 20u);
  EXPECT_EQ(a.Box.Width, 30u);
  EXPECT_EQ(a.Box.Height, 40u);
  // A fill running past the right edge continues on the next row.
  const DrawRecord wide = record([] { Quorvex_FillRect(ScreenWidth - 5, 0, 10, 1, 0); });
  EXPECT_EQ(wide.Box.X, 0u);
  EXPECT_GE(wide.Box.Height, 2u);
  // Text: same text same record, another text another one.
  const DrawRecord t1 =
      record([] { Quorvex_DrawString(u"ab", Pixel(0), kTransparent, 5, 5, 100, 20); });
  const DrawRecord t2 =
      record([] { Quorvex_DrawString(u"ab", Pixel(0), kTransparent, 5, 5, 100, 20); });
  const DrawRecord t3 =
      record([] { Quorvex_DrawString(u"ac", Pixel(0), kTransparent, 5, 5, 100, 20); });
  EXPECT_EQ(t1.Hash, t2.Hash);
  EXPECT_NE(t1.Hash, t3.Hash);
  EXPECT_TRUE(record([] {}).Empty);
  // Not while buffering.
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(0, 0, 10, 10), EFI_SUCCESS);
  DrawRecord r;
  EXPECT_FALSE(Quorvex_DrawRecord_Begin(&r));
  Quorvex_DoubleBuffer_Stop();
}

} // namespace
