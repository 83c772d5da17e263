// The fake firmware's runtime services: a clock that stands still unless it
// is set or advanced, variables kept in memory, and ResetSystem handed to a
// replaceable handler.
#include <algorithm>
#include <cstring>
#include <ctime>

#include "host/fake_internal.h"

namespace fake::detail {

namespace {

constexpr INT16 kUnspecifiedTimeZone = 0x07FF;
constexpr UINT64 kSecondsPerDay = 86400;

bool IsLeapYear(UINT32 Year) {
  return (Year % 4 == 0 && Year % 100 != 0) || Year % 400 == 0;
}

UINT32 DaysInMonth(UINT32 Year, UINT32 Month) {
  static constexpr UINT8 kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (Month == 2 && IsLeapYear(Year)) return 29;
  return kDays[Month - 1];
}

// Days from 1900-01-01 to the given date (a proleptic Gregorian count).
UINT64 DaysSince1900(UINT32 Year, UINT32 Month, UINT32 Day) {
  UINT64 days = 0;
  for (UINT32 y = 1900; y < Year; ++y) days += IsLeapYear(y) ? 366 : 365;
  for (UINT32 m = 1; m < Month; ++m) days += DaysInMonth(Year, m);
  return days + Day - 1;
}

UINT64 ToSeconds(const EFI_TIME& T) {
  return DaysSince1900(T.Year, T.Month, T.Day) * kSecondsPerDay + T.Hour * 3600ull +
         T.Minute * 60ull + T.Second;
}

void FromSeconds(UINT64 Seconds, EFI_TIME* T) {
  UINT64 days = Seconds / kSecondsPerDay;
  UINT64 rest = Seconds % kSecondsPerDay;
  UINT32 year = 1900;
  while (days >= (IsLeapYear(year) ? 366u : 365u)) days -= IsLeapYear(year++) ? 366 : 365;
  UINT32 month = 1;
  while (days >= DaysInMonth(year, month)) days -= DaysInMonth(year, month++);
  T->Year = static_cast<UINT16>(year);
  T->Month = static_cast<UINT8>(month);
  T->Day = static_cast<UINT8>(days + 1);
  T->Hour = static_cast<UINT8>(rest / 3600);
  T->Minute = static_cast<UINT8>(rest / 60 % 60);
  T->Second = static_cast<UINT8>(rest % 60);
}

EFI_TIME HostTime() {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  EFI_TIME t{};
  t.Year = static_cast<UINT16>(local.tm_year + 1900);
  t.Month = static_cast<UINT8>(local.tm_mon + 1);
  t.Day = static_cast<UINT8>(local.tm_mday);
  t.Hour = static_cast<UINT8>(local.tm_hour);
  t.Minute = static_cast<UINT8>(local.tm_min);
  t.Second = static_cast<UINT8>(std::min(local.tm_sec, 59));
  t.TimeZone = kUnspecifiedTimeZone;
  return t;
}

EFI_STATUS EFIAPI GetTime(EFI_TIME* Time, EFI_TIME_CAPABILITIES* Capabilities) {
  if (Time == nullptr) return EFI_INVALID_PARAMETER;
  *Time = g->ClockFollowsHost ? HostTime() : g->Clock;
  if (Capabilities) {
    Capabilities->Resolution = 1;
    Capabilities->Accuracy = 50000000;
    Capabilities->SetsToZero = 0;
  }
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetTime(EFI_TIME* Time) {
  if (Time == nullptr || !IsValidTime(*Time)) return EFI_INVALID_PARAMETER;
  if (EFI_ERROR(g->SetTimeRefusal)) return g->SetTimeRefusal;
  g->Clock = *Time;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetWakeupTime(BOOLEAN*, BOOLEAN*, EFI_TIME*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI SetWakeupTime(BOOLEAN, EFI_TIME*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI SetVirtualAddressMap(UINTN, UINTN, UINT32, void*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI ConvertPointer(UINTN, void**) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI GetNextHighMonotonicCount(UINT32* HighCount) {
  if (HighCount == nullptr) return EFI_INVALID_PARAMETER;
  *HighCount = 0;
  return EFI_SUCCESS;
}

std::array<UINT8, 16> GuidBytes(const EFI_GUID& Guid) {
  std::array<UINT8, 16> bytes;
  std::memcpy(bytes.data(), &Guid, 16);
  return bytes;
}

VariableKey KeyOf(const CHAR16* Name, const EFI_GUID& Guid) {
  return {std::u16string(Name), GuidBytes(Guid)};
}

EFI_STATUS EFIAPI GetVariable(const CHAR16* VariableName, const EFI_GUID* VendorGuid,
                              UINT32* Attributes, UINTN* DataSize, void* Data) {
  if (VariableName == nullptr || VendorGuid == nullptr || DataSize == nullptr)
    return EFI_INVALID_PARAMETER;
  if (VariableName[0] == 0) return EFI_NOT_FOUND;
  auto it = g->Variables.find(KeyOf(VariableName, *VendorGuid));
  if (it == g->Variables.end()) return EFI_NOT_FOUND;
  const Variable& var = it->second;
  if (*DataSize < var.Data.size()) {
    *DataSize = var.Data.size();
    return EFI_BUFFER_TOO_SMALL;
  }
  if (Data == nullptr) return EFI_INVALID_PARAMETER;
  if (!var.Data.empty()) std::memcpy(Data, var.Data.data(), var.Data.size());
  *DataSize = var.Data.size();
  if (Attributes) *Attributes = var.Attributes;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetNextVariableName(UINTN* VariableNameSize, CHAR16* VariableName,
                                      EFI_GUID* VendorGuid) {
  if (VariableNameSize == nullptr || VariableName == nullptr || VendorGuid == nullptr)
    return EFI_INVALID_PARAMETER;
  auto it = g->Variables.begin();
  if (VariableName[0] != 0) {
    it = g->Variables.find(KeyOf(VariableName, *VendorGuid));
    if (it == g->Variables.end()) return EFI_INVALID_PARAMETER;
    ++it;
  }
  if (it == g->Variables.end()) return EFI_NOT_FOUND;
  const std::u16string& name = it->first.first;
  const UINTN needed = (name.size() + 1) * sizeof(CHAR16);
  if (*VariableNameSize < needed) {
    *VariableNameSize = needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(VariableName, name.c_str(), needed);
  std::memcpy(VendorGuid, it->first.second.data(), 16);
  *VariableNameSize = needed;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetVariable(const CHAR16* VariableName, const EFI_GUID* VendorGuid,
                              UINT32 Attributes, UINTN DataSize, const void* Data) {
  ++g->SetVariableCalls;
  if (VariableName == nullptr || VariableName[0] == 0 || VendorGuid == nullptr)
    return EFI_INVALID_PARAMETER;
  if (DataSize != 0 && Data == nullptr) return EFI_INVALID_PARAMETER;
  EFI_STATUS modelled = EFI_SUCCESS;
  if (SecureBootModelWrite(VariableName, *VendorGuid, Attributes, DataSize, Data, &modelled))
    return modelled;
  constexpr UINT32 kKnown =
      EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;
  if (Attributes & ~kKnown) return EFI_INVALID_PARAMETER;
  if ((Attributes & EFI_VARIABLE_RUNTIME_ACCESS) && !(Attributes & EFI_VARIABLE_BOOTSERVICE_ACCESS))
    return EFI_INVALID_PARAMETER;
  if (g->SetVariableFailCountdown != 0 && --g->SetVariableFailCountdown == 0)
    return g->SetVariableFailStatus;

  const VariableKey key = KeyOf(VariableName, *VendorGuid);
  auto it = g->Variables.find(key);
  if (DataSize == 0 || Attributes == 0) {
    if (it == g->Variables.end()) return EFI_NOT_FOUND;
    g->Variables.erase(it);
    return EFI_SUCCESS;
  }
  if (it != g->Variables.end() && it->second.Attributes != Attributes) return EFI_INVALID_PARAMETER;
  const UINT8* bytes = static_cast<const UINT8*>(Data);
  g->Variables[key] = Variable{Attributes, std::vector<UINT8>(bytes, bytes + DataSize)};
  return EFI_SUCCESS;
}

void EFIAPI ResetSystem(EFI_RESET_TYPE ResetType, EFI_STATUS ResetStatus, UINTN, const void*) {
  ++g->ResetCount;
  g->LastResetType = ResetType;
  if (g->ResetHandler) g->ResetHandler(ResetType, ResetStatus);
}

} // namespace

void SetUpRuntimeServices(State& S) {
  EFI_RUNTIME_SERVICES& rs = S.RuntimeServices;
  rs.GetTime = GetTime;
  rs.SetTime = SetTime;
  rs.GetWakeupTime = GetWakeupTime;
  rs.SetWakeupTime = SetWakeupTime;
  rs.SetVirtualAddressMap = SetVirtualAddressMap;
  rs.ConvertPointer = ConvertPointer;
  rs.GetVariable = GetVariable;
  rs.GetNextVariableName = GetNextVariableName;
  rs.SetVariable = SetVariable;
  rs.GetNextHighMonotonicCount = GetNextHighMonotonicCount;
  rs.ResetSystem = ResetSystem;
}

} // namespace fake::detail

namespace fake {

using namespace detail;

bool IsValidTime(const EFI_TIME& T) {
  if (T.Year < 1900 || T.Year > 9999) return false;
  if (T.Month < 1 || T.Month > 12) return false;
  if (T.Day < 1 || T.Day > DaysInMonth(T.Year, T.Month)) return false;
  if (T.Hour > 23 || T.Minute > 59 || T.Second > 59) return false;
  if (T.Nanosecond > 999999999) return false;
  if (T.TimeZone != kUnspecifiedTimeZone && (T.TimeZone < -1440 || T.TimeZone > 1440)) return false;
  return (T.Daylight & ~3) == 0;
}

void SetClock(const EFI_TIME& Time) {
  g->Clock = Time;
}
EFI_TIME Clock() {
  return g->Clock;
}
void RefuseSetTime(EFI_STATUS Status) {
  g->SetTimeRefusal = Status;
}
void SetClockFollowsHost(bool Follow) {
  g->ClockFollowsHost = Follow;
}

void AdvanceClock(UINT64 Seconds) {
  // Past the last second an EFI_TIME can hold the clock stays there.
  EFI_TIME last = g->Clock;
  last.Year = 9999;
  last.Month = 12;
  last.Day = 31;
  last.Hour = 23;
  last.Minute = 59;
  last.Second = 59;
  const UINT64 now = ToSeconds(g->Clock);
  const UINT64 limit = ToSeconds(last);
  FromSeconds(Seconds > limit - now ? limit : now + Seconds, &g->Clock);
  PassWatchdogTime(Seconds);
}

bool PeekVariable(const std::u16string& Name, const EFI_GUID& Guid, std::vector<UINT8>* Data,
                  UINT32* Attributes) {
  auto it = g->Variables.find({Name, GuidBytes(Guid)});
  if (it == g->Variables.end()) return false;
  if (Data) *Data = it->second.Data;
  if (Attributes) *Attributes = it->second.Attributes;
  return true;
}

UINT64 SetVariableCalls() {
  return g->SetVariableCalls;
}

void FailSetVariable(UINT64 Nth, EFI_STATUS Status) {
  g->SetVariableFailCountdown = Nth;
  g->SetVariableFailStatus = Status;
}

void SetResetHandler(std::function<void(EFI_RESET_TYPE, EFI_STATUS)> Handler) {
  g->ResetHandler = std::move(Handler);
}
UINT64 ResetCount() {
  return g->ResetCount;
}
EFI_RESET_TYPE LastResetType() {
  return g->LastResetType;
}

} // namespace fake
