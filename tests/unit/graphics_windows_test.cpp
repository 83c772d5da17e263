// Modal windows by keys: the choice window, the general help's pages and
// scroll bar, and the screen they give back.
#include <functional>
#include <vector>

#include "graphics/windows.h"
#include "input/modal_windows.h"
#include "graphics_test_support.h"

namespace {

using gfxtest::MarkerColour;

class WindowsTest : public GraphicsTest {
protected:
  // Runs Window; each idle wait runs the next step. Still waiting after the
  // last step fails the test instead of hanging it.
  bool Run(const std::function<void()>& Window, std::vector<std::function<void()>> Steps = {}) {
    size_t next = 0;
    fake::SetIdleHandler([&] {
      if (next >= Steps.size()) fake::StopRunNow(1);
      Steps[next++]();
    });
    CurrentWindow = &Window;
    const fake::RunResult result =
        fake::RunImage(RunWindow, fake::CreateImageHandle(u"\\Test.efi"));
    CurrentWindow = nullptr;
    fake::SetIdleHandler(nullptr);
    // A window stopped half-way keeps what it holds.
    if (result.Stopped) CheckPool = false;
    return !result.Stopped;
  }
  static inline const std::function<void()>* CurrentWindow = nullptr;
  static EFI_STATUS EFIAPI RunWindow(EFI_HANDLE, EFI_SYSTEM_TABLE*) {
    (*CurrentWindow)();
    return EFI_SUCCESS;
  }

  static std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> Screen() { return fake::Framebuffer(); }
  static bool SameScreen(const std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL>& Before) {
    const auto& now = fake::Framebuffer();
    if (now.size() != Before.size()) return false;
    for (size_t i = 0; i < now.size(); ++i)
      if ((PixelWord(now[i]) & 0xFFFFFF) != (PixelWord(Before[i]) & 0xFFFFFF)) return false;
    return true;
  }
  static void Key(UINT16 Scan, CHAR16 Char = 0) { fake::PushKey(Scan, Char); }

  // The Exit page's Yes / No window: W/2 × H/4, buttons 210 wide in all.
  EFI_STATUS Choose(UINT64 Initial, UINT64* Choice, std::vector<std::function<void()>> Steps = {}) {
    EFI_STATUS status = EFI_NOT_READY;
    const bool ended = Run(
        [&] {
          status = Quorvex_Choice_Window(ScreenWidth / 2, ScreenHeight / 4, 25, 40, u"Sure?",
                                         YesNoCaptions, Initial, Choice);
        },
        std::move(Steps));
    EXPECT_TRUE(ended) << "the window did not end";
    return status;
  }
  // Face colour inside button I of the Yes / No row.
  UINT32 RowButton(UINT64 I) const {
    const UINT64 x0 = ScreenWidth / 2 - ScreenWidth / 4;
    const UINT64 y0 = ScreenHeight / 2 - ScreenHeight / 8;
    return At(x0 + (ScreenWidth / 2 - 210) / 2 + 110 * I + 95, y0 + ScreenHeight / 4 - 40 + 3);
  }
};

TEST_F(WindowsTest, ChoiceKeysStopAtTheEndsAndYAndNDecideAtOnce) {
  Paint(0, 0, ScreenWidth, ScreenHeight, 0x336699);
  Paint(100, 100, 50, 50, 0xFFFFFF);
  const auto before = Screen();

  UINT64 choice = 77;
  Key(SCAN_RIGHT); // on the last button: nothing
  EXPECT_EQ(Choose(1, &choice, {[&] {
                     EXPECT_EQ(ChoiceWindowOpen, 1u);
                     EXPECT_EQ(RowButton(1), kColourAccent);
                     EXPECT_EQ(RowButton(0), kColourPageArea);
                     Key(0, CHAR_CARRIAGE_RETURN);
                   }}),
            EFI_SUCCESS);
  EXPECT_EQ(choice, 1u);
  EXPECT_EQ(ChoiceWindowOpen, 0u);
  EXPECT_TRUE(SameScreen(before)) << "the screen is given back as it was";

  // Left on the first changes nothing; Right then moves the highlight.
  Key(SCAN_LEFT);
  EXPECT_EQ(Choose(0, &choice,
                   {[&] {
                      EXPECT_EQ(RowButton(0), kColourAccent);
                      Key(SCAN_RIGHT);
                    },
                    [&] {
                      EXPECT_EQ(RowButton(1), kColourAccent);
                      EXPECT_EQ(RowButton(0), kColourPageArea);
                      Key(SCAN_LEFT);
                      Key(0, CHAR_CARRIAGE_RETURN);
                    }}),
            EFI_SUCCESS);
  EXPECT_EQ(choice, 0u);

  // "Y" accepts the first button whatever is highlighted; Esc leaves the
  // caller's choice alone.
  Key(0, u'Y');
  EXPECT_EQ(Choose(1, &choice), EFI_SUCCESS);
  EXPECT_EQ(choice, 0u);
  choice = 77;
  Key(SCAN_ESC);
  EXPECT_EQ(Choose(0, &choice), EFI_ABORTED);
  EXPECT_EQ(choice, 77u);
}

TEST_F(WindowsTest, ChoiceReportsTheHotKeyAndFollowsThePointer) {
  UINT64 choice = 77;
  Key(SCAN_F12);
  Key(SCAN_ESC);
  EXPECT_EQ(Choose(0, &choice), EFI_ABORTED);
  bool reported = false;
  for (const auto& call : gfxtest::Operations().Calls)
    if (call.first == 11 && call.second == SCAN_F12) reported = true;
  EXPECT_TRUE(reported) << "the hot-key scan code goes to the setup data service";

  // A click handler closes the window with an out-of-range choice.
  EXPECT_EQ(Choose(0, &choice, {[] {
                     ChoiceWindowChoice = 5;
                     ChoiceWindowOpen = 0;
                   }}),
            EFI_SUCCESS);
  EXPECT_EQ(choice, 1u) << "a choice past the last button is the last";
}

class TallHelpTest : public WindowsTest {
protected:
  std::vector<fake::Mode> Modes() const override { return {{1024, 2000}}; }
};

TEST_F(TallHelpTest, AHelpTextOfOnePageHasNoThumbAndIgnoresPageKeys) {
  // Text box: tw = W/2 at tx = 256, th = 2H/5 = 800 at ty = 525.
  const UINT64 trackX = 256 + 512 - 10;
  Key(SCAN_PAGE_DOWN);
  Key(SCAN_DOWN);
  EFI_STATUS status = EFI_NOT_READY;
  EXPECT_TRUE(Run([&] { status = Quorvex_GeneralHelp(); }, {[&] {
                    EXPECT_EQ(GeneralHelpOpen, 1u);
                    EXPECT_EQ(Quorvex_GeneralHelp_PageCount(), 1u);
                    EXPECT_EQ(Quorvex_GeneralHelp_PageIndex(), 0u);
                    EXPECT_TRUE(Uniform(trackX, 535, 5, 780, kColourPageArea));
                    EXPECT_EQ(At(266, 535), MarkerColour(u'Q', kColourDarkText, kColourPageArea));
                    Key(0, u'N');
                  }}));
  EXPECT_EQ(status, EFI_SUCCESS);
  EXPECT_EQ(GeneralHelpOpen, 0u);
  EXPECT_TRUE(PicturesOf(kScrollArrowUp).empty());
  EXPECT_TRUE(PicturesOf(kScrollArrowDown).empty());
  EXPECT_EQ(PicturesOf(kCloseMark).size(), 1u);
}

TEST_F(WindowsTest, HelpPagesTurnWithTheKeysAndReopenWhereTheyWereLeft) {
  // Text box 512 x 307 at (256, 217), caption from (266, 227).
  const UINT32 firstPage = MarkerColour(u'Q', kColourDarkText, kColourPageArea);
  UINT64 pages = 0;
  const auto before = Screen();
  EFI_STATUS status = EFI_NOT_READY;
  EXPECT_TRUE(Run([&] { status = Quorvex_GeneralHelp(); },
                  {[&] {
                     pages = Quorvex_GeneralHelp_PageCount();
                     ASSERT_GE(pages, 2u);
                     EXPECT_EQ(At(266, 227), firstPage);
                     Key(SCAN_UP); // nothing before the first page
                     Key(SCAN_PAGE_DOWN);
                   },
                   [&] {
                     EXPECT_EQ(Quorvex_GeneralHelp_PageIndex(), 1u);
                     EXPECT_NE(At(266, 227), firstPage);
                     // Thumb of (th - 20) / n at ty + 10 + (th - 20) × p / n.
                     const UINT64 track = 307 - 20;
                     EXPECT_EQ(At(256 + 512 - 10, 217 + 10 + track / pages), kColourDarkText);
                     EXPECT_EQ(At(256 + 512 - 10, 217 + 10 + track / pages - 1), kColourPageArea);
                     for (UINT64 i = 0; i < pages + 2; ++i) Key(SCAN_DOWN);
                   },
                   [&] {
                     EXPECT_EQ(Quorvex_GeneralHelp_PageIndex(), pages - 1) << "no wrap at the end";
                     Key(SCAN_PAGE_UP);
                   },
                   [&] { Key(SCAN_ESC); }}));
  EXPECT_EQ(status, EFI_ABORTED);
  const UINT64 left = Quorvex_GeneralHelp_PageIndex();
  EXPECT_EQ(left, pages - 2);
  EXPECT_TRUE(SameScreen(before));

  // Reopened: the same page; closed by the pointer (flag cleared).
  status = EFI_NOT_READY;
  EXPECT_TRUE(Run([&] { status = Quorvex_GeneralHelp(); }, {[&] {
                    EXPECT_EQ(Quorvex_GeneralHelp_PageIndex(), left);
                    if (left != 0) {
                      EXPECT_NE(At(266, 227), firstPage);
                    }
                    GeneralHelpOpen = 0;
                  }}));
  EXPECT_EQ(status, EFI_ABORTED);

  // Page keys outside the window do nothing.
  Quorvex_GeneralHelp_PageDown();
  EXPECT_EQ(Quorvex_GeneralHelp_PageIndex(), left);
}

} // namespace
