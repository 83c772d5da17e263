#include "graphics/draw_record.h"

#include "graphics/double_buffer.h"
#include "platform/lib.h"

namespace {

constinit DrawRecord* Active = nullptr;

// One 64-bit multiply-xor step per word: the hash only has to tell two
// drawings of one region apart, not resist an adversary.
constexpr UINT64 kMix = 0x9E3779B97F4A7C15ull;

inline UINT64 Mix(UINT64 Hash, UINT64 Word) {
  Hash ^= Word + kMix + (Hash << 6) + (Hash >> 2);
  return Hash * 0xFF51AFD7ED558CCDull;
}

} // namespace

bool Quorvex_DrawRecord_Begin(DrawRecord* Record) {
  if (!Record || Active) return false;
  *Record = {};
  Record->Hash = kMix;
  Record->Empty = true;
  Record->Pending = kMix;
  Active = Record;
  if (!Quorvex_DoubleBuffer_StartRecording()) {
    Active = nullptr;
    return false;
  }
  return true;
}

void Quorvex_DrawRecord_End() {
  if (!Active) return;
  Quorvex_DoubleBuffer_StopRecording();
  Active = nullptr;
}

bool Quorvex_DrawRecord_Active() {
  return Active != nullptr;
}

UINT64 Quorvex_DrawRecord_HashOf(const void* Data, UINT64 Bytes, UINT64 Seed) {
  const UINT8* bytes = static_cast<const UINT8*>(Data);
  UINT64 hash = Seed;
  UINT64 i = 0;
  for (; i + 8 <= Bytes; i += 8) {
    UINT64 word;
    __builtin_memcpy(&word, bytes + i, 8);
    hash = Mix(hash, word);
  }
  if (i < Bytes) {
    UINT64 word = 0;
    MemCopy(&word, bytes + i, Bytes - i);
    hash = Mix(hash, word ^ (Bytes - i) << 56);
  }
  return Mix(hash, Bytes);
}

void Quorvex_DrawRecord_Words(const void* Data, UINT64 Bytes) {
  if (!Active) return;
  Active->Hash = Quorvex_DrawRecord_HashOf(Data, Bytes, Active->Hash);
  Active->Pending = Quorvex_DrawRecord_HashOf(Data, Bytes, Active->Pending);
}

void Quorvex_DrawRecord_Area(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  if (!Active || Width == 0 || Height == 0) return;
  const ScreenRect area = {X, Y, Width, Height};
  const UINT64 words[4] = {X, Y, Width, Height};
  Quorvex_DrawRecord_Words(words, sizeof words);
  Active->Box = Active->Empty ? area : Quorvex_Rect_Union(Active->Box, area);
  Active->Empty = false;
  Active->Accessed = true;
  if (Active->WriteCount < kRecordWrites) {
    Active->Writes[Active->WriteCount++] = {Active->Pending, area};
  } else {
    RecordedWrite& last = Active->Writes[kRecordWrites - 1];
    last.Hash = Mix(last.Hash, Active->Pending);
    last.Box = Quorvex_Rect_Union(last.Box, area);
  }
  Active->Pending = kMix;
}

void Quorvex_DrawRecord_Read() {
  if (Active) Active->Accessed = true;
}

void Quorvex_DrawRecord_Fill(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  if (!Active || Active->Accessed || Width == 0 || Height == 0) return;
  Active->Cover = {X, Y, Width, Height};
  Active->Covers = true;
}

bool Quorvex_Rect_Contains(const ScreenRect& Outer, const ScreenRect& Inner) {
  return Inner.X >= Outer.X && Inner.Y >= Outer.Y &&
         Inner.X + Inner.Width <= Outer.X + Outer.Width &&
         Inner.Y + Inner.Height <= Outer.Y + Outer.Height;
}

bool Quorvex_Rect_Intersects(const ScreenRect& A, const ScreenRect& B) {
  return A.Width != 0 && A.Height != 0 && B.Width != 0 && B.Height != 0 && A.X < B.X + B.Width &&
         B.X < A.X + A.Width && A.Y < B.Y + B.Height && B.Y < A.Y + A.Height;
}

ScreenRect Quorvex_Rect_Union(const ScreenRect& A, const ScreenRect& B) {
  if (A.Width == 0 || A.Height == 0) return B;
  if (B.Width == 0 || B.Height == 0) return A;
  const UINT64 x0 = A.X < B.X ? A.X : B.X;
  const UINT64 y0 = A.Y < B.Y ? A.Y : B.Y;
  const UINT64 x1 = A.X + A.Width > B.X + B.Width ? A.X + A.Width : B.X + B.Width;
  const UINT64 y1 = A.Y + A.Height > B.Y + B.Height ? A.Y + A.Height : B.Y + B.Height;
  return {x0, y0, x1 - x0, y1 - y0};
}

bool Quorvex_Rect_Clip(ScreenRect* A, const ScreenRect& B) {
  if (!Quorvex_Rect_Intersects(*A, B)) return false;
  const UINT64 x0 = A->X > B.X ? A->X : B.X;
  const UINT64 y0 = A->Y > B.Y ? A->Y : B.Y;
  const UINT64 x1 = A->X + A->Width < B.X + B.Width ? A->X + A->Width : B.X + B.Width;
  const UINT64 y1 = A->Y + A->Height < B.Y + B.Height ? A->Y + A->Height : B.Y + B.Height;
  *A = {x0, y0, x1 - x0, y1 - y0};
  return true;
}

UINT64 Quorvex_Rect_Around(const ScreenRect& Outer, const ScreenRect& Hole, ScreenRect Out[4]) {
  ScreenRect h = Hole;
  if (!Quorvex_Rect_Clip(&h, Outer)) {
    Out[0] = Outer;
    return Outer.Width != 0 && Outer.Height != 0 ? 1 : 0;
  }
  const UINT64 right = h.X + h.Width;
  const UINT64 bottom = h.Y + h.Height;
  const ScreenRect parts[4] = {{Outer.X, Outer.Y, Outer.Width, h.Y - Outer.Y},
                               {Outer.X, h.Y, h.X - Outer.X, h.Height},
                               {right, h.Y, Outer.X + Outer.Width - right, h.Height},
                               {Outer.X, bottom, Outer.Width, Outer.Y + Outer.Height - bottom}};
  UINT64 count = 0;
  for (const ScreenRect& part : parts)
    if (part.Width != 0 && part.Height != 0) Out[count++] = part;
  return count;
}

void Quorvex_Rect_Add(ScreenRect* Rects, UINT64* Count, UINT64 Capacity, ScreenRect R) {
  if (R.Width == 0 || R.Height == 0 || Capacity == 0) return;
  for (bool merged = true; merged;) {
    merged = false;
    for (UINT64 i = 0; i < *Count; ++i) {
      if (Quorvex_Rect_Intersects(Rects[i], R)) {
        R = Quorvex_Rect_Union(Rects[i], R);
        Rects[i] = Rects[--*Count];
        merged = true;
        break;
      }
    }
  }
  if (*Count < Capacity) {
    Rects[(*Count)++] = R;
    return;
  }
  UINT64 best = 0;
  UINT64 bestGrowth = ~0ull;
  for (UINT64 i = 0; i < *Count; ++i) {
    const ScreenRect u = Quorvex_Rect_Union(Rects[i], R);
    const UINT64 growth = u.Width * u.Height - Rects[i].Width * Rects[i].Height;
    if (growth < bestGrowth) {
      best = i;
      bestGrowth = growth;
    }
  }
  const ScreenRect merged = Quorvex_Rect_Union(Rects[best], R);
  Rects[best] = Rects[--*Count];
  Quorvex_Rect_Add(Rects, Count, Capacity, merged);
}

bool Quorvex_Rect_Equal(const ScreenRect& A, const ScreenRect& B) {
  return A.X == B.X && A.Y == B.Y && A.Width == B.Width && A.Height == B.Height;
}
