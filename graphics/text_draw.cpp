// Glyph-based text drawing. Quorvex_Font_Draw blends one glyph's coverage map
// between a foreground and a background (or the pixels already there);
// Quorvex_DrawString lays a string out in a box and Quorvex_SplitTextLines
// cuts a text into box-sized pages, both following the one line-breaking
// routine of line_break.cpp.
//
// A glyph whose cell lies inside the off-screen frame is blended where it
// lies. Any other is blended in one reused scratch array and written with a
// single Blt (two when the background is transparent and the cell is read
// back first).
#include "graphics/text_draw.h"

#include "platform/bindings.h"
#include "graphics/double_buffer.h"
#include "graphics/draw_record.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/line_break.h"
#include "platform/lib.h"

namespace {

// Scratch for one glyph cell; every glyph of the embedded fonts fits, and a
// larger one takes a pool array for the duration of the call.
constexpr UINTN kGlyphScratchPixels = 128 * 128;
constinit EFI_GRAPHICS_OUTPUT_BLT_PIXEL GlyphScratch[kGlyphScratchPixels] = {};

inline UINT8 Blend(UINT32 Ink, UINT32 Back, UINT32 Coverage) {
  return static_cast<UINT8>((Ink * Coverage + (255 - Coverage) * Back) / 255);
}

// The blended pixel for every coverage value between one ink and one
// background pixel (its reserved byte kept, as the blend keeps it), for a
// few pairs at a time: text is drawn in long runs of the same two colours,
// so a glyph costs one lookup per pixel instead of three divisions.
struct BlendTable {
  bool Valid;
  UINT32 Ink;
  UINT32 Back;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL Pixel[256];
};
constexpr UINT32 kBlendTables = 4;
struct BlendTables {
  BlendTable Table[kBlendTables];
  UINT32 Next;
};
constinit BlendTables Blends = {};

const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* BlendTableFor(EFI_GRAPHICS_OUTPUT_BLT_PIXEL Ink,
                                                   EFI_GRAPHICS_OUTPUT_BLT_PIXEL Back) {
  const UINT32 ink = PixelWord(Ink) & 0x00FFFFFFu;
  const UINT32 back = PixelWord(Back);
  for (const BlendTable& t : Blends.Table)
    if (t.Valid && t.Ink == ink && t.Back == back) return t.Pixel;
  BlendTable& t = Blends.Table[Blends.Next];
  Blends.Next = (Blends.Next + 1) % kBlendTables;
  t.Pixel[0] = Back;
  for (UINT32 a = 1; a < 256; ++a)
    t.Pixel[a] = {Blend(Ink.Blue, Back.Blue, a), Blend(Ink.Green, Back.Green, a),
                  Blend(Ink.Red, Back.Red, a), Back.Reserved};
  t.Ink = ink;
  t.Back = back;
  t.Valid = true;
  return t.Pixel;
}

// While recording, a glyph is its coverage map, colours and place: exactly
// what decides the pixels it would blend.
void RecordGlyph(const UINT8* Coverage, UINT32 Width, UINT32 Height, UINT32 Pitch, UINT64 X,
                 UINT64 Y, EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground,
                 EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background) {
  const UINT64 words[5] = {X, Y, (static_cast<UINT64>(Width) << 32) | Height, PixelWord(Foreground),
                           PixelWord(Background)};
  Quorvex_DrawRecord_Words(words, sizeof words);
  for (UINT32 r = 0; r < Height; ++r)
    Quorvex_DrawRecord_Words(Coverage + static_cast<UINTN>(r) * Pitch, Width);
  // Cut as the Blt of the cell would be: columns at the right edge, rows
  // at the bottom.
  if (X >= ScreenWidth || Y >= ScreenHeight) return;
  Quorvex_DrawRecord_Area(X, Y, Width < ScreenWidth - X ? Width : ScreenWidth - X,
                          Height < ScreenHeight - Y ? Height : ScreenHeight - Y);
}

// Calls Visit(glyph, pen, line top) for every glyph DrawString draws of
// Text in a box Width x Height; false when a glyph is left out because its
// line does not fit.
template <typename F> bool ForEachGlyph(const CHAR16* Text, UINT64 Width, UINT64 Height, F Visit) {
  const UINT64 lineHeight = GlyphLineHeight;
  UINT64 line = 0;
  TextLayoutCursor cursor;
  TextLayoutStep step;
  Quorvex_TextLayout_Start(&cursor, Text, Width);
  while (Quorvex_TextLayout_Next(&cursor, &step)) {
    line += lineHeight * step.Breaks;
    if (step.IsMark || step.Glyph == 0) continue;
    // The last line that fits is the one whose top is at most Height − LH.
    if (line + lineHeight > Height) return false;
    Visit(step, line);
  }
  return true;
}

// While recording, a string is what the layout makes of it: each glyph
// with its place, in the colours and font given. The text is read exactly
// as far as drawing reads it. The recorded area is where the glyphs land (a
// cell is as wide as its glyph's advance and one line high).
void RecordString(const CHAR16* Text, EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground,
                  EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background, UINT64 X, UINT64 Y, UINT64 Width,
                  UINT64 Height) {
  const UINT64 words[6] = {reinterpret_cast<UINT64>(GlyphFont),
                           GlyphLineHeight,
                           PixelWord(Foreground),
                           PixelWord(Background),
                           X,
                           Y};
  UINT64 hash = Quorvex_DrawRecord_HashOf(words, sizeof words, 0);
  UINT64 right = 0;
  UINT64 bottom = 0;
  ForEachGlyph(Text, Width, Height, [&](const TextLayoutStep& Step, UINT64 Line) {
    const UINT64 glyph[2] = {Step.Glyph | (Step.Pen << 16), Line};
    hash = Quorvex_DrawRecord_HashOf(glyph, sizeof glyph, hash);
    if (Step.Pen + Step.Advance > right) right = Step.Pen + Step.Advance;
    bottom = Line + GlyphLineHeight;
  });
  Quorvex_DrawRecord_Words(&hash, sizeof hash);
  if (right == 0 || X >= ScreenWidth || Y >= ScreenHeight) return;
  Quorvex_DrawRecord_Area(X, Y, right < ScreenWidth - X ? right : ScreenWidth - X,
                          bottom < ScreenHeight - Y ? bottom : ScreenHeight - Y);
}

// A glyph's coverage map, and the pixels of its cell (rows Stride apart).
struct GlyphMap {
  const UINT8* Coverage;
  UINT32 Pitch;
  UINT32 Width;
  UINT32 Height;
};
struct CellPixels {
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels;
  UINT64 Stride;
};

// Blends the glyph into the cell: over what the cell holds (a transparent
// background) or between the ink and the background.
void BlendCell(const GlyphMap& Map, const CellPixels& Cell,
               EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground, EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background) {
  const UINT32 inkB = Foreground.Blue;
  const UINT32 inkG = Foreground.Green;
  const UINT32 inkR = Foreground.Red;
  if (Background.Reserved == 0) {
    const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* table = BlendTableFor(Foreground, Background);
    for (UINT32 r = 0; r < Map.Height; ++r) {
      const UINT8* row = Map.Coverage + static_cast<UINTN>(r) * Map.Pitch;
      EFI_GRAPHICS_OUTPUT_BLT_PIXEL* out = Cell.Pixels + r * Cell.Stride;
      for (UINT32 c = 0; c < Map.Width; ++c) out[c] = table[row[c]];
    }
    return;
  }
  // Pixels of the cell's background colour (when its corners agree, the
  // usual one-colour background) blend through a table; others one by one.
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* first = Cell.Pixels;
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* last =
      Cell.Pixels + (Map.Height - 1) * Cell.Stride + (Map.Width - 1);
  const UINT32 back = PixelWord(*first);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* table =
      PixelWord(*last) == back ? BlendTableFor(Foreground, *first) : nullptr;
  for (UINT32 r = 0; r < Map.Height; ++r) {
    const UINT8* row = Map.Coverage + static_cast<UINTN>(r) * Map.Pitch;
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL* out = Cell.Pixels + r * Cell.Stride;
    for (UINT32 c = 0; c < Map.Width; ++c) {
      const UINT32 a = row[c];
      if (a == 0) continue;
      if (table && PixelWord(out[c]) == back) {
        out[c] = table[a];
        continue;
      }
      if (a == 255) {
        out[c].Blue = static_cast<UINT8>(inkB);
        out[c].Green = static_cast<UINT8>(inkG);
        out[c].Red = static_cast<UINT8>(inkR);
        continue;
      }
      out[c].Blue = Blend(inkB, out[c].Blue, a);
      out[c].Green = Blend(inkG, out[c].Green, a);
      out[c].Red = Blend(inkR, out[c].Red, a);
    }
  }
}

} // namespace

EFI_STATUS Quorvex_FillLikeCopy(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT32 Word) {
  if (Width == 0 || Height == 0) return EFI_SUCCESS;
  // Inside the screen a video fill gives exactly what a copy of a filled
  // array gives, with or without the double buffer.
  if (InsideScreen(X, Y, Width, Height)) {
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL colour;
    MemCopy(&colour, &Word, sizeof colour);
    return Quorvex_Blt(&colour, EfiBltVideoFill, 0, 0, X, Y, Width, Height, 0);
  }
  if (!DrawableExtent(Width, Height)) return EFI_INVALID_PARAMETER;
  QUORVEX_POOL_ARRAY(EFI_GRAPHICS_OUTPUT_BLT_PIXEL, pixels, Width * Height);
  if (!pixels) return EFI_OUT_OF_RESOURCES;
  MemFill32(pixels.get(), Word, Width * Height);
  return Quorvex_Blt(pixels.get(), EfiBltBufferToVideo, 0, 0, X, Y, Width, Height,
                     Width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
}

EFI_STATUS Quorvex_Font_Draw(CHAR16 Character, UINT64 X, UINT64 Y,
                             EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground,
                             EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background) {
  if (!GlyphFont || !GlyphFont->GetGlyph) return EFI_NOT_FOUND;
  const UINT8* coverage = nullptr;
  UINT32 width = 0;
  UINT32 height = 0;
  UINT32 pitch = 0;
  EFI_STATUS status = GlyphFont->GetGlyph(GlyphFont, Character, &coverage, &width, &height, &pitch);
  if (EFI_ERROR(status)) return status;
  if (width == 0 || height == 0) return EFI_SUCCESS;
  // A map whose rows are shorter than the glyph would be read past its end.
  if (!coverage || pitch < width || !DrawableExtent(width, height)) return EFI_DEVICE_ERROR;

  if (Quorvex_DrawRecord_Active()) {
    RecordGlyph(coverage, width, height, pitch, X, Y, Foreground, Background);
    return EFI_SUCCESS;
  }
  // A glyph that would only land outside the off-screen frame changes
  // nothing.
  if (!Quorvex_DoubleBuffer_Reaches(X, Y, width, height)) return EFI_SUCCESS;

  const GlyphMap map = {coverage, pitch, width, height};
  // Inside the off-screen frame the cell is blended where it lies.
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* framed = nullptr;
  UINT64 stride = 0;
  if (Quorvex_DoubleBuffer_FrameArea(X, Y, width, height, &framed, &stride)) {
    BlendCell(map, {framed, stride}, Foreground, Background);
    Quorvex_DoubleBuffer_FrameWritten(X, Y, width, height);
    return EFI_SUCCESS;
  }

  const UINTN count = static_cast<UINTN>(width) * height;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* cell = GlyphScratch;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* pool = nullptr;
  if (count > kGlyphScratchPixels) {
    pool = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(Quorvex_AllocatePool(count * sizeof *pool));
    if (!pool) return EFI_OUT_OF_RESOURCES;
    cell = pool;
  }
  const UINTN delta = static_cast<UINTN>(width) * sizeof *cell;
  // Transparent: blended over the pixels already there.
  if (Background.Reserved != 0)
    status = Quorvex_Blt(cell, EfiBltVideoToBltBuffer, X, Y, 0, 0, width, height, delta);
  if (!EFI_ERROR(status)) {
    BlendCell(map, {cell, width}, Foreground, Background);
    status = Quorvex_Blt(cell, EfiBltBufferToVideo, 0, 0, X, Y, width, height, delta);
  }
  if (pool) Quorvex_FreePool(pool);
  return status;
}

EFI_STATUS Quorvex_DrawString(const CHAR16* Text, EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground,
                              EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background, UINT64 X, UINT64 Y,
                              UINT64 Width, UINT64 Height) {
  if (!GraphicsOutput) return EFI_NOT_FOUND;
  if (Background.Reserved == 0) Quorvex_FillLikeCopy(X, Y, Width, Height, PixelWord(Background));
  if (!Text) return EFI_ABORTED;
  if (Quorvex_DrawRecord_Active()) {
    RecordString(Text, Foreground, Background, X, Y, Width, Height);
    return EFI_SUCCESS;
  }

  const bool whole =
      ForEachGlyph(Text, Width, Height, [&](const TextLayoutStep& Step, UINT64 Line) {
        Quorvex_Font_Draw(Step.Glyph, X + Step.Pen, Y + Line, Foreground, Background);
      });
  return whole ? EFI_SUCCESS : EFI_INVALID_PARAMETER;
}

EFI_STATUS Quorvex_SplitTextLines(const CHAR16* Text, UINT64 Width, UINT64 Height,
                                  CHAR16 (*Lines)[kSplitLineUnits], UINT64 MaxLines,
                                  UINT64* LastIndex) {
  if (!Text) return EFI_ABORTED;
  if (!Lines || MaxLines == 0) return EFI_INVALID_PARAMETER;

  const UINT64 lineHeight = GlyphLineHeight;
  UINT64 slot = 0;
  UINTN used = 0;
  bool cut = false;
  // Starts the next slot; false when there is none left.
  auto nextSlot = [&]() {
    Lines[slot][used] = 0;
    if (slot + 1 >= MaxLines) return false;
    ++slot;
    used = 0;
    return true;
  };
  // Appends one unit; a slot that is full continues in the next one.
  auto put = [&](CHAR16 Unit) {
    if (used + 1 >= kSplitLineUnits && !nextSlot()) return false;
    Lines[slot][used++] = Unit;
    return true;
  };

  // A page ends where a new line would start below the box. The switch to
  // the next page waits for the next drawn unit, so that a text ending in a
  // mark or a break leaves no empty page; the marks met while it waits open
  // the next page.
  UINT64 line = 0;
  UINT64 pendingPages = 0;
  UINTN heldMarks = 0;    // first unit of the marks waiting for the next page
  UINTN heldMarksEnd = 0; // one past their last unit
  TextLayoutCursor cursor;
  TextLayoutStep step;
  Quorvex_TextLayout_Start(&cursor, Text, Width);
  while (!cut && Quorvex_TextLayout_Next(&cursor, &step)) {
    for (UINT32 b = 0; b < step.Breaks; ++b) {
      line += lineHeight;
      if (line + lineHeight > Height) {
        line = 0;
        ++pendingPages;
      }
    }
    if (step.IsMark && pendingPages > 0) {
      if (heldMarksEnd == heldMarks) heldMarks = step.Index;
      heldMarksEnd = step.Index + step.Length;
      continue;
    }
    for (; pendingPages > 0 && !cut; --pendingPages) cut = !nextSlot();
    for (UINTN k = heldMarks; k < heldMarksEnd && !cut; ++k) cut = !put(Text[k]);
    heldMarks = heldMarksEnd = 0;
    for (UINTN k = 0; k < step.Length && !cut; ++k) cut = !put(Text[step.Index + k]);
  }
  Lines[slot][used] = 0;
  if (LastIndex) *LastIndex = slot;
  return cut ? EFI_BUFFER_TOO_SMALL : EFI_SUCCESS;
}

UINT64 Quorvex_TextWidth(const CHAR16* Text) {
  if (!Text) return 0;
  UINT64 width = 0;
  for (UINTN i = 0; Text[i] != 0; ++i) width += Quorvex_TextLayout_Advance(Text[i]);
  return width;
}
