#include "graphics/screen_log.h"

#include "graphics/double_buffer.h"
#include "graphics/draw_record.h"

namespace {

// The item list and the item help box watch; room for a few more.
constexpr UINT64 kMaxWatches = 4;

struct ScreenLog {
  ScreenWatch* Watches[kMaxWatches];
  UINT64 Count;
};
constinit ScreenLog Log = {};

bool Direct() {
  return !Quorvex_DoubleBuffer_Active() && !Quorvex_DrawRecord_Active();
}

} // namespace

void Quorvex_ScreenLog_Touch(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  if (X >= ScreenWidth || Y >= ScreenHeight || Width == 0 || Height == 0) return;
  // Cut to the screen before any sum, so that X + Width cannot overflow.
  const ScreenRect r = {X, Y, Width < ScreenWidth - X ? Width : ScreenWidth - X,
                        Height < ScreenHeight - Y ? Height : ScreenHeight - Y};
  for (UINT64 i = 0; i < Log.Count; ++i) {
    ScreenWatch* watch = Log.Watches[i];
    ScreenRect part = r;
    if (watch->Muted || !Quorvex_Rect_Clip(&part, watch->Area)) continue;
    Quorvex_Rect_Add(watch->Touched, &watch->Count, kScreenWatchSlots, part);
  }
}

void Quorvex_ScreenLog_TouchAll() {
  Quorvex_ScreenLog_Touch(0, 0, ScreenWidth, ScreenHeight);
}

void Quorvex_ScreenLog_Watch(ScreenWatch* Watch, const ScreenRect& Area) {
  Watch->Area = Area;
  if (Watch->Registered) return;
  if (Log.Count == kMaxWatches) return; // unwatched: its owner draws whole
  Log.Watches[Log.Count++] = Watch;
  Watch->Registered = true;
}

void Quorvex_ScreenLog_Mute(ScreenWatch* Watch, bool Muted) {
  Watch->Muted = Muted;
}

UINT64 Quorvex_ScreenLog_Take(ScreenWatch* Watch, ScreenRect* Out, UINT64 Max) {
  UINT64 count = 0;
  for (UINT64 i = 0; i < Watch->Count && Max > 0; ++i) {
    ScreenRect r = Watch->Touched[i];
    if (Quorvex_Rect_Clip(&r, Watch->Area)) Quorvex_Rect_Add(Out, &count, Max, r);
  }
  Watch->Count = 0;
  return count;
}

void Quorvex_ScreenLog_Reset() {
  for (UINT64 i = 0; i < Log.Count; ++i) *Log.Watches[i] = {};
  Log = {};
}

void Quorvex_ScreenLog_NoteBlt(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  if (Direct()) Quorvex_ScreenLog_Touch(X, Y, Width, Height);
}

void Quorvex_ScreenLog_NotePicture(const Picture& Image, UINT64 X, UINT64 Y) {
  if (!Direct()) return;
  // Anything but a PNG of known size may cover any part of the screen.
  UINT64 width = 0;
  UINT64 height = 0;
  if (Quorvex_PngExtent(Image, &width, &height)) {
    Quorvex_ScreenLog_Touch(X, Y, width, height);
  } else {
    Quorvex_ScreenLog_TouchAll();
  }
}
