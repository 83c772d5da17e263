// Line breaking shared by the text drawer and the page splitter.
#include "graphics/line_break.h"

#include "platform/bindings.h"

namespace {

// A tab mark beyond any box: larger positions are cut to it so that pen
// arithmetic never overflows.
constexpr UINT64 kFarPen = 1ull << 40;
constexpr CHAR16 kNoBreakSpace = 0x00A0;

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
    value = value * 10 + static_cast<UINT64>(Text[length] - u'0');
    if (value > kFarPen) value = kFarPen;
    ++length;
  }
  *Position = value;
  return length;
}

bool OneOf(CHAR16 Unit, const CHAR16* Set) {
  for (; *Set != 0; ++Set)
    if (*Set == Unit) return true;
  return false;
}

// Characters a line must not start with: closing punctuation, small kana,
// the prolonged sound and iteration marks, and their ASCII counterparts.
bool NoLineStart(CHAR16 Unit) {
  return OneOf(Unit, u"、。，．・：；？！ー々ぁぃぅぇぉっゃゅょゎァィゥェォッャュョヮ"
                     u"）」』】〕］｝〉》»,.:;?!)]}>");
}

// Characters a line must not end with: opening brackets.
bool NoLineEnd(CHAR16 Unit) {
  return OneOf(Unit, u"（「『【〔［｛〈《«([{<");
}

// Characters of the scripts written without blanks between words (CJK
// ideographs, kana, their punctuation, full-width forms, Hangul).
bool IsWide(CHAR16 Unit) {
  return (Unit >= 0x2E80 && Unit <= 0x9FFF) || (Unit >= 0xAC00 && Unit <= 0xD7AF) ||
         (Unit >= 0xF900 && Unit <= 0xFAFF) || (Unit >= 0xFE30 && Unit <= 0xFE4F) ||
         (Unit >= 0xFF00 && Unit <= 0xFFEF);
}

// True when a line may end between Text[Index - 1] and Text[Index].
bool BreakAllowedBefore(const CHAR16* Text, UINTN Index) {
  if (Index == 0) return false;
  const CHAR16 previous = Text[Index - 1];
  const CHAR16 current = Text[Index];
  if (current == 0 || previous == kNoBreakSpace || current == kNoBreakSpace) return false;
  if (previous == u' ') return current != u' ';
  if (current == u' ') return false;
  // Only next to a wide character may a line end without a blank; the
  // character sets are looked at only then.
  if (!IsWide(previous) && !IsWide(current)) return false;
  return !NoLineStart(current) && !NoLineEnd(previous);
}

// True when the segment starting at Text[Index] (up to the next break
// opportunity, blank, tab mark or NUL) runs past Width from Pen.
bool SegmentRunsPast(const CHAR16* Text, UINTN Index, UINT64 Pen, UINT64 Width) {
  UINT64 sum = Pen;
  for (UINTN i = Index; Text[i] != 0 && Text[i] != u' ' && !IsTabMark(Text + i); ++i) {
    if (i > Index && BreakAllowedBefore(Text, i)) break;
    sum += Quorvex_TextLayout_Advance(Text[i]);
    if (sum > Width) return true;
  }
  return false;
}

} // namespace

CHAR16 Quorvex_TextLayout_Glyph(CHAR16 Unit) {
  return Unit == kNoBreakSpace ? u' ' : Unit;
}

UINT64 Quorvex_TextLayout_Advance(CHAR16 Unit) {
  if (!GlyphFont || !GlyphFont->GetAdvance) return 0;
  UINT64 advance = 0;
  if (EFI_ERROR(GlyphFont->GetAdvance(GlyphFont, Quorvex_TextLayout_Glyph(Unit), &advance)))
    return 0;
  // A font's absurd answer must not wrap the pen arithmetic round.
  return advance > kFarPen ? kFarPen : advance;
}

void Quorvex_TextLayout_Start(TextLayoutCursor* Cursor, const CHAR16* Text, UINT64 Width) {
  Cursor->Text = Text;
  Cursor->Width = Width;
  Cursor->Index = 0;
  Cursor->Pen = 0;
}

bool Quorvex_TextLayout_Next(TextLayoutCursor* Cursor, TextLayoutStep* Step) {
  const CHAR16* text = Cursor->Text;
  const UINTN index = Cursor->Index;
  if (!text || text[index] == 0) return false;
  Step->Index = index;
  Step->Breaks = 0;
  if (IsTabMark(text + index)) {
    UINT64 position = 0;
    Step->Length = ReadTabMark(text + index, &position);
    Step->IsMark = true;
    Step->Glyph = 0;
    Step->Advance = 0;
    if (position < Cursor->Pen) Step->Breaks = 1;
    Cursor->Pen = position;
    Step->Pen = position;
    Cursor->Index = index + Step->Length;
    return true;
  }
  const CHAR16 unit = text[index];
  Step->Length = 1;
  Step->IsMark = false;
  Step->Glyph = Quorvex_TextLayout_Glyph(unit);
  Step->Advance = Quorvex_TextLayout_Advance(unit);
  if (Cursor->Pen > 0 && BreakAllowedBefore(text, index) &&
      SegmentRunsPast(text, index, Cursor->Pen, Cursor->Width)) {
    Cursor->Pen = 0;
    ++Step->Breaks;
  }
  if (Cursor->Pen + Step->Advance > Cursor->Width) {
    Cursor->Pen = 0;
    ++Step->Breaks;
    // A blank that does not fit ends the line: it is not carried over to
    // start the next one (which would indent that line by a blank).
    if (unit == u' ') {
      Step->Glyph = 0;
      Step->Advance = 0;
    }
  }
  Step->Pen = Cursor->Pen;
  Cursor->Pen += Step->Advance;
  Cursor->Index = index + 1;
  return true;
}
