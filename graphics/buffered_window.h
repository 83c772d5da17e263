#pragma once

#include "platform/efi.h"

// Composes a window's first drawing off screen, over what the screen shows
// in the Margin pixels around the window, so that the window reaches the
// screen whole. The drawing must start with the window's face, which
// covers the window's own rectangle. Without a frame the drawing goes straight to
// the screen.
class BufferedWindow {
public:
  BufferedWindow(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT64 Margin);
  ~BufferedWindow();
  BufferedWindow(const BufferedWindow&) = delete;
  BufferedWindow& operator=(const BufferedWindow&) = delete;

private:
  bool buffered_;
};
