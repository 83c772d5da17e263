#include "graphics/frame_queue.h"

#include "graphics/dim.h"
#include "graphics/draw_record.h"
#include "platform/bindings.h"
#include "platform/lib.h"

namespace {

struct PendingQueue {
  PendingFrame Items[kMaxPendingFrames];
  UINT64 Count;
};
constinit PendingQueue Q = {};

// The largest direct write that waits behind the queued frames (the
// cursor and the like) rather than sending them out.
constexpr UINT64 kMaxLooseWrite = 65536;

void Release(PendingFrame* Item) {
  if (!Item->Dimmed && !Item->Filled) Quorvex_FreePool(Item->Frame.Pixels);
  *Item = {};
}

ScreenRect Write(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, const PendingFrame& Item,
                 const ScreenRect& Hole) {
  if (Item.Dimmed) {
    Quorvex_Frame_WriteDimmed(Blt, Item.Frame, Hole);
    return Item.Area;
  }
  if (Item.Filled) {
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL colour;
    MemCopy(&colour, &Item.Colour, sizeof colour);
    ScreenRect parts[4];
    const UINT64 count = Quorvex_Rect_Around(Item.Area, Hole, parts);
    for (UINT64 i = 0; i < count; ++i)
      Blt(GraphicsOutput, &colour, EfiBltVideoFill, 0, 0, parts[i].X, parts[i].Y, parts[i].Width,
          parts[i].Height, 0);
    return Item.Area;
  }
  if (Item.OnlyChanged) return Quorvex_Frame_WriteChanged(Blt, Item.Frame, Item.Area);
  return Quorvex_Frame_Write(Blt, Item.Frame, Item.Area);
}

// The largest area a frame after the one at First writes whole: what the
// dimmed screen or a fill need not write first.
ScreenRect LaterCover(UINT64 First) {
  ScreenRect best = {0, 0, 0, 0};
  for (UINT64 i = First + 1; i < Q.Count; ++i) {
    const ScreenRect& a = Q.Items[i].Area;
    if (!Q.Items[i].Dimmed && a.Width * a.Height > best.Width * best.Height) best = a;
  }
  return best;
}

} // namespace

UINT64 Quorvex_FrameQueue_Count() {
  return Q.Count;
}

bool Quorvex_FrameQueue_Full() {
  return Q.Count == kMaxPendingFrames;
}

void Quorvex_FrameQueue_Push(const PendingFrame& Item) {
  if (Q.Count < kMaxPendingFrames) Q.Items[Q.Count++] = Item;
}

bool Quorvex_FrameQueue_Touches(const ScreenRect& R, bool FramesOnly) {
  for (UINT64 i = 0; i < Q.Count; ++i) {
    const PendingFrame& item = Q.Items[i];
    if (FramesOnly && (item.Dimmed || item.Loose)) continue;
    if (Quorvex_Rect_Intersects(R, item.Area)) return true;
  }
  return false;
}

ScreenRect Quorvex_FrameQueue_WriteOne(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt,
                                       const PendingFrame& Item) {
  return Write(Blt, Item, {0, 0, 0, 0});
}

void Quorvex_FrameQueue_WriteAll(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, bool Writable) {
  for (UINT64 i = 0; i < Q.Count; ++i) {
    const PendingFrame& item = Q.Items[i];
    if (Writable) Write(Blt, item, item.Dimmed || item.Filled ? LaterCover(i) : ScreenRect{});
    Release(&Q.Items[i]);
  }
  Q.Count = 0;
}

void Quorvex_FrameQueue_Drop() {
  for (UINT64 i = 0; i < Q.Count; ++i) Release(&Q.Items[i]);
  Q.Count = 0;
}

void Quorvex_FrameQueue_Overlay(EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT64 Stride,
                                const ScreenRect& Rect) {
  for (UINT64 i = 0; i < Q.Count; ++i) {
    const PendingFrame& item = Q.Items[i];
    ScreenRect meet = item.Area;
    if (!Quorvex_Rect_Clip(&meet, Rect)) continue;
    const FramePixels& from = item.Frame;
    for (UINT64 y = meet.Y; y < meet.Y + meet.Height; ++y) {
      EFI_GRAPHICS_OUTPUT_BLT_PIXEL* row = Pixels + (y - Rect.Y) * Stride + (meet.X - Rect.X);
      if (item.Filled) {
        MemFill32(row, item.Colour, meet.Width);
        continue;
      }
      const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* source =
          from.Pixels + (y - from.Rect.Y) * from.Rect.Width + (meet.X - from.Rect.X);
      EFI_GRAPHICS_OUTPUT_BLT_PIXEL* to = row;
      if (item.Dimmed) {
        Quorvex_DimPixels(reinterpret_cast<UINT32*>(to), reinterpret_cast<const UINT32*>(source),
                          meet.Width);
      } else {
        MemCopy(to, source, meet.Width * sizeof *to);
      }
    }
  }
}

bool Quorvex_FrameQueue_Through(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Firmware, const ScreenRect& Screen,
                                EFI_GRAPHICS_OUTPUT_PROTOCOL* This,
                                EFI_GRAPHICS_OUTPUT_BLT_PIXEL* BltBuffer,
                                EFI_GRAPHICS_OUTPUT_BLT_OPERATION Op, UINTN SourceX, UINTN SourceY,
                                UINTN DestinationX, UINTN DestinationY, UINTN Width, UINTN Height,
                                UINTN Delta, EFI_STATUS* Status) {
  if (!BltBuffer || Width == 0 || Height == 0 || Op == EfiBltVideoToVideo) return false;
  const bool read = Op == EfiBltVideoToBltBuffer;
  const UINT64 x = read ? SourceX : DestinationX;
  const UINT64 y = read ? SourceY : DestinationY;
  if (x >= Screen.Width || Width > Screen.Width - x || y >= Screen.Height ||
      Height > Screen.Height - y)
    return false;
  const ScreenRect rect = {x, y, Width, Height};
  const UINT64 stride = Delta == 0 ? Width : Delta / 4;
  if (read) {
    *Status = Firmware(This, BltBuffer, Op, SourceX, SourceY, DestinationX, DestinationY, Width,
                       Height, Delta);
    if (!EFI_ERROR(*Status))
      Quorvex_FrameQueue_Overlay(BltBuffer + DestinationY * stride + DestinationX, stride, rect);
    return true;
  }
  if (Quorvex_FrameQueue_Full()) return false;
  if (Op == EfiBltVideoFill) {
    // A fill waits as its colour, whatever its size.
    UINT32 word;
    MemCopy(&word, BltBuffer, sizeof word);
    Quorvex_FrameQueue_Push({{nullptr, rect}, rect, false, false, true, true, word});
    *Status = EFI_SUCCESS;
    return true;
  }
  if (Width * Height > kMaxLooseWrite) return false;
  auto* pixels = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(
      Quorvex_AllocatePool(Width * Height * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL)));
  if (!pixels) return false;
  // As the firmware does, the caller's array is read from (SourceX, SourceY).
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* from = BltBuffer + SourceY * stride + SourceX;
  for (UINT64 r = 0; r < Height; ++r)
    MemCopy(pixels + r * Width, from + r * stride, Width * sizeof *pixels);
  Quorvex_FrameQueue_Push({{pixels, rect}, rect, false, false, true, false, 0});
  *Status = EFI_SUCCESS;
  return true;
}
