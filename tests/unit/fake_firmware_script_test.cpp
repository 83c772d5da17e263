// The simulator's script: every command expands into single inputs, and a
// rejected line (unknown word, value out of range) is named in the error.
#include <string>
#include <vector>

#include "host/fake_firmware_fixture.h"
#include "host/fake_script.h"

namespace {

TEST(SimScript, CommandsExpandIntoSingleInputs) {
  std::vector<fake::ScriptCommand> commands;
  std::string error;
  ASSERT_TRUE(fake::ParseScript("# a comment\n"
                                "key down 3\n"
                                "  key enter   # trailing comment\n"
                                "type a#b \xC3\xA9\xE3\x82\xA2\n"
                                "time 2024-02-29 23:59:59\n"
                                "scan 65535 0xFFFF\n"
                                "mouse -100000 100000 3\n"
                                "touch-raw 0xFFFFFFFF 0 0xFF\n"
                                "scan 0\n"
                                "key capslock\n",
                                &commands, &error))
      << error;
  ASSERT_EQ(commands.size(), 3u + 1u + 6u + 6u);
  EXPECT_EQ(commands[0].ScanCode, SCAN_DOWN);
  EXPECT_EQ(commands[2].Line, 2);
  EXPECT_EQ(commands[3].Char, CHAR_CARRIAGE_RETURN);
  // "a#b é ア": a '#' inside a word is text; UTF-8 becomes one key each.
  std::u16string typed;
  for (size_t i = 4; i < 10; ++i) typed += commands[i].Char;
  EXPECT_EQ(typed, u"a#b \u00E9\u30A2");
  EXPECT_EQ(commands[10].Time.Day, 29);
  EXPECT_EQ(commands[11].ScanCode, 0xFFFF);
  EXPECT_EQ(commands[11].Char, 0xFFFF);
  EXPECT_EQ(commands[12].DeltaX, -100000);
  EXPECT_EQ(commands[12].DeltaY, 100000);
  EXPECT_EQ(commands[13].RawX, 0xFFFFFFFFull);
  EXPECT_EQ(commands[13].Buttons, 0xFFu);
  // "scan 0" is a key with scan code 0 and no character, not Caps Lock.
  EXPECT_EQ(commands[14].Kind, fake::Verb::Key);
  EXPECT_EQ(commands[14].ScanCode, 0);
  EXPECT_EQ(commands[15].Kind, fake::Verb::CapsLock);
}

TEST(SimScript, ErrorsNameTheLine) {
  const auto error = [](const std::string& Text) {
    std::vector<fake::ScriptCommand> commands;
    std::string message;
    EXPECT_FALSE(fake::ParseScript(Text, &commands, &message)) << Text;
    return message;
  };
  EXPECT_EQ(error("key up\nkey sideways\n"), "2: unknown key name 'sideways'");
  EXPECT_EQ(error("\n\njump 1 2\n"), "3: unknown command 'jump'");
  EXPECT_NE(error("time 2023-02-29 10:00:00\n").find("usage: time"), std::string::npos);
  EXPECT_NE(error("expect-pixel 1 -2 EBF1FA\n").find("usage"), std::string::npos);
  EXPECT_NE(error("shot ../etc/passwd\n").find("usage: shot"), std::string::npos);
  EXPECT_NE(error("type \xF0\x9F\x98\x80\n").find("Basic Multilingual Plane"), std::string::npos);
  EXPECT_NE(error("type \xC3\n").find("UTF-8"), std::string::npos);
  for (const char* line :
       {"scan", "scan 0x10000", "scan 1 65536", "scan 1 2 3", "scan -1", "scan 0x", "mouse 1 2",
        "mouse 100001 0 0", "mouse 0 0 4", "mouse - 0 0", "mouse 0 0 -1",
        "touch-raw 0x100000000 0 0", "touch-raw 0 0 256", "touch-raw 1 2"})
    EXPECT_EQ(error(std::string("key up\n") + line + "\n").rfind("2: usage: ", 0), 0u) << line;
}

} // namespace
