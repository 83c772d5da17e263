#include "graphics/pixel_runs.h"

#include "platform/lib.h"

namespace {

UINT32 WordAt(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT64 I) {
  UINT32 word;
  __builtin_memcpy(&word, Pixels + I, sizeof word);
  return word;
}

// Runs of equal pixels, a run's count fitting 32 bits.
UINT64 CountRuns(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT64 Count) {
  UINT64 runs = 0;
  UINT64 length = 0;
  for (UINT64 i = 0; i < Count; ++i) {
    if (length == 0 || WordAt(Pixels, i) != WordAt(Pixels, i - 1) || length == 0xFFFFFFFFu) {
      ++runs;
      length = 0;
    }
    ++length;
  }
  return runs;
}

} // namespace

bool Quorvex_PixelRuns_Keep(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT64 Count,
                            PixelRuns* Out) {
  *Out = {};
  if (!Pixels || Count == 0) return false;
  const UINT64 runs = CountRuns(Pixels, Count);
  // Two words a run: worth it below half a run per pixel.
  const bool raw = runs >= Count / 2;
  const UINT64 words = raw ? Count : 2 * runs;
  auto* kept = static_cast<UINT32*>(Quorvex_AllocatePool(words * sizeof(UINT32)));
  if (!kept) return false;
  if (raw) {
    MemCopy(kept, Pixels, Count * sizeof(UINT32));
  } else {
    UINT64 w = 0;
    for (UINT64 i = 0; i < Count; ++i) {
      const UINT32 word = WordAt(Pixels, i);
      if (w > 0 && kept[w - 1] == word && kept[w - 2] != 0xFFFFFFFFu) {
        ++kept[w - 2];
        continue;
      }
      kept[w++] = 1;
      kept[w++] = word;
    }
  }
  *Out = {kept, Count, raw};
  return true;
}

void Quorvex_PixelRuns_Expand(const PixelRuns& Runs, EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Out) {
  if (!Runs.Words || !Out) return;
  if (Runs.Raw) {
    MemCopy(Out, Runs.Words, Runs.Pixels * sizeof(UINT32));
    return;
  }
  UINT64 done = 0;
  for (UINT64 w = 0; done < Runs.Pixels; w += 2) {
    UINT64 n = Runs.Words[w];
    if (n > Runs.Pixels - done) n = Runs.Pixels - done;
    MemFill32(Out + done, Runs.Words[w + 1], n);
    done += n;
  }
}

void Quorvex_PixelRuns_Free(PixelRuns* Runs) {
  if (Runs->Words) Quorvex_FreePool(Runs->Words);
  *Runs = {};
}
