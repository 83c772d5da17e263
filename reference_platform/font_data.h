// Embedded font data of the reference platform's two font services, produced
// at build time by tools/font_raster from an installed font. Glyphs are kept
// as tight coverage boxes; the font service expands one into a full
// character cell (advance wide, line height tall) when it is asked for it.
#pragma once

#include "platform/efi.h"

struct FontGlyphRecord {
  UINT16 CodePoint; // UTF-16 code unit; records are sorted by it
  UINT8 Advance;    // pen advance in pixels (the cell width)
  INT8 Left;        // x of the box inside the cell (may be negative: clipped)
  INT8 Top;         // y of the box from the cell's top (the line's top)
  UINT8 Width;      // box width
  UINT8 Height;     // box height
  UINT8 Reserved;
  UINT32 Offset; // first byte of the box's coverage in Bitmaps (Width x Height)
};

struct FontData {
  UINT16 LineHeight;
  UINT16 Ascent;
  UINT32 GlyphCount;
  const FontGlyphRecord* Glyphs;
  const UINT8* Bitmaps;
};

extern const FontData kGlyphFontData;      // the text font
extern const FontData kLargeDigitFontData; // the large digits of the time and date editor
