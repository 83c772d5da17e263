// The Security page's password dialog and availability rules, in whole
// sessions against the reference platform's password store.
#include <gtest/gtest.h>

#include <string>

#include "pages/password_dialog.h"
#include "tests/unit/session_support.h"

namespace {

using namespace session;

std::vector<Key> Type(const std::u16string& Text) {
  std::vector<Key> keys;
  for (CHAR16 c : Text) keys.push_back(Char(c));
  keys.push_back(kEnter);
  return keys;
}

const std::vector<Key> kIntoSecurity = {kDown, kRight}; // focus on "  User"

class SecurityPageTest : public SessionTest {
protected:
  void SetUp() override {
    SessionTest::SetUp();
    VerifyFailCount = 0;
  }
  static bool Installed(UINT32 Kind) { return Quorvex_PasswordInstalled(Kind); }
};

TEST_F(SecurityPageTest, SetThenDeleteAPassword) {
  Run(Join({kIntoSecurity, {kEnter}, Type(u"ab"), Type(u"ab")}));
  EXPECT_TRUE(Installed(kPasswordUser));
  EXPECT_EQ(SecurityPageItems[SecurityRowUser].Label, TEXT(SecurityUserRegistered));

  // Set it again, then: current "ab", an empty new password twice.
  Fresh();
  Run(Join({kIntoSecurity,
            {kEnter},
            Type(u"ab"),
            Type(u"ab"),
            {kEnter},
            Type(u"ab"),
            Type(u""),
            Type(u"")}));
  EXPECT_FALSE(Installed(kPasswordUser));
  EXPECT_EQ(SecurityPageItems[SecurityRowUser].Label, TEXT(SecurityUserNotRegistered));
}

TEST_F(SecurityPageTest, MismatchedConfirmationStoresNothing) {
  Run(Join({kIntoSecurity, {kEnter}, Type(u"one"), Type(u"two"), {kEnter}}));
  EXPECT_FALSE(Installed(kPasswordUser));
  EXPECT_EQ(States.back(), kStateSecurityPage);
}

TEST_F(SecurityPageTest, DeletingTheSupervisorPasswordDeletesTheUserPassword) {
  const std::vector<Key> supervisor = {kDown}; // from "  User" to "  Supervisor"
  Run(Join({kIntoSecurity,
            supervisor,
            {kEnter},
            Type(u"s"),
            Type(u"s"),
            {kUp, kEnter},
            Type(u"u"),
            Type(u"u"),
            {kDown, kEnter},
            Type(u"s"),
            Type(u""),
            Type(u"")}));
  EXPECT_FALSE(Installed(kPasswordSupervisor));
  EXPECT_FALSE(Installed(kPasswordUser));
  EXPECT_EQ(SecurityPageItems[SecurityRowBootMenu].Value & 0xFF, 0u);
}

TEST_F(SecurityPageTest, ThirdWrongPasswordShutsTheSystemDown) {
  std::vector<Key> keys = Join({kIntoSecurity, {kEnter}, Type(u"ok"), Type(u"ok")});
  for (int attempt = 0; attempt < 3; ++attempt) {
    keys = Join({keys, {kEnter}, Type(u"bad"), {kEnter}});
  }
  const fake::RunResult run = Run(keys);
  EXPECT_EQ(VerifyFailCount, 3u);
  ASSERT_TRUE(run.Reset);
  EXPECT_EQ(run.ResetInfo.Type, EfiResetShutdown);
  EXPECT_EQ(Trace.back(), "op 190");
  EXPECT_TRUE(Installed(kPasswordUser)) << "a wrong password changes nothing";
}

TEST_F(SecurityPageTest, FieldTakesAtMostTheAllowedCharacters) {
  Settings["max_password_length"] = 3;
  Run(Join({kIntoSecurity, {kEnter}, Type(u"abcde"), Type(u"abc")}));
  EXPECT_TRUE(TraceHas("op 5 3"));
  EXPECT_EQ(TraceCount("op 5"), 2u);
  EXPECT_TRUE(Installed(kPasswordUser)) << "abcde was taken as abc";

  Fresh();
  Settings["max_password_length"] = 99;
  Run(Join({kIntoSecurity, {kEnter}, Type(std::u16string(100, u'x'))}));
  EXPECT_TRUE(TraceHas("op 5 99")) << "the 100th character is refused";
  EXPECT_EQ(TraceCount("op 5"), 1u);
}

TEST_F(SecurityPageTest, MasterWithoutUserPasswordIsDeletedAgain) {
  // Mode "Master+User", then the Master item: a master password, then the
  // chained user password refuses an empty answer; Esc leaves no user
  // password, so the master password goes too.
  Run(Join({kIntoSecurity,
            {kDown, kDown, kEnter, kDown, kEnter, kDown, kEnter},
            Type(u"m"),
            Type(u"m"),
            Type(u""),
            {kEsc}}));
  EXPECT_EQ(SecurityPageItems[SecurityRowMode].Data, 1u);
  EXPECT_EQ(States.back(), kStateSecurityPage);
  EXPECT_FALSE(Installed(kPasswordHddMaster));
  EXPECT_FALSE(Installed(kPasswordHddUser));
}

TEST_F(SecurityPageTest, SupervisorPasswordShowsTheRestrictedRows) {
  Run({});
  EXPECT_EQ(SecurityPageItems[SecurityRowBootMenu].Hidden, 1);
  EXPECT_EQ(SecurityPageItems[SecurityRowAccessRights].Data, 1u);
  Fresh();
  Run(Join({kIntoSecurity, {kDown, kEnter}, Type(u"s"), Type(u"s")}));
  EXPECT_EQ(SecurityPageItems[SecurityRowBootMenu].Hidden, 0);
  EXPECT_EQ(SecurityPageItems[SecurityRowAccessRights].Hidden, 0);
  EXPECT_EQ(SecurityPageItems[SecurityRowClearSecureBootKeys].GreyedOut, 1)
      << "Secure Boot is enabled";
}

} // namespace
