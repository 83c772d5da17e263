// The fake firmware's state, shared by the host/fake_*.cpp files. One State
// lives on the heap at a fixed address (the tables handed to the firmware's
// clients point into it) until the next Reset.
#pragma once

#include <array>
#include <csetjmp>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/fake_firmware.h"

namespace fake::detail {

struct ProtocolEntry {
  const EFI_GUID* Guid; // interned: stable for ProtocolsPerHandle
  void* Interface;
  UINT64 Serial; // installation order across the whole database
};

struct HandleRec {
  UINT64 Serial;
  bool Live = true;
  std::vector<ProtocolEntry> Protocols;
};

struct EventRec {
  UINT32 Type;
  EFI_TPL Tpl;
  EFI_EVENT_NOTIFY Notify;
  void* Context;
  bool Live = true;
  bool Signalled = false;
  bool NotifyPending = false;
  UINT64 Serial;
  // A timer set by SetTimer: its period in 100 ns units (0 = not set) and
  // whether it repeats.
  UINT64 TimerPeriod = 0;
  bool TimerRepeats = false;
};

struct NotifyRegistration {
  EFI_GUID Guid;
  EventRec* Event;
  std::deque<HandleRec*> Fresh; // handles that got the protocol since registration
  bool Live = true;
};

struct PoolBlock {
  UINTN Size;
  EFI_MEMORY_TYPE Type;
  UINT64 Serial;
  UINTN Pages; // 0 for pool blocks
};

struct Variable {
  UINT32 Attributes;
  std::vector<UINT8> Data;
};
using VariableKey = std::pair<std::u16string, std::array<UINT8, 16>>;

enum class InputKind { Key, Mouse, Touch };

struct InputEvent {
  InputKind Kind;
  EFI_KEY_DATA KeyData;
  EFI_SIMPLE_POINTER_STATE MouseState;
  EFI_ABSOLUTE_POINTER_STATE TouchState;
  UINT64 Skips = 0;
};

struct KeyNotification {
  EFI_KEY_DATA Key;
  EFI_KEY_NOTIFY_FUNCTION Function;
};

struct ImageRec {
  HandleRec* Handle;
  EFI_LOADED_IMAGE_PROTOCOL Loaded;
  std::vector<UINT8> FilePath; // a device path: file node + end node
  bool Started = false;
  bool Running = false;
  std::jmp_buf* ExitJump = nullptr;
  EFI_STATUS ExitStatus = EFI_SUCCESS;
};

struct State {
  Options Opts;

  // Tables handed out.
  EFI_SYSTEM_TABLE SystemTable;
  EFI_BOOT_SERVICES BootServices;
  EFI_RUNTIME_SERVICES RuntimeServices;
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL ConIn;
  EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL ConInEx;
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL ConOut;
  EFI_SIMPLE_TEXT_OUTPUT_MODE ConOutMode;
  EFI_SIMPLE_POINTER_PROTOCOL ConsolePointer;
  EFI_SIMPLE_POINTER_MODE ConsolePointerMode;
  EFI_SIMPLE_POINTER_PROTOCOL MousePointer;
  EFI_SIMPLE_POINTER_MODE MousePointerMode;
  EFI_ABSOLUTE_POINTER_PROTOCOL TouchPointer;
  EFI_ABSOLUTE_POINTER_MODE TouchPointerMode;
  EFI_HII_FONT_PROTOCOL HiiFont;
  EFI_GRAPHICS_OUTPUT_PROTOCOL Gop;
  EFI_GRAPHICS_OUTPUT_PROTOCOL_MODE GopMode;
  EFI_GRAPHICS_OUTPUT_MODE_INFORMATION GopInfo;
  RestartTriggerProtocol RestartTrigger;
  std::u16string FirmwareVendor = u"Quorvex host simulator";

  // Well-known handles.
  EFI_HANDLE ConsoleIn = nullptr;
  EFI_HANDLE ConsoleOut = nullptr;
  EFI_HANDLE GopHandle = nullptr;
  EFI_HANDLE MouseHandle = nullptr;
  EFI_HANDLE TouchHandle = nullptr;
  EFI_HANDLE VolumeHandle = nullptr;
  std::vector<UINT8> VolumeDevicePath;

  // Protocol database and events.
  std::vector<std::unique_ptr<HandleRec>> Handles;
  std::deque<EFI_GUID> InternedGuids;
  std::vector<std::unique_ptr<EventRec>> Events;
  std::vector<std::unique_ptr<NotifyRegistration>> Registrations;
  std::vector<EFI_GUID> Hidden;
  UINT64 NextHandleSerial = 1;
  UINT64 NextInstallSerial = 1;
  UINT64 NextEventSerial = 1;
  EFI_TPL Tpl = TPL_APPLICATION;

  // Pool.
  std::map<void*, PoolBlock> Blocks;
  PoolStats Pool;
  UINT64 NextBlockSerial = 1;
  UINT64 FailCountdown = 0;
  bool PoolFill = true; // new blocks get kPoolFillByte

  // Boot service counters.
  UINT64 StallCalls = 0;
  UINT64 StalledMicroseconds = 0;
  UINT64 MonotonicCount = 0;
  // The watchdog: its timeout (0 = disarmed) and the simulated seconds that
  // have passed since it was last set.
  UINT64 WatchdogTimeout = 0;
  UINT64 WatchdogElapsed = 0;
  // Wait calls and the events they may wait on.
  UINT64 WaitCalls = 0;
  UINT64 LastWaitTimer = 0; // the last wait's timer period, 100 ns units (0: none)
  UINT64 LastWaitEvents = 0;

  // Runtime.
  EFI_TIME Clock;
  bool ClockFollowsHost = false;
  EFI_STATUS SetTimeRefusal = EFI_SUCCESS;
  std::map<VariableKey, Variable> Variables;
  UINT64 SetVariableCalls = 0;
  UINT64 SetVariableFailCountdown = 0;
  EFI_STATUS SetVariableFailStatus = EFI_SUCCESS;
  SecureBootModel SecureBoot;
  UINT64 ResetCount = 0;
  EFI_RESET_TYPE LastResetType = EfiResetCold;
  std::function<void(EFI_RESET_TYPE, EFI_STATUS)> ResetHandler;
  std::string ConsoleText;
  std::function<void(const std::string&)> ConsoleEcho;

  // Graphics.
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> Framebuffer;
  BltStats Blt;
  UINT64 FramebufferGeneration = 0;
  UINT64 SetModeCalls = 0;

  // Input.
  std::deque<InputEvent> Queue;
  UINT64 InputReads = 0;
  UINT64 InputsTaken = 0;
  UINT64 InputsDropped = 0;
  UINT64 EmptyKeyReads = 0;
  UINT64 EmptyReads = 0;
  bool InIdleHandler = false;
  std::function<void()> IdleHandler;
  std::function<void(bool)> ReadHook;
  UINT8 KeyToggleState = 0;
  std::vector<UINT8> SetStateCalls;
  std::vector<std::unique_ptr<KeyNotification>> KeyNotifications;
  EFI_EVENT WaitForKey = nullptr;
  EFI_EVENT WaitForKeyEx = nullptr;
  EFI_EVENT WaitForMouse = nullptr;
  EFI_EVENT WaitForConsolePointer = nullptr;
  EFI_EVENT WaitForTouch = nullptr;

  // Images.
  std::vector<std::unique_ptr<ImageRec>> Images;
  std::vector<EFI_HANDLE> LoadedImages;
  EFI_IMAGE_ENTRY_POINT ImageEntry = nullptr;
  std::function<void(EFI_HANDLE, EFI_STATUS)> ImageReturnHandler;
  EFI_STATUS LoadImageFailure = EFI_SUCCESS;
  UINT64 StartImageCalls = 0;

  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State();
};

extern std::unique_ptr<State> g;

// Set-up of each area, called by Reset in this order.
void SetUpProtocolServices(State& S);
void SetUpMemoryServices(State& S);
void SetUpRuntimeServices(State& S);
void SetUpImageServices(State& S);
void SetUpGraphics(State& S); // installs the GOP handle
void SetUpInput(State& S);    // installs the console and pointer handles

// Protocol database helpers.
HandleRec* FindHandle(EFI_HANDLE Handle); // live handles only
EventRec* FindEvent(EFI_EVENT Event);     // live events only
bool IsHidden(const EFI_GUID& Guid);
EFI_STATUS Install(EFI_HANDLE* Handle, const EFI_GUID& Guid, void* Interface);
EFI_EVENT NewEvent(UINT32 Type, EFI_TPL Tpl, EFI_EVENT_NOTIFY Notify, void* Context);
void Signal(EventRec* Event);

// Pool helpers (the boot services' own entry points, callable from C++).
void* PoolAllocate(UINTN Size); // EfiBootServicesData; nullptr when refused
void ReleaseAllBlocks(State& S);

// Device path helpers.
std::vector<UINT8> FileDevicePath(const std::u16string& Path);
std::vector<UINT8> EndDevicePath();

// The Secure Boot model's writes: true when the variable is one it models
// (its answer in *Status), false to let the plain store handle the write.
bool SecureBootModelWrite(const CHAR16* Name, const EFI_GUID& Guid, UINT32 Attributes,
                          UINTN DataSize, const void* Data, EFI_STATUS* Status);

// Boot services that are not offered answer this.
EFI_STATUS Unsupported(const char* Service);

} // namespace fake::detail

namespace fake {
// Passes simulated time on the watchdog; resets the machine when it runs out.
void PassWatchdogTime(UINT64 Seconds);
} // namespace fake
