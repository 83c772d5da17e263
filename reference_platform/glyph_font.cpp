#include "reference_platform/glyph_font.h"

#include "platform/lib.h"

namespace {

const FontGlyphRecord* FindExact(const FontData* Font, CHAR16 Character) {
  if (!Font || !Font->Glyphs || Font->GlyphCount == 0) return nullptr;
  // The records are sorted by code point and start with a run without
  // gaps (the printable ASCII): there the offset from the first code point
  // is the index.
  const UINT32 guess = static_cast<UINT32>(Character) - Font->Glyphs[0].CodePoint;
  if (Character >= Font->Glyphs[0].CodePoint && guess < Font->GlyphCount &&
      Font->Glyphs[guess].CodePoint == Character)
    return &Font->Glyphs[guess];
  UINT32 low = 0, high = Font->GlyphCount;
  while (low < high) {
    const UINT32 middle = low + (high - low) / 2;
    const UINT16 code = Font->Glyphs[middle].CodePoint;
    if (code == Character) return &Font->Glyphs[middle];
    if (code < Character) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return nullptr;
}

// The advance of a character the font cannot draw at all: half the line
// height, like a narrow space.
UINT32 EmptyAdvance(const FontData* Font) {
  const UINT32 half = Font ? Font->LineHeight / 2u : 0;
  return half ? half : 1;
}

UINT32 AdvanceOf(const FontData* Font, CHAR16 Character) {
  const FontGlyphRecord* glyph = GlyphFont_Find(Font, Character);
  return glyph ? glyph->Advance : EmptyAdvance(Font);
}

GlyphFontInstance* InstanceOf(GlyphFontProtocol* This) {
  return reinterpret_cast<GlyphFontInstance*>(This);
}

EFI_STATUS EFIAPI GetGlyph(GlyphFontProtocol* This, CHAR16 Character, const UINT8** Coverage,
                           UINT32* Width, UINT32* Height, UINT32* Pitch) {
  if (!This || !Coverage || !Width || !Height || !Pitch) return EFI_INVALID_PARAMETER;
  GlyphFontInstance* instance = InstanceOf(This);
  const FontData* font = instance->Font;
  if (!font) return EFI_NOT_READY;
  const FontGlyphRecord* glyph = GlyphFont_Find(font, Character);
  const UINT32 cell_width = glyph ? glyph->Advance : EmptyAdvance(font);
  const UINT32 cell_height = font->LineHeight;
  // Never hand out a null map, even for a zero-sized cell.
  const UINTN needed = static_cast<UINTN>(cell_width) * cell_height + 1;
  if (needed > instance->CellCapacity) {
    // Grow to at least a square cell of the line height so that most fonts
    // allocate once.
    UINTN capacity = static_cast<UINTN>(cell_height) * cell_height * 2 + 1;
    if (capacity < needed) capacity = needed;
    UINT8* cell = static_cast<UINT8*>(Quorvex_AllocatePool(capacity));
    if (!cell) return EFI_OUT_OF_RESOURCES;
    if (instance->Cell) Quorvex_FreePool(instance->Cell);
    instance->Cell = cell;
    instance->CellCapacity = capacity;
  }
  UINT8* cell = instance->Cell;
  MemFill(cell, 0, needed);
  if (glyph && font->Bitmaps) {
    const UINT8* box = font->Bitmaps + glyph->Offset;
    // The columns of the glyph's box that fall inside the cell, the same
    // for every row: each row is one copy.
    const INT32 left = glyph->Left;
    const INT32 first = left < 0 ? -left : 0;
    INT32 end = static_cast<INT32>(glyph->Width);
    if (left + end > static_cast<INT32>(cell_width)) end = static_cast<INT32>(cell_width) - left;
    for (INT32 row = 0; first < end && row < glyph->Height; ++row) {
      const INT32 y = glyph->Top + row;
      if (y < 0 || y >= static_cast<INT32>(cell_height)) continue;
      MemCopy(cell + y * cell_width + left + first, box + row * glyph->Width + first,
              static_cast<UINTN>(end - first));
    }
  }
  *Coverage = cell;
  *Width = cell_width;
  *Height = cell_height;
  *Pitch = cell_width;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetAdvance(GlyphFontProtocol* This, CHAR16 Character, UINT64* Advance) {
  if (!This || !Advance) return EFI_INVALID_PARAMETER;
  const FontData* font = InstanceOf(This)->Font;
  if (!font) return EFI_NOT_READY;
  *Advance = AdvanceOf(font, Character);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetLineHeight(GlyphFontProtocol* This, UINT64* LineHeight) {
  if (!This || !LineHeight) return EFI_INVALID_PARAMETER;
  const FontData* font = InstanceOf(This)->Font;
  if (!font) return EFI_NOT_READY;
  *LineHeight = font->LineHeight;
  return EFI_SUCCESS;
}

} // namespace

const FontGlyphRecord* GlyphFont_Find(const FontData* Font, CHAR16 Character) {
  if (const FontGlyphRecord* glyph = FindExact(Font, Character)) return glyph;
  if (const FontGlyphRecord* glyph = FindExact(Font, 0xFFFD)) return glyph;
  return FindExact(Font, u'?');
}

void GlyphFont_Init(GlyphFontInstance* Instance, const FontData* Font) {
  Instance->Protocol.GetGlyph = GetGlyph;
  Instance->Protocol.GetAdvance = GetAdvance;
  Instance->Protocol.GetLineHeight = GetLineHeight;
  Instance->Font = Font;
  Instance->Cell = nullptr;
  Instance->CellCapacity = 0;
}

void GlyphFont_Release(GlyphFontInstance* Instance) {
  if (Instance->Cell) Quorvex_FreePool(Instance->Cell);
  Instance->Cell = nullptr;
  Instance->CellCapacity = 0;
}
