// The keyboard-source replacement. Installed once over ConIn's ReadKeyStroke
// and never removed; it passes reads through to the console unless the key
// source mode asks for the extended key-code protocol instances.
#include "input/keyboard.h"

#include "platform/bindings.h"
#include "platform/lib.h"

constinit KeyboardState Keyboard = {};

namespace {
// PS/2 scan code whose keys are dropped by the extended reader.
constexpr UINT8 kDiscardedPs2ScanCode = 0x56;
constexpr UINT32 kKeySourceExtended = 2;
} // namespace

void Quorvex_KeyboardConIn_Replacement_Start() {
  UINTN handleCount = 0;
  EFI_HANDLE* handles = nullptr;
  EFI_STATUS status = BootServices->LocateHandleBuffer(ByProtocol, &kExtendedKeyCodeGuid, nullptr,
                                                       &handleCount, &handles);
  if (EFI_ERROR(status) || handles == nullptr) {
    // No instance is left: the ones listed before are gone and must not be
    // called again.
    KeyCodeInterfaceCount = 0;
    KeyCodeHandleCount = 0;
    return;
  }

  if (KeyCodeInterfaces != nullptr) Quorvex_FreePool(KeyCodeInterfaces);
  KeyCodeInterfaces = static_cast<ExtendedKeyCodeProtocol**>(
      Quorvex_AllocatePool(handleCount * sizeof(ExtendedKeyCodeProtocol*)));
  KeyCodeHandleCount = handleCount;
  KeyCodeInterfaceCount = 0;
  if (KeyCodeInterfaces != nullptr) {
    for (UINTN i = 0; i < handleCount; ++i) {
      void* instance = nullptr;
      BootServices->HandleProtocol(handles[i], &kExtendedKeyCodeGuid, &instance);
      if (instance != nullptr) {
        KeyCodeInterfaces[KeyCodeInterfaceCount++] =
            static_cast<ExtendedKeyCodeProtocol*>(instance);
      }
    }
  }
  Quorvex_FreePool(handles);

  if (SavedConInReadKeyStroke == nullptr) {
    SavedConInReadKeyStroke = SystemTable->ConIn->ReadKeyStroke;
    SystemTable->ConIn->ReadKeyStroke = Quorvex_KeyboardReadKeyStroke;
  }
}

EFI_STATUS EFIAPI Quorvex_KeyboardReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This,
                                                EFI_INPUT_KEY* Key) {
  // A change in the number of key-code handles means a keyboard was plugged
  // in or removed: scan the instances again.
  UINTN bufferSize = 0;
  BootServices->LocateHandle(ByProtocol, &kExtendedKeyCodeGuid, nullptr, &bufferSize, nullptr);
  const UINT64 handles = bufferSize / sizeof(EFI_HANDLE);
  if (handles != KeyCodeHandleCount) Quorvex_KeyboardConIn_Replacement_Start();
  KeyCodeHandleCount = handles;

  if (KeySourceMode != kKeySourceExtended) {
    if (SavedConInReadKeyStroke == nullptr) return EFI_NOT_READY;
    return SavedConInReadKeyStroke(This, Key);
  }
  if (KeyCodeInterfaceCount == 0 || KeyCodeInterfaces == nullptr) return EFI_NOT_READY;

  for (UINT64 i = 0; i < KeyCodeInterfaceCount; ++i) {
    ExtendedKeyCodeProtocol* instance = KeyCodeInterfaces[i];
    ExtendedKeyData data;
    MemFill(&data, 0, sizeof(data));
    if (EFI_ERROR(instance->ReadKeyData(instance, &data))) continue;
    if (data.Ps2ScanCode == kDiscardedPs2ScanCode) continue;
    Key->ScanCode = data.Key.ScanCode;
    Key->UnicodeChar = data.Key.UnicodeChar;
    return EFI_SUCCESS;
  }
  return EFI_NOT_READY;
}

void Quorvex_Keyboard_Reset() {
  Keyboard = {};
}
