#include "graphics/frame_write.h"

#include "graphics/dim.h"
#include "graphics/draw_record.h"

#include "platform/bindings.h"
#include "platform/lib.h"

namespace {

const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* At(const FramePixels& Frame, UINT64 X, UINT64 Y) {
  return Frame.Pixels + (Y - Frame.Rect.Y) * Frame.Rect.Width + (X - Frame.Rect.X);
}

void WriteRect(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, const FramePixels& Frame, UINT64 Left,
               UINT64 Top, UINT64 Columns, UINT64 Rows) {
  if (Columns == 0 || Rows == 0) return;
  Blt(GraphicsOutput, const_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(At(Frame, Left, Top)),
      EfiBltBufferToVideo, 0, 0, Left, Top, Columns, Rows,
      Frame.Rect.Width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
}

struct PixelRun {
  UINT64 Start, End;
};

// Changed stretches of one row, found eight pixels at a time: a stretch
// runs over consecutive blocks of eight that hold a change, and is cut to
// its first and last changed pixel. Stretches past kMaxRuns are joined
// into the last one.
constexpr UINT64 kMaxRuns = 16;
constexpr UINT64 kBlock = 8;
struct ChangedRuns {
  PixelRun Run[kMaxRuns];
  UINT64 Count;
  bool More;
};

inline bool PixelDiffers(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* A,
                         const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* B, UINT64 I) {
  UINT32 a;
  UINT32 b;
  __builtin_memcpy(&a, A + I, sizeof a);
  __builtin_memcpy(&b, B + I, sizeof b);
  return a != b;
}

// True when any pixel of [From, From + Count) differs (Count <= kBlock).
inline bool BlockDiffers(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* A,
                         const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* B, UINT64 From, UINT64 Count) {
  if (Count == kBlock) return __builtin_memcmp(A + From, B + From, kBlock * sizeof *A) != 0;
  for (UINT64 i = From; i < From + Count; ++i)
    if (PixelDiffers(A, B, i)) return true;
  return false;
}

void FindChangedRuns(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Drawn,
                     const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Shown, UINT64 Count, ChangedRuns* Runs) {
  Runs->Count = 0;
  Runs->More = false;
  UINT64 block = 0;
  while (block < Count) {
    const UINT64 size = Count - block < kBlock ? Count - block : kBlock;
    if (!BlockDiffers(Drawn, Shown, block, size)) {
      block += size;
      continue;
    }
    UINT64 start = block;
    while (!PixelDiffers(Drawn, Shown, start)) ++start;
    UINT64 end = block + size;
    while (end < Count) {
      const UINT64 next = Count - end < kBlock ? Count - end : kBlock;
      if (!BlockDiffers(Drawn, Shown, end, next)) break;
      end += next;
    }
    block = end;
    while (!PixelDiffers(Drawn, Shown, end - 1)) --end;
    if (Runs->Count == kMaxRuns) {
      Runs->Run[kMaxRuns - 1].End = end;
      Runs->More = true;
    } else {
      Runs->Run[Runs->Count++] = {start, end};
    }
  }
}

} // namespace

ScreenRect Quorvex_Frame_Write(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, const FramePixels& Frame,
                               const ScreenRect& Area) {
  WriteRect(Blt, Frame, Area.X, Area.Y, Area.Width, Area.Height);
  return Area;
}

ScreenRect Quorvex_Frame_WriteChanged(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt,
                                      const FramePixels& Frame, const ScreenRect& Area) {
  QUORVEX_POOL_ARRAY(EFI_GRAPHICS_OUTPUT_BLT_PIXEL, shown, Area.Width);
  // Rows of equal changed columns are written as one rectangle; a change
  // of columns (or an unchanged row) closes it.
  UINT64 openLeft = 0;
  UINT64 openColumns = 0;
  UINT64 openTop = 0;
  UINT64 openRows = 0;
  ScreenRect written = {0, 0, 0, 0};
  auto write = [&](UINT64 Left, UINT64 Top, UINT64 Columns, UINT64 Rows) {
    WriteRect(Blt, Frame, Left, Top, Columns, Rows);
    written = Quorvex_Rect_Union(written, {Left, Top, Columns, Rows});
  };
  auto close = [&]() {
    write(openLeft, openTop, openColumns, openRows);
    openRows = 0;
  };
  for (UINT64 y = Area.Y; y < Area.Y + Area.Height; ++y) {
    const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* row = At(Frame, Area.X, y);
    const bool read = shown && !EFI_ERROR(Blt(GraphicsOutput, shown.get(), EfiBltVideoToBltBuffer,
                                              Area.X, y, 0, 0, Area.Width, 1, 0));
    // A row that cannot be read back is written whole.
    ChangedRuns runs = {};
    if (read) {
      FindChangedRuns(row, shown.get(), Area.Width, &runs);
    } else {
      runs = {{{0, Area.Width}}, 1, false};
    }
    // Only a row of one run may continue the open rectangle.
    const bool single = runs.Count == 1 && !runs.More;
    if (openRows && !(single && openLeft == Area.X + runs.Run[0].Start &&
                      openColumns == runs.Run[0].End - runs.Run[0].Start)) {
      close();
    }
    if (single) {
      if (openRows) {
        ++openRows;
      } else {
        openLeft = Area.X + runs.Run[0].Start;
        openColumns = runs.Run[0].End - runs.Run[0].Start;
        openTop = y;
        openRows = 1;
      }
      continue;
    }
    for (UINT64 i = 0; i < runs.Count; ++i)
      write(Area.X + runs.Run[i].Start, y, runs.Run[i].End - runs.Run[i].Start, 1);
  }
  if (openRows) close();
  return written;
}

namespace {

// The dimmed screen goes out in bands of rows through this scratch.
constexpr UINT64 kDimScratchPixels = 16384;
constinit UINT32 DimScratch[kDimScratchPixels] = {};

void WriteDimmedPiece(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, const UINT32* From, UINT64 X, UINT64 Y,
                      UINT64 Columns, UINT64 Rows, UINT64 Stride) {
  for (UINT64 r = 0; r < Rows; ++r)
    Quorvex_DimPixels(DimScratch + r * Columns, From + r * Stride, Columns);
  Blt(GraphicsOutput, reinterpret_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(DimScratch),
      EfiBltBufferToVideo, 0, 0, X, Y, Columns, Rows,
      Columns * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
}

// Columns [Left, Right) of rows [Top, Bottom) of the saved screen (rows
// of Width), dimmed, in bands that fit the scratch; rows wider than the
// scratch go out in pieces.
void WriteDimmedColumns(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, const UINT32* Saved, UINT64 Width,
                        UINT64 Left, UINT64 Right, UINT64 Top, UINT64 Bottom) {
  if (Left >= Right || Top >= Bottom) return;
  const UINT64 columns = Right - Left;
  if (columns <= kDimScratchPixels) {
    const UINT64 bandRows = kDimScratchPixels / columns;
    for (UINT64 top = Top; top < Bottom; top += bandRows) {
      const UINT64 rows = Bottom - top < bandRows ? Bottom - top : bandRows;
      WriteDimmedPiece(Blt, Saved + top * Width + Left, Left, top, columns, rows, Width);
    }
    return;
  }
  for (UINT64 y = Top; y < Bottom; ++y)
    for (UINT64 x = Left; x < Right; x += kDimScratchPixels)
      WriteDimmedPiece(Blt, Saved + y * Width + x, x, y,
                       Right - x < kDimScratchPixels ? Right - x : kDimScratchPixels, 1, Width);
}

} // namespace

void Quorvex_Frame_WriteDimmed(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, const FramePixels& Saved,
                               const ScreenRect& Skip) {
  const UINT64 width = Saved.Rect.Width;
  const UINT64 height = Saved.Rect.Height;
  const UINT32* saved = reinterpret_cast<const UINT32*>(Saved.Pixels);
  ScreenRect parts[4];
  const UINT64 count = Quorvex_Rect_Around({0, 0, width, height}, Skip, parts);
  for (UINT64 i = 0; i < count; ++i)
    WriteDimmedColumns(Blt, saved, width, parts[i].X, parts[i].X + parts[i].Width, parts[i].Y,
                       parts[i].Y + parts[i].Height);
}
