// The fake firmware's Secure Boot: the variables an EDK2-based firmware keeps
// for it, with the rules that decide which writes it takes.
#include <cstring>

#include "host/fake_internal.h"
#include "platform/efi_secure_boot.h"

namespace fake::detail {

namespace {

constexpr EFI_STATUS kWriteProtected = kEfiErrorBit | 8;
constexpr UINT32 kBsRt = EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;
constexpr UINT32 kNvBs = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;
constexpr UINTN kAuthenticationHeader = 16 + 24; // EFI_TIME + WIN_CERTIFICATE_UEFI_GUID

bool Same(const EFI_GUID& A, const EFI_GUID& B) {
  return std::memcmp(&A, &B, sizeof(EFI_GUID)) == 0;
}

bool Named(const CHAR16* Name, const char16_t* Expected) {
  return std::u16string(Name) == Expected;
}

VariableKey Key(const char16_t* Name, const EFI_GUID& Guid) {
  std::array<UINT8, 16> bytes;
  std::memcpy(bytes.data(), &Guid, 16);
  return {Name, bytes};
}

void Put(const char16_t* Name, const EFI_GUID& Guid, UINT32 Attributes, UINT8 Value) {
  g->Variables[Key(Name, Guid)] = Variable{Attributes, {Value}};
}

void Drop(const char16_t* Name, const EFI_GUID& Guid) {
  g->Variables.erase(Key(Name, Guid));
}

bool Byte(const char16_t* Name, const EFI_GUID& Guid, UINT8 Expected) {
  auto it = g->Variables.find(Key(Name, Guid));
  return it != g->Variables.end() && it->second.Data.size() == 1 && it->second.Data[0] == Expected;
}

// A one-byte configuration variable, non-volatile and boot-services only.
EFI_STATUS WriteConfigByte(const char16_t* Name, const EFI_GUID& Guid, UINT32 Attributes,
                           UINTN DataSize, const void* Data) {
  if (Attributes != kNvBs || DataSize != 1) return EFI_INVALID_PARAMETER;
  const UINT8 value = *static_cast<const UINT8*>(Data);
  if (value > 1) return EFI_INVALID_PARAMETER;
  Put(Name, Guid, kNvBs, value);
  return EFI_SUCCESS;
}

EFI_STATUS WritePlatformKey(UINT32 Attributes, UINTN DataSize, const void* Data) {
  if (!(Attributes & EFI_VARIABLE_NON_VOLATILE) || !(Attributes & kTimeBasedAuthenticatedWrite))
    return EFI_INVALID_PARAMETER;
  if (DataSize < kAuthenticationHeader) return EFI_SECURITY_VIOLATION;
  const UINT8* bytes = static_cast<const UINT8*>(Data);
  UINT32 length = 0;
  UINT16 revision = 0;
  UINT16 type = 0;
  EFI_GUID certType;
  std::memcpy(&length, bytes + 16, 4);
  std::memcpy(&revision, bytes + 20, 2);
  std::memcpy(&type, bytes + 22, 2);
  std::memcpy(&certType, bytes + 24, 16);
  if (length < 24 || revision != 0x0200 || type != 0x0EF1 || !Same(certType, kCertPkcs7Guid) ||
      16 + static_cast<UINTN>(length) > DataSize)
    return EFI_SECURITY_VIOLATION;
  const bool deletion = 16 + static_cast<UINTN>(length) == DataSize && length == 24;
  // Only custom mode takes a key change without the platform key's signature,
  // and only a deletion is modelled.
  if (!deletion || !Byte(u"CustomMode", kCustomModeGuid, 1) || g->SecureBoot.RefuseKeyDelete)
    return EFI_SECURITY_VIOLATION;
  if (g->Variables.erase(Key(u"PK", kGlobalVariableGuid)) == 0) return EFI_NOT_FOUND;
  Put(u"SetupMode", kGlobalVariableGuid, kBsRt, 1);
  Put(u"SecureBoot", kGlobalVariableGuid, kBsRt, 0);
  Drop(u"SecureBootEnable", kSecureBootEnableGuid);
  return EFI_SUCCESS;
}

} // namespace

bool SecureBootModelWrite(const CHAR16* Name, const EFI_GUID& Guid, UINT32 Attributes,
                          UINTN DataSize, const void* Data, EFI_STATUS* Status) {
  const SecureBootModel& model = g->SecureBoot;
  if (model.State == SecureBootState::None) return false;
  if (Same(Guid, kGlobalVariableGuid) &&
      (Named(Name, u"SecureBoot") || Named(Name, u"SetupMode"))) {
    *Status = kWriteProtected;
  } else if (Same(Guid, kGlobalVariableGuid) && Named(Name, u"PK")) {
    *Status = WritePlatformKey(Attributes, DataSize, Data);
  } else if (Same(Guid, kSecureBootEnableGuid) && Named(Name, u"SecureBootEnable")) {
    *Status = model.RefuseEnable
                  ? kWriteProtected
                  : WriteConfigByte(u"SecureBootEnable", Guid, Attributes, DataSize, Data);
  } else if (Same(Guid, kCustomModeGuid) && Named(Name, u"CustomMode")) {
    *Status = model.RefuseCustomMode
                  ? kWriteProtected
                  : WriteConfigByte(u"CustomMode", Guid, Attributes, DataSize, Data);
  } else {
    return false;
  }
  return true;
}

} // namespace fake::detail

namespace fake {

using namespace detail;

void ModelSecureBoot(const SecureBootModel& Model) {
  g->SecureBoot = Model;
  Drop(u"SecureBoot", kGlobalVariableGuid);
  Drop(u"SetupMode", kGlobalVariableGuid);
  Drop(u"PK", kGlobalVariableGuid);
  Drop(u"SecureBootEnable", kSecureBootEnableGuid);
  Drop(u"CustomMode", kCustomModeGuid);
  if (Model.State == SecureBootState::None) return;
  const bool keyed = Model.State != SecureBootState::Setup;
  Put(u"SetupMode", kGlobalVariableGuid, kBsRt, keyed ? 0 : 1);
  Put(u"SecureBoot", kGlobalVariableGuid, kBsRt, Model.State == SecureBootState::Enforced);
  Put(u"CustomMode", kCustomModeGuid, kNvBs, 0);
  if (keyed) {
    Put(u"SecureBootEnable", kSecureBootEnableGuid, kNvBs,
        Model.State == SecureBootState::Enforced);
    // A stand-in for an EFI_SIGNATURE_LIST: only its presence matters here.
    g->Variables[Key(u"PK", kGlobalVariableGuid)] =
        Variable{kNvBs | EFI_VARIABLE_RUNTIME_ACCESS | kTimeBasedAuthenticatedWrite,
                 std::vector<UINT8>(64, 0xA5)};
  }
}

} // namespace fake
