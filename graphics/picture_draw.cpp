// Stored pictures through the platform's image protocol, with the two
// shortcuts of retained drawing: while recording, a PNG is its data and
// place (the protocol is not called); while buffering, one that cannot
// reach the frame is skipped.
#include "graphics/double_buffer.h"
#include "graphics/draw_record.h"
#include "graphics/draw_util.h"
#include "platform/lib.h"

bool Quorvex_PngExtent(const Picture& Image, UINT64* Width, UINT64* Height) {
  // The signature, then the header chunk's length and type, then width and
  // height as big-endian 32-bit numbers.
  static constexpr UINT8 kSignature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  const UINT8* data = Image.Data;
  if (data == nullptr || Image.Size < 24 || MemCompare(data, kSignature, 8) != 0) return false;
  auto big = [&](UINT64 At) {
    return (static_cast<UINT64>(data[At]) << 24) | (static_cast<UINT64>(data[At + 1]) << 16) |
           (static_cast<UINT64>(data[At + 2]) << 8) | data[At + 3];
  };
  *Width = big(16);
  *Height = big(20);
  return true;
}

EFI_STATUS Quorvex_DrawPicture(const Picture& Image, UINT64 X, UINT64 Y) {
  if (!ImageDisplay || !ImageDisplay->Operations || !ImageDisplay->Operations->DrawPng ||
      !Image.Data)
    return EFI_NOT_FOUND;
  UINT64 width = 0;
  UINT64 height = 0;
  const bool known = Quorvex_PngExtent(Image, &width, &height);
  if (known && Quorvex_DrawRecord_Active()) {
    const UINT64 words[3] = {reinterpret_cast<UINT64>(Image.Data), Image.Size, 0x504E47u};
    Quorvex_DrawRecord_Words(words, sizeof words);
    // Cut as the protocol cuts it: at the right edge and the bottom.
    if (X < ScreenWidth && Y < ScreenHeight)
      Quorvex_DrawRecord_Area(X, Y, width < ScreenWidth - X ? width : ScreenWidth - X,
                              height < ScreenHeight - Y ? height : ScreenHeight - Y);
    return EFI_SUCCESS;
  }
  if (known && !Quorvex_DoubleBuffer_Reaches(X, Y, width, height)) return EFI_SUCCESS;
  Quorvex_ScreenLog_NotePicture(Image, X, Y);
  return ImageDisplay->Operations->DrawPng(Image.Data, Image.Size, X, Y);
}
