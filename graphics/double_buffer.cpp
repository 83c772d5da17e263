// Off-screen composition. While buffering is on, the GOP instance's Blt entry
// points at BufferedBlt, which performs the four Blt operations against a
// full-screen pool array; Flush copies the rectangle recorded at Start to the
// screen with the firmware's own Blt.
//
// Clipping follows the firmware-compatible rules the drawing code relies on:
// copies between the caller's array and the frame skip the columns at or past
// the right edge; fills and frame-to-frame copies address the frame as one
// row-major array, so a rectangle running past the right edge continues on
// the next row. Every access is bounds-checked against the array: whatever
// would fall outside it (rows past the bottom) is simply not done.
#include "graphics/double_buffer.h"

#include "platform/bindings.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "platform/lib.h"

namespace {

constinit EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT FirmwareBlt = nullptr;
constinit EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Frame = nullptr;
constinit UINT64 FrameWidth = 0;
constinit UINT64 FrameHeight = 0;
constinit UINT64 FlushX = 0;
constinit UINT64 FlushY = 0;
constinit UINT64 FlushWidth = 0;
constinit UINT64 FlushHeight = 0;

UINT64 FramePixels() {
  return FrameWidth * FrameHeight;
}

// Linear index of (X, Y) in the frame; false when it lies at or past the end
// of the array (or the arithmetic overflows).
bool LinearIndex(UINT64 X, UINT64 Y, UINT64* Index) {
  UINT64 row;
  UINT64 index;
  if (__builtin_mul_overflow(Y, FrameWidth, &row)) return false;
  if (__builtin_add_overflow(row, X, &index)) return false;
  if (index >= FramePixels()) return false;
  *Index = index;
  return true;
}

// Row stride of the caller's array in pixels: Delta ÷ 4, where a Delta of 0
// means rows of Width pixels, as for the firmware's Blt.
UINT64 CallerStride(UINTN Width, UINTN Delta) {
  return Delta == 0 ? Width : Delta / 4;
}

// Columns of a row that lie left of the right edge when it starts at X.
UINT64 VisibleColumns(UINT64 X, UINT64 Width) {
  if (X >= FrameWidth) return 0;
  const UINT64 room = FrameWidth - X;
  return Width < room ? Width : room;
}

void Fill(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Colour, UINTN X, UINTN Y, UINTN Width,
          UINTN Height) {
  if (Width == 0) return;
  UINT32 word;
  MemCopy(&word, Colour, sizeof word);
  const UINT64 total = FramePixels();
  for (UINT64 j = 0; j < Height; ++j) {
    UINT64 row;
    UINT64 start;
    if (__builtin_add_overflow(Y, j, &row) || !LinearIndex(X, row, &start)) break;
    const UINT64 run = Width < total - start ? Width : total - start;
    MemFill32(Frame + start, word, run);
  }
}

void FrameToCaller(EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Caller, UINTN SourceX, UINTN SourceY, UINTN Width,
                   UINTN Height, UINTN Delta) {
  const UINT64 columns = VisibleColumns(SourceX, Width);
  if (columns == 0) return;
  const UINT64 stride = CallerStride(Width, Delta);
  for (UINT64 j = 0; j < Height; ++j) {
    if (SourceY >= FrameHeight || j >= FrameHeight - SourceY) break;
    MemCopy(Caller + j * stride, Frame + (SourceY + j) * FrameWidth + SourceX,
            columns * sizeof *Caller);
  }
}

void CallerToFrame(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Caller, UINTN DestinationX,
                   UINTN DestinationY, UINTN Width, UINTN Height, UINTN Delta) {
  const UINT64 columns = VisibleColumns(DestinationX, Width);
  if (columns == 0) return;
  const UINT64 stride = CallerStride(Width, Delta);
  for (UINT64 j = 0; j < Height; ++j) {
    if (DestinationY >= FrameHeight || j >= FrameHeight - DestinationY) break;
    MemCopy(Frame + (DestinationY + j) * FrameWidth + DestinationX, Caller + j * stride,
            columns * sizeof *Caller);
  }
}

// Frame to frame, rows in increasing order and, within a row, pixels in
// increasing order: a destination that overlaps the source further right
// repeats the source's first pixels, exactly as a pixel-by-pixel copy would.
void FrameToFrame(UINTN SourceX, UINTN SourceY, UINTN DestinationX, UINTN DestinationY, UINTN Width,
                  UINTN Height) {
  if (Width == 0) return;
  const UINT64 total = FramePixels();
  for (UINT64 j = 0; j < Height; ++j) {
    UINT64 sourceRow;
    UINT64 destinationRow;
    UINT64 s;
    UINT64 d;
    if (__builtin_add_overflow(SourceY, j, &sourceRow) ||
        __builtin_add_overflow(DestinationY, j, &destinationRow))
      break;
    if (!LinearIndex(SourceX, sourceRow, &s) || !LinearIndex(DestinationX, destinationRow, &d))
      break;
    UINT64 n = Width;
    if (n > total - s) n = total - s;
    if (n > total - d) n = total - d;
    if (d > s && d < s + n) {
      for (UINT64 k = 0; k < n; ++k) Frame[d + k] = Frame[s + k];
    } else {
      MemMove(Frame + d, Frame + s, n * sizeof *Frame);
    }
  }
}

EFI_STATUS EFIAPI BufferedBlt(EFI_GRAPHICS_OUTPUT_PROTOCOL* This,
                              EFI_GRAPHICS_OUTPUT_BLT_PIXEL* BltBuffer,
                              EFI_GRAPHICS_OUTPUT_BLT_OPERATION Operation, UINTN SourceX,
                              UINTN SourceY, UINTN DestinationX, UINTN DestinationY, UINTN Width,
                              UINTN Height, UINTN Delta) {
  const bool handled = Operation <= EfiBltVideoToVideo;
  if (!handled || !Frame) {
    if (!FirmwareBlt) return EFI_UNSUPPORTED;
    return FirmwareBlt(This, BltBuffer, Operation, SourceX, SourceY, DestinationX, DestinationY,
                       Width, Height, Delta);
  }
  if (!BltBuffer && Operation != EfiBltVideoToVideo) return EFI_INVALID_PARAMETER;
  switch (Operation) {
  case EfiBltVideoFill:
    Fill(BltBuffer, DestinationX, DestinationY, Width, Height);
    break;
  case EfiBltVideoToBltBuffer:
    FrameToCaller(BltBuffer, SourceX, SourceY, Width, Height, Delta);
    break;
  case EfiBltBufferToVideo:
    // The caller's array is always read from its origin.
    CallerToFrame(BltBuffer, DestinationX, DestinationY, Width, Height, Delta);
    break;
  default:
    FrameToFrame(SourceX, SourceY, DestinationX, DestinationY, Width, Height);
    break;
  }
  return EFI_SUCCESS;
}

void FreeFrame() {
  if (Frame) Quorvex_FreePool(Frame);
  Frame = nullptr;
  FrameWidth = 0;
  FrameHeight = 0;
}

} // namespace

EFI_STATUS Quorvex_DoubleBuffer_Start(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  if (!GraphicsOutput) return EFI_INVALID_PARAMETER;
  // A Start while buffering is already on keeps the real firmware routine
  // (recording our own routine would make Flush and Stop lose the screen).
  if (GraphicsOutput->Blt != BufferedBlt) FirmwareBlt = GraphicsOutput->Blt;
  if (Frame && (FrameWidth != ScreenWidth || FrameHeight != ScreenHeight)) {
    if (GraphicsOutput->Blt == BufferedBlt) GraphicsOutput->Blt = FirmwareBlt;
    FreeFrame();
  }
  if (!Frame) {
    if (!DrawableExtent(ScreenWidth, ScreenHeight)) return EFI_INVALID_PARAMETER;
    Frame = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(
        Quorvex_AllocatePool(ScreenWidth * ScreenHeight * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL)));
    if (!Frame) return EFI_OUT_OF_RESOURCES;
    FrameWidth = ScreenWidth;
    FrameHeight = ScreenHeight;
  }
  FlushX = X;
  FlushY = Y;
  FlushWidth = Width;
  FlushHeight = Height;
  GraphicsOutput->Blt = BufferedBlt;
  return EFI_SUCCESS;
}

void Quorvex_DoubleBuffer_Flush() {
  if (!GraphicsOutput || !FirmwareBlt) return;
  GraphicsOutput->Blt = FirmwareBlt;
  if (!Frame) return;
  // The rectangle is cut to the frame so the firmware never reads past it.
  if (FlushX < FrameWidth && FlushY < FrameHeight) {
    const UINT64 width = VisibleColumns(FlushX, FlushWidth);
    const UINT64 rows = FrameHeight - FlushY;
    const UINT64 height = FlushHeight < rows ? FlushHeight : rows;
    if (width > 0 && height > 0)
      FirmwareBlt(GraphicsOutput, Frame, EfiBltBufferToVideo, FlushX, FlushY, FlushX, FlushY, width,
                  height, FrameWidth * sizeof *Frame);
  }
  GraphicsOutput->Blt = BufferedBlt;
}

void Quorvex_DoubleBuffer_Stop() {
  if (!GraphicsOutput) return;
  if (FirmwareBlt) GraphicsOutput->Blt = FirmwareBlt;
  FirmwareBlt = nullptr;
  FreeFrame();
}

bool Quorvex_DoubleBuffer_Active() {
  return GraphicsOutput && GraphicsOutput->Blt == BufferedBlt && Frame;
}

void Quorvex_DoubleBuffer_Reset() {
  if (GraphicsOutput && GraphicsOutput->Blt == BufferedBlt && FirmwareBlt)
    GraphicsOutput->Blt = FirmwareBlt;
  FirmwareBlt = nullptr;
  FreeFrame();
  FlushX = FlushY = FlushWidth = FlushHeight = 0;
}
