// PNG encoding for screenshots: 8-bit RGB, one zlib stream compressed with
// fixed-Huffman deflate and greedy LZ77 matching (long runs of one colour and
// rows that repeat the row above, which is most of a setup screen).
#pragma once

#include "platform/efi.h"

// The largest picture encoded, in pixels (the raw scanlines and the output
// bound must fit comfortably in the pool).
constexpr UINT64 kPngMaxPixels = 16ull * 1024 * 1024;

// Encodes Width x Height Blt pixels (rows top to bottom, Reserved ignored)
// into a pool buffer the caller frees with Quorvex_FreePool.
// EFI_INVALID_PARAMETER for null pointers or an empty or oversized picture,
// EFI_OUT_OF_RESOURCES when the pool refuses.
EFI_STATUS PngEncode_Rgb(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT32 Width, UINT32 Height,
                         UINT8** Png, UINTN* PngSize);

// The zlib stream of Data (header, one fixed-Huffman block, Adler-32) into
// Out; returns the bytes written, or 0 when OutCapacity is below
// PngEncode_ZlibBound(Size).
UINTN PngEncode_Zlib(const UINT8* Data, UINTN Size, UINT8* Out, UINTN OutCapacity);
UINTN PngEncode_ZlibBound(UINTN Size);
