// The embedded pictures: each decodes to the size and format the drawing
// code assumes, its byte size covers exactly the file, and the few layout
// promises of the artwork hold (cursor hot spot, logo and tab-strip areas).
#include <gtest/gtest.h>

#include <algorithm>
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
  double Luminance(int X, int Y) const {
    const unsigned char* P = Rgba.get() + (Y * Width + X) * 4;
    return 0.2126 * P[0] + 0.7152 * P[1] + 0.0722 * P[2];
  }
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
      // A baseline JFIF file: start of image, the JFIF header, a baseline
      // frame, and the end-of-image marker as the very last bytes.
      EXPECT_EQ(P.Data[0], 0xFF);
      EXPECT_EQ(P.Data[1], 0xD8);
      EXPECT_EQ(std::memcmp(P.Data + 6, "JFIF", 4), 0);
      bool Baseline = false, Progressive = false;
      for (UINT64 I = 2; I + 1 < P.Size; ++I) {
        if (P.Data[I] != 0xFF) continue;
        Baseline |= P.Data[I + 1] == 0xC0;
        Progressive |= P.Data[I + 1] == 0xC2;
      }
      EXPECT_TRUE(Baseline);
      EXPECT_FALSE(Progressive);
      EXPECT_EQ(P.Data[P.Size - 2], 0xFF);
      EXPECT_EQ(P.Data[P.Size - 1], 0xD9);
    } else {
      // PNG signature, IHDR with 8-bit RGBA (colour type 6), and the IEND
      // chunk ending exactly at the stated size.
      static const UINT8 kSignature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
      EXPECT_EQ(std::memcmp(P.Data, kSignature, 8), 0);
      EXPECT_EQ(std::memcmp(P.Data + 12, "IHDR", 4), 0);
      EXPECT_EQ(BigEndian32(P.Data + 16), UINT32(E.Width));
      EXPECT_EQ(BigEndian32(P.Data + 20), UINT32(E.Height));
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
  // The tip covers the top-left pixels; the top row holds nothing else, and
  // the arrow's outline is dark against its white body.
  EXPECT_GE(D.Alpha(0, 0), 160);
  EXPECT_GE(D.Alpha(1, 1), 200);
  for (int X = 4; X < D.Width; ++X) EXPECT_LT(D.Alpha(X, 0), 16) << X;
  EXPECT_LT(D.Luminance(0, 6), 80);
  EXPECT_GT(D.Luminance(3, 12), 230);
}

TEST(Assets, LogosAndBandKeepTheirAreas) {
  // The lower logos are placed 20 pixels from the left; from x = 236 of the
  // logo on, the page area is drawn over them.
  for (const Picture* Logo : {&kLowerLogoEnglish, &kLowerLogoFrench}) {
    const Decoded D = Decode(*Logo);
    ASSERT_NE(D.Rgba, nullptr);
    int Ink = 0;
    for (int Y = 0; Y < D.Height; ++Y) {
      for (int X = 0; X < D.Width; ++X) {
        if (X >= 236) {
          EXPECT_EQ(D.Alpha(X, Y), 0) << X << "," << Y;
        }
        Ink += D.Alpha(X, Y) > 128;
      }
    }
    EXPECT_GT(Ink, 500);
  }
  EXPECT_NE(kLowerLogoEnglish.Size, kLowerLogoFrench.Size);

  // Unselected tab captions are dark text drawn straight onto the band, and
  // the logos are light: the tab strip (y 260 to 660) must be light, the area
  // behind the logos dark.
  const Decoded Band = Decode(kLeftBandPicture);
  ASSERT_NE(Band.Rgba, nullptr);
  double Strip = 0, StripMin = 255, Header = 0;
  int StripCount = 0, HeaderCount = 0;
  for (int Y = 262; Y < 658; ++Y) {
    for (int X = 0; X < 250; ++X) {
      const double L = Band.Luminance(X, Y);
      Strip += L;
      StripMin = std::min(StripMin, L);
      ++StripCount;
    }
  }
  for (int Y = 20; Y < 231; ++Y) {
    for (int X = 20; X < 236; ++X, ++HeaderCount) Header += Band.Luminance(X, Y);
  }
  EXPECT_GT(Strip / StripCount, 225.0);
  EXPECT_GT(StripMin, 190.0);
  EXPECT_LT(Header / HeaderCount, 90.0);
}

TEST(Assets, BootClassPicturesAreDistinct) {
  for (int A = 0; A < 8; ++A) {
    for (int B = A + 1; B < 8; ++B) {
      const Picture& P = kBootClassPictures[A / 2][A % 2];
      const Picture& Q = kBootClassPictures[B / 2][B % 2];
      EXPECT_FALSE(P.Size == Q.Size && std::memcmp(P.Data, Q.Data, P.Size) == 0)
          << "pictures " << A << " and " << B << " are the same";
    }
  }
}

} // namespace
