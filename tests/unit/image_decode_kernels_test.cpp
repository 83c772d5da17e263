// The firmware's JPEG decoder runs stb's SSE2 kernels (inverse DCT, chroma
// upsampling, colour conversion). They must give exactly the bytes of stb's
// portable C code, which this file compiles for comparison: every pixel of
// the left band picture and of pictures with the subsamplings, odd sizes
// and saturated colours the kernels treat apart.
#define STBI_NO_SIMD
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wsign-compare"
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

#include <string>
#include <vector>

#include "assets/assets.h"
#include "reference_platform/image_decode.h"
#include "tests/unit/refplat_fixture.h"

namespace {

void Collect(void* Context, void* Data, int Size) {
  auto* out = static_cast<std::vector<UINT8>*>(Context);
  out->insert(out->end(), static_cast<UINT8*>(Data), static_cast<UINT8*>(Data) + Size);
}

// Gradients, hard edges, pure black and white (where the colour conversion
// clamps) and noisy rows, encoded with stb's writer.
std::vector<UINT8> Jpeg(int Width, int Height, int Channels, int Quality) {
  std::vector<UINT8> pixels;
  UINT32 noise = 12345;
  for (int i = 0; i < Width * Height * Channels; ++i) {
    const int x = i / Channels % Width, y = i / Channels / Width, c = i % Channels;
    noise = noise * 1103515245u + 12345u;
    int v = (x * 255 / Width + c * 80 + y * 3) & 0xFF;
    if ((x / 5 + y / 3) % 4 == 0) v = (c & 1) ? 255 : 0;
    if (y % 9 == 0) v = static_cast<int>(noise >> 24);
    pixels.push_back(static_cast<UINT8>(v));
  }
  std::vector<UINT8> out;
  stbi_write_jpg_to_func(Collect, &out, Width, Height, Channels, pixels.data(), Quality);
  return out;
}

class ImageDecodeKernels : public RefPlatTest {
protected:
  // The firmware decoder's Blt pixels against the C code's RGBA bytes.
  static void ExpectSameAsPortableCode(const UINT8* Data, UINT64 Size, const std::string& Name) {
    SCOPED_TRACE(Name);
    int width = 0, height = 0, channels = 0;
    stbi_uc* reference =
        stbi_load_from_memory(Data, static_cast<int>(Size), &width, &height, &channels, 4);
    ASSERT_NE(reference, nullptr);
    DecodedImage image{};
    ASSERT_EQ(ImageDecode_Decode(Data, Size, &image), EFI_SUCCESS);
    ASSERT_EQ(image.Width, static_cast<UINT32>(width));
    ASSERT_EQ(image.Height, static_cast<UINT32>(height));
    UINT64 differing = 0;
    for (UINT64 i = 0; i < static_cast<UINT64>(width) * height; ++i) {
      const EFI_GRAPHICS_OUTPUT_BLT_PIXEL p = image.Pixels[i];
      const stbi_uc* r = reference + 4 * i;
      if (p.Red != r[0] || p.Green != r[1] || p.Blue != r[2] || p.Reserved != r[3]) ++differing;
    }
    EXPECT_EQ(differing, 0u);
    EXPECT_FALSE(image.HasAlpha);
    ImageDecode_Release(&image);
    stbi_image_free(reference);
  }
};

TEST_F(ImageDecodeKernels, GiveTheBytesOfThePortableCode) {
  ExpectSameAsPortableCode(kLeftBandPicture.Data, kLeftBandPicture.Size, "left band");
  // stb's writer subsamples the chroma 2 x 2 up to quality 90 and not above;
  // widths and heights off the 8 and 16 pixel blocks leave partial blocks
  // and rows shorter than the kernels' 8-pixel steps.
  struct Case {
    int Width, Height, Channels, Quality;
  };
  for (const Case c : {Case{64, 48, 3, 90}, Case{37, 23, 3, 75}, Case{37, 23, 3, 100},
                       Case{5, 3, 3, 50}, Case{129, 17, 1, 90}, Case{200, 120, 3, 20}}) {
    const std::vector<UINT8> data = Jpeg(c.Width, c.Height, c.Channels, c.Quality);
    ExpectSameAsPortableCode(data.data(), data.size(),
                             std::to_string(c.Width) + "x" + std::to_string(c.Height) + " q" +
                                 std::to_string(c.Quality) + " c" + std::to_string(c.Channels));
  }
}

} // namespace
