#include "graphics/pixel_runs.h"

#include "platform/lib.h"

namespace {

// Writes the runs of Words into Out (room for Room words); returns the
// words written, or 0 when they do not fit. A run's pixels are skipped
// two at a time.
UINT64 Encode(const UINT32* Words, UINT64 Count, UINT32* Out, UINT64 Room) {
  UINT64 w = 0;
  UINT64 i = 0;
  while (i < Count) {
    const UINT32 value = Words[i];
    const UINT64 pair = (static_cast<UINT64>(value) << 32) | value;
    UINT64 end = i + 1;
    for (UINT64 two; end + 2 <= Count; end += 2) {
      __builtin_memcpy(&two, Words + end, sizeof two);
      if (two != pair) break;
    }
    while (end < Count && Words[end] == value) ++end;
    if (w + 2 > Room || end - i > 0xFFFFFFFFu) return 0;
    Out[w++] = static_cast<UINT32>(end - i);
    Out[w++] = value;
    i = end;
  }
  return w;
}

} // namespace

bool Quorvex_PixelRuns_Keep(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT64 Count,
                            PixelRuns* Out) {
  *Out = {};
  if (!Pixels || Count == 0) return false;
  const auto* words = reinterpret_cast<const UINT32*>(Pixels);
  // Runs are worth keeping below half a run per pixel (two words a run):
  // they are written into a block the size of the picture, then moved to
  // one of their own size.
  auto* block = static_cast<UINT32*>(Quorvex_AllocatePool(Count * sizeof(UINT32)));
  if (!block) return false;
  const UINT64 used = Encode(words, Count, block, Count - 1);
  if (used == 0) {
    MemCopy(block, words, Count * sizeof(UINT32));
    *Out = {block, Count, true};
    return true;
  }
  auto* kept = static_cast<UINT32*>(Quorvex_AllocatePool(used * sizeof(UINT32)));
  if (kept) MemCopy(kept, block, used * sizeof(UINT32));
  Quorvex_FreePool(block);
  if (!kept) return false;
  *Out = {kept, Count, false};
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
