#include "reference_platform/store.h"

#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/serial.h"

namespace {

constinit StoreRecord gRecord = {};
constinit UINT8 gAbsent[kStoreSettingCount] = {};
constinit StoreLoadResult gLastLoad = StoreMissing;
constinit StoreMigration gMigration = StoreMigrationNone;

constexpr bool NamesEqual(const CHAR8* A, const CHAR8* B) {
  while (*A && *A == *B) {
    ++A;
    ++B;
  }
  return *A == *B;
}

constexpr UINT32 Fingerprint() {
  UINT32 hash = 2166136261u;
  for (const StoreSettingInfo& info : kStoreSettings) {
    for (const CHAR8* p = info.Name; *p; ++p) hash = (hash ^ static_cast<UINT8>(*p)) * 16777619u;
    hash = (hash ^ (0x100u + info.Type)) * 16777619u;
  }
  return hash;
}
constexpr UINT32 kFingerprint = Fingerprint();

// Setting names must be unique, or a name could not select one setting.
constexpr bool UniqueNames() {
  for (UINT32 i = 0; i < kStoreSettingCount; ++i)
    for (UINT32 k = i + 1; k < kStoreSettingCount; ++k)
      if (NamesEqual(kStoreSettings[i].Name, kStoreSettings[k].Name)) return false;
  return true;
}
static_assert(UniqueNames(), "two settings share a name");

constexpr bool DefaultsInRange() {
  for (const StoreSettingInfo& info : kStoreSettings)
    if (info.Type != StoreType_TEXT && (info.Default < info.Min || info.Default > info.Max))
      return false;
  return true;
}
static_assert(DefaultsInRange(), "a setting's default lies outside its range");

struct Crc32Table {
  UINT32 Entry[256];
};
constexpr Crc32Table MakeCrc32Table() {
  Crc32Table table{};
  for (UINT32 i = 0; i < 256; ++i) {
    UINT32 c = i;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table.Entry[i] = c;
  }
  return table;
}
constexpr Crc32Table kCrc32Table = MakeCrc32Table();

bool InRange(const StoreSettingInfo& Info, UINT64 Value) {
  return Info.Type != StoreType_TEXT && Value >= Info.Min && Value <= Info.Max;
}

void ReportLoad(StoreLoadResult Result, EFI_STATUS Status) {
  gLastLoad = Result;
  AsciiLine line;
  switch (Result) {
  case StoreLoaded:
    return;
  case StoreMissing:
    AsciiLine_Start(&line, "Quorvex settings: no saved settings, defaults in use");
    break;
  case StoreCorrupt:
    AsciiLine_Start(&line, "Quorvex settings: saved record is damaged, defaults in use");
    break;
  case StoreUnreadable:
    AsciiLine_Start(&line, "Quorvex settings: cannot read the saved record (status ");
    AsciiLine_AppendHex(&line, Status);
    AsciiLine_Append(&line, "), defaults in use");
    break;
  }
  Serial_WriteLine(line.Text);
}

void SealRecord(StoreRecord* Record) {
  Record->Magic = kStoreMagic;
  Record->Version = kStoreVersion;
  Record->SettingCount = kStoreSettingCount;
  Record->Size = sizeof(StoreRecord);
  Record->Fingerprint = kFingerprint;
  Record->Crc32 = Store_Crc32(Record, offsetof(StoreRecord, Crc32));
}

bool RecordValid(const StoreRecord& Record) {
  if (Record.Magic != kStoreMagic || Record.Version != kStoreVersion ||
      Record.SettingCount != kStoreSettingCount || Record.Size != sizeof(StoreRecord) ||
      Record.Fingerprint != kFingerprint)
    return false;
  if (Record.Crc32 != Store_Crc32(&Record, offsetof(StoreRecord, Crc32))) return false;
  for (const StoredPassword& entry : Record.Passwords) {
    if (entry.Installed > 1) return false;
    if (entry.Installed &&
        (entry.Iterations == 0 || entry.Iterations > kStoredPasswordMaxIterations))
      return false;
  }
  return true;
}

} // namespace

UINT32 Store_Crc32(const void* Data, UINTN Size) {
  const UINT8* bytes = static_cast<const UINT8*>(Data);
  UINT32 crc = 0xFFFFFFFFu;
  for (UINTN i = 0; i < Size; ++i) crc = kCrc32Table.Entry[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
  return crc ^ 0xFFFFFFFFu;
}

UINT32 Store_SchemaFingerprint() {
  return kFingerprint;
}

StoreLoadResult Store_LastLoadResult() {
  return gLastLoad;
}

void Store_ResetAll() {
  MemWipe(&gRecord, sizeof(gRecord));
  MemFill(gAbsent, 0, sizeof(gAbsent));
  for (UINT32 i = 0; i < kStoreSettingCount; ++i) gRecord.Values[i] = kStoreSettings[i].Default;
}

namespace {

// A variable written with other attributes (an older build's, with runtime
// access) cannot be rewritten in place: the firmware refuses a SetVariable
// whose attributes differ. It is deleted and, when its record was sound,
// written again at once with the attributes of this build. Between the two
// calls a power cut would lose the settings; that window is taken once, on
// the first start of this build.
StoreMigration Migrate(UINT32 Attributes, const StoreRecord* Record) {
  if (Attributes == kStoreVariableAttributes) return StoreMigrationNone;
  if (!PlatformRuntimeServices->SetVariable) return StoreMigrationFailed;
  EFI_STATUS status =
      PlatformRuntimeServices->SetVariable(kStoreVariableName, &kStoreVariableGuid, 0, 0, nullptr);
  if (!EFI_ERROR(status) && Record) {
    status = PlatformRuntimeServices->SetVariable(
        kStoreVariableName, &kStoreVariableGuid, kStoreVariableAttributes, sizeof(*Record), Record);
  }
  AsciiLine line;
  if (EFI_ERROR(status)) {
    AsciiLine_Start(&line, "Quorvex settings: cannot move the record to boot-services-only "
                           "storage (status ");
    AsciiLine_AppendHex(&line, status);
    AsciiLine_Append(&line, ")");
  } else {
    AsciiLine_Start(&line, Record ? "Quorvex settings: record moved to boot-services-only storage"
                                  : "Quorvex settings: damaged runtime-access record deleted");
  }
  Serial_WriteLine(line.Text);
  if (EFI_ERROR(status)) return StoreMigrationFailed;
  return Record ? StoreMigrationMoved : StoreMigrationDroppedCorrupt;
}

} // namespace

StoreMigration Store_LastMigration() {
  return gMigration;
}

void Store_Load() {
  Store_ResetAll();
  gMigration = StoreMigrationNone;
  if (!PlatformRuntimeServices || !PlatformRuntimeServices->GetVariable) {
    ReportLoad(StoreUnreadable, EFI_UNSUPPORTED);
    return;
  }
  StoreRecord record;
  UINTN size = sizeof(record);
  UINT32 attributes = 0;
  const EFI_STATUS status = PlatformRuntimeServices->GetVariable(
      kStoreVariableName, &kStoreVariableGuid, &attributes, &size, &record);
  if (status == EFI_NOT_FOUND) {
    ReportLoad(StoreMissing, status);
  } else if (status == EFI_BUFFER_TOO_SMALL) {
    ReportLoad(StoreCorrupt, status); // larger than any record we write
    gMigration = Migrate(attributes, nullptr);
  } else if (EFI_ERROR(status)) {
    ReportLoad(StoreUnreadable, status);
  } else if (size != sizeof(record) || !RecordValid(record)) {
    ReportLoad(StoreCorrupt, status);
    gMigration = Migrate(attributes, nullptr);
  } else {
    gMigration = Migrate(attributes, &record);
    MemCopy(&gRecord, &record, sizeof(record));
    // A sealed record from an older build can still hold a value the schema
    // no longer allows: that setting alone goes back to its default.
    for (UINT32 i = 0; i < kStoreSettingCount; ++i)
      if (!InRange(kStoreSettings[i], gRecord.Values[i]))
        gRecord.Values[i] = kStoreSettings[i].Default;
    ReportLoad(StoreLoaded, status);
  }
  MemWipe(&record, sizeof(record));
}

EFI_STATUS Store_Save() {
  if (!PlatformRuntimeServices || !PlatformRuntimeServices->SetVariable) return EFI_UNSUPPORTED;
  SealRecord(&gRecord);
  const EFI_STATUS status = PlatformRuntimeServices->SetVariable(
      kStoreVariableName, &kStoreVariableGuid, kStoreVariableAttributes, sizeof(gRecord), &gRecord);
  if (EFI_ERROR(status)) {
    AsciiLine line;
    AsciiLine_Start(&line, "Quorvex settings: saving failed (status ");
    AsciiLine_AppendHex(&line, status);
    AsciiLine_Append(&line, ")");
    Serial_WriteLine(line.Text);
  }
  return status;
}

void Store_LoadDefaults() {
  for (UINT32 i = 0; i < kStoreSettingCount; ++i) {
    // Only what the user can change has a default to go back to; Secure Boot
    // and TPM say in their help that they do not revert.
    if (kStoreSettings[i].SetOp < 0 || i == kSetting_secure_boot || i == kSetting_tpm) continue;
    gRecord.Values[i] = kStoreSettings[i].Default;
  }
}

UINT64 Store_Get(UINT32 Index) {
  return Index < kStoreSettingCount ? gRecord.Values[Index] : 0;
}

bool Store_Set(UINT32 Index, UINT64 Value) {
  if (Index >= kStoreSettingCount || !InRange(kStoreSettings[Index], Value)) return false;
  gRecord.Values[Index] = Value;
  return true;
}

bool Store_Present(UINT32 Index) {
  return Index < kStoreSettingCount && !gAbsent[Index];
}

void Store_SetPresent(UINT32 Index, bool Present) {
  if (Index < kStoreSettingCount) gAbsent[Index] = Present ? 0 : 1;
}

UINT32 Store_FindByName(const CHAR8* Name) {
  if (!Name) return kStoreSettingCount;
  for (UINT32 i = 0; i < kStoreSettingCount; ++i)
    if (NamesEqual(kStoreSettings[i].Name, Name)) return i;
  return kStoreSettingCount;
}

bool Store_SetByName(const char* Name, UINT64 Value) {
  const UINT32 index = Store_FindByName(Name);
  if (index < kStoreSettingCount) return Store_Set(index, Value);
  // "<name>_present": the presence answer of an item with a presence operation.
  static constexpr CHAR8 kSuffix[] = "_present";
  constexpr UINTN kSuffixLength = sizeof(kSuffix) - 1;
  const UINTN length = Name ? AsciiStrLen(Name) : 0;
  if (length <= kSuffixLength || length - kSuffixLength >= 64) return false;
  if (MemCompare(Name + length - kSuffixLength, kSuffix, kSuffixLength) != 0) return false;
  CHAR8 base[64];
  MemCopy(base, Name, length - kSuffixLength);
  base[length - kSuffixLength] = 0;
  const UINT32 owner = Store_FindByName(base);
  if (owner >= kStoreSettingCount || kStoreSettings[owner].PresenceOp < 0 || Value > 1)
    return false;
  Store_SetPresent(owner, Value != 0);
  return true;
}

StoredPassword* Store_Password(PasswordKind Kind) {
  return Kind < kPasswordKindCount ? &gRecord.Passwords[Kind] : nullptr;
}

void Store_AddRequest(UINT32 Requests) {
  gRecord.Requests |= Requests;
}

void Store_SetRequests(UINT32 Requests) {
  gRecord.Requests = Requests;
}

UINT32 Store_Requests() {
  return gRecord.Requests;
}
