#include "reference_platform/setup_data_service.h"

#include "platform/lib.h"
#include "reference_platform/password_field_watch.h"
#include "reference_platform/passwords.h"
#include "reference_platform/machine_settings.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/reference_platform.h"
#include "reference_platform/screenshot.h"
#include "reference_platform/secure_boot.h"
#include "reference_platform/serial.h"
#include "reference_platform/store.h"
#include "reference_platform/system_info.h"

#ifndef QUORVEX_DEBUG
#define QUORVEX_DEBUG 0
#endif

void (*SetupDataTraceSink)(const char* Line) = nullptr;

namespace {

// ---------------------------------------------------------------------------
// Shapes and the per-number table, generated from the schema at compile time.
// ---------------------------------------------------------------------------
enum OpShape : UINT8 {
  ReadInto,
  ReadByte,
  ReadValue,
  WriteByte,
  WriteWord,
  Action,
  ActionStatus,
  Pointer2,
  Value2,
};

struct OpCall {
  UINT32 Number;
  UINT64 Argument1;
  UINT64 Argument2;
  OpShape Shape;
  bool Traced; // the line has been written already (before a reset)
};

typedef UINT64 (*OpHandler)(OpCall* Call);

enum OpKind : UINT8 { KindNone, KindGet, KindSet, KindPresence, KindOperation };

struct OpEntry {
  OpKind Kind;
  OpShape Shape;
  UINT32 Setting;
  OpHandler Handler;
};

struct OpTable {
  OpEntry Entry[kSetupDataOperationCount];
  bool Conflict;
  bool OutOfRange;
};

// ---------------------------------------------------------------------------
// Trace
// ---------------------------------------------------------------------------
bool ResultIsStatus(OpShape Shape) {
  return Shape == Action || Shape == ActionStatus;
}

bool ShapeReturns(OpShape Shape) {
  return Shape == ReadByte || Shape == ReadValue || Shape == Action || Shape == ActionStatus ||
         Shape == Pointer2 || Shape == Value2;
}

void WriteTrace(OpCall* Call, bool WithResult, UINT64 Result) {
  Call->Traced = true;
  if (!SetupDataTraceSink && !QUORVEX_DEBUG) return;
  AsciiLine line;
  AsciiLine_Start(&line, "op ");
  AsciiLine_AppendDecimal(&line, Call->Number);
  switch (Call->Shape) {
  case WriteByte:
    AsciiLine_Append(&line, " ");
    AsciiLine_AppendDecimal(&line, Call->Argument1 & 0xFF);
    break;
  case WriteWord:
    AsciiLine_Append(&line, " ");
    AsciiLine_AppendDecimal(&line, Call->Argument1);
    break;
  case ActionStatus:
    AsciiLine_Append(&line, " ");
    AsciiLine_AppendHex(&line, Call->Argument1);
    break;
  case Value2:
    AsciiLine_Append(&line, " ");
    AsciiLine_AppendDecimal(&line, Call->Argument1);
    AsciiLine_Append(&line, " ");
    AsciiLine_AppendDecimal(&line, Call->Argument2);
    break;
  default:
    break;
  }
  if (WithResult) {
    AsciiLine_Append(&line, " -> ");
    if (ResultIsStatus(Call->Shape)) {
      AsciiLine_AppendHex(&line, Result);
    } else {
      AsciiLine_AppendDecimal(&line, Result);
    }
  }
  if (SetupDataTraceSink) SetupDataTraceSink(line.Text);
  if (QUORVEX_DEBUG) Serial_WriteLine(line.Text);
}

// ---------------------------------------------------------------------------
// Settings: get, set, presence
// ---------------------------------------------------------------------------
void WriteTypeWide(StoreType Type, UINT64 Address, UINT64 Value) {
  if (!Address) return;
  void* target = reinterpret_cast<void*>(static_cast<UINTN>(Address));
  switch (Type) {
  case StoreType_U8: {
    const UINT8 v = static_cast<UINT8>(Value);
    MemCopy(target, &v, sizeof(v));
    break;
  }
  case StoreType_U16: {
    const UINT16 v = static_cast<UINT16>(Value);
    MemCopy(target, &v, sizeof(v));
    break;
  }
  case StoreType_U32: {
    const UINT32 v = static_cast<UINT32>(Value);
    MemCopy(target, &v, sizeof(v));
    break;
  }
  case StoreType_U64:
  case StoreType_TEXT:
    MemCopy(target, &Value, sizeof(Value));
    break;
  }
}

UINT64 CutToType(StoreType Type, UINT64 Value) {
  switch (Type) {
  case StoreType_U8:
    return Value & 0xFF;
  case StoreType_U16:
    return Value & 0xFFFF;
  case StoreType_U32:
    return Value & 0xFFFFFFFFu;
  default:
    return Value;
  }
}

UINT64 GetSetting(const OpEntry& Entry, OpCall* Call) {
  const StoreSettingInfo& info = kStoreSettings[Entry.Setting];
  if (info.Type == StoreType_TEXT) {
    const CHAR16* text = SystemInfo_Text(Entry.Setting);
    WriteTypeWide(StoreType_TEXT, Call->Argument1, reinterpret_cast<UINTN>(text));
    return EFI_SUCCESS;
  }
  UINT64 value = Store_Get(Entry.Setting);
  if (Entry.Setting == kSetting_boot_order) value = MachineSettings_BootOrderAnswer(value);
  // Secure Boot is the firmware's own where it has it.
  if (Entry.Setting == kSetting_secure_boot && SecureBoot_Backing() == SecureBootFirmware)
    value = SecureBoot_Enforced();
  WriteTypeWide(info.Type, Call->Argument1, value);
  return value;
}

UINT64 SetSetting(const OpEntry& Entry, OpCall* Call) {
  const StoreSettingInfo& info = kStoreSettings[Entry.Setting];
  if (Entry.Setting == kSetting_secure_boot && SecureBoot_Backing() == SecureBootFirmware)
    return SecureBoot_SetEnforced(CutToType(info.Type, Call->Argument1));
  // An out-of-range value is refused: the stored value stays as it was.
  return Store_Set(Entry.Setting, CutToType(info.Type, Call->Argument1)) ? EFI_SUCCESS
                                                                         : EFI_INVALID_PARAMETER;
}

UINT64 GetPresence(const OpEntry& Entry, OpCall* Call) {
  const UINT8 present = Store_Present(Entry.Setting) ? 1 : 0;
  WriteTypeWide(StoreType_U8, Call->Argument1, present);
  return present;
}

// ---------------------------------------------------------------------------
// Numbered operations, one handler per schema name
// ---------------------------------------------------------------------------
void Reset(EFI_RESET_TYPE Type, EFI_STATUS Status) {
  if (PlatformRuntimeServices && PlatformRuntimeServices->ResetSystem)
    PlatformRuntimeServices->ResetSystem(Type, Status, 0, nullptr);
}

const CHAR16* StringArgument(UINT64 Address) {
  return reinterpret_cast<const CHAR16*>(static_cast<UINTN>(Address));
}

UINT64 Op_load_defaults(OpCall*) {
  Store_LoadDefaults();
  return EFI_SUCCESS;
}

UINT64 Op_save_and_leave(OpCall* Call) {
  const EFI_STATUS saved = Store_Save();
  // Nothing is lost when the save fails: the utility stays and can try again.
  if (EFI_ERROR(saved)) return saved;
  MachineSettings_Save();
  WriteTrace(Call, false, 0);
  Reset(EfiResetCold, EFI_SUCCESS);
  return EFI_DEVICE_ERROR; // reached only if the reset did not happen
}

UINT64 Op_leave_without_saving(OpCall* Call) {
  WriteTrace(Call, false, 0);
  Reset(EfiResetCold, Call->Argument1);
  return EFI_DEVICE_ERROR;
}

UINT64 Op_save_battery_off_and_power_off(OpCall* Call) {
  const UINT32 before = Store_Requests();
  Store_SetRequests(before | kRequestBatteryOff);
  const EFI_STATUS saved = Store_Save();
  if (EFI_ERROR(saved)) {
    Store_SetRequests(before); // nothing was powered off: no request stays behind
    return saved;
  }
  MachineSettings_Save();
  WriteTrace(Call, false, 0);
  Reset(EfiResetShutdown, EFI_SUCCESS);
  return EFI_DEVICE_ERROR;
}

UINT64 Op_password_over_length_notice(OpCall*) {
  return EFI_SUCCESS;
}

UINT64 Op_compare_passwords(OpCall* Call) {
  return Password_Compare(StringArgument(Call->Argument1), StringArgument(Call->Argument2)) ? 1 : 0;
}

UINT64 Op_report_hot_key(OpCall* Call) {
  // The platform's hot key saves a screenshot, except while a password is
  // being typed: the mask and the on-screen keyboard's pressed key would
  // tell too much. A failure is reported on the serial port only.
  if ((Call->Argument1 & 0xFFFF) == Store_Get(kSetting_hot_key_scan_code) &&
      !PasswordFieldWatch_Open())
    Screenshot_Save();
  return EFI_SUCCESS;
}

UINT64 Op_clear_secure_boot_keys(OpCall*) {
  if (SecureBoot_Backing() == SecureBootAbsent) return EFI_UNSUPPORTED;
  Store_AddRequest(kRequestClearSecureBootKeys);
  return EFI_SUCCESS;
}

UINT64 Op_reset_boot_logo(OpCall*) {
  Store_AddRequest(kRequestResetBootLogo);
  return EFI_SUCCESS;
}

UINT64 Op_tpm_state_changed(OpCall* Call) {
  Store_AddRequest((Call->Argument1 & 0xFF) ? kRequestTpmEnable : kRequestTpmDisable);
  return EFI_SUCCESS;
}

UINT64 Op_shut_down(OpCall* Call) {
  WriteTrace(Call, false, 0);
  Reset(EfiResetShutdown, EFI_SUCCESS);
  return EFI_DEVICE_ERROR;
}

UINT64 Op_store_language(OpCall* Call) {
  return Store_Set(kSetting_language, Call->Argument1) ? EFI_SUCCESS : EFI_INVALID_PARAMETER;
}

UINT64 Op_read_cursor_hide_seconds(OpCall*) {
  return Store_Get(kSetting_cursor_hide_seconds);
}

template <PasswordKind Kind> UINT64 PasswordInstalled(OpCall*) {
  return Password_Installed(Kind) ? 1 : 0;
}
template <PasswordKind Kind> UINT64 PasswordVerify(OpCall* Call) {
  return Password_Verify(Kind, StringArgument(Call->Argument1)) ? 1 : 0;
}
template <PasswordKind Kind> UINT64 PasswordSet(OpCall* Call) {
  return Password_Set(Kind, StringArgument(Call->Argument1)) ? 1 : 0;
}

constexpr OpHandler Op_supervisor_password_installed = PasswordInstalled<PasswordSupervisor>;
constexpr OpHandler Op_supervisor_password_verify = PasswordVerify<PasswordSupervisor>;
constexpr OpHandler Op_supervisor_password_set = PasswordSet<PasswordSupervisor>;
constexpr OpHandler Op_user_password_installed = PasswordInstalled<PasswordUser>;
constexpr OpHandler Op_user_password_verify = PasswordVerify<PasswordUser>;
constexpr OpHandler Op_user_password_set = PasswordSet<PasswordUser>;
constexpr OpHandler Op_hdd_master_password_installed = PasswordInstalled<PasswordHddMaster>;
constexpr OpHandler Op_hdd_master_password_verify = PasswordVerify<PasswordHddMaster>;
constexpr OpHandler Op_hdd_master_password_set = PasswordSet<PasswordHddMaster>;
constexpr OpHandler Op_hdd_user_password_installed = PasswordInstalled<PasswordHddUser>;
constexpr OpHandler Op_hdd_user_password_verify = PasswordVerify<PasswordHddUser>;
constexpr OpHandler Op_hdd_user_password_set = PasswordSet<PasswordHddUser>;

constexpr UINT32 kPortTypes[4] = {kSetting_display_port1_type, kSetting_display_port2_type,
                                  kSetting_display_port3_type, kSetting_display_port4_type};
constexpr UINT32 kPortPresent[4] = {kSetting_display_port1_present, kSetting_display_port2_present,
                                    kSetting_display_port3_present, kSetting_display_port4_present};

UINT64 Op_read_display_port_types(OpCall* Call) {
  if (!Call->Argument1) return EFI_INVALID_PARAMETER;
  UINT32 types[4];
  for (UINTN i = 0; i < 4; ++i) types[i] = static_cast<UINT32>(Store_Get(kPortTypes[i]));
  MemCopy(reinterpret_cast<void*>(static_cast<UINTN>(Call->Argument1)), types, sizeof(types));
  return EFI_SUCCESS;
}

UINT64 Op_read_display_port_present(OpCall* Call) {
  if (!Call->Argument1) return EFI_INVALID_PARAMETER;
  UINT8 present[4];
  for (UINTN i = 0; i < 4; ++i) present[i] = static_cast<UINT8>(Store_Get(kPortPresent[i]));
  MemCopy(reinterpret_cast<void*>(static_cast<UINTN>(Call->Argument1)), present, sizeof(present));
  return EFI_SUCCESS;
}

// ---------------------------------------------------------------------------
// The table
// ---------------------------------------------------------------------------
constexpr void Assign(OpTable& Table, INT64 Number, const OpEntry& Entry) {
  if (Number < 0) return;
  if (Number >= static_cast<INT64>(kSetupDataOperationCount)) {
    Table.OutOfRange = true;
    return;
  }
  if (Table.Entry[Number].Kind != KindNone) Table.Conflict = true;
  Table.Entry[Number] = Entry;
}

constexpr OpShape GetterShape(StoreType Type) {
  // 32-bit settings (language, key source) are answered by value.
  return Type == StoreType_U32 ? ReadValue : ReadInto;
}

constexpr OpTable BuildTable() {
  OpTable table{};
#define SETTING(Name, GetOp, SetOp, PresenceOp, Type, Min, Max, Default)                           \
  Assign(table, GetOp, {KindGet, GetterShape(StoreType_##Type), kSetting_##Name, nullptr});        \
  Assign(table, SetOp,                                                                             \
         {KindSet, StoreType_##Type == StoreType_U8 ? WriteByte : WriteWord, kSetting_##Name,      \
          nullptr});                                                                               \
  Assign(table, PresenceOp, {KindPresence, ReadInto, kSetting_##Name, nullptr});
#define OPERATION(Number, Shape, Name) Assign(table, Number, {KindOperation, Shape, 0, Op_##Name});
#include "setup_data/settings_schema.inc"
  return table;
}

constexpr OpTable kOps = BuildTable();
static_assert(!kOps.Conflict, "two schema rows use the same operation number");
static_assert(!kOps.OutOfRange, "a schema operation number is beyond the service's table");

UINT64 Dispatch(UINT32 Number, UINT64 Argument1, UINT64 Argument2) {
  PasswordFieldWatch_Note(Number);
  const OpEntry& entry = kOps.Entry[Number];
  OpCall call = {Number, Argument1, Argument2, entry.Shape, false};
  UINT64 result = EFI_UNSUPPORTED;
  bool returns = true;
  switch (entry.Kind) {
  case KindNone:
    call.Shape = Action; // traced as a status: "op N -> 0x8000000000000003"
    break;
  case KindGet:
    result = GetSetting(entry, &call);
    returns = ShapeReturns(entry.Shape);
    break;
  case KindSet:
    result = SetSetting(entry, &call);
    returns = false;
    break;
  case KindPresence:
    result = GetPresence(entry, &call);
    returns = false;
    break;
  case KindOperation:
    result = entry.Handler(&call);
    returns = ShapeReturns(entry.Shape);
    break;
  }
  if (!call.Traced) WriteTrace(&call, returns, result);
  return result;
}

template <UINT32 Number> UINT64 EFIAPI Operation(UINT64 Argument1, UINT64 Argument2) {
  return Dispatch(Number, Argument1, Argument2);
}

#define QV_OPS5(n)                                                                                 \
  Operation<(n)>, Operation<(n) + 1>, Operation<(n) + 2>, Operation<(n) + 3>, Operation<(n) + 4>
#define QV_OPS25(n) QV_OPS5(n), QV_OPS5(n + 5), QV_OPS5(n + 10), QV_OPS5(n + 15), QV_OPS5(n + 20)
#define QV_OPS100(n) QV_OPS25(n), QV_OPS25(n + 25), QV_OPS25(n + 50), QV_OPS25(n + 75)

constexpr SetupDataProtocol kOperations = {{QV_OPS100(0), QV_OPS100(100)}};
constinit SetupDataProtocol gService = kOperations;
static_assert(kSetupDataOperationCount == 200);

} // namespace

SetupDataProtocol* SetupDataService_Instance() {
  return &gService;
}

EFI_STATUS SetupDataService_Install() {
  gService = kOperations; // whatever a previous run laid over the table goes
  PasswordFieldWatch_Reset();
  MachineSettings_Load();
  return Platform_InstallOnNewHandle(kSetupDataGuid, &gService);
}
