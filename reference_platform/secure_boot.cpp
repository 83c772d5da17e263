#include "reference_platform/secure_boot.h"

#include "platform/efi_secure_boot.h"
#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/serial.h"
#include "reference_platform/store.h"

// The UEFI image answers absent; the host build's fake firmware models no
// Secure Boot unless a test asks for it, and keeps the stored setting then.
#if defined(_WIN32)
constinit bool SecureBootStoreFallback = false;
#else
constinit bool SecureBootStoreFallback = true;
#endif

namespace {

constexpr CHAR16 kSecureBootName[] = u"SecureBoot";
constexpr CHAR16 kSetupModeName[] = u"SetupMode";
constexpr CHAR16 kPlatformKeyName[] = u"PK";
constexpr CHAR16 kSecureBootEnableName[] = u"SecureBootEnable";
constexpr CHAR16 kCustomModeName[] = u"CustomMode";

constexpr UINT32 kConfigAttributes = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;
constexpr UINT32 kPlatformKeyAttributes =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS |
    kTimeBasedAuthenticatedWrite;

// EFI_VARIABLE_AUTHENTICATION_2 with an empty PKCS#7 certificate: a time
// stamp and no payload, which deletes the variable. The firmware accepts it
// without a signature only in custom mode.
struct EmptyAuthentication {
  EFI_TIME TimeStamp;
  UINT32 Length; // WIN_CERTIFICATE.dwLength: the header and the GUID
  UINT16 Revision;
  UINT16 CertificateType;
  EFI_GUID CertType;
};
static_assert(sizeof(EmptyAuthentication) == 40);
constexpr UINT16 kWinCertRevision = 0x0200;
constexpr UINT16 kWinCertTypeEfiGuid = 0x0EF1;

// A variable of an unexpected size (EFI_COMPROMISED_DATA).
constexpr EFI_STATUS kDamaged = kEfiErrorBit | 33;

constinit SecureBootBacking gBacking = SecureBootStore;

bool Variables() {
  return PlatformRuntimeServices && PlatformRuntimeServices->GetVariable &&
         PlatformRuntimeServices->SetVariable;
}

// A one-byte variable: EFI_SUCCESS with the byte, or why not. A variable of
// another size is damaged.
EFI_STATUS ReadByte(const CHAR16* Name, const EFI_GUID& Guid, UINT8* Value) {
  if (!Variables()) return EFI_UNSUPPORTED;
  UINT8 data[8] = {};
  UINTN size = sizeof(data);
  UINT32 attributes = 0;
  const EFI_STATUS status =
      PlatformRuntimeServices->GetVariable(Name, &Guid, &attributes, &size, data);
  if (status == EFI_BUFFER_TOO_SMALL) return kDamaged;
  if (EFI_ERROR(status)) return status;
  if (size != 1) return kDamaged;
  *Value = data[0];
  return EFI_SUCCESS;
}

EFI_STATUS WriteByte(const CHAR16* Name, const EFI_GUID& Guid, UINT8 Value) {
  return PlatformRuntimeServices->SetVariable(Name, &Guid, kConfigAttributes, 1, &Value);
}

void Line(const CHAR8* Text, EFI_STATUS Status, bool WithStatus) {
  AsciiLine line;
  AsciiLine_Start(&line, "QuorvexPlatform: ");
  AsciiLine_Append(&line, Text);
  if (WithStatus) {
    AsciiLine_Append(&line, " (status ");
    AsciiLine_AppendHex(&line, Status);
    AsciiLine_Append(&line, ")");
  }
  Serial_WriteLine(line.Text);
}

} // namespace

void SecureBoot_Probe() {
  UINT8 mode = 0;
  if (!EFI_ERROR(ReadByte(kSetupModeName, kGlobalVariableGuid, &mode)) && mode <= 1) {
    gBacking = SecureBootFirmware;
  } else if (SecureBootStoreFallback) {
    gBacking = SecureBootStore;
  } else {
    gBacking = SecureBootAbsent;
    Store_SetPresent(kSetting_secure_boot, false);
  }
}

SecureBootBacking SecureBoot_Backing() {
  return gBacking;
}

UINT64 SecureBoot_Enforced() {
  UINT8 value = 0;
  // Unreadable or damaged counts as not enforced: the firmware says nothing
  // that would make it check signatures.
  if (EFI_ERROR(ReadByte(kSecureBootName, kGlobalVariableGuid, &value))) return 0;
  return value == 1 ? 1 : 0;
}

bool SecureBoot_PlatformKeyEnrolled() {
  if (!Variables()) return false;
  UINTN size = 0;
  const EFI_STATUS status = PlatformRuntimeServices->GetVariable(
      kPlatformKeyName, &kGlobalVariableGuid, nullptr, &size, nullptr);
  return status == EFI_BUFFER_TOO_SMALL || (status == EFI_SUCCESS && size != 0);
}

EFI_STATUS SecureBoot_SetEnforced(UINT64 Value) {
  if (Value > 1) return EFI_INVALID_PARAMETER;
  if (!Variables()) return EFI_UNSUPPORTED;
  if (!SecureBoot_PlatformKeyEnrolled()) {
    // Setup Mode: nothing is enforced, and nothing can be without a key.
    return Value == 0 ? EFI_SUCCESS : EFI_NOT_READY;
  }
  UINT8 current = 0;
  if (!EFI_ERROR(ReadByte(kSecureBootEnableName, kSecureBootEnableGuid, &current)) &&
      current == Value)
    return EFI_SUCCESS;
  const EFI_STATUS status =
      WriteByte(kSecureBootEnableName, kSecureBootEnableGuid, static_cast<UINT8>(Value));
  if (EFI_ERROR(status)) {
    Line(Value ? "cannot turn Secure Boot enforcement on"
               : "cannot turn Secure Boot enforcement off",
         status, true);
  } else {
    Line(Value ? "Secure Boot enforcement on from the next start"
               : "Secure Boot enforcement off from the next start",
         status, false);
  }
  return status;
}

EFI_STATUS SecureBoot_DeletePlatformKey() {
  if (!Variables()) return EFI_UNSUPPORTED;
  if (!SecureBoot_PlatformKeyEnrolled()) return EFI_SUCCESS;
  EFI_STATUS status = WriteByte(kCustomModeName, kCustomModeGuid, 1);
  if (EFI_ERROR(status)) return status;

  EmptyAuthentication empty = {};
  if (PlatformRuntimeServices->GetTime) {
    PlatformRuntimeServices->GetTime(&empty.TimeStamp, nullptr);
  }
  // The time stamp carries the date and time only.
  empty.TimeStamp.Pad1 = 0;
  empty.TimeStamp.Nanosecond = 0;
  empty.TimeStamp.TimeZone = 0;
  empty.TimeStamp.Daylight = 0;
  empty.TimeStamp.Pad2 = 0;
  empty.Length = sizeof(EmptyAuthentication) - sizeof(EFI_TIME);
  empty.Revision = kWinCertRevision;
  empty.CertificateType = kWinCertTypeEfiGuid;
  empty.CertType = kCertPkcs7Guid;
  status = PlatformRuntimeServices->SetVariable(kPlatformKeyName, &kGlobalVariableGuid,
                                                kPlatformKeyAttributes, sizeof(empty), &empty);

  // Custom mode goes off whatever became of the key; a firmware that keeps
  // it on would accept unsigned key changes until then.
  const EFI_STATUS standard = WriteByte(kCustomModeName, kCustomModeGuid, 0);
  if (EFI_ERROR(standard)) Line("cannot switch custom mode off", standard, true);
  return status;
}

void SecureBoot_ClearKeysIfRequested() {
  const UINT32 requests = Store_Requests();
  if ((requests & kRequestClearSecureBootKeys) == 0) return;
  if (gBacking != SecureBootFirmware) {
    Line("Secure Boot keys not cleared: the firmware has no Secure Boot", EFI_UNSUPPORTED, true);
  } else {
    const EFI_STATUS status = SecureBoot_DeletePlatformKey();
    UINT8 mode = 0;
    const bool setup =
        !EFI_ERROR(ReadByte(kSetupModeName, kGlobalVariableGuid, &mode)) && mode == 1;
    if (!EFI_ERROR(status) && setup) {
      Line("Secure Boot keys cleared: the firmware is in Setup Mode (SetupMode = 1)", EFI_SUCCESS,
           false);
    } else {
      Line("Secure Boot keys not cleared", EFI_ERROR(status) ? status : EFI_DEVICE_ERROR, true);
    }
  }
  // The request is carried out once, whatever the outcome: a refusal would
  // otherwise be tried again at every start.
  Store_SetRequests(requests & ~kRequestClearSecureBootKeys);
  const EFI_STATUS saved = Store_Save();
  if (EFI_ERROR(saved)) Line("cannot drop the Secure Boot keys request", saved, true);
}
