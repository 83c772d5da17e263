// The arrow cursor: its position, its save-under, and the take-down / put-back
// pair every drawing routine uses so that the cursor is never drawn over or
// captured into a picture. The pointer module moves it; nothing is drawn
// while no pointer device exists.
#pragma once

#include "platform/efi.h"

// Everything the cursor keeps; Quorvex_Cursor_Reset puts it back to these
// values.
struct CursorState {
  INT32 X = 0;
  INT32 Y = 0;
  // Shown (1) or hidden after the idle time (0).
  UINT8 Visible = 0;
  // Pixels under the cursor while it is up.
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* SaveUnder = nullptr;
  bool Up = false;
  UINT32 TakeDownDepth = 0;
  bool DevicesPresent = false;
};
extern constinit CursorState Cursor;

// The pointer's position and visibility under their long-standing names.
inline constexpr INT32& CursorX = Cursor.X;
inline constexpr INT32& CursorY = Cursor.Y;
inline constexpr UINT8& CursorVisible = Cursor.Visible;

constexpr UINT64 kCursorWidth = 17;
constexpr UINT64 kCursorHeight = 33;

// Saves the pixels under the cursor and draws it (the put-back).
void Quorvex_UpdateMouse();
// Writes the saved pixels back (the take-down). Take-downs nest: only the
// outermost one restores and only the matching put-back draws again.
void Quorvex_RestoreUnderCursor();
// True when the cursor position lies in the rectangle.
bool Quorvex_PointInRect(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);
struct ScreenRect;
bool Quorvex_PointInRect(const ScreenRect& Rect);
// True when the cursor picture may touch the rectangle.
bool Quorvex_CursorOverlapsRect(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);
// The screen under the cursor was rebuilt (restart): the saved pixels no
// longer belong to it.
void Quorvex_Mouse_ForgetScreen();
// Whether a pointer device exists (the cursor is drawn only then).
void Quorvex_Cursor_SetDevicesPresent(bool Present);
// Power-on state (host tests; the firmware that held the save-under is gone,
// nothing is freed).
void Quorvex_Cursor_Reset();

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
