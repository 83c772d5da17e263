// A fake UEFI firmware for the host: system table, boot and runtime services,
// a protocol database, a pool that counts what is outstanding, a fake clock,
// in-memory variables, a Graphics Output Protocol over a framebuffer, and
// scriptable keyboard, mouse and touch devices. The simulator runs the
// reference platform and the utility on it; unit tests rebuild a fresh one per
// test with Reset().
//
// Everything here is host code (ordinary C++ with the standard library); the
// firmware tables it hands out follow the UEFI layouts of platform/efi.h and
// every service is EFIAPI.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/efi.h"
#include "platform/efi_pointer.h"
#include "platform/vendor_protocols.h"

namespace fake {

struct Mode {
  UINT32 Width;
  UINT32 Height;
};

// What a fresh firmware offers. The defaults are the simulator's.
struct Options {
  std::vector<Mode> Modes = {{1024, 768}}; // GOP modes, in mode-number order
  bool Gop = true;                         // install the Graphics Output Protocol
  bool Mouse = true;                       // a USB mouse beside the console's pointer
  bool Touch = true;                       // a touch panel (Absolute Pointer)
  bool HiiFont = true;                     // an HII Font instance (presence only)
  EFI_TIME Clock = {2025, 1, 1, 9, 0, 0, 0, 0, 0x07FF, 0, 0};
};

// Throws away the current firmware (every handle, event, variable, pool block
// and queued input) and builds a new one. Pool blocks still outstanding are
// released; pointers into the old firmware must not be used afterwards.
void Reset(const Options& Opts = Options());

EFI_SYSTEM_TABLE* SystemTable();
EFI_BOOT_SERVICES* BootServices();
EFI_RUNTIME_SERVICES* RuntimeServices();

// ---------------------------------------------------------------------------
// Protocol database
// ---------------------------------------------------------------------------
EFI_HANDLE ConsoleInHandle(); // Simple Text Input (+Ex) and the console's merged pointer
EFI_HANDLE GopHandle();       // null when Options::Gop is false
EFI_HANDLE MouseHandle();     // null when Options::Mouse is false
EFI_HANDLE TouchHandle();     // null when Options::Touch is false
EFI_HANDLE VolumeHandle();    // the device the images are loaded from (a device path only)
EFI_GRAPHICS_OUTPUT_PROTOCOL* Gop();

// Uninstalls every instance of a protocol from every handle now.
void RemoveProtocol(const EFI_GUID& Guid);
// While hidden, the protocol is installed but every lookup (LocateProtocol,
// HandleProtocol, OpenProtocol, LocateHandle, LocateHandleBuffer,
// ProtocolsPerHandle) behaves as if it were not. Covers protocols installed
// later too, so a test can hide one that the reference platform installs.
void HideProtocol(const EFI_GUID& Guid, bool Hidden = true);
// Installs the restart trigger protocol on a new handle, as the firmware does
// when it wants the utility to rebuild its screen.
void TriggerRestart();

bool IsLiveHandle(EFI_HANDLE Handle);
size_t HandleCount();    // live handles
size_t LiveEventCount(); // events created and not closed
size_t NotifyRegistrationCount();
EFI_TPL CurrentTpl();

// ---------------------------------------------------------------------------
// Pool
// ---------------------------------------------------------------------------
constexpr int kMemoryTypeCount = 16;
struct PoolStats {
  UINT64 Allocations = 0;       // successful AllocatePool calls
  UINT64 Frees = 0;             // successful FreePool calls
  UINT64 FailedAllocations = 0; // refused (injected failure or bad arguments)
  UINT64 BadFrees = 0;          // FreePool of a pointer the pool never gave out
  UINT64 OutstandingCount = 0;
  UINT64 OutstandingBytes = 0;
  UINT64 OutstandingCountByType[kMemoryTypeCount] = {};
  UINT64 OutstandingBytesByType[kMemoryTypeCount] = {};
  UINT64 PeakBytes = 0;
};
PoolStats Pool();
// Makes the Nth allocation from now fail with EFI_OUT_OF_RESOURCES (1 = the
// next one); 0 switches the injection off. Counts AllocatePool and
// AllocatePages calls alike. Only one failure is injected per call.
void FailAllocation(UINT64 Nth);
// One line per outstanding block: serial, memory type, size.
std::vector<std::string> DescribeOutstanding();
// New pool blocks are filled with this byte, so code that reads memory it
// never wrote behaves the same on every run.
constexpr UINT8 kPoolFillByte = 0xAF;
// Benchmarks switch the fill off, so that the instruction counts measure the
// utility and not the fake pool's bookkeeping. On by default (and after Reset).
void SetPoolFill(bool Fill);
// Starts a new peak measurement: PeakBytes becomes what is outstanding now.
void ResetPoolPeak();

// ---------------------------------------------------------------------------
// Stall, clock, variables, reset
// ---------------------------------------------------------------------------
UINT64 StallCalls();
UINT64 StalledMicroseconds();

// The watchdog runs on simulated time: AdvanceClock passes time on it, and
// when its timeout has passed the machine is reset (ResetSystem, cold, with
// EFI_TIMEOUT) as a firmware's watchdog does. RunImage arms it for five
// minutes before the image starts, as a firmware does for a boot option.
constexpr UINT64 kBootWatchdogSeconds = 5 * 60;
UINT64 WatchdogTimeout(); // seconds; 0 while disarmed
void ArmWatchdog(UINT64 Seconds);

// WaitForEvent calls, and what the last one waited on: how many events and
// the period of its timer (100 ns units; 0 when it had none).
UINT64 WaitCalls();
UINT64 LastWaitTimer();
UINT64 LastWaitEvents();

// The fake clock stands still unless it is set or advanced.
void SetClock(const EFI_TIME& Time);
EFI_TIME Clock();
void AdvanceClock(UINT64 Seconds); // carries into minutes, hours, days, months, years
// SetTime answers Status without setting the clock (EFI_SUCCESS: it sets it).
void RefuseSetTime(EFI_STATUS Status);
// Interactive use: GetTime answers the host's local time instead.
void SetClockFollowsHost(bool Follow);
bool IsValidTime(const EFI_TIME& Time);

// Reads a variable straight from the store (no status, no attributes check).
bool PeekVariable(const std::u16string& Name, const EFI_GUID& Guid, std::vector<UINT8>* Data,
                  UINT32* Attributes = nullptr);
UINT64 SetVariableCalls();
// Makes the Nth SetVariable call from now fail with Status without changing
// anything (1 = the next one); 0 switches it off.
void FailSetVariable(UINT64 Nth, EFI_STATUS Status);

// Secure Boot as an EDK2-based firmware keeps it (host/fake_secure_boot.cpp):
// SecureBoot and SetupMode (read-only), SecureBootEnable (takes effect at the
// next start), CustomMode, and a platform key that can be deleted with an
// empty time-based authenticated write in custom mode only, which puts the
// firmware in Setup Mode at once. Off (no such variables) after Reset.
enum class SecureBootState { None, Enforced, Disabled, Setup };
struct SecureBootModel {
  SecureBootState State = SecureBootState::None;
  bool RefuseEnable = false;     // SecureBootEnable writes: EFI_WRITE_PROTECTED
  bool RefuseCustomMode = false; // CustomMode writes: EFI_WRITE_PROTECTED
  bool RefuseKeyDelete = false;  // deleting PK: EFI_SECURITY_VIOLATION even in custom mode
};
void ModelSecureBoot(const SecureBootModel& Model);

struct SystemReset {
  EFI_RESET_TYPE Type;
  EFI_STATUS Status;
};
// Called by ResetSystem. The default handler throws SystemReset, which
// RunImage() catches; the simulator installs one that ends the process.
void SetResetHandler(std::function<void(EFI_RESET_TYPE, EFI_STATUS)> Handler);
UINT64 ResetCount();
EFI_RESET_TYPE LastResetType();

// Text written to ConOut and StdErr, as UTF-8.
const std::string& ConsoleText();
// When set, every ConOut/StdErr string is passed on as UTF-8 too.
void SetConsoleEcho(std::function<void(const std::string&)> Echo);

// ---------------------------------------------------------------------------
// Graphics Output
// ---------------------------------------------------------------------------
UINT32 ScreenWidth(); // of the current mode
UINT32 ScreenHeight();
UINT32 CurrentMode();
UINT64 SetModeCalls();
// The pixel at (X, Y) as 0xRRGGBB (the reserved byte dropped).
UINT32 PixelAt(UINT32 X, UINT32 Y);
void SetPixel(UINT32 X, UINT32 Y, UINT32 Rgb);
const std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL>& Framebuffer();
struct BltStats {
  UINT64 Calls[EfiGraphicsOutputBltOperationMax] = {}; // accepted, per operation
  UINT64 Rejected = 0;                                 // EFI_INVALID_PARAMETER answers
  UINT64 PixelsWritten = 0;                            // to the framebuffer
};
BltStats Blt();
// Changes whenever the framebuffer is written (for window presentation).
UINT64 FramebufferGeneration();
// Writes the current framebuffer as an RGB PNG. False, with a reason, on failure.
bool WritePng(const std::string& Path, std::string* Error);

// ---------------------------------------------------------------------------
// Input. One queue feeds every device in order: a reader takes the head only
// when it is its own kind (keys for ReadKeyStroke/ReadKeyStrokeEx, mouse
// states for the mouse's GetState, touch states for the panel's GetState).
// ---------------------------------------------------------------------------
void PushKey(UINT16 ScanCode, CHAR16 UnicodeChar);
// The Caps Lock key: toggles the keyboard's Caps Lock state and queues the
// partial key stroke (no scan code, no character) that reports it.
void PressCapsLock();
// The keyboard's toggle state as last set (by SetState or Caps Lock), and
// the SetState calls so far with the states they asked for, in order.
UINT8 KeyToggleState();
const std::vector<UINT8>& SetStateCalls();
// A raw mouse state (relative counts, buttons).
void PushMouseState(INT32 DeltaX, INT32 DeltaY, bool Left, bool Right = false);
// Moves the pointer to a screen position whatever the utility's cursor is:
// a large move to the top-left corner (the cursor clamps there), then the
// move to (X, Y); with Press the second state has the left button down and a
// release state follows.
void MouseMoveTo(UINT32 X, UINT32 Y, bool Press);
// A raw touch state in panel units (0..kTouchRange on both axes).
void PushTouchState(UINT64 X, UINT64 Y, UINT32 ActiveButtons);
constexpr UINT64 kTouchRange = 0x7FFF;
// A tap at a screen position of the current mode: contact, then release.
void TouchAt(UINT32 X, UINT32 Y);
// Panel units that map back exactly onto screen position Pixel.
UINT64 TouchUnitsFor(UINT32 Pixel, UINT32 ScreenSize);
size_t PendingInputs();
void ClearInput();
UINT64 InputReads();    // every read of any device
UINT64 InputsTaken();   // reads that returned an input
UINT64 InputsDropped(); // inputs no reader took (see kMaxSkips)

// The utility is idle when the queue is empty and it has read keys this many
// times in a row without getting one (a flush reads once; a polling loop
// reads every round). The idle handler then runs (the simulator's script
// delivers its next input there); the read that noticed it returns "nothing".
constexpr UINT64 kIdleKeyReads = 3;
// Loops that poll only the pointer are idle after this many empty reads.
constexpr UINT64 kIdleAnyReads = 10000;
// An input at the head of the queue that this many reads of other devices
// have passed over is dropped (a loop that never reads that device would
// otherwise never see the inputs behind it).
constexpr UINT64 kMaxSkips = 1000;
void SetIdleHandler(std::function<void()> Handler);
// Called on every input read before the queue is looked at (the window
// pumps its events here).
void SetReadHook(std::function<void(bool QueueEmpty)> Hook);

// ---------------------------------------------------------------------------
// Images
// ---------------------------------------------------------------------------
// What StartImage runs for a loaded image, from the next Reset on: the
// program the fake firmware hosts (the simulator and the tests give it the
// utility's entry point; the fake firmware itself knows no program).
void SetDefaultImageEntry(EFI_IMAGE_ENTRY_POINT Entry);
// What StartImage runs for a loaded image until the next Reset. Tests may
// substitute their own.
void SetImageEntry(EFI_IMAGE_ENTRY_POINT Entry);
// Called when an image started with StartImage returns (or calls Exit), with
// its handle and status, before StartImage returns to its caller.
void SetImageReturnHandler(std::function<void(EFI_HANDLE, EFI_STATUS)> Handler);
// Makes the next LoadImage calls fail with Status (EFI_SUCCESS: no failure).
void FailLoadImage(EFI_STATUS Status);
// A handle with a Loaded Image protocol for an image that came from
// VolumeHandle() under Path (for the launcher run by the simulator).
EFI_HANDLE CreateImageHandle(const std::u16string& Path);
// The handles LoadImage gave out, in order.
const std::vector<EFI_HANDLE>& LoadedImages();
UINT64 StartImageCalls();

// Thrown by idle handlers (and tests) to end a run of the utility.
struct StopRun {
  int Code;
};
// Throws StopRun{Code}. For code compiled without exception support (the
// unit tests share the firmware code's flags): the throw happens here, and
// RunImage() catches it.
[[noreturn]] void StopRunNow(int Code);
// Runs Entry(Image, SystemTable()) and returns its status. Exit() from inside
// returns its status here too. A SystemReset or StopRun thrown inside is
// caught and reported in *Reset / *Stopped (status EFI_ABORTED then).
struct RunResult {
  EFI_STATUS Status = EFI_SUCCESS;
  bool Reset = false;
  SystemReset ResetInfo = {EfiResetCold, EFI_SUCCESS};
  bool Stopped = false;
  int StopCode = 0;
};
RunResult RunImage(EFI_IMAGE_ENTRY_POINT Entry, EFI_HANDLE Image);

// ---------------------------------------------------------------------------
// Helpers
// ---------------------------------------------------------------------------
std::string GuidToString(const EFI_GUID& Guid);
std::string Utf16ToUtf8(const CHAR16* Text, size_t MaxUnits = SIZE_MAX);

} // namespace fake
