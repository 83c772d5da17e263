#include "graphics/buffered_window.h"

#include "graphics/double_buffer.h"

BufferedWindow::BufferedWindow(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT64 Margin)
    : buffered_(false) {
  const UINT64 left = X > Margin ? X - Margin : 0;
  const UINT64 top = Y > Margin ? Y - Margin : 0;
  buffered_ = !EFI_ERROR(Quorvex_DoubleBuffer_Start(left, top, Width + (X - left) + Margin,
                                                    Height + (Y - top) + Margin));
  // The window's face covers its own rectangle first: only the margin
  // around it needs what the screen shows.
  if (buffered_) Quorvex_DoubleBuffer_LoadScreenAround({X, Y, Width, Height});
}

BufferedWindow::~BufferedWindow() {
  if (!buffered_) return;
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
}
