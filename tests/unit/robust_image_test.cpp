// Pictures the image display service must refuse whole: cut short at any
// length, damaged in any chunk, or carrying a Huffman table that lists more
// codes than a table holds (found by the JPEG fuzz target: the decoder wrote
// past its code-length array). Refused pictures draw nothing, report an
// error and keep no memory.
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

#include <vector>

#include "reference_platform/image_display.h"
#include "tests/unit/refplat_fixture.h"

namespace {

void Collect(void* Context, void* Data, int Size) {
  auto* out = static_cast<std::vector<UINT8>*>(Context);
  out->insert(out->end(), static_cast<UINT8*>(Data), static_cast<UINT8*>(Data) + Size);
}

std::vector<UINT8> Picture(bool Jpeg) {
  std::vector<UINT8> rgb;
  for (int i = 0; i < 24 * 16; ++i)
    rgb.insert(rgb.end(), {static_cast<UINT8>(i), static_cast<UINT8>(i * 3), 200});
  std::vector<UINT8> out;
  if (Jpeg)
    stbi_write_jpg_to_func(Collect, &out, 24, 16, 3, rgb.data(), 90);
  else
    stbi_write_png_to_func(Collect, &out, 24, 16, 3, rgb.data(), 24 * 3);
  return out;
}

class RobustImageTest : public RefPlatTest {
protected:
  void SetUp() override {
    RefPlatTest::SetUp();
    ImageDisplay_ClearCache();
    Blank();
  }
  static void Blank() {
    for (UINT32 y = 0; y < 64; ++y)
      for (UINT32 x = 0; x < 64; ++x) fake::SetPixel(x, y, 0x345678);
  }
  EFI_STATUS Draw(const std::vector<UINT8>& Data, bool Jpeg) {
    const ImageDisplayOperations* ops = ImageDisplay_Instance()->Operations;
    // An exact-size copy, so a read past the end is caught.
    std::vector<UINT8> copy(Data);
    return Jpeg ? ops->DrawJpeg(copy.data(), static_cast<UINT32>(copy.size()), 5, 5)
                : ops->DrawPng(copy.data(), copy.size(), 5, 5);
  }
  static bool Untouched() {
    for (UINT32 y = 0; y < 64; ++y)
      for (UINT32 x = 0; x < 64; ++x)
        if (fake::PixelAt(x, y) != 0x345678) return false;
    return true;
  }
};

TEST_F(RobustImageTest, PicturesCutShortAtAnyLengthDrawNothing) {
  for (bool jpeg : {false, true}) {
    const std::vector<UINT8> whole = Picture(jpeg);
    const UINT64 outstanding = fake::Pool().OutstandingCount;
    for (size_t length = 1; length < whole.size(); ++length) {
      const std::vector<UINT8> cut(whole.begin(), whole.begin() + length);
      ASSERT_TRUE(EFI_ERROR(Draw(cut, jpeg))) << (jpeg ? "JPEG" : "PNG") << " cut at " << length;
      ASSERT_TRUE(Untouched()) << (jpeg ? "JPEG" : "PNG") << " cut at " << length;
    }
    EXPECT_EQ(fake::Pool().OutstandingCount, outstanding);
    EXPECT_EQ(Draw(whole, jpeg), EFI_SUCCESS);
    EXPECT_FALSE(Untouched());
    ImageDisplay_ClearCache();
    Blank();
  }
}

TEST_F(RobustImageTest, DamagedPngChunksAreRefused) {
  const std::vector<UINT8> whole = Picture(false);
  // Any single flipped byte after the signature breaks a chunk's CRC, its
  // length or its type.
  for (size_t at = 8; at < whole.size(); ++at) {
    std::vector<UINT8> damaged(whole);
    damaged[at] ^= 0x20;
    ASSERT_TRUE(EFI_ERROR(Draw(damaged, false))) << "byte " << at;
    ASSERT_TRUE(Untouched()) << "byte " << at;
  }
}

TEST_F(RobustImageTest, JpegHuffmanTableWithTooManyCodesIsRefused) {
  const std::vector<UINT8> whole = Picture(true);
  ASSERT_EQ(Draw(whole, true), EFI_SUCCESS);
  ImageDisplay_ClearCache();
  Blank();
  // The first Huffman table segment: its sixteen code counts are raised so
  // they add up to 16 x 255, and the segment grows to hold that many values.
  size_t dht = 2;
  while (dht + 4 < whole.size() && !(whole[dht] == 0xFF && whole[dht + 1] == 0xC4))
    dht += 2 + (whole[dht + 2] << 8 | whole[dht + 3]);
  ASSERT_LT(dht + 4, whole.size());
  std::vector<UINT8> hostile(whole.begin(), whole.begin() + dht);
  const size_t codes = 16 * 255;
  const size_t length = 2 + 17 + codes;
  hostile.insert(hostile.end(), {0xFF, 0xC4, static_cast<UINT8>(length >> 8),
                                 static_cast<UINT8>(length & 0xFF), 0x00});
  hostile.insert(hostile.end(), 16, 255);
  hostile.insert(hostile.end(), codes, 0x01);
  hostile.insert(hostile.end(), whole.begin() + dht, whole.end());
  const UINT64 outstanding = fake::Pool().OutstandingCount;
  EXPECT_TRUE(EFI_ERROR(Draw(hostile, true)));
  UINT64 w = 0, h = 0;
  EXPECT_TRUE(EFI_ERROR(
      ImageDisplay_Instance()->Operations->GetSize(hostile.data(), hostile.size(), &w, &h)));
  EXPECT_TRUE(Untouched());
  EXPECT_EQ(fake::Pool().OutstandingCount, outstanding);
}

} // namespace
