// The one line-breaking routine of the text drawer and the page splitter:
// walks a text and says, for every tab mark and every code unit, where the
// pen stands and how many new lines start before it. Both callers follow it,
// so they cannot disagree about where a line ends.
//
// Rules, in order, for each code unit (tab marks are not drawn):
//  - "%x" or "%X" and a character from '0' to '@' start a tab mark; its
//    decimal digits set the pen. A mark that moves the pen backwards starts
//    a new line at that position, so nothing is drawn over what is there.
//  - At a break opportunity a segment (the units up to the next opportunity,
//    blank or tab mark) that does not fit starts a new line. Opportunities:
//    after an ASCII blank (so Latin text wraps word by word, as it always
//    did); and before or after a wide (CJK) character, except before closing
//    punctuation, small kana or the prolonged sound mark and after an opening
//    bracket. Never before or after a no-break space (U+00A0).
//  - A unit that does not fit itself starts a new line.
// A no-break space is drawn as a blank.
#pragma once

#include "platform/efi.h"

struct TextLayoutStep {
  UINTN Index;    // first code unit of the step in the text
  UINTN Length;   // code units the step takes (a mark's "%x" and digits, or 1)
  bool IsMark;    // a tab mark: nothing is drawn
  CHAR16 Glyph;   // the character to draw
  UINT64 Advance; // its advance
  UINT64 Pen;     // where it is drawn; after a mark, the mark's position
  UINT32 Breaks;  // new lines started just before this step
};

struct TextLayoutCursor {
  const CHAR16* Text;
  UINT64 Width;
  UINTN Index;
  UINT64 Pen;
};

// Starts a walk over Text (not null) in a box Width pixels wide.
void Quorvex_TextLayout_Start(TextLayoutCursor* Cursor, const CHAR16* Text, UINT64 Width);
// The next step; false at the terminating NUL.
bool Quorvex_TextLayout_Next(TextLayoutCursor* Cursor, TextLayoutStep* Step);
// The glyph drawn for a code unit, and its advance with the bound font.
CHAR16 Quorvex_TextLayout_Glyph(CHAR16 Unit);
UINT64 Quorvex_TextLayout_Advance(CHAR16 Unit);
