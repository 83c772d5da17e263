// Off-screen composition. While buffering is on, the GOP instance's Blt entry
// points at BufferedBlt, which performs the four Blt operations against a
// pool frame covering the rectangle given to Start (or a larger frame given
// to StartFramed); Flush copies the rectangle to the screen with the
// firmware's own Blt.
//
// Positions are screen positions, and the clipping rules the drawing code
// relies on are those of a frame the size of the screen: copies between the
// caller's array and the frame skip the columns at or past the right edge;
// fills and frame-to-frame copies address the screen as one row-major array,
// so a rectangle running past the right edge continues on the next row;
// nothing lies past the bottom. Pixels outside the frame's rectangle are
// simply not kept: they could never reach the screen, and a read there
// leaves the caller's array as it was.
//
// The same routine also records instead of drawing (graphics/draw_record).
#include "graphics/double_buffer.h"

#include "graphics/draw_record.h"
#include "graphics/blt_record.h"
#include "graphics/dim.h"
#include "graphics/draw_util.h"
#include "graphics/frame_queue.h"
#include "graphics/frame_uniform.h"
#include "graphics/frame_write.h"
#include "graphics/graphics_internal.h"
#include "graphics/screen_log.h"
#include "platform/bindings.h"
#include "platform/lib.h"

namespace {

struct FrameState {
  EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT FirmwareBlt;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels;
  // Screen size the frame was made for, and the frame's rectangle on it.
  UINT64 ScreenW, ScreenH;
  UINT64 X, Y, Width, Height;
  // The flush rectangle.
  UINT64 FlushX, FlushY, FlushWidth, FlushHeight;
  bool Recording;
  // Where the frame is known to hold one colour.
  FrameUniform Uniform;
};
constinit FrameState F = {};

// Frames flushed while deferring wait in graphics/frame_queue until the
// next input read, so that all an input changes reaches the screen in one
// burst. The buffered Blt stays installed meanwhile, as a guard: a read
// where they wait sees them, a fill or small write joins them, anything
// else touching them writes them first.
constinit bool Deferring = false;

bool Touches(const ScreenRect& R, bool FramesOnly = false) {
  return Quorvex_FrameQueue_Touches(R, FramesOnly);
}

// True when the Blt call reads or writes where a waiting frame lands. A
// rectangle that runs past the right edge (continuing on the next rows)
// is taken as touching.
bool CallTouches(EFI_GRAPHICS_OUTPUT_BLT_OPERATION Op, UINTN SourceX, UINTN SourceY,
                 UINTN DestinationX, UINTN DestinationY, UINTN Width, UINTN Height) {
  auto rect = [&](UINT64 X, UINT64 Y) {
    if (X >= F.ScreenW || Width > F.ScreenW - X) return true;
    return Touches({X, Y, Width, Height});
  };
  switch (Op) {
  case EfiBltVideoToBltBuffer:
    return rect(SourceX, SourceY);
  case EfiBltVideoToVideo:
    return rect(SourceX, SourceY) || rect(DestinationX, DestinationY);
  default:
    return rect(DestinationX, DestinationY);
  }
}

UINT64 ScreenPixels() {
  return F.ScreenW * F.ScreenH;
}

// Row stride of the caller's array in pixels: Delta ÷ 4, where a Delta of 0
// means rows of Width pixels, as for the firmware's Blt.
UINT64 CallerStride(UINTN Width, UINTN Delta) {
  return Delta == 0 ? Width : Delta / 4;
}

// Columns of a row that lie left of the right edge when it starts at X.
UINT64 VisibleColumns(UINT64 X, UINT64 Width) {
  if (X >= F.ScreenW) return 0;
  const UINT64 room = F.ScreenW - X;
  return Width < room ? Width : room;
}

// Rows of a rectangle starting at row Y that lie above the bottom.
UINT64 VisibleRows(UINT64 Y, UINT64 Height) {
  if (Y >= F.ScreenH) return 0;
  const UINT64 room = F.ScreenH - Y;
  return Height < room ? Height : room;
}

// The part of the row span [X, X + Count) on screen row Y that the frame
// keeps: its first column and length (0 when none).
UINT64 KeptSpan(UINT64 Y, UINT64 X, UINT64 Count, UINT64* First) {
  if (Y < F.Y || Y - F.Y >= F.Height) return 0;
  const UINT64 start = X > F.X ? X : F.X;
  const UINT64 end = X + Count < F.X + F.Width ? X + Count : F.X + F.Width;
  if (start >= end) return 0;
  *First = start;
  return end - start;
}

EFI_GRAPHICS_OUTPUT_BLT_PIXEL* FrameAt(UINT64 X, UINT64 Y) {
  return F.Pixels + (Y - F.Y) * F.Width + (X - F.X);
}

// The part of the rectangle (X, Y, Columns, Rows) that the frame keeps, as
// the first column, first row and size; false when none.
bool KeptRect(UINT64 X, UINT64 Y, UINT64 Columns, UINT64 Rows, ScreenRect* Kept) {
  ScreenRect r = {X, Y, Columns, Rows};
  if (!Quorvex_Rect_Clip(&r, {F.X, F.Y, F.Width, F.Height})) return false;
  *Kept = r;
  return true;
}

// Calls Piece(y, x, count) for the screen-row pieces of the linear run of
// Count pixels starting at (X, Y), stopping at the screen's end.
template <typename Fn> void ForLinearRun(UINT64 X, UINT64 Y, UINT64 Count, Fn&& Piece) {
  UINT64 row;
  UINT64 index;
  if (__builtin_mul_overflow(Y, F.ScreenW, &row) || __builtin_add_overflow(row, X, &index)) return;
  const UINT64 total = ScreenPixels();
  if (index >= total) return;
  UINT64 left = Count < total - index ? Count : total - index;
  while (left > 0) {
    const UINT64 y = index / F.ScreenW;
    const UINT64 x = index % F.ScreenW;
    const UINT64 piece = left < F.ScreenW - x ? left : F.ScreenW - x;
    Piece(y, x, piece);
    index += piece;
    left -= piece;
  }
}

void Fill(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Colour, UINTN X, UINTN Y, UINTN Width,
          UINTN Height) {
  if (Width == 0) return;
  UINT32 word;
  MemCopy(&word, Colour, sizeof word);
  if (X < F.ScreenW && Width <= F.ScreenW - X) {
    // Within the width no row continues on the next one.
    ScreenRect k;
    if (!KeptRect(X, Y, Width, VisibleRows(Y, Height), &k)) return;
    if (Quorvex_FrameUniform_Holds(F.Uniform, k, word)) return;
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL* to = FrameAt(k.X, k.Y);
    for (UINT64 j = 0; j < k.Height; ++j, to += F.Width) MemFill32(to, word, k.Width);
    Quorvex_FrameUniform_Filled(&F.Uniform, k, word, F.Width * F.Height / 4);
    return;
  }
  F.Uniform.Valid = false;
  for (UINT64 j = 0; j < Height; ++j) {
    UINT64 row;
    if (__builtin_add_overflow(Y, j, &row) || row >= F.ScreenH) break;
    ForLinearRun(X, row, Width, [&](UINT64 y, UINT64 x, UINT64 n) {
      UINT64 first = 0;
      const UINT64 kept = KeptSpan(y, x, n, &first);
      if (kept) MemFill32(FrameAt(first, y), word, kept);
    });
  }
}

void FrameToCaller(EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Caller, UINTN SourceX, UINTN SourceY, UINTN Width,
                   UINTN Height, UINTN Delta) {
  ScreenRect k;
  if (!KeptRect(SourceX, SourceY, VisibleColumns(SourceX, Width), VisibleRows(SourceY, Height), &k))
    return;
  const UINT64 stride = CallerStride(Width, Delta);
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* to = Caller + (k.Y - SourceY) * stride + (k.X - SourceX);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* from = FrameAt(k.X, k.Y);
  for (UINT64 j = 0; j < k.Height; ++j, to += stride, from += F.Width)
    __builtin_memcpy(to, from, k.Width * sizeof *from);
}

void CallerToFrame(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Caller, UINTN DestinationX,
                   UINTN DestinationY, UINTN Width, UINTN Height, UINTN Delta) {
  ScreenRect k;
  if (!KeptRect(DestinationX, DestinationY, VisibleColumns(DestinationX, Width),
                VisibleRows(DestinationY, Height), &k))
    return;
  const UINT64 stride = CallerStride(Width, Delta);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* from =
      Caller + (k.Y - DestinationY) * stride + (k.X - DestinationX);
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* to = FrameAt(k.X, k.Y);
  for (UINT64 j = 0; j < k.Height; ++j, from += stride, to += F.Width)
    __builtin_memcpy(to, from, k.Width * sizeof *from);
  Quorvex_FrameUniform_Written(&F.Uniform, k);
}

// Frame to frame, rows in increasing order and, within a row, pixels in
// increasing order: a destination that overlaps the source further right
// repeats the source's first pixels, exactly as a pixel-by-pixel copy
// would. A pixel whose source the frame does not keep is left as it is.
void FrameToFrame(UINTN SourceX, UINTN SourceY, UINTN DestinationX, UINTN DestinationY, UINTN Width,
                  UINTN Height) {
  if (Width == 0) return;
  F.Uniform.Valid = false;
  const UINT64 total = ScreenPixels();
  for (UINT64 j = 0; j < Height; ++j) {
    UINT64 s;
    UINT64 d;
    if (__builtin_add_overflow(SourceY, j, &s) || __builtin_add_overflow(DestinationY, j, &d) ||
        __builtin_mul_overflow(s, F.ScreenW, &s) || __builtin_mul_overflow(d, F.ScreenW, &d) ||
        __builtin_add_overflow(s, SourceX, &s) || __builtin_add_overflow(d, DestinationX, &d) ||
        s >= total || d >= total)
      break;
    UINT64 n = Width;
    if (n > total - s) n = total - s;
    if (n > total - d) n = total - d;
    for (UINT64 k = 0; k < n; ++k) {
      UINT64 first = 0;
      const UINT64 sy = (s + k) / F.ScreenW;
      const UINT64 sx = (s + k) % F.ScreenW;
      const UINT64 dy = (d + k) / F.ScreenW;
      const UINT64 dx = (d + k) % F.ScreenW;
      if (KeptSpan(sy, sx, 1, &first) && KeptSpan(dy, dx, 1, &first))
        *FrameAt(dx, dy) = *FrameAt(sx, sy);
    }
  }
}

EFI_STATUS EFIAPI BufferedBlt(EFI_GRAPHICS_OUTPUT_PROTOCOL* This,
                              EFI_GRAPHICS_OUTPUT_BLT_PIXEL* BltBuffer,
                              EFI_GRAPHICS_OUTPUT_BLT_OPERATION Operation, UINTN SourceX,
                              UINTN SourceY, UINTN DestinationX, UINTN DestinationY, UINTN Width,
                              UINTN Height, UINTN Delta) {
  const bool handled = Operation <= EfiBltVideoToVideo;
  if (!handled || (!F.Pixels && !F.Recording)) {
    const EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT firmware = F.FirmwareBlt;
    if (!firmware) return EFI_UNSUPPORTED;
    // Where frames wait, a read sees them over the screen and a small
    // write waits behind them; anything else (or frames made for another
    // screen size) sends them out first.
    if (handled &&
        CallTouches(Operation, SourceX, SourceY, DestinationX, DestinationY, Width, Height)) {
      EFI_STATUS status = EFI_SUCCESS;
      if (F.ScreenW == ScreenWidth && F.ScreenH == ScreenHeight &&
          Quorvex_FrameQueue_Through(firmware, {0, 0, F.ScreenW, F.ScreenH}, This, BltBuffer,
                                     Operation, SourceX, SourceY, DestinationX, DestinationY, Width,
                                     Height, Delta, &status))
        return status;
      Quorvex_DoubleBuffer_Present();
    }
    return firmware(This, BltBuffer, Operation, SourceX, SourceY, DestinationX, DestinationY, Width,
                    Height, Delta);
  }
  if (!BltBuffer && Operation != EfiBltVideoToVideo) return EFI_INVALID_PARAMETER;
  if (F.Recording) {
    Quorvex_BltRecord({F.ScreenW, F.ScreenH}, BltBuffer, Operation, SourceX, SourceY, DestinationX,
                      DestinationY, Width, Height, Delta);
    return EFI_SUCCESS;
  }
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
  if (F.Pixels) Quorvex_FreePool(F.Pixels);
  F.Pixels = nullptr;
  F.Uniform = {};
  F.X = F.Y = F.Width = F.Height = 0;
}

// Cuts (X, Y, Width, Height) to the screen; an empty result is a frame of
// no pixels.
ScreenRect OnScreen(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  if (X >= ScreenWidth || Y >= ScreenHeight) return {0, 0, 0, 0};
  return {X, Y, Width < ScreenWidth - X ? Width : ScreenWidth - X,
          Height < ScreenHeight - Y ? Height : ScreenHeight - Y};
}

// The flush rectangle cut to the frame (the firmware is never asked to read
// past it).
bool FlushArea(ScreenRect* Area) {
  ScreenRect area = {F.FlushX, F.FlushY, F.FlushWidth, F.FlushHeight};
  if (area.X >= F.ScreenW || area.Y >= F.ScreenH) return false;
  area.Width = VisibleColumns(area.X, area.Width);
  area.Height = VisibleRows(area.Y, area.Height);
  if (!Quorvex_Rect_Clip(&area, {F.X, F.Y, F.Width, F.Height})) return false;
  *Area = area;
  return true;
}

// The buffered Blt goes when nothing needs it: no frame, no record, nothing
// waiting.
void UninstallWhenIdle() {
  if (F.Pixels || F.Recording || Quorvex_FrameQueue_Count() || !GraphicsOutput) return;
  if (F.FirmwareBlt && GraphicsOutput->Blt == BufferedBlt) GraphicsOutput->Blt = F.FirmwareBlt;
  F.FirmwareBlt = nullptr;
}

// The firmware's routine is the instance's own while frames are written.
class FirmwareBltInPlace {
public:
  FirmwareBltInPlace() : saved_(GraphicsOutput->Blt) { GraphicsOutput->Blt = F.FirmwareBlt; }
  ~FirmwareBltInPlace() { GraphicsOutput->Blt = saved_; }
  FirmwareBltInPlace(const FirmwareBltInPlace&) = delete;
  FirmwareBltInPlace& operator=(const FirmwareBltInPlace&) = delete;

private:
  EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT saved_;
};

// Writes one frame with the firmware's routine; returns what it wrote.
ScreenRect WriteItem(const PendingFrame& Item) {
  FirmwareBltInPlace firmware;
  return Quorvex_FrameQueue_WriteOne(F.FirmwareBlt, Item);
}

// Writes every waiting frame in order and lets it go. The screen log heard
// of each one's writes when it was flushed.
void WritePending() {
  const bool writable =
      GraphicsOutput && F.FirmwareBlt && F.ScreenW == ScreenWidth && F.ScreenH == ScreenHeight;
  if (!writable) {
    Quorvex_FrameQueue_Drop();
    return;
  }
  FirmwareBltInPlace firmware;
  Quorvex_FrameQueue_WriteAll(F.FirmwareBlt, true);
}

void DropPending() {
  Quorvex_FrameQueue_Drop();
}

// Flushes the current frame: at once, or handed to the queue (the frame's
// pixels go with it; the next Start takes a fresh frame).
void FlushFrame(bool OnlyChanged) {
  ScreenRect area;
  if (!F.Pixels || !FlushArea(&area)) return;
  const FramePixels frame = {F.Pixels, {F.X, F.Y, F.Width, F.Height}};
  const PendingFrame item = {frame, area, OnlyChanged, false, false, false, 0};
  if (!Deferring) {
    const ScreenRect written = WriteItem(item);
    Quorvex_ScreenLog_Touch(written.X, written.Y, written.Width, written.Height);
    return;
  }
  if (Quorvex_FrameQueue_Full()) WritePending();
  Quorvex_FrameQueue_Push(item);
  // Logged now, while the watches that were muted for this flush still
  // are: the whole area, as the changed part is known only when written.
  Quorvex_ScreenLog_Touch(area.X, area.Y, area.Width, area.Height);
  F.Pixels = nullptr;
  F.X = F.Y = F.Width = F.Height = 0;
  F.Uniform = {};
}

} // namespace

EFI_STATUS Quorvex_DoubleBuffer_StartFramed(UINT64 FrameX, UINT64 FrameY, UINT64 FrameWidth,
                                            UINT64 FrameHeight, UINT64 X, UINT64 Y, UINT64 Width,
                                            UINT64 Height) {
  if (!GraphicsOutput || F.Recording) return EFI_INVALID_PARAMETER;
  // A Start while buffering is already on keeps the real firmware routine
  // (recording our own routine would make Flush and Stop lose the screen).
  if (GraphicsOutput->Blt != BufferedBlt) F.FirmwareBlt = GraphicsOutput->Blt;
  const ScreenRect frame = OnScreen(FrameX, FrameY, FrameWidth, FrameHeight);
  const bool same = F.Pixels && F.ScreenW == ScreenWidth && F.ScreenH == ScreenHeight &&
                    F.X == frame.X && F.Y == frame.Y && F.Width == frame.Width &&
                    F.Height == frame.Height;
  if (!same) {
    FreeFrame();
    // Frames waiting for another screen size are of no use any more. A
    // frame waiting where the new one lies goes out first: its pixels are
    // not held twice, and a look drawn twice in one input (a key pressed,
    // then released) is seen. The dimmed screen and loose entries (fills,
    // the cursor) may stay: the frame loads them when it loads the screen.
    if (F.ScreenW != ScreenWidth || F.ScreenH != ScreenHeight) {
      DropPending();
    } else if (Touches(frame, true)) {
      WritePending();
    }
    auto fail = [](EFI_STATUS Status) {
      // Still the guard when frames wait.
      GraphicsOutput->Blt = Quorvex_FrameQueue_Count() ? BufferedBlt : F.FirmwareBlt;
      return Status;
    };
    if (!DrawableExtent(ScreenWidth, ScreenHeight)) return fail(EFI_INVALID_PARAMETER);
    const UINT64 pixels = frame.Width * frame.Height;
    F.Pixels = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(
        Quorvex_AllocatePool((pixels ? pixels : 1) * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL)));
    if (!F.Pixels) return fail(EFI_OUT_OF_RESOURCES);
    F.ScreenW = ScreenWidth;
    F.ScreenH = ScreenHeight;
    F.X = frame.X;
    F.Y = frame.Y;
    F.Width = frame.Width;
    F.Height = frame.Height;
  }
  F.FlushX = X;
  F.FlushY = Y;
  F.FlushWidth = Width;
  F.FlushHeight = Height;
  GraphicsOutput->Blt = BufferedBlt;
  return EFI_SUCCESS;
}

EFI_STATUS Quorvex_DoubleBuffer_Start(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  return Quorvex_DoubleBuffer_StartFramed(X, Y, Width, Height, X, Y, Width, Height);
}

void Quorvex_DoubleBuffer_Flush() {
  if (!GraphicsOutput || !F.FirmwareBlt || F.Recording) return;
  FlushFrame(false);
}

namespace {

// Fills R (inside the frame) with what the screen shows there; the frames
// still waiting are part of that.
void LoadRect(const ScreenRect& R) {
  if (R.Width == 0 || R.Height == 0) return;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* at = FrameAt(R.X, R.Y);
  F.FirmwareBlt(GraphicsOutput, at, EfiBltVideoToBltBuffer, R.X, R.Y, 0, 0, R.Width, R.Height,
                F.Width * sizeof *F.Pixels);
  Quorvex_FrameQueue_Overlay(at, F.Width, R);
  Quorvex_FrameUniform_Written(&F.Uniform, R);
}

bool Loadable() {
  return GraphicsOutput && F.FirmwareBlt && !F.Recording && F.Pixels && F.Width != 0 &&
         F.Height != 0;
}

} // namespace

void Quorvex_DoubleBuffer_LoadScreen() {
  if (Loadable()) LoadRect({F.X, F.Y, F.Width, F.Height});
}

void Quorvex_DoubleBuffer_LoadScreenAround(const ScreenRect& Inner) {
  if (!Loadable()) return;
  ScreenRect parts[4];
  const UINT64 count = Quorvex_Rect_Around({F.X, F.Y, F.Width, F.Height}, Inner, parts);
  for (UINT64 i = 0; i < count; ++i) LoadRect(parts[i]);
}

void Quorvex_DoubleBuffer_FlushChanged() {
  if (!GraphicsOutput || !F.FirmwareBlt || F.Recording) return;
  FlushFrame(true);
}

void Quorvex_DoubleBuffer_Stop() {
  if (!GraphicsOutput || F.Recording) return;
  FreeFrame();
  if (Quorvex_FrameQueue_Count()) {
    // The guard stays until the frames waiting are written.
    if (F.FirmwareBlt) GraphicsOutput->Blt = BufferedBlt;
    return;
  }
  if (F.FirmwareBlt) GraphicsOutput->Blt = F.FirmwareBlt;
  F.FirmwareBlt = nullptr;
}

bool Quorvex_DoubleBuffer_Reaches(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  if (!Quorvex_DoubleBuffer_Active()) return true;
  if (X >= F.ScreenW || Y >= F.ScreenH) return false;
  const ScreenRect r = {X, Y, VisibleColumns(X, Width), VisibleRows(Y, Height)};
  return Quorvex_Rect_Intersects(r, {F.X, F.Y, F.Width, F.Height});
}

bool Quorvex_DoubleBuffer_FrameArea(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                    EFI_GRAPHICS_OUTPUT_BLT_PIXEL** Pixels, UINT64* Stride) {
  if (!Quorvex_DoubleBuffer_Active() || F.Recording || Width == 0 || Height == 0) return false;
  if (X < F.X || Y < F.Y || X - F.X > F.Width || Width > F.Width - (X - F.X) ||
      Y - F.Y > F.Height || Height > F.Height - (Y - F.Y))
    return false;
  *Pixels = FrameAt(X, Y);
  *Stride = F.Width;
  return true;
}

void Quorvex_DoubleBuffer_FrameWritten(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  Quorvex_FrameUniform_Written(&F.Uniform, {X, Y, Width, Height});
}

bool Quorvex_DoubleBuffer_Active() {
  return GraphicsOutput && GraphicsOutput->Blt == BufferedBlt && F.Pixels;
}

bool Quorvex_DoubleBuffer_StartRecording() {
  if (!GraphicsOutput || F.Recording || F.Pixels) return false;
  // Without frames waiting the Blt is the firmware's; with them it is
  // already the guard.
  if (GraphicsOutput->Blt != BufferedBlt) F.FirmwareBlt = GraphicsOutput->Blt;
  if (!F.FirmwareBlt) return false;
  F.ScreenW = ScreenWidth;
  F.ScreenH = ScreenHeight;
  F.Recording = true;
  GraphicsOutput->Blt = BufferedBlt;
  return true;
}

void Quorvex_DoubleBuffer_StopRecording() {
  if (!F.Recording) return;
  F.Recording = false;
  if (!GraphicsOutput) return;
  if (Quorvex_FrameQueue_Count()) return; // the guard stays
  GraphicsOutput->Blt = F.FirmwareBlt;
  F.FirmwareBlt = nullptr;
}

void Quorvex_DoubleBuffer_SetDeferred(bool On) {
  if (!On) Quorvex_DoubleBuffer_Present();
  Deferring = On;
}

bool Quorvex_DoubleBuffer_DeferDimmed(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Saved, UINT64 Width,
                                      UINT64 Height) {
  if (!Deferring || !GraphicsOutput || !Saved || F.Pixels || F.Recording) return false;
  if (Width != ScreenWidth || Height != ScreenHeight) return false;
  if (GraphicsOutput->Blt != BufferedBlt) F.FirmwareBlt = GraphicsOutput->Blt;
  if (!F.FirmwareBlt) return false;
  // The dimmed screen covers all that waits: none of it needs writing.
  Quorvex_FrameQueue_Drop();
  F.ScreenW = ScreenWidth;
  F.ScreenH = ScreenHeight;
  const ScreenRect screen = {0, 0, Width, Height};
  Quorvex_FrameQueue_Push({{const_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(Saved), screen},
                           screen,
                           false,
                           true,
                           false,
                           false,
                           0});
  Quorvex_ScreenLog_Touch(0, 0, Width, Height);
  GraphicsOutput->Blt = BufferedBlt;
  return true;
}

void Quorvex_DoubleBuffer_Present() {
  if (Quorvex_FrameQueue_Count() == 0) return;
  WritePending();
  UninstallWhenIdle();
}

void Quorvex_DoubleBuffer_Reset() {
  DropPending();
  Deferring = false;
  if (GraphicsOutput && GraphicsOutput->Blt == BufferedBlt && F.FirmwareBlt)
    GraphicsOutput->Blt = F.FirmwareBlt;
  FreeFrame();
  F = {};
}
