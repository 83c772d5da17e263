#include "reference_platform/gate_screen.h"

#include "platform/lib.h"
#include "reference_platform/font_data.h"
#include "reference_platform/platform_context.h"
#include "setup_data/keyboard_layout.h"
#include "setup_data/look.h"

namespace {

constexpr UINT64 kPreferredWidth = 1024;
constexpr UINTN kMaskUnits = 100;

// A pool buffer standing for one screen rectangle.
struct Canvas {
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels;
  UINT64 X, Y, Width, Height;
};

bool CanvasOpen(Canvas* C, const LookRect& Area, const GateScreen& Screen) {
  C->Pixels = nullptr;
  if (Area.Width == 0 || Area.Height == 0 || Area.X + Area.Width > Screen.Width ||
      Area.Y + Area.Height > Screen.Height)
    return false;
  C->X = Area.X;
  C->Y = Area.Y;
  C->Width = Area.Width;
  C->Height = Area.Height;
  C->Pixels = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(
      Quorvex_AllocatePool(Area.Width * Area.Height * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL)));
  return C->Pixels != nullptr;
}

void CanvasShow(Canvas* C, const GateScreen& Screen) {
  if (!C->Pixels) return;
  Screen.Gop->Blt(Screen.Gop, C->Pixels, EfiBltBufferToVideo, 0, 0, C->X, C->Y, C->Width, C->Height,
                  C->Width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
  Quorvex_FreePool(C->Pixels);
  C->Pixels = nullptr;
}

// Fills a rectangle given in screen coordinates, clipped to the canvas.
void Fill(Canvas* C, UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT32 Rgb) {
  const UINT64 left = X > C->X ? X - C->X : 0;
  const UINT64 top = Y > C->Y ? Y - C->Y : 0;
  const UINT64 right = X + Width - C->X < C->Width ? X + Width - C->X : C->Width;
  const UINT64 bottom = Y + Height - C->Y < C->Height ? Y + Height - C->Y : C->Height;
  if (X + Width <= C->X || Y + Height <= C->Y) return;
  const UINT32 word = PixelWord(Pixel(Rgb));
  for (UINT64 r = top; r < bottom; ++r)
    if (left < right) MemFill32(C->Pixels + r * C->Width + left, word, right - left);
}

void Face(Canvas* C, UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT32 FillRgb,
          UINT32 BorderRgb) {
  Fill(C, X, Y, Width, Height, BorderRgb);
  if (Width > 2 * kFaceBorder && Height > 2 * kFaceBorder)
    Fill(C, X + kFaceBorder, Y + kFaceBorder, Width - 2 * kFaceBorder, Height - 2 * kFaceBorder,
         FillRgb);
}

UINT8 Blend(UINT32 Ink, UINT32 Back, UINT32 Coverage) {
  return static_cast<UINT8>((Ink * Coverage + (255 - Coverage) * Back) / 255);
}

UINT64 Advance(const GateScreen& S, CHAR16 Character) {
  UINT64 advance = 0;
  if (EFI_ERROR(S.Font->GetAdvance(S.Font, Character, &advance))) return 0;
  return advance;
}

UINT64 TextWidth(const GateScreen& S, const CHAR16* Text) {
  UINT64 width = 0;
  for (UINTN i = 0; Text && Text[i]; ++i) width += Advance(S, Text[i]);
  return width;
}

// One line of text at (X, Y), cut at MaxWidth, blended over a known
// background colour.
void Text(Canvas* C, const GateScreen& S, const CHAR16* Line, UINT64 X, UINT64 Y, UINT64 MaxWidth,
          UINT32 InkRgb, UINT32 BackRgb) {
  UINT64 pen = 0;
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL ink = Pixel(InkRgb);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL back = Pixel(BackRgb);
  for (UINTN i = 0; Line && Line[i]; ++i) {
    const UINT8* coverage = nullptr;
    UINT32 width = 0, height = 0, pitch = 0;
    if (EFI_ERROR(S.Font->GetGlyph(S.Font, Line[i], &coverage, &width, &height, &pitch)) ||
        !coverage || pitch < width)
      return;
    if (pen + width > MaxWidth) return;
    for (UINT32 r = 0; r < height; ++r) {
      const UINT64 y = Y + r;
      if (y < C->Y || y >= C->Y + C->Height) continue;
      for (UINT32 c = 0; c < width; ++c) {
        const UINT64 x = X + pen + c;
        if (x < C->X || x >= C->X + C->Width) continue;
        const UINT32 a = coverage[static_cast<UINTN>(r) * pitch + c];
        if (a == 0) continue;
        EFI_GRAPHICS_OUTPUT_BLT_PIXEL& out = C->Pixels[(y - C->Y) * C->Width + (x - C->X)];
        out = {Blend(ink.Blue, back.Blue, a), Blend(ink.Green, back.Green, a),
               Blend(ink.Red, back.Red, a), 0};
      }
    }
    pen += width;
  }
}

void CentredText(Canvas* C, const GateScreen& S, const CHAR16* Line, UINT64 X, UINT64 Width,
                 UINT64 Y, UINT32 InkRgb, UINT32 BackRgb) {
  const UINT64 width = TextWidth(S, Line);
  Text(C, S, Line, width < Width ? X + (Width - width) / 2 : X, Y, Width, InkRgb, BackRgb);
}

LookRect Window(const GateScreen& S) {
  return Look_PasswordWindow(S.Width, S.Height, S.Keyboard);
}

void DrawFieldOn(Canvas* C, const GateScreen& S, UINT64 Length) {
  const LookRect field = Look_PasswordField(Window(S), S.LineHeight);
  Face(C, field.X, field.Y, field.Width, field.Height, kColourButtonFace, kColourButtonBorder);
  CHAR16 mask[kMaskUnits];
  const UINT64 shown = Length < kMaskUnits - 1 ? Length : kMaskUnits - 1;
  for (UINT64 i = 0; i < shown; ++i) mask[i] = u'*';
  mask[shown] = 0;
  const UINT64 top = field.Y + field.Height / 2 - S.LineHeight / 2;
  Text(C, S, mask, field.X + 10, top, field.Width > 20 ? field.Width - 20 : 0, kColourDarkText,
       kColourButtonFace);
}

bool ChooseMode(EFI_GRAPHICS_OUTPUT_PROTOCOL* Gop) {
  if (!Gop->Mode || !Gop->QueryMode) return false;
  UINT32 best = ~0u;
  UINT64 bestWidth = ~0ull;
  for (UINT32 mode = 0; mode < Gop->Mode->MaxMode; ++mode) {
    UINTN size = 0;
    EFI_GRAPHICS_OUTPUT_MODE_INFORMATION* info = nullptr;
    if (EFI_ERROR(Gop->QueryMode(Gop, mode, &size, &info)) || !info) continue;
    const UINT64 width = info->HorizontalResolution;
    PlatformBootServices->FreePool(info); // QueryMode's answer is the caller's
    if (width >= kPreferredWidth && width < bestWidth) {
      best = mode;
      bestWidth = width;
    }
  }
  if (best != ~0u && best != Gop->Mode->Mode && Gop->SetMode) Gop->SetMode(Gop, best);
  return Gop->Mode->Info != nullptr;
}

} // namespace

bool GateScreen_Open(GateScreen* Screen, bool Keyboard, UINT32 Language) {
  MemFill(Screen, 0, sizeof(*Screen));
  Screen->Language = Language <= 2 ? Language : 0;
  Screen->Keyboard = Keyboard;
  if (!PlatformBootServices || !PlatformBootServices->LocateProtocol) return false;
  void* found = nullptr;
  if (EFI_ERROR(PlatformBootServices->LocateProtocol(&kGraphicsOutputGuid, nullptr, &found)) ||
      !found)
    return false;
  auto* gop = static_cast<EFI_GRAPHICS_OUTPUT_PROTOCOL*>(found);
  if (!gop->Blt || !ChooseMode(gop)) return false;
  Screen->Gop = gop;
  Screen->Width = gop->Mode->Info->HorizontalResolution;
  Screen->Height = gop->Mode->Info->VerticalResolution;
  found = nullptr;
  if (!EFI_ERROR(PlatformBootServices->LocateProtocol(&kGlyphFontGuid, nullptr, &found)) && found) {
    Screen->Font = static_cast<GlyphFontProtocol*>(found);
  } else {
    // An image without the installed service (a driver of its own) draws
    // from the same embedded font.
    GlyphFont_Init(&Screen->OwnFont, &kGlyphFontData);
    Screen->Font = &Screen->OwnFont.Protocol;
  }
  if (EFI_ERROR(Screen->Font->GetLineHeight(Screen->Font, &Screen->LineHeight)) ||
      Screen->LineHeight == 0 || Screen->LineHeight > 200)
    Screen->LineHeight = 20;
  return true;
}

void GateScreen_Close(GateScreen* Screen) {
  GlyphFont_Release(&Screen->OwnFont);
  Screen->Gop = nullptr;
}

const CHAR16* GateScreen_Text(const GateScreen& Screen, const CHAR16* const (&Triple)[3]) {
  const CHAR16* text = Triple[Screen.Language];
  return text && text[0] ? text : Triple[0];
}

void GateScreen_DrawAll(const GateScreen& S, const CHAR16* Title, UINT64 Length, bool Caps,
                        bool Shift) {
  // The screen behind the window: the setup's page area between the left
  // band and the right column.
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL page = Pixel(kColourPageArea);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL column = Pixel(kColourRightColumn);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL band = Pixel(kColourTabSelected);
  S.Gop->Blt(S.Gop, const_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(&band), EfiBltVideoFill, 0, 0, 0, 0,
             S.Width / 4, S.Height, 0);
  S.Gop->Blt(S.Gop, const_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(&page), EfiBltVideoFill, 0, 0,
             S.Width / 4, 0, S.Width / 2, S.Height, 0);
  S.Gop->Blt(S.Gop, const_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(&column), EfiBltVideoFill, 0, 0,
             3 * S.Width / 4, 0, S.Width - 3 * S.Width / 4, S.Height, 0);

  const LookRect window = Window(S);
  Canvas canvas;
  if (CanvasOpen(&canvas, window, S)) {
    Face(&canvas, window.X, window.Y, window.Width, window.Height, kColourButtonFace,
         kColourButtonBorder);
    // Where the keyboard joins the window its bottom border is left open.
    if (S.Keyboard)
      Fill(&canvas, window.X + kFaceBorder, window.Y + window.Height - kFaceBorder,
           window.Width - 2 * kFaceBorder, kFaceBorder, kColourButtonFace);
    Text(&canvas, S, Title, window.X + 25, window.Y + 25, window.Width - 50, kColourDarkText,
         kColourButtonFace);
    DrawFieldOn(&canvas, S, Length);
    CanvasShow(&canvas, S);
  }
  if (S.Keyboard) GateScreen_DrawKeyboard(S, Caps, Shift);
}

void GateScreen_DrawField(const GateScreen& S, UINT64 Length) {
  const LookRect field = Look_PasswordField(Window(S), S.LineHeight);
  Canvas canvas;
  if (!CanvasOpen(&canvas, field, S)) return;
  DrawFieldOn(&canvas, S, Length);
  CanvasShow(&canvas, S);
}

void GateScreen_DrawKeyboard(const GateScreen& S, bool Caps, bool Shift) {
  const KeyboardRect panel = Keyboard_Panel(S.Width, S.Height);
  Canvas canvas;
  if (!CanvasOpen(&canvas, {panel.X, panel.Y, panel.Width, panel.Height}, S)) return;
  Face(&canvas, panel.X, panel.Y, panel.Width, panel.Height, kColourButtonFace,
       kColourButtonBorder);
  // The top border is painted over so that the panel joins the window.
  Fill(&canvas, panel.X + kFaceBorder, panel.Y, panel.Width - 2 * kFaceBorder, kFaceBorder,
       kColourButtonFace);
  for (UINT32 row = 0; row < kKeyboardRows; ++row) {
    for (UINT32 column = 0; column < kKeyboardColumns; ++column) {
      KeyboardRect key;
      CHAR16 label[8];
      if (!Keyboard_KeyLabel(S.Width, S.Height, row, column, Shift, Caps, label)) continue;
      Keyboard_KeyRect(S.Width, S.Height, row, column, &key);
      const bool pressed = column == kWideKeyColumn && ((row == 3 && Caps) || (row == 4 && Shift));
      const UINT32 fill = pressed ? kColourAccent : kColourButtonFace;
      Face(&canvas, key.X, key.Y, key.Width, key.Height, fill,
           pressed ? kColourDarkText : kColourButtonBorder);
      const UINT64 top = key.Y + (key.Height > S.LineHeight ? (key.Height - S.LineHeight) / 2 : 0);
      CentredText(&canvas, S, label, key.X, key.Width, top,
                  pressed ? kColourWhite : kColourDarkText, fill);
    }
  }
  CanvasShow(&canvas, S);
}

void GateScreen_DrawMessage(const GateScreen& S, const CHAR16* Line1, const CHAR16* Line2,
                            const CHAR16* Button) {
  const LookRect window = Look_PasswordWindow(S.Width, S.Height, false);
  Canvas canvas;
  if (!CanvasOpen(&canvas, window, S)) return;
  Fill(&canvas, window.X, window.Y, window.Width, window.Height, kColourErrorBox);
  const UINT64 middle = (window.Height > S.LineHeight ? window.Height - S.LineHeight : 0) / 2;
  CentredText(&canvas, S, Line1, window.X, window.Width, window.Y + S.LineHeight / 2, kColourWhite,
              kColourErrorBox);
  CentredText(&canvas, S, Line2, window.X, window.Width, window.Y + middle - S.LineHeight / 2,
              kColourWhite, kColourErrorBox);
  // The one button, highlighted, at the bottom centre (as the utility's
  // error window has it).
  const UINT64 bx = window.X + window.Width / 2 - 50;
  const UINT64 by = window.Y + window.Height - 35;
  Face(&canvas, bx, by, 100, 30, kColourAccent, kColourDarkText);
  Text(&canvas, S, Button, bx + 10, by + 15 - S.LineHeight / 2, 90, kColourWhite, kColourAccent);
  CanvasShow(&canvas, S);
}

namespace {

// The arrow, one string per row: '#' outline, '.' inside, ' ' clear.
constexpr const char* kArrow[kGateCursorHeight] = {
    "#          ", "##         ", "#.#        ", "#..#       ", "#...#      ", "#....#     ",
    "#.....#    ", "#......#   ", "#.......#  ", "#........# ", "#.....#####", "#..#..#    ",
    "#.# #..#   ", "##  #..#   ", "#    #..#  ", "     #..#  ", "      ##   "};

} // namespace

void GateCursor_Show(const GateScreen& S, GateCursor* C, UINT64 X, UINT64 Y) {
  GateCursor_Hide(S, C);
  if (X >= S.Width || Y >= S.Height) return;
  C->X = X;
  C->Y = Y;
  C->Width = X + kGateCursorWidth <= S.Width ? kGateCursorWidth : S.Width - X;
  C->Height = Y + kGateCursorHeight <= S.Height ? kGateCursorHeight : S.Height - Y;
  const UINTN delta = kGateCursorWidth * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL);
  if (EFI_ERROR(S.Gop->Blt(S.Gop, C->Under, EfiBltVideoToBltBuffer, X, Y, 0, 0, C->Width, C->Height,
                           delta)))
    return;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL arrow[kGateCursorWidth * kGateCursorHeight];
  MemCopy(arrow, C->Under, sizeof(arrow));
  for (UINT64 r = 0; r < C->Height; ++r)
    for (UINT64 c = 0; c < C->Width; ++c) {
      const char mark = kArrow[r][c];
      if (mark != ' ')
        arrow[r * kGateCursorWidth + c] = Pixel(mark == '#' ? kColourDarkText : kColourWhite);
    }
  S.Gop->Blt(S.Gop, arrow, EfiBltBufferToVideo, 0, 0, X, Y, C->Width, C->Height, delta);
  C->Up = true;
}

void GateCursor_Hide(const GateScreen& S, GateCursor* C) {
  if (!C->Up) return;
  C->Up = false;
  S.Gop->Blt(S.Gop, C->Under, EfiBltBufferToVideo, 0, 0, C->X, C->Y, C->Width, C->Height,
             kGateCursorWidth * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
}
