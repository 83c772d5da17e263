// The fake firmware behaves like the real one where the product depends on
// it: buffer-size answers, pool accounting, Blt bounds and overlapping copies.
#include "host/fake_firmware_fixture.h"

#include <vector>

namespace {

constexpr EFI_GUID kTestGuid = {0x11111111, 0x2222, 0x3333, {4, 5, 6, 7, 8, 9, 10, 11}};

class FakeFirmware : public FakeFirmwareTest {};

// A program that leaves the watchdog as the firmware armed it, and one that
// disarms it; both then let simulated time pass.
EFI_STATUS EFIAPI LeavesWatchdog(EFI_HANDLE, EFI_SYSTEM_TABLE*) {
  fake::AdvanceClock(fake::kBootWatchdogSeconds - 1);
  fake::AdvanceClock(1);
  return EFI_SUCCESS;
}
EFI_STATUS EFIAPI DisarmsWatchdog(EFI_HANDLE, EFI_SYSTEM_TABLE* Table) {
  Table->BootServices->SetWatchdogTimer(0, 0, 0, nullptr);
  fake::AdvanceClock(24 * 3600);
  return EFI_SUCCESS;
}

TEST_F(FakeFirmware, WatchdogResetsInSimulatedTimeUnlessDisarmed) {
  fake::RunResult r = fake::RunImage(LeavesWatchdog, fake::CreateImageHandle(u"\\A.efi"));
  EXPECT_TRUE(r.Reset) << "five simulated minutes after the start";
  EXPECT_EQ(r.ResetInfo.Type, EfiResetCold);
  EXPECT_EQ(r.ResetInfo.Status, EFI_TIMEOUT);

  r = fake::RunImage(DisarmsWatchdog, fake::CreateImageHandle(u"\\B.efi"));
  EXPECT_FALSE(r.Reset);
  EXPECT_EQ(fake::WatchdogTimeout(), 0u) << "disarmed again when the image returned";

  // Setting it starts the count again; SetClock is not time passing.
  BootServices()->SetWatchdogTimer(10, 0, 0, nullptr);
  fake::AdvanceClock(9);
  BootServices()->SetWatchdogTimer(10, 0, 0, nullptr);
  fake::SetClock({2030, 1, 1, 0, 0, 0, 0, 0, 0x07FF, 0, 0});
  fake::AdvanceClock(9);
  EXPECT_EQ(fake::ResetCount(), 1u);
  EXPECT_EQ(BootServices()->SetWatchdogTimer(10, 0, 4, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(FakeFirmware, WaitEndsWithASignalledEventOrASetTimerWithoutRunningTime) {
  EFI_EVENT timer = nullptr, other = nullptr;
  ASSERT_EQ(BootServices()->CreateEvent(EVT_TIMER, 0, nullptr, nullptr, &timer), EFI_SUCCESS);
  ASSERT_EQ(BootServices()->CreateEvent(EVT_TIMER, 0, nullptr, nullptr, &other), EFI_SUCCESS);
  EFI_EVENT events[2] = {other, timer};
  UINTN index = 9;
  const EFI_TIME before = fake::Clock();
  EXPECT_EQ(BootServices()->WaitForEvent(2, events, &index), EFI_UNSUPPORTED)
      << "nothing could ever end this wait";
  ASSERT_EQ(BootServices()->SetTimer(timer, TimerRelative, 100000), EFI_SUCCESS);
  EXPECT_EQ(BootServices()->WaitForEvent(2, events, &index), EFI_SUCCESS);
  EXPECT_EQ(index, 1u);
  EXPECT_EQ(fake::LastWaitTimer(), 100000u);
  EXPECT_EQ(fake::Clock().Second, before.Second);
  EXPECT_EQ(BootServices()->WaitForEvent(2, events, &index), EFI_UNSUPPORTED)
      << "a relative timer fires once";
  BootServices()->SignalEvent(other);
  BootServices()->SetTimer(timer, TimerPeriodic, 5);
  EXPECT_EQ(BootServices()->WaitForEvent(2, events, &index), EFI_SUCCESS);
  EXPECT_EQ(index, 0u) << "a signalled event comes first";
  EXPECT_EQ(BootServices()->WaitForEvent(2, events, &index), EFI_SUCCESS);
  EXPECT_EQ(BootServices()->WaitForEvent(2, events, &index), EFI_SUCCESS) << "periodic";
  EXPECT_EQ(BootServices()->SetTimer(nullptr, TimerRelative, 1), EFI_INVALID_PARAMETER);
}

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

TEST_F(FakeFirmware, OverlappingVideoCopiesMoveExactlyTheRectangle) {
  // Copies between overlapping rectangles in every direction behave as if
  // through a buffer.
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* const none = nullptr;
  EFI_GRAPHICS_OUTPUT_PROTOCOL* gop = fake::Gop();
  const UINT32 w = fake::ScreenWidth(), h = fake::ScreenHeight();
  std::vector<UINT32> model(static_cast<size_t>(w) * h);
  for (UINT32 y = 0; y < h; ++y)
    for (UINT32 x = 0; x < w; ++x) {
      model[y * w + x] = (x * 7 + y * 131) & 0xFFFFFF;
      fake::SetPixel(x, y, model[y * w + x]);
    }
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
    size_t differing = 0;
    for (UINT32 y = 0; y < h; ++y)
      for (UINT32 x = 0; x < w; ++x) differing += fake::PixelAt(x, y) != model[y * w + x];
    EXPECT_EQ(differing, 0u) << m.Sx << "," << m.Sy << " to " << m.Dx << "," << m.Dy;
  }
}

} // namespace
