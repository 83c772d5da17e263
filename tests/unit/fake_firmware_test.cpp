// The fake firmware has to behave like the real one where the utility and
// the reference platform depend on it: lookups, notifications, buffer-size
// answers, Blt bounds, pool accounting, the clock and the input delivery.
#include <cstring>
#include <vector>

#include "host/fake_firmware_fixture.h"

namespace {

constexpr EFI_GUID kTestGuid = {0x11111111, 0x2222, 0x3333, {4, 5, 6, 7, 8, 9, 10, 11}};

class FakeFirmware : public FakeFirmwareTest {};

// ---------------------------------------------------------------------------
// Protocol database
// ---------------------------------------------------------------------------
TEST_F(FakeFirmware, InstallLookUpAndUninstall) {
  int first = 1, second = 2;
  EFI_HANDLE a = nullptr, b = nullptr;
  ASSERT_EQ(BootServices()->InstallProtocolInterface(&a, &kTestGuid, EFI_NATIVE_INTERFACE, &first),
            EFI_SUCCESS);
  ASSERT_EQ(BootServices()->InstallProtocolInterface(&b, &kTestGuid, EFI_NATIVE_INTERFACE, &second),
            EFI_SUCCESS);
  EXPECT_NE(a, b);
  // The same protocol twice on one handle is refused.
  EXPECT_EQ(BootServices()->InstallProtocolInterface(&a, &kTestGuid, EFI_NATIVE_INTERFACE, &second),
            EFI_INVALID_PARAMETER);

  void* found = nullptr;
  EXPECT_EQ(BootServices()->LocateProtocol(&kTestGuid, nullptr, &found), EFI_SUCCESS);
  EXPECT_EQ(found, &first); // the first installed wins
  EXPECT_EQ(BootServices()->HandleProtocol(b, &kTestGuid, &found), EFI_SUCCESS);
  EXPECT_EQ(found, &second);
  EXPECT_EQ(BootServices()->HandleProtocol(b, &kGraphicsOutputGuid, &found), EFI_UNSUPPORTED);
  EXPECT_EQ(found, nullptr);

  EXPECT_EQ(BootServices()->UninstallProtocolInterface(a, &kTestGuid, &second), EFI_NOT_FOUND);
  EXPECT_EQ(BootServices()->UninstallProtocolInterface(a, &kTestGuid, &first), EFI_SUCCESS);
  // A handle left without protocols is gone; using it is refused, not a crash.
  EXPECT_FALSE(fake::IsLiveHandle(a));
  EXPECT_EQ(BootServices()->HandleProtocol(a, &kTestGuid, &found), EFI_INVALID_PARAMETER);
  EXPECT_EQ(BootServices()->LocateProtocol(&kTestGuid, nullptr, &found), EFI_SUCCESS);
  EXPECT_EQ(found, &second);
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

  EXPECT_EQ(BootServices()->LocateHandle(ByProtocol, &kSimplePointerGuid, nullptr, &size, handles),
            EFI_SUCCESS);
  EXPECT_EQ(handles[0], fake::ConsoleInHandle());
  EXPECT_EQ(handles[1], fake::MouseHandle());

  size = 16;
  EXPECT_EQ(BootServices()->LocateHandle(ByProtocol, &kSimplePointerGuid, nullptr, &size, nullptr),
            EFI_INVALID_PARAMETER);
  size = 0;
  EXPECT_EQ(BootServices()->LocateHandle(ByProtocol, &kTestGuid, nullptr, &size, nullptr),
            EFI_NOT_FOUND);
  EXPECT_EQ(size, 0u);
}

TEST_F(FakeFirmware, LocateHandleBufferComesFromThePool) {
  UINTN count = 99;
  EFI_HANDLE* handles = reinterpret_cast<EFI_HANDLE*>(1);
  EXPECT_EQ(BootServices()->LocateHandleBuffer(ByProtocol, &kTestGuid, nullptr, &count, &handles),
            EFI_NOT_FOUND);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(handles, nullptr);

  ASSERT_EQ(BootServices()->LocateHandleBuffer(ByProtocol, &kAbsolutePointerGuid, nullptr, &count,
                                               &handles),
            EFI_SUCCESS);
  ASSERT_EQ(count, 1u);
  EXPECT_EQ(handles[0], fake::TouchHandle());
  EXPECT_EQ(fake::Pool().OutstandingCount, PoolAtStart.OutstandingCount + 1);
  EXPECT_EQ(BootServices()->FreePool(handles), EFI_SUCCESS);

  // The buffer's own allocation can fail like any other.
  fake::FailAllocation(1);
  EXPECT_EQ(BootServices()->LocateHandleBuffer(ByProtocol, &kAbsolutePointerGuid, nullptr, &count,
                                               &handles),
            EFI_OUT_OF_RESOURCES);
}

struct NotifyLog {
  int Calls = 0;
  EFI_TPL TplSeen = 0;
  bool CloseItself = false;
};

void EFIAPI CountNotify(EFI_EVENT Event, void* Context) {
  auto* log = static_cast<NotifyLog*>(Context);
  ++log->Calls;
  log->TplSeen = fake::CurrentTpl();
  if (log->CloseItself) fake::BootServices()->CloseEvent(Event);
}

TEST_F(FakeFirmware, InstallationSignalsRegisteredEventsAtOnce) {
  NotifyLog log;
  log.CloseItself = true; // as the utility's restart notification does
  EFI_EVENT event = nullptr;
  ASSERT_EQ(BootServices()->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify, &log, &event),
            EFI_SUCCESS);
  void* registration = nullptr;
  ASSERT_EQ(BootServices()->RegisterProtocolNotify(&kRestartTriggerGuid, event, &registration),
            EFI_SUCCESS);
  EXPECT_EQ(log.Calls, 0); // registering alone signals nothing

  fake::TriggerRestart();
  EXPECT_EQ(log.Calls, 1);
  EXPECT_EQ(log.TplSeen, TPL_CALLBACK);
  EXPECT_EQ(fake::CurrentTpl(), TPL_APPLICATION);
  // The event closed itself: a second installation goes unnoticed.
  fake::TriggerRestart();
  EXPECT_EQ(log.Calls, 1);
  EXPECT_EQ(fake::NotifyRegistrationCount(), 0u);
  EXPECT_EQ(BootServices()->CloseEvent(event), EFI_INVALID_PARAMETER);
}

TEST_F(FakeFirmware, NotificationWaitsWhileTheTplIsRaised) {
  NotifyLog log;
  EFI_EVENT event = nullptr;
  ASSERT_EQ(BootServices()->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify, &log, &event),
            EFI_SUCCESS);
  void* registration = nullptr;
  ASSERT_EQ(BootServices()->RegisterProtocolNotify(&kTestGuid, event, &registration), EFI_SUCCESS);

  const EFI_TPL old = BootServices()->RaiseTPL(TPL_NOTIFY);
  int iface = 0;
  EFI_HANDLE handle = nullptr;
  BootServices()->InstallProtocolInterface(&handle, &kTestGuid, EFI_NATIVE_INTERFACE, &iface);
  EXPECT_EQ(log.Calls, 0);
  BootServices()->RestoreTPL(old);
  EXPECT_EQ(log.Calls, 1);

  // The registration hands out each new interface once.
  void* found = nullptr;
  EXPECT_EQ(BootServices()->LocateProtocol(&kTestGuid, registration, &found), EFI_SUCCESS);
  EXPECT_EQ(found, &iface);
  EXPECT_EQ(BootServices()->LocateProtocol(&kTestGuid, registration, &found), EFI_NOT_FOUND);
  EXPECT_EQ(BootServices()->CloseEvent(event), EFI_SUCCESS);

  // A notification event needs a function and a real TPL.
  EXPECT_EQ(BootServices()->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, nullptr, nullptr, &event),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(BootServices()->CreateEvent(EVT_NOTIFY_SIGNAL, 5, CountNotify, &log, &event),
            EFI_INVALID_PARAMETER);
}

TEST_F(FakeFirmware, HiddenAndRemovedProtocolsAreNotFound) {
  fake::HideProtocol(kGraphicsOutputGuid);
  void* found = nullptr;
  EXPECT_EQ(BootServices()->LocateProtocol(&kGraphicsOutputGuid, nullptr, &found), EFI_NOT_FOUND);
  EXPECT_EQ(BootServices()->HandleProtocol(fake::GopHandle(), &kGraphicsOutputGuid, &found),
            EFI_UNSUPPORTED);
  // Hiding covers instances installed later too.
  int iface = 0;
  EFI_HANDLE handle = nullptr;
  BootServices()->InstallProtocolInterface(&handle, &kGraphicsOutputGuid, EFI_NATIVE_INTERFACE,
                                           &iface);
  EXPECT_EQ(BootServices()->LocateProtocol(&kGraphicsOutputGuid, nullptr, &found), EFI_NOT_FOUND);
  fake::HideProtocol(kGraphicsOutputGuid, false);
  EXPECT_EQ(BootServices()->LocateProtocol(&kGraphicsOutputGuid, nullptr, &found), EFI_SUCCESS);
  EXPECT_EQ(found, fake::Gop());

  fake::RemoveProtocol(kAbsolutePointerGuid);
  EXPECT_EQ(BootServices()->LocateProtocol(&kAbsolutePointerGuid, nullptr, &found), EFI_NOT_FOUND);
  EXPECT_FALSE(fake::IsLiveHandle(fake::TouchHandle()));
}

// ---------------------------------------------------------------------------
// Pool
// ---------------------------------------------------------------------------
TEST_F(FakeFirmware, PoolCountsBlocksPerTypeAndRefusesStrangers) {
  void* data = nullptr;
  void* code = nullptr;
  ASSERT_EQ(BootServices()->AllocatePool(EfiBootServicesData, 100, &data), EFI_SUCCESS);
  ASSERT_EQ(BootServices()->AllocatePool(EfiLoaderCode, 0, &code), EFI_SUCCESS);
  EXPECT_EQ(static_cast<UINT8*>(data)[99], fake::kPoolFillByte);
  fake::PoolStats stats = fake::Pool();
  EXPECT_EQ(stats.OutstandingCount, PoolAtStart.OutstandingCount + 2);
  EXPECT_EQ(stats.OutstandingBytesByType[EfiBootServicesData],
            PoolAtStart.OutstandingBytesByType[EfiBootServicesData] + 100);
  EXPECT_EQ(stats.OutstandingCountByType[EfiLoaderCode], 1u);

  EXPECT_EQ(BootServices()->FreePool(data), EFI_SUCCESS);
  EXPECT_EQ(BootServices()->FreePool(data), EFI_INVALID_PARAMETER); // twice
  int local = 0;
  EXPECT_EQ(BootServices()->FreePool(&local), EFI_INVALID_PARAMETER);
  EXPECT_EQ(fake::Pool().BadFrees, 2u);
  EXPECT_EQ(BootServices()->FreePool(code), EFI_SUCCESS);
  EXPECT_EQ(BootServices()->AllocatePool(EfiConventionalMemory, 8, &data), EFI_INVALID_PARAMETER);
  CheckPool = false; // the bad frees above are deliberate
}

TEST_F(FakeFirmware, TheNthAllocationFailsOnce) {
  fake::FailAllocation(3);
  void* blocks[4] = {};
  EXPECT_EQ(BootServices()->AllocatePool(EfiBootServicesData, 8, &blocks[0]), EFI_SUCCESS);
  EXPECT_EQ(BootServices()->AllocatePool(EfiBootServicesData, 8, &blocks[1]), EFI_SUCCESS);
  EXPECT_EQ(BootServices()->AllocatePool(EfiBootServicesData, 8, &blocks[2]), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(blocks[2], nullptr);
  EXPECT_EQ(BootServices()->AllocatePool(EfiBootServicesData, 8, &blocks[3]), EFI_SUCCESS);
  for (void* block : blocks)
    if (block) BootServices()->FreePool(block);
  // A request no firmware could meet fails instead of exhausting the host.
  void* huge = nullptr;
  EXPECT_EQ(BootServices()->AllocatePool(EfiBootServicesData, ~0ull, &huge), EFI_OUT_OF_RESOURCES);
}

// ---------------------------------------------------------------------------
// Graphics Output
// ---------------------------------------------------------------------------
class FakeGop : public FakeFirmwareTest {
protected:
  fake::Options FirmwareOptions() const override {
    fake::Options options;
    options.Modes = {{800, 600}, {64, 32}};
    return options;
  }
  static EFI_STATUS Blt(EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Buffer, EFI_GRAPHICS_OUTPUT_BLT_OPERATION Op,
                        UINTN Sx, UINTN Sy, UINTN Dx, UINTN Dy, UINTN W, UINTN H, UINTN Delta) {
    return fake::Gop()->Blt(fake::Gop(), Buffer, Op, Sx, Sy, Dx, Dy, W, H, Delta);
  }
};

TEST_F(FakeGop, ModesAreQueriedIntoPoolRecordsAndSetModeClears) {
  EFI_GRAPHICS_OUTPUT_PROTOCOL* gop = fake::Gop();
  ASSERT_EQ(gop->Mode->MaxMode, 2u);
  UINTN size = 0;
  EFI_GRAPHICS_OUTPUT_MODE_INFORMATION* info = nullptr;
  ASSERT_EQ(gop->QueryMode(gop, 1, &size, &info), EFI_SUCCESS);
  EXPECT_EQ(info->HorizontalResolution, 64u);
  EXPECT_EQ(info->VerticalResolution, 32u);
  EXPECT_EQ(size, sizeof(EFI_GRAPHICS_OUTPUT_MODE_INFORMATION));
  // The caller owns the record and must free it.
  EXPECT_EQ(fake::Pool().OutstandingCount, PoolAtStart.OutstandingCount + 1);
  BootServices()->FreePool(info);
  EXPECT_EQ(gop->QueryMode(gop, 2, &size, &info), EFI_INVALID_PARAMETER);

  fake::SetPixel(5, 5, 0x123456);
  EXPECT_EQ(gop->SetMode(gop, 2), EFI_UNSUPPORTED);
  EXPECT_EQ(fake::PixelAt(5, 5), 0x123456u);
  EXPECT_EQ(gop->SetMode(gop, 1), EFI_SUCCESS);
  EXPECT_EQ(fake::ScreenWidth(), 64u);
  EXPECT_EQ(gop->Mode->Info->VerticalResolution, 32u);
  EXPECT_EQ(gop->Mode->FrameBufferSize, 64u * 32u * 4u);
  EXPECT_EQ(fake::PixelAt(5, 5), 0u);
}

TEST_F(FakeGop, BltCopiesWithDeltaAndSourceOffsets) {
  // A 4x3 caller array; copy its 2x2 block at (1, 1) to the screen at (10, 20).
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL array[12];
  for (int i = 0; i < 12; ++i) array[i] = {static_cast<UINT8>(i), 0, 0, 0};
  ASSERT_EQ(Blt(array, EfiBltBufferToVideo, 1, 1, 10, 20, 2, 2, 4 * sizeof array[0]), EFI_SUCCESS);
  EXPECT_EQ(fake::PixelAt(10, 20), 5u);
  EXPECT_EQ(fake::PixelAt(11, 20), 6u);
  EXPECT_EQ(fake::PixelAt(10, 21), 9u);
  EXPECT_EQ(fake::PixelAt(12, 20), 0u);

  // Read back into a packed array (Delta 0 means Width * 4).
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL back[4] = {};
  ASSERT_EQ(Blt(back, EfiBltVideoToBltBuffer, 10, 20, 0, 0, 2, 2, 0), EFI_SUCCESS);
  EXPECT_EQ(back[3].Blue, 10);

  // Overlapping video-to-video moves as if through a copy.
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL red = {0, 0, 0xFF, 0};
  ASSERT_EQ(Blt(&red, EfiBltVideoFill, 0, 0, 100, 100, 3, 1, 0), EFI_SUCCESS);
  ASSERT_EQ(Blt(nullptr, EfiBltVideoToVideo, 100, 100, 101, 100, 3, 1, 0), EFI_SUCCESS);
  EXPECT_EQ(fake::PixelAt(100, 100), 0xFF0000u);
  EXPECT_EQ(fake::PixelAt(103, 100), 0xFF0000u);
  EXPECT_EQ(fake::PixelAt(104, 100), 0u);
}

TEST_F(FakeGop, RectanglesOutsideTheScreenAreRefusedAndDrawNothing) {
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL white = {0xFF, 0xFF, 0xFF, 0};
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> row(50, white);
  const UINT64 before = fake::Blt().PixelsWritten;
  EXPECT_EQ(Blt(&white, EfiBltVideoFill, 0, 0, 790, 0, 11, 1, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Blt(row.data(), EfiBltBufferToVideo, 0, 0, 0, 599, 1, 2, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Blt(row.data(), EfiBltVideoToBltBuffer, 800, 0, 0, 0, 1, 1, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Blt(nullptr, EfiBltVideoToVideo, 0, 0, 0, ~0ull - 5, 1, 10, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Blt(&white, EfiBltVideoFill, 0, 0, 0, 0, 0, 1, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Blt(nullptr, EfiBltBufferToVideo, 0, 0, 0, 0, 1, 1, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Blt(&white, static_cast<EFI_GRAPHICS_OUTPUT_BLT_OPERATION>(4), 0, 0, 0, 0, 1, 1, 0),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(fake::Blt().Rejected, 7u);
  EXPECT_EQ(fake::Blt().PixelsWritten, before);
  EXPECT_EQ(fake::PixelAt(799, 0), 0u);
  // The last column and row are inside.
  EXPECT_EQ(Blt(&white, EfiBltVideoFill, 0, 0, 799, 599, 1, 1, 0), EFI_SUCCESS);
  EXPECT_EQ(fake::PixelAt(799, 599), 0xFFFFFFu);
}

// ---------------------------------------------------------------------------
// Clock and variables
// ---------------------------------------------------------------------------
TEST_F(FakeFirmware, ClockStandsStillAndCarriesWhenAdvanced) {
  EFI_TIME t{};
  RuntimeServices()->GetTime(&t, nullptr);
  EFI_TIME again{};
  RuntimeServices()->GetTime(&again, nullptr);
  EXPECT_EQ(std::memcmp(&t, &again, sizeof t), 0);

  fake::SetClock({2024, 2, 28, 23, 59, 30, 0, 0, 0x07FF, 0, 0});
  fake::AdvanceClock(31);
  t = fake::Clock();
  EXPECT_EQ(t.Month, 2);
  EXPECT_EQ(t.Day, 29); // a leap year
  EXPECT_EQ(t.Second, 1);
  fake::SetClock({2023, 12, 31, 23, 59, 59, 0, 0, 0x07FF, 0, 0});
  fake::AdvanceClock(1);
  t = fake::Clock();
  EXPECT_EQ(t.Year, 2024);
  EXPECT_EQ(t.Month, 1);
  EXPECT_EQ(t.Day, 1);
  EXPECT_EQ(t.Hour, 0);
  fake::AdvanceClock(~0ull);
  EXPECT_EQ(fake::Clock().Year, 9999);

  EFI_TIME bad = {2023, 2, 29, 10, 0, 0, 0, 0, 0x07FF, 0, 0};
  EXPECT_EQ(RuntimeServices()->SetTime(&bad), EFI_INVALID_PARAMETER);
  EFI_TIME good = {2030, 6, 15, 8, 30, 0, 0, 0, 0x07FF, 0, 0};
  EXPECT_EQ(RuntimeServices()->SetTime(&good), EFI_SUCCESS);
  EXPECT_EQ(fake::Clock().Year, 2030);
}

TEST_F(FakeFirmware, VariablesAnswerSizesAndFailWithoutChange) {
  const CHAR16 name[] = u"QuorvexTest";
  constexpr UINT32 attrs = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;
  const UINT8 data[5] = {1, 2, 3, 4, 5};
  ASSERT_EQ(RuntimeServices()->SetVariable(name, &kTestGuid, attrs, 5, data), EFI_SUCCESS);

  UINTN size = 2;
  UINT8 out[8] = {};
  EXPECT_EQ(RuntimeServices()->GetVariable(name, &kTestGuid, nullptr, &size, out),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 5u);
  UINT32 gotAttrs = 0;
  EXPECT_EQ(RuntimeServices()->GetVariable(name, &kTestGuid, &gotAttrs, &size, out), EFI_SUCCESS);
  EXPECT_EQ(out[4], 5);
  EXPECT_EQ(gotAttrs, attrs);

  // An injected failure leaves the old value whole.
  fake::FailSetVariable(1, EFI_DEVICE_ERROR);
  const UINT8 other[3] = {9, 9, 9};
  EXPECT_EQ(RuntimeServices()->SetVariable(name, &kTestGuid, attrs, 3, other), EFI_DEVICE_ERROR);
  std::vector<UINT8> kept;
  ASSERT_TRUE(fake::PeekVariable(name, kTestGuid, &kept));
  EXPECT_EQ(kept, std::vector<UINT8>(data, data + 5));

  EXPECT_EQ(
      RuntimeServices()->SetVariable(name, &kTestGuid, EFI_VARIABLE_BOOTSERVICE_ACCESS, 3, other),
      EFI_INVALID_PARAMETER); // other attributes
  EXPECT_EQ(RuntimeServices()->SetVariable(name, &kTestGuid, attrs, 0, nullptr), EFI_SUCCESS);
  EXPECT_EQ(RuntimeServices()->GetVariable(name, &kTestGuid, nullptr, &size, out), EFI_NOT_FOUND);
}

// ---------------------------------------------------------------------------
// Input
// ---------------------------------------------------------------------------
EFI_STATUS ReadKey(EFI_INPUT_KEY* Key) {
  return fake::SystemTable()->ConIn->ReadKeyStroke(fake::SystemTable()->ConIn, Key);
}

EFI_SIMPLE_POINTER_PROTOCOL* Mouse() {
  void* iface = nullptr;
  fake::BootServices()->HandleProtocol(fake::MouseHandle(), &kSimplePointerGuid, &iface);
  return static_cast<EFI_SIMPLE_POINTER_PROTOCOL*>(iface);
}

EFI_ABSOLUTE_POINTER_PROTOCOL* Touch() {
  void* iface = nullptr;
  fake::BootServices()->HandleProtocol(fake::TouchHandle(), &kAbsolutePointerGuid, &iface);
  return static_cast<EFI_ABSOLUTE_POINTER_PROTOCOL*>(iface);
}

TEST_F(FakeFirmware, InputsAreTakenInOrderByTheirOwnDevice) {
  fake::MouseMoveTo(300, 200, true);
  fake::PushKey(SCAN_NULL, u'a');
  EFI_INPUT_KEY key;
  // The key waits behind the click.
  EXPECT_EQ(ReadKey(&key), EFI_NOT_READY);
  EFI_SIMPLE_POINTER_STATE state;
  ASSERT_EQ(Mouse()->GetState(Mouse(), &state), EFI_SUCCESS);
  EXPECT_LT(state.RelativeMovementX, -10000); // homing to the corner
  EXPECT_FALSE(state.LeftButton);
  ASSERT_EQ(Mouse()->GetState(Mouse(), &state), EFI_SUCCESS);
  EXPECT_EQ(state.RelativeMovementX, 300);
  EXPECT_EQ(state.RelativeMovementY, 200);
  EXPECT_TRUE(state.LeftButton);
  ASSERT_EQ(Mouse()->GetState(Mouse(), &state), EFI_SUCCESS);
  EXPECT_FALSE(state.LeftButton); // released
  EXPECT_EQ(Mouse()->GetState(Mouse(), &state), EFI_NOT_READY);

  // The console's merged pointer never delivers the mouse's states.
  void* iface = nullptr;
  BootServices()->HandleProtocol(fake::ConsoleInHandle(), &kSimplePointerGuid, &iface);
  auto* console = static_cast<EFI_SIMPLE_POINTER_PROTOCOL*>(iface);
  fake::MouseMoveTo(1, 1, false);
  EXPECT_EQ(console->GetState(console, &state), EFI_NOT_READY);
  EXPECT_EQ(fake::PendingInputs(), 3u); // key + two mouse states
  EXPECT_EQ(ReadKey(&key), EFI_SUCCESS);
  EXPECT_EQ(key.UnicodeChar, u'a');
}

TEST_F(FakeFirmware, ATouchMapsBackOntoTheExactPixel) {
  // The utility scales panel units by screen size / (max - min), truncating.
  const EFI_ABSOLUTE_POINTER_MODE* mode = Touch()->Mode;
  const UINT64 range = mode->AbsoluteMaxX - mode->AbsoluteMinX;
  for (UINT32 width : {1024u, 1366u, 1920u, 3840u}) {
    for (UINT32 x : {0u, 1u, 511u, width / 2 + 1, width - 1}) {
      const UINT64 units = fake::TouchUnitsFor(x, width);
      EXPECT_LE(units, mode->AbsoluteMaxX);
      EXPECT_EQ(units * width / range, x) << "width " << width << " x " << x;
    }
  }
  fake::TouchAt(100, 700);
  EFI_ABSOLUTE_POINTER_STATE state;
  ASSERT_EQ(Touch()->GetState(Touch(), &state), EFI_SUCCESS);
  EXPECT_EQ(state.ActiveButtons, 1u);
  EXPECT_EQ(state.CurrentY * fake::ScreenHeight() / range, 700u);
  ASSERT_EQ(Touch()->GetState(Touch(), &state), EFI_SUCCESS);
  EXPECT_EQ(state.ActiveButtons, 0u);
}

TEST_F(FakeFirmware, IdleComesOnlyFromRepeatedEmptyKeyReads) {
  int idle = 0;
  fake::SetIdleHandler([&] {
    ++idle;
    fake::PushKey(SCAN_DOWN, 0);
  });
  EFI_INPUT_KEY key;
  EFI_SIMPLE_POINTER_STATE state;
  // A flush reads once and a pointer drain reads each device once: not idle.
  EXPECT_EQ(ReadKey(&key), EFI_NOT_READY);
  EXPECT_EQ(Mouse()->GetState(Mouse(), &state), EFI_NOT_READY);
  EXPECT_EQ(ReadKey(&key), EFI_NOT_READY);
  EXPECT_EQ(idle, 0);
  // A polling loop is: the read that notices returns nothing, the next one
  // gets what the handler queued.
  EXPECT_EQ(ReadKey(&key), EFI_NOT_READY);
  EXPECT_EQ(idle, 1);
  EXPECT_EQ(ReadKey(&key), EFI_SUCCESS);
  EXPECT_EQ(key.ScanCode, SCAN_DOWN);
  for (UINT64 i = 0; i < fake::kIdleKeyReads; ++i) ReadKey(&key);
  EXPECT_EQ(idle, 2);

  // A loop that only polls the pointer goes idle too, later.
  fake::ClearInput();
  fake::SetIdleHandler([&] { ++idle; });
  for (UINT64 i = 0; i < fake::kIdleAnyReads; ++i) Mouse()->GetState(Mouse(), &state);
  EXPECT_EQ(idle, 3);
}

TEST_F(FakeFirmware, AnInputNobodyReadsIsDroppedInsteadOfBlockingTheQueue) {
  fake::PushTouchState(1, 1, 1);
  fake::PushKey(SCAN_ESC, 0);
  EFI_INPUT_KEY key;
  for (UINT64 i = 0; i + 1 < fake::kMaxSkips; ++i) ASSERT_EQ(ReadKey(&key), EFI_NOT_READY);
  EXPECT_EQ(fake::InputsDropped(), 0u);
  EXPECT_EQ(ReadKey(&key), EFI_NOT_READY);
  EXPECT_EQ(fake::InputsDropped(), 1u);
  EXPECT_EQ(ReadKey(&key), EFI_SUCCESS);
  EXPECT_EQ(key.ScanCode, SCAN_ESC);
}

TEST_F(FakeFirmware, KeysReadThroughTextInputExCarryValidKeyState) {
  void* iface = nullptr;
  ASSERT_EQ(
      BootServices()->HandleProtocol(fake::ConsoleInHandle(), &kSimpleTextInputExGuid, &iface),
      EFI_SUCCESS);
  auto* ex = static_cast<EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL*>(iface);
  UINT8 toggles = 0x80 | 0x04; // caps lock
  EXPECT_EQ(ex->SetState(ex, &toggles), EFI_SUCCESS);
  fake::PushKey(SCAN_NULL, u'Q');
  EFI_KEY_DATA data{};
  ASSERT_EQ(ex->ReadKeyStrokeEx(ex, &data), EFI_SUCCESS);
  EXPECT_EQ(data.Key.UnicodeChar, u'Q');
  EXPECT_EQ(data.KeyState.KeyShiftState & 0x80000000u, 0x80000000u);
  EXPECT_EQ(data.KeyState.KeyToggleState, 0x84);
  EXPECT_EQ(ex->ReadKeyStrokeEx(ex, &data), EFI_NOT_READY);
}

// ---------------------------------------------------------------------------
// Images, exit and reset
// ---------------------------------------------------------------------------
EFI_HANDLE SeenImage = nullptr;
EFI_STATUS EFIAPI ReturningEntry(EFI_HANDLE Image, EFI_SYSTEM_TABLE* Table) {
  SeenImage = Image;
  return Table == fake::SystemTable() ? EFI_NOT_FOUND : EFI_LOAD_ERROR;
}
EFI_STATUS EFIAPI ExitingEntry(EFI_HANDLE Image, EFI_SYSTEM_TABLE* Table) {
  Table->BootServices->Exit(Image, EFI_ABORTED, 0, nullptr);
  return EFI_SUCCESS; // not reached
}
EFI_STATUS EFIAPI ResettingEntry(EFI_HANDLE, EFI_SYSTEM_TABLE* Table) {
  Table->RuntimeServices->ResetSystem(EfiResetShutdown, EFI_SUCCESS, 0, nullptr);
  return EFI_SUCCESS; // not reached
}

std::vector<UINT8> FilePath(const std::u16string& Name) {
  std::vector<UINT8> path = {4, 4, static_cast<UINT8>(4 + (Name.size() + 1) * 2), 0};
  for (char16_t c : Name) {
    path.push_back(static_cast<UINT8>(c));
    path.push_back(static_cast<UINT8>(c >> 8));
  }
  path.insert(path.end(), {0, 0, 0x7F, 0xFF, 4, 0});
  return path;
}

TEST_F(FakeFirmware, LoadImageFindsOnlyTheUtilityAndStartImageRunsIt) {
  const EFI_HANDLE parent = fake::CreateImageHandle(u"\\EFI\\BOOT\\BOOTX64.EFI");
  std::vector<UINT8> wrongPath = FilePath(u"\\Other.efi");
  std::vector<UINT8> rightPath = FilePath(u"\\EFI\\quorvexsetup.EFI");
  auto* wrong = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(wrongPath.data());
  auto* right = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(rightPath.data());
  EFI_HANDLE image = nullptr;
  EXPECT_EQ(BootServices()->LoadImage(0, parent, wrong, nullptr, 0, &image), EFI_NOT_FOUND);
  ASSERT_EQ(BootServices()->LoadImage(0, parent, right, nullptr, 0, &image), EFI_SUCCESS);

  void* iface = nullptr;
  ASSERT_EQ(BootServices()->HandleProtocol(image, &kLoadedImageGuid, &iface), EFI_SUCCESS);
  EXPECT_EQ(static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(iface)->ParentHandle, parent);

  fake::SetImageEntry(ReturningEntry);
  EFI_STATUS reported = EFI_SUCCESS;
  fake::SetImageReturnHandler([&](EFI_HANDLE, EFI_STATUS Status) { reported = Status; });
  EXPECT_EQ(BootServices()->StartImage(image, nullptr, nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(SeenImage, image);
  EXPECT_EQ(reported, EFI_NOT_FOUND);
  EXPECT_NE(BootServices()->StartImage(image, nullptr, nullptr), EFI_SUCCESS); // started already

  // Exit() comes back out of StartImage with its status.
  UINT8 buffer[4] = {};
  ASSERT_EQ(BootServices()->LoadImage(0, parent, nullptr, buffer, sizeof buffer, &image),
            EFI_SUCCESS);
  fake::SetImageEntry(ExitingEntry);
  EXPECT_EQ(BootServices()->StartImage(image, nullptr, nullptr), EFI_ABORTED);
  EXPECT_EQ(fake::StartImageCalls(), 2u);
}

TEST_F(FakeFirmware, ResetSystemEndsARunOfAnImage) {
  const fake::RunResult result =
      fake::RunImage(ResettingEntry, fake::CreateImageHandle(u"\\Test.efi"));
  EXPECT_TRUE(result.Reset);
  EXPECT_EQ(result.ResetInfo.Type, EfiResetShutdown);
  EXPECT_EQ(fake::ResetCount(), 1u);
}

// A polling loop like the utility's: pointer, then a key; Enter ends it.
EFI_STATUS EFIAPI PollingEntry(EFI_HANDLE, EFI_SYSTEM_TABLE* Table) {
  EFI_SIMPLE_POINTER_STATE state;
  EFI_INPUT_KEY key;
  int keys = 0;
  for (;;) {
    Mouse()->GetState(Mouse(), &state);
    if (Table->ConIn->ReadKeyStroke(Table->ConIn, &key) != EFI_SUCCESS) continue;
    ++keys;
    if (key.UnicodeChar == CHAR_CARRIAGE_RETURN) return static_cast<EFI_STATUS>(keys);
  }
}

TEST_F(FakeFirmware, RunUntilIdleDeliversOneInputPerIdleAndStops) {
  const fake::RunResult stopped =
      RunUntilIdle(PollingEntry, 3, [](int) { fake::PushKey(SCAN_UP, 0); });
  EXPECT_TRUE(stopped.Stopped);
  EXPECT_EQ(fake::InputsTaken(), 2u);

  const fake::RunResult done = RunUntilIdle(PollingEntry, 5, [](int Round) {
    fake::PushKey(0, Round == 1 ? CHAR_CARRIAGE_RETURN : u'x');
  });
  EXPECT_FALSE(done.Stopped);
  EXPECT_EQ(done.Status, 2u);
}

} // namespace
