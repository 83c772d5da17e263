// The password gate: who is asked, which answer opens what, the tries and
// the power-off, over-long input and the once-per-boot power-on question (the
// touch keyboard alone is run by a gate scenario). Input reaches the gate the
// way the simulator's script does: one step each time the gate finds nothing
// to read.
#include <functional>

#include "reference_platform/gate.h"
#include "reference_platform/passwords.h"
#include "tests/unit/refplat_fixture.h"

namespace {

class RefPlatGateTest : public RefPlatTest {
protected:
  void SetUp() override {
    RefPlatTest::SetUp();
    Steps().clear();
    fake::SetIdleHandler([] {
      static size_t next = 0;
      if (Steps().empty()) next = 0;
      if (next < Steps().size()) {
        Steps()[next++]();
        if (next == Steps().size()) Steps().clear(), next = 0;
      }
    });
  }
  void TearDown() override {
    fake::SetIdleHandler(nullptr);
    RefPlatTest::TearDown();
  }
  static std::vector<std::function<void()>>& Steps() {
    static std::vector<std::function<void()>> steps;
    return steps;
  }
  // One step: the text typed, then Enter.
  static void Answer(const std::u16string& Text) {
    Steps().push_back([Text] {
      for (char16_t c : Text) fake::PushKey(0, c);
      fake::PushKey(0, u'\r');
    });
  }
  static void Key(CHAR16 Character) {
    Steps().push_back([Character] { fake::PushKey(0, Character); });
  }
};

TEST_F(RefPlatGateTest, WhoIsAskedAndWhichAnswerOpensWhat) {
  EXPECT_FALSE(Gate_Needed(GatePurposeSetup));
  EXPECT_FALSE(Gate_Needed(GatePurposePowerOn));
  ASSERT_TRUE(Password_Set(PasswordSupervisor, u"boss"));
  EXPECT_TRUE(Gate_Needed(GatePurposeSetup));
  EXPECT_FALSE(Gate_Needed(GatePurposePowerOn)); // only a user password guards the boot
  ASSERT_TRUE(Password_Set(PasswordUser, u"worker"));
  EXPECT_TRUE(Gate_Needed(GatePurposePowerOn));

  EXPECT_EQ(Gate_Check(GatePurposeSetup, u"boss"), GateAnswerSupervisor);
  EXPECT_EQ(Gate_Check(GatePurposeSetup, u"worker"), GateAnswerUser);
  EXPECT_EQ(Gate_Check(GatePurposePowerOn, u"boss"), GateAnswerSupervisor);
  EXPECT_EQ(Gate_Check(GatePurposeSetup, u"bos"), GateAnswerWrong);
  EXPECT_EQ(Gate_Check(GatePurposeSetup, u""), GateAnswerWrong);
  EXPECT_EQ(Gate_Check(GatePurposeSetup, nullptr), GateAnswerWrong);

  // The user opens the setup with the access "BIOS Access Rights" grants
  // while a supervisor password exists, with full access when none does.
  Gate_Grant(GatePurposeSetup, GateOutcomeUser);
  EXPECT_EQ(Store_Get(kSetting_supervisor_access), 0u);
  Gate_Grant(GatePurposeSetup, GateOutcomeSupervisor);
  EXPECT_EQ(Store_Get(kSetting_supervisor_access), 1u);
  Gate_Grant(GatePurposePowerOn, GateOutcomeUser); // the boot grants no access level
  EXPECT_EQ(Store_Get(kSetting_supervisor_access), 1u);
  ASSERT_TRUE(Password_Set(PasswordSupervisor, u""));
  Gate_Grant(GatePurposeSetup, GateOutcomeUser);
  EXPECT_EQ(Store_Get(kSetting_supervisor_access), 1u);
  // With only a user password installed, the empty answer is still wrong.
  EXPECT_EQ(Gate_Check(GatePurposeSetup, u""), GateAnswerWrong);
}

TEST_F(RefPlatGateTest, WrongThenRightOpensAndNothingOfTheAnswersIsReported) {
  ASSERT_TRUE(Password_Set(PasswordSupervisor, u"Qx7boss"));
  ASSERT_TRUE(Password_Set(PasswordUser, u"Wk4user"));
  Answer(u"Zz9wrong");
  Key(u'\r'); // closes the notice
  Answer(u"Wk4user");
  testing::internal::CaptureStderr();
  EXPECT_EQ(Gate_Run(GatePurposeSetup), GateOutcomeUser);
  const std::string serial = testing::internal::GetCapturedStderr();
  EXPECT_NE(serial.find("wrong password (1 of 3)"), std::string::npos) << serial;
  EXPECT_NE(serial.find("user password given"), std::string::npos) << serial;
  for (const char* secret : {"Zz9", "Wk4", "Qx7"})
    EXPECT_EQ(serial.find(secret), std::string::npos);
  EXPECT_EQ(Store_Get(kSetting_supervisor_access), 0u);
  EXPECT_TRUE(Resets().empty());
}

TEST_F(RefPlatGateTest, OverLongInputStopsAtTheMaximumAndBackspaceEdits) {
  ASSERT_TRUE(Store_SetByName("max_password_length", 4));
  ASSERT_TRUE(Password_Set(PasswordSupervisor, u"abcd"));
  // "abcdXYZ": the last three keys type nothing, so the answer is right;
  // then "abX" + Backspace + "cd" is right as well.
  Answer(u"abcdXYZ");
  EXPECT_EQ(Gate_Run(GatePurposeSetup), GateOutcomeSupervisor);
  Answer(u"abX\bcd");
  EXPECT_EQ(Gate_Run(GatePurposeSetup), GateOutcomeSupervisor);
}

TEST_F(RefPlatGateTest, PowerOnIsAskedOncePerBoot) {
  ASSERT_TRUE(Password_Set(PasswordUser, u"pw"));
  Answer(u"pw");
  EXPECT_EQ(Gate_Run(GatePurposePowerOn), GateOutcomeUser);
  const UINT64 reads = fake::InputReads();
  EXPECT_EQ(Gate_Run(GatePurposePowerOn), GateOutcomeNotAsked);
  EXPECT_EQ(fake::InputReads(), reads);
}

TEST_F(RefPlatGateTest, TheLastWrongAnswerPowersOff) {
  ASSERT_TRUE(Password_Set(PasswordSupervisor, u"pw"));
  ASSERT_TRUE(Store_SetByName("password_tries", 2));
  EXPECT_EXIT(
      {
        fake::SetResetHandler(
            [](EFI_RESET_TYPE Type, EFI_STATUS) { std::_Exit(Type == EfiResetShutdown ? 7 : 8); });
        Answer(u"x");
        Key(u'\r');
        Answer(u"pw!"); // the right answer would have come too late
        Answer(u"pw");
        Gate_Run(GatePurposeSetup);
        std::_Exit(9);
      },
      testing::ExitedWithCode(7), "wrong password \\(2 of 2\\)");
}

} // namespace
