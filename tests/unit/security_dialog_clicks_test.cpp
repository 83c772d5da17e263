// The "Clear Secure Boot keys" question asks in the current language.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pages/password_dialog.h"
#include "tests/unit/session_support.h"

namespace {

using namespace session;

class SecurityDialogTest : public SessionTest {};

TEST_F(SecurityDialogTest, ClearSecureBootKeysAsksInTheCurrentLanguage) {
  Settings["language"] = 1;
  Settings["secure_boot"] = 0;
  // A supervisor password, then Down until the row has the focus (the rows
  // between depend on the platform's items), Enter, and "n" to the question.
  const std::vector<Key> keys = {kDown,      kRight, kDown,      kEnter,
                                 Char(u's'), kEnter, Char(u's'), kEnter};
  UINT64 selected = 0;
  std::u16string yes, no;
  bool asked = false, answered = false, open = false;
  RunUntilIdle(QuorvexPlatform_EntryPoint, 20, [&](int Round) {
    const UINT64 focus = SelectedIndex(SecurityPageItems, SecurityPageItemCount);
    if (static_cast<size_t>(Round) < keys.size()) {
      fake::PushKey(keys[Round].Scan, keys[Round].Char);
    } else if (!asked && focus < SecurityRowClearSecureBootKeys) {
      fake::PushKey(SCAN_DOWN, 0);
    } else if (!asked) {
      asked = true;
      selected = focus;
      fake::PushKey(0, CHAR_CARRIAGE_RETURN);
    } else if (!answered) {
      answered = true;
      open = ChoiceWindowOpen != 0;
      yes = YesNoCaptions[0];
      no = YesNoCaptions[1];
      fake::PushKey(0, u'n');
    }
  });
  ASSERT_EQ(selected, static_cast<UINT64>(SecurityRowClearSecureBootKeys));
  EXPECT_TRUE(open);
  EXPECT_EQ(yes, std::u16string(TextOf(TEXT(CommonYes))));
  EXPECT_EQ(no, std::u16string(TextOf(TEXT(CommonNo))));
  EXPECT_EQ(yes, u"はい");
  EXPECT_EQ(TraceCount("op 46"), 0u) << "the keys were not cleared";
}

} // namespace
