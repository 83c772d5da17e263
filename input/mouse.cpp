// The pointer: mice (Simple Pointer) and touch panels (Absolute Pointer), the
// arrow cursor with its save-under, and the click chain. Clicks on the help
// bar's buttons become F1, F9, F10 and Esc through a wrapper laid over the
// console's key reader, so every loop sees them as keys.
#include "input/mouse.h"

#include "assets/assets.h"
#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "platform/restart.h"
#include "graphics/background.h"
#include "graphics/double_buffer.h"
#include "graphics/draw_util.h"
#include "graphics/modal_scope.h"
#include "graphics/windows.h"
#include "input/virtual_keyboard.h"
#include "platform/lib.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/setup_item.h"

namespace {

constexpr UINT64 kDefaultHideSeconds = 3;
constexpr UINT64 kDefaultFollowCount = 1;
// A device that never stops reporting must not hold a drain forever.
constexpr UINT64 kMaxDrainReads = 1000;

// Everything the pointer module keeps between polls, in one place so that a
// power-on state is one assignment.
struct PointerState {
  UINT64 CursorHideSeconds = kDefaultHideSeconds;
  UINT64 TouchFollowCount = kDefaultFollowCount;
  EFI_TIME LastPointerTime = {};
  EFI_SIMPLE_POINTER_PROTOCOL** MouseList = nullptr;
  UINT64 MouseCount = 0;
  EFI_ABSOLUTE_POINTER_PROTOCOL** TouchList = nullptr;
  UINT64 TouchCount = 0;
  UINT64 PointerHandleCount = 0;
  // The arguments of the first initialisation, passed again on hot-plug.
  UINT64 InitArguments[2] = {};
  UINT8 HelpF1Pending = 0;
  UINT8 HelpF9Pending = 0;
  UINT8 HelpF10Pending = 0;
  UINT8 HelpEscPending = 0;
  EFI_INPUT_READ_KEY SavedReadKeyStroke = nullptr;
  EXTENDED_KEY_READ SavedReadEfiKey = nullptr;
  bool WrappersInstalled = false;
};
constinit PointerState Pointer{};

bool HaveDevices() {
  return Pointer.MouseCount != 0 || Pointer.TouchCount != 0;
}

void Clamp() {
  if (CursorX < 0) CursorX = 0;
  if (CursorY < 0) CursorY = 0;
  const INT64 width = static_cast<INT64>(ScreenWidth);
  const INT64 height = static_cast<INT64>(ScreenHeight);
  if (static_cast<INT64>(CursorX) + 5 >= width) CursorX = static_cast<INT32>(width - 5);
  if (static_cast<INT64>(CursorY) + 5 >= height) CursorY = static_cast<INT32>(height - 5);
  if (CursorX < 0) CursorX = 0;
  if (CursorY < 0) CursorY = 0;
}

UINT64 Seconds(const EFI_TIME& Time) {
  return (static_cast<UINT64>(Time.Day) * 24 + Time.Hour) * 3600 +
         static_cast<UINT64>(Time.Minute) * 60 + Time.Second;
}

EFI_TIME Now() {
  EFI_TIME now = {};
  RuntimeServices->GetTime(&now, nullptr);
  return now;
}

// No new pointer state: hide the cursor after the idle time.
void IdleCheck() {
  const EFI_TIME now = Now();
  const UINT64 current = Seconds(now);
  const UINT64 last = Seconds(Pointer.LastPointerTime);
  if (current - last > Pointer.CursorHideSeconds) {
    if (CursorVisible != 0) {
      Quorvex_RestoreUnderCursor();
      CursorVisible = 0;
      Quorvex_UpdateMouse();
    }
  } else if (last > current) {
    Pointer.LastPointerTime = now;
  }
}

void FreeLists() {
  if (Pointer.MouseList != nullptr) Quorvex_FreePool(Pointer.MouseList);
  if (Pointer.TouchList != nullptr) Quorvex_FreePool(Pointer.TouchList);
  Pointer.MouseList = nullptr;
  Pointer.TouchList = nullptr;
  Pointer.MouseCount = 0;
  Pointer.TouchCount = 0;
  Quorvex_Cursor_SetDevicesPresent(false);
}

// The pages' handlers after the help bar; set at start-up.
constinit ClickChainRoutine PageClickChain = nullptr;

// Whether the pointer was busy when the running click chain started. A
// handler early in the chain may change the page state (a tab click from the
// sub-page leaves it); the later handlers must judge the click by the state
// it was made in, so that every other tab is still drawn not selected.
struct ClickChainState {
  bool Running;
  bool BusyAtStart;
};
constinit ClickChainState Chain{};

void RestoreChainState(void* Context) {
  Chain = *static_cast<ClickChainState*>(Context);
}

bool LiveBusy() {
  if (ChoiceWindowOpen != 0 || GeneralHelpOpen != 0 || Quorvex_ModalWindowOpen()) return true;
  if (PageState == kStateAdvancedSubPage) return SubPageActionBusy != 0;
  return ActionBusy != 0 || PageState == kStateBootOrderDialog;
}

void RunClickChain(bool Touch) {
  // A handler may run an action whose own loop takes further clicks: the
  // outer chain's state comes back when this one ends (or is abandoned by a
  // restart).
  ClickChainState outer = Chain;
  RestartRelease release(&RestoreChainState, &outer);
  Chain = {true, LiveBusy()};
  Quorvex_HelpBarClick();
  // The on-screen keyboard's touch handler comes last.
  if (PageClickChain == nullptr || PageClickChain(Touch) != EFI_SUCCESS) {
    Quorvex_VirtualKeyboard_Touch();
  }
  Chain = outer;
}

void PollMice() {
  // One of the Simple Pointer handles is the console's merged pointer, which
  // is not listed: with a single handle there is no mouse of our own.
  if (Pointer.PointerHandleCount < 2) return;
  for (UINT64 i = 0; i < Pointer.MouseCount; ++i) {
    EFI_SIMPLE_POINTER_PROTOCOL* mouse = Pointer.MouseList[i];
    EFI_SIMPLE_POINTER_STATE state = {};
    if (EFI_ERROR(mouse->GetState(mouse, &state))) {
      IdleCheck();
      continue;
    }
    CursorVisible = 1;
    Pointer.LastPointerTime = Now();
    Quorvex_RestoreUnderCursor();
    CursorX += state.RelativeMovementX;
    CursorY += state.RelativeMovementY;
    Clamp();
    Quorvex_UpdateMouse();
    if (state.LeftButton != 0) RunClickChain(false);
    return; // one mouse state per round
  }
}

// A panel coordinate in [Min, Max] scaled to [0, Extent]; a report below the
// panel's minimum is its edge. Min < Max (checked by the caller).
UINT64 PanelToScreen(UINT64 Value, UINT64 Min, UINT64 Max, UINT64 Extent) {
  const UINT64 offset = Value > Min ? Value - Min : 0;
  const UINT64 range = Max - Min;
  if (offset >= range) return Extent;
  // offset * Extent must not overflow: a huge range is scaled down first.
  UINT64 shift = 0;
  while ((range >> shift) > 0xFFFFFFFFull || (Extent >> 32) != 0) {
    ++shift;
    if (shift >= 32) break;
  }
  return (offset >> shift) * Extent / ((range >> shift) == 0 ? 1 : (range >> shift));
}

bool TouchPosition(EFI_ABSOLUTE_POINTER_PROTOCOL* Panel, const EFI_ABSOLUTE_POINTER_STATE& State) {
  const EFI_ABSOLUTE_POINTER_MODE* mode = Panel->Mode;
  if (mode == nullptr || mode->AbsoluteMaxX <= mode->AbsoluteMinX ||
      mode->AbsoluteMaxY <= mode->AbsoluteMinY) {
    return false; // a panel without a range gives no position
  }
  Quorvex_RestoreUnderCursor();
  const UINT64 x =
      PanelToScreen(State.CurrentX, mode->AbsoluteMinX, mode->AbsoluteMaxX, ScreenWidth);
  const UINT64 y =
      PanelToScreen(State.CurrentY, mode->AbsoluteMinY, mode->AbsoluteMaxY, ScreenHeight);
  CursorX = static_cast<INT32>(x > 0x7FFFFFFF ? 0x7FFFFFFF : x);
  CursorY = static_cast<INT32>(y > 0x7FFFFFFF ? 0x7FFFFFFF : y);
  Clamp();
  Quorvex_UpdateMouse();
  return true;
}

void PollTouch() {
  for (UINT64 i = 0; i < Pointer.TouchCount; ++i) {
    EFI_ABSOLUTE_POINTER_PROTOCOL* panel = Pointer.TouchList[i];
    EFI_ABSOLUTE_POINTER_STATE first = {};
    if (EFI_ERROR(panel->GetState(panel, &first))) {
      IdleCheck();
      continue;
    }
    CursorVisible = 1;
    Pointer.LastPointerTime = Now();
    if (!TouchPosition(panel, first)) return;
    for (UINT64 round = 0; round < Pointer.TouchFollowCount * 10; ++round) {
      BootServices->Stall(100);
      EFI_ABSOLUTE_POINTER_STATE next = {};
      if (!EFI_ERROR(panel->GetState(panel, &next))) TouchPosition(panel, next);
    }
    if ((first.ActiveButtons & 1) != 0) RunClickChain(true);
    return;
  }
}

EFI_STATUS EFIAPI MouseReadEfiKey(ExtendedKeyCodeProtocol* This, ExtendedKeyData* Data);

void InstallWrappers() {
  if (Pointer.WrappersInstalled) return;
  Pointer.WrappersInstalled = true;
  Pointer.SavedReadKeyStroke = SystemTable->ConIn->ReadKeyStroke;
  SystemTable->ConIn->ReadKeyStroke = Quorvex_MouseReadKeyStroke;
  void* found = nullptr;
  BootServices->LocateProtocol(&kExtendedKeyCodeGuid, nullptr, &found);
  auto* keyCodes = static_cast<ExtendedKeyCodeProtocol*>(found);
  if (keyCodes != nullptr && keyCodes->ReadKeyData != MouseReadEfiKey) {
    Pointer.SavedReadEfiKey = keyCodes->ReadKeyData;
    keyCodes->ReadKeyData = MouseReadEfiKey;
  }
}

// The pending help-bar key, if any (cleared as it is taken).
bool TakePendingKey(UINT16* ScanCode) {
  UINT8* const flags[] = {&Pointer.HelpF1Pending, &Pointer.HelpF9Pending, &Pointer.HelpF10Pending,
                          &Pointer.HelpEscPending};
  constexpr UINT16 kScans[] = {SCAN_F1, SCAN_F9, SCAN_F10, SCAN_ESC};
  for (UINT64 i = 0; i < 4; ++i) {
    if (*flags[i] == 0) continue;
    *flags[i] = 0;
    *ScanCode = kScans[i];
    return true;
  }
  return false;
}

EFI_STATUS EFIAPI MouseReadEfiKey(ExtendedKeyCodeProtocol* This, ExtendedKeyData* Data) {
  Data->Ps2ScanCode = 0;
  UINT16 scan = 0;
  if (TakePendingKey(&scan)) {
    Data->Key.ScanCode = scan;
    Data->Key.UnicodeChar = 0;
    return EFI_SUCCESS;
  }
  if (Pointer.SavedReadEfiKey == nullptr) return EFI_NOT_READY;
  return Pointer.SavedReadEfiKey(This, Data);
}

} // namespace

EFI_STATUS EFIAPI Quorvex_MouseReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This,
                                             EFI_INPUT_KEY* Key) {
  CheckRestart();
  UINT16 scan = 0;
  if (TakePendingKey(&scan)) {
    Key->ScanCode = scan;
    Key->UnicodeChar = 0;
    return EFI_SUCCESS;
  }
  if (Pointer.SavedReadKeyStroke == nullptr) return EFI_NOT_READY;
  return Pointer.SavedReadKeyStroke(This, Key);
}

EFI_STATUS Quorvex_MouseInit(UINT64 Argument1, UINT64 Argument2) {
  Pointer.InitArguments[0] = Argument1;
  Pointer.InitArguments[1] = Argument2;
  Pointer.CursorHideSeconds = SetupData_read_cursor_hide_seconds(Argument1, Argument2);

  UINTN mouseHandles = 0;
  EFI_HANDLE* mice = nullptr;
  if (EFI_ERROR(BootServices->LocateHandleBuffer(ByProtocol, &kSimplePointerGuid, nullptr,
                                                 &mouseHandles, &mice))) {
    mouseHandles = 0;
  }
  UINTN touchHandles = 0;
  EFI_HANDLE* panels = nullptr;
  if (EFI_ERROR(BootServices->LocateHandleBuffer(ByProtocol, &kAbsolutePointerGuid, nullptr,
                                                 &touchHandles, &panels))) {
    touchHandles = 0;
  }
  Pointer.PointerHandleCount = mice != nullptr ? mouseHandles : 0;
  if (mice == nullptr) mouseHandles = 0;
  if (panels == nullptr) touchHandles = 0;
  if (mouseHandles == 0 && touchHandles == 0) {
    if (mice != nullptr) Quorvex_FreePool(mice);
    if (panels != nullptr) Quorvex_FreePool(panels);
    return EFI_NOT_FOUND;
  }

  FreeLists();
  if (mouseHandles != 0) {
    Pointer.MouseList = static_cast<EFI_SIMPLE_POINTER_PROTOCOL**>(
        Quorvex_AllocatePool(mouseHandles * sizeof(EFI_SIMPLE_POINTER_PROTOCOL*)));
  }
  if (touchHandles != 0) {
    Pointer.TouchList = static_cast<EFI_ABSOLUTE_POINTER_PROTOCOL**>(
        Quorvex_AllocatePool(touchHandles * sizeof(EFI_ABSOLUTE_POINTER_PROTOCOL*)));
  }
  for (UINTN i = 0; Pointer.MouseList != nullptr && i < mouseHandles; ++i) {
    if (mice[i] == SystemTable->ConsoleInHandle) continue;
    void* mouse = nullptr;
    BootServices->HandleProtocol(mice[i], &kSimplePointerGuid, &mouse);
    if (mouse != nullptr)
      Pointer.MouseList[Pointer.MouseCount++] = static_cast<EFI_SIMPLE_POINTER_PROTOCOL*>(mouse);
  }
  for (UINTN i = 0; Pointer.TouchList != nullptr && i < touchHandles; ++i) {
    void* panel = nullptr;
    BootServices->HandleProtocol(panels[i], &kAbsolutePointerGuid, &panel);
    if (panel != nullptr) {
      Pointer.TouchList[Pointer.TouchCount++] = static_cast<EFI_ABSOLUTE_POINTER_PROTOCOL*>(panel);
    }
  }
  Quorvex_Cursor_SetDevicesPresent(HaveDevices());
  if (Pointer.TouchCount > 0) SetupData_Get_touch_follow_count(&Pointer.TouchFollowCount);
  if (mice != nullptr) Quorvex_FreePool(mice);
  if (panels != nullptr) Quorvex_FreePool(panels);

  InstallWrappers();
  return EFI_SUCCESS;
}

void Quorvex_MousePoll() {
  CheckRestart();
  // What the last input drew reaches the screen before the next is read.
  Quorvex_DoubleBuffer_Present();

  UINTN size = 0;
  BootServices->LocateHandle(ByProtocol, &kSimplePointerGuid, nullptr, &size, nullptr);
  const UINT64 handles = size / sizeof(EFI_HANDLE);
  if (handles != Pointer.PointerHandleCount) {
    FreeLists();
    if (Quorvex_MouseInit(Pointer.InitArguments[0], Pointer.InitArguments[1]) != EFI_SUCCESS) {
      Pointer.PointerHandleCount = handles;
      return;
    }
    if (HaveDevices()) {
      Quorvex_RestoreUnderCursor();
      Quorvex_UpdateMouse();
    }
    Pointer.PointerHandleCount = handles;
  }
  if (!HaveDevices()) return;
  PollMice();
  PollTouch();
}

UINT64 Quorvex_Mouse_WaitEvents(EFI_EVENT* Events, UINT64 Capacity) {
  if (!HaveDevices()) return 0;
  // A device unplugged since the last poll has closed its event: the lists
  // are only trusted while the pointer handles are the ones they were built
  // from.
  UINTN size = 0;
  BootServices->LocateHandle(ByProtocol, &kSimplePointerGuid, nullptr, &size, nullptr);
  if (size / sizeof(EFI_HANDLE) != Pointer.PointerHandleCount) return 0;
  UINT64 count = 0;
  for (UINT64 i = 0; i < Pointer.MouseCount && count < Capacity; ++i) {
    if (Pointer.MouseList[i]->WaitForInput != nullptr)
      Events[count++] = Pointer.MouseList[i]->WaitForInput;
  }
  for (UINT64 i = 0; i < Pointer.TouchCount && count < Capacity; ++i) {
    if (Pointer.TouchList[i]->WaitForInput != nullptr)
      Events[count++] = Pointer.TouchList[i]->WaitForInput;
  }
  return count;
}

void Quorvex_MouseDrain() {
  Quorvex_DoubleBuffer_Present();
  for (UINT64 i = 0; i < Pointer.MouseCount; ++i) {
    EFI_SIMPLE_POINTER_STATE state;
    for (UINT64 reads = 0; reads < kMaxDrainReads; ++reads) {
      if (EFI_ERROR(Pointer.MouseList[i]->GetState(Pointer.MouseList[i], &state))) break;
    }
  }
  for (UINT64 i = 0; i < Pointer.TouchCount; ++i) {
    EFI_ABSOLUTE_POINTER_STATE state;
    for (UINT64 reads = 0; reads < kMaxDrainReads; ++reads) {
      if (EFI_ERROR(Pointer.TouchList[i]->GetState(Pointer.TouchList[i], &state))) break;
    }
  }
}

void Quorvex_Mouse_SetClickChain(ClickChainRoutine Chain) {
  PageClickChain = Chain;
}

bool Quorvex_PointerBusy() {
  return Chain.Running ? Chain.BusyAtStart : LiveBusy();
}

void Quorvex_HelpBarClick() {
  if (Quorvex_PointerBusy()) return;
  UINT8* const pending[kHelpBarButtons] = {&Pointer.HelpF1Pending, &Pointer.HelpF9Pending,
                                           &Pointer.HelpF10Pending, &Pointer.HelpEscPending};
  for (UINT64 i = 0; i < kHelpBarButtons; ++i) {
    const ScreenRect r = Quorvex_HelpBar_ButtonRect(i);
    if (Quorvex_PointInRect(r)) {
      *pending[i] = 1;
      return;
    }
  }
}

void Quorvex_Mouse_RemoveWrappers() {
  if (!Pointer.WrappersInstalled || SystemTable == nullptr || BootServices == nullptr) return;
  if (SystemTable->ConIn->ReadKeyStroke == Quorvex_MouseReadKeyStroke) {
    SystemTable->ConIn->ReadKeyStroke = Pointer.SavedReadKeyStroke;
  }
  void* found = nullptr;
  BootServices->LocateProtocol(&kExtendedKeyCodeGuid, nullptr, &found);
  auto* keyCodes = static_cast<ExtendedKeyCodeProtocol*>(found);
  if (keyCodes != nullptr && keyCodes->ReadKeyData == MouseReadEfiKey && Pointer.SavedReadEfiKey) {
    keyCodes->ReadKeyData = Pointer.SavedReadEfiKey;
  }
}

void Quorvex_Mouse_Reset() {
  Pointer = {};
  Chain = {};
  Quorvex_Cursor_Reset();
}
