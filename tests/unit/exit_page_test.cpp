// The Exit page and F9 on the setup data trace: the defaults loaded,
// the access level, and the battery action the platform may refuse (the
// save order and No / Esc / "n" are run by the flow_* scenarios).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/session_support.h"

namespace {

using namespace session;

class ExitPageTest : public SessionTest {
protected:
  // Index of the first trace line equal to Line at or after From.
  size_t Find(const std::string& Line, size_t From = 0) const {
    for (size_t i = From; i < Trace.size(); ++i) {
      if (Trace[i] == Line || Trace[i].rfind(Line + " ", 0) == 0) return i;
    }
    return Trace.size();
  }
};

TEST_F(ExitPageTest, AccessLevelFromThePlatformsAnswers) {
  struct Case {
    UINT64 Supervisor, Rights, Restricted, Level;
  };
  for (const Case& c :
       {Case{1, 2, 0, 0}, Case{0, 0, 0, 1}, Case{0, 1, 0, 2}, Case{0, 2, 0, 3}, Case{1, 0, 1, 3}}) {
    Settings["supervisor_access"] = c.Supervisor;
    Settings["bios_access_rights"] = c.Rights;
    Settings["restricted_condition"] = c.Restricted;
    Run({});
    EXPECT_EQ(AccessLevel, c.Level) << c.Supervisor << " " << c.Rights << " " << c.Restricted;
    EXPECT_EQ(ExitPageItems[ExitRowLoadDefaults].GreyedOut, c.Level > 1 ? 1 : 0);
    Fresh();
  }
}

TEST_F(ExitPageTest, F9ThenYesLoadsTheDefaultsIntoEveryPage) {
  Settings["boot_speed"] = 1;
  Settings["wake_on_lan"] = 1;
  Run({kF9, kEnter});
  const size_t load = Find("op 0");
  ASSERT_LT(load, Trace.size());
  EXPECT_LT(Find("op 64", load), Trace.size()) << "the Advanced page reads its values again";
  EXPECT_EQ(AdvancedPageItems[AdvancedRowBootSpeed].Data, 0u);
  EXPECT_EQ(PowerManagementPageItems[PowerRowWakeOnLan].Value & 0xFF, 0u);
  EXPECT_EQ(Find("op 1"), Trace.size());
}

TEST_F(ExitPageTest, BatteryActionAsksThePlatformFirst) {
  const std::vector<Key> keys = {kDown, kDown, kDown, kDown,  kRight,
                                 kDown, kDown, kDown, kEnter, kEnter};
  Settings["battery_disable_allowed"] = 0;
  fake::RunResult run = Run(keys);
  EXPECT_FALSE(run.Reset);
  EXPECT_EQ(Find("op 4"), Trace.size());
  EXPECT_EQ(Find("op 28"), Trace.size()) << "a refusal stores nothing";

  Fresh();
  Settings["battery_disable_allowed"] = 1;
  run = Run(keys);
  EXPECT_TRUE(run.Reset);
  EXPECT_EQ(Trace.back(), "op 4");
  EXPECT_LT(Find("op 108"), Trace.size()) << "every page stored its values first";
}

} // namespace
