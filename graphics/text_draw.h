// Glyph-based text drawing with word and character wrap and "%x" tab marks.
#pragma once

#include "platform/efi.h"

EFI_STATUS Quorvex_Font_Draw(CHAR16 Character, UINT64 X, UINT64 Y,
                             EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground,
                             EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background);
EFI_STATUS Quorvex_DrawString(const CHAR16* Text, EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground,
                              EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background, UINT64 X, UINT64 Y,
                              UINT64 Width, UINT64 Height);
// One output line (a box-full of text) of the splitter.
constexpr UINTN kSplitLineUnits = 1000;
EFI_STATUS Quorvex_SplitTextLines(const CHAR16* Text, UINT64 Width, UINT64 Height,
                                  CHAR16 (*Lines)[kSplitLineUnits], UINT64 MaxLines,
                                  UINT64* LastIndex);
// Sum of the advances of the text's code units (marks included as drawn).
UINT64 Quorvex_TextWidth(const CHAR16* Text);
