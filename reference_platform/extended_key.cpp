#include "reference_platform/extended_key.h"

#include "platform/lib.h"
#include "reference_platform/platform_context.h"

namespace {

// The readers found at installation. They are called through these saved
// pointers: the utility later replaces the console's ReadKeyStroke with a
// reader that may call this protocol, which must not call back into it.
typedef EFI_STATUS(EFIAPI* ReadKeyStrokeExFunction)(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL*,
                                                    EFI_KEY_DATA*);
struct SavedReaders {
  EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* InputEx;
  ReadKeyStrokeExFunction ReadKeyStrokeEx;
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL* Input;
  EFI_INPUT_READ_KEY ReadKeyStroke;
};
constinit SavedReaders gReaders = {};

struct AsciiScanTable {
  UINT8 Code[128];
};

constexpr void Row(AsciiScanTable& Table, const char* Keys, const char* Shifted, UINT8 First) {
  for (UINT8 i = 0; Keys[i]; ++i) {
    Table.Code[static_cast<UINT8>(Keys[i])] = static_cast<UINT8>(First + i);
    Table.Code[static_cast<UINT8>(Shifted[i])] = static_cast<UINT8>(First + i);
  }
}

constexpr AsciiScanTable MakeAsciiTable() {
  AsciiScanTable t{};
  Row(t, "1234567890-=", "!@#$%^&*()_+", 0x02);
  Row(t, "qwertyuiop[]", "QWERTYUIOP{}", 0x10);
  Row(t, "asdfghjkl;'`", "ASDFGHJKL:\"~", 0x1E);
  Row(t, "\\zxcvbnm,./", "|ZXCVBNM<>?", 0x2B);
  t.Code[0x20] = 0x39; // Space
  t.Code[0x0D] = 0x1C; // Enter
  t.Code[0x08] = 0x0E; // Backspace
  t.Code[0x09] = 0x0F; // Tab
  return t;
}
constexpr AsciiScanTable kAsciiScan = MakeAsciiTable();

UINT8 FromScanCode(UINT16 ScanCode) {
  switch (ScanCode) {
  case SCAN_UP:
    return 0x48;
  case SCAN_DOWN:
    return 0x50;
  case SCAN_RIGHT:
    return 0x4D;
  case SCAN_LEFT:
    return 0x4B;
  case SCAN_HOME:
    return 0x47;
  case SCAN_END:
    return 0x4F;
  case SCAN_INSERT:
    return 0x52;
  case SCAN_DELETE:
    return 0x53;
  case SCAN_PAGE_UP:
    return 0x49;
  case SCAN_PAGE_DOWN:
    return 0x51;
  case SCAN_F11:
    return 0x57;
  case SCAN_F12:
    return 0x58;
  case SCAN_ESC:
    return 0x01;
  default:
    if (ScanCode >= SCAN_F1 && ScanCode <= SCAN_F10)
      return static_cast<UINT8>(0x3B + ScanCode - SCAN_F1);
    return 0;
  }
}

EFI_STATUS EFIAPI Reset(ExtendedKeyCodeProtocol*, BOOLEAN ExtendedVerification) {
  if (gReaders.InputEx && gReaders.InputEx->Reset)
    return gReaders.InputEx->Reset(gReaders.InputEx, ExtendedVerification);
  if (gReaders.Input && gReaders.Input->Reset)
    return gReaders.Input->Reset(gReaders.Input, ExtendedVerification);
  return EFI_DEVICE_ERROR;
}

EFI_STATUS EFIAPI ReadKeyData(ExtendedKeyCodeProtocol*, ExtendedKeyData* KeyData) {
  if (!KeyData) return EFI_INVALID_PARAMETER;
  EFI_KEY_DATA key;
  MemFill(&key, 0, sizeof(key));
  EFI_STATUS status = EFI_NOT_READY;
  if (gReaders.InputEx && gReaders.ReadKeyStrokeEx) {
    status = gReaders.ReadKeyStrokeEx(gReaders.InputEx, &key);
  } else if (gReaders.Input && gReaders.ReadKeyStroke) {
    status = gReaders.ReadKeyStroke(gReaders.Input, &key.Key);
  }
  if (EFI_ERROR(status)) return status;
  MemFill(KeyData, 0, sizeof(*KeyData));
  KeyData->Key = key.Key;
  KeyData->KeyState = key.KeyState;
  KeyData->Ps2ScanCode = ExtendedKey_Ps2ScanCode(key.Key);
  return EFI_SUCCESS;
}

constinit ExtendedKeyCodeProtocol gProtocol = {Reset, ReadKeyData};

} // namespace

UINT8 ExtendedKey_Ps2ScanCode(const EFI_INPUT_KEY& Key) {
  if (Key.ScanCode != SCAN_NULL) return FromScanCode(Key.ScanCode);
  return Key.UnicodeChar < 128 ? kAsciiScan.Code[Key.UnicodeChar] : 0;
}

ExtendedKeyCodeProtocol* ExtendedKey_Instance() {
  return &gProtocol;
}

EFI_STATUS ExtendedKey_Install() {
  // The utility lays its own reader over ReadKeyData while it runs; a new
  // installation starts from the platform's own.
  gProtocol = {Reset, ReadKeyData};
  gReaders = {};
  if (PlatformSystemTable) {
    gReaders.Input = PlatformSystemTable->ConIn;
    if (gReaders.Input) gReaders.ReadKeyStroke = gReaders.Input->ReadKeyStroke;
    void* interface = nullptr;
    if (PlatformBootServices && PlatformBootServices->HandleProtocol &&
        PlatformSystemTable->ConsoleInHandle &&
        !EFI_ERROR(PlatformBootServices->HandleProtocol(PlatformSystemTable->ConsoleInHandle,
                                                        &kSimpleTextInputExGuid, &interface)) &&
        interface) {
      gReaders.InputEx = static_cast<EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL*>(interface);
      gReaders.ReadKeyStrokeEx = gReaders.InputEx->ReadKeyStrokeEx;
    }
  }
  return Platform_InstallOnNewHandle(kExtendedKeyCodeGuid, &gProtocol);
}
