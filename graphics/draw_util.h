// Small helpers shared by the drawing modules: the GOP Blt reached through the
// bound instance (so it lands in the off-screen frame while buffering is on),
// rectangle fills, pictures, and overflow-safe size arithmetic.
#pragma once

#include "assets/assets.h"
#include "platform/bindings.h"
#include "graphics/colours.h"

// Largest width or height any drawing routine accepts for a temporary pixel
// array; anything larger is a caller's mistake and is refused, so that
// width × height × 4 can never overflow.
constexpr UINT64 kMaxDrawExtent = 1u << 15;

// Notes a write that goes straight to the screen in the screen log
// (graphics/screen_log.h); buffered and recorded drawing is not noted.
void Quorvex_ScreenLog_NoteBlt(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);
void Quorvex_ScreenLog_NotePicture(const Picture& Image, UINT64 X, UINT64 Y);

// Rows of a rectangle starting at row Y that lie above the screen's bottom.
inline UINTN RowsAboveBottom(UINTN Y, UINTN Height) {
  if (ScreenHeight == 0) return Height; // no mode chosen yet: nothing to cut against
  if (Y >= ScreenHeight) return 0;
  return Height < ScreenHeight - Y ? Height : static_cast<UINTN>(ScreenHeight - Y);
}

// The Blt of the bound GOP instance. Rows past the screen's bottom are cut
// off first (the firmware refuses a whole Blt that reaches past it, so a
// control near the bottom of a short screen keeps its visible part); a Blt
// with nothing left above the bottom does nothing and succeeds.
inline EFI_STATUS Quorvex_Blt(EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Buffer,
                              EFI_GRAPHICS_OUTPUT_BLT_OPERATION Operation, UINTN SourceX,
                              UINTN SourceY, UINTN DestinationX, UINTN DestinationY, UINTN Width,
                              UINTN Height, UINTN Delta) {
  if (!GraphicsOutput || !GraphicsOutput->Blt) return EFI_NOT_FOUND;
  UINTN rows = Height;
  if (Operation == EfiBltVideoFill || Operation == EfiBltBufferToVideo) {
    rows = RowsAboveBottom(DestinationY, Height);
  } else if (Operation == EfiBltVideoToBltBuffer) {
    rows = RowsAboveBottom(SourceY, Height);
  } else if (Operation == EfiBltVideoToVideo) {
    const UINTN source = RowsAboveBottom(SourceY, Height);
    const UINTN destination = RowsAboveBottom(DestinationY, Height);
    rows = source < destination ? source : destination;
  }
  if (rows == 0 && Height != 0) return EFI_SUCCESS;
  if (Operation != EfiBltVideoToBltBuffer)
    Quorvex_ScreenLog_NoteBlt(DestinationX, DestinationY, Width, rows);
  // A Delta of 0 means rows of Width pixels; it stays so with fewer rows.
  return GraphicsOutput->Blt(GraphicsOutput, Buffer, Operation, SourceX, SourceY, DestinationX,
                             DestinationY, Width, rows, Delta);
}

// GOP video fill of a rectangle with one colour (0xRRGGBB).
inline EFI_STATUS Quorvex_FillRect(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT32 Rgb) {
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL colour = Pixel(Rgb);
  return Quorvex_Blt(&colour, EfiBltVideoFill, 0, 0, X, Y, Width, Height, 0);
}

// Draws a stored PNG with its top-left corner at (X, Y) through the image
// protocol. Nothing happens without the protocol.
EFI_STATUS Quorvex_DrawPicture(const Picture& Image, UINT64 X, UINT64 Y);
// The size a PNG's header chunk names; false for anything else.
bool Quorvex_PngExtent(const Picture& Image, UINT64* Width, UINT64* Height);

// A rectangle on the screen. Drawers and click handlers of a window take
// their rectangles from the same geometry routine.
struct ScreenRect {
  UINT64 X, Y, Width, Height;
};

// a − b, or 0 when b > a.
constexpr UINT64 SaturatingSub(UINT64 A, UINT64 B) {
  return A > B ? A - B : 0;
}

// True when a Width × Height pixel array may be allocated.
constexpr bool DrawableExtent(UINT64 Width, UINT64 Height) {
  return Width > 0 && Height > 0 && Width <= kMaxDrawExtent && Height <= kMaxDrawExtent;
}

// True when the rectangle lies wholly on the screen.
inline bool InsideScreen(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  return X <= ScreenWidth && Width <= ScreenWidth - X && Y <= ScreenHeight &&
         Height <= ScreenHeight - Y;
}

// The 0xRRGGBB colour as a 32-bit buffer word (Reserved 0).
constexpr UINT32 PixelWordOf(UINT32 Rgb) {
  return Rgb & 0xFFFFFFu;
}
