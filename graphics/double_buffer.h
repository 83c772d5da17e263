// Off-screen composition: while buffered, the GOP instance's Blt draws into a
// pool frame that covers the rectangle given to Start; Flush copies that
// rectangle to the screen.
#pragma once

#include "graphics/draw_util.h"
#include "platform/efi.h"

EFI_STATUS Quorvex_DoubleBuffer_Start(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);
void Quorvex_DoubleBuffer_Flush();
void Quorvex_DoubleBuffer_Stop();
// True while the buffered Blt is installed.
bool Quorvex_DoubleBuffer_Active();

// False when buffering is on and nothing drawn at (X, Y, Width, Height)
// with a Blt that is cut at the right edge could land in the frame: drawing
// there may be skipped.
bool Quorvex_DoubleBuffer_Reaches(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);

// While buffering, the frame's own pixels of (X, Y, Width, Height) when
// the frame holds all of them: *Pixels is (X, Y), rows *Stride pixels
// apart. The caller reads and writes them as a Blt would, then reports
// the write with FrameWritten. False otherwise (the caller uses Blt).
bool Quorvex_DoubleBuffer_FrameArea(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                    EFI_GRAPHICS_OUTPUT_BLT_PIXEL** Pixels, UINT64* Stride);
void Quorvex_DoubleBuffer_FrameWritten(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);

// Start with a frame larger than the flushed rectangle, for drawing code
// that composes outside the rectangle and reads that back.
EFI_STATUS Quorvex_DoubleBuffer_StartFramed(UINT64 FrameX, UINT64 FrameY, UINT64 FrameWidth,
                                            UINT64 FrameHeight, UINT64 X, UINT64 Y, UINT64 Width,
                                            UINT64 Height);
// Fills the frame with what the screen shows there, so that pixels no
// drawing reaches flush as they were.
void Quorvex_DoubleBuffer_LoadScreen();
// The same but for Inner, which the caller's drawing covers whole before
// anything reads it (a window's face).
void Quorvex_DoubleBuffer_LoadScreenAround(const ScreenRect& Inner);
// Flush that writes only the pixels that differ from the screen (read back
// row by row), in as few rectangles as the changes allow.
void Quorvex_DoubleBuffer_FlushChanged();

// Deferring on: a flushed frame waits (the buffered Blt guarding the screen)
// until Present. Meanwhile a read where frames wait sees them, a fill or a
// small write there joins them, and anything else touching them writes
// them first. Off writes whatever waits.
void Quorvex_DoubleBuffer_SetDeferred(bool On);
// Writes every waiting frame, in the order flushed.
void Quorvex_DoubleBuffer_Present();
// While deferring (and not buffering), queues the screen Saved (Width x
// Height, the whole screen) to be written dimmed, and returns true; what
// waited before is dropped (the dimmed screen covers it). Saved must live
// until Present. False: the caller dims it itself.
bool Quorvex_DoubleBuffer_DeferDimmed(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Saved, UINT64 Width,
                                      UINT64 Height);

// The buffered Blt without a frame, recording instead of drawing (used by
// graphics/draw_record.cpp only).
bool Quorvex_DoubleBuffer_StartRecording();
void Quorvex_DoubleBuffer_StopRecording();
