// A picture kept as runs of equal pixels, for pictures that are mostly
// flat (the left band under the tabs holds about one run in sixteen
// pixels). A picture that would not shrink is kept as it is.
#pragma once

#include "platform/efi.h"

struct PixelRuns {
  // Pairs of (count, pixel word) in row-major order, a run continuing over
  // row ends; or, when Raw, the pixels themselves.
  UINT32* Words;
  UINT64 Pixels;
  bool Raw;
};

// Keeps Count pixels in a new pool block; false (Out empty) without memory.
bool Quorvex_PixelRuns_Keep(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT64 Count,
                            PixelRuns* Out);
// Writes the kept pixels into Out (Runs.Pixels of them).
void Quorvex_PixelRuns_Expand(const PixelRuns& Runs, EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Out);
void Quorvex_PixelRuns_Free(PixelRuns* Runs);
