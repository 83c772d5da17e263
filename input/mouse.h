// Pointer input and the arrow cursor.
#pragma once

#include "platform/efi.h"

extern INT32 CursorX;
extern INT32 CursorY;

EFI_STATUS Quorvex_MouseInit(UINT64 Argument1, UINT64 Argument2);
void Quorvex_UpdateMouse();
void Quorvex_RestoreUnderCursor();
void Quorvex_MousePoll();
void Quorvex_MouseDrain();
bool Quorvex_PointInRect(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);
bool Quorvex_CursorOverlapsRect(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);

// Pointer state shown or hidden, and the key-reading wrappers that turn
// help-bar clicks into F1, F9, F10 and Esc.
extern UINT8 CursorVisible;
EFI_STATUS EFIAPI Quorvex_MouseReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This,
                                             EFI_INPUT_KEY* Key);
void Quorvex_HelpBarClick();
// The screen under the cursor was rebuilt (restart): the saved pixels no
// longer belong to it.
void Quorvex_Mouse_ForgetScreen();
// Host tests: puts the console's and the extended key-code protocol's own
// readers back where the wrappers still sit on them (while the firmware that
// owns them is alive).
void Quorvex_Mouse_RemoveWrappers();
// Host tests: every pointer global back to its power-on value (the firmware
// that held the lists is gone; nothing is freed).
void Quorvex_Mouse_Reset();

// Takes the cursor down for the life of a drawing routine and puts it back at
// the end. Only inside drawing routines, never around a polling loop.
class CursorHidden {
public:
  CursorHidden() { Quorvex_RestoreUnderCursor(); }
  ~CursorHidden() { Quorvex_UpdateMouse(); }
  CursorHidden(const CursorHidden&) = delete;
  CursorHidden& operator=(const CursorHidden&) = delete;
};
// Same, only when the cursor overlaps the rectangle about to be drawn.
class CursorHiddenOver {
public:
  CursorHiddenOver(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height)
      : hidden_(Quorvex_CursorOverlapsRect(X, Y, Width, Height)) {
    if (hidden_) Quorvex_RestoreUnderCursor();
  }
  ~CursorHiddenOver() {
    if (hidden_) Quorvex_UpdateMouse();
  }
  CursorHiddenOver(const CursorHiddenOver&) = delete;
  CursorHiddenOver& operator=(const CursorHiddenOver&) = delete;

private:
  bool hidden_;
};
