// The tab state machine of the main loop, driven through the whole product
// one key at a time: the tab moves do not wrap, Right and Enter enter the
// pages (Enter not from state 4), page keys do nothing at the tab level, and
// the hot key is reported before the key is dispatched as usual.
#include <gtest/gtest.h>

#include "tests/unit/session_support.h"

namespace {

using namespace session;

class MainLoopTest : public SessionTest {};

TEST_F(MainLoopTest, TabMovesFollowTheTablesWithoutWrapping) {
  const fake::RunResult run =
      Run({kUp, kDown, kDown, kDown, kDown, kDown, kPageUp, kPageDown, kUp, kUp, kUp, kUp, kUp});
  EXPECT_TRUE(run.Stopped);
  const std::vector<UINT32> expected = {0, 0, 1, 2, 3, 5, 5, 5, 5, 3, 2, 1, 0, 0};
  EXPECT_EQ(States, expected);
}

TEST_F(MainLoopTest, RightAndEnterEnterThePagesAndLeftLeavesThem) {
  Run({kEnter, kLeft, kRight, kLeft, kDown, kRight, kLeft, kDown, kEnter, kLeft, kDown, kDown,
       kRight, kLeft});
  const std::vector<UINT32> expected = {0, 6, 0, 6, 0, 1, 7, 1, 2, 8, 2, 3, 5, 12, 5};
  EXPECT_EQ(States, expected);
}

TEST_F(MainLoopTest, EnterDoesNothingInState4WhileRightEntersTheSubPage) {
  // Advanced page, down to "System Configuration" (row 13), into the
  // sub-page, Left to the tab (state 4); Enter there is ignored, Right enters.
  const std::vector<Key> keys =
      Join({Repeat(kDown, 3), {kRight}, Repeat(kDown, 13), {kEnter, kLeft, kEnter, kRight}});
  Run(keys);
  ASSERT_EQ(States.size(), keys.size() + 1);
  const size_t n = States.size();
  EXPECT_EQ(States[n - 5], kStateAdvancedPage) << "before Enter on System Configuration";
  EXPECT_EQ(States[n - 4], kStateAdvancedSubPage);
  EXPECT_EQ(States[n - 3], kStateAdvancedSubPageTab);
  EXPECT_EQ(States[n - 2], kStateAdvancedSubPageTab) << "Enter in state 4 does nothing";
  EXPECT_EQ(States[n - 1], kStateAdvancedSubPage) << "Right enters with state 11";
  EXPECT_EQ(SystemConfigurationPageItems[SysConfigRowBuiltInLan].Selected, 1)
      << "the sub-page comes back with its focus";
}

TEST_F(MainLoopTest, HotKeyIsReportedAndThenDispatched) {
  // With Down as the platform's hot key, pressing it reports the scan code
  // and still moves to the Security tab (whose draw asks about passwords);
  // the reference platform then asks for a rebuild of the screen, which
  // starts again on the Main tab.
  Settings["hot_key_scan_code"] = SCAN_DOWN;
  Run({kDown});
  const auto report = std::find(Trace.begin(), Trace.end(), "op 11 2");
  ASSERT_NE(report, Trace.end());
  const auto securityDraw = std::find(report, Trace.end(), "op 29 -> 0");
  const auto nextStart = std::find(report, Trace.end(), "op 10");
  EXPECT_NE(securityDraw, Trace.end());
  EXPECT_LT(securityDraw, nextStart) << "the key was dispatched before the rebuild";
  EXPECT_EQ(TraceCount("op 11"), 1u);
}

} // namespace
