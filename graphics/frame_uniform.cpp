#include "graphics/frame_uniform.h"

#include "graphics/draw_record.h"

bool Quorvex_FrameUniform_Holds(const FrameUniform& U, const ScreenRect& R, UINT32 Colour) {
  if (!U.Valid || Colour != U.Colour || !Quorvex_Rect_Contains(U.Area, R)) return false;
  for (UINT64 i = 0; i < U.DirtyCount; ++i)
    if (Quorvex_Rect_Intersects(U.Dirty[i], R)) return false;
  return true;
}

void Quorvex_FrameUniform_Filled(FrameUniform* U, const ScreenRect& R, UINT32 Colour,
                                 UINT64 Large) {
  if (R.Width * R.Height >= Large) {
    *U = {};
    U->Valid = true;
    U->Area = R;
    U->Colour = Colour;
    return;
  }
  Quorvex_FrameUniform_Written(U, R);
}

void Quorvex_FrameUniform_Written(FrameUniform* U, const ScreenRect& R) {
  if (!U->Valid || R.Width == 0 || R.Height == 0 || !Quorvex_Rect_Intersects(U->Area, R)) return;
  // A write beside the last one on the same rows (the next glyph of a
  // text) widens it; otherwise it takes a slot, and with none left the last
  // slot takes it in.
  if (U->DirtyCount > 0) {
    ScreenRect& last = U->Dirty[U->DirtyCount - 1];
    const bool sameRows = R.Y < last.Y + last.Height && last.Y < R.Y + R.Height;
    if (sameRows || U->DirtyCount == kUniformDirtySlots) {
      last = Quorvex_Rect_Union(last, R);
      return;
    }
  }
  U->Dirty[U->DirtyCount++] = R;
}
