// The main loop's state machine: entering and leaving pages (Enter not from
// the sub-page's tab state) and the hot key reported before dispatch.
#include <gtest/gtest.h>

#include "input/idle_wait.h"
#include "tests/unit/session_support.h"

namespace {

using namespace session;

class MainLoopTest : public SessionTest {};

TEST_F(MainLoopTest, RightAndEnterEnterThePagesAndLeftLeavesThem) {
  Run({kEnter, kLeft, kRight, kLeft, kDown, kRight, kLeft, kDown, kEnter, kLeft, kDown, kDown,
       kRight, kLeft});
  const std::vector<UINT32> expected = {0, 6, 0, 6, 0, 1, 7, 1, 2, 8, 2, 3, 5, 12, 5};
  EXPECT_EQ(States, expected);
}

TEST_F(MainLoopTest, EnterDoesNothingInState4WhileRightEntersTheSubPage) {
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
  // Down as the hot key: reported, then still moves to the Security tab
  // (whose draw asks about passwords) before the platform's rebuild.
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

// Between rounds every loop waits on the key, the pointers and one poll
// period, instead of spinning; the firmware's watchdog is off meanwhile, so
// hours left alone do not reset the machine.
TEST_F(MainLoopTest, IdleRoundsWaitAndTheWatchdogStaysDisarmed) {
  UINT64 waits = 0;
  const fake::RunResult r = Run({kDown, kRight, kF1}, [&](size_t) {
    EXPECT_GT(fake::WaitCalls(), waits) << "a round without a wait";
    waits = fake::WaitCalls();
    EXPECT_EQ(fake::LastWaitTimer(), kIdlePollPeriod100ns);
    EXPECT_EQ(fake::LastWaitEvents(), 4u) << "timer, keyboard, mouse and touch panel";
    EXPECT_EQ(fake::WatchdogTimeout(), 0u);
    fake::AdvanceClock(3600);
  });
  EXPECT_FALSE(r.Reset);
  EXPECT_TRUE(r.Stopped);
  EXPECT_EQ(States, (std::vector<UINT32>{0, 1, 7, 7})) << "F1's help loop waits as well";
}

} // namespace
