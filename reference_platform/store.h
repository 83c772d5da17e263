// The settings store: every setting of the schema, the password hashes and
// the requests recorded for the firmware, kept in one checksummed record that
// is written to one non-volatile UEFI variable in one SetVariable call.
#pragma once

#include "platform/efi.h"

enum StoreType : UINT8 {
  StoreType_U8,
  StoreType_U16,
  StoreType_U32,
  StoreType_U64,
  StoreType_TEXT
};

struct StoreSettingInfo {
  const CHAR8* Name;
  INT32 GetOp;
  INT32 SetOp;
  INT32 PresenceOp;
  StoreType Type;
  UINT64 Min;
  UINT64 Max;
  UINT64 Default;
};

enum StoreSettingIndex : UINT32 {
#define SETTING(Name, GetOp, SetOp, PresenceOp, Type, Min, Max, Default) kSetting_##Name,
#include "setup_data/settings_schema.inc"
  kStoreSettingCount
};

inline constexpr StoreSettingInfo kStoreSettings[kStoreSettingCount] = {
#define SETTING(Name, GetOp, SetOp, PresenceOp, Type, Min, Max, Default)                           \
  {#Name, GetOp, SetOp, PresenceOp, StoreType_##Type, Min, Max, Default},
#include "setup_data/settings_schema.inc"
};

// The four passwords, in the order of their operation numbers.
enum PasswordKind : UINT32 {
  PasswordSupervisor,
  PasswordUser,
  PasswordHddMaster,
  PasswordHddUser,
  kPasswordKindCount
};

constexpr UINTN kPasswordSaltSize = 16;
// The most hash iterations a stored password may ask for: a record asking
// for more is damaged (a check would otherwise run for hours). Four times
// the count new hashes use, so a later rise of that count still loads.
constexpr UINT32 kStoredPasswordMaxIterations = 600000;
constexpr UINTN kPasswordHashSize = 32;

struct StoredPassword {
  UINT8 Installed;
  UINT8 Reserved[3];
  UINT32 Iterations;
  UINT8 Salt[kPasswordSaltSize];
  UINT8 Hash[kPasswordHashSize];
};
static_assert(sizeof(StoredPassword) == 56);

// Requests the setup data service records for the firmware's next boot.
enum StoreRequest : UINT32 {
  kRequestClearSecureBootKeys = 1u << 0,
  kRequestResetBootLogo = 1u << 1,
  kRequestBatteryOff = 1u << 2,
  kRequestTpmEnable = 1u << 3,
  kRequestTpmDisable = 1u << 4,
};

constexpr UINT32 kStoreMagic = 0x53585651; // "QVXS"
constexpr UINT16 kStoreVersion = 1;

// The record as it is kept in the variable (little-endian, no padding).
struct StoreRecord {
  UINT32 Magic;
  UINT16 Version;
  UINT16 SettingCount;
  UINT32 Size;        // sizeof(StoreRecord)
  UINT32 Fingerprint; // of the schema's setting names and types
  UINT64 Values[kStoreSettingCount];
  StoredPassword Passwords[kPasswordKindCount];
  UINT32 Requests;
  UINT32 Crc32; // CRC-32 of every byte before this field
};
static_assert(offsetof(StoreRecord, Crc32) + sizeof(UINT32) == sizeof(StoreRecord));

inline constexpr CHAR16 kStoreVariableName[] = u"QuorvexSettings";
inline constexpr EFI_GUID kStoreVariableGuid = {
    0x5C1A7E02, 0x9B3D, 0x4F61, {0xA8, 0xE4, 0x2D, 0x7C, 0x90, 0xB3, 0xF1, 0xA6}};
// Boot services only: once the operating system runs, the record (and the
// password hashes in it) can be neither read nor deleted through the
// firmware's variable services.
constexpr UINT32 kStoreVariableAttributes =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;

// Sets a setting by its schema name; also "<name>_present" for the presence
// answer of a setting that has a presence operation. False when the name is
// unknown, the setting is a read-only value text, or the value is outside the
// setting's range (nothing changes then).
bool Store_SetByName(const char* Name, UINT64 Value);
// Reads the store from its variable; defaults when it is missing or corrupt.
void Store_Load();
// Writes the whole store in one SetVariable call.
EFI_STATUS Store_Save();
// The schema's defaults for every setting the user can change, except the
// ones that do not revert (Secure Boot, TPM); the language, the passwords and
// the platform's own answers keep their values.
void Store_LoadDefaults();

// What the last Store_Load found.
enum StoreLoadResult : UINT32 { StoreLoaded, StoreMissing, StoreCorrupt, StoreUnreadable };
// How the last Store_Load left a variable that older builds wrote with
// runtime access: not there, or moved to boot-services-only storage (its
// record kept, or dropped when it was damaged), or still there because the
// firmware refused to delete or rewrite it.
enum StoreMigration : UINT32 {
  StoreMigrationNone,
  StoreMigrationMoved,
  StoreMigrationDroppedCorrupt,
  StoreMigrationFailed
};
StoreMigration Store_LastMigration();
StoreLoadResult Store_LastLoadResult();

// Every setting at its default, every item present, no password, no request
// (the state before a load and after a failed one).
void Store_ResetAll();

UINT64 Store_Get(UINT32 Index);
// Range-checked: false (and no change) for a value outside [Min, Max], a
// value text or an unknown index.
bool Store_Set(UINT32 Index, UINT64 Value);
// The presence answer of a setting's page item (kept in memory only; every
// item is present unless an integrator or a test says otherwise).
bool Store_Present(UINT32 Index);
void Store_SetPresent(UINT32 Index, bool Present);
// The index of a setting by name, or kStoreSettingCount.
UINT32 Store_FindByName(const CHAR8* Name);

StoredPassword* Store_Password(PasswordKind Kind);
void Store_AddRequest(UINT32 Requests);
void Store_SetRequests(UINT32 Requests);
UINT32 Store_Requests();

UINT32 Store_Crc32(const void* Data, UINTN Size);
// The fingerprint a record must carry to be read back.
UINT32 Store_SchemaFingerprint();
