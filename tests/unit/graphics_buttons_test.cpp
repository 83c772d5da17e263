// Buttons and list controls: faces and borders, the colour of each state,
// where captions, labels, values and pictures land, and what a redraw in
// another state leaves behind.
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
  const std::vector<UINT32> wide = Face(7, 6);
  for (UINT64 y = 0; y < 6; ++y)
    for (UINT64 x = 0; x < 7; ++x) {
      const bool inside = x >= 2 && x < 5 && y >= 2 && y < 4;
      EXPECT_EQ(wide[y * 7 + x], inside ? 0x111111u : 0x999999u) << x << "," << y;
    }

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

TEST_F(ButtonsTest, PopUpButtonsCentreTheirCaptionAndAdjustmentButtonsOverlap) {
  // "abc" is 30 wide: centred in 100 from x + 35, top y + 15 - 10.
  Quorvex_Button_Control_PopUpForm(10, 10, 100, 30, u"abc");
  EXPECT_EQ(At(10, 10), kColourButtonBorder);
  EXPECT_EQ(At(12, 12), kColourPageArea) << "pop-up buttons have the page colour";
  EXPECT_EQ(At(45, 15), MarkerColour(u'a', kColourDarkText, kColourPageArea));
  Quorvex_Selected_Button_Control_PopUpForm(10, 50, 100, 30, u"abc");
  EXPECT_EQ(At(10, 50), kColourDarkText);
  EXPECT_EQ(At(45, 55), MarkerColour(u'a', kColourWhite, kColourAccent));
  // Wider than the button: starts at its left edge.
  Quorvex_Grayout_Button_Control_PopUpForm(10, 90, 40, 30, u"abcdef");
  EXPECT_EQ(At(10, 95), MarkerColour(u'a', kColourGreyText, kColourButtonBorder));

  // Adjustment: minus, value and plus buttons 48 apart, 50 wide each.
  const UINT64 x = 100;
  const UINT64 w = 400;
  Quorvex_Adjustment_Button(x, 200, w, 40, u"Time", 15);
  EXPECT_EQ(At(x + w - 146, 200), kColourButtonBorder);
  EXPECT_EQ(At(x + w - 98, 220), kColourButtonBorder) << "value button's left border";
  EXPECT_EQ(At(x + w - 97, 220), kColourButtonBorder);
  EXPECT_EQ(At(x + w - 99, 220), kColourPageArea) << "minus button's face";
  EXPECT_EQ(At(x + w - 1, 239), kColourButtonBorder);
  // "15" is 20 wide: centred in the value button.
  EXPECT_EQ(At(x + w - 98 + 15, 210), MarkerColour(u'1', kColourDarkText, kColourPageArea));
  const auto minus = PicturesOf(kMinusSign);
  const auto plus = PicturesOf(kPlusSign);
  ASSERT_EQ(minus.size(), 1u);
  ASSERT_EQ(plus.size(), 1u);
  EXPECT_EQ(minus[0].X, x + w - 146 + 19);
  EXPECT_EQ(plus[0].X, x + w - 50 + 19);
  EXPECT_EQ(plus[0].Y, 200u + 20 - 8);
  // The label, one line, centred on the control's middle.
  EXPECT_EQ(At(x, 210), MarkerColour(u'T', kColourDarkText, kColourPageArea));

  Quorvex_Grayout_Adjustment_Button(x, 200, w, 40, u"Time", 15);
  EXPECT_EQ(At(x + w - 98 + 15, 210), MarkerColour(u'1', kColourGreyText, kColourPageArea));
  EXPECT_EQ(At(x, 210), MarkerColour(u'T', kColourGreyText, kColourPageArea));
  Quorvex_Selected_Adjustment_Button(x, 200, w, 40, u"Time", 1234567890123ull);
  EXPECT_EQ(At(x - 5, 195), kColourAccent);
  EXPECT_EQ(At(x, 210), MarkerColour(u'T', kColourWhite, kColourAccent));
}

TEST_F(ButtonsTest, TogglesAndDropDownListsPlaceTheirParts) {
  const UINT64 x = 60;
  const UINT64 y = 40;
  Quorvex_Toggle_Item_Control(x, y, 300, 50, u"Beep", u"off", 0);
  EXPECT_EQ(At(x, y), MarkerColour(u'B', kColourDarkText, kColourPageArea));
  EXPECT_EQ(At(x, y + 30), MarkerColour(u'o', kColourDarkText, kColourPageArea));
  ASSERT_EQ(PicturesOf(kSwitchOff).size(), 1u);
  EXPECT_EQ(PicturesOf(kSwitchOff)[0].X, x + 300 - 62);
  EXPECT_EQ(PicturesOf(kSwitchOff)[0].Y, y + 50 - 26);
  Quorvex_Selected_Toggle_Item_Control(x, y, 300, 50, u"Beep", u"on", 7);
  EXPECT_EQ(PicturesOf(kSwitchOn).size(), 1u);
  EXPECT_EQ(At(x - 5, y - 5), kColourAccent);
  EXPECT_EQ(At(x, y), MarkerColour(u'B', kColourWhite, kColourAccent));
  Quorvex_Grayout_Toggle_Item_Control(x, y, 300, 50, u"Beep", nullptr, 0);
  EXPECT_EQ(At(x - 5, y - 5), kColourPageArea);
  EXPECT_EQ(At(x, y), MarkerColour(u'B', kColourGreyText, kColourPageArea));
  EXPECT_EQ(At(x, y + 30), kColourPageArea);

  const CHAR16* options[] = {u"Fast", u"Normal", nullptr};
  const UINT64 ly = 200;
  Quorvex_DropDownList_Control(x, ly, 300, 62, u"Boot", options, 1);
  EXPECT_EQ(At(x, ly), MarkerColour(u'B', kColourDarkText, kColourPageArea));
  EXPECT_EQ(At(x + 10, ly + 27), kColourButtonBorder) << "button at y + height - 35";
  EXPECT_EQ(At(x + 20, ly + 27 + 7), MarkerColour(u'N', kColourDarkText, kColourButtonFace));
  ASSERT_EQ(PicturesOf(kDropDownArrow).size(), 1u);
  EXPECT_EQ(PicturesOf(kDropDownArrow)[0].X, x + 280);
  EXPECT_EQ(PicturesOf(kDropDownArrow)[0].Y, ly + 62 - 23);
  Quorvex_Selected_DropDownList_Control(x, ly, 300, 62, u"Boot", options, 0);
  EXPECT_EQ(At(x + 100, ly + 5), kColourAccent) << "label box on the accent colour";
  EXPECT_EQ(At(x + 20, ly + 34), MarkerColour(u'F', kColourDarkText, kColourButtonFace));
  // An index past the options shows an empty button.
  EXPECT_EQ(Quorvex_Grayout_DropDownList_Control(x, ly, 300, 62, u"Boot", options, 5), EFI_SUCCESS);
  EXPECT_EQ(At(x, ly), MarkerColour(u'B', kColourGreyText, kColourPageArea));
  EXPECT_EQ(At(x + 20, ly + 34), kColourButtonFace);

  // Unfolded: option i at (x + 30, y + height + i × LH - 17), the
  // highlighted one white on the accent colour.
  Quorvex_ItemSelected_Label_DropDownList_Control(x, ly, 300, 62, u"Boot", options, 1);
  EXPECT_EQ(At(x + 19, ly + 40), kColourDarkText) << "list face border";
  EXPECT_EQ(At(x + 30, ly + 45), MarkerColour(u'F', kColourDarkText, kColourButtonFace));
  EXPECT_EQ(At(x + 30, ly + 65), MarkerColour(u'N', kColourWhite, kColourAccent));
  EXPECT_EQ(At(x + 100, ly + 70), kColourAccent);
  EXPECT_EQ(At(x + 19 + 292 - 1, ly + 40 + 2 * 20 + 10 - 1), kColourDarkText)
      << "face (width - 8) x (n LH + 10)";
}

} // namespace
