// The embedded pictures decode to the size and format the drawing code
// assumes, and the cursor's hot spot is its tip.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "assets/assets.h"

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wsign-compare"
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

namespace {

struct Decoded {
  int Width = 0, Height = 0;
  std::unique_ptr<unsigned char, void (*)(void*)> Rgba{nullptr, stbi_image_free};
  int Alpha(int X, int Y) const { return Rgba.get()[(Y * Width + X) * 4 + 3]; }
};

Decoded Decode(const Picture& P) {
  Decoded D;
  int Channels = 0;
  D.Rgba.reset(
      stbi_load_from_memory(P.Data, static_cast<int>(P.Size), &D.Width, &D.Height, &Channels, 4));
  return D;
}

UINT32 BigEndian32(const UINT8* P) {
  return (UINT32(P[0]) << 24) | (UINT32(P[1]) << 16) | (UINT32(P[2]) << 8) | P[3];
}

struct Expected {
  const char* Name;
  const Picture* Pic;
  int Width, Height;
  bool Jpeg;
};

const Expected kPictures[] = {
    {"left band", &kLeftBandPicture, 256, 768, true},
    {"upper logo", &kUpperLogo, 118, 148, false},
    {"lower logo en/ja", &kLowerLogoEnglish, 254, 63, false},
    {"lower logo fr", &kLowerLogoFrench, 254, 63, false},
    {"close mark", &kCloseMark, 20, 27, false},
    {"switch on", &kSwitchOn, 62, 26, false},
    {"switch off", &kSwitchOff, 62, 26, false},
    {"minus", &kMinusSign, 12, 17, false},
    {"plus", &kPlusSign, 12, 17, false},
    {"drop-down arrow", &kDropDownArrow, 17, 12, false},
    {"scroll up", &kScrollArrowUp, 10, 7, false},
    {"scroll down", &kScrollArrowDown, 10, 7, false},
    {"cursor", &kCursorArrow, 17, 33, false},
    {"boot HDD/SSD", &kBootClassPictures[0][0], 36, 48, false},
    {"boot HDD/SSD highlighted", &kBootClassPictures[0][1], 36, 48, false},
    {"boot USB", &kBootClassPictures[1][0], 36, 48, false},
    {"boot USB highlighted", &kBootClassPictures[1][1], 36, 48, false},
    {"boot LAN", &kBootClassPictures[2][0], 36, 48, false},
    {"boot LAN highlighted", &kBootClassPictures[2][1], 36, 48, false},
    {"boot ODD", &kBootClassPictures[3][0], 36, 48, false},
    {"boot ODD highlighted", &kBootClassPictures[3][1], 36, 48, false},
};

TEST(Assets, EveryPictureDecodesToItsStatedSizeAndFormat) {
  for (const Expected& E : kPictures) {
    SCOPED_TRACE(E.Name);
    const Picture& P = *E.Pic;
    ASSERT_NE(P.Data, nullptr);
    ASSERT_GT(P.Size, 32u);
    if (E.Jpeg) {
      // A baseline file: start of image first, end of image as the very last
      // bytes, and no progressive frame.
      EXPECT_EQ(BigEndian32(P.Data) >> 16, 0xFFD8u);
      EXPECT_EQ(P.Data[P.Size - 2], 0xFF);
      EXPECT_EQ(P.Data[P.Size - 1], 0xD9);
      for (UINT64 I = 2; I + 1 < P.Size; ++I)
        EXPECT_FALSE(P.Data[I] == 0xFF && P.Data[I + 1] == 0xC2);
    } else {
      // IHDR with 8-bit RGBA (colour type 6), IEND ending at the stated size.
      EXPECT_EQ(std::memcmp(P.Data + 12, "IHDR", 4), 0);
      EXPECT_EQ(P.Data[24], 8) << "bit depth";
      EXPECT_EQ(P.Data[25], 6) << "colour type";
      EXPECT_EQ(std::memcmp(P.Data + P.Size - 8, "IEND", 4), 0);
    }
    const Decoded D = Decode(P);
    ASSERT_NE(D.Rgba, nullptr) << stbi_failure_reason();
    EXPECT_EQ(D.Width, E.Width);
    EXPECT_EQ(D.Height, E.Height);
  }
}

TEST(Assets, CursorTipIsTheHotSpot) {
  const Decoded D = Decode(kCursorArrow);
  ASSERT_NE(D.Rgba, nullptr);
  // The tip covers the top-left pixels; the top row holds nothing else.
  EXPECT_GE(D.Alpha(0, 0), 160);
  for (int X = 4; X < D.Width; ++X) EXPECT_LT(D.Alpha(X, 0), 16) << X;
}

} // namespace
