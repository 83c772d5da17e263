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
