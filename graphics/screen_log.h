// Who wrote where on the screen. A retained region (graphics/
// retained_region.h) watches its area: every write to the screen that it
// did not make itself — direct drawing, another buffered region, pictures,
// the cursor, the grey-out — is noted for it, and it redraws those places
// from its records, since it cannot know what they show now.
#pragma once

#include "graphics/draw_util.h"

constexpr UINT64 kScreenWatchSlots = 8;

struct ScreenWatch {
  ScreenRect Area;
  ScreenRect Touched[kScreenWatchSlots];
  UINT64 Count;
  bool Registered;
  bool Muted;
};

// Notes a written rectangle (cut to the screen) for every watch but a
// muted one.
void Quorvex_ScreenLog_Touch(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);
void Quorvex_ScreenLog_TouchAll();
// Starts (or moves) a watch over Area; what was noted before stays.
void Quorvex_ScreenLog_Watch(ScreenWatch* Watch, const ScreenRect& Area);
// While muted, a watch is not told of writes (its owner's own drawing).
void Quorvex_ScreenLog_Mute(ScreenWatch* Watch, bool Muted);
// The rectangles noted for Watch within its area (at most Max; more are
// merged), then forgets them. Returns how many were written.
UINT64 Quorvex_ScreenLog_Take(ScreenWatch* Watch, ScreenRect* Out, UINT64 Max);
// Drops every watch (a fresh session).
void Quorvex_ScreenLog_Reset();
