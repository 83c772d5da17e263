// The image display service's drawing path for one format, shared by the PNG
// and JPEG targets: random (often signature-prefixed) data at a random
// position on a small screen. A picture that is refused draws nothing; every
// pool block comes back once the cache is cleared.
#pragma once

#include <cstring>
#include <vector>

#include "platform/lib.h"
#include "reference_platform/image_decode.h"
#include "reference_platform/image_display.h"
#include "reference_platform/platform_context.h"
#include "tests/fuzz/fuzz_support.h"

namespace fuzz {

inline void ImageSetUp() {
  fake::Options options;
  options.Modes = {{320, 240}};
  options.Mouse = false;
  options.Touch = false;
  fake::Reset(options);
  Quorvex_Lib_Init(nullptr, fake::SystemTable());
  Platform_BindFirmware(nullptr, fake::SystemTable());
}

inline void ImageOne(const uint8_t* Data, size_t Size, ImageFormat Format) {
  Bytes in(Data, Size);
  const uint8_t flags = in.U8();
  const UINT64 x = in.U16() % 400;
  const UINT64 y = in.U16() % 300;
  std::vector<uint8_t> picture;
  if (flags & 1) {
    static constexpr uint8_t kPng[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    static constexpr uint8_t kJpeg[3] = {0xFF, 0xD8, 0xFF};
    if (Format == ImageFormatPng)
      picture.assign(kPng, kPng + sizeof kPng);
    else
      picture.assign(kJpeg, kJpeg + sizeof kJpeg);
  }
  const std::vector<uint8_t> rest = in.Rest();
  picture.insert(picture.end(), rest.begin(), rest.end());
  // An exact-size heap copy: a decoder reading past the end shows.
  std::vector<uint8_t> exact(picture);
  const void* data = exact.empty() ? nullptr : exact.data();

  PoolBalance balance;
  const ImageDisplayOperations* ops = ImageDisplay_Instance()->Operations;
  UINT64 w = 0, h = 0;
  const EFI_STATUS sized = ops->GetSize(data, exact.size(), &w, &h);
  if (!EFI_ERROR(sized)) Check(w > 0 && h > 0, "a size that was reported is not empty");

  const UINT64 before = fake::FramebufferGeneration();
  const EFI_STATUS status = Format == ImageFormatPng
                                ? ops->DrawPng(data, exact.size(), x, y)
                                : ops->DrawJpeg(data, static_cast<UINT32>(exact.size()), x, y);
  if (EFI_ERROR(status)) {
    Check(fake::FramebufferGeneration() == before, "a refused picture draws nothing");
  } else {
    Check(!EFI_ERROR(sized), "a picture that draws has a size");
  }
  ImageDisplay_ClearCache();
}

} // namespace fuzz
