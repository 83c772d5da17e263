// font_preview: draws sample lines with the embedded fonts into a PNG, the way
// the utility composes them (each glyph's coverage blended between the text
// and background colours, cell by cell), to judge the rasterised fonts by eye.
//
//   font_preview OUT.png [SCALE]
//
// Linked with the generated font data. SCALE (default 1) enlarges the image
// by pixel replication, for looking at single pixels. Built by hand:
//   g++ -std=c++20 -I. -Ibuild/host/generated -o /tmp/font_preview
//       tools/font_preview.cpp build/host/generated/font_data.cpp
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "reference_platform/font_data.h"

namespace {

struct Image {
  int Width, Height;
  std::vector<uint8_t> Rgb;
  void Fill(int X, int Y, int W, int H, uint32_t Colour) {
    for (int R = Y; R < Y + H && R < Height; ++R)
      for (int C = X; C < X + W && C < Width; ++C) {
        uint8_t* P = &Rgb[(static_cast<size_t>(R) * Width + C) * 3];
        P[0] = Colour >> 16;
        P[1] = (Colour >> 8) & 0xFF;
        P[2] = Colour & 0xFF;
      }
  }
};

const FontGlyphRecord* Find(const FontData& F, uint32_t Cp) {
  size_t Lo = 0, Hi = F.GlyphCount;
  while (Lo < Hi) {
    const size_t Mid = (Lo + Hi) / 2;
    if (F.Glyphs[Mid].CodePoint < Cp)
      Lo = Mid + 1;
    else
      Hi = Mid;
  }
  return (Lo < F.GlyphCount && F.Glyphs[Lo].CodePoint == Cp) ? &F.Glyphs[Lo] : nullptr;
}

std::vector<uint32_t> Utf8(const std::string& S) {
  std::vector<uint32_t> Out;
  for (size_t I = 0; I < S.size();) {
    const unsigned char B = S[I];
    const int N = B < 0x80 ? 0 : B < 0xE0 ? 1 : B < 0xF0 ? 2 : 3;
    uint32_t Cp = N == 0 ? B : B & (0x3F >> N);
    for (int K = 1; K <= N && I + K < S.size(); ++K) Cp = (Cp << 6) | (S[I + K] & 0x3F);
    Out.push_back(Cp);
    I += N + 1;
  }
  return Out;
}

// Draws a line with its cell top at Y; returns the pen's end.
int DrawLine(Image& Img, const FontData& F, int X, int Y, const std::string& Text, uint32_t Fg,
             uint32_t Bg, bool ShowCells) {
  for (uint32_t Cp : Utf8(Text)) {
    const FontGlyphRecord* G = Find(F, Cp);
    if (!G) G = Find(F, 0xFFFD);
    if (!G) continue;
    if (ShowCells) Img.Fill(X, Y, G->Advance, F.LineHeight, (Cp & 1) ? 0xD8E1F2 : 0xC8D4EA);
    for (int R = 0; R < G->Height; ++R) {
      for (int C = 0; C < G->Width; ++C) {
        const int Px = X + G->Left + C, Py = Y + G->Top + R;
        if (Px < 0 || Py < 0 || Px >= Img.Width || Py >= Img.Height) continue;
        const unsigned A = F.Bitmaps[G->Offset + R * G->Width + C];
        uint8_t* P = &Img.Rgb[(static_cast<size_t>(Py) * Img.Width + Px) * 3];
        const unsigned Back[3] = {ShowCells ? P[0] : (Bg >> 16) & 0xFFu,
                                  ShowCells ? P[1] : (Bg >> 8) & 0xFFu,
                                  ShowCells ? P[2] : Bg & 0xFFu};
        const unsigned Fore[3] = {(Fg >> 16) & 0xFF, (Fg >> 8) & 0xFF, Fg & 0xFF};
        for (int K = 0; K < 3; ++K) P[K] = (Fore[K] * A + (255 - A) * Back[K]) / 255;
      }
    }
    X += G->Advance;
  }
  return X;
}

} // namespace

int main(int Argc, char** Argv) {
  if (Argc < 2) {
    std::fprintf(stderr, "usage: font_preview OUT.png [SCALE]\n");
    return 2;
  }
  const int Scale = Argc > 2 ? std::atoi(Argv[2]) : 1;
  const char* const kLines[] = {
      "System Time   12:34:56   System Date   03/15/2024",
      "Boot Speed  Fast  Change Boot Order  Save and Exit  [F10]",
      "Quick brown foxes jump over the lazy dog: AVWAY fij gjpqy 0123456789",
      "システム時刻  システム日付  言語  起動順序の変更  保存して終了",
      "BIOSの表示言語を選択します。この項目は「デフォルト値」に戻りません。",
      "Heure système  Sélectionnez la langue d'affichage  Config défaut  Ç É À œ",
      "Élément à côté, où, déjà, façon, Noël, garçon, être « Français »",
      "English  日本語  Français  HDD/SSD  USB  LAN  ODD  �",
      "ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß àáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ",
      "¡¢£¤¥¦§¨©ª«¬®¯°±²³´µ¶·¸¹º»¼½¾¿ 、。・「」（）：！？ー～／＋－＝ ［F10］",
  };
  const int kLineCount = sizeof kLines / sizeof kLines[0];
  const int Width = 820;
  const int Height = 20 + kLineCount * (kGlyphFontData.LineHeight + 6) * 2 +
                     4 * kLargeDigitFontData.LineHeight + 40;
  Image Img{Width, Height, std::vector<uint8_t>(static_cast<size_t>(Width) * Height * 3)};
  Img.Fill(0, 0, Width, Height, 0xEBF1FA);

  int Y = 10;
  for (int I = 0; I < kLineCount; ++I) {
    DrawLine(Img, kGlyphFontData, 10, Y, kLines[I], 0x3A465F, 0xEBF1FA, false);
    Y += kGlyphFontData.LineHeight + 6;
  }
  // The same lines on the focus colour, with alternating cell backgrounds on
  // the left half to show the cells' extent.
  for (int I = 0; I < kLineCount; ++I) {
    Img.Fill(0, Y - 3, Width, kGlyphFontData.LineHeight + 6, I % 2 ? 0x009CBA : 0xD8E1F2);
    if (I % 2)
      DrawLine(Img, kGlyphFontData, 10, Y, kLines[I], 0xFFFFFF, 0x009CBA, false);
    else
      DrawLine(Img, kGlyphFontData, 10, Y, kLines[I], 0x3A465F, 0xD8E1F2, true);
    Y += kGlyphFontData.LineHeight + 6;
  }
  Y += 10;
  int X =
      DrawLine(Img, kLargeDigitFontData, 10, Y, "12:34:56  03/15/2024", 0x3A465F, 0xEBF1FA, false);
  (void)X;
  Y += kLargeDigitFontData.LineHeight;
  DrawLine(Img, kLargeDigitFontData, 10, Y, "2013", 0x3A465F, 0xEBF1FA, true);
  X = DrawLine(Img, kLargeDigitFontData, 150, Y, "09", 0xFFFFFF, 0x009CBA, false);
  Y += kLargeDigitFontData.LineHeight;
  // A 110-pixel field with a four-digit year, as the date editor shows it.
  Img.Fill(10, Y, 110, kLargeDigitFontData.LineHeight, 0xF1F4FA);
  int W = 0;
  for (uint32_t Cp : Utf8("2024")) W += Find(kLargeDigitFontData, Cp)->Advance;
  DrawLine(Img, kLargeDigitFontData, 10 + (110 - W) / 2, Y, "2024", 0x3A465F, 0xF1F4FA, false);
  DrawLine(Img, kLargeDigitFontData, 140, Y, "Ok Cancel -+", 0x3A465F, 0xEBF1FA, false);

  std::vector<uint8_t> Out(static_cast<size_t>(Width) * Scale * Height * Scale * 3);
  for (int R = 0; R < Height * Scale; ++R)
    for (int C = 0; C < Width * Scale; ++C)
      for (int K = 0; K < 3; ++K)
        Out[(static_cast<size_t>(R) * Width * Scale + C) * 3 + K] =
            Img.Rgb[(static_cast<size_t>(R / Scale) * Width + C / Scale) * 3 + K];
  if (!stbi_write_png(Argv[1], Width * Scale, Height * Scale, 3, Out.data(), Width * Scale * 3)) {
    std::fprintf(stderr, "font_preview: cannot write %s\n", Argv[1]);
    return 1;
  }
  std::printf("text font: %u glyphs, line height %u; large font: %u glyphs, line height %u\n",
              kGlyphFontData.GlyphCount, kGlyphFontData.LineHeight, kLargeDigitFontData.GlyphCount,
              kLargeDigitFontData.LineHeight);
  return 0;
}
