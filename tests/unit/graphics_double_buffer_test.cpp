// The off-screen frame: what reaches the screen and when, and clipping at
// the frame's edges.
#include <cstring>
#include <vector>

#include "graphics/background.h"
#include "graphics/double_buffer.h"
#include "graphics/graphics_internal.h"
#include "graphics_test_support.h"

namespace {

class DoubleBufferTest : public GraphicsTest {
protected:
  static EFI_STATUS Blt(EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Buffer, EFI_GRAPHICS_OUTPUT_BLT_OPERATION Op,
                        UINTN SX, UINTN SY, UINTN DX, UINTN DY, UINTN W, UINTN H, UINTN Delta) {
    return GraphicsOutput->Blt(GraphicsOutput, Buffer, Op, SX, SY, DX, DY, W, H, Delta);
  }
  static EFI_STATUS Fill(UINT64 X, UINT64 Y, UINT64 W, UINT64 H, UINT32 Rgb) {
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL colour = Pixel(Rgb);
    return Blt(&colour, EfiBltVideoFill, 0, 0, X, Y, W, H, 0);
  }
  // Buffers the whole screen with its frame cleared to black.
  static void StartWholeScreen() {
    ASSERT_EQ(Quorvex_DoubleBuffer_Start(0, 0, ScreenWidth, ScreenHeight), EFI_SUCCESS);
    ASSERT_EQ(Fill(0, 0, ScreenWidth, ScreenHeight, 0x000000), EFI_SUCCESS);
  }
  static std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> Ramp(UINT64 Count, UINT32 Base) {
    std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> pixels;
    for (UINT64 i = 0; i < Count; ++i) pixels.push_back(Pixel(Base + static_cast<UINT32>(i)));
    return pixels;
  }
};

TEST_F(DoubleBufferTest, OnlyTheStartRectangleReachesTheScreenAndOnlyAtFlush) {
  const auto firmware = GraphicsOutput->Blt;
  Paint(90, 90, 80, 60, 0x111111);
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(100, 100, 50, 40), EFI_SUCCESS);
  EXPECT_TRUE(Quorvex_DoubleBuffer_Active());
  // Drawing touches far more than the rectangle.
  ASSERT_EQ(Fill(0, 0, ScreenWidth, ScreenHeight, 0xC00000), EFI_SUCCESS);
  EXPECT_EQ(At(120, 120), 0x111111u) << "nothing reaches the screen before the flush";

  Quorvex_DoubleBuffer_Flush();
  EXPECT_TRUE(Uniform(100, 100, 50, 40, 0xC00000));
  EXPECT_EQ(At(99, 100), 0x111111u);
  EXPECT_EQ(At(150, 100), 0x111111u);
  EXPECT_EQ(At(100, 99), 0x111111u);
  EXPECT_EQ(At(100, 140), 0x111111u);
  EXPECT_TRUE(Quorvex_DoubleBuffer_Active()) << "buffering stays on after a flush";

  // Later drawing is buffered again, the frame kept its content.
  ASSERT_EQ(Fill(100, 100, 10, 10, 0x00FF00), EFI_SUCCESS);
  EXPECT_EQ(At(105, 105), 0xC00000u);
  Quorvex_DoubleBuffer_Flush();
  EXPECT_EQ(At(105, 105), 0x00FF00u);
  EXPECT_EQ(At(115, 105), 0xC00000u);

  Quorvex_DoubleBuffer_Stop();
  EXPECT_EQ(GraphicsOutput->Blt, firmware);
  EXPECT_FALSE(Quorvex_DoubleBuffer_Active());
  ASSERT_EQ(Fill(0, 0, 4, 4, 0x0000FF), EFI_SUCCESS);
  EXPECT_EQ(At(0, 0), 0x0000FFu) << "after Stop drawing goes straight to the screen";
}

TEST_F(DoubleBufferTest, CopiesToAndFromTheFrameSkipColumnsPastTheRightEdge) {
  StartWholeScreen();
  const UINT64 w = ScreenWidth;
  // 20 wide from 10 before the edge; Delta 0 means rows of Width pixels.
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> block = Ramp(20 * 2, 0x000100);
  ASSERT_EQ(Blt(block.data(), EfiBltBufferToVideo, 0, 0, w - 10, 30, 20, 2, 0), EFI_SUCCESS);
  // From 5 before the edge: the caller's columns past it are kept.
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> back(10 * 2, Pixel(0xABCDEF));
  ASSERT_EQ(Blt(back.data(), EfiBltVideoToBltBuffer, w - 5, 30, 0, 0, 10, 2, 10 * 4), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();

  for (UINT64 i = 0; i < 10; ++i) {
    EXPECT_EQ(At(w - 10 + i, 30), 0x000100u + i);
    EXPECT_EQ(At(w - 10 + i, 31), 0x000100u + 20 + i) << "row 1 starts at element Delta/4";
  }
  EXPECT_EQ(At(0, 31), 0u) << "a cut copy does not continue on the next row";
  EXPECT_EQ(At(9, 32), 0u);
  for (UINT64 i = 0; i < 5; ++i) {
    EXPECT_EQ(PixelWord(back[i]) & 0xFFFFFF, 0x000100u + 5 + i);
    EXPECT_EQ(PixelWord(back[5 + i]) & 0xFFFFFF, 0xABCDEFu);
    EXPECT_EQ(PixelWord(back[10 + i]) & 0xFFFFFF, 0x000100u + 25 + i);
  }
}

TEST_F(DoubleBufferTest, RowsPastTheBottomAreDroppedWithoutTouchingMemoryOutsideTheFrame) {
  StartWholeScreen();
  const UINT64 h = ScreenHeight;
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> block = Ramp(8 * 6, 0x100000);
  ASSERT_EQ(Blt(block.data(), EfiBltBufferToVideo, 0, 0, 40, h - 2, 8, 6, 8 * 4), EFI_SUCCESS);
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> back(8 * 6, Pixel(0x777777));
  ASSERT_EQ(Blt(back.data(), EfiBltVideoToBltBuffer, 40, h - 2, 0, 0, 8, 6, 8 * 4), EFI_SUCCESS);
  // Fills and frame-to-frame copies running off the end of the frame.
  ASSERT_EQ(Fill(ScreenWidth - 3, h - 1, 50, 50, 0x00FF00), EFI_SUCCESS);
  ASSERT_EQ(Blt(nullptr, EfiBltVideoToVideo, 200, h - 3, 200, h - 1, 100, 100, 0), EFI_SUCCESS);
  ASSERT_EQ(Fill(~0ull - 5, ~0ull - 5, 10, 10, 0x123456), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();

  EXPECT_EQ(At(40, h - 2), 0x100000u);
  EXPECT_EQ(At(47, h - 1), 0x100000u + 15);
  EXPECT_EQ(PixelWord(back[15]) & 0xFFFFFF, 0x100000u + 15);
  EXPECT_EQ(PixelWord(back[16]) & 0xFFFFFF, 0x777777u) << "rows past the bottom are not read";
  EXPECT_EQ(At(ScreenWidth - 1, h - 1), 0x00FF00u);
}

TEST_F(DoubleBufferTest, FillsAndFrameToFrameCopiesContinueOnTheNextRow) {
  StartWholeScreen();
  const UINT64 w = ScreenWidth;
  ASSERT_EQ(Fill(w - 4, 10, 10, 1, 0xFF0000), EFI_SUCCESS);
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> row = Ramp(10, 0x000010);
  ASSERT_EQ(Blt(row.data(), EfiBltBufferToVideo, 0, 0, 0, 50, 10, 1, 40), EFI_SUCCESS);
  // Copied pixel by pixel upwards: the first two pixels repeat.
  ASSERT_EQ(Blt(nullptr, EfiBltVideoToVideo, 0, 50, 2, 50, 8, 1, 0), EFI_SUCCESS);
  // Across the edge: the copy of (w - 3 .. w + 2) of row 60 lands on row 70.
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> wide = Ramp(6, 0x000200);
  ASSERT_EQ(Blt(wide.data(), EfiBltBufferToVideo, 0, 0, w - 3, 60, 3, 1, 0), EFI_SUCCESS);
  ASSERT_EQ(Blt(wide.data() + 3, EfiBltBufferToVideo, 0, 0, 0, 61, 3, 1, 0), EFI_SUCCESS);
  ASSERT_EQ(Blt(nullptr, EfiBltVideoToVideo, w - 3, 60, 0, 70, 6, 1, 0), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();

  for (UINT64 x = w - 4; x < w; ++x) EXPECT_EQ(At(x, 10), 0xFF0000u);
  for (UINT64 x = 0; x < 6; ++x) EXPECT_EQ(At(x, 11), 0xFF0000u) << x;
  EXPECT_EQ(At(6, 11), 0u);
  const UINT32 smeared[10] = {0x10, 0x11, 0x10, 0x11, 0x10, 0x11, 0x10, 0x11, 0x10, 0x11};
  for (UINT64 x = 0; x < 10; ++x) EXPECT_EQ(At(x, 50), smeared[x]) << x;
  for (UINT64 x = 0; x < 6; ++x) EXPECT_EQ(At(x, 70), 0x000200u + x) << x;
}

TEST_F(DoubleBufferTest, OperationsAboveThreeAreLeftToTheFirmware) {
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(0, 0, 10, 10), EFI_SUCCESS);
  const UINT64 rejected = fake::Blt().Rejected;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL colour = Pixel(0xFFFFFF);
  // The fake refuses an unknown operation: its answer shows the call passed.
  EXPECT_EQ(Blt(&colour, static_cast<EFI_GRAPHICS_OUTPUT_BLT_OPERATION>(4), 0, 0, 0, 0, 1, 1, 0),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(fake::Blt().Rejected, rejected + 1);
  Quorvex_DoubleBuffer_Stop();
}

TEST_F(DoubleBufferTest, WithoutGopOrMemoryDrawingStaysDirect) {
  EFI_GRAPHICS_OUTPUT_PROTOCOL* gop = GraphicsOutput;
  const auto firmware = gop->Blt;
  GraphicsOutput = nullptr;
  EXPECT_EQ(Quorvex_DoubleBuffer_Start(0, 0, 10, 10), EFI_INVALID_PARAMETER);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  EXPECT_EQ(gop->Blt, firmware);
  GraphicsOutput = gop;

  fake::FailAllocation(1);
  EXPECT_EQ(Quorvex_DoubleBuffer_Start(0, 0, 10, 10), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(gop->Blt, firmware);
  ASSERT_EQ(Fill(2, 2, 1, 1, 0x00FF00), EFI_SUCCESS);
  EXPECT_EQ(At(2, 2), 0x00FF00u) << "callers simply draw unbuffered";
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  EXPECT_EQ(gop->Blt, firmware);

  // A second Start before Stop keeps the firmware routine for Stop.
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(0, 0, 10, 10), EFI_SUCCESS);
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(0, 0, 20, 20), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Stop();
  EXPECT_EQ(gop->Blt, firmware);
}

TEST_F(DoubleBufferTest, DeferredFramesWaitUntilPresentOrUntilTheirPlaceIsTouched) {
  const auto firmware = GraphicsOutput->Blt;
  Paint(0, 0, 300, 300, 0x111111);
  Quorvex_DoubleBuffer_SetDeferred(true);
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(100, 100, 50, 40), EFI_SUCCESS);
  ASSERT_EQ(Fill(0, 0, ScreenWidth, ScreenHeight, 0xC00000), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  EXPECT_EQ(At(120, 120), 0x111111u) << "a flushed frame waits";
  EXPECT_NE(GraphicsOutput->Blt, firmware) << "the guard stays while a frame waits";

  // Elsewhere the screen is drawn at once, and the frame still waits.
  ASSERT_EQ(Fill(0, 0, 4, 4, 0x0000FF), EFI_SUCCESS);
  EXPECT_EQ(At(0, 0), 0x0000FFu);
  EXPECT_EQ(At(120, 120), 0x111111u);

  // A frame started where one waits writes the waiting one first.
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(140, 95, 20, 10), EFI_SUCCESS);
  EXPECT_TRUE(Uniform(100, 100, 50, 40, 0xC00000));
  Quorvex_DoubleBuffer_LoadScreen();
  ASSERT_EQ(Fill(140, 95, 20, 10, 0x00FF00), EFI_SUCCESS);
  Quorvex_DoubleBuffer_FlushChanged();
  Quorvex_DoubleBuffer_Stop();
  EXPECT_EQ(At(145, 100), 0xC00000u) << "the new frame waits in turn";

  // A small write where frames wait joins them; a read there sees them.
  ASSERT_EQ(Fill(159, 104, 1, 1, 0x0000FF), EFI_SUCCESS);
  EXPECT_EQ(At(159, 104), 0x111111u) << "the write waits behind the frame";
  auto read = [](UINT64 X, UINT64 Y) {
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL pixels[2] = {};
    EXPECT_EQ(GraphicsOutput->Blt(GraphicsOutput, pixels, EfiBltVideoToBltBuffer, X, Y, 1, 0, 1, 1,
                                  2 * sizeof pixels[0]),
              EFI_SUCCESS);
    UINT32 word;
    std::memcpy(&word, &pixels[1], sizeof word);
    return word;
  };
  EXPECT_EQ(read(159, 104), 0x0000FFu);
  EXPECT_EQ(read(145, 100), 0x00FF00u);
  EXPECT_EQ(read(120, 120), 0xC00000u);
  // A copy on the screen from where frames wait writes them first.
  ASSERT_EQ(
      GraphicsOutput->Blt(GraphicsOutput, nullptr, EfiBltVideoToVideo, 158, 104, 0, 50, 2, 1, 0),
      EFI_SUCCESS);
  EXPECT_EQ(At(145, 100), 0x00FF00u);
  EXPECT_EQ(At(0, 50), 0x00FF00u);
  EXPECT_EQ(At(1, 50), 0x0000FFu);
  EXPECT_EQ(GraphicsOutput->Blt, firmware) << "nothing waits: the firmware's routine is back";

  // Present writes what waits; a reset drops it unwritten.
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(10, 10, 5, 5), EFI_SUCCESS);
  ASSERT_EQ(Fill(10, 10, 5, 5, 0xFFFFFF), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  EXPECT_EQ(At(12, 12), 0x111111u);
  Quorvex_DoubleBuffer_Present();
  EXPECT_EQ(At(12, 12), 0xFFFFFFu);
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(20, 20, 5, 5), EFI_SUCCESS);
  ASSERT_EQ(Fill(20, 20, 5, 5, 0xFFFFFF), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  Quorvex_DoubleBuffer_Reset();
  EXPECT_EQ(At(22, 22), 0x111111u);
  EXPECT_EQ(GraphicsOutput->Blt, firmware);
}

TEST_F(DoubleBufferTest, WaitingDimmedScreenLeavesToALaterFrameWhatItCovers) {
  Paint(0, 0, ScreenWidth, ScreenHeight, 0x446688);
  Paint(99, 100, 1, 1, 0x224466);
  Quorvex_DoubleBuffer_SetDeferred(true);
  Quorvex_Grayout_All_Screen();
  EXPECT_EQ(At(0, 0), 0x446688u) << "the dimmed screen waits";
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(100, 100, 50, 40), EFI_SUCCESS);
  Quorvex_DoubleBuffer_LoadScreenAround({110, 110, 30, 20});
  ASSERT_EQ(Fill(110, 110, 30, 20, 0x00FF00), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  Quorvex_DoubleBuffer_Present();
  EXPECT_EQ(At(0, 0), 0x223344u);
  EXPECT_EQ(At(99, 100), 0x112233u) << "the column left of the frame";
  EXPECT_EQ(At(100, 100), 0x223344u) << "the frame's margin, loaded dimmed";
  EXPECT_EQ(At(150, 139), 0x223344u) << "the column right of the frame";
  EXPECT_EQ(At(149, 140), 0x223344u) << "the row below the frame";
  EXPECT_TRUE(Uniform(110, 110, 30, 20, 0x00FF00));
  Quorvex_Restore_All_Screen();
  EXPECT_EQ(At(120, 120), 0x446688u);
  Quorvex_DoubleBuffer_SetDeferred(false);
}

// A fill of the background's colour over what was drawn on it since must
// still land; only one over untouched background may be left out.
TEST_F(DoubleBufferTest, FillsOverDrawingOnTheBackgroundStillLand) {
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(0, 0, 100, 100), EFI_SUCCESS);
  ASSERT_EQ(Fill(0, 0, 100, 100, 0xEBF1FA), EFI_SUCCESS);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL red[4] = {
      {0, 0, 0xFF, 0}, {0, 0, 0xFF, 0}, {0, 0, 0xFF, 0}, {0, 0, 0xFF, 0}};
  ASSERT_EQ(GraphicsOutput->Blt(GraphicsOutput, const_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(red),
                                EfiBltBufferToVideo, 0, 0, 10, 10, 2, 2, 0),
            EFI_SUCCESS);
  ASSERT_EQ(Fill(40, 40, 2, 2, 0x00FF00), EFI_SUCCESS);
  ASSERT_EQ(Fill(60, 60, 3, 3, 0xFF0000), EFI_SUCCESS);
  ASSERT_EQ(Fill(5, 5, 20, 20, 0xEBF1FA), EFI_SUCCESS);
  ASSERT_EQ(Fill(40, 41, 1, 1, 0xEBF1FA), EFI_SUCCESS);
  ASSERT_EQ(Fill(70, 20, 10, 10, 0xEBF1FA), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  EXPECT_TRUE(Uniform(5, 5, 20, 20, 0xEBF1FA));
  EXPECT_EQ(At(40, 40), 0x00FF00u);
  EXPECT_EQ(At(40, 41), 0xEBF1FAu);
  EXPECT_EQ(At(62, 62), 0xFF0000u);
  EXPECT_TRUE(Uniform(70, 20, 10, 10, 0xEBF1FA));
}

} // namespace
