// Secure Boot against the fake firmware's model: where the setting lives, what
// a switch writes, and the start-up step that clears the keys through custom
// mode. Refused switches (write-protected, Setup Mode) are run by scenarios.
#include "reference_platform/secure_boot.h"
#include "reference_platform/setup_data_service.h"
#include "tests/unit/refplat_fixture.h"

namespace {

constexpr EFI_GUID kEnableGuid = {
    0xF0A30BC7, 0xAF08, 0x4556, {0x99, 0xC4, 0x00, 0x10, 0x09, 0xC9, 0x3A, 0x44}};
constexpr EFI_GUID kCustomModeGuid = {
    0xC076EC0C, 0x7028, 0x4399, {0xA0, 0x72, 0x71, 0xEE, 0x5C, 0x44, 0x8B, 0x9F}};

class RefPlatSecureBootTest : public RefPlatTest {
protected:
  void TearDown() override {
    SecureBootStoreFallback = true;
    RefPlatTest::TearDown();
  }

  static void Start(fake::SecureBootModel Model, bool Fallback = true) {
    fake::ModelSecureBoot(Model);
    SecureBootStoreFallback = Fallback;
    Store_ResetAll();
    SecureBoot_Probe();
  }

  static UINT64 Op(UINT32 Number, UINT64 Argument = 0) {
    return SetupDataService_Instance()->Operation[Number](Argument, 0);
  }
  static UINT8 Read(UINT32 Number) {
    UINT8 value = 0xEE;
    Op(Number, reinterpret_cast<UINT64>(&value));
    return value;
  }
  // A one-byte variable, or -1 when it does not exist.
  static int Byte(const char16_t* Name, const EFI_GUID& Guid) {
    std::vector<UINT8> data;
    if (!fake::PeekVariable(Name, Guid, &data)) return -1;
    return data.size() == 1 ? data[0] : -2;
  }
  static bool HasKey() { return fake::PeekVariable(u"PK", kGlobalVariableGuid, nullptr); }
};

TEST_F(RefPlatSecureBootTest, FirmwareStateIsShownAndSwitchedThroughSecureBootEnable) {
  Start({fake::SecureBootState::Enforced});
  EXPECT_EQ(SecureBoot_Backing(), SecureBootFirmware);
  EXPECT_EQ(Read(60), 1); // present
  EXPECT_EQ(Read(54), 1);
  EXPECT_EQ(Op(55, 0), EFI_SUCCESS);
  EXPECT_EQ(Byte(u"SecureBootEnable", kEnableGuid), 0);
  // Enforcement changes at the next start; the store is not involved.
  EXPECT_EQ(Byte(u"SecureBoot", kGlobalVariableGuid), 1);
  EXPECT_EQ(Store_Get(kSetting_secure_boot), 1u);
  const UINT64 writes = fake::SetVariableCalls();
  EXPECT_EQ(Op(55, 0), EFI_SUCCESS); // unchanged: nothing written
  EXPECT_EQ(fake::SetVariableCalls(), writes);
  EXPECT_EQ(Op(55, 1), EFI_SUCCESS);
  EXPECT_EQ(Byte(u"SecureBootEnable", kEnableGuid), 1);

  Start({fake::SecureBootState::Disabled});
  EXPECT_EQ(Read(54), 0);
}

TEST_F(RefPlatSecureBootTest, WithoutFirmwareSecureBootTheItemIsAbsentOrStored) {
  Start({fake::SecureBootState::None}, false);
  EXPECT_EQ(SecureBoot_Backing(), SecureBootAbsent);
  EXPECT_EQ(Read(60), 0);
  EXPECT_EQ(Op(46), EFI_UNSUPPORTED);
  EXPECT_EQ(Store_Requests(), 0u);

  Start({fake::SecureBootState::None}, true);
  EXPECT_EQ(SecureBoot_Backing(), SecureBootStore);
  EXPECT_EQ(Read(60), 1);
  EXPECT_EQ(Op(55, 0), EFI_SUCCESS);
  EXPECT_EQ(Store_Get(kSetting_secure_boot), 0u);
  EXPECT_EQ(Read(54), 0);

  // A SetupMode of the wrong size is no Secure Boot firmware either.
  fake::ModelSecureBoot({fake::SecureBootState::None});
  const UINT8 two[2] = {1, 1};
  fake::RuntimeServices()->SetVariable(u"SetupMode", &kGlobalVariableGuid,
                                       EFI_VARIABLE_BOOTSERVICE_ACCESS, sizeof(two), two);
  SecureBootStoreFallback = false;
  SecureBoot_Probe();
  EXPECT_EQ(SecureBoot_Backing(), SecureBootAbsent);
}

TEST_F(RefPlatSecureBootTest, ClearRequestDeletesTheKeyThroughCustomModeOnce) {
  Start({fake::SecureBootState::Disabled});
  EXPECT_EQ(Op(46), EFI_SUCCESS);
  ASSERT_EQ(Store_Save(), EFI_SUCCESS);
  Store_Load();
  testing::internal::CaptureStderr();
  SecureBoot_ClearKeysIfRequested();
  const std::string serial = testing::internal::GetCapturedStderr();
  EXPECT_NE(serial.find("Secure Boot keys cleared: the firmware is in Setup Mode"),
            std::string::npos)
      << serial;
  EXPECT_FALSE(HasKey());
  EXPECT_EQ(Byte(u"SetupMode", kGlobalVariableGuid), 1);
  EXPECT_EQ(Byte(u"CustomMode", kCustomModeGuid), 0);
  EXPECT_EQ(Read(54), 0);
  // The request is gone from the saved record too.
  Store_Load();
  EXPECT_EQ(Store_Requests(), 0u);
  testing::internal::CaptureStderr();
  SecureBoot_ClearKeysIfRequested();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(RefPlatSecureBootTest, RefusedClearIsReportedAndTheRequestStillDropped) {
  for (const bool refuseCustomMode : {false, true}) {
    fake::SecureBootModel model{fake::SecureBootState::Disabled};
    model.RefuseKeyDelete = !refuseCustomMode;
    model.RefuseCustomMode = refuseCustomMode;
    Start(model);
    Store_AddRequest(kRequestClearSecureBootKeys);
    testing::internal::CaptureStderr();
    SecureBoot_ClearKeysIfRequested();
    const std::string serial = testing::internal::GetCapturedStderr();
    EXPECT_NE(serial.find("Secure Boot keys not cleared (status 0x80000000000000"),
              std::string::npos)
        << serial;
    EXPECT_TRUE(HasKey());
    EXPECT_EQ(Byte(u"SetupMode", kGlobalVariableGuid), 0);
    EXPECT_EQ(Byte(u"CustomMode", kCustomModeGuid), 0); // never left on
    Store_Load();
    EXPECT_EQ(Store_Requests(), 0u);
  }
}

} // namespace
