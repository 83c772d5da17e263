// The multilingual text table. Every translated text is one TextEntry of
// three 900-unit UTF-16 slots (English, Japanese, French); code holds a
// reference (the address of the English slot) and asks for the current
// language's slot just before drawing.
#pragma once

#include "platform/efi.h"
#include "setup_data/setup_data_state.h" // JapaneseAvailable, FrenchAvailable

constexpr UINTN kTextSlotUnits = 900;

struct TextEntry {
  CHAR16 English[kTextSlotUnits];
  CHAR16 Japanese[kTextSlotUnits];
  CHAR16 French[kTextSlotUnits];
};
static_assert(sizeof(TextEntry) == 3 * 1800);

// Byte offsets from a reference to the other languages' slots.
constexpr UINTN kJapaneseSlotOffset = 1800;
constexpr UINTN kFrenchSlotOffset = 3600;

// The reference of a table entry.
#define TEXT(Name) (&(Name).English[0])

// Writes into Out the slot of Entry for the current Language; for a Language
// outside 0-2 Out is left unchanged.
void GetText(const CHAR16* Entry, const CHAR16** Out);
// Convenience: the current language's slot (an empty string for null).
const CHAR16* TextOf(const CHAR16* Entry);

// Expands the packed table into the entries' slots. Run once, first thing at
// start-up; the slots live in zero-initialised data so the image stays small.
void Quorvex_TextTable_Init();

#include "setup_data/text_entries.h" // generated: extern TextEntry <Name>; ...
