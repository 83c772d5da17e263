// The settings store: persistence round trip, every kind of damaged record
// falling back to the defaults, setting by name, and Load Setup Defaults.
#include <cstring>

#include "reference_platform/passwords.h"
#include "reference_platform/store.h"
#include "tests/unit/refplat_fixture.h"

namespace {

class RefPlatStoreTest : public RefPlatTest {
protected:
  // A saved record with non-default values, as raw bytes.
  std::vector<UINT8> SavedNonDefaultRecord() {
    EXPECT_TRUE(Store_SetByName("boot_speed", 1));
    EXPECT_TRUE(Store_SetByName("boot_order", 0x1234));
    EXPECT_TRUE(Store_SetByName("language", 2));
    EXPECT_EQ(Store_Save(), EFI_SUCCESS);
    return StoredRecord();
  }

  static void Reseal(std::vector<UINT8>* Data) {
    const UINT32 crc = Store_Crc32(Data->data(), offsetof(StoreRecord, Crc32));
    std::memcpy(Data->data() + offsetof(StoreRecord, Crc32), &crc, sizeof(crc));
  }

  static void ExpectDefaults() {
    for (UINT32 i = 0; i < kStoreSettingCount; ++i)
      EXPECT_EQ(Store_Get(i), kStoreSettings[i].Default) << kStoreSettings[i].Name;
  }
};

TEST_F(RefPlatStoreTest, SaveWritesOneVariableThatLoadsBack) {
  EXPECT_TRUE(Password_Set(PasswordUser, u"secret"));
  Store_AddRequest(kRequestResetBootLogo);
  const UINT64 calls = fake::SetVariableCalls();
  SavedNonDefaultRecord();
  EXPECT_EQ(fake::SetVariableCalls(), calls + 1); // one atomic write
  UINT32 attributes = 0;
  std::vector<UINT8> data;
  ASSERT_TRUE(fake::PeekVariable(kStoreVariableName, kStoreVariableGuid, &data, &attributes));
  EXPECT_EQ(data.size(), sizeof(StoreRecord));
  EXPECT_TRUE(attributes & EFI_VARIABLE_NON_VOLATILE);

  Store_ResetAll();
  Store_Load();
  EXPECT_EQ(Store_LastLoadResult(), StoreLoaded);
  EXPECT_EQ(Store_Get(kSetting_boot_speed), 1u);
  EXPECT_EQ(Store_Get(kSetting_boot_order), 0x1234u);
  EXPECT_EQ(Store_Get(kSetting_language), 2u);
  EXPECT_TRUE(Password_Verify(PasswordUser, u"secret"));
  EXPECT_EQ(Store_Requests(), static_cast<UINT32>(kRequestResetBootLogo));
}

TEST_F(RefPlatStoreTest, MissingRecordGivesDefaultsAndOneReport) {
  Store_SetByName("boot_speed", 1);
  testing::internal::CaptureStderr();
  Store_Load();
  const std::string report = testing::internal::GetCapturedStderr();
  EXPECT_EQ(Store_LastLoadResult(), StoreMissing);
  ExpectDefaults();
  EXPECT_NE(report.find("defaults in use"), std::string::npos);
  EXPECT_EQ(report.find('\n'), report.size() - 1); // exactly one line
}

TEST_F(RefPlatStoreTest, DamagedRecordsGiveDefaults) {
  const std::vector<UINT8> good = SavedNonDefaultRecord();
  ASSERT_EQ(good.size(), sizeof(StoreRecord));

  struct Damage {
    const char* What;
    std::vector<UINT8> Data;
  };
  std::vector<Damage> cases;
  auto flipped = good;
  flipped[offsetof(StoreRecord, Values) + 3] ^= 0x40; // checksum no longer matches
  cases.push_back({"flipped value byte", flipped});
  cases.push_back({"truncated", std::vector<UINT8>(good.begin(), good.end() - 1)});
  auto longer = good;
  longer.resize(good.size() + 64, 0);
  cases.push_back({"oversized", longer});
  auto magic = good;
  magic[0] ^= 0xFF;
  Reseal(&magic);
  cases.push_back({"bad magic", magic});
  auto version = good;
  version[offsetof(StoreRecord, Version)] += 1;
  Reseal(&version);
  cases.push_back({"other version", version});
  auto size = good;
  size[offsetof(StoreRecord, Size)] += 8;
  Reseal(&size);
  cases.push_back({"wrong size field", size});
  auto schema = good;
  schema[offsetof(StoreRecord, Fingerprint)] ^= 0x5A;
  Reseal(&schema);
  cases.push_back({"other schema", schema});
  // Sealed, but a password entry that would make every check run for hours
  // (found by the store fuzz target), or that is neither set nor unset.
  const size_t user = offsetof(StoreRecord, Passwords) + PasswordUser * sizeof(StoredPassword);
  auto slow = good;
  const UINT32 iterations = 0xFFFFFFFF;
  slow[user + offsetof(StoredPassword, Installed)] = 1;
  std::memcpy(slow.data() + user + offsetof(StoredPassword, Iterations), &iterations, 4);
  Reseal(&slow);
  cases.push_back({"password hash iterations beyond any real one", slow});
  auto flag = good;
  flag[user + offsetof(StoredPassword, Installed)] = 2;
  Reseal(&flag);
  cases.push_back({"password installed flag neither 0 nor 1", flag});

  for (const Damage& damage : cases) {
    SCOPED_TRACE(damage.What);
    WriteRecord(damage.Data);
    Store_ResetAll();
    Store_SetByName("boot_speed", 1);
    testing::internal::CaptureStderr();
    Store_Load();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(Store_LastLoadResult(), StoreCorrupt);
    ExpectDefaults();
    EXPECT_FALSE(Password_Installed(PasswordUser));
  }
}

TEST_F(RefPlatStoreTest, SealedValueOutsideItsRangeRevertsAlone) {
  std::vector<UINT8> data = SavedNonDefaultRecord();
  const UINT64 bad = 7; // boot_speed allows 0..1
  std::memcpy(data.data() + offsetof(StoreRecord, Values) + kSetting_boot_speed * 8, &bad, 8);
  Reseal(&data);
  WriteRecord(data);
  Store_ResetAll();
  Store_Load();
  EXPECT_EQ(Store_LastLoadResult(), StoreLoaded);
  EXPECT_EQ(Store_Get(kSetting_boot_speed), kStoreSettings[kSetting_boot_speed].Default);
  EXPECT_EQ(Store_Get(kSetting_boot_order), 0x1234u);
}

TEST_F(RefPlatStoreTest, FailedSaveLeavesTheOldRecord) {
  const std::vector<UINT8> before = SavedNonDefaultRecord();
  Store_SetByName("boot_speed", 0);
  fake::FailSetVariable(1, EFI_DEVICE_ERROR);
  testing::internal::CaptureStderr();
  EXPECT_EQ(Store_Save(), EFI_DEVICE_ERROR);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("saving failed"), std::string::npos);
  EXPECT_EQ(StoredRecord(), before);
  EXPECT_EQ(Store_Crc32("123456789", 9), 0xCBF43926u); // the standard check value
}

TEST_F(RefPlatStoreTest, SetByNameChecksNamesAndRanges) {
  // Unknown, empty, missing, a prefix of a name, a read-only value text.
  for (const char* name :
       {"no_such_setting", "", static_cast<const char*>(nullptr), "boot_spee", "cpu_type"})
    EXPECT_FALSE(Store_SetByName(name, 1)) << (name ? name : "null");

  EXPECT_TRUE(Store_SetByName("language", 2));
  EXPECT_EQ(Store_Get(kSetting_language), 2u);
  EXPECT_FALSE(Store_SetByName("language", 3));
  EXPECT_EQ(Store_Get(kSetting_language), 2u);

  EXPECT_FALSE(Store_SetByName("minimum_year", 1899));
  EXPECT_FALSE(Store_SetByName("boot_order", 0x10000));
  EXPECT_EQ(Store_Get(kSetting_minimum_year), 2010u);

  // Presence answers of items that have a presence operation.
  EXPECT_TRUE(Store_SetByName("boot_speed_present", 0));
  EXPECT_FALSE(Store_Present(kSetting_boot_speed));
  EXPECT_FALSE(Store_SetByName("boot_speed_present", 2));
  EXPECT_FALSE(Store_SetByName("cpu_type_present", 0)); // no presence operation
  EXPECT_FALSE(Store_SetByName("_present", 0));
  // A schema name that itself ends in "_present" is a plain setting.
  EXPECT_TRUE(Store_SetByName("odd_present", 0));
  EXPECT_EQ(Store_Get(kSetting_odd_present), 0u);
}

TEST_F(RefPlatStoreTest, LoadDefaultsKeepsWhatDoesNotRevert) {
  Store_SetByName("boot_speed", 1);
  Store_SetByName("bios_access_rights", 2);
  Store_SetByName("secure_boot", 0);
  Store_SetByName("tpm", 0);
  Store_SetByName("language", 2);
  Store_SetByName("max_password_length", 8); // a platform answer
  ASSERT_TRUE(Password_Set(PasswordSupervisor, u"abc"));

  Store_LoadDefaults();
  EXPECT_EQ(Store_Get(kSetting_boot_speed), 0u);
  EXPECT_EQ(Store_Get(kSetting_bios_access_rights), 0u);
  EXPECT_EQ(Store_Get(kSetting_secure_boot), 0u);
  EXPECT_EQ(Store_Get(kSetting_tpm), 0u);
  EXPECT_EQ(Store_Get(kSetting_language), 2u);
  EXPECT_EQ(Store_Get(kSetting_max_password_length), 8u);
  EXPECT_TRUE(Password_Verify(PasswordSupervisor, u"abc"));
}

} // namespace
