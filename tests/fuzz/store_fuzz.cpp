// The settings store's record parser: whatever the variable holds (any size,
// any bytes; often a well-formed header and a correct checksum around
// random contents, so the checks behind them are reached), the load ends
// with every setting inside its range, defaults after a rejected record, and
// a password check that finishes.
#include <cstring>
#include <vector>

#include "platform/lib.h"
#include "reference_platform/passwords.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/reference_platform.h"
#include "reference_platform/store.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fake::Reset();
  Quorvex_Lib_Init(nullptr, fake::SystemTable());
  Platform_BindFirmware(nullptr, fake::SystemTable());
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  fuzz::Bytes in(Data, Size);
  const uint8_t flags = in.U8();
  std::vector<uint8_t> bytes = in.Rest();
  if (flags & 1) {
    // A record of the right size with the header and checksum of a good one.
    StoreRecord record;
    std::memset(&record, 0, sizeof record);
    if (!bytes.empty())
      std::memcpy(&record, bytes.data(),
                  bytes.size() < sizeof record ? bytes.size() : sizeof record);
    record.Magic = kStoreMagic;
    record.Version = kStoreVersion;
    record.SettingCount = kStoreSettingCount;
    record.Size = sizeof(StoreRecord);
    record.Fingerprint = Store_SchemaFingerprint();
    if (!(flags & 2)) record.Crc32 = Store_Crc32(&record, offsetof(StoreRecord, Crc32));
    bytes.assign(reinterpret_cast<uint8_t*>(&record), reinterpret_cast<uint8_t*>(&record + 1));
  }
  EFI_RUNTIME_SERVICES* rt = fake::RuntimeServices();
  if (bytes.empty()) {
    rt->SetVariable(const_cast<CHAR16*>(kStoreVariableName), &kStoreVariableGuid, 0, 0, nullptr);
  } else {
    rt->SetVariable(const_cast<CHAR16*>(kStoreVariableName), &kStoreVariableGuid,
                    kStoreVariableAttributes, bytes.size(), bytes.data());
  }

  fuzz::PoolBalance balance;
  Store_Load();
  const StoreLoadResult result = Store_LastLoadResult();
  for (UINT32 i = 0; i < kStoreSettingCount; ++i) {
    const StoreSettingInfo& info = kStoreSettings[i];
    const UINT64 value = Store_Get(i);
    if (result != StoreLoaded || info.Type == StoreType_TEXT)
      fuzz::Check(value == info.Default, "a setting not loaded keeps its default");
    else
      fuzz::Check(value >= info.Min && value <= info.Max, "a loaded setting inside its range");
  }
  // A check against whatever password entries came back must end quickly.
  for (UINT32 kind = 0; kind < kPasswordKindCount; ++kind)
    (void)Password_Verify(static_cast<PasswordKind>(kind), u"pw");
  return 0;
}
