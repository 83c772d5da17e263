// The keyboard-source replacement: in mode 2 keys come from the extended
// key-code instances (PS/2 0x56 dropped, rescanned on hot plug).
#include <gtest/gtest.h>

#include "input/keyboard.h"
#include "core/startup.h"
#include "host/fake_firmware_fixture.h"
#include "platform/lib.h"
#include "tests/unit/key_code_fake.h"

namespace {

class KeyboardTest : public FakeFirmwareTest {
protected:
  void SetUp() override {
    FakeFirmwareTest::SetUp();
    Quorvex_Utility_Reset();
    Quorvex_Lib_Init(nullptr, fake::SystemTable());
    ::SystemTable = fake::SystemTable();
    ::BootServices = fake::BootServices();
    ::RuntimeServices = fake::RuntimeServices();
    firmwareRead_ = fake::SystemTable()->ConIn->ReadKeyStroke;
  }
  void TearDown() override {
    // The instance list is the utility's pool block: give it back.
    if (KeyCodeInterfaces != nullptr) Quorvex_FreePool(KeyCodeInterfaces);
    Quorvex_Keyboard_Reset();
    fake::SystemTable()->ConIn->ReadKeyStroke = firmwareRead_;
    FakeFirmwareTest::TearDown();
  }

  EFI_HANDLE Plug(FakeKeyCodes* Instance) {
    EFI_HANDLE handle = nullptr;
    EXPECT_EQ(BootServices()->InstallProtocolInterface(&handle, &kExtendedKeyCodeGuid,
                                                       EFI_NATIVE_INTERFACE, &Instance->Protocol),
              EFI_SUCCESS);
    return handle;
  }
  void Unplug(EFI_HANDLE Handle, FakeKeyCodes* Instance) {
    EXPECT_EQ(BootServices()->UninstallProtocolInterface(Handle, &kExtendedKeyCodeGuid,
                                                         &Instance->Protocol),
              EFI_SUCCESS);
  }
  EFI_STATUS Read(EFI_INPUT_KEY* Key) {
    return SystemTable()->ConIn->ReadKeyStroke(SystemTable()->ConIn, Key);
  }

  EFI_INPUT_READ_KEY firmwareRead_ = nullptr;
};

TEST_F(KeyboardTest, InstalledOnceOverTheConsoleReader) {
  FakeKeyCodes a;
  Plug(&a);
  Quorvex_KeyboardConIn_Replacement_Start();
  EXPECT_EQ(SystemTable()->ConIn->ReadKeyStroke, Quorvex_KeyboardReadKeyStroke);
  EXPECT_EQ(SavedConInReadKeyStroke, firmwareRead_);
  EXPECT_EQ(KeyCodeInterfaceCount, 1u);
  Quorvex_KeyboardConIn_Replacement_Start();
  EXPECT_EQ(SavedConInReadKeyStroke, firmwareRead_) << "the replacement never wraps itself";

  // Not in mode 2: the console answers.
  fake::PushKey(0, u'q');
  EFI_INPUT_KEY key = {};
  ASSERT_EQ(Read(&key), EFI_SUCCESS);
  EXPECT_EQ(key.UnicodeChar, u'q');
  EXPECT_EQ(a.Reads, 0);
}

TEST_F(KeyboardTest, ModeTwoReadsTheInstancesAndDropsPs2Code56) {
  FakeKeyCodes a;
  FakeKeyCodes b;
  Plug(&a);
  Plug(&b);
  Quorvex_KeyboardConIn_Replacement_Start();
  KeySourceMode = 2;
  fake::PushKey(0, u'c'); // the console's key is not taken in mode 2

  a.Keys.push_back(KeyData(0, u'\\', 0x56));
  b.Keys.push_back(KeyData(SCAN_F9, 0, 0x43));
  EFI_INPUT_KEY key = {};
  ASSERT_EQ(Read(&key), EFI_SUCCESS);
  EXPECT_EQ(key.ScanCode, SCAN_F9) << "the 0x56 key of the first instance is dropped";

  a.Keys.push_back(KeyData(0, u'x', 0x56));
  EXPECT_EQ(Read(&key), EFI_NOT_READY);
  EXPECT_TRUE(a.Keys.empty()) << "the dropped key is consumed, not left waiting";

  a.Keys.push_back(KeyData(0, u'y', 0x15));
  b.Keys.push_back(KeyData(0, u'z', 0x2C));
  ASSERT_EQ(Read(&key), EFI_SUCCESS);
  EXPECT_EQ(key.UnicodeChar, u'y') << "instances are asked in list order";
  EXPECT_EQ(fake::PendingInputs(), 1u);
}

TEST_F(KeyboardTest, PlugAndUnplugRescanTheInstances) {
  FakeKeyCodes a;
  FakeKeyCodes b;
  const EFI_HANDLE handle = Plug(&a);
  Quorvex_KeyboardConIn_Replacement_Start();
  KeySourceMode = 2;
  EXPECT_EQ(KeyCodeHandleCount, 1u);

  const EFI_HANDLE second = Plug(&b);
  b.Keys.push_back(KeyData(0, u'k', 0x25));
  EFI_INPUT_KEY key = {};
  ASSERT_EQ(Read(&key), EFI_SUCCESS) << "the keyboard plugged in is read at once";
  EXPECT_EQ(key.UnicodeChar, u'k');
  EXPECT_EQ(KeyCodeInterfaceCount, 2u);

  // With none left no key comes at all, not even from the console.
  Unplug(handle, &a);
  Unplug(second, &b);
  a.Keys.push_back(KeyData(0, u'a', 0x1E));
  fake::PushKey(0, u'c');
  a.Reads = 0;
  EXPECT_EQ(Read(&key), EFI_NOT_READY);
  EXPECT_EQ(Read(&key), EFI_NOT_READY);
  EXPECT_EQ(KeyCodeInterfaceCount, 0u);
  EXPECT_EQ(a.Reads, 0) << "a removed instance is never called";
  EXPECT_EQ(fake::PendingInputs(), 1u) << "nor is the console";
}

} // namespace
