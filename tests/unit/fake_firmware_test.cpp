// The fake firmware has to behave like the real one where the utility and
// the reference platform depend on it: lookups and their buffer-size
// answers, pool accounting and Blt bounds.
#include "host/fake_firmware_fixture.h"

#include <vector>

namespace {

constexpr EFI_GUID kTestGuid = {0x11111111, 0x2222, 0x3333, {4, 5, 6, 7, 8, 9, 10, 11}};

class FakeFirmware : public FakeFirmwareTest {};

TEST_F(FakeFirmware, LocateHandleAnswersTheSizeItNeeds) {
  // Console pointer and mouse carry Simple Pointer.
  UINTN size = 0;
  EXPECT_EQ(BootServices()->LocateHandle(ByProtocol, &kSimplePointerGuid, nullptr, &size, nullptr),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 2 * sizeof(EFI_HANDLE));

  EFI_HANDLE handles[2] = {nullptr, nullptr};
  size = sizeof(EFI_HANDLE);
  EXPECT_EQ(BootServices()->LocateHandle(ByProtocol, &kSimplePointerGuid, nullptr, &size, handles),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 2 * sizeof(EFI_HANDLE));
  EXPECT_EQ(handles[1], nullptr); // nothing written past what fitted

  EXPECT_EQ(BootServices()->LocateHandle(ByProtocol, &kSimplePointerGuid, nullptr, &size, handles),
            EFI_SUCCESS);
  EXPECT_EQ(handles[0], fake::ConsoleInHandle());
  EXPECT_EQ(handles[1], fake::MouseHandle());
  size = 0;
  EXPECT_EQ(BootServices()->LocateHandle(ByProtocol, &kTestGuid, nullptr, &size, nullptr),
            EFI_NOT_FOUND);

  // LocateHandleBuffer's answer comes from the pool and can fail like any
  // other allocation.
  UINTN count = 99;
  EFI_HANDLE* buffer = reinterpret_cast<EFI_HANDLE*>(1);
  EXPECT_EQ(BootServices()->LocateHandleBuffer(ByProtocol, &kTestGuid, nullptr, &count, &buffer),
            EFI_NOT_FOUND);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(buffer, nullptr);
  ASSERT_EQ(BootServices()->LocateHandleBuffer(ByProtocol, &kAbsolutePointerGuid, nullptr, &count,
                                               &buffer),
            EFI_SUCCESS);
  ASSERT_EQ(count, 1u);
  EXPECT_EQ(buffer[0], fake::TouchHandle());
  EXPECT_EQ(fake::Pool().OutstandingCount, PoolAtStart.OutstandingCount + 1);
  EXPECT_EQ(BootServices()->FreePool(buffer), EFI_SUCCESS);
  fake::FailAllocation(1);
  EXPECT_EQ(BootServices()->LocateHandleBuffer(ByProtocol, &kAbsolutePointerGuid, nullptr, &count,
                                               &buffer),
            EFI_OUT_OF_RESOURCES);
}

TEST_F(FakeFirmware, PoolCountsBlocksAndRefusesStrangers) {
  void* data = nullptr;
  ASSERT_EQ(BootServices()->AllocatePool(EfiBootServicesData, 100, &data), EFI_SUCCESS);
  EXPECT_EQ(fake::Pool().OutstandingCount, PoolAtStart.OutstandingCount + 1);
  EXPECT_EQ(fake::Pool().OutstandingBytesByType[EfiBootServicesData],
            PoolAtStart.OutstandingBytesByType[EfiBootServicesData] + 100);
  EXPECT_EQ(BootServices()->FreePool(data), EFI_SUCCESS);
  EXPECT_EQ(BootServices()->FreePool(data), EFI_INVALID_PARAMETER); // twice
  int local = 0;
  EXPECT_EQ(BootServices()->FreePool(&local), EFI_INVALID_PARAMETER);
  EXPECT_EQ(fake::Pool().BadFrees, 2u);
  EXPECT_EQ(fake::Pool().OutstandingCount, PoolAtStart.OutstandingCount);

  // The nth allocation fails once; the ones after it succeed again.
  fake::FailAllocation(2);
  void* blocks[3] = {};
  EXPECT_EQ(BootServices()->AllocatePool(EfiBootServicesData, 8, &blocks[0]), EFI_SUCCESS);
  EXPECT_EQ(BootServices()->AllocatePool(EfiBootServicesData, 8, &blocks[1]), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(blocks[1], nullptr);
  EXPECT_EQ(BootServices()->AllocatePool(EfiBootServicesData, 8, &blocks[2]), EFI_SUCCESS);
  for (void* block : blocks)
    if (block) BootServices()->FreePool(block);
  CheckPool = false; // the bad frees above are deliberate
}

TEST_F(FakeFirmware, BltRectanglesOutsideTheScreenAreRefusedAndDrawNothing) {
  EFI_GRAPHICS_OUTPUT_PROTOCOL* gop = fake::Gop();
  const UINT32 w = fake::ScreenWidth(), h = fake::ScreenHeight();
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL white[2] = {{0xFF, 0xFF, 0xFF, 0}, {0xFF, 0xFF, 0xFF, 0}};
  const UINT64 before = fake::Blt().PixelsWritten;
  EXPECT_EQ(gop->Blt(gop, white, EfiBltVideoFill, 0, 0, w - 10, 0, 11, 1, 0),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(gop->Blt(gop, white, EfiBltBufferToVideo, 0, 0, 0, h - 1, 1, 2, 0),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(gop->Blt(gop, white, EfiBltVideoToBltBuffer, w, 0, 0, 0, 1, 1, 0),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(gop->Blt(gop, nullptr, EfiBltVideoToVideo, 0, 0, 0, ~0ull - 5, 1, 10, 0),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(fake::Blt().Rejected, 4u);
  EXPECT_EQ(fake::Blt().PixelsWritten, before);
  EXPECT_EQ(fake::PixelAt(w - 1, 0), 0u);
  // The last column and row are inside.
  EXPECT_EQ(gop->Blt(gop, white, EfiBltVideoFill, 0, 0, w - 1, h - 1, 1, 1, 0), EFI_SUCCESS);
  EXPECT_EQ(fake::PixelAt(w - 1, h - 1), 0xFFFFFFu);
}

TEST_F(FakeFirmware, BltMovesExactlyTheRectangles) {
  // Every operation against a pixel-by-pixel model of the screen: offsets,
  // a buffer wider than the rectangle (Delta), fills, and copies between
  // overlapping rectangles in every direction (as if through a buffer).
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* const none = nullptr;
  EFI_GRAPHICS_OUTPUT_PROTOCOL* gop = fake::Gop();
  const UINT32 w = fake::ScreenWidth(), h = fake::ScreenHeight();
  std::vector<UINT32> model(static_cast<size_t>(w) * h);
  for (UINT32 y = 0; y < h; ++y)
    for (UINT32 x = 0; x < w; ++x) {
      model[y * w + x] = (x * 7 + y * 131) & 0xFFFFFF;
      fake::SetPixel(x, y, model[y * w + x]);
    }
  auto expectScreen = [&](const char* Step) {
    const auto& screen = fake::Framebuffer();
    size_t differing = 0, first = 0;
    for (size_t i = 0; i < model.size(); ++i) {
      const UINT32 rgb =
          (UINT32(screen[i].Red) << 16) | (UINT32(screen[i].Green) << 8) | screen[i].Blue;
      if (rgb != model[i] && differing++ == 0) first = i;
    }
    EXPECT_EQ(differing, 0u) << Step << ", first at " << first % w << "," << first / w;
  };
  auto pixel = [](UINT32 Rgb) {
    return EFI_GRAPHICS_OUTPUT_BLT_PIXEL{static_cast<UINT8>(Rgb), static_cast<UINT8>(Rgb >> 8),
                                         static_cast<UINT8>(Rgb >> 16), 0};
  };

  EFI_GRAPHICS_OUTPUT_BLT_PIXEL colour = pixel(0x123456);
  ASSERT_EQ(gop->Blt(gop, &colour, EfiBltVideoFill, 0, 0, 3, 5, 17, 4, 0), EFI_SUCCESS);
  for (UINT32 y = 5; y < 9; ++y)
    for (UINT32 x = 3; x < 20; ++x) model[y * w + x] = 0x123456;
  expectScreen("fill");

  // A buffer 10 pixels wide: the screen's 5 x 4 at (1, 2) lands at (3, 1)
  // of it and the rest of it stays, then goes back to the bottom right.
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> buffer(60, pixel(0xABCDEF));
  const UINTN delta = 10 * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL);
  ASSERT_EQ(gop->Blt(gop, buffer.data(), EfiBltVideoToBltBuffer, 1, 2, 3, 1, 5, 4, delta),
            EFI_SUCCESS);
  for (UINT32 y = 0; y < 6; ++y)
    for (UINT32 x = 0; x < 10; ++x) {
      const EFI_GRAPHICS_OUTPUT_BLT_PIXEL p = buffer[y * 10 + x];
      const bool inside = x >= 3 && x < 8 && y >= 1 && y < 5;
      EXPECT_EQ((UINT32(p.Red) << 16) | (UINT32(p.Green) << 8) | p.Blue,
                inside ? model[(y + 1) * w + x - 2] : 0xABCDEFu)
          << x << "," << y;
    }
  ASSERT_EQ(gop->Blt(gop, buffer.data(), EfiBltBufferToVideo, 3, 1, w - 5, h - 4, 5, 4, delta),
            EFI_SUCCESS);
  for (UINT32 y = 0; y < 4; ++y)
    for (UINT32 x = 0; x < 5; ++x) model[(h - 4 + y) * w + w - 5 + x] = model[(2 + y) * w + 1 + x];
  expectScreen("buffer to video");

  struct Move {
    UINT32 Sx, Sy, Dx, Dy, Width, Height;
  };
  for (const Move m :
       {Move{10, 10, 13, 12, 40, 30}, Move{13, 12, 10, 10, 40, 30}, Move{20, 40, 25, 40, 30, 5},
        Move{25, 40, 20, 40, 30, 5}, Move{0, 0, 0, 1, w, h - 1}, Move{0, 1, 0, 0, w, h - 1}}) {
    ASSERT_EQ(gop->Blt(gop, none, EfiBltVideoToVideo, m.Sx, m.Sy, m.Dx, m.Dy, m.Width, m.Height, 0),
              EFI_SUCCESS);
    const std::vector<UINT32> old = model;
    for (UINT32 y = 0; y < m.Height; ++y)
      for (UINT32 x = 0; x < m.Width; ++x)
        model[(m.Dy + y) * w + m.Dx + x] = old[(m.Sy + y) * w + m.Sx + x];
    expectScreen("video to video");
  }
}

} // namespace
