// Buttons and list controls: faces, state colours, where captions and
// values land, and what a redraw in another state leaves behind.
#include <vector>

#include "graphics/buttons.h"
#include "graphics/double_buffer.h"
#include "graphics/item_list.h"
#include "graphics_test_support.h"

namespace {

using gfxtest::MarkerColour;

class ButtonsTest : public GraphicsTest {
protected:
  void SetUp() override {
    GraphicsTest::SetUp();
    Paint(0, 0, 700, 400, kColourPageArea);
  }
  static std::vector<UINT32> Face(UINT64 W, UINT64 H) {
    std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> pixels(W * H, Pixel(0x777777));
    Quorvex_Draw_Button_Face(pixels.data(), W, H, Pixel(0x111111), Pixel(0x999999));
    std::vector<UINT32> words;
    for (const auto& p : pixels) words.push_back(PixelWord(p) & 0xFFFFFF);
    return words;
  }
  static std::vector<UINT32> Snapshot(UINT64 X, UINT64 Y, UINT64 W, UINT64 H) {
    std::vector<UINT32> pixels;
    for (UINT64 y = Y; y < Y + H; ++y)
      for (UINT64 x = X; x < X + W; ++x) pixels.push_back(At(x, y));
    return pixels;
  }
};

TEST_F(ButtonsTest, FacesHaveTwoPixelBordersOnEverySide) {
  for (UINT64 size : {1u, 2u, 3u, 4u}) {
    for (UINT32 p : Face(size, size)) EXPECT_EQ(p, 0x999999u) << size << " x " << size;
  }
  const std::vector<UINT32> five = Face(5, 5);
  for (UINT64 i = 0; i < 25; ++i) EXPECT_EQ(five[i], i == 12 ? 0x111111u : 0x999999u) << i;

  // On the screen: a null caption gives the face alone, and success.
  EXPECT_EQ(Quorvex_Button_Control(10, 10, 4, 4, nullptr), EFI_SUCCESS);
  EXPECT_TRUE(Uniform(10, 10, 4, 4, kColourButtonBorder));
  EXPECT_EQ(Quorvex_Button_Control(20, 10, 30, 20, nullptr), EFI_SUCCESS);
  EXPECT_TRUE(Uniform(22, 12, 26, 16, kColourButtonFace));
  EXPECT_TRUE(Uniform(20, 10, 30, 2, kColourButtonBorder));
  EXPECT_TRUE(Uniform(48, 10, 2, 20, kColourButtonBorder));
  EXPECT_EQ(At(50, 10), kColourPageArea);
}

TEST_F(ButtonsTest, OnlyTheSelectedStateHasADarkBorderAndGreyDiffersOnlyInTheCaption) {
  // Caption: 10 pixels in, vertically centred (y + 30/2 - 20/2).
  Quorvex_Button_Control(10, 10, 100, 30, u"Ab");
  Quorvex_Grayout_Button_Control(10, 50, 100, 30, u"Ab");
  Quorvex_Selected_Button_Control(10, 90, 100, 30, u"Ab");
  EXPECT_EQ(At(20, 15), MarkerColour(u'A', kColourDarkText, kColourButtonFace));
  EXPECT_EQ(At(30, 15), MarkerColour(u'b', kColourDarkText, kColourButtonFace));
  EXPECT_EQ(At(20, 55), MarkerColour(u'A', kColourGreyText, kColourButtonFace));
  EXPECT_EQ(At(20, 95), MarkerColour(u'A', kColourWhite, kColourAccent));
  EXPECT_EQ(At(10, 10), kColourButtonBorder);
  EXPECT_EQ(At(10, 50), kColourButtonBorder);
  EXPECT_EQ(At(10, 90), kColourDarkText);
  EXPECT_EQ(At(50, 100), kColourAccent);

  // A caption longer than the button is cut, and says so; the face stays.
  EXPECT_EQ(Quorvex_Button_Control(10, 130, 40, 30, u"abcdefgh"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(At(12, 132), kColourButtonFace);

  // Colour-modified: caption top-aligned 10 pixels in.
  Quorvex_Button_Control_Color_Modified_Mode(200, 10, 100, 80, u"Z", Pixel(0x102030),
                                             Pixel(0x405060));
  EXPECT_EQ(At(200, 10), 0x405060u);
  EXPECT_EQ(At(205, 15), 0x102030u);
  EXPECT_EQ(At(210, 20), MarkerColour(u'Z', kColourDarkText, 0x102030));
}

TEST_F(ButtonsTest, LabelledControlsPlaceLabelAndValueAndRedrawWithoutTraces) {
  // Label at x, centred; the button at x + label width.
  Quorvex_Label_Button_Control(20, 20, 100, 40, u"L", u"v", 150);
  const std::vector<UINT32> normal = Snapshot(0, 0, 300, 80);
  EXPECT_EQ(At(20, 30), MarkerColour(u'L', kColourDarkText, kColourPageArea));
  EXPECT_EQ(At(170, 20), kColourButtonBorder);
  EXPECT_EQ(At(180, 30), MarkerColour(u'v', kColourDarkText, kColourButtonFace));

  Quorvex_Grayout_Label_Button_Control(20, 20, 100, 40, u"L", u"v", 150);
  EXPECT_EQ(At(20, 30), MarkerColour(u'L', kColourGreyText, kColourPageArea));
  EXPECT_EQ(At(180, 30), MarkerColour(u'v', kColourGreyText, kColourButtonFace));
  Quorvex_Selected_Label_Button_Control(20, 20, 100, 40, u"L", u"v", 150);
  EXPECT_EQ(At(20, 30), MarkerColour(u'L', kColourDarkText, kColourPageArea));
  EXPECT_EQ(At(170, 20), kColourDarkText);
  Quorvex_Label_Button_Control(20, 20, 100, 40, u"L", u"v", 150);
  EXPECT_EQ(Snapshot(0, 0, 300, 80), normal);
}

TEST_F(ButtonsTest, ButtonsRunningOffTheScreenAreCutOnlyWhileBuffered) {
  const UINT64 x = ScreenWidth - 20;
  Paint(x - 5, 300, 25, 40, 0x000000);
  // Straight to the firmware: it refuses the rectangle, nothing is drawn.
  EXPECT_EQ(Quorvex_Button_Control(x, 300, 40, 30, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_TRUE(Uniform(x, 300, 20, 30, 0x000000));
  // Buffered: the part left of the edge is drawn.
  ASSERT_EQ(Quorvex_DoubleBuffer_Start(x - 5, 300, 25, 40), EFI_SUCCESS);
  EXPECT_EQ(Quorvex_Button_Control(x, 300, 40, 30, nullptr), EFI_SUCCESS);
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  EXPECT_TRUE(Uniform(x, 300, 20, 2, kColourButtonBorder));
  EXPECT_TRUE(Uniform(x + 2, 302, 18, 26, kColourButtonFace));
}

TEST_F(ButtonsTest, OversizeCaptionsValuesAndIndexesStayInside) {
  // A pop-up caption wider than the button starts at its left edge.
  Quorvex_Grayout_Button_Control_PopUpForm(10, 90, 40, 30, u"abcdef");
  EXPECT_EQ(At(10, 95), MarkerColour(u'a', kColourGreyText, kColourButtonBorder));
  // A 13-digit value still draws the selected control around its label.
  Quorvex_Selected_Adjustment_Button(100, 200, 400, 40, u"Time", 1234567890123ull);
  EXPECT_EQ(At(95, 195), kColourAccent);
  EXPECT_EQ(At(100, 210), MarkerColour(u'T', kColourWhite, kColourAccent));
  // A toggle without option text leaves the option line empty.
  Quorvex_Grayout_Toggle_Item_Control(60, 40, 300, 50, u"Beep", nullptr, 0);
  EXPECT_EQ(At(60, 40), MarkerColour(u'B', kColourGreyText, kColourPageArea));
  EXPECT_EQ(At(60, 70), kColourPageArea);
  // An index past the options shows an empty button.
  const CHAR16* options[] = {u"Fast", u"Normal", nullptr};
  EXPECT_EQ(Quorvex_Grayout_DropDownList_Control(60, 200, 300, 62, u"Boot", options, 5),
            EFI_SUCCESS);
  EXPECT_EQ(At(80, 234), kColourButtonFace);
}

} // namespace
