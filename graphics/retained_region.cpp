#include "graphics/retained_region.h"

#include "graphics/double_buffer.h"
#include "graphics/screen_log.h"
#include "platform/bindings.h"

namespace {

constexpr UINT64 kMaxDamage = 8;
constexpr UINT64 kWholeArea = 65536;

struct Damage {
  ScreenRect Rects[kMaxDamage];
  UINT64 Count;
};

void AddDamage(Damage* D, const ScreenRect& R) {
  Quorvex_Rect_Add(D->Rects, &D->Count, kMaxDamage, R);
}

bool SameRecord(const DrawRecord& A, const DrawRecord& B) {
  if (A.Empty != B.Empty || A.Hash != B.Hash) return false;
  return A.Empty || Quorvex_Rect_Equal(A.Box, B.Box);
}

void AddBox(Damage* D, const DrawRecord& R) {
  if (!R.Empty) AddDamage(D, R.Box);
}

// The damage of a step drawn differently from last time: where its writes
// differ, one by one (cut to the region).
void AddChangedWrites(Damage* D, const DrawRecord& Old, const DrawRecord& New,
                      const ScreenRect& Region) {
  const UINT64 longer = Old.WriteCount > New.WriteCount ? Old.WriteCount : New.WriteCount;
  for (UINT64 w = 0; w < longer; ++w) {
    const bool inOld = w < Old.WriteCount;
    const bool inNew = w < New.WriteCount;
    if (inOld && inNew && Old.Writes[w].Hash == New.Writes[w].Hash &&
        Quorvex_Rect_Equal(Old.Writes[w].Box, New.Writes[w].Box))
      continue;
    ScreenRect box;
    if (inOld && (box = Old.Writes[w].Box, Quorvex_Rect_Clip(&box, Region))) AddDamage(D, box);
    if (inNew && (box = New.Writes[w].Box, Quorvex_Rect_Clip(&box, Region))) AddDamage(D, box);
  }
}

// True when step Index shows in Rect: it writes there and no later step
// starts with a one-colour fill over all it writes there.
bool Reaches(const DrawRecord* Steps, UINT64 Count, UINT64 Index, const ScreenRect& Rect) {
  ScreenRect part = Steps[Index].Box;
  if (Steps[Index].Empty || !Quorvex_Rect_Clip(&part, Rect)) return false;
  for (UINT64 j = Index + 1; j < Count; ++j)
    if (Steps[j].Covers && Quorvex_Rect_Contains(Steps[j].Cover, part)) return false;
  return true;
}

constinit bool Busy = false;

// Every step, buffered when a frame can be had, without records.
void DrawWhole(const ScreenRect& Region, UINT64 Count, RetainedStepFn Draw, void* Context) {
  const bool buffered =
      !EFI_ERROR(Quorvex_DoubleBuffer_Start(Region.X, Region.Y, Region.Width, Region.Height));
  for (UINT64 i = 0; i < Count; ++i) Draw(Context, i);
  if (!buffered) return;
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
}

// Composes Rect from the steps that reach into it; a rectangle that was
// not on the screen as recorded is written whole, any other only where it
// changed.
void Compose(const ScreenRect& Rect, const DrawRecord* Steps, UINT64 Count, RetainedStepFn Draw,
             void* Context, bool Whole) {
  if (EFI_ERROR(Quorvex_DoubleBuffer_Start(Rect.X, Rect.Y, Rect.Width, Rect.Height))) {
    // No frame: the steps draw straight to the screen, as without buffering.
    for (UINT64 i = 0; i < Count; ++i) Draw(Context, i);
    return;
  }
  // Pixels that no step draws keep what the screen shows (unless one step
  // fills the whole rectangle first).
  bool covered = false;
  for (UINT64 i = 0; i < Count && !covered; ++i)
    covered = Steps[i].Covers && Quorvex_Rect_Contains(Steps[i].Cover, Rect);
  if (!covered) Quorvex_DoubleBuffer_LoadScreen();
  for (UINT64 i = 0; i < Count; ++i)
    if (Reaches(Steps, Count, i, Rect)) Draw(Context, i);
  if (Whole) {
    Quorvex_DoubleBuffer_Flush();
  } else {
    Quorvex_DoubleBuffer_FlushChanged();
  }
  Quorvex_DoubleBuffer_Stop();
}

} // namespace

void Quorvex_Retained_Redraw(RetainedRegion* Retained, const ScreenRect& Region, UINT64 Count,
                             RetainedStepFn Draw, void* Context) {
  // Kept out of the stack: the records of a whole list are large. A step
  // that redraws another retained region draws it whole (one set of
  // records is in use at a time).
  static constinit DrawRecord steps[kMaxRetainedSteps] = {};
  if (Busy) {
    Quorvex_Retained_Forget(Retained);
    DrawWhole(Region, Count, Draw, Context);
    return;
  }
  Busy = true;
  bool recorded = Count <= kMaxRetainedSteps;
  for (UINT64 i = 0; i < Count && recorded; ++i) {
    recorded = Quorvex_DrawRecord_Begin(&steps[i]);
    if (!recorded) break;
    Draw(Context, i);
    Quorvex_DrawRecord_End();
    if (!steps[i].Empty && !Quorvex_Rect_Clip(&steps[i].Box, Region)) steps[i].Empty = true;
  }
  Quorvex_ScreenLog_Watch(&Retained->Watch, Region);
  ScreenRect touched[kMaxDamage];
  const UINT64 touchedCount = Quorvex_ScreenLog_Take(&Retained->Watch, touched, kMaxDamage);
  // What this redraw writes itself is known: only others' writes count.
  Quorvex_ScreenLog_Mute(&Retained->Watch, true);

  const bool same = Retained->Valid && Retained->ScreenW == ScreenWidth &&
                    Retained->ScreenH == ScreenHeight &&
                    Quorvex_Rect_Equal(Retained->Region, Region);
  if (!recorded || !same) {
    // Nothing to compare with: everything is drawn and written (a search
    // for the changes over the whole region costs more than it saves).
    ScreenRect region = Region;
    if (recorded) {
      Compose(region, steps, Count, Draw, Context, true);
    } else {
      Retained->Valid = false;
      DrawWhole(region, Count, Draw, Context);
    }
  } else {
    Damage damage = {};
    for (UINT64 i = 0; i < touchedCount; ++i) AddDamage(&damage, touched[i]);
    const UINT64 longer = Count > Retained->Count ? Count : Retained->Count;
    for (UINT64 i = 0; i < longer; ++i) {
      if (i < Count && i < Retained->Count) {
        if (!SameRecord(steps[i], Retained->Steps[i]))
          AddChangedWrites(&damage, Retained->Steps[i], steps[i], Region);
        continue;
      }
      if (i < Retained->Count) AddBox(&damage, Retained->Steps[i]);
      if (i < Count) AddBox(&damage, steps[i]);
    }
    // A large damaged rectangle (another page's drawing) changes almost
    // everywhere: looking for its changes costs more than it saves.
    for (UINT64 d = 0; d < damage.Count; ++d) {
      const ScreenRect& r = damage.Rects[d];
      Compose(r, steps, Count, Draw, Context, r.Width * r.Height >= kWholeArea);
    }
  }
  Quorvex_ScreenLog_Mute(&Retained->Watch, false);
  Busy = false;
  if (!recorded || !Retained->Watch.Registered) return;
  Retained->Valid = true;
  Retained->Region = Region;
  Retained->ScreenW = ScreenWidth;
  Retained->ScreenH = ScreenHeight;
  Retained->Count = Count;
  for (UINT64 i = 0; i < Count; ++i) Retained->Steps[i] = steps[i];
}

void Quorvex_Retained_Reset() {
  Busy = false;
  Quorvex_DrawRecord_End();
}

void Quorvex_Retained_Forget(RetainedRegion* Retained) {
  Retained->Valid = false;
  Retained->Count = 0;
}
