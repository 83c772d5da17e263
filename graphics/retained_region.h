// Redraw of one screen region from an ordered list of drawing steps, only
// where something changed. Each step is first recorded (graphics/
// draw_record.h); a step whose record differs from the one of the last
// redraw damages its old and new boxes, and so does anything else written
// into the region meanwhile (graphics/screen_log.h). Every damaged
// rectangle is then composed off-screen from the steps that reach into it,
// in their order, and only its changed pixels are written. The screen ends
// up exactly as a full redraw of every step would leave it.
#pragma once

#include "graphics/draw_record.h"
#include "graphics/screen_log.h"

constexpr UINT64 kMaxRetainedSteps = 64;

struct RetainedRegion {
  ScreenWatch Watch;
  bool Valid;
  ScreenRect Region;
  UINT64 ScreenW, ScreenH;
  UINT64 Count;
  DrawRecord Steps[kMaxRetainedSteps];
};

// Draws step Step (0 .. Count - 1) of the caller's list.
using RetainedStepFn = void (*)(void* Context, UINT64 Step);

void Quorvex_Retained_Redraw(RetainedRegion* Retained, const ScreenRect& Region, UINT64 Count,
                             RetainedStepFn Draw, void* Context);
// A fresh session: no redraw or record under way.
void Quorvex_Retained_Reset();
// Forgets the last redraw: the next one draws the whole region.
void Quorvex_Retained_Forget(RetainedRegion* Retained);
