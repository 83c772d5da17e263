// Colours of the setup screen, as GOP Blt pixels (0xRRGGBB with the Reserved
// byte in the top 8 bits). A text background whose Reserved byte is non-zero
// is transparent.
#pragma once

#include "platform/efi.h"

constexpr EFI_GRAPHICS_OUTPUT_BLT_PIXEL Pixel(UINT32 Rgb, UINT8 Reserved = 0) {
  return {static_cast<UINT8>(Rgb), static_cast<UINT8>(Rgb >> 8), static_cast<UINT8>(Rgb >> 16),
          Reserved};
}
constexpr UINT32 PixelWord(EFI_GRAPHICS_OUTPUT_BLT_PIXEL P) {
  return static_cast<UINT32>(P.Blue) | static_cast<UINT32>(P.Green) << 8 |
         static_cast<UINT32>(P.Red) << 16 | static_cast<UINT32>(P.Reserved) << 24;
}

constexpr UINT32 kColourPageArea = 0xEBF1FA;
constexpr UINT32 kColourRightColumn = 0xD8E1F2;
constexpr UINT32 kColourDarkText = 0x3A465F;
constexpr UINT32 kColourWhite = 0xFFFFFF;
constexpr UINT32 kColourAccent = 0x009CBA;
constexpr UINT32 kColourGreyText = 0x878787;
constexpr UINT32 kColourButtonFace = 0xF1F4FA;
constexpr UINT32 kColourButtonBorder = 0xA5B3CF;
constexpr UINT32 kColourErrorBox = 0xC00000;
constexpr UINT32 kColourTabSelected = 0xDCE6F0;

// The transparent text background of the control tables (black, Reserved 1).
constexpr EFI_GRAPHICS_OUTPUT_BLT_PIXEL kTransparent = Pixel(0x000000, 1);
