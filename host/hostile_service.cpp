// Hostile answers of the setup data service and the clock (see
// hostile_service.h).
#include "host/hostile_service.h"

#include <cstring>
#include <utility>
#include <vector>

#include "host/fake_firmware.h"
#include "reference_platform/setup_data_service.h"
#include "reference_platform/store.h"

namespace sim {

namespace {

enum Answer : unsigned {
  PastMax,          // every setting read answers its maximum + 1
  AllOnes,          // every setting read answers all ones of its width
  NullText,         // value texts are null pointers
  UnterminatedText, // value texts have no terminator
  LongText,         // value texts are 10000 units long
  Language7,        // the stored language is 7
  PasswordLength0,  // the platform's password length limit is 0
  PasswordLength1000,
  BacklightMax0, // the keyboard backlight time maximum is 0
  BootOrderFFFF, // the packed boot order is 0xFFFF
  GetTimeFails,
  SetTimeFails,
  RefuseSets, // every setting write answers EFI_DEVICE_ERROR
  kAnswerCount
};

constexpr const char* kNames[kAnswerCount] = {
    "past-max",        "all-ones",        "null-text",         "unterminated-text",
    "long-text",       "language-7",      "password-length-0", "password-length-1000",
    "backlight-max-0", "boot-order-ffff", "gettime-fails",     "settime-fails",
    "refuse-sets"};

bool Chosen[kAnswerCount] = {};
SetupDataProtocol Original = {};

// Value texts handed out: exact-size host allocations, so a reader that runs
// past one is caught by AddressSanitizer.
constexpr size_t kUnterminatedUnits = 4096;
constexpr size_t kLongUnits = 10000;
std::vector<CHAR16>& UnterminatedBuffer() {
  static std::vector<CHAR16> text = [] {
    std::vector<CHAR16> t(kUnterminatedUnits);
    for (size_t i = 0; i < t.size(); ++i) t[i] = static_cast<CHAR16>(u'A' + i % 26);
    return t;
  }();
  return text;
}
std::vector<CHAR16>& LongBuffer() {
  static std::vector<CHAR16> text = [] {
    std::vector<CHAR16> t(kLongUnits + 1);
    for (size_t i = 0; i < kLongUnits; ++i)
      t[i] = i % 7 == 6 ? u' ' : static_cast<CHAR16>(u'a' + i % 26);
    t[kLongUnits] = 0;
    return t;
  }();
  return text;
}

UINT64 WidthMask(StoreType Type) {
  switch (Type) {
  case StoreType_U8:
    return 0xFF;
  case StoreType_U16:
    return 0xFFFF;
  case StoreType_U32:
    return 0xFFFFFFFFull;
  default:
    return ~0ull;
  }
}

void Store(StoreType Type, UINT64 Address, UINT64 Value) {
  if (Address == 0) return;
  void* target = reinterpret_cast<void*>(static_cast<uintptr_t>(Address));
  switch (Type) {
  case StoreType_U8: {
    const UINT8 v = static_cast<UINT8>(Value);
    std::memcpy(target, &v, sizeof v);
    break;
  }
  case StoreType_U16: {
    const UINT16 v = static_cast<UINT16>(Value);
    std::memcpy(target, &v, sizeof v);
    break;
  }
  case StoreType_U32: {
    const UINT32 v = static_cast<UINT32>(Value);
    std::memcpy(target, &v, sizeof v);
    break;
  }
  default:
    std::memcpy(target, &Value, sizeof Value);
    break;
  }
}

// The setting an operation number reads or writes, or kStoreSettingCount.
UINT32 SettingOf(UINT32 Number, bool* IsGet) {
  for (UINT32 i = 0; i < kStoreSettingCount; ++i) {
    if (kStoreSettings[i].GetOp == static_cast<INT32>(Number)) {
      *IsGet = true;
      return i;
    }
    if (kStoreSettings[i].SetOp == static_cast<INT32>(Number)) {
      *IsGet = false;
      return i;
    }
  }
  return kStoreSettingCount;
}

// A forced answer for one setting read, if any answer chosen forces one.
bool ForcedValue(UINT32 Setting, UINT64* Value) {
  const StoreSettingInfo& info = kStoreSettings[Setting];
  if (Setting == kSetting_language && Chosen[Language7]) return *Value = 7, true;
  if (Setting == kSetting_max_password_length && Chosen[PasswordLength0]) return *Value = 0, true;
  if (Setting == kSetting_max_password_length && Chosen[PasswordLength1000])
    return *Value = 1000, true;
  if (Setting == kSetting_backlight_time_maximum && Chosen[BacklightMax0]) return *Value = 0, true;
  if (Setting == kSetting_boot_order && Chosen[BootOrderFFFF]) return *Value = 0xFFFF, true;
  if (Chosen[AllOnes]) return *Value = WidthMask(info.Type), true;
  if (Chosen[PastMax]) return *Value = (info.Max + 1) & WidthMask(info.Type), true;
  return false;
}

UINT64 Adjust(UINT32 Number, UINT64 Argument1, UINT64 Argument2) {
  bool isGet = false;
  const UINT32 setting = SettingOf(Number, &isGet);
  const UINT64 result = Original.Operation[Number](Argument1, Argument2);
  if (setting >= kStoreSettingCount) return result;
  const StoreSettingInfo& info = kStoreSettings[setting];
  if (!isGet) return Chosen[RefuseSets] ? EFI_DEVICE_ERROR : result;
  if (info.Type == StoreType_TEXT) {
    const CHAR16* text = nullptr;
    if (Chosen[UnterminatedText])
      text = UnterminatedBuffer().data();
    else if (Chosen[LongText])
      text = LongBuffer().data();
    else if (!Chosen[NullText])
      return result;
    Store(StoreType_U64, Argument1, reinterpret_cast<uintptr_t>(text));
    return result;
  }
  UINT64 value;
  if (!ForcedValue(setting, &value)) return result;
  Store(info.Type, Argument1, value);
  return value;
}

template <UINT32 N> UINT64 EFIAPI Operation(UINT64 Argument1, UINT64 Argument2) {
  return Adjust(N, Argument1, Argument2);
}
template <UINT32... N> SetupDataProtocol MakeTable(std::integer_sequence<UINT32, N...>) {
  return SetupDataProtocol{{&Operation<N>...}};
}

EFI_STATUS EFIAPI FailingGetTime(EFI_TIME*, EFI_TIME_CAPABILITIES*) {
  return EFI_DEVICE_ERROR;
}
EFI_STATUS EFIAPI FailingSetTime(EFI_TIME*) {
  return EFI_DEVICE_ERROR;
}

} // namespace

bool Hostile_Parse(const std::string& List, std::string* Error) {
  size_t start = 0;
  while (start <= List.size()) {
    const size_t comma = List.find(',', start);
    const std::string name =
        List.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    bool known = false;
    for (unsigned i = 0; i < kAnswerCount; ++i) {
      if (name == kNames[i]) {
        Chosen[i] = true;
        known = true;
      }
    }
    if (!known) {
      *Error = "unknown hostile answer '" + name + "' (one of: " + Hostile_Names() + ")";
      return false;
    }
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return true;
}

const char* Hostile_Names() {
  static const std::string names = [] {
    std::string text;
    for (unsigned i = 0; i < kAnswerCount; ++i) text += (i ? " " : "") + std::string(kNames[i]);
    return text;
  }();
  return names.c_str();
}

bool Hostile_Active() {
  for (bool chosen : Chosen)
    if (chosen) return true;
  return false;
}

void Hostile_Install() {
  SetupDataProtocol* service = SetupDataService_Instance();
  Original = *service;
  *service = MakeTable(std::make_integer_sequence<UINT32, kSetupDataOperationCount>());
  if (Chosen[GetTimeFails]) fake::RuntimeServices()->GetTime = FailingGetTime;
  if (Chosen[SetTimeFails]) fake::RuntimeServices()->SetTime = FailingSetTime;
}

} // namespace sim
