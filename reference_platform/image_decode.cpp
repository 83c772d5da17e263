// stb_image in the firmware: PNG and JPEG only, no files, no floating point,
// no thread-local state, every allocation from the boot-services pool. On
// x86-64 the JPEG inverse DCT, upsampling and colour conversion use stb's
// SSE2 kernels (SSE2 is part of x86-64 and enabled in UEFI); they give the
// same bytes as its portable C code. The UEFI build compiles this one file
// against the small C library headers in reference_platform/freestanding/.
#include "reference_platform/image_decode.h"

#include "platform/lib.h"
#include "reference_platform/store.h"

namespace {

// stb needs realloc: each block carries its size in a 16-byte header (16
// keeps the payload aligned as the pool's own blocks are).
constexpr UINTN kHeader = 16;

void* PoolMalloc(UINTN Size) {
  if (Size > (1ull << 40)) return nullptr;
  UINT8* block = static_cast<UINT8*>(Quorvex_AllocatePool(Size + kHeader));
  if (!block) return nullptr;
  MemCopy(block, &Size, sizeof(Size));
  return block + kHeader;
}

void PoolFree(void* Payload) {
  if (Payload) Quorvex_FreePool(static_cast<UINT8*>(Payload) - kHeader);
}

void* PoolRealloc(void* Payload, UINTN Size) {
  if (!Payload) return PoolMalloc(Size);
  UINTN old_size;
  MemCopy(&old_size, static_cast<UINT8*>(Payload) - kHeader, sizeof(old_size));
  void* fresh = PoolMalloc(Size);
  if (!fresh) return nullptr; // the old block stays valid, as realloc promises
  MemCopy(fresh, Payload, old_size < Size ? old_size : Size);
  PoolFree(Payload);
  return fresh;
}

} // namespace

#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_NO_STDIO
#define STBI_NO_HDR
#define STBI_NO_LINEAR
#define STBI_NO_THREAD_LOCALS
#define STBI_NO_FAILURE_STRINGS
#define STBI_MAX_DIMENSIONS 16384
#define STBI_ASSERT(x) ((void)0)
#define STBI_MALLOC(size) PoolMalloc(size)
#define STBI_REALLOC(pointer, size) PoolRealloc((pointer), (size))
#define STBI_FREE(pointer) PoolFree(pointer)
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#elif defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wunused-function"
#pragma clang diagnostic ignored "-Wunused-parameter"
#pragma clang diagnostic ignored "-Wsign-compare"
#endif
#include <stb/stb_image.h>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#elif defined(__clang__)
#pragma clang diagnostic pop
#endif

namespace {

bool UsableSize(const void* Data, UINT64 Size) {
  // stb reads lengths as int.
  return Data && Size > 0 && Size <= 0x7FFFFFFFull;
}

UINT32 BigEndian32(const UINT8* B) {
  return static_cast<UINT32>(B[0]) << 24 | static_cast<UINT32>(B[1]) << 16 |
         static_cast<UINT32>(B[2]) << 8 | B[3];
}

// The decoder trusts the structure of the data more than damaged data
// deserves, so a picture's structure is checked before it is handed over.
//
// PNG: every chunk lies inside the data and carries a correct CRC, and the
// picture ends with IEND (a truncated or damaged picture is refused whole
// instead of being drawn in part).
bool PngSound(const UINT8* B, UINT64 Size) {
  UINT64 at = 8;
  while (at + 12 <= Size) {
    const UINT64 length = BigEndian32(B + at);
    if (length > Size - at - 12) return false;
    const UINT32 stored = BigEndian32(B + at + 8 + length);
    if (Store_Crc32(B + at + 4, length + 4) != stored) return false;
    if (MemCompare(B + at + 4, "IEND", 4) == 0) return true;
    at += 12 + length;
  }
  return false;
}

// JPEG: the marker segments lie inside the data, no Huffman table lists more
// than 256 codes (the decoder would write past its code tables), and the
// picture ends with its end-of-image marker.
bool JpegHuffmanTablesSound(const UINT8* B, UINT64 End) {
  UINT64 at = 0;
  while (at < End) {
    if (End - at < 17) return false;
    UINT64 codes = 0;
    for (UINT64 k = 1; k <= 16; ++k) codes += B[at + k];
    if (codes > 256 || codes > End - at - 17) return false;
    at += 17 + codes;
  }
  return true;
}

bool JpegSound(const UINT8* B, UINT64 Size) {
  UINT64 at = 2; // after the start-of-image marker
  bool entropyData = false;
  while (at + 1 < Size) {
    if (entropyData) {
      // Coded data runs to the next marker other than a stuffed zero byte,
      // a restart marker or fill.
      const UINT8 next = B[at + 1];
      if (B[at] != 0xFF || next == 0x00 || next == 0xFF || (next >= 0xD0 && next <= 0xD7)) {
        at += B[at] == 0xFF && next != 0xFF ? 2 : 1;
        continue;
      }
      entropyData = false;
    }
    if (B[at] != 0xFF) return false;
    const UINT8 marker = B[at + 1];
    if (marker == 0xFF) {
      ++at; // fill byte
      continue;
    }
    at += 2;
    if (marker == 0xD9) return true;
    if ((marker >= 0xD0 && marker <= 0xD7) || marker == 0x01) continue; // no length
    if (Size - at < 2) return false;
    const UINT64 length = static_cast<UINT64>(B[at]) << 8 | B[at + 1];
    if (length < 2 || length > Size - at) return false;
    if (marker == 0xC4 && !JpegHuffmanTablesSound(B + at + 2, length - 2)) return false;
    at += length;
    if (marker == 0xDA) entropyData = true;
  }
  return false;
}

} // namespace

ImageFormat ImageDecode_Format(const void* Data, UINT64 Size) {
  if (!Data) return ImageFormatUnknown;
  const UINT8* b = static_cast<const UINT8*>(Data);
  static constexpr UINT8 kPng[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  if (Size >= 8 && MemCompare(b, kPng, 8) == 0) return ImageFormatPng;
  if (Size >= 3 && b[0] == 0xFF && b[1] == 0xD8 && b[2] == 0xFF) return ImageFormatJpeg;
  return ImageFormatUnknown;
}

EFI_STATUS ImageDecode_Info(const void* Data, UINT64 Size, UINT32* Width, UINT32* Height) {
  if (!UsableSize(Data, Size) || !Width || !Height) return EFI_INVALID_PARAMETER;
  const ImageFormat format = ImageDecode_Format(Data, Size);
  const UINT8* bytes = static_cast<const UINT8*>(Data);
  if (format == ImageFormatUnknown) return EFI_UNSUPPORTED;
  if (format == ImageFormatPng && !PngSound(bytes, Size)) return EFI_UNSUPPORTED;
  if (format == ImageFormatJpeg && !JpegSound(bytes, Size)) return EFI_UNSUPPORTED;
  int w = 0, h = 0, channels = 0;
  if (!stbi_info_from_memory(static_cast<const stbi_uc*>(Data), static_cast<int>(Size), &w, &h,
                             &channels) ||
      w <= 0 || h <= 0)
    return EFI_UNSUPPORTED;
  *Width = static_cast<UINT32>(w);
  *Height = static_cast<UINT32>(h);
  return EFI_SUCCESS;
}

EFI_STATUS ImageDecode_Decode(const void* Data, UINT64 Size, DecodedImage* Image) {
  if (!Image) return EFI_INVALID_PARAMETER;
  Image->Width = Image->Height = 0;
  Image->HasAlpha = false;
  Image->Pixels = nullptr;
  UINT32 width = 0, height = 0;
  const EFI_STATUS info = ImageDecode_Info(Data, Size, &width, &height);
  if (EFI_ERROR(info)) return info;
  if (static_cast<UINT64>(width) * height > kImageMaxPixels) return EFI_OUT_OF_RESOURCES;

  int w = 0, h = 0, channels = 0;
  stbi_uc* rgba = stbi_load_from_memory(static_cast<const stbi_uc*>(Data), static_cast<int>(Size),
                                        &w, &h, &channels, 4);
  if (!rgba) return EFI_UNSUPPORTED;
  if (w <= 0 || h <= 0) {
    stbi_image_free(rgba);
    return EFI_UNSUPPORTED;
  }
  // RGBA bytes become Blt pixels (Blue, Green, Red, alpha) in place.
  const UINT64 count = static_cast<UINT64>(w) * static_cast<UINT64>(h);
  bool has_alpha = false;
  for (UINT64 i = 0; i < count; ++i) {
    stbi_uc* p = rgba + 4 * i;
    const stbi_uc red = p[0];
    p[0] = p[2];
    p[2] = red;
    if (p[3] != 255) has_alpha = true;
  }
  Image->Width = static_cast<UINT32>(w);
  Image->Height = static_cast<UINT32>(h);
  Image->HasAlpha = has_alpha;
  Image->Pixels = reinterpret_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(rgba);
  return EFI_SUCCESS;
}

void ImageDecode_Release(DecodedImage* Image) {
  if (!Image) return;
  if (Image->Pixels) stbi_image_free(Image->Pixels);
  Image->Pixels = nullptr;
  Image->Width = Image->Height = 0;
  Image->HasAlpha = false;
}
