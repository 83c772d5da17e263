// The password store's protection: salts from the best source the machine
// has (RNG protocol, RDRAND, the mix), the iteration count and its limits,
// moving an older runtime-access record to boot-services-only storage, and no
// trace of a password on the serial port, in the operation trace or on the
// console.
#include <cstring>
#include <string>

#include "platform/efi_storage.h"
#include "reference_platform/passwords.h"
#include "reference_platform/salt_source.h"
#include "reference_platform/setup_data_service.h"
#include "reference_platform/sha256.h"
#include "tests/unit/refplat_fixture.h"

namespace {

struct FakeRng {
  EFI_RNG_PROTOCOL Protocol;
  EFI_STATUS Answer = EFI_SUCCESS;
  UINT8 Next = 0xA0;
  int Calls = 0;
};
FakeRng gRng;

EFI_STATUS EFIAPI RngGetInfo(EFI_RNG_PROTOCOL*, UINTN*, EFI_GUID*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI RngGetRng(EFI_RNG_PROTOCOL*, const EFI_GUID* Algorithm, UINTN Length,
                            UINT8* Value) {
  ++gRng.Calls;
  if (Algorithm != nullptr || Value == nullptr) return EFI_INVALID_PARAMETER;
  if (EFI_ERROR(gRng.Answer)) {
    std::memset(Value, 0x55, Length); // a failing source may still scribble
    return gRng.Answer;
  }
  for (UINTN i = 0; i < Length; ++i) Value[i] = gRng.Next++;
  return EFI_SUCCESS;
}

struct FakeRdrand {
  bool Present = true;
  int FailuresBeforeValue = 0; // per value
  int Failures = 0;
  UINT64 Next = 0x1111111111111111ull;
  int Reads = 0;
};
FakeRdrand gRdrand;
bool RdrandPresent() {
  return gRdrand.Present;
}
bool RdrandRead(UINT64* Value) {
  ++gRdrand.Reads;
  if (gRdrand.Failures < gRdrand.FailuresBeforeValue) {
    ++gRdrand.Failures;
    return false;
  }
  gRdrand.Failures = 0;
  *Value = gRdrand.Next;
  gRdrand.Next += 0x1111111111111111ull;
  return true;
}
constexpr RdrandAccess kFakeRdrand = {RdrandPresent, RdrandRead};

class SaltTest : public RefPlatTest {
protected:
  void SetUp() override {
    RefPlatTest::SetUp();
    gRng = {};
    gRng.Protocol = {RngGetInfo, RngGetRng};
    gRdrand = {};
    Salt_SetRdrandAccess(&kFakeRdrand);
  }
  void TearDown() override {
    Salt_SetRdrandAccess(nullptr);
    RefPlatTest::TearDown();
  }
  void InstallRng() {
    EFI_HANDLE handle = nullptr;
    ASSERT_EQ(fake::BootServices()->InstallProtocolInterface(&handle, &kRngProtocolGuid,
                                                             EFI_NATIVE_INTERFACE, &gRng.Protocol),
              EFI_SUCCESS);
  }
  static std::string Hex(const UINT8* P, UINTN N) {
    std::string s;
    char b[3];
    for (UINTN i = 0; i < N; ++i) {
      std::snprintf(b, sizeof(b), "%02x", P[i]);
      s += b;
    }
    return s;
  }
};

TEST_F(SaltTest, RngProtocolFirstThenRdrandThenTheMix) {
  InstallRng();
  ASSERT_TRUE(Password_Set(PasswordUser, u"secret"));
  EXPECT_EQ(Hex(Store_Password(PasswordUser)->Salt, kPasswordSaltSize),
            "a0a1a2a3a4a5a6a7a8a9aaabacadaeaf");
  EXPECT_EQ(gRng.Calls, 1);
  EXPECT_EQ(gRdrand.Reads, 0);
  EXPECT_TRUE(Password_Verify(PasswordUser, u"secret"));

  // The protocol fails: RDRAND, whatever the protocol scribbled is replaced.
  gRng.Answer = EFI_DEVICE_ERROR;
  gRng.Calls = 0;
  UINT8 salt[20];
  EXPECT_EQ(Salt_Fill(salt, sizeof(salt)), SaltSource_Rdrand);
  EXPECT_EQ(gRng.Calls, 1);
  // Little-endian 64-bit values, the last one cut to what is needed.
  EXPECT_EQ(Hex(salt, sizeof(salt)), "1111111111111111222222222222222233333333");

  // Nine empty answers in a row are waited out; ten are not.
  fake::RemoveProtocol(kRngProtocolGuid);
  gRdrand.FailuresBeforeValue = 9;
  EXPECT_EQ(Salt_Fill(salt, 8), SaltSource_Rdrand);
  EXPECT_EQ(Hex(salt, 8), "4444444444444444");
  gRdrand.FailuresBeforeValue = 10;
  EXPECT_EQ(Salt_Fill(salt, 8), SaltSource_Mix);
}

TEST_F(SaltTest, TheMixWithoutAnyRandomSourceStillDiffersEveryTime) {
  gRdrand.Present = false;
  UINT8 a[kPasswordSaltSize], b[kPasswordSaltSize];
  EXPECT_EQ(Salt_Fill(a, sizeof(a)), SaltSource_Mix);
  EXPECT_EQ(Salt_Fill(b, sizeof(b)), SaltSource_Mix); // the fake clock stands still
  EXPECT_NE(std::memcmp(a, b, sizeof(a)), 0);
  EXPECT_EQ(gRdrand.Reads, 0) << "CPUID said no: the instruction is not used";
  ASSERT_TRUE(Password_Set(PasswordUser, u"secret"));
  ASSERT_TRUE(Password_Set(PasswordSupervisor, u"secret"));
  EXPECT_NE(std::memcmp(Store_Password(PasswordUser)->Salt,
                        Store_Password(PasswordSupervisor)->Salt, kPasswordSaltSize),
            0);
}

class IterationTest : public RefPlatTest {};

TEST_F(IterationTest, ShippedIterationCount) {
  const UINT32 lowered = Password_Iterations();
  Password_SetIterations(kPasswordIterations);
  ASSERT_TRUE(Password_Set(PasswordSupervisor, u"Pa55word"));
  Password_SetIterations(lowered);
  const StoredPassword* entry = Store_Password(PasswordSupervisor);
  EXPECT_EQ(entry->Iterations, kPasswordIterations);
  EXPECT_GE(kPasswordIterations, 100000u);
  // The hash is PBKDF2 over the UTF-16LE text with the stored salt and count.
  UINT8 expected[kPasswordHashSize];
  const char16_t text[] = u"Pa55word";
  Pbkdf2HmacSha256(text, 16, entry->Salt, kPasswordSaltSize, kPasswordIterations, expected,
                   sizeof(expected));
  EXPECT_EQ(std::memcmp(expected, entry->Hash, sizeof(expected)), 0);
}

TEST_F(IterationTest, StoredCountsAreHonouredWithinLimits) {
  // A hash made by an older build with 2000 iterations still verifies.
  StoredPassword* entry = Store_Password(PasswordUser);
  entry->Installed = 1;
  entry->Iterations = 2000;
  std::memset(entry->Salt, 0x5A, kPasswordSaltSize);
  const char16_t text[] = u"old";
  Pbkdf2HmacSha256(text, 6, entry->Salt, kPasswordSaltSize, 2000, entry->Hash, kPasswordHashSize);
  EXPECT_TRUE(Password_Verify(PasswordUser, u"old"));
  EXPECT_FALSE(Password_Verify(PasswordUser, u"olD"));
  // Damaged counts match nothing, and quickly.
  for (UINT32 damaged : {0u, kPasswordMaxIterations + 1, 0xFFFFFFFFu}) {
    entry->Iterations = damaged;
    EXPECT_FALSE(Password_Verify(PasswordUser, u"old")) << damaged;
  }
}

// Runtime-access records move to boot-services-only storage once.
class MigrationTest : public RefPlatTest {
protected:
  static constexpr UINT32 kOldAttributes =
      EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

  // A sound record with a password and changed settings, written the way
  // older builds wrote it.
  std::vector<UINT8> WriteOldRecord() {
    EXPECT_TRUE(Store_SetByName("boot_speed", 1));
    EXPECT_TRUE(Password_Set(PasswordSupervisor, u"keep-me"));
    EXPECT_EQ(Store_Save(), EFI_SUCCESS);
    std::vector<UINT8> data = StoredRecord();
    Rewrite(data, kOldAttributes);
    Store_ResetAll();
    return data;
  }
  static void Rewrite(const std::vector<UINT8>& Data, UINT32 Attributes) {
    auto* rs = fake::RuntimeServices();
    rs->SetVariable(kStoreVariableName, &kStoreVariableGuid, 0, 0, nullptr);
    ASSERT_EQ(rs->SetVariable(kStoreVariableName, &kStoreVariableGuid, Attributes, Data.size(),
                              Data.data()),
              EFI_SUCCESS);
  }
  static UINT32 StoredAttributes() {
    std::vector<UINT8> data;
    UINT32 attributes = 0;
    fake::PeekVariable(kStoreVariableName, kStoreVariableGuid, &data, &attributes);
    return attributes;
  }
};

TEST_F(MigrationTest, ASoundRecordIsMovedOnceWithEverythingInIt) {
  const std::vector<UINT8> old = WriteOldRecord();
  testing::internal::CaptureStderr();
  Store_Load();
  const std::string serial = testing::internal::GetCapturedStderr();
  EXPECT_EQ(Store_LastMigration(), StoreMigrationMoved);
  EXPECT_EQ(Store_LastLoadResult(), StoreLoaded);
  EXPECT_EQ(StoredAttributes(), EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS);
  EXPECT_EQ(StoredRecord(), old) << "the record is moved byte for byte";
  EXPECT_EQ(Store_Get(Store_FindByName("boot_speed")), 1u);
  EXPECT_TRUE(Password_Verify(PasswordSupervisor, u"keep-me"));
  EXPECT_NE(serial.find("moved to boot-services-only"), std::string::npos) << serial;

  // Once: the next start finds nothing to move and writes nothing.
  const UINT64 writes = fake::SetVariableCalls();
  Store_Load();
  EXPECT_EQ(Store_LastMigration(), StoreMigrationNone);
  EXPECT_EQ(fake::SetVariableCalls(), writes);
  EXPECT_EQ(Store_Save(), EFI_SUCCESS);
  EXPECT_EQ(StoredAttributes(), kStoreVariableAttributes);
}

TEST_F(MigrationTest, ADamagedRecordIsDroppedAndAFailedMoveKeepsTheSettingsInMemory) {
  std::vector<UINT8> old = WriteOldRecord();
  std::vector<UINT8> damaged = old;
  damaged[20] ^= 0xFF;
  Rewrite(damaged, kOldAttributes);
  testing::internal::CaptureStderr();
  Store_Load();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(Store_LastLoadResult(), StoreCorrupt);
  EXPECT_EQ(Store_LastMigration(), StoreMigrationDroppedCorrupt);
  EXPECT_TRUE(StoredRecord().empty());
  EXPECT_EQ(Store_Save(), EFI_SUCCESS) << "a save works after the old record is gone";

  // The firmware refuses the rewrite after the delete: the settings stay in
  // memory, so the user's next save writes them with the new attributes.
  Rewrite(old, kOldAttributes);
  fake::FailSetVariable(2, EFI_DEVICE_ERROR);
  testing::internal::CaptureStderr();
  Store_Load();
  const std::string serial = testing::internal::GetCapturedStderr();
  EXPECT_EQ(Store_LastMigration(), StoreMigrationFailed);
  EXPECT_NE(serial.find("cannot move"), std::string::npos) << serial;
  EXPECT_TRUE(Password_Verify(PasswordSupervisor, u"keep-me"));
  EXPECT_EQ(Store_Save(), EFI_SUCCESS);
  EXPECT_EQ(StoredAttributes(), kStoreVariableAttributes);
  // And if the firmware refuses even the delete, the old record stays as it was.
  Rewrite(old, kOldAttributes);
  fake::FailSetVariable(1, EFI_WRITE_PROTECTED);
  testing::internal::CaptureStderr();
  Store_Load();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(Store_LastMigration(), StoreMigrationFailed);
  EXPECT_EQ(StoredRecord(), old);
  EXPECT_EQ(StoredAttributes(), kOldAttributes);
}

class PasswordSilenceTest : public RefPlatTest {};

TEST_F(PasswordSilenceTest, NoPasswordInTraceSerialOrConsole) {
  auto op = [](UINT32 Number, const CHAR16* A = nullptr, const CHAR16* B = nullptr) {
    return SetupDataService_Instance()->Operation[Number](reinterpret_cast<UINT64>(A),
                                                          reinterpret_cast<UINT64>(B));
  };
  const CHAR16 secret[] = u"Zq7-secret";
  const CHAR16 wrong[] = u"Zq7-wrong";
  testing::internal::CaptureStderr();
  op(34, secret);       // set
  op(33, wrong);        // verify, wrong
  op(33, secret);       // verify, right
  op(9, secret, wrong); // compare
  op(31, secret);       // another kind
  op(30, wrong);
  Store_Save();
  Store_Load();
  const std::string serial = testing::internal::GetCapturedStderr();
  std::string everything = serial + fake::ConsoleText();
  for (const std::string& line : Trace()) everything += line + "\n";
  EXPECT_FALSE(Trace().empty());
  for (const char* needle : {"Zq7", "secret", "wrong"}) {
    EXPECT_EQ(everything.find(needle), std::string::npos) << needle << " in:\n" << everything;
  }
  // Not even as UTF-16 in the stored record.
  const std::vector<UINT8> record = StoredRecord();
  const std::string bytes(record.begin(), record.end());
  EXPECT_EQ(bytes.find(std::string(reinterpret_cast<const char*>(secret), 6)), std::string::npos);
}

} // namespace
