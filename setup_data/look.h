// The look the setup utility and the reference platform's password gate
// share: colours as GOP Blt pixels (0xRRGGBB with the Reserved byte in the
// top 8 bits) and the password window's place. Header-only, so that an image
// which does not link the utility (the platform launcher) draws with the
// same numbers.
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

// Faces and borders: every window, button and key is a face with a border
// this many pixels wide.
constexpr UINT64 kFaceBorder = 2;

struct LookRect {
  UINT64 X, Y, Width, Height;
};

// The password window on a Width x Height screen: half the screen wide and
// a quarter high; above the on-screen keyboard while that runs, else centred.
constexpr LookRect Look_PasswordWindow(UINT64 Width, UINT64 Height, bool KeyboardShown) {
  const UINT64 w = Width * 50 / 100;
  const UINT64 h = Height * 25 / 100;
  return {(Width - w) / 2, KeyboardShown ? Height * 25 / 200 : (Height - h) / 2, w, h};
}

// The masked entry field inside a password window, for a font of LineHeight.
constexpr LookRect Look_PasswordField(const LookRect& Window, UINT64 LineHeight) {
  return {Window.X + 50, Window.Y + LineHeight + 80, Window.Width > 100 ? Window.Width - 100 : 0,
          LineHeight + 20};
}
