// stb_image in the firmware: PNG and JPEG only, no files, no floating point,
// no SIMD, no thread-local state, every allocation from the boot-services
// pool. The UEFI build compiles this one file against the small C library
// headers in reference_platform/freestanding/.
#include "reference_platform/image_decode.h"

#include "platform/lib.h"

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
#define STBI_NO_SIMD
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
  if (ImageDecode_Format(Data, Size) == ImageFormatUnknown) return EFI_UNSUPPORTED;
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
