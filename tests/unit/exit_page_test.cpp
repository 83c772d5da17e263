// The Exit page and the global F9 / F10 / Esc actions, checked on the setup
// data trace of whole sessions: what runs on Yes, that No, Esc and "n" do
// nothing, the access level from the platform's answers, and the battery
// action answered by the platform service.
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
  // Trace length at each idle round.
  std::vector<size_t> Marks;
  fake::RunResult RunMarked(const std::vector<Key>& Keys) {
    Marks.clear();
    return Run(Keys, [this](size_t) { Marks.push_back(Trace.size()); });
  }
};

TEST_F(ExitPageTest, F10ThenYesStoresEveryPageInOrderThenSaves) {
  const fake::RunResult run = RunMarked({kF10, kEnter});
  EXPECT_TRUE(run.Reset) << "the service ends the session";
  ASSERT_FALSE(Trace.empty());
  EXPECT_EQ(Trace.back(), "op 1");
  const size_t from = Marks.at(1); // after F10 opened the question
  // Main, Security, Power, Advanced, its sub-page, the boot order, save.
  size_t previous = from;
  for (const char* op : {"op 28", "op 53", "op 113", "op 65", "op 155", "op 108", "op 1"}) {
    const size_t at = Find(op, from);
    EXPECT_LT(at, Trace.size()) << op;
    EXPECT_GE(at, previous) << op << " out of order";
    previous = at;
  }
  EXPECT_EQ(Find("op 2"), Trace.size());
}

TEST_F(ExitPageTest, NoEscAndNDoNothing) {
  for (const std::vector<Key>& answer :
       {std::vector<Key>{kRight, kEnter}, {kEsc}, {Char(u'n')}, {Char(u'N')}}) {
    std::vector<Key> keys = {kF10};
    keys.insert(keys.end(), answer.begin(), answer.end());
    keys.push_back(kEsc);
    keys.insert(keys.end(), answer.begin(), answer.end());
    const fake::RunResult run = Run(keys);
    EXPECT_TRUE(run.Stopped);
    EXPECT_FALSE(run.Reset);
    EXPECT_EQ(Find("op 1"), Trace.size());
    EXPECT_EQ(Find("op 2"), Trace.size());
    EXPECT_EQ(Find("op 28"), Trace.size()) << "no page stored its values";
    EXPECT_EQ(States.back(), kStateMainTab);
    Fresh();
  }
}

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
