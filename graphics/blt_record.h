// The buffered Blt's recording side (graphics/draw_record.cpp's records).
#pragma once

#include "platform/efi.h"

struct ScreenSize {
  UINT64 Width, Height;
};

// Feeds one Blt call into the active record instead of drawing it, on a
// screen of the given size (a read gives the caller black).
void Quorvex_BltRecord(const ScreenSize& Screen, const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* BltBuffer,
                       EFI_GRAPHICS_OUTPUT_BLT_OPERATION Op, UINTN SourceX, UINTN SourceY,
                       UINTN DestinationX, UINTN DestinationY, UINTN Width, UINTN Height,
                       UINTN Delta);
