// Recording instead of drawing: while a record is active, every Blt that
// would change pixels (and every glyph the text drawer would blend) only
// feeds a hash and grows a bounding box. Two records of the same drawing
// code are equal exactly when the code would put the same pixels into the
// same place, which is how the retained item list finds what changed
// without drawing it.
#pragma once

#include "graphics/draw_util.h"
#include "platform/efi.h"

constexpr UINT64 kRecordWrites = 12;

struct RecordedWrite {
  UINT64 Hash;
  ScreenRect Box;
};

struct DrawRecord {
  UINT64 Hash;
  // Bounding box of everything the recorded code would write; Empty when it
  // wrote nothing.
  ScreenRect Box;
  bool Empty;
  // A one-colour fill that is the recorded code's first access to the
  // screen: whatever was drawn there before cannot show through it.
  ScreenRect Cover;
  bool Covers;
  bool Accessed;
  // The writes one by one, each with the hash of what decided it (the last
  // slot takes in any beyond the room): a changed record damages only where
  // its writes differ.
  RecordedWrite Writes[kRecordWrites];
  UINT64 WriteCount;
  UINT64 Pending; // hash of what was fed since the last write
};

// Starts recording into Record (cleared first). Drawing code runs unchanged
// but reaches no frame and no screen until Quorvex_DrawRecord_End.
// Recording requires the GOP and no buffering in force; false otherwise.
bool Quorvex_DrawRecord_Begin(DrawRecord* Record);
void Quorvex_DrawRecord_End();
bool Quorvex_DrawRecord_Active();

// A hash of Bytes at Data, continuing Seed (the one the records use).
UINT64 Quorvex_DrawRecord_HashOf(const void* Data, UINT64 Bytes, UINT64 Seed);

// What the recording Blt and the text drawer feed in.
void Quorvex_DrawRecord_Words(const void* Data, UINT64 Bytes);
void Quorvex_DrawRecord_Area(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);
// A read of the screen, and a one-colour fill lying on the screen (before
// its area is recorded).
void Quorvex_DrawRecord_Read();
void Quorvex_DrawRecord_Fill(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);

// Rectangle arithmetic shared by the recorder and its users.
bool Quorvex_Rect_Intersects(const ScreenRect& A, const ScreenRect& B);
ScreenRect Quorvex_Rect_Union(const ScreenRect& A, const ScreenRect& B);
bool Quorvex_Rect_Contains(const ScreenRect& Outer, const ScreenRect& Inner);
bool Quorvex_Rect_Equal(const ScreenRect& A, const ScreenRect& B);
// Adds R to the Count rectangles of Rects (room for Capacity), merged with
// every one it meets so that none overlap, and with the one whose union
// grows least when there is no room left.
void Quorvex_Rect_Add(ScreenRect* Rects, UINT64* Count, UINT64 Capacity, ScreenRect R);
// A cut to B; false (and A unchanged) when they do not meet.
bool Quorvex_Rect_Clip(ScreenRect* A, const ScreenRect& B);
// Outer less Hole, top to bottom: the rows above the hole, the columns left
// and right of it, the rows below (the empty ones left out; Outer whole
// when the two do not meet). Returns how many of Out were filled.
UINT64 Quorvex_Rect_Around(const ScreenRect& Outer, const ScreenRect& Hole, ScreenRect Out[4]);
