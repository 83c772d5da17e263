// The simulator's raw-input script commands: scan codes, raw mouse states and
// raw touch states parse into single inputs with their full ranges, and
// anything outside those ranges is refused with the line named.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/fake_script.h"

namespace {

TEST(SimScriptRawInputs, ParseWithTheirFullRanges) {
  std::vector<fake::ScriptCommand> c;
  std::string error;
  ASSERT_TRUE(fake::ParseScript("scan 0x17\n"
                                "scan 65535 0xFFFF\n"
                                "mouse -100000 100000 3\n"
                                "mouse 0 -1 0\n"
                                "touch-raw 0xFFFFFFFF 0 0xFF\n"
                                "touch-raw 28800 29184 1\n",
                                &c, &error))
      << error;
  ASSERT_EQ(c.size(), 6u);
  EXPECT_EQ(c[0].Kind, fake::Verb::Key);
  EXPECT_EQ(c[0].ScanCode, 0x17);
  EXPECT_EQ(c[0].Char, 0);
  EXPECT_EQ(c[1].ScanCode, 0xFFFF);
  EXPECT_EQ(c[1].Char, 0xFFFF);
  EXPECT_EQ(c[2].Kind, fake::Verb::MouseState);
  EXPECT_EQ(c[2].DeltaX, -100000);
  EXPECT_EQ(c[2].DeltaY, 100000);
  EXPECT_EQ(c[2].Buttons, 3u);
  EXPECT_EQ(c[3].DeltaY, -1);
  EXPECT_EQ(c[4].Kind, fake::Verb::TouchState);
  EXPECT_EQ(c[4].RawX, 0xFFFFFFFFull);
  EXPECT_EQ(c[4].Buttons, 0xFFu);
  EXPECT_EQ(c[5].RawY, 29184u);
}

TEST(SimScriptRawInputs, OutOfRangeValuesAreRefused) {
  for (const char* line :
       {"scan", "scan 0x10000", "scan 1 65536", "scan 1 2 3", "scan -1", "scan 0x", "mouse 1 2",
        "mouse 100001 0 0", "mouse 0 0 4", "mouse - 0 0", "mouse 0 0 -1",
        "touch-raw 0x100000000 0 0", "touch-raw 0 0 256", "touch-raw 1 2"}) {
    std::vector<fake::ScriptCommand> c;
    std::string error;
    EXPECT_FALSE(fake::ParseScript(std::string("key up\n") + line + "\n", &c, &error)) << line;
    EXPECT_EQ(error.rfind("2: usage: ", 0), 0u) << line << " -> " << error;
  }
}

} // namespace
