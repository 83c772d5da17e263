#include "reference_platform/gate_input.h"

#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "setup_data/keyboard_layout.h"

namespace {

// A device that never stops reporting must not hold a drain forever.
constexpr UINTN kMaxDrainReads = 1000;

template <typename T> UINTN Collect(const EFI_GUID& Guid, T** List) {
  UINTN count = 0;
  EFI_HANDLE* handles = nullptr;
  if (!PlatformBootServices->LocateHandleBuffer ||
      EFI_ERROR(
          PlatformBootServices->LocateHandleBuffer(ByProtocol, &Guid, nullptr, &count, &handles)) ||
      !handles)
    return 0;
  UINTN found = 0;
  for (UINTN i = 0; i < count && found < kGateMaxPointers; ++i) {
    void* instance = nullptr;
    if (!EFI_ERROR(PlatformBootServices->HandleProtocol(handles[i], &Guid, &instance)) && instance)
      List[found++] = static_cast<T*>(instance);
  }
  PlatformBootServices->FreePool(handles);
  return found;
}

GateKey Key(GateKeyKind Kind, CHAR16 Character = 0) {
  return {Kind, Character};
}

bool Inside(const KeyboardRect& R, UINT64 X, UINT64 Y) {
  return X >= R.X && X < R.X + R.Width && Y >= R.Y && Y < R.Y + R.Height;
}

GateKey PollTouch(GateInput* In, const GateScreen& S) {
  for (UINTN i = 0; i < In->TouchCount; ++i) {
    EFI_ABSOLUTE_POINTER_PROTOCOL* panel = In->Touch[i];
    EFI_ABSOLUTE_POINTER_STATE state = {};
    if (!panel->GetState || EFI_ERROR(panel->GetState(panel, &state))) continue;
    const EFI_ABSOLUTE_POINTER_MODE* mode = panel->Mode;
    // A panel without a range gives no position; only a contact is a tap.
    if (!mode || mode->AbsoluteMaxX <= mode->AbsoluteMinX ||
        mode->AbsoluteMaxY <= mode->AbsoluteMinY || (state.ActiveButtons & 1) == 0)
      continue;
    In->Tapped = true;
    const UINT64 rangeX = mode->AbsoluteMaxX - mode->AbsoluteMinX;
    const UINT64 rangeY = mode->AbsoluteMaxY - mode->AbsoluteMinY;
    const UINT64 cx = state.CurrentX > mode->AbsoluteMinX ? state.CurrentX - mode->AbsoluteMinX : 0;
    const UINT64 cy = state.CurrentY > mode->AbsoluteMinY ? state.CurrentY - mode->AbsoluteMinY : 0;
    // Coordinates beyond the range (a hostile report) land on the edge.
    const UINT64 x = (cx < rangeX ? cx : rangeX) * S.Width / rangeX;
    const UINT64 y = (cy < rangeY ? cy : rangeY) * S.Height / rangeY;
    return GateInput_KeyAt(In, S, x, y);
  }
  return Key(GateKeyNone);
}

GateKey PollMouse(GateInput* In, const GateScreen& S) {
  for (UINTN i = 0; i < In->MouseCount; ++i) {
    EFI_SIMPLE_POINTER_PROTOCOL* mouse = In->Mouse[i];
    EFI_SIMPLE_POINTER_STATE state = {};
    if (!mouse->GetState || EFI_ERROR(mouse->GetState(mouse, &state))) continue;
    In->CursorMoved = true;
    In->CursorX += state.RelativeMovementX;
    In->CursorY += state.RelativeMovementY;
    const INT64 maxX = static_cast<INT64>(S.Width) - 1;
    const INT64 maxY = static_cast<INT64>(S.Height) - 1;
    In->CursorX = In->CursorX < 0 ? 0 : In->CursorX > maxX ? maxX : In->CursorX;
    In->CursorY = In->CursorY < 0 ? 0 : In->CursorY > maxY ? maxY : In->CursorY;
    if (!state.LeftButton) return Key(GateKeyNone);
    In->Tapped = true;
    return GateInput_KeyAt(In, S, static_cast<UINT64>(In->CursorX),
                           static_cast<UINT64>(In->CursorY));
  }
  return Key(GateKeyNone);
}

GateKey ReadConsole() {
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL* in = PlatformSystemTable ? PlatformSystemTable->ConIn : nullptr;
  if (!in || !in->ReadKeyStroke) return Key(GateKeyNone);
  EFI_INPUT_KEY key = {};
  if (EFI_ERROR(in->ReadKeyStroke(in, &key))) return Key(GateKeyNone);
  if (key.ScanCode != 0) return Key(GateKeyOther);
  if (key.UnicodeChar == CHAR_CARRIAGE_RETURN) return Key(GateKeyEnter);
  if (key.UnicodeChar == CHAR_BACKSPACE) return Key(GateKeyBackspace);
  // Control characters (Tab, Esc as a character, line feed) type nothing.
  if (key.UnicodeChar < 0x20 || key.UnicodeChar == 0x7F) return Key(GateKeyOther);
  return Key(GateKeyCharacter, key.UnicodeChar);
}

} // namespace

bool GateInput_Open(GateInput* In) {
  MemFill(In, 0, sizeof(*In));
  if (!PlatformBootServices) return false;
  In->TouchCount = Collect(kAbsolutePointerGuid, In->Touch);
  In->MouseCount = Collect(kSimplePointerGuid, In->Mouse);
  return In->TouchCount != 0;
}

void GateInput_Drain(GateInput* In) {
  for (UINTN i = 0; i < In->TouchCount; ++i) {
    EFI_ABSOLUTE_POINTER_STATE state;
    for (UINTN n = 0; n < kMaxDrainReads && In->Touch[i]->GetState &&
                      !EFI_ERROR(In->Touch[i]->GetState(In->Touch[i], &state));
         ++n) {
    }
  }
  for (UINTN i = 0; i < In->MouseCount; ++i) {
    EFI_SIMPLE_POINTER_STATE state;
    for (UINTN n = 0; n < kMaxDrainReads && In->Mouse[i]->GetState &&
                      !EFI_ERROR(In->Mouse[i]->GetState(In->Mouse[i], &state));
         ++n) {
    }
  }
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL* in = PlatformSystemTable ? PlatformSystemTable->ConIn : nullptr;
  EFI_INPUT_KEY key;
  for (UINTN n = 0;
       in && in->ReadKeyStroke && n < kMaxDrainReads && !EFI_ERROR(in->ReadKeyStroke(in, &key));
       ++n) {
  }
  MemWipe(&key, sizeof(key));
}

GateKey GateInput_KeyAt(GateInput* In, const GateScreen& S, UINT64 X, UINT64 Y) {
  if (!S.Keyboard) return Key(GateKeyNone);
  for (UINT32 row = 1; row < kKeyboardRows; ++row) {
    for (UINT32 column = 0; column < kKeyboardColumns; ++column) {
      KeyboardRect rect;
      if (!Keyboard_KeyRect(S.Width, S.Height, row, column, &rect) || !Inside(rect, X, Y)) continue;
      if (column == kWideKeyColumn) {
        switch (row) {
        case 2:
          return Key(GateKeyBackspace);
        case 3:
          In->Caps = !In->Caps;
          In->KeyboardRedraw = true;
          return Key(GateKeyNone);
        case 4:
          In->Shift = !In->Shift;
          In->KeyboardRedraw = true;
          return Key(GateKeyNone);
        case 5:
          return Key(GateKeyEnter);
        default:
          return Key(GateKeyOther); // ESC
        }
      }
      const CHAR16 c = Keyboard_KeyChar(row, column, In->Shift, In->Caps);
      return c ? Key(GateKeyCharacter, c) : Key(GateKeyOther);
    }
  }
  return Key(GateKeyNone); // the function-key row and the gaps type nothing
}

GateKey GateInput_Read(GateInput* In, const GateScreen& S) {
  In->Tapped = false;
  In->CursorMoved = false;
  GateKey key = PollTouch(In, S);
  if (key.Kind == GateKeyNone && !In->KeyboardRedraw) key = PollMouse(In, S);
  if (key.Kind == GateKeyNone && !In->KeyboardRedraw) key = ReadConsole();
  return key;
}
