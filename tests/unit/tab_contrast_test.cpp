// Tab captions stay readable over the stretched left band: in every mode and
// language, the WCAG contrast of the ink against each pixel under its glyphs.
#include <cmath>

#include "graphics/background.h"
#include "graphics/colours.h"
#include "graphics/double_buffer.h"
#include "session_support.h"

namespace {

double Linear(UINT32 Channel) {
  const double c = Channel / 255.0;
  return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double Luminance(UINT32 Rgb) {
  return 0.2126 * Linear((Rgb >> 16) & 0xFF) + 0.7152 * Linear((Rgb >> 8) & 0xFF) +
         0.0722 * Linear(Rgb & 0xFF);
}

double Contrast(UINT32 A, UINT32 B) {
  const double la = Luminance(A);
  const double lb = Luminance(B);
  return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

struct Measure {
  double Lowest = 1e9; // lowest contrast of the ink against a pixel under a glyph
  UINT64 TextPixels = 0;
};

class TabContrastTest : public SessionTest {
protected:
  fake::Options FirmwareOptions() const override { return Options; }

  // Every pixel of the tab's box that the caption changed, against what lay
  // there before the caption (Under), with the caption's ink.
  static Measure MeasureTab(UINT32 Tab, TabLook Look, UINT32 Ink) {
    const UINT32 top = static_cast<UINT32>(TabTop(Tab));
    const UINT32 bottom = std::min<UINT32>(top + kTabHeight, fake::ScreenHeight());
    const UINT32 right = static_cast<UINT32>(kTabLeft + TabWidth);
    // The caption starts at x 20; the band's leftmost columns are not part
    // of the picture's redraw on stretched screens.
    const UINT32 left = 10;
    std::vector<UINT32> under;
    // What lies under the caption: the band itself, or the look's fill.
    Quorvex_BackGround_Left();
    Quorvex_DoubleBuffer_Present(); // what waits for the next input read
    for (UINT32 y = top; y < bottom; ++y)
      for (UINT32 x = left; x < right; ++x) {
        UINT32 pixel = fake::PixelAt(x, y);
        if (Look == TabLook::Highlighted) pixel = kColourAccent;
        if (Look == TabLook::PageFocus) pixel = kColourTabSelected;
        under.push_back(pixel);
      }
    Quorvex_Tab_Draw(Tab, Look);
    Quorvex_DoubleBuffer_Present();
    Measure m;
    size_t i = 0;
    for (UINT32 y = top; y < bottom; ++y)
      for (UINT32 x = left; x < right; ++x, ++i) {
        if (fake::PixelAt(x, y) == under[i]) continue;
        ++m.TextPixels;
        m.Lowest = std::min(m.Lowest, Contrast(Ink, under[i]));
      }
    return m;
  }

  fake::Options Options;
};

struct ModeCase {
  UINT32 Width;
  UINT32 Height;
};
constexpr ModeCase kModes[] = {{1024, 768},  {1280, 1024}, {1366, 768}, {1920, 1080},
                               {1920, 1200}, {1024, 1280}, {1024, 600}};

TEST_F(TabContrastTest, CaptionsStayReadableOverTheBandInEveryModeAndLanguage) {
  for (const ModeCase& mode : kModes) {
    Options.Modes = {{mode.Width, mode.Height}};
    for (UINT32 language = 0; language < 3; ++language) {
      Settings["language"] = language;
      Fresh();
      Run({});
      ASSERT_EQ(ScreenWidth, mode.Width);
      ASSERT_EQ(Language, language);
      const TabLook looks[] = {TabLook::NotSelected, TabLook::PageFocus, TabLook::Highlighted};
      const UINT32 inks[] = {kColourDarkText, kColourDarkText, kColourWhite};
      for (UINT32 tab = 0; tab < kTabCount; ++tab) {
        for (int look = 0; look < 3; ++look) {
          if (TabTop(tab) + 50 > mode.Height) continue; // off screen
          const Measure m = MeasureTab(tab, looks[look], inks[look]);
          SCOPED_TRACE(testing::Message() << mode.Width << "x" << mode.Height << " language "
                                          << language << " tab " << tab << " look " << look);
          EXPECT_GT(m.TextPixels, 20u);
          // Dark ink on the band or the light fill; white on the accent.
          EXPECT_GE(m.Lowest, look < 2 ? 4.5 : 3.0);
        }
      }
    }
  }
}

} // namespace
