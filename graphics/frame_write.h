// Writing a composed frame to the screen: whole, or only where it differs
// from what the screen shows.
#pragma once

#include "graphics/draw_util.h"
#include "platform/efi.h"

// A frame of pixels covering a screen rectangle (row-major, rows of Width).
struct FramePixels {
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels;
  ScreenRect Rect;
};

// Writes Area (inside Frame.Rect) to the same place on the screen with the
// firmware's Blt. Returns the rectangle written.
ScreenRect Quorvex_Frame_Write(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, const FramePixels& Frame,
                               const ScreenRect& Area);
// Writes only the pixels of Area that differ from the screen (read back row
// by row), rows of equal changed columns as one rectangle. Returns the
// bounding box of what was written (empty when nothing was).
ScreenRect Quorvex_Frame_WriteChanged(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt,
                                      const FramePixels& Frame, const ScreenRect& Area);
// Writes the whole screen Saved dimmed (as the grey-out dims it), in bands
// of rows through a scratch of its own, except Skip (a place the caller
// writes over right after anyway).
void Quorvex_Frame_WriteDimmed(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, const FramePixels& Saved,
                               const ScreenRect& Skip = {0, 0, 0, 0});
