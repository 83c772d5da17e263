// Turning the screen pages of a long item list: Page Up / Page Down and the
// scroll rectangle change the page shown, the focus follows only onto a page
// that can hold it, Up / Down and character keys bring the focused row's page
// back.
#include <functional>

#include "graphics/item_list.h"
#include "session_support.h"

namespace {

using namespace session;

// One step of a run: a key, or a mouse click at a screen position.
struct Step {
  Key K;
  bool Click;
  UINT32 X;
  UINT32 Y;
};
Step K(Key Which) {
  return {Which, false, 0, 0};
}
Step ClickAt(UINT32 X, UINT32 Y) {
  return {{}, true, X, Y};
}

class ListPagingTest : public SessionTest {
protected:
  // Starts the product and delivers Steps one per idle round; After(i) runs
  // at the idle after step i (before step i + 1).
  void RunSteps(const std::vector<Step>& Steps, std::function<void(size_t)> After = nullptr) {
    RunUntilIdle(QuorvexPlatform_EntryPoint, static_cast<int>(Steps.size()) + 2, [&](int Round) {
      const size_t round = static_cast<size_t>(Round);
      if (After && round > 0 && round <= Steps.size()) After(round - 1);
      if (round >= Steps.size()) return;
      const Step& step = Steps[round];
      if (step.Click) {
        fake::MouseMoveTo(step.X, step.Y, true);
      } else {
        fake::PushKey(step.K.Scan, step.K.Char);
      }
    });
  }

  static UINT64 Shown(const SetupItem* Items, UINT64 Count) {
    return Quorvex_Item_ShownPage(Items, Count, nullptr);
  }
  static UINT64 FirstRowOf(const SetupItem* Items, UINT64 Count, UINT64 Page) {
    UINT64 starts[kMaxItemPages];
    Quorvex_Item_Pages(Items, Count, nullptr, nullptr, starts);
    return starts[Page];
  }

  void Restricted() {
    Settings["supervisor_access"] = 0;
    Settings["bios_access_rights"] = 1; // access level 2
  }
};

SetupItem* const kPower = PowerManagementPageItems;

TEST_F(ListPagingTest, WithFullAccessTheFocusFollowsToTheNewPage) {
  std::vector<UINT64> focus;
  std::vector<UINT64> shown;
  const UINT64& count = PowerManagementPageItemCount;
  RunSteps({K(kDown), K(kDown), K(kRight), K(kPageDown), K(kPageDown), K(kPageUp), K(kPageUp)},
           [&](size_t) {
             focus.push_back(SelectedIndex(kPower, count));
             shown.push_back(Shown(kPower, count));
           });
  ASSERT_EQ(focus.size(), 7u);
  const UINT64 second = FirstRowOf(kPower, count, 1);
  EXPECT_EQ(focus[2], 0u);
  EXPECT_EQ(focus[3], second) << "the first row of the new page takes the focus";
  EXPECT_EQ(shown[3], 1u);
  EXPECT_EQ(focus[4], second) << "no page past the last";
  EXPECT_EQ(focus[5], 0u);
  EXPECT_EQ(focus[6], 0u);
  EXPECT_EQ(shown[6], 0u);
}

TEST_F(ListPagingTest, ScrollRectangleClicksTurnPagesAndNeverReachARow) {
  Restricted();
  const UINT32 x = 1024 * 3 / 4 - 10;
  std::vector<UINT64> shown;
  std::vector<UINT64> focus;
  std::vector<UINT32> states;
  const UINT64& count = AdvancedPageItemCount;
  // Below the shown segment: next page; on it: nothing; above it: back.
  RunSteps({K(kDown), K(kDown), K(kDown), K(kRight), ClickAt(x, 100), ClickAt(x, 600),
            ClickAt(x, 100), ClickAt(x, 49)},
           [&](size_t) {
             shown.push_back(Shown(AdvancedPageItems, count));
             focus.push_back(SelectedIndex(AdvancedPageItems, count));
             states.push_back(PageState);
           });
  ASSERT_EQ(shown.size(), 8u);
  EXPECT_EQ(shown[3], 1u);
  EXPECT_EQ(shown[4], 0u) << "a click above the second page's segment shows the first";
  EXPECT_EQ(shown[5], 1u);
  EXPECT_EQ(shown[6], 0u);
  EXPECT_EQ(shown[7], 0u) << "above the rectangle: no turn";
  for (size_t i = 3; i < focus.size(); ++i) {
    EXPECT_EQ(focus[i], static_cast<UINT64>(AdvancedRowSystemConfiguration)) << i;
    EXPECT_EQ(states[i], kStateAdvancedPage) << "no row activated, no state change " << i;
  }
}

} // namespace
