// The on-screen keyboard's life and input: start and stop around a password
// field, touches on its keys, and the reader that replaces the console's
// ReadKeyStroke while it runs. Touched keys wait in a one-slot buffer; the
// physical keyboards are read directly through Simple Text Input Ex (or the
// firmware's extended key-code protocol when the platform asks for it), and
// their Caps Lock state and the on-screen Caps key are kept in step.
#include "input/virtual_keyboard.h"

#include "input/keyboard.h"
#include "input/keys.h"
#include "platform/bindings.h"
#include "platform/restart.h"
#include "setup_data/page_state.h"
#include "input/mouse.h"
#include "platform/lib.h"
#include "setup_data/security_page_table.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/setup_item.h"

constinit VirtualKeyboardState VirtualKeyboard = {};

namespace {

constexpr UINT8 kToggleStateValid = 0x80;
constexpr UINT8 kToggleCapsLock = 0x04;
// PS/2 scan codes the extended reader treats specially.
constexpr UINT8 kPs2Dropped = 0x56;
constexpr UINT8 kPs2CapsLock = 0x3A;
constexpr UINT32 kKeySourceExtended = 2;
constexpr UINT16 kScanFirstFunctionKey = SCAN_F1;

constexpr EFI_INPUT_READ_KEY& VirtualKeyboardSavedReadKeyStroke =
    VirtualKeyboard.SavedReadKeyStroke;
constexpr auto& TextInputExList = VirtualKeyboard.TextInputExList;
constexpr auto& KeyCodeList = VirtualKeyboard.KeyCodeList;
constexpr auto& TouchDevice = VirtualKeyboard.TouchDevice;

// A touch panel exists and the platform lets the keyboard run.
bool MayRun() {
  void* found = nullptr;
  if (EFI_ERROR(BootServices->LocateProtocol(&kAbsolutePointerGuid, nullptr, &found)) ||
      found == nullptr) {
    return false;
  }
  TouchDevice = static_cast<EFI_ABSOLUTE_POINTER_PROTOCOL*>(found);
  // An unanswered read leaves the keyboard off.
  VirtualKeyboardEnabled = 0;
  SetupData_Get_virtual_keyboard_enabled(&VirtualKeyboardEnabled);
  return VirtualKeyboardEnabled != 0;
}

UINT64 TextInputExHandleCount() {
  UINTN size = 0;
  BootServices->LocateHandle(ByProtocol, &kSimpleTextInputExGuid, nullptr, &size, nullptr);
  return size / sizeof(EFI_HANDLE);
}

void FreeLists() {
  if (TextInputExList != nullptr) Quorvex_FreePool(TextInputExList);
  if (KeyCodeList != nullptr) Quorvex_FreePool(KeyCodeList);
  TextInputExList = nullptr;
  KeyCodeList = nullptr;
  VirtualKeyboard.TextInputExCount = 0;
  VirtualKeyboard.KeyCodeCount = 0;
  VirtualKeyboard.TextInputExHandlesSeen = 0;
}

// Fills List with the interfaces of every handle that carries Guid; the
// number found, 0 when there are none or the list cannot be allocated.
template <typename T> UINT64 Collect(const EFI_GUID& Guid, T*** List) {
  UINTN count = 0;
  EFI_HANDLE* handles = nullptr;
  if (EFI_ERROR(BootServices->LocateHandleBuffer(ByProtocol, &Guid, nullptr, &count, &handles)) ||
      handles == nullptr) {
    return 0;
  }
  UINT64 found = 0;
  if (count != 0) *List = static_cast<T**>(Quorvex_AllocatePool(count * sizeof(T*)));
  for (UINTN i = 0; *List != nullptr && i < count; ++i) {
    void* instance = nullptr;
    BootServices->HandleProtocol(handles[i], &Guid, &instance);
    if (instance != nullptr) (*List)[found++] = static_cast<T*>(instance);
  }
  Quorvex_FreePool(handles);
  return found;
}

// Re-initialises when keyboards came or went since the last look.
bool KeyboardsCurrent() {
  if (TextInputExHandleCount() == VirtualKeyboard.TextInputExHandlesSeen) return true;
  return !EFI_ERROR(Quorvex_VirtualKeyboard_Init());
}

void SetCaps(bool On) {
  CapsOn = On ? 1 : 0;
  Quorvex_VirtualKeyboard_Draw();
  Quorvex_VirtualKeyboard_SetLeds(On ? kLedsCapsOn : kLedsCapsOff);
}

// A password field is open: its dialog runs on the Security page with one of
// the password items selected.
bool PasswordFieldOpen() {
  return ActionBusy != 0 && PageState == kStateSecurityPage;
}

bool PasswordItemSelected() {
  constexpr UINT64 kRows[] = {SecurityRowUser, SecurityRowSupervisor, SecurityRowMaster,
                              SecurityRowHddUser};
  for (UINT64 row : kRows) {
    if (SecurityPageItems[row].Selected != 0) return true;
  }
  return false;
}

bool Touched(UINT32 Row, UINT32 Column) {
  KeyboardRect key;
  return Quorvex_VirtualKeyboard_KeyRect(Row, Column, &key) &&
         Quorvex_PointInRect(key.X, key.Y, key.Width, key.Height);
}

EFI_STATUS Pend(UINT16 ScanCode, CHAR16 Character) {
  PendingScanCode = ScanCode;
  PendingChar = Character;
  KeyPending = 1;
  return EFI_SUCCESS;
}

// A key that types a character: pending, and drawn pressed.
EFI_STATUS PendHighlighted(UINT32 Row, UINT32 Column) {
  Pend(SCAN_NULL, Quorvex_VirtualKeyboard_KeyChar(Row, Column, ShiftOn != 0, CapsOn != 0));
  HighlightRow = static_cast<UINT8>(Row + 1);
  HighlightColumn = static_cast<UINT8>(Column);
  Quorvex_VirtualKeyboard_Draw();
  return EFI_SUCCESS;
}

// The wide keys at column 10 of rows 1 to 4.
EFI_STATUS WideKey(UINT32 Row) {
  switch (Row) {
  case 1:
    return Pend(SCAN_ESC, 0);
  case 2:
    return Pend(SCAN_NULL, CHAR_BACKSPACE);
  case 3:
    SetCaps(CapsOn == 0);
    return EFI_SUCCESS;
  default:
    ShiftOn = ShiftOn != 0 ? 0 : 1;
    Quorvex_VirtualKeyboard_Draw();
    return EFI_SUCCESS;
  }
}

// One key from the extended key-code instances, in list order. Caps Lock
// only changes the Caps state; keys of PS/2 code 0x56 are dropped.
EFI_STATUS ReadExtended(EFI_INPUT_KEY* Key) {
  if (VirtualKeyboard.KeyCodeCount == 0) return EFI_NOT_READY;
  for (UINT64 i = 0; i < VirtualKeyboard.KeyCodeCount; ++i) {
    ExtendedKeyCodeProtocol* instance = KeyCodeList[i];
    ExtendedKeyData data;
    MemFill(&data, 0, sizeof(data));
    if (EFI_ERROR(instance->ReadKeyData(instance, &data))) continue;
    if (data.Ps2ScanCode == kPs2Dropped) continue;
    if (data.Ps2ScanCode == kPs2CapsLock) {
      SetCaps(CapsOn == 0);
      continue;
    }
    *Key = data.Key;
    return EFI_SUCCESS;
  }
  return EFI_NOT_READY;
}

// One key from the Simple Text Input Ex instances; the key's Caps Lock state
// is mirrored on the Caps key.
EFI_STATUS ReadTextInputEx(EFI_INPUT_KEY* Key) {
  if (VirtualKeyboard.TextInputExCount == 0) return EFI_DEVICE_ERROR;
  EFI_KEY_DATA data;
  bool found = false;
  for (UINT64 i = 0; i < VirtualKeyboard.TextInputExCount && !found; ++i) {
    EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* instance = TextInputExList[i];
    MemFill(&data, 0, sizeof(data));
    found = !EFI_ERROR(instance->ReadKeyStrokeEx(instance, &data));
  }
  if (!found) return EFI_NOT_READY;
  const UINT8 toggle = data.KeyState.KeyToggleState;
  if ((toggle & kToggleStateValid) != 0) {
    const bool capsLock = (toggle & kToggleCapsLock) != 0;
    if (capsLock && CapsOn == 0) {
      SetCaps(true);
    } else if (!capsLock && CapsOn != 0) {
      SetCaps(false);
    }
  }
  *Key = data.Key;
  return EFI_SUCCESS;
}

// Takes the reader off the console and forgets everything of this run.

void Release() {
  Quorvex_Restart_Unregister(VirtualKeyboard.RestartSlot);
  VirtualKeyboard.RestartSlot = kNoRestartSlot;
  VirtualKeyboardActive = 0;
  if (VirtualKeyboardSavedReadKeyStroke != nullptr && SystemTable != nullptr) {
    SystemTable->ConIn->ReadKeyStroke = VirtualKeyboardSavedReadKeyStroke;
  }
  VirtualKeyboardSavedReadKeyStroke = nullptr;
  FreeLists();
  TouchDevice = nullptr;
  KeyPending = 0;
  CapsOn = 0;
  ShiftOn = 0;
  // The last touched key is a character of the password: it does not stay
  // drawn pressed into the next field.
  HighlightRow = kNoHighlight;
  HighlightColumn = kNoHighlight;
}

} // namespace

EFI_STATUS Quorvex_VirtualKeyboard_Init() {
  FreeLists();
  const UINT64 handles = TextInputExHandleCount();
  VirtualKeyboard.TextInputExCount = Collect(kSimpleTextInputExGuid, &TextInputExList);
  if (VirtualKeyboard.TextInputExCount == 0) {
    FreeLists();
    return EFI_NOT_FOUND;
  }
  VirtualKeyboard.TextInputExHandlesSeen = handles;
  VirtualKeyboard.KeyCodeCount = Collect(kExtendedKeyCodeGuid, &KeyCodeList);
  return EFI_SUCCESS;
}

EFI_STATUS Quorvex_VirtualKeyboard_SetLeds(UINT8 ToggleState) {
  if (!KeyboardsCurrent()) return EFI_DEVICE_ERROR;
  if (VirtualKeyboard.TextInputExCount == 0) return EFI_DEVICE_ERROR;
  for (UINT64 i = 0; i < VirtualKeyboard.TextInputExCount; ++i) {
    EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* instance = TextInputExList[i];
    UINT8 state = ToggleState;
    instance->SetState(instance, &state);
  }
  return EFI_SUCCESS;
}

EFI_STATUS Quorvex_VirtualKeyboard_Start() {
  if (!MayRun()) return EFI_ABORTED;
  // A second start must not save its own reader as the one to put back.
  if (VirtualKeyboardActive != 0) return EFI_SUCCESS;
  VirtualKeyboardActive = 1;
  Quorvex_VirtualKeyboard_SetLeds(kLedsCapsOff);
  CapsOn = 0;
  ShiftOn = 0;
  KeyPending = 0;
  HighlightRow = kNoHighlight;
  HighlightColumn = kNoHighlight;
  Quorvex_VirtualKeyboard_Draw();
  VirtualKeyboardSavedReadKeyStroke = SystemTable->ConIn->ReadKeyStroke;
  SystemTable->ConIn->ReadKeyStroke = Quorvex_VirtualKeyboard_ReadKeyStroke;
  VirtualKeyboard.RestartSlot = Quorvex_Restart_Register([](void*) { Release(); }, nullptr);
  return EFI_SUCCESS;
}

EFI_STATUS Quorvex_VirtualKeyboard_Stop() {
  if (VirtualKeyboardActive == 0) return EFI_ABORTED;
  // The reader comes off even when the panel has gone or the platform
  // changed its mind since the start: left installed, it would swallow
  // every key outside the password field.
  const bool mayRun = MayRun();
  Release();
  return mayRun ? EFI_SUCCESS : EFI_ABORTED;
}

EFI_STATUS Quorvex_VirtualKeyboard_Touch() {
  if (KeyPending != 0 || VirtualKeyboardActive == 0 || !PasswordFieldOpen() ||
      !PasswordItemSelected()) {
    return EFI_ABORTED;
  }
  HighlightRow = kNoHighlight;
  HighlightColumn = kNoHighlight;
  Quorvex_VirtualKeyboard_Draw();

  for (UINT32 column = 0; column < kKeyboardColumns; ++column) {
    if (Touched(0, column)) return Pend(static_cast<UINT16>(kScanFirstFunctionKey + column), 0);
  }
  for (UINT32 column = 0; column <= kWideKeyColumn; ++column) {
    for (UINT32 row = 1; row <= 4; ++row) {
      if (!Touched(row, column)) continue;
      return column == kWideKeyColumn ? WideKey(row) : PendHighlighted(row, column);
    }
  }
  for (UINT32 column = 0; column <= kSpaceColumn; ++column) {
    if (Touched(5, column)) return PendHighlighted(5, column);
  }
  if (Touched(5, kWideKeyColumn)) return Pend(SCAN_NULL, CHAR_CARRIAGE_RETURN);
  return EFI_ABORTED;
}

EFI_STATUS EFIAPI Quorvex_VirtualKeyboard_ReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL*,
                                                        EFI_INPUT_KEY* Key) {
  CheckRestart();
  if (Key == nullptr) return EFI_INVALID_PARAMETER;
  if (KeyPending != 0) {
    KeyPending = 0;
    Key->ScanCode = PendingScanCode;
    Key->UnicodeChar = PendingChar;
    return EFI_SUCCESS;
  }
  // Outside the password field no key at all is delivered while the
  // keyboard is installed.
  if (!PasswordFieldOpen()) return EFI_ABORTED;
  if (!KeyboardsCurrent()) return EFI_DEVICE_ERROR;
  if (KeySourceMode == kKeySourceExtended) return ReadExtended(Key);
  return ReadTextInputEx(Key);
}

void Quorvex_VirtualKeyboard_Reset() {
  VirtualKeyboard = {};
}
