// The password gate's input: the console's keys, taps of a touch panel and
// clicks of a mouse on the gate's on-screen keyboard. One call is one round:
// the pointers are polled, then one key is read.
#pragma once

#include "platform/efi.h"
#include "platform/efi_pointer.h"
#include "reference_platform/gate_screen.h"

enum GateKeyKind : UINT32 {
  GateKeyNone,
  GateKeyCharacter,
  GateKeyBackspace,
  GateKeyEnter,
  GateKeyOther, // a key the gate has no use for (Esc, function keys, arrows)
};

struct GateKey {
  GateKeyKind Kind;
  CHAR16 Character;
};

constexpr UINTN kGateMaxPointers = 4;

struct GateInput {
  EFI_ABSOLUTE_POINTER_PROTOCOL* Touch[kGateMaxPointers];
  UINTN TouchCount;
  EFI_SIMPLE_POINTER_PROTOCOL* Mouse[kGateMaxPointers];
  UINTN MouseCount;
  INT64 CursorX, CursorY; // the mouse's position on the screen
  bool Caps, Shift;       // the on-screen keyboard's states
  bool KeyboardRedraw;    // Caps or Shift changed since the last look
  bool Tapped;            // the last round saw a touch or a click
  bool CursorMoved;       // the mouse moved in the last round
};

// Finds the pointing devices; true when a touch panel is among them.
bool GateInput_Open(GateInput* Input);
// Reads every device until nothing is left (no key typed before the window
// opened is taken as part of an answer).
void GateInput_Drain(GateInput* Input);
GateKey GateInput_Read(GateInput* Input, const GateScreen& Screen);

// The key of the on-screen keyboard at screen point (X, Y), with Caps and
// Shift applied; Caps and Shift themselves toggle the states.
GateKey GateInput_KeyAt(GateInput* Input, const GateScreen& Screen, UINT64 X, UINT64 Y);
