// A 1024 x 600 screen: the help bar's last button and the lowest tab reach
// past the bottom. What lies above the bottom is drawn and survives every
// modal window; nothing is handed to the firmware that it would refuse.
#include "graphics/colours.h"
#include "session_support.h"

namespace {

using namespace session;

class ShortScreenTest : public SessionTest {
protected:
  fake::Options FirmwareOptions() const override {
    fake::Options options;
    options.Modes = {{1024, 600}};
    return options;
  }

  // The fixed screen: the left band with the tabs and the right column with
  // the help bar (the page area in between changes with the focus).
  static std::vector<UINT32> FixedScreen() {
    std::vector<UINT32> pixels;
    for (UINT32 y = 0; y < 600; ++y) {
      for (UINT32 x = 0; x < 256; ++x) pixels.push_back(fake::PixelAt(x, y));
      for (UINT32 x = 768; x < 1024; ++x) pixels.push_back(fake::PixelAt(x, y));
    }
    return pixels;
  }

  // Runs Keys; Snap lists the rounds after which the fixed screen is kept.
  std::vector<std::vector<UINT32>> RunAndKeep(const std::vector<Key>& Keys,
                                              const std::vector<size_t>& Snap) {
    std::vector<std::vector<UINT32>> kept;
    Run(Keys, [&](size_t Round) {
      for (size_t at : Snap)
        if (Round == at) kept.push_back(FixedScreen());
      if (Round == 0) HelpBarFound = CloseButtonDrawn();
    });
    return kept;
  }

  // The "Close [ESC]" button (x 778, y 560, 236 x 50): its top border and
  // face above the bottom of the screen.
  static bool CloseButtonDrawn() {
    return fake::PixelAt(800, 560) == kColourButtonBorder &&
           fake::PixelAt(785, 598) == kColourButtonFace;
  }

  bool HelpBarFound = false;
};

TEST_F(ShortScreenTest, TheFixedScreenSurvivesEveryModalWindow) {
  const std::vector<Key> keys = Join({
      {kF9, kEsc},                          // 0-1: the defaults question
      {kDown, kRight, kEnter, kEsc, kLeft}, // 2-6: a password field on the Security page
      {kDown, kDown, kRight},               // 7-9: into the Advanced page
      Repeat(kDown, 12),                    // 10-21: to "Change Boot Order"
      {kEnter, kEsc},                       // 22-23: the boot order dialog
  });
  // Before, during and after each modal window (round i: after key i - 1).
  const auto kept = RunAndKeep(keys, {0, 1, 2, 4, 5, 6, 22, 23, 24});
  ASSERT_EQ(kept.size(), 9u);
  EXPECT_TRUE(HelpBarFound) << "the Close button is drawn at start";
  EXPECT_TRUE(CloseButtonDrawn()) << "and is there after the modal windows";
  const char* const names[] = {"defaults question", "password field", "boot order dialog"};
  for (size_t modal = 0; modal < 3; ++modal) {
    const auto& before = kept[3 * modal];
    const auto& during = kept[3 * modal + 1];
    const auto& after = kept[3 * modal + 2];
    EXPECT_FALSE(during == before) << names[modal] << " was shown (screen greyed)";
    EXPECT_TRUE(after == before) << "fixed screen restored after the " << names[modal];
  }
  EXPECT_EQ(States[23], kStateBootOrderDialog);
  EXPECT_EQ(fake::Blt().Rejected, 0u) << "no Blt reached past the bottom";
}

} // namespace
