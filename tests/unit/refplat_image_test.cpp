// The image display service: PNG and JPEG drawn through the fake GOP, alpha
// blending, clipping, the decode cache, and pictures it must refuse whole (cut
// short, damaged, a JPEG Huffman table listing more codes than a table holds,
// found by the JPEG fuzz target) or an exhausted pool: those draw nothing,
// report an error and keep no memory.
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

#include <algorithm>
#include <cstdlib>

#include "reference_platform/image_display.h"
#include "tests/unit/refplat_fixture.h"

namespace {

struct Rgba {
  UINT8 R, G, B, A;
};

void Collect(void* Context, void* Data, int Size) {
  auto* out = static_cast<std::vector<UINT8>*>(Context);
  const UINT8* bytes = static_cast<const UINT8*>(Data);
  out->insert(out->end(), bytes, bytes + Size);
}

std::vector<UINT8> Png(int W, int H, const std::vector<Rgba>& Pixels) {
  std::vector<UINT8> out;
  stbi_write_png_to_func(Collect, &out, W, H, 4, Pixels.data(), W * 4);
  return out;
}

std::vector<UINT8> SolidPng(int W, int H, Rgba Colour) {
  return Png(W, H, std::vector<Rgba>(W * H, Colour));
}

// A 24 x 16 gradient; Colour gives the JPEG a solid colour instead.
std::vector<UINT8> Jpeg(int W, int H, const UINT8* Colour = nullptr) {
  std::vector<UINT8> rgb;
  for (int i = 0; i < W * H; ++i)
    if (Colour)
      rgb.insert(rgb.end(), Colour, Colour + 3);
    else
      rgb.insert(rgb.end(), {static_cast<UINT8>(i), static_cast<UINT8>(i * 3), 200});
  std::vector<UINT8> out;
  stbi_write_jpg_to_func(Collect, &out, W, H, 3, rgb.data(), 90);
  return out;
}

std::vector<UINT8> Noise(int W, int H) {
  std::vector<Rgba> pixels(W * H);
  for (size_t i = 0; i < pixels.size(); ++i)
    pixels[i] = {static_cast<UINT8>(i), static_cast<UINT8>(i * 7), static_cast<UINT8>(i >> 3),
                 static_cast<UINT8>(i)};
  return Png(W, H, pixels);
}

class RefPlatImageTest : public RefPlatTest {
protected:
  void SetUp() override {
    RefPlatTest::SetUp();
    ImageDisplay_ClearCache();
  }
  const ImageDisplayOperations* Ops() { return ImageDisplay_Instance()->Operations; }
  EFI_STATUS DrawPng(const std::vector<UINT8>& Data, UINT64 X, UINT64 Y) {
    return Ops()->DrawPng(Data.data(), Data.size(), X, Y);
  }
  // An exact-size copy, so a read past the end is caught.
  EFI_STATUS Draw(std::vector<UINT8> Copy, bool IsJpeg) {
    return IsJpeg ? Ops()->DrawJpeg(Copy.data(), static_cast<UINT32>(Copy.size()), 5, 5)
                  : Ops()->DrawPng(Copy.data(), Copy.size(), 5, 5);
  }
  static void Fill(UINT32 Rgb) {
    for (UINT32 y = 0; y < fake::ScreenHeight(); ++y)
      for (UINT32 x = 0; x < fake::ScreenWidth(); ++x) fake::SetPixel(x, y, Rgb);
  }
  static std::vector<UINT32> Screen() {
    std::vector<UINT32> pixels;
    for (const auto& p : fake::Framebuffer())
      pixels.push_back((UINT32(p.Red) << 16) | (UINT32(p.Green) << 8) | p.Blue);
    return pixels;
  }
};

TEST_F(RefPlatImageTest, PngLandsAtItsPositionBlendedAndClipped) {
  Fill(0x204060);
  std::vector<Rgba> pixels;
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x)
      pixels.push_back({static_cast<UINT8>(10 * x), static_cast<UINT8>(20 * y), 200, 255});
  ASSERT_EQ(DrawPng(Png(4, 3, pixels), 10, 20), EFI_SUCCESS);
  EXPECT_EQ(fake::PixelAt(10, 20), 0x0000C8u);
  EXPECT_EQ(fake::PixelAt(13, 22), 0x1E28C8u);
  for (auto [x, y] : {std::pair{9, 20}, {14, 20}, {10, 23}})
    EXPECT_EQ(fake::PixelAt(x, y), 0x204060u);

  ASSERT_EQ(DrawPng(Png(3, 1, {{200, 100, 0, 0}, {200, 100, 0, 128}, {200, 100, 0, 255}}), 0, 0),
            EFI_SUCCESS);
  EXPECT_EQ(fake::PixelAt(0, 0), 0x204060u);
  const UINT32 r = (200 * 128 + 0x20 * 127) / 255;
  const UINT32 g = (100 * 128 + 0x40 * 127) / 255;
  const UINT32 b = (0 * 128 + 0x60 * 127) / 255;
  EXPECT_EQ(fake::PixelAt(1, 0), (r << 16) | (g << 8) | b);
  EXPECT_EQ(fake::PixelAt(2, 0), 0xC86400u);

  const std::vector<UINT8> white = SolidPng(4, 4, {255, 255, 255, 255});
  const UINT32 w = fake::ScreenWidth(), h = fake::ScreenHeight();
  ASSERT_EQ(DrawPng(white, w - 2, h - 2), EFI_SUCCESS);
  EXPECT_EQ(fake::PixelAt(w - 1, h - 1), 0xFFFFFFu);
  EXPECT_EQ(fake::PixelAt(w - 2, h - 2), 0xFFFFFFu);
  EXPECT_EQ(fake::PixelAt(w - 3, h - 3), 0x204060u);
  EXPECT_EQ(fake::Blt().Rejected, 0u);
  const auto before = Screen();
  EXPECT_EQ(DrawPng(white, w, 0), EFI_SUCCESS); // wholly off screen
  EXPECT_EQ(DrawPng(white, 0, ~0ull), EFI_SUCCESS);
  EXPECT_EQ(Screen(), before);
}

TEST_F(RefPlatImageTest, JpegDrawsAndFormatsAreNotMixedUp) {
  Fill(0);
  const UINT8 colour[3] = {40, 160, 220};
  const std::vector<UINT8> jpeg = Jpeg(16, 16, colour);
  ASSERT_EQ(Ops()->DrawJpeg(jpeg.data(), static_cast<UINT32>(jpeg.size()), 3, 0), EFI_SUCCESS);
  const UINT32 p = fake::PixelAt(10, 8);
  EXPECT_NEAR(int(p >> 16), 40, 4);
  EXPECT_NEAR(int((p >> 8) & 0xFF), 160, 4);
  EXPECT_NEAR(int(p & 0xFF), 220, 4);
  EXPECT_EQ(fake::PixelAt(2, 0), 0u);
  EXPECT_EQ(Ops()->DrawPng(jpeg.data(), jpeg.size(), 0, 0), EFI_UNSUPPORTED);
  const std::vector<UINT8> png = SolidPng(2, 2, {1, 2, 3, 255});
  EXPECT_EQ(Ops()->DrawJpeg(png.data(), static_cast<UINT32>(png.size()), 0, 0), EFI_UNSUPPORTED);

  UINT64 width = 0, height = 0;
  EXPECT_EQ(Ops()->GetSize(jpeg.data(), jpeg.size(), &width, &height), EFI_SUCCESS);
  EXPECT_EQ(width, 16u);
  EXPECT_EQ(height, 16u);
  EXPECT_EQ(Ops()->GetSize(png.data(), png.size(), &width, &height), EFI_SUCCESS);
  EXPECT_EQ(width, 2u);
  EXPECT_EQ(Ops()->GetSize(png.data(), png.size(), nullptr, &height), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Ops()->GetSize(nullptr, 10, &width, &height), EFI_INVALID_PARAMETER);
}

TEST_F(RefPlatImageTest, RefusedPicturesDrawNothingAndKeepNothing) {
  Fill(0x345678);
  const auto screen = Screen();
  const UINT64 outstanding = fake::Pool().OutstandingCount;
  const std::vector<UINT8> png = Noise(24, 16);
  const std::vector<UINT8> jpeg = Jpeg(24, 16);
  // Cut short at any length.
  for (bool isJpeg : {false, true}) {
    const std::vector<UINT8>& whole = isJpeg ? jpeg : png;
    for (size_t length = 1; length < whole.size(); ++length)
      ASSERT_TRUE(EFI_ERROR(Draw({whole.begin(), whole.begin() + length}, isJpeg)))
          << (isJpeg ? "JPEG" : "PNG") << " cut at " << length;
  }
  // Any single flipped byte after the PNG signature breaks a chunk's CRC,
  // its length or its type.
  for (size_t at = 8; at < png.size(); ++at) {
    std::vector<UINT8> damaged(png);
    damaged[at] ^= 0x20;
    ASSERT_TRUE(EFI_ERROR(Draw(damaged, false))) << "byte " << at;
  }
  auto huge = png;
  huge[16] = 0x7F; // width far beyond any screen
  EXPECT_TRUE(EFI_ERROR(Draw(huge, false)));
  EXPECT_TRUE(EFI_ERROR(Ops()->DrawPng(png.data(), 0, 0, 0)));
  EXPECT_TRUE(EFI_ERROR(Ops()->DrawPng(nullptr, 100, 0, 0)));

  // The first Huffman table segment: its sixteen code counts raised to add
  // up to 16 x 255, the segment grown to hold that many values.
  size_t dht = 2;
  while (dht + 4 < jpeg.size() && !(jpeg[dht] == 0xFF && jpeg[dht + 1] == 0xC4))
    dht += 2 + (jpeg[dht + 2] << 8 | jpeg[dht + 3]);
  ASSERT_LT(dht + 4, jpeg.size());
  std::vector<UINT8> hostile(jpeg.begin(), jpeg.begin() + dht);
  const size_t codes = 16 * 255, length = 2 + 17 + codes;
  hostile.insert(hostile.end(), {0xFF, 0xC4, static_cast<UINT8>(length >> 8),
                                 static_cast<UINT8>(length & 0xFF), 0x00});
  hostile.insert(hostile.end(), 16, 255);
  hostile.insert(hostile.end(), codes, 0x01);
  hostile.insert(hostile.end(), jpeg.begin() + dht, jpeg.end());
  EXPECT_TRUE(EFI_ERROR(Draw(hostile, true)));
  UINT64 w = 0, h = 0;
  EXPECT_TRUE(EFI_ERROR(Ops()->GetSize(hostile.data(), hostile.size(), &w, &h)));

  EXPECT_EQ(Screen(), screen);
  EXPECT_EQ(fake::Pool().OutstandingCount, outstanding);
  EXPECT_EQ(Draw(png, false), EFI_SUCCESS);
  EXPECT_EQ(Draw(jpeg, true), EFI_SUCCESS);
}

TEST_F(RefPlatImageTest, EachFailedAllocationDrawsNothingAndLeaksNothing) {
  const std::vector<UINT8> png = Noise(40, 30);
  bool drawn = false;
  for (UINT64 nth = 1; nth < 64 && !drawn; ++nth) {
    ImageDisplay_ClearCache();
    Fill(0x777777);
    const auto screen = Screen();
    const UINT64 outstanding = fake::Pool().OutstandingCount;
    fake::FailAllocation(nth);
    const EFI_STATUS status = DrawPng(png, 5, 5);
    fake::FailAllocation(0);
    if (!EFI_ERROR(status)) {
      drawn = true;
      break;
    }
    SCOPED_TRACE(nth);
    EXPECT_EQ(Screen(), screen);
    EXPECT_EQ(fake::Pool().OutstandingCount, outstanding);
  }
  EXPECT_TRUE(drawn);
}

TEST_F(RefPlatImageTest, CacheDecodesOnceAndNoticesChangedData) {
  Fill(0);
  std::vector<UINT8> png = SolidPng(2, 2, {255, 0, 0, 255});
  const UINT64 decodes = ImageDisplay_DecodeCount();
  DrawPng(png, 0, 0);
  DrawPng(png, 10, 0);
  EXPECT_EQ(ImageDisplay_DecodeCount(), decodes + 1);
  EXPECT_EQ(fake::PixelAt(10, 0), 0xFF0000u);

  // Other pixels at the same address and size.
  const std::vector<UINT8> blue = SolidPng(2, 2, {0, 0, 255, 255});
  ASSERT_EQ(blue.size(), png.size());
  std::copy(blue.begin(), blue.end(), png.begin());
  DrawPng(png, 20, 0);
  EXPECT_EQ(fake::PixelAt(20, 0), 0x0000FFu);

  // More pictures than the cache holds: the oldest go, nothing leaks.
  const UINT64 outstanding = fake::Pool().OutstandingCount;
  std::vector<std::vector<UINT8>> many;
  for (int i = 0; i < 20; ++i) many.push_back(SolidPng(3, 3, {UINT8(i), 1, 2, 255}));
  for (const auto& picture : many) EXPECT_EQ(DrawPng(picture, 0, 0), EFI_SUCCESS);
  EXPECT_EQ(fake::PixelAt(0, 0), 0x130102u);
  ImageDisplay_ClearCache();
  EXPECT_LE(fake::Pool().OutstandingCount, outstanding);
}

} // namespace
