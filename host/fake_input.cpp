// The fake firmware's input devices: the console's Simple Text Input (and
// Ex) with the console's merged Simple Pointer on the console handle, one USB
// mouse and one touch panel. All of them read from one queue, in order; the
// idle detection here is what lets a script deliver its next input only once
// the utility has finished with the previous one.
#include <cstdio>

#include "host/fake_internal.h"

namespace fake::detail {

namespace {

constexpr UINT32 kShiftStateValid = 0x80000000u;
constexpr UINT8 kToggleStateValid = 0x80;
constexpr UINT8 kToggleCapsLock = 0x04;
constexpr UINT8 kToggleStateMask = 0x07 | 0x40; // scroll, num, caps lock; key state exposed
constexpr INT32 kHomeDistance = -65536;         // far enough to clamp any cursor to the corner

const char* KindName(InputKind Kind) {
  switch (Kind) {
  case InputKind::Key:
    return "key";
  case InputKind::Mouse:
    return "mouse state";
  case InputKind::Touch:
    return "touch state";
  }
  return "input";
}

void RunIdleHandler() {
  State& s = *g;
  if (!s.IdleHandler || s.InIdleHandler) return;
  struct Busy {
    bool& Flag;
    explicit Busy(bool& F) : Flag(F) { Flag = true; }
    ~Busy() { Flag = false; }
  } busy(s.InIdleHandler);
  s.IdleHandler();
}

// One read of one device. Reader is the kind the device takes; a device
// that never delivers anything (the console's merged pointer) passes null.
bool TakeInput(const InputKind* Reader, InputEvent* Out) {
  State& s = *g;
  ++s.InputReads;
  if (s.ReadHook) s.ReadHook(s.Queue.empty());
  if (!s.Queue.empty()) {
    InputEvent& head = s.Queue.front();
    if (Reader && head.Kind == *Reader) {
      *Out = head;
      s.Queue.pop_front();
      ++s.InputsTaken;
      s.EmptyKeyReads = 0;
      s.EmptyReads = 0;
      return true;
    }
    if (++head.Skips >= kMaxSkips) {
      std::fprintf(stderr, "fake firmware: a %s was dropped: nothing read that device\n",
                   KindName(head.Kind));
      s.Queue.pop_front();
      ++s.InputsDropped;
    }
    return false;
  }
  ++s.EmptyReads;
  if (Reader && *Reader == InputKind::Key) ++s.EmptyKeyReads;
  if (s.EmptyKeyReads >= kIdleKeyReads || s.EmptyReads >= kIdleAnyReads) {
    s.EmptyKeyReads = 0;
    s.EmptyReads = 0;
    RunIdleHandler();
  }
  return false;
}

bool TakeKey(EFI_KEY_DATA* Key) {
  static constexpr InputKind kKey = InputKind::Key;
  InputEvent event;
  if (!TakeInput(&kKey, &event)) return false;
  *Key = event.KeyData;
  return true;
}

void RemoveQueued(InputKind Kind) {
  auto& queue = g->Queue;
  for (auto it = queue.begin(); it != queue.end();) {
    if (it->Kind == Kind)
      it = queue.erase(it);
    else
      ++it;
  }
}

bool HeadIs(InputKind Kind) {
  return !g->Queue.empty() && g->Queue.front().Kind == Kind;
}

// ---------------------------------------------------------------------------
// Simple Text Input and Simple Text Input Ex
// ---------------------------------------------------------------------------
EFI_STATUS EFIAPI ConInReset(EFI_SIMPLE_TEXT_INPUT_PROTOCOL*, BOOLEAN) {
  RemoveQueued(InputKind::Key);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConInReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This, EFI_INPUT_KEY* Key) {
  if (This == nullptr || Key == nullptr) return EFI_INVALID_PARAMETER;
  EFI_KEY_DATA data;
  if (!TakeKey(&data)) return EFI_NOT_READY;
  *Key = data.Key;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConInExReset(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL*, BOOLEAN) {
  RemoveQueued(InputKind::Key);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConInExReadKeyStrokeEx(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* This,
                                         EFI_KEY_DATA* KeyData) {
  if (This == nullptr || KeyData == nullptr) return EFI_INVALID_PARAMETER;
  if (!TakeKey(KeyData)) return EFI_NOT_READY;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConInExSetState(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* This, UINT8* KeyToggleState) {
  if (This == nullptr || KeyToggleState == nullptr) return EFI_INVALID_PARAMETER;
  g->SetStateCalls.push_back(*KeyToggleState);
  if (!(*KeyToggleState & kToggleStateValid)) return EFI_UNSUPPORTED;
  g->KeyToggleState = *KeyToggleState & kToggleStateMask;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConInExRegisterKeyNotify(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* This,
                                           EFI_KEY_DATA* KeyData,
                                           EFI_KEY_NOTIFY_FUNCTION KeyNotificationFunction,
                                           void** NotifyHandle) {
  if (This == nullptr || KeyData == nullptr || KeyNotificationFunction == nullptr ||
      NotifyHandle == nullptr)
    return EFI_INVALID_PARAMETER;
  auto notification = std::make_unique<KeyNotification>();
  notification->Key = *KeyData;
  notification->Function = KeyNotificationFunction;
  *NotifyHandle = notification.get();
  g->KeyNotifications.push_back(std::move(notification));
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConInExUnregisterKeyNotify(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* This,
                                             void* NotificationHandle) {
  if (This == nullptr || NotificationHandle == nullptr) return EFI_INVALID_PARAMETER;
  auto& list = g->KeyNotifications;
  for (auto it = list.begin(); it != list.end(); ++it) {
    if (it->get() == NotificationHandle) {
      list.erase(it);
      return EFI_SUCCESS;
    }
  }
  return EFI_INVALID_PARAMETER;
}

// ---------------------------------------------------------------------------
// Pointers
// ---------------------------------------------------------------------------
EFI_STATUS EFIAPI PointerReset(EFI_SIMPLE_POINTER_PROTOCOL* This, BOOLEAN) {
  if (This == &g->MousePointer) RemoveQueued(InputKind::Mouse);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI PointerGetState(EFI_SIMPLE_POINTER_PROTOCOL* This,
                                  EFI_SIMPLE_POINTER_STATE* State) {
  if (This == nullptr || State == nullptr) return EFI_INVALID_PARAMETER;
  // The console's merged pointer reports nothing of its own: the mouse's
  // states are delivered through the mouse's own handle.
  static constexpr InputKind kMouse = InputKind::Mouse;
  InputEvent event;
  if (!TakeInput(This == &g->MousePointer ? &kMouse : nullptr, &event)) return EFI_NOT_READY;
  *State = event.MouseState;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI TouchReset(EFI_ABSOLUTE_POINTER_PROTOCOL*, BOOLEAN) {
  RemoveQueued(InputKind::Touch);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI TouchGetState(EFI_ABSOLUTE_POINTER_PROTOCOL* This,
                                EFI_ABSOLUTE_POINTER_STATE* State) {
  if (This == nullptr || State == nullptr) return EFI_INVALID_PARAMETER;
  static constexpr InputKind kTouch = InputKind::Touch;
  InputEvent event;
  if (!TakeInput(&kTouch, &event)) return EFI_NOT_READY;
  *State = event.TouchState;
  return EFI_SUCCESS;
}

// Wait events: signalled when the head of the queue is the device's kind.
void EFIAPI KeyWaitNotify(EFI_EVENT Event, void*) {
  if (HeadIs(InputKind::Key)) Signal(FindEvent(Event));
}
void EFIAPI MouseWaitNotify(EFI_EVENT Event, void*) {
  if (HeadIs(InputKind::Mouse)) Signal(FindEvent(Event));
}
void EFIAPI TouchWaitNotify(EFI_EVENT Event, void*) {
  if (HeadIs(InputKind::Touch)) Signal(FindEvent(Event));
}
void EFIAPI NeverNotify(EFI_EVENT, void*) {}

InputEvent Blank(InputKind Kind) {
  InputEvent event{};
  event.Kind = Kind;
  return event;
}

} // namespace

void SetUpInput(State& S) {
  S.WaitForKey = NewEvent(EVT_NOTIFY_WAIT, TPL_NOTIFY, KeyWaitNotify, nullptr);
  S.WaitForKeyEx = NewEvent(EVT_NOTIFY_WAIT, TPL_NOTIFY, KeyWaitNotify, nullptr);
  S.WaitForConsolePointer = NewEvent(EVT_NOTIFY_WAIT, TPL_NOTIFY, NeverNotify, nullptr);
  S.WaitForMouse = NewEvent(EVT_NOTIFY_WAIT, TPL_NOTIFY, MouseWaitNotify, nullptr);
  S.WaitForTouch = NewEvent(EVT_NOTIFY_WAIT, TPL_NOTIFY, TouchWaitNotify, nullptr);

  S.ConIn = {ConInReset, ConInReadKeyStroke, S.WaitForKey};
  S.ConInEx = {ConInExReset,    ConInExReadKeyStrokeEx,   S.WaitForKeyEx,
               ConInExSetState, ConInExRegisterKeyNotify, ConInExUnregisterKeyNotify};
  S.ConsolePointerMode = {1, 1, 0, 1, 1};
  S.ConsolePointer = {PointerReset, PointerGetState, S.WaitForConsolePointer,
                      &S.ConsolePointerMode};
  Install(&S.ConsoleIn, kSimpleTextInputExGuid, &S.ConInEx);
  constexpr EFI_GUID kSimpleTextInputGuid = {
      0x387477C1, 0x69C7, 0x11D2, {0x8E, 0x39, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B}};
  Install(&S.ConsoleIn, kSimpleTextInputGuid, &S.ConIn);
  Install(&S.ConsoleIn, kSimplePointerGuid, &S.ConsolePointer);
  S.SystemTable.ConsoleInHandle = S.ConsoleIn;
  S.SystemTable.ConIn = &S.ConIn;

  if (S.Opts.Mouse) {
    S.MousePointerMode = {1, 1, 0, 1, 1};
    S.MousePointer = {PointerReset, PointerGetState, S.WaitForMouse, &S.MousePointerMode};
    Install(&S.MouseHandle, kSimplePointerGuid, &S.MousePointer);
  }
  if (S.Opts.Touch) {
    S.TouchPointerMode = {0, 0, 0, kTouchRange, kTouchRange, 0, 0};
    S.TouchPointer = {TouchReset, TouchGetState, S.WaitForTouch, &S.TouchPointerMode};
    Install(&S.TouchHandle, kAbsolutePointerGuid, &S.TouchPointer);
  }
}

} // namespace fake::detail

namespace fake {

using namespace detail;

void PushKey(UINT16 ScanCode, CHAR16 UnicodeChar) {
  InputEvent event = Blank(InputKind::Key);
  event.KeyData.Key = {ScanCode, UnicodeChar};
  event.KeyData.KeyState = {kShiftStateValid,
                            static_cast<UINT8>(kToggleStateValid | g->KeyToggleState)};
  // Registered key notifications run when the key arrives, as a keyboard
  // driver calls them.
  std::vector<EFI_KEY_NOTIFY_FUNCTION> matching;
  for (auto& n : g->KeyNotifications)
    if (n->Key.Key.ScanCode == ScanCode && n->Key.Key.UnicodeChar == UnicodeChar)
      matching.push_back(n->Function);
  g->Queue.push_back(event);
  for (EFI_KEY_NOTIFY_FUNCTION function : matching) {
    EFI_KEY_DATA copy = event.KeyData;
    function(&copy);
  }
}

void PressCapsLock() {
  g->KeyToggleState ^= kToggleCapsLock;
  PushKey(SCAN_NULL, 0);
}

UINT8 KeyToggleState() {
  return g->KeyToggleState;
}

const std::vector<UINT8>& SetStateCalls() {
  return g->SetStateCalls;
}

void PushMouseState(INT32 DeltaX, INT32 DeltaY, bool Left, bool Right) {
  InputEvent event = Blank(InputKind::Mouse);
  event.MouseState = {DeltaX, DeltaY, 0, static_cast<BOOLEAN>(Left), static_cast<BOOLEAN>(Right)};
  g->Queue.push_back(event);
}

void MouseMoveTo(UINT32 X, UINT32 Y, bool Press) {
  PushMouseState(kHomeDistance, kHomeDistance, false);
  PushMouseState(static_cast<INT32>(X), static_cast<INT32>(Y), Press);
  if (Press) PushMouseState(0, 0, false);
}

void PushTouchState(UINT64 X, UINT64 Y, UINT32 ActiveButtons) {
  InputEvent event = Blank(InputKind::Touch);
  event.TouchState = {X, Y, 0, ActiveButtons};
  g->Queue.push_back(event);
}

UINT64 TouchUnitsFor(UINT32 Pixel, UINT32 ScreenSize) {
  if (ScreenSize == 0) return 0;
  // The smallest panel value that scales back (value * size / range,
  // truncated) onto Pixel.
  const UINT64 units = (static_cast<UINT64>(Pixel) * kTouchRange + ScreenSize - 1) / ScreenSize;
  return units > kTouchRange ? kTouchRange : units;
}

void TouchAt(UINT32 X, UINT32 Y) {
  const UINT64 x = TouchUnitsFor(X, ScreenWidth());
  const UINT64 y = TouchUnitsFor(Y, ScreenHeight());
  PushTouchState(x, y, 1);
  PushTouchState(x, y, 0);
}

size_t PendingInputs() {
  return g->Queue.size();
}
void ClearInput() {
  g->Queue.clear();
}
UINT64 InputReads() {
  return g->InputReads;
}
UINT64 InputsTaken() {
  return g->InputsTaken;
}
UINT64 InputsDropped() {
  return g->InputsDropped;
}
void SetIdleHandler(std::function<void()> Handler) {
  g->IdleHandler = std::move(Handler);
}
void SetReadHook(std::function<void(bool)> Hook) {
  g->ReadHook = std::move(Hook);
}

} // namespace fake
