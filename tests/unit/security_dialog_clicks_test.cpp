// The Security page's dialogs under the pointer, and the language of the
// "Clear Secure Boot keys" question.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "pages/password_dialog.h"
#include "tests/unit/session_support.h"

namespace {

using namespace session;

class SecurityDialogTest : public SessionTest {
protected:
  using Step = std::function<void()>;
  void SetUp() override {
    SessionTest::SetUp();
    VerifyFailCount = 0;
  }
  fake::RunResult RunSteps(const std::vector<Step>& Steps) {
    return RunUntilIdle(QuorvexPlatform_EntryPoint, static_cast<int>(Steps.size()) + 2,
                        [&](int Round) {
                          if (static_cast<size_t>(Round) < Steps.size()) Steps[Round]();
                        });
  }
  static Step Press(Key K) {
    return [K] { fake::PushKey(K.Scan, K.Char); };
  }
};

// The question's buttons carry the current language's Yes and No; "N"
// cancels without clearing the keys.
TEST_F(SecurityDialogTest, ClearSecureBootKeysAsksInTheCurrentLanguage) {
  Settings["language"] = 1;
  Settings["secure_boot"] = 0;
  std::vector<Step> steps = {Press(kDown),      Press(kRight), Press(kDown),      Press(kEnter),
                             Press(Char(u's')), Press(kEnter), Press(Char(u's')), Press(kEnter)};
  // Down until "Clear Secure Boot keys" has the focus (the rows between
  // depend on the platform's items).
  for (int i = 0; i < 8; ++i) {
    steps.push_back([] {
      if (SelectedIndex(SecurityPageItems, SecurityPageItemCount) < SecurityRowClearSecureBootKeys)
        fake::PushKey(SCAN_DOWN, 0);
    });
  }
  UINT64 selected = 0;
  std::u16string yes, no;
  bool open = false;
  steps.push_back([&] {
    selected = SelectedIndex(SecurityPageItems, SecurityPageItemCount);
    fake::PushKey(0, CHAR_CARRIAGE_RETURN);
  });
  steps.push_back([&] {
    open = ChoiceWindowOpen != 0;
    yes = YesNoCaptions[0];
    no = YesNoCaptions[1];
    fake::PushKey(0, u'n');
  });
  RunSteps(steps);
  ASSERT_EQ(selected, static_cast<UINT64>(SecurityRowClearSecureBootKeys));
  EXPECT_TRUE(open);
  EXPECT_EQ(yes, std::u16string(TextOf(TEXT(CommonYes))));
  EXPECT_EQ(no, std::u16string(TextOf(TEXT(CommonNo))));
  EXPECT_EQ(yes, u"はい");
  EXPECT_FALSE(TraceHas("op 46 -> 0"));
  EXPECT_EQ(TraceCount("op 46"), 0u);
}

} // namespace
