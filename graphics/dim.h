// The grey-out's dimming of one pixel: blue, green and red halved
// (truncating), the reserved byte kept.
#pragma once

#include "platform/efi.h"

inline void Quorvex_DimPixels(UINT32* __restrict Out, const UINT32* __restrict In, UINT64 Count) {
  for (UINT64 i = 0; i < Count; ++i) Out[i] = ((In[i] >> 1) & 0x007F7F7Fu) | (In[i] & 0xFF000000u);
}
