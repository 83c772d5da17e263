// Routines the drawing modules share among themselves; pages use the public
// headers.
#pragma once

#include "platform/efi.h"

struct ButtonColours {
  UINT32 Fill;
  UINT32 Border;
  UINT32 Caption;
};

// Fills a rectangle with one 32-bit pixel word so that the result is exactly
// that of copying a filled array there with EfiBltBufferToVideo (a video fill
// when the rectangle lies on the screen).
EFI_STATUS Quorvex_FillLikeCopy(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT32 Word);

// A button face (fill, two-pixel border) at (X, Y).
EFI_STATUS Quorvex_Draw_Face(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT32 Fill,
                             UINT32 Border);
// Face plus a one-line caption 10 pixels from the left, centred vertically.
EFI_STATUS Quorvex_Draw_Plain_Button(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                     const CHAR16* Caption, const ButtonColours& Colours);

// The help bar (with an empty item help box) and the item help box without
// taking the cursor down, for callers that already did (the item list draws
// them inside its own buffered region).
void Quorvex_HelpBar_DrawBody();
// The help bar's body in parts, drawn in order by Quorvex_HelpBar_DrawBody:
// the column's fill, each button, the empty item help box.
constexpr UINT64 kHelpBarParts = 6;
void Quorvex_HelpBar_DrawPart(UINT64 Part);
void Quorvex_ItemHelp_DrawBody(const CHAR16* HelpText);

// Power-on state of each module (see graphics/graphics_state.h).
void Quorvex_DoubleBuffer_Reset();
void Quorvex_BackGround_Reset();
void Quorvex_Windows_Reset();
