// Frames waiting for the next input read. While the double buffer defers,
// a flushed frame is not written at once: it waits here, with the
// rectangle to write and how, so that all an input changes reaches the
// screen in one burst after all of it is composed.
#pragma once

#include "graphics/frame_write.h"
#include "platform/efi.h"

// A waiting frame owns its pixels, except a dimmed screen, which reads the
// grey-out's saved screen, and a fill, which holds none. A waiting frame
// gives the final pixels of its whole Area.
struct PendingFrame {
  FramePixels Frame;
  ScreenRect Area;
  bool OnlyChanged;
  bool Dimmed;
  // A direct write that waited behind the others (the cursor over the
  // dimmed screen): a frame started over it does not send the queue out.
  bool Loose;
  // A one-colour fill of Area: no pixels held (Frame.Pixels is null).
  bool Filled;
  UINT32 Colour;
};

constexpr UINT64 kMaxPendingFrames = 32;

UINT64 Quorvex_FrameQueue_Count();
bool Quorvex_FrameQueue_Full();
// Appends Item, whose pixels now belong to the queue; the queue must not
// be full.
void Quorvex_FrameQueue_Push(const PendingFrame& Item);
// True when R meets a waiting frame (FramesOnly: one a new frame must not
// be started over, neither the dimmed screen nor a loose write).
bool Quorvex_FrameQueue_Touches(const ScreenRect& R, bool FramesOnly);
// Writes Item with the firmware's Blt; returns what it wrote.
ScreenRect Quorvex_FrameQueue_WriteOne(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt,
                                       const PendingFrame& Item);
// Writes every waiting frame in order (nothing when Writable is false: the
// screen they were made for is gone) and lets them go. The dimmed screen
// and a fill skip the largest area a later frame writes anyway.
void Quorvex_FrameQueue_WriteAll(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt, bool Writable);
// Lets every waiting frame go unwritten.
void Quorvex_FrameQueue_Drop();
// Copies what the waiting frames will write into Pixels, rows of Stride
// pixels that hold the screen rectangle Rect, where they meet it.
void Quorvex_FrameQueue_Overlay(EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT64 Stride,
                                const ScreenRect& Rect);
// A Blt call without a frame (Firmware: the firmware's routine; Screen:
// the size the entries were made for) that touches a waiting entry: a read
// gets what the screen will show, a fill joins the queue as its colour, a
// write of up to 64 K pixels as a loose frame. False when the call is none
// of those (a copy on the screen, a rectangle off the screen, a large
// write, a full queue, no memory): the queue must go out first.
bool Quorvex_FrameQueue_Through(EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Firmware, const ScreenRect& Screen,
                                EFI_GRAPHICS_OUTPUT_PROTOCOL* This,
                                EFI_GRAPHICS_OUTPUT_BLT_PIXEL* BltBuffer,
                                EFI_GRAPHICS_OUTPUT_BLT_OPERATION Op, UINTN SourceX, UINTN SourceY,
                                UINTN DestinationX, UINTN DestinationY, UINTN Width, UINTN Height,
                                UINTN Delta, EFI_STATUS* Status);
