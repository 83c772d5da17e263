// The on-screen keyboard: key layout, and sessions where Caps follows the
// physical keyboards and the keyboard gets out of the way when it cannot run.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "input/virtual_keyboard.h"
#include "pages/password_dialog.h"
#include "setup_data/setup_data_wrappers.h"
#include "tests/unit/key_code_fake.h"
#include "tests/unit/session_support.h"

namespace {

using namespace session;

class VirtualKeyboardLayoutTest : public ::testing::Test {
protected:
  void SetUp() override {
    savedWidth_ = ScreenWidth;
    savedHeight_ = ScreenHeight;
  }
  void TearDown() override {
    ScreenWidth = savedWidth_;
    ScreenHeight = savedHeight_;
  }
  UINT64 savedWidth_ = 0, savedHeight_ = 0;
};

// At every supported size the keys lie inside the panel and never overlap,
// so a touch reaches at most one key.
TEST_F(VirtualKeyboardLayoutTest, KeysAreDisjointAndInsideThePanel) {
  const UINT64 sizes[][2] = {{1024, 768}, {1366, 768}, {2560, 1600}};
  for (const auto& size : sizes) {
    ScreenWidth = size[0];
    ScreenHeight = size[1];
    const KeyboardRect panel = Quorvex_VirtualKeyboard_Panel();
    std::vector<KeyboardRect> keys;
    for (UINT32 row = 0; row < kKeyboardRows; ++row) {
      for (UINT32 column = 0; column < kKeyboardColumns; ++column) {
        KeyboardRect key;
        if (Quorvex_VirtualKeyboard_KeyRect(row, column, &key)) keys.push_back(key);
      }
    }
    EXPECT_EQ(keys.size(), 12u + 4 * 11 + 9);
    for (size_t i = 0; i < keys.size(); ++i) {
      const KeyboardRect& a = keys[i];
      EXPECT_GE(a.X, panel.X);
      EXPECT_GE(a.Y, panel.Y);
      EXPECT_LE(a.X + a.Width, panel.X + panel.Width) << size[0] << "x" << size[1];
      EXPECT_LE(a.Y + a.Height, panel.Y + panel.Height) << size[0] << "x" << size[1];
      for (size_t j = i + 1; j < keys.size(); ++j) {
        const KeyboardRect& b = keys[j];
        const bool apart = a.X + a.Width <= b.X || b.X + b.Width <= a.X || a.Y + a.Height <= b.Y ||
                           b.Y + b.Height <= a.Y;
        EXPECT_TRUE(apart) << "keys " << i << " and " << j << " at " << size[0] << "x" << size[1];
      }
    }
  }
}

// A Simple Text Input Ex instance of a second keyboard that records SetState.
struct SecondKeyboard {
  EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL Protocol;
  std::vector<UINT8> States;
};
SecondKeyboard* gSecond = nullptr;

EFI_STATUS EFIAPI SecondRead(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL*, EFI_KEY_DATA*) {
  return EFI_NOT_READY;
}
EFI_STATUS EFIAPI SecondSetState(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL*, UINT8* State) {
  gSecond->States.push_back(*State);
  return EFI_SUCCESS;
}

class VirtualKeyboardTest : public SessionTest {
protected:
  using Step = std::function<void()>;

  void SetUp() override {
    SessionTest::SetUp();
    VerifyFailCount = 0;
  }

  // Steps[i] runs at the i-th idle round.
  fake::RunResult RunSteps(const std::vector<Step>& Steps) {
    return RunUntilIdle(QuorvexPlatform_EntryPoint, static_cast<int>(Steps.size()) + 2,
                        [&](int Round) {
                          if (static_cast<size_t>(Round) < Steps.size()) Steps[Round]();
                        });
  }
  static Step Press(Key K) {
    return [K] { fake::PushKey(K.Scan, K.Char); };
  }
  static std::vector<Step> Typed(const std::u16string& Text) {
    std::vector<Step> steps;
    for (CHAR16 c : Text) steps.push_back(Press(Char(c)));
    steps.push_back(Press(kEnter));
    return steps;
  }
  // A tap in the middle of a key.
  static Step Tap(UINT32 Row, UINT32 Column) {
    return [Row, Column] {
      KeyboardRect key;
      ASSERT_TRUE(Quorvex_VirtualKeyboard_KeyRect(Row, Column, &key));
      fake::TouchAt(static_cast<UINT32>(key.X + key.Width / 2),
                    static_cast<UINT32>(key.Y + key.Height / 2));
    };
  }
  static std::vector<Step> Join(std::initializer_list<std::vector<Step>> Parts) {
    std::vector<Step> all;
    for (const auto& part : Parts) all.insert(all.end(), part.begin(), part.end());
    return all;
  }
  // Main tab → Security tab → focus on "  User" → Enter opens the field.
  static std::vector<Step> IntoUserPasswordField() {
    return {Press(kDown), Press(kRight), Press(kEnter)};
  }
  static void PointAtKey(UINT32 Row, UINT32 Column) {
    KeyboardRect key;
    ASSERT_TRUE(Quorvex_VirtualKeyboard_KeyRect(Row, Column, &key));
    CursorX = static_cast<INT32>(key.X + key.Width / 2);
    CursorY = static_cast<INT32>(key.Y + key.Height / 2);
  }
  static bool ReaderInstalled() {
    return fake::SystemTable()->ConIn->ReadKeyStroke == Quorvex_VirtualKeyboard_ReadKeyStroke;
  }
  static bool Verifies(const CHAR16* Password) {
    return SetupData_user_password_verify(Password, nullptr) != 0;
  }
  static size_t PasswordSizedBlocks() {
    size_t n = 0;
    for (const std::string& line : fake::DescribeOutstanding()) {
      if (line.find(": 1000 bytes ") != std::string::npos) ++n;
    }
    return n;
  }
};

TEST_F(VirtualKeyboardTest, OneKeyWaitsAtATimeAndMissesPassOn) {
  EFI_STATUS first = 0, second = 0, margin = 0, outside = 0;
  CHAR16 pending = 0;
  EFI_INPUT_KEY read = {};
  RunSteps(Join({IntoUserPasswordField(),
                 {[&] {
                   PointAtKey(1, 0);
                   first = Quorvex_VirtualKeyboard_Touch();
                   PointAtKey(2, 0);
                   second = Quorvex_VirtualKeyboard_Touch();
                   pending = PendingChar;
                   fake::SystemTable()->ConIn->ReadKeyStroke(fake::SystemTable()->ConIn, &read);
                   // The panel's margin, left of the first column.
                   const KeyboardRect panel = Quorvex_VirtualKeyboard_Panel();
                   CursorX = static_cast<INT32>(panel.X + 3);
                   CursorY = static_cast<INT32>(panel.Y + panel.Height / 2);
                   margin = Quorvex_VirtualKeyboard_Touch();
                   CursorX = 10;
                   CursorY = 10;
                   outside = Quorvex_VirtualKeyboard_Touch();
                 }},
                 {Press(kEsc)}}));
  EXPECT_EQ(first, EFI_SUCCESS);
  EXPECT_EQ(second, EFI_ABORTED);
  EXPECT_EQ(pending, u'1');
  EXPECT_EQ(read.UnicodeChar, u'1');
  EXPECT_EQ(margin, EFI_ABORTED);
  EXPECT_EQ(outside, EFI_ABORTED);
  EXPECT_EQ(KeyPending, 0);
  EXPECT_FALSE(Quorvex_PasswordInstalled(kPasswordUser));
  // Outside a password field touches are never the keyboard's.
  PointAtKey(1, 0);
  EXPECT_EQ(Quorvex_VirtualKeyboard_Touch(), EFI_ABORTED);
}

// The Caps key follows the physical Caps Lock, and the lights follow the
// Caps key on every keyboard, including one plugged in while the field is
// open.
TEST_F(VirtualKeyboardTest, CapsStateAndLightsStayInStep) {
  SecondKeyboard second = {};
  second.Protocol.ReadKeyStrokeEx = SecondRead;
  second.Protocol.SetState = SecondSetState;
  gSecond = &second;
  EFI_HANDLE handle = nullptr;
  UINT8 capsAfterLock = 0, capsAfterUnlock = 0, capsAfterTouch = 0;
  RunSteps(Join({IntoUserPasswordField(),
                 {[&] {
                    EXPECT_EQ(fake::SetStateCalls().back(), kLedsCapsOff);
                    fake::PressCapsLock();
                  },
                  [&] {
                    capsAfterLock = CapsOn;
                    EXPECT_EQ(fake::SetStateCalls().back(), kLedsCapsOn);
                    fake::PressCapsLock();
                  },
                  [&] {
                    capsAfterUnlock = CapsOn;
                    EXPECT_EQ(fake::SetStateCalls().back(), kLedsCapsOff);
                    ASSERT_EQ(BootServices()->InstallProtocolInterface(
                                  &handle, &kSimpleTextInputExGuid, EFI_NATIVE_INTERFACE,
                                  &second.Protocol),
                              EFI_SUCCESS);
                  },
                  Tap(3, kWideKeyColumn), [&] { capsAfterTouch = CapsOn; }},
                 {Press(kEsc)}}));
  EXPECT_EQ(capsAfterLock, 1);
  EXPECT_EQ(capsAfterUnlock, 0);
  EXPECT_EQ(capsAfterTouch, 1);
  EXPECT_EQ(fake::KeyToggleState() & 0x04, 0x04);
  ASSERT_FALSE(second.States.empty());
  EXPECT_EQ(second.States.back(), kLedsCapsOn);
  BootServices()->UninstallProtocolInterface(handle, &kSimpleTextInputExGuid, &second.Protocol);
  gSecond = nullptr;
}

// With the platform's extended key source the PS/2 codes rule: 0x56 is
// dropped and Caps Lock (0x3A) only toggles the Caps key.
TEST_F(VirtualKeyboardTest, ExtendedKeySourceDropsAndTogglesByPs2Code) {
  Settings["key_source_mode"] = 2;
  FakeKeyCodes scripted;
  EFI_HANDLE handle = nullptr;
  // Plugged in before the field opens (the lists are taken at its start);
  // keys are given once each field is open (the confirmation flushes).
  const Step idle = [] {};
  RunSteps(Join(
      {{Press(kDown), Press(kRight),
        [&] {
          ASSERT_EQ(BootServices()->InstallProtocolInterface(
                        &handle, &kExtendedKeyCodeGuid, EFI_NATIVE_INTERFACE, &scripted.Protocol),
                    EFI_SUCCESS);
          fake::PushKey(0, CHAR_CARRIAGE_RETURN);
        },
        [&] {
          scripted.Keys = {KeyData(0, u'x', 0x56), KeyData(0, 0, 0x3A), KeyData(0, u'k', 0x25),
                           KeyData(0, CHAR_CARRIAGE_RETURN, 0x1C)};
        },
        idle, idle,
        [&] {
          scripted.Keys = {KeyData(0, u'k', 0x25), KeyData(0, CHAR_CARRIAGE_RETURN, 0x1C)};
        },
        idle, idle}}));
  EXPECT_TRUE(scripted.Keys.empty());
  const std::vector<UINT8>& states = fake::SetStateCalls();
  EXPECT_NE(std::find(states.begin(), states.end(), kLedsCapsOn), states.end()) << "Caps Lock";
  EXPECT_TRUE(Verifies(u"k"));
  BootServices()->UninstallProtocolInterface(handle, &kExtendedKeyCodeGuid, &scripted.Protocol);
}

TEST_F(VirtualKeyboardTest, RestartInsideThePasswordFieldLeavesNothingBehind) {
  size_t blocksBefore = 0, blocksInField = 0;
  RunSteps(Join({{Press(kDown), Press(kRight),
                  [&] {
                    blocksBefore = PasswordSizedBlocks();
                    fake::PushKey(0, CHAR_CARRIAGE_RETURN);
                  },
                  Press(Char(u's')), Press(Char(u'e')),
                  [&] {
                    blocksInField = PasswordSizedBlocks();
                    EXPECT_TRUE(ReaderInstalled());
                    fake::TriggerRestart();
                  },
                  Press(kDown)}}));
  EXPECT_EQ(blocksInField, blocksBefore + 2);
  EXPECT_EQ(PasswordSizedBlocks(), blocksBefore);
  EXPECT_FALSE(ReaderInstalled());
  EXPECT_EQ(VirtualKeyboardActive, 0);
  // Keys reach the main loop again: Down moved from the Main tab.
  EXPECT_EQ(PageState, kStateSecurityTab);
}

// Without a touch panel the window is centred and the physical keyboard
// alone types the password.
class NoTouchPanelTest : public VirtualKeyboardTest {
protected:
  fake::Options FirmwareOptions() const override {
    fake::Options options;
    options.Touch = false;
    return options;
  }
};

TEST_F(NoTouchPanelTest, WindowCentredAndKeysTyped) {
  bool active = true;
  UINT32 centre = 0, below = 0;
  UINT64 top = 0;
  RunSteps(Join({IntoUserPasswordField(),
                 {[&] {
                   active = VirtualKeyboardActive != 0 || ReaderInstalled();
                   top = Quorvex_SecurityPasswordBox().Y;
                   centre = fake::PixelAt(300, ScreenHeight / 2);
                   below = fake::PixelAt(300, ScreenHeight * 25 / 200 + 20);
                 }},
                 Typed(u"pw"),
                 Typed(u"pw")}));
  EXPECT_FALSE(active);
  EXPECT_EQ(top, (ScreenHeight - ScreenHeight * 25 / 100) / 2);
  EXPECT_EQ(centre, 0xF1F4FAu); // the window's face
  EXPECT_NE(below, 0xF1F4FAu);  // nothing where the raised window would be
  EXPECT_TRUE(Verifies(u"pw"));
}

} // namespace
