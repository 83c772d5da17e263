// The fake firmware's core: building a fresh firmware, the system table, the
// text console output and the small boot services (TPL, Stall, CRC, memory
// copy) that belong to no other area.
#include <cstdio>
#include <cstring>

#include "host/fake_internal.h"

namespace fake::detail {

std::unique_ptr<State> g;

namespace {

constexpr EFI_GUID kSimpleTextOutputGuid = {
    0x387477C2, 0x69C7, 0x11D2, {0x8E, 0x39, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B}};
constexpr UINT32 kUefiRevision = (2u << 16) | 70u;

// ---------------------------------------------------------------------------
// Text output: everything written is kept (and echoed when asked) as UTF-8.
// ---------------------------------------------------------------------------
EFI_STATUS EFIAPI ConOutReset(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*, BOOLEAN) {
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConOutOutputString(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*, const CHAR16* String) {
  if (String == nullptr) return EFI_INVALID_PARAMETER;
  std::string text = Utf16ToUtf8(String);
  g->ConsoleText += text;
  if (g->ConsoleEcho) g->ConsoleEcho(text);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConOutTestString(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*, const CHAR16* String) {
  return String ? EFI_SUCCESS : EFI_INVALID_PARAMETER;
}

EFI_STATUS EFIAPI ConOutQueryMode(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*, UINTN ModeNumber,
                                  UINTN* Columns, UINTN* Rows) {
  if (Columns == nullptr || Rows == nullptr) return EFI_INVALID_PARAMETER;
  if (ModeNumber != 0) return EFI_UNSUPPORTED;
  *Columns = 80;
  *Rows = 25;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConOutSetMode(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*, UINTN ModeNumber) {
  return ModeNumber == 0 ? EFI_SUCCESS : EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI ConOutSetAttribute(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*, UINTN Attribute) {
  g->ConOutMode.Attribute = static_cast<INT32>(Attribute & 0x7F);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConOutClearScreen(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*) {
  g->ConOutMode.CursorColumn = 0;
  g->ConOutMode.CursorRow = 0;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConOutSetCursorPosition(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*, UINTN Column,
                                          UINTN Row) {
  if (Column >= 80 || Row >= 25) return EFI_UNSUPPORTED;
  g->ConOutMode.CursorColumn = static_cast<INT32>(Column);
  g->ConOutMode.CursorRow = static_cast<INT32>(Row);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConOutEnableCursor(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*, BOOLEAN Visible) {
  g->ConOutMode.CursorVisible = Visible;
  return EFI_SUCCESS;
}

// ---------------------------------------------------------------------------
// Small boot services.
// ---------------------------------------------------------------------------
EFI_TPL EFIAPI RaiseTpl(EFI_TPL NewTpl) {
  EFI_TPL old = g->Tpl;
  if (NewTpl > old) g->Tpl = NewTpl;
  return old;
}

void DispatchPendingNotifies();

void EFIAPI RestoreTpl(EFI_TPL OldTpl) {
  g->Tpl = OldTpl;
  DispatchPendingNotifies();
}

// Stalls pass no real time and do not move the fake clock; they are counted.
EFI_STATUS EFIAPI Stall(UINTN Microseconds) {
  ++g->StallCalls;
  g->StalledMicroseconds += Microseconds;
  return EFI_SUCCESS;
}

// The watchdog counts simulated seconds (the fake clock advanced by a script
// or a test); setting it starts the count again, a timeout of 0 disarms it.
EFI_STATUS EFIAPI SetWatchdogTimer(UINTN Timeout, UINT64, UINTN DataSize, CHAR16* Data) {
  if (DataSize != 0 && Data == nullptr) return EFI_INVALID_PARAMETER;
  g->WatchdogTimeout = Timeout;
  g->WatchdogElapsed = 0;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetNextMonotonicCount(UINT64* Count) {
  if (Count == nullptr) return EFI_INVALID_PARAMETER;
  *Count = ++g->MonotonicCount;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI CalculateCrc32(const void* Data, UINTN DataSize, UINT32* Crc32) {
  if (Data == nullptr || Crc32 == nullptr || DataSize == 0) return EFI_INVALID_PARAMETER;
  UINT32 crc = 0xFFFFFFFFu;
  const UINT8* bytes = static_cast<const UINT8*>(Data);
  for (UINTN i = 0; i < DataSize; ++i) {
    crc ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  *Crc32 = ~crc;
  return EFI_SUCCESS;
}

void EFIAPI CopyMem(void* Destination, const void* Source, UINTN Length) {
  if (Length) std::memmove(Destination, Source, Length);
}

void EFIAPI SetMem(void* Buffer, UINTN Size, UINT8 Value) {
  if (Size) std::memset(Buffer, Value, Size);
}

EFI_STATUS EFIAPI InstallConfigurationTable(const EFI_GUID*, void*) {
  return Unsupported("InstallConfigurationTable");
}
EFI_STATUS EFIAPI GetMemoryMap(UINTN*, void*, UINTN*, UINTN*, UINT32*) {
  return Unsupported("GetMemoryMap");
}
// Timers are kept but pass no real time: a wait that includes a set timer
// returns at once as if its period had passed, without moving the fake clock,
// so a run stays the same however fast the host is.
EFI_STATUS EFIAPI SetTimer(EFI_EVENT Event, UINT32 Type, UINT64 TriggerTime) {
  EventRec* event = FindEvent(Event);
  if (event == nullptr || (event->Type & EVT_TIMER) == 0) return EFI_INVALID_PARAMETER;
  if (Type > TimerRelative) return EFI_INVALID_PARAMETER;
  event->TimerPeriod = Type == TimerCancel ? 0 : (TriggerTime == 0 ? 1 : TriggerTime);
  event->TimerRepeats = Type == TimerPeriodic;
  return EFI_SUCCESS;
}

// Returns the first signalled event, else the first set timer. Nothing else
// is looked at (a key or pointer state is found by the read that follows), so
// waiting leaves the order of input reads, and thus every run, unchanged.
EFI_STATUS EFIAPI WaitForEvent(UINTN NumberOfEvents, EFI_EVENT* Events, UINTN* Index) {
  if (NumberOfEvents == 0 || Events == nullptr || Index == nullptr) return EFI_INVALID_PARAMETER;
  if (g->Tpl != TPL_APPLICATION) return EFI_UNSUPPORTED;
  ++g->WaitCalls;
  g->LastWaitEvents = NumberOfEvents;
  g->LastWaitTimer = 0;
  EventRec* timer = nullptr;
  UINTN timer_index = 0;
  for (UINTN i = 0; i < NumberOfEvents; ++i) {
    EventRec* event = FindEvent(Events[i]);
    if (event == nullptr || (event->Type & EVT_NOTIFY_SIGNAL) != 0) {
      *Index = i;
      return EFI_INVALID_PARAMETER;
    }
    if (timer == nullptr && event->TimerPeriod != 0) {
      timer = event;
      timer_index = i;
    }
  }
  if (timer != nullptr) g->LastWaitTimer = timer->TimerPeriod;
  for (UINTN i = 0; i < NumberOfEvents; ++i) {
    EventRec* event = FindEvent(Events[i]);
    if (!event->Signalled) continue;
    event->Signalled = false;
    *Index = i;
    return EFI_SUCCESS;
  }
  if (timer == nullptr) {
    std::fprintf(stderr, "fake firmware: WaitForEvent would wait forever (nothing signalled, "
                         "no timer set)\n");
    return EFI_UNSUPPORTED;
  }
  if (!timer->TimerRepeats) timer->TimerPeriod = 0;
  *Index = timer_index;
  return EFI_SUCCESS;
}
EFI_STATUS EFIAPI LocateDevicePath(const EFI_GUID*, EFI_DEVICE_PATH_PROTOCOL**, EFI_HANDLE*) {
  return EFI_NOT_FOUND;
}
EFI_STATUS EFIAPI ExitBootServices(EFI_HANDLE, UINTN) {
  return Unsupported("ExitBootServices");
}
EFI_STATUS EFIAPI ConnectController(EFI_HANDLE, EFI_HANDLE*, EFI_DEVICE_PATH_PROTOCOL*, BOOLEAN) {
  return EFI_NOT_FOUND;
}
EFI_STATUS EFIAPI DisconnectController(EFI_HANDLE, EFI_HANDLE, EFI_HANDLE) {
  return EFI_NOT_FOUND;
}

void FillTableHeader(EFI_TABLE_HEADER& Header, UINT64 Signature, UINT32 Size) {
  Header.Signature = Signature;
  Header.Revision = kUefiRevision;
  Header.HeaderSize = Size;
  Header.CRC32 = 0;
  Header.Reserved = 0;
}

// HII Font: only its presence matters to the utility; every call is refused.
EFI_STATUS EFIAPI HiiStringToImage(EFI_HII_FONT_PROTOCOL*, UINT32, const CHAR16*, const void*,
                                   void**, UINTN, UINTN, void**, UINTN*, UINTN*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI HiiStringIdToImage(EFI_HII_FONT_PROTOCOL*, UINT32, EFI_HANDLE, UINT16,
                                     const CHAR8*, const void*, void**, UINTN, UINTN, void**,
                                     UINTN*, UINTN*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI HiiGetGlyph(EFI_HII_FONT_PROTOCOL*, CHAR16, const void*, void**, UINTN*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI HiiGetFontInfo(EFI_HII_FONT_PROTOCOL*, void**, const void*, void**,
                                 const CHAR16*) {
  return EFI_UNSUPPORTED;
}

// Notifications run in order of falling TPL, then creation, each at its own
// TPL, as long as their TPL is above the current one. A notification may
// create, signal or close events (the restart closes its own event).
void DispatchPendingNotifies() {
  for (;;) {
    EventRec* next = nullptr;
    for (auto& event : g->Events) {
      if (!event->Live || !event->NotifyPending || event->Tpl <= g->Tpl) continue;
      if (next == nullptr || event->Tpl > next->Tpl) next = event.get();
    }
    if (next == nullptr) return;
    next->NotifyPending = false;
    next->Signalled = false;
    EFI_TPL saved = g->Tpl;
    g->Tpl = next->Tpl;
    next->Notify(next, next->Context);
    g->Tpl = saved;
  }
}

} // namespace

State::~State() {
  ReleaseAllBlocks(*this);
}

EFI_STATUS Unsupported(const char* Service) {
  std::fprintf(stderr, "fake firmware: %s is not offered\n", Service);
  return EFI_UNSUPPORTED;
}

void Signal(EventRec* Event) {
  if (Event == nullptr || !Event->Live) return;
  if (Event->Type & EVT_NOTIFY_SIGNAL) {
    Event->Signalled = true;
    Event->NotifyPending = true;
    DispatchPendingNotifies();
  } else {
    Event->Signalled = true;
  }
}

std::vector<UINT8> EndDevicePath() {
  return {0x7F, 0xFF, 4, 0};
}

std::vector<UINT8> FileDevicePath(const std::u16string& Path) {
  // Media device path, file path node: type 4, sub-type 4, a NUL-terminated
  // UTF-16 path; then the end node.
  std::vector<UINT8> bytes;
  const size_t length = 4 + (Path.size() + 1) * 2;
  bytes.push_back(4);
  bytes.push_back(4);
  bytes.push_back(static_cast<UINT8>(length & 0xFF));
  bytes.push_back(static_cast<UINT8>(length >> 8));
  for (char16_t c : Path) {
    bytes.push_back(static_cast<UINT8>(c & 0xFF));
    bytes.push_back(static_cast<UINT8>(c >> 8));
  }
  bytes.push_back(0);
  bytes.push_back(0);
  for (UINT8 b : EndDevicePath()) bytes.push_back(b);
  return bytes;
}

} // namespace fake::detail

namespace fake {

using namespace detail;

namespace {
// The entry point of the program that StartImage runs: the simulator and the
// tests hand the utility's in before the first reset.
EFI_IMAGE_ENTRY_POINT DefaultImageEntry = nullptr;
} // namespace

void SetDefaultImageEntry(EFI_IMAGE_ENTRY_POINT Entry) {
  DefaultImageEntry = Entry;
}

void Reset(const Options& Opts) {
  g.reset();
  g = std::make_unique<State>();
  State& s = *g;
  s.Opts = Opts;
  s.Clock = Opts.Clock;
  s.ResetHandler = [](EFI_RESET_TYPE Type, EFI_STATUS Status) { throw SystemReset{Type, Status}; };
  s.ImageEntry = DefaultImageEntry;

  std::memset(&s.BootServices, 0, sizeof s.BootServices);
  std::memset(&s.RuntimeServices, 0, sizeof s.RuntimeServices);
  std::memset(&s.SystemTable, 0, sizeof s.SystemTable);
  FillTableHeader(s.BootServices.Hdr, 0x56524553544F4F42ull, sizeof(EFI_BOOT_SERVICES));
  FillTableHeader(s.RuntimeServices.Hdr, 0x56524553544E5552ull, sizeof(EFI_RUNTIME_SERVICES));
  FillTableHeader(s.SystemTable.Hdr, 0x5453595320494249ull, sizeof(EFI_SYSTEM_TABLE));

  EFI_BOOT_SERVICES& bs = s.BootServices;
  bs.RaiseTPL = RaiseTpl;
  bs.RestoreTPL = RestoreTpl;
  bs.GetMemoryMap = GetMemoryMap;
  bs.SetTimer = SetTimer;
  bs.WaitForEvent = WaitForEvent;
  bs.LocateDevicePath = LocateDevicePath;
  bs.InstallConfigurationTable = InstallConfigurationTable;
  bs.ExitBootServices = ExitBootServices;
  bs.GetNextMonotonicCount = GetNextMonotonicCount;
  bs.Stall = Stall;
  bs.SetWatchdogTimer = SetWatchdogTimer;
  bs.ConnectController = ConnectController;
  bs.DisconnectController = DisconnectController;
  bs.CalculateCrc32 = CalculateCrc32;
  bs.CopyMem = CopyMem;
  bs.SetMem = SetMem;
  SetUpProtocolServices(s);
  SetUpMemoryServices(s);
  SetUpRuntimeServices(s);
  SetUpImageServices(s);

  s.SystemTable.FirmwareVendor = s.FirmwareVendor.data();
  s.SystemTable.FirmwareRevision = 0x00010000;
  s.SystemTable.BootServices = &s.BootServices;
  s.SystemTable.RuntimeServices = &s.RuntimeServices;

  // Text output (ConOut and StdErr share one device).
  s.ConOutMode = {1, 0, 0x07, 0, 0, 0};
  s.ConOut = {ConOutReset,        ConOutOutputString, ConOutTestString,  ConOutQueryMode,
              ConOutSetMode,      ConOutSetAttribute, ConOutClearScreen, ConOutSetCursorPosition,
              ConOutEnableCursor, &s.ConOutMode};
  Install(&s.ConsoleOut, kSimpleTextOutputGuid, &s.ConOut);
  s.SystemTable.ConsoleOutHandle = s.ConsoleOut;
  s.SystemTable.ConOut = &s.ConOut;
  s.SystemTable.StandardErrorHandle = s.ConsoleOut;
  s.SystemTable.StdErr = &s.ConOut;

  SetUpInput(s);
  SetUpGraphics(s);

  if (Opts.HiiFont) {
    s.HiiFont = {HiiStringToImage, HiiStringIdToImage, HiiGetGlyph, HiiGetFontInfo};
    EFI_HANDLE handle = nullptr;
    Install(&handle, kHiiFontGuid, &s.HiiFont);
  }

  // The volume the images come from: a handle with a device path.
  s.VolumeDevicePath = EndDevicePath();
  Install(&s.VolumeHandle, kDevicePathGuid, s.VolumeDevicePath.data());

  s.RestartTrigger.Revision = 1;
}

EFI_SYSTEM_TABLE* SystemTable() {
  return &g->SystemTable;
}
EFI_BOOT_SERVICES* BootServices() {
  return &g->BootServices;
}
EFI_RUNTIME_SERVICES* RuntimeServices() {
  return &g->RuntimeServices;
}
EFI_HANDLE ConsoleInHandle() {
  return g->ConsoleIn;
}
EFI_HANDLE GopHandle() {
  return g->GopHandle;
}
EFI_HANDLE MouseHandle() {
  return g->MouseHandle;
}
EFI_HANDLE TouchHandle() {
  return g->TouchHandle;
}
EFI_HANDLE VolumeHandle() {
  return g->VolumeHandle;
}
EFI_TPL CurrentTpl() {
  return g->Tpl;
}

UINT64 StallCalls() {
  return g->StallCalls;
}
UINT64 StalledMicroseconds() {
  return g->StalledMicroseconds;
}
UINT64 WatchdogTimeout() {
  return g->WatchdogTimeout;
}
void ArmWatchdog(UINT64 Seconds) {
  g->WatchdogTimeout = Seconds;
  g->WatchdogElapsed = 0;
}
void PassWatchdogTime(UINT64 Seconds) {
  if (g->WatchdogTimeout == 0) return;
  g->WatchdogElapsed += Seconds;
  if (g->WatchdogElapsed < g->WatchdogTimeout) return;
  // A firmware's watchdog resets the machine when it runs out.
  g->WatchdogTimeout = 0;
  g->RuntimeServices.ResetSystem(EfiResetCold, EFI_TIMEOUT, 0, nullptr);
}
UINT64 WaitCalls() {
  return g->WaitCalls;
}
UINT64 LastWaitTimer() {
  return g->LastWaitTimer;
}
UINT64 LastWaitEvents() {
  return g->LastWaitEvents;
}

const std::string& ConsoleText() {
  return g->ConsoleText;
}
void SetConsoleEcho(std::function<void(const std::string&)> Echo) {
  g->ConsoleEcho = std::move(Echo);
}

void TriggerRestart() {
  EFI_HANDLE handle = nullptr;
  Install(&handle, kRestartTriggerGuid, &g->RestartTrigger);
}

std::string GuidToString(const EFI_GUID& Guid) {
  char text[40];
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", Guid.Data1,
                Guid.Data2, Guid.Data3, Guid.Data4[0], Guid.Data4[1], Guid.Data4[2], Guid.Data4[3],
                Guid.Data4[4], Guid.Data4[5], Guid.Data4[6], Guid.Data4[7]);
  return text;
}

std::string Utf16ToUtf8(const CHAR16* Text, size_t MaxUnits) {
  std::string out;
  if (Text == nullptr) return out;
  for (size_t i = 0; i < MaxUnits && Text[i] != 0; ++i) {
    UINT32 c = Text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < MaxUnits && Text[i + 1] >= 0xDC00 &&
        Text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (Text[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

} // namespace fake
