// The arrow cursor and its save-under.
#include "graphics/cursor.h"

#include "graphics/draw_util.h"
#include "platform/bindings.h"

constinit CursorState Cursor = {};

namespace {

// The cursor rectangle clipped to the screen; false when nothing is left.
bool CursorClip(UINT64* Width, UINT64* Height) {
  if (CursorX < 0 || CursorY < 0) return false;
  const UINT64 x = static_cast<UINT64>(CursorX);
  const UINT64 y = static_cast<UINT64>(CursorY);
  if (x >= ScreenWidth || y >= ScreenHeight) return false;
  *Width = x + kCursorWidth > ScreenWidth ? ScreenWidth - x : kCursorWidth;
  *Height = y + kCursorHeight > ScreenHeight ? ScreenHeight - y : kCursorHeight;
  return true;
}

} // namespace

void Quorvex_UpdateMouse() {
  if (Cursor.TakeDownDepth > 0 && --Cursor.TakeDownDepth > 0) return;
  if (Cursor.Up || !Cursor.DevicesPresent || GraphicsOutput == nullptr) return;
  UINT64 width = 0;
  UINT64 height = 0;
  if (!CursorClip(&width, &height)) return;
  if (Cursor.SaveUnder == nullptr) {
    Cursor.SaveUnder = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(
        Quorvex_AllocatePool(kCursorWidth * kCursorHeight * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL)));
    if (Cursor.SaveUnder == nullptr) return;
  }
  const UINT64 x = static_cast<UINT64>(CursorX);
  const UINT64 y = static_cast<UINT64>(CursorY);
  Quorvex_Blt(Cursor.SaveUnder, EfiBltVideoToBltBuffer, x, y, 0, 0, width, height,
              width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
  Cursor.Up = true;
  if (CursorVisible != 0) Quorvex_DrawPicture(kCursorArrow, x, y);
}

void Quorvex_RestoreUnderCursor() {
  if (Cursor.TakeDownDepth++ > 0) return;
  if (!Cursor.Up) return;
  Cursor.Up = false;
  UINT64 width = 0;
  UINT64 height = 0;
  if (!Cursor.DevicesPresent || Cursor.SaveUnder == nullptr || !CursorClip(&width, &height)) return;
  Quorvex_Blt(Cursor.SaveUnder, EfiBltBufferToVideo, 0, 0, static_cast<UINT64>(CursorX),
              static_cast<UINT64>(CursorY), width, height,
              width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
}

void Quorvex_Mouse_ForgetScreen() {
  Cursor.Up = false;
  Cursor.TakeDownDepth = 0;
}

void Quorvex_Cursor_SetDevicesPresent(bool Present) {
  Cursor.DevicesPresent = Present;
}

bool Quorvex_PointInRect(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  // The cursor coordinates are sign-extended and compared unsigned.
  const UINT64 x = static_cast<UINT64>(static_cast<INT64>(CursorX));
  const UINT64 y = static_cast<UINT64>(static_cast<INT64>(CursorY));
  return X <= x && x < X + Width && Y <= y && y < Y + Height;
}

bool Quorvex_PointInRect(const ScreenRect& Rect) {
  return Quorvex_PointInRect(Rect.X, Rect.Y, Rect.Width, Rect.Height);
}

bool Quorvex_CursorOverlapsRect(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  const INT64 x = CursorX;
  const INT64 y = CursorY;
  const INT64 left = static_cast<INT64>(X);
  const INT64 top = static_cast<INT64>(Y);
  return !(x + static_cast<INT64>(kCursorWidth) < left || x >= left + static_cast<INT64>(Width) ||
           y + static_cast<INT64>(kCursorHeight) < top || y >= top + static_cast<INT64>(Height));
}

void Quorvex_Cursor_Reset() {
  Cursor = {};
}
