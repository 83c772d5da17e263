// Shared set-up of the graphics tests: the fake firmware's GOP and
// framebuffer bound as the utility's screen, plus a tiny glyph font and an
// image service whose output can be read back from the pixels.
//
// The test font: every glyph is Advance × 20 pixels (pitch Advance + 3, so a
// drawer that ignores the pitch shows) and has one inked pixel at its top-left
// corner whose coverage is the character's low byte. Drawn white on black,
// that pixel reads back as the character code, so the framebuffer tells which
// character landed where. '#' is a blending sample instead: four columns of
// coverage 0, 64, 128 and 255 on every row.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "assets/assets.h"
#include "core/main_loop.h"
#include "core/startup.h"
#include "graphics/colours.h"
#include "graphics/graphics_state.h"
#include "host/fake_firmware.h"
#include "host/fake_firmware_fixture.h"
#include "input/mouse.h"
#include "pages/pages.h"
#include "platform/lib.h"
#include "setup_data/text_table.h"

namespace gfxtest {

constexpr UINT64 kLineHeight = 20;

inline UINT64 AdvanceOf(CHAR16 C) {
  switch (C) {
  case u'i':
    return 5;
  case u'W':
    return 20;
  case u'#':
    return 4;
  default:
    return 10;
  }
}

// Ink over a background at coverage A, per channel, truncating: the colour a
// glyph pixel must have.
inline UINT32 Blend(UINT32 Ink, UINT32 Back, UINT32 A) {
  UINT32 out = 0;
  for (int shift = 0; shift < 24; shift += 8) {
    const UINT32 f = (Ink >> shift) & 0xFF;
    const UINT32 b = (Back >> shift) & 0xFF;
    out |= ((f * A + (255 - A) * b) / 255) << shift;
  }
  return out;
}
// The colour of the marker pixel of character C drawn in Ink over Back.
inline UINT32 MarkerColour(CHAR16 C, UINT32 Ink, UINT32 Back) {
  const UINT32 a = C & 0xFF;
  return Blend(Ink, Back, a == 0 ? 1 : a);
}

struct FontState {
  std::vector<std::vector<UINT8>> Maps = std::vector<std::vector<UINT8>>(65536);
};
inline FontState& Font() {
  static FontState state;
  return state;
}

inline EFI_STATUS EFIAPI GetGlyph(GlyphFontProtocol*, CHAR16 C, const UINT8** Coverage,
                                  UINT32* Width, UINT32* Height, UINT32* Pitch) {
  const UINT32 w = static_cast<UINT32>(AdvanceOf(C));
  const UINT32 pitch = w + 3;
  std::vector<UINT8>& map = Font().Maps[C];
  if (map.empty()) {
    map.assign(static_cast<size_t>(pitch) * kLineHeight, 0);
    if (C == u'#') {
      for (UINT32 r = 0; r < kLineHeight; ++r) {
        const UINT8 row[4] = {0, 64, 128, 255};
        std::memcpy(&map[r * pitch], row, 4);
      }
    } else {
      const UINT8 mark = static_cast<UINT8>(C & 0xFF);
      map[0] = mark == 0 ? 1 : mark;
    }
    // Bytes past the glyph width in each row: a drawer reading them shows.
    for (UINT32 r = 0; r < kLineHeight; ++r)
      for (UINT32 c = w; c < pitch; ++c) map[r * pitch + c] = 0xEE;
  }
  *Coverage = map.data();
  *Width = w;
  *Height = static_cast<UINT32>(kLineHeight);
  *Pitch = pitch;
  return EFI_SUCCESS;
}
inline EFI_STATUS EFIAPI GetAdvance(GlyphFontProtocol*, CHAR16 C, UINT64* Advance) {
  *Advance = AdvanceOf(C);
  return EFI_SUCCESS;
}
inline EFI_STATUS EFIAPI GetLineHeight(GlyphFontProtocol*, UINT64* Height) {
  *Height = kLineHeight;
  return EFI_SUCCESS;
}
inline GlyphFontProtocol TestFont = {GetGlyph, GetAdvance, GetLineHeight};

// The image service: records every picture drawn; the left band JPEG is
// painted (through the GOP, so into the off-screen frame while buffering)
// as a 254 × 768 pattern whose pixel (i, j) holds i + 1 in blue and j in
// green (low byte) and red (high bits): the source position of every pixel
// can be read back after stretching.
struct PictureCall {
  const void* Data;
  UINT64 X;
  UINT64 Y;
  bool Buffered; // the GOP Blt was not the firmware's at the time
};
struct ImageState {
  std::vector<PictureCall> Calls;
  EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT FirmwareBlt = nullptr;
};
inline ImageState& Images() {
  static ImageState state;
  return state;
}
inline UINT32 BandPattern(UINT64 I, UINT64 J) {
  return static_cast<UINT32>((I + 1) | ((J & 0xFF) << 8) | ((J >> 8) << 16));
}
inline EFI_STATUS EFIAPI DrawJpeg(const void* Data, UINT32, UINT64 X, UINT64 Y) {
  Images().Calls.push_back({Data, X, Y, GraphicsOutput->Blt != Images().FirmwareBlt});
  std::vector<UINT32> pixels(254 * 768);
  for (UINT64 j = 0; j < 768; ++j)
    for (UINT64 i = 0; i < 254; ++i) pixels[j * 254 + i] = BandPattern(i, j);
  // Cut to the screen the way the image service does.
  const UINT64 rows = ScreenHeight - Y < 768 ? ScreenHeight - Y : 768;
  return GraphicsOutput->Blt(GraphicsOutput,
                             reinterpret_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(pixels.data()),
                             EfiBltBufferToVideo, 0, 0, X, Y, 254, rows, 254 * 4);
}
inline EFI_STATUS EFIAPI DrawPng(const void* Data, UINT64, UINT64 X, UINT64 Y) {
  Images().Calls.push_back({Data, X, Y, GraphicsOutput->Blt != Images().FirmwareBlt});
  return EFI_SUCCESS;
}
inline EFI_STATUS EFIAPI GetSize(const void*, UINT64, UINT64* W, UINT64* H) {
  *W = 0;
  *H = 0;
  return EFI_UNSUPPORTED;
}
inline ImageDisplayOperations TestImageOperations = {GetSize, DrawJpeg, DrawPng};
inline ImageDisplayProtocol TestImages = {1, nullptr, &TestImageOperations};

// The setup data service: every operation answers 0 and is recorded; the
// hot-key report (11) keeps its argument.
struct SetupDataState {
  std::vector<std::pair<int, UINT64>> Calls;
};
inline SetupDataState& Operations() {
  static SetupDataState state;
  return state;
}
template <int N> UINT64 EFIAPI Operation(UINT64 A, UINT64) {
  Operations().Calls.push_back({N, A});
  return 0;
}
template <int... N> SetupDataProtocol MakeSetupData(std::integer_sequence<int, N...>) {
  return SetupDataProtocol{{&Operation<N>...}};
}
inline SetupDataProtocol TestSetupData = MakeSetupData(std::make_integer_sequence<int, 200>());

} // namespace gfxtest

// A fresh firmware and screen per test; no pointer devices (the cursor is
// tested with the pointer module). Override Modes() for another screen.
class GraphicsTest : public FakeFirmwareTest {
protected:
  virtual std::vector<fake::Mode> Modes() const { return {{1024, 768}}; }

  fake::Options FirmwareOptions() const override {
    fake::Options options;
    options.Modes = Modes();
    options.Mouse = false;
    options.Touch = false;
    return options;
  }

  void SetUp() override {
    FakeFirmwareTest::SetUp();
    Quorvex_Lib_Init(nullptr, fake::SystemTable());
    Quorvex_TextTable_Init();
    ::SystemTable = fake::SystemTable();
    ::BootServices = fake::BootServices();
    ::RuntimeServices = fake::RuntimeServices();
    ::GraphicsOutput = fake::Gop();
    ::ScreenWidth = fake::ScreenWidth();
    ::ScreenHeight = fake::ScreenHeight();
    ::GlyphFont = &gfxtest::TestFont;
    ::GlyphLineHeight = gfxtest::kLineHeight;
    ::ImageDisplay = &gfxtest::TestImages;
    ::SetupData = &gfxtest::TestSetupData;
    ::Language = 0;
    ::AccessLevel = 0;
    ::PageState = kStateSecurityTab;
    ::HotKeyScanCode = SCAN_F12;
    gfxtest::Images() = {};
    gfxtest::Images().FirmwareBlt = fake::Gop()->Blt;
    gfxtest::Operations() = {};
    Quorvex_Graphics_Reset();
    Quorvex_Mouse_Reset();
    // Not even the console's merged pointer: the modal loops' pointer polls
    // then find nothing to set up.
    fake::HideProtocol(kSimplePointerGuid);
  }

  void TearDown() override {
    Quorvex_Graphics_Reset();
    Quorvex_Utility_Reset();
    FakeFirmwareTest::TearDown();
  }

  static UINT32 At(UINT64 X, UINT64 Y) {
    return fake::PixelAt(static_cast<UINT32>(X), static_cast<UINT32>(Y));
  }
  static void Paint(UINT64 X, UINT64 Y, UINT64 W, UINT64 H, UINT32 Rgb) {
    for (UINT64 y = Y; y < Y + H; ++y)
      for (UINT64 x = X; x < X + W; ++x)
        fake::SetPixel(static_cast<UINT32>(x), static_cast<UINT32>(y), Rgb);
  }
  // Every pixel of the rectangle has the colour.
  static bool Uniform(UINT64 X, UINT64 Y, UINT64 W, UINT64 H, UINT32 Rgb) {
    for (UINT64 y = Y; y < Y + H; ++y)
      for (UINT64 x = X; x < X + W; ++x)
        if (At(x, y) != Rgb) return false;
    return true;
  }

  // The characters drawn white on black in row Y from X on: their code (the
  // blue byte of the glyph's marker pixel) and their x relative to X.
  struct Mark {
    UINT64 X;
    char16_t C;
    bool operator==(const Mark&) const = default;
  };
  static std::vector<Mark> MarksInRow(UINT64 X, UINT64 Y, UINT64 Width) {
    std::vector<Mark> marks;
    for (UINT64 x = X; x < X + Width && x < ScreenWidth; ++x) {
      const UINT32 p = At(x, Y);
      if (p != 0) marks.push_back({x - X, static_cast<char16_t>(p & 0xFF)});
    }
    return marks;
  }
  static std::u16string TextInRow(UINT64 X, UINT64 Y, UINT64 Width) {
    std::u16string text;
    for (const Mark& m : MarksInRow(X, Y, Width)) text += m.C;
    return text;
  }

  // Pictures drawn with the given data, in call order.
  static std::vector<gfxtest::PictureCall> PicturesOf(const Picture& Image) {
    std::vector<gfxtest::PictureCall> calls;
    for (const auto& call : gfxtest::Images().Calls)
      if (call.Data == Image.Data) calls.push_back(call);
    return calls;
  }
};

inline std::ostream& operator<<(std::ostream& Out, const std::u16string& Text) {
  return Out << fake::Utf16ToUtf8(Text.c_str());
}
