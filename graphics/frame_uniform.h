// What part of the off-screen frame is known to hold one colour: the last
// large fill, less the places written since (kept as a few rectangles that
// cover those writes). A fill of that colour inside it, away from those
// places, changes nothing and is left out (a row's margin and text boxes
// on the page's background, composed right after the background).
#pragma once

#include "graphics/draw_util.h"
#include "platform/efi.h"

constexpr UINT64 kUniformDirtySlots = 16;

struct FrameUniform {
  bool Valid;
  ScreenRect Area;
  UINT32 Colour;
  ScreenRect Dirty[kUniformDirtySlots];
  UINT64 DirtyCount;
};

// True when every pixel of R already holds Colour.
bool Quorvex_FrameUniform_Holds(const FrameUniform& U, const ScreenRect& R, UINT32 Colour);
// R was filled with Colour; a fill of at least Large pixels starts anew.
void Quorvex_FrameUniform_Filled(FrameUniform* U, const ScreenRect& R, UINT32 Colour, UINT64 Large);
// R was written with anything.
void Quorvex_FrameUniform_Written(FrameUniform* U, const ScreenRect& R);
