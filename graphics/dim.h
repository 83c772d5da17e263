// The grey-out's dimming of one pixel: blue, green and red halved
// (truncating), the reserved byte kept.
#pragma once

#include "platform/efi.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

inline void Quorvex_DimPixels(UINT32* __restrict Out, const UINT32* __restrict In, UINT64 Count) {
  UINT64 i = 0;
#if defined(__SSE2__)
  // c - ceil(c / 2) is c / 2 truncated; ceil(c / 2) is the rounding average
  // of c and 0. The reserved byte is masked to 0 before the average, so
  // nothing is taken from it.
  const __m128i colours = _mm_set1_epi32(0x00FFFFFF);
  const __m128i zero = _mm_setzero_si128();
  auto dim4 = [&](const UINT32* From, UINT32* To) {
    const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(From));
    const __m128i half = _mm_and_si128(_mm_avg_epu8(p, zero), colours);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(To), _mm_sub_epi8(p, half));
  };
  const UINT32* from = In;
  UINT32* to = Out;
  for (const UINT32* end = In + (Count & ~UINT64{15}); from != end; from += 16, to += 16) {
    dim4(from, to);
    dim4(from + 4, to + 4);
    dim4(from + 8, to + 8);
    dim4(from + 12, to + 12);
  }
  for (const UINT32* end = In + (Count & ~UINT64{3}); from != end; from += 4, to += 4)
    dim4(from, to);
  i = Count & ~UINT64{3};
#endif
  for (; i < Count; ++i) Out[i] = ((In[i] >> 1) & 0x007F7F7Fu) | (In[i] & 0xFF000000u);
}
