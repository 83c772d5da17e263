// The glyph font services: the text font and the large-digit font, each a
// GlyphFontProtocol over embedded FontData. GetGlyph expands a glyph's tight
// box into a full character cell (advance wide, line height tall) in a buffer
// the service owns; the map stays valid until the next GetGlyph on the same
// service.
#pragma once

#include "platform/vendor_protocols.h"
#include "reference_platform/font_data.h"

struct GlyphFontInstance {
  GlyphFontProtocol Protocol; // first: the protocol pointer is the instance
  const FontData* Font;
  UINT8* Cell;        // pool buffer for one expanded cell
  UINTN CellCapacity; // bytes
};

// Fills Instance with the operations over Font. The cell buffer is allocated
// on the first GetGlyph that needs it.
void GlyphFont_Init(GlyphFontInstance* Instance, const FontData* Font);
// Releases the cell buffer.
void GlyphFont_Release(GlyphFontInstance* Instance);

// The record drawn for a code point: its own, else U+FFFD, else '?'; null
// when the font has none of them (an empty cell is drawn then).
const FontGlyphRecord* GlyphFont_Find(const FontData* Font, CHAR16 Character);
