// Glyph-based text drawing. Quorvex_Font_Draw blends one glyph's coverage map
// between a foreground and a background (or the pixels already there);
// Quorvex_DrawString lays a string out in a box with word wrap, character
// wrap and "%x" tab marks; Quorvex_SplitTextLines cuts a text into box-sized
// pages with exactly the same wrap decisions.
//
// Each glyph cell is blended in one reused scratch array and written with a
// single Blt (two when the background is transparent and the cell is read
// back first), so under the double buffer a character costs two row copies.
#include "graphics/text_draw.h"

#include "platform/bindings.h"
#include "graphics/double_buffer.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "platform/lib.h"

namespace {

// A tab mark beyond any box: larger positions are cut to it so that pen
// arithmetic never overflows.
constexpr UINT64 kFarPen = 1ull << 40;

// Scratch for one glyph cell; every glyph of the embedded fonts fits, and a
// larger one takes a pool array for the duration of the call.
constexpr UINTN kGlyphScratchPixels = 128 * 128;
constinit EFI_GRAPHICS_OUTPUT_BLT_PIXEL GlyphScratch[kGlyphScratchPixels] = {};

inline UINT8 Blend(UINT32 Ink, UINT32 Back, UINT32 Coverage) {
  return static_cast<UINT8>((Ink * Coverage + (255 - Coverage) * Back) / 255);
}

UINT64 Advance(CHAR16 Unit) {
  if (!GlyphFont || !GlyphFont->GetAdvance) return 0;
  UINT64 advance = 0;
  if (EFI_ERROR(GlyphFont->GetAdvance(GlyphFont, Unit, &advance))) return 0;
  return advance;
}

bool IsTabMark(const CHAR16* Text) {
  return Text[0] == u'%' && (Text[1] == u'x' || Text[1] == u'X') && Text[2] >= u'0' &&
         Text[2] <= u'@';
}

// Reads the mark at Text (IsTabMark holds): its pen position and the number
// of code units it occupies ("%x" and the decimal digits).
UINTN ReadTabMark(const CHAR16* Text, UINT64* Position) {
  UINTN length = 2;
  UINT64 value = 0;
  while (Text[length] >= u'0' && Text[length] <= u'9') {
    const UINT64 digit = static_cast<UINT64>(Text[length] - u'0');
    value = value * 10 + digit;
    if (value > kFarPen) value = kFarPen;
    ++length;
  }
  *Position = value;
  return length;
}

// True when the word starting at Text, measured up to the first NUL, space or
// tab mark, runs past Width from the pen position.
bool WordRunsPast(const CHAR16* Text, UINT64 Pen, UINT64 Width) {
  UINT64 sum = Pen;
  for (UINTN i = 0; Text[i] != 0 && Text[i] != u' ' && !IsTabMark(Text + i); ++i) {
    sum += Advance(Text[i]);
    if (sum > Width) return true;
  }
  return false;
}

// The wrap rules for the unit at Text[Index] (not a tab mark): a word that
// follows a space and does not fit starts a new line, and so does a unit that
// does not fit itself. Returns the number of line breaks before the unit (0,
// 1 or 2) and moves *Pen to where the unit goes.
UINT32 BreaksBefore(const CHAR16* Text, UINTN Index, UINT64 UnitAdvance, UINT64 Width,
                    UINT64* Pen) {
  UINT32 breaks = 0;
  if (Index > 0 && Text[Index - 1] == u' ' && Text[Index] != u' ' &&
      WordRunsPast(Text + Index, *Pen, Width)) {
    *Pen = 0;
    ++breaks;
  }
  if (*Pen + UnitAdvance > Width) {
    *Pen = 0;
    ++breaks;
  }
  return breaks;
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

  const UINTN count = static_cast<UINTN>(width) * height;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* cell = GlyphScratch;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* pool = nullptr;
  if (count > kGlyphScratchPixels) {
    pool = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(Quorvex_AllocatePool(count * sizeof *pool));
    if (!pool) return EFI_OUT_OF_RESOURCES;
    cell = pool;
  }
  const UINTN delta = static_cast<UINTN>(width) * sizeof *cell;
  const UINT32 inkB = Foreground.Blue;
  const UINT32 inkG = Foreground.Green;
  const UINT32 inkR = Foreground.Red;

  if (Background.Reserved != 0) {
    // Transparent: blend over the pixels already there, in place.
    status = Quorvex_Blt(cell, EfiBltVideoToBltBuffer, X, Y, 0, 0, width, height, delta);
    if (EFI_ERROR(status)) {
      if (pool) Quorvex_FreePool(pool);
      return status;
    }
    for (UINT32 r = 0; r < height; ++r) {
      const UINT8* row = coverage + static_cast<UINTN>(r) * pitch;
      EFI_GRAPHICS_OUTPUT_BLT_PIXEL* out = cell + static_cast<UINTN>(r) * width;
      for (UINT32 c = 0; c < width; ++c) {
        const UINT32 a = row[c];
        if (a == 0) continue;
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
  } else {
    const UINT32 backB = Background.Blue;
    const UINT32 backG = Background.Green;
    const UINT32 backR = Background.Red;
    const EFI_GRAPHICS_OUTPUT_BLT_PIXEL back = {Background.Blue, Background.Green, Background.Red,
                                                0};
    for (UINT32 r = 0; r < height; ++r) {
      const UINT8* row = coverage + static_cast<UINTN>(r) * pitch;
      EFI_GRAPHICS_OUTPUT_BLT_PIXEL* out = cell + static_cast<UINTN>(r) * width;
      for (UINT32 c = 0; c < width; ++c) {
        const UINT32 a = row[c];
        if (a == 0) {
          out[c] = back;
          continue;
        }
        out[c].Blue = Blend(inkB, backB, a);
        out[c].Green = Blend(inkG, backG, a);
        out[c].Red = Blend(inkR, backR, a);
        out[c].Reserved = 0;
      }
    }
  }
  status = Quorvex_Blt(cell, EfiBltBufferToVideo, 0, 0, X, Y, width, height, delta);
  if (pool) Quorvex_FreePool(pool);
  return status;
}

EFI_STATUS Quorvex_DrawString(const CHAR16* Text, EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground,
                              EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background, UINT64 X, UINT64 Y,
                              UINT64 Width, UINT64 Height) {
  if (!GraphicsOutput) return EFI_NOT_FOUND;
  if (Background.Reserved == 0) Quorvex_FillLikeCopy(X, Y, Width, Height, PixelWord(Background));
  if (!Text) return EFI_ABORTED;

  const UINT64 lineHeight = GlyphLineHeight;
  UINT64 pen = 0;
  UINT64 line = 0;
  UINTN i = 0;
  while (Text[i] != 0) {
    if (IsTabMark(Text + i)) {
      i += ReadTabMark(Text + i, &pen);
      continue;
    }
    const UINT64 advance = Advance(Text[i]);
    line += lineHeight * BreaksBefore(Text, i, advance, Width, &pen);
    // The last line that fits is the one whose top is at most Height − LH.
    if (line + lineHeight > Height) return EFI_INVALID_PARAMETER;
    Quorvex_Font_Draw(Text[i], X + pen, Y + line, Foreground, Background);
    pen += advance;
    ++i;
  }
  return EFI_SUCCESS;
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

  UINT64 pen = 0;
  UINT64 line = 0;
  UINTN i = 0;
  while (Text[i] != 0 && !cut) {
    if (IsTabMark(Text + i)) {
      const UINTN length = ReadTabMark(Text + i, &pen);
      for (UINTN k = 0; k < length && !cut; ++k) cut = !put(Text[i + k]);
      i += length;
      continue;
    }
    const UINT64 advance = Advance(Text[i]);
    for (UINT32 b = BreaksBefore(Text, i, advance, Width, &pen); b > 0 && !cut; --b) {
      line += lineHeight;
      if (line + lineHeight > Height) {
        line = 0;
        cut = !nextSlot();
      }
    }
    if (cut || !put(Text[i])) {
      cut = true;
      break;
    }
    pen += advance;
    ++i;
  }
  Lines[slot][used] = 0;
  if (LastIndex) *LastIndex = slot;
  return cut ? EFI_BUFFER_TOO_SMALL : EFI_SUCCESS;
}

UINT64 Quorvex_TextWidth(const CHAR16* Text) {
  if (!Text) return 0;
  UINT64 width = 0;
  for (UINTN i = 0; Text[i] != 0; ++i) width += Advance(Text[i]);
  return width;
}
