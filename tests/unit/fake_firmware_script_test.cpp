// The simulator's script and settings files: what is accepted, how errors
// name their line, and what one idle step of a script does.
#include <string>
#include <vector>

#include "host/fake_firmware_fixture.h"
#include "host/fake_script.h"
#include "host/sim_settings.h"

namespace {

std::vector<fake::ScriptCommand> Parse(const std::string& Text) {
  std::vector<fake::ScriptCommand> commands;
  std::string error;
  EXPECT_TRUE(fake::ParseScript(Text, &commands, &error)) << error;
  return commands;
}

std::string ParseError(const std::string& Text) {
  std::vector<fake::ScriptCommand> commands;
  std::string error;
  EXPECT_FALSE(fake::ParseScript(Text, &commands, &error)) << Text;
  return error;
}

TEST(SimScript, CommandsExpandIntoSingleInputs) {
  const auto commands = Parse("# a comment\n"
                              "key down 3\n"
                              "  key enter   # trailing comment\n"
                              "type a#b \xC3\xA9\xE3\x82\xA2\n"
                              "click 10 20\n"
                              "time 2024-02-29 23:59:59\n"
                              "tick 86400\n"
                              "expect-pixel 5 6 ebF1fa\n"
                              "shot main.page-1\n"
                              "restart\n"
                              "quit\n");
  ASSERT_EQ(commands.size(), 3u + 1u + 6u + 7u);
  EXPECT_EQ(commands[0].ScanCode, SCAN_DOWN);
  EXPECT_EQ(commands[2].Line, 2);
  EXPECT_EQ(commands[3].Char, CHAR_CARRIAGE_RETURN);
  // "a#b é ア": a '#' inside a word is text; UTF-8 becomes one key each.
  std::u16string typed;
  for (size_t i = 4; i < 10; ++i) typed += commands[i].Char;
  EXPECT_EQ(typed, u"a#b \u00E9\u30A2");
  EXPECT_EQ(commands[10].Kind, fake::Verb::Click);
  EXPECT_EQ(commands[10].Y, 20u);
  EXPECT_EQ(commands[11].Time.Day, 29);
  EXPECT_EQ(commands[12].Seconds, 86400u);
  EXPECT_EQ(commands[13].Rgb, 0xEBF1FAu);
  EXPECT_EQ(commands[14].Name, "main.page-1");
  EXPECT_EQ(commands[15].Kind, fake::Verb::Restart);
  EXPECT_EQ(commands[16].Kind, fake::Verb::Quit);
}

TEST(SimScript, ErrorsNameTheLine) {
  EXPECT_EQ(ParseError("key up\nkey sideways\n"), "2: unknown key name 'sideways'");
  EXPECT_EQ(ParseError("\n\njump 1 2\n"), "3: unknown command 'jump'");
  EXPECT_EQ(ParseError("key up 0\n").substr(0, 3), "1: ");
  EXPECT_NE(ParseError("time 2023-02-29 10:00:00\n").find("usage: time"), std::string::npos);
  EXPECT_NE(ParseError("time 2023-1-5 10:00:00\n").find("usage: time"), std::string::npos);
  EXPECT_NE(ParseError("expect-pixel 1 2 EBF1F\n").find("usage"), std::string::npos);
  EXPECT_NE(ParseError("expect-pixel 1 -2 EBF1FA\n").find("usage"), std::string::npos);
  EXPECT_NE(ParseError("shot ../etc/passwd\n").find("usage: shot"), std::string::npos);
  EXPECT_NE(ParseError("click 1\n").find("usage: click"), std::string::npos);
  EXPECT_NE(ParseError("quit now\n").find("no arguments"), std::string::npos);
  EXPECT_NE(ParseError("type \xF0\x9F\x98\x80\n").find("Basic Multilingual Plane"),
            std::string::npos);
  EXPECT_NE(ParseError("type \xC3\n").find("UTF-8"), std::string::npos);
  EXPECT_NE(ParseError("type #only a comment\n").find("usage: type"), std::string::npos);
}

class SimScriptRun : public FakeFirmwareTest {
protected:
  void SetUp() override {
    FakeFirmwareTest::SetUp();
    Run.Name = "test.sim";
    Run.Shot = [this](const std::string& Name, std::string*) {
      Shots.push_back(Name);
      return true;
    };
    Run.Finish = [this](int Status, const std::string& Message) {
      Finished.push_back(Status);
      Messages.push_back(Message);
    };
  }
  void Load(const std::string& Text) {
    std::string error;
    ASSERT_TRUE(fake::ParseScript(Text, &Run.Commands, &error)) << error;
  }

  fake::ScriptRun Run;
  std::vector<std::string> Shots;
  std::vector<int> Finished;
  std::vector<std::string> Messages;
};

TEST_F(SimScriptRun, EachStepChecksTheScreenThenGivesOneThingToReactTo) {
  fake::SetPixel(3, 4, 0x00FF00);
  Load("shot start\nexpect-pixel 3 4 00FF00\nkey down\nkey up\nshot after\ntick 5\nquit\n");
  fake::ScriptStep(Run);
  EXPECT_EQ(Shots, std::vector<std::string>{"start"});
  EXPECT_EQ(fake::PendingInputs(), 1u); // only the first key
  EXPECT_TRUE(Finished.empty());

  fake::ClearInput();
  fake::ScriptStep(Run); // key up
  EXPECT_EQ(Shots.size(), 1u);
  const EFI_TIME before = fake::Clock();
  fake::ScriptStep(Run); // shot, then the clock moves
  EXPECT_EQ(Shots.back(), "after");
  EXPECT_EQ(fake::Clock().Second, (before.Second + 5) % 60);
  fake::ScriptStep(Run);
  EXPECT_EQ(Finished, std::vector<int>{0});
}

TEST_F(SimScriptRun, AFailedPixelCheckStopsWithTheColourFound) {
  fake::SetPixel(10, 11, 0xABCDEF);
  Load("key esc\nexpect-pixel 10 11 ABCDEE\nkey enter\n");
  fake::ScriptStep(Run);
  fake::ScriptStep(Run);
  ASSERT_EQ(Finished, std::vector<int>{3});
  EXPECT_EQ(Messages[0], "test.sim:2: expect-pixel 10 11 ABCDEE failed: found ABCDEF");
  EXPECT_EQ(fake::PendingInputs(), 1u); // the key after it was not delivered

  Finished.clear();
  Run.Commands.clear();
  Run.Next = 0;
  Load("expect-pixel 1024 0 000000\n");
  fake::ScriptStep(Run);
  ASSERT_EQ(Finished, std::vector<int>{3});
  EXPECT_NE(Messages.back().find("outside the 1024x768 screen"), std::string::npos);
}

TEST_F(SimScriptRun, RestartInstallsTheTriggerOnANewHandle) {
  const size_t handles = fake::HandleCount();
  Load("restart\nrestart\n");
  fake::ScriptStep(Run);
  fake::ScriptStep(Run);
  UINTN count = 0;
  EFI_HANDLE* buffer = nullptr;
  ASSERT_EQ(BootServices()->LocateHandleBuffer(ByProtocol, &kRestartTriggerGuid, nullptr, &count,
                                               &buffer),
            EFI_SUCCESS);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(fake::HandleCount(), handles + 2);
  BootServices()->FreePool(buffer);
}

TEST(SimSettings, LinesAreNameEqualsNumber) {
  std::vector<sim::SettingLine> settings;
  std::string error;
  ASSERT_TRUE(sim::ParseSettings("# defaults for a test\n"
                                 "language = 2\n"
                                 "\n"
                                 "  boot_order=0x1234   # packed\n",
                                 &settings, &error))
      << error;
  ASSERT_EQ(settings.size(), 2u);
  EXPECT_EQ(settings[0].Name, "language");
  EXPECT_EQ(settings[0].Value, 2u);
  EXPECT_EQ(settings[1].Line, 4);
  EXPECT_EQ(settings[1].Value, 0x1234u);

  settings.clear();
  EXPECT_FALSE(sim::ParseSettings("language = 1\nBootSpeed = 1\n", &settings, &error));
  EXPECT_EQ(error.substr(0, 3), "2: ");
  EXPECT_FALSE(sim::ParseSettings("language 1\n", &settings, &error));
  EXPECT_FALSE(sim::ParseSettings("language = -1\n", &settings, &error));
  EXPECT_EQ(error, "1: '-1' is not a number (decimal, or hex with 0x)");
  EXPECT_FALSE(sim::ParseSettings("language = 99999999999999999999\n", &settings, &error));
  EXPECT_FALSE(sim::ParseSettings("language = 0x\n", &settings, &error));
}

} // namespace
