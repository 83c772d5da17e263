// The image display service: draws a PNG (alpha-blended over the screen) or
// a JPEG held in memory at a screen position through the located GOP's Blt,
// clipped to the current mode. Decoded pictures are cached by address, size
// and checksum, since the same small pictures are drawn on every list redraw.
#pragma once

#include "platform/vendor_protocols.h"

ImageDisplayProtocol* ImageDisplay_Instance();
EFI_STATUS ImageDisplay_Install();
// Releases every cached picture.
void ImageDisplay_ClearCache();
// How many pictures have been decoded since start (the cache's misses).
UINT64 ImageDisplay_DecodeCount();
