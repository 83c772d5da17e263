// PNG and JPEG decoding for the image display service (stb_image, compiled
// freestanding over the pool wrappers).
#pragma once

#include "platform/efi.h"

enum ImageFormat : UINT32 { ImageFormatUnknown, ImageFormatPng, ImageFormatJpeg };

// The format by signature: PNG's eight-byte signature, JPEG's start-of-image
// marker.
ImageFormat ImageDecode_Format(const void* Data, UINT64 Size);

// The largest picture decoded, in pixels (a damaged header cannot ask for an
// allocation beyond this).
constexpr UINT64 kImageMaxPixels = 16ull * 1024 * 1024;

struct DecodedImage {
  UINT32 Width;
  UINT32 Height;
  bool HasAlpha; // some pixel is not fully opaque
  // Width x Height Blt pixels, rows top to bottom; Reserved holds the alpha.
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels;
};

// The picture's size from its header. EFI_INVALID_PARAMETER for null or
// empty data, EFI_UNSUPPORTED when it is neither PNG nor JPEG or is damaged.
EFI_STATUS ImageDecode_Info(const void* Data, UINT64 Size, UINT32* Width, UINT32* Height);
// Decodes the whole picture into pool memory released by ImageDecode_Release.
// Damaged or truncated data gives EFI_UNSUPPORTED and no pixels; a picture
// too large for the pool gives EFI_OUT_OF_RESOURCES.
EFI_STATUS ImageDecode_Decode(const void* Data, UINT64 Size, DecodedImage* Image);
void ImageDecode_Release(DecodedImage* Image);
