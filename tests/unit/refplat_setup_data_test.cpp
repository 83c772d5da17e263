// The setup data service: the operation table against the schema, type-wide
// getters, range-checked setters, the leave operations and their resets, the
// password operations, and the exact trace lines.
#include <cstring>

#include "reference_platform/passwords.h"
#include "reference_platform/setup_data_service.h"
#include "tests/unit/refplat_fixture.h"

namespace {

class RefPlatSetupDataTest : public RefPlatTest {
protected:
  UINT64 Op(UINT32 Number, UINT64 A = 0, UINT64 B = 0) {
    return SetupDataService_Instance()->Operation[Number](A, B);
  }
  static UINT64 Address(const void* P) { return reinterpret_cast<UINT64>(P); }
  std::string LastTrace() { return Trace().empty() ? std::string() : Trace().back(); }
};

TEST_F(RefPlatSetupDataTest, UnassignedNumbersAreUnsupportedAndChangeNothing) {
  for (UINT32 number = 0; number < kSetupDataOperationCount; ++number)
    ASSERT_NE(SetupDataService_Instance()->Operation[number], nullptr) << number;
  for (UINT32 number : {21u, 35u, 42u, 111u, 180u, 199u}) {
    UINT64 storage = 0x1122334455667788ull;
    Trace().clear();
    EXPECT_EQ(Op(number, Address(&storage), 1), EFI_UNSUPPORTED) << number;
    EXPECT_EQ(storage, 0x1122334455667788ull);
    ASSERT_EQ(Trace().size(), 1u);
    EXPECT_EQ(Trace()[0], "op " + std::to_string(number) + " -> 0x8000000000000003");
  }
  EXPECT_EQ(fake::SetVariableCalls(), 0u);
  EXPECT_TRUE(Resets().empty());
}

TEST_F(RefPlatSetupDataTest, GettersWriteExactlyTheirTypeWidth) {
  UINT64 word = 0xAAAAAAAAAAAAAAAAull;
  Op(52, Address(&word)); // hdd_password_mode, u8, default 0
  EXPECT_EQ(word, 0xAAAAAAAAAAAAAA00ull);
  word = 0xAAAAAAAAAAAAAAAAull;
  Op(10, Address(&word)); // hot key scan code, u16
  EXPECT_EQ(word, 0xAAAAAAAAAAAA0016ull);
  word = 0xAAAAAAAAAAAAAAAAull;
  Op(107, Address(&word)); // boot order, u64
  EXPECT_EQ(word, 0x4321u);
  // Presence flags are one byte and follow the store.
  UINT8 bytes[2] = {0x55, 0x55};
  Op(66, Address(bytes));
  EXPECT_EQ(bytes[0], 1);
  EXPECT_EQ(bytes[1], 0x55);
  EXPECT_EQ(LastTrace(), "op 66");
  ASSERT_TRUE(Store_SetByName("boot_speed_present", 0));
  Op(66, Address(bytes));
  EXPECT_EQ(bytes[0], 0);

  // 32-bit settings answer by value; a null pointer is not written.
  Store_SetByName("key_source_mode", 2);
  EXPECT_EQ(Op(193), 2u);
  EXPECT_EQ(LastTrace(), "op 193 -> 2");
  EXPECT_EQ(Op(27), 0u);
  EXPECT_EQ(LastTrace(), "op 27 -> 0");
}

TEST_F(RefPlatSetupDataTest, SettersAreRangeCheckedAndTraceTheirValue) {
  EXPECT_EQ(Op(65, 1), EFI_SUCCESS);
  EXPECT_EQ(Store_Get(kSetting_boot_speed), 1u);
  EXPECT_EQ(LastTrace(), "op 65 1");
  Op(65, 5); // outside 0..1: refused
  EXPECT_EQ(Store_Get(kSetting_boot_speed), 1u);
  Op(65, 0x100); // a u8 setter sees the low byte only
  EXPECT_EQ(Store_Get(kSetting_boot_speed), 0u);
  EXPECT_EQ(LastTrace(), "op 65 0");

  Op(108, 0x1234);
  EXPECT_EQ(Store_Get(kSetting_boot_order), 0x1234u);
  EXPECT_EQ(LastTrace(), "op 108 4660");

  Op(28, 2); // store the language
  EXPECT_EQ(LastTrace(), "op 28 2");
  EXPECT_EQ(Op(27), 2u);
  Op(28, 3);
  EXPECT_EQ(Op(27), 2u);
}

TEST_F(RefPlatSetupDataTest, LeaveOperationsWriteOnlyWhatTheyPromise) {
  // Load defaults: in memory only.
  Op(65, 1);
  Op(113, 1);
  EXPECT_EQ(Op(0), EFI_SUCCESS);
  EXPECT_EQ(Store_Get(kSetting_boot_speed), 0u);
  EXPECT_EQ(Store_Get(kSetting_wake_on_lan), 0u);
  EXPECT_EQ(fake::SetVariableCalls(), 0u);
  EXPECT_TRUE(Resets().empty());
  // Leave without saving: no write, a cold reset with the given status.
  Op(65, 1);
  Op(2, EFI_ABORTED);
  EXPECT_EQ(fake::SetVariableCalls(), 0u);
  ASSERT_EQ(Resets().size(), 1u);
  EXPECT_EQ(Resets()[0].Type, EfiResetCold);
  EXPECT_EQ(Resets()[0].Status, EFI_ABORTED);
  EXPECT_EQ(LastTrace(), "op 2 0x8000000000000015");
  // A failed save, plain or before the battery is cut, stays in the utility
  // and leaves no request behind.
  Resets().clear();
  for (UINT32 op : {1u, 4u}) {
    fake::FailSetVariable(1, EFI_DEVICE_ERROR);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Op(op), EFI_DEVICE_ERROR) << op;
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(Resets().empty()) << op;
  }
  EXPECT_EQ(Store_Requests() & kRequestBatteryOff, 0u);
  // Save and leave: written before the cold reset.
  Op(1);
  ASSERT_EQ(Resets().size(), 1u);
  EXPECT_EQ(Resets()[0].Type, EfiResetCold);
  Store_ResetAll();
  Store_Load();
  EXPECT_EQ(Store_Get(kSetting_boot_speed), 1u);
  // Battery off: saved with its request, then the power goes off.
  Resets().clear();
  Op(113, 1);
  Op(4);
  ASSERT_EQ(Resets().size(), 1u);
  EXPECT_EQ(Resets()[0].Type, EfiResetShutdown);
  Store_ResetAll();
  Store_Load();
  EXPECT_EQ(Store_Get(kSetting_wake_on_lan), 1u);
  EXPECT_TRUE(Store_Requests() & kRequestBatteryOff);
  // Shut down: no save.
  Resets().clear();
  const UINT64 writes = fake::SetVariableCalls();
  Op(190);
  ASSERT_EQ(Resets().size(), 1u);
  EXPECT_EQ(Resets()[0].Type, EfiResetShutdown);
  EXPECT_EQ(fake::SetVariableCalls(), writes);
}

TEST_F(RefPlatSetupDataTest, ActionsRecordTheirRequests) {
  EXPECT_EQ(Op(15, 7, 9), 3u);
  EXPECT_EQ(LastTrace(), "op 15 7 9 -> 3");
  Op(166, 1);
  EXPECT_TRUE(Store_Requests() & kRequestTpmEnable);
  EXPECT_EQ(Op(46), EFI_SUCCESS);
  EXPECT_EQ(Op(106), EFI_SUCCESS);
  EXPECT_TRUE(Store_Requests() & kRequestClearSecureBootKeys);
  EXPECT_TRUE(Store_Requests() & kRequestResetBootLogo);
}

TEST_F(RefPlatSetupDataTest, DisplayPortArrays) {
  UINT32 types[5] = {9, 9, 9, 9, 9};
  UINT8 present[5] = {9, 9, 9, 9, 9};
  Store_SetByName("display_port4_type", 3);
  Op(152, Address(types));
  Op(153, Address(present));
  EXPECT_EQ(std::vector<UINT32>(types, types + 5), (std::vector<UINT32>{0, 2, 4, 3, 9}));
  EXPECT_EQ(std::vector<UINT8>(present, present + 5), (std::vector<UINT8>{1, 1, 0, 0, 9}));
  EXPECT_EQ(Op(152, 0), EFI_INVALID_PARAMETER);
}

TEST_F(RefPlatSetupDataTest, PasswordOperationsNeverTraceThePassword) {
  const CHAR16* password = u"zebra7";
  EXPECT_EQ(Op(29), 0u);
  EXPECT_EQ(Op(31, Address(password)), 1u);
  EXPECT_EQ(LastTrace(), "op 31 -> 1");
  EXPECT_EQ(Op(29), 1u);
  EXPECT_EQ(LastTrace(), "op 29 -> 1");
  EXPECT_EQ(Op(30, Address(password)), 1u);
  EXPECT_EQ(Op(30, Address(u"zebra8")), 0u);
  EXPECT_EQ(Op(33, Address(password)), 0u); // the user password is another one
  EXPECT_EQ(Op(9, Address(password), Address(u"zebra7")), 1u);
  EXPECT_EQ(LastTrace(), "op 9 -> 1");
  EXPECT_EQ(Op(9, Address(password), Address(u"zebra")), 0u);

  EXPECT_EQ(Op(41, Address(u"disk")), 1u);
  EXPECT_EQ(Op(39), 1u);
  EXPECT_EQ(Op(36), 0u);
  EXPECT_EQ(Op(41, Address(u"")), 1u); // empty deletes
  EXPECT_EQ(Op(39), 0u);

  for (const std::string& line : Trace()) {
    EXPECT_EQ(line.find("zebra"), std::string::npos) << line;
    EXPECT_EQ(line.find("disk"), std::string::npos) << line;
  }
}

} // namespace
