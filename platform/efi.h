// The UEFI types, services and protocols that Quorvex Setup and its reference
// platform use, declared from the UEFI 2.x layouts. No third-party header is
// included: the utility reaches the firmware only through these declarations,
// so the host build can swap the firmware without touching the utility.
#pragma once

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
// The UEFI target: the Microsoft x64 calling convention is the default.
#define EFIAPI
#else
// Host build: every firmware entry point keeps the UEFI calling convention.
#define EFIAPI __attribute__((ms_abi))
#endif

typedef uint8_t UINT8;
typedef uint16_t UINT16;
typedef uint32_t UINT32;
typedef uint64_t UINT64;
typedef int8_t INT8;
typedef int16_t INT16;
typedef int32_t INT32;
typedef int64_t INT64;
typedef uint64_t UINTN;
typedef int64_t INTN;
typedef uint8_t BOOLEAN;
typedef char CHAR8;
typedef char16_t CHAR16;
typedef UINT64 EFI_STATUS;
typedef void* EFI_HANDLE;
typedef void* EFI_EVENT;
typedef UINTN EFI_TPL;
typedef UINT64 EFI_PHYSICAL_ADDRESS;

constexpr EFI_STATUS kEfiErrorBit = 0x8000000000000000ull;
constexpr EFI_STATUS EFI_SUCCESS = 0;
constexpr EFI_STATUS EFI_LOAD_ERROR = kEfiErrorBit | 1;
constexpr EFI_STATUS EFI_INVALID_PARAMETER = kEfiErrorBit | 2;
constexpr EFI_STATUS EFI_UNSUPPORTED = kEfiErrorBit | 3;
constexpr EFI_STATUS EFI_BUFFER_TOO_SMALL = kEfiErrorBit | 5;
constexpr EFI_STATUS EFI_NOT_READY = kEfiErrorBit | 6;
constexpr EFI_STATUS EFI_DEVICE_ERROR = kEfiErrorBit | 7;
constexpr EFI_STATUS EFI_OUT_OF_RESOURCES = kEfiErrorBit | 9;
constexpr EFI_STATUS EFI_VOLUME_CORRUPTED = kEfiErrorBit | 10;
constexpr EFI_STATUS EFI_NOT_FOUND = kEfiErrorBit | 14;
constexpr EFI_STATUS EFI_TIMEOUT = kEfiErrorBit | 18;
constexpr EFI_STATUS EFI_ABORTED = kEfiErrorBit | 21;
constexpr EFI_STATUS EFI_CRC_ERROR = kEfiErrorBit | 27;
constexpr EFI_STATUS EFI_SECURITY_VIOLATION = kEfiErrorBit | 26;

constexpr bool EFI_ERROR(EFI_STATUS s) {
  return (s & kEfiErrorBit) != 0;
}

struct EFI_GUID {
  UINT32 Data1;
  UINT16 Data2;
  UINT16 Data3;
  UINT8 Data4[8];
};
static_assert(sizeof(EFI_GUID) == 16);

constexpr bool GuidEqual(const EFI_GUID& a, const EFI_GUID& b) {
  if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
  for (int i = 0; i < 8; ++i)
    if (a.Data4[i] != b.Data4[i]) return false;
  return true;
}

// ---------------------------------------------------------------------------
// Table header, time, memory types
// ---------------------------------------------------------------------------
struct EFI_TABLE_HEADER {
  UINT64 Signature;
  UINT32 Revision;
  UINT32 HeaderSize;
  UINT32 CRC32;
  UINT32 Reserved;
};
static_assert(sizeof(EFI_TABLE_HEADER) == 24);

struct EFI_TIME {
  UINT16 Year;
  UINT8 Month;
  UINT8 Day;
  UINT8 Hour;
  UINT8 Minute;
  UINT8 Second;
  UINT8 Pad1;
  UINT32 Nanosecond;
  INT16 TimeZone;
  UINT8 Daylight;
  UINT8 Pad2;
};
static_assert(sizeof(EFI_TIME) == 16);

struct EFI_TIME_CAPABILITIES {
  UINT32 Resolution;
  UINT32 Accuracy;
  BOOLEAN SetsToZero;
};

enum EFI_MEMORY_TYPE : UINT32 {
  EfiReservedMemoryType,
  EfiLoaderCode,
  EfiLoaderData,
  EfiBootServicesCode,
  EfiBootServicesData,
  EfiRuntimeServicesCode,
  EfiRuntimeServicesData,
  EfiConventionalMemory,
};

enum EFI_ALLOCATE_TYPE : UINT32 { AllocateAnyPages, AllocateMaxAddress, AllocateAddress };

enum EFI_LOCATE_SEARCH_TYPE : UINT32 { AllHandles, ByRegisterNotify, ByProtocol };

enum EFI_INTERFACE_TYPE : UINT32 { EFI_NATIVE_INTERFACE };

enum EFI_RESET_TYPE : UINT32 {
  EfiResetCold,
  EfiResetWarm,
  EfiResetShutdown,
  EfiResetPlatformSpecific
};

constexpr UINT32 EVT_TIMER = 0x80000000u;
constexpr UINT32 EVT_NOTIFY_WAIT = 0x00000100u;
constexpr UINT32 EVT_NOTIFY_SIGNAL = 0x00000200u;
constexpr EFI_TPL TPL_APPLICATION = 4;
constexpr EFI_TPL TPL_CALLBACK = 8;
constexpr EFI_TPL TPL_NOTIFY = 16;

// SetTimer's types; trigger times are in 100 ns units.
constexpr UINT32 TimerCancel = 0;
constexpr UINT32 TimerPeriodic = 1;
constexpr UINT32 TimerRelative = 2;

typedef void(EFIAPI* EFI_EVENT_NOTIFY)(EFI_EVENT Event, void* Context);

struct EFI_DEVICE_PATH_PROTOCOL {
  UINT8 Type;
  UINT8 SubType;
  UINT8 Length[2];
};

// ---------------------------------------------------------------------------
// Console input and output
// ---------------------------------------------------------------------------
struct EFI_INPUT_KEY {
  UINT16 ScanCode;
  CHAR16 UnicodeChar;
};
static_assert(sizeof(EFI_INPUT_KEY) == 4);

struct EFI_SIMPLE_TEXT_INPUT_PROTOCOL;
typedef EFI_STATUS(EFIAPI* EFI_INPUT_RESET)(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This,
                                            BOOLEAN ExtendedVerification);
typedef EFI_STATUS(EFIAPI* EFI_INPUT_READ_KEY)(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This,
                                               EFI_INPUT_KEY* Key);
struct EFI_SIMPLE_TEXT_INPUT_PROTOCOL {
  EFI_INPUT_RESET Reset;
  EFI_INPUT_READ_KEY ReadKeyStroke;
  EFI_EVENT WaitForKey;
};

struct EFI_SIMPLE_TEXT_OUTPUT_MODE {
  INT32 MaxMode;
  INT32 Mode;
  INT32 Attribute;
  INT32 CursorColumn;
  INT32 CursorRow;
  BOOLEAN CursorVisible;
};

struct EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL {
  EFI_STATUS(EFIAPI* Reset)(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* This, BOOLEAN ExtendedVerification);
  EFI_STATUS(EFIAPI* OutputString)(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* This, const CHAR16* String);
  EFI_STATUS(EFIAPI* TestString)(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* This, const CHAR16* String);
  EFI_STATUS(EFIAPI* QueryMode)
  (EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* This, UINTN ModeNumber, UINTN* Columns, UINTN* Rows);
  EFI_STATUS(EFIAPI* SetMode)(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* This, UINTN ModeNumber);
  EFI_STATUS(EFIAPI* SetAttribute)(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* This, UINTN Attribute);
  EFI_STATUS(EFIAPI* ClearScreen)(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* This);
  EFI_STATUS(EFIAPI* SetCursorPosition)
  (EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* This, UINTN Column, UINTN Row);
  EFI_STATUS(EFIAPI* EnableCursor)(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* This, BOOLEAN Visible);
  EFI_SIMPLE_TEXT_OUTPUT_MODE* Mode;
};

// Simple Text Input Ex {DD9E7534-7762-4698-8C14-F58517A625AA}
constexpr EFI_GUID kSimpleTextInputExGuid = {
    0xDD9E7534, 0x7762, 0x4698, {0x8C, 0x14, 0xF5, 0x85, 0x17, 0xA6, 0x25, 0xAA}};

struct EFI_KEY_STATE {
  UINT32 KeyShiftState;
  UINT8 KeyToggleState;
};
struct EFI_KEY_DATA {
  EFI_INPUT_KEY Key;
  EFI_KEY_STATE KeyState;
};
static_assert(sizeof(EFI_KEY_DATA) == 12);

struct EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL;
typedef EFI_STATUS(EFIAPI* EFI_KEY_NOTIFY_FUNCTION)(EFI_KEY_DATA* KeyData);
struct EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL {
  EFI_STATUS(EFIAPI* Reset)(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* This, BOOLEAN ExtendedVerification);
  EFI_STATUS(EFIAPI* ReadKeyStrokeEx)(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* This, EFI_KEY_DATA* Key);
  EFI_EVENT WaitForKeyEx;
  EFI_STATUS(EFIAPI* SetState)(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* This, UINT8* KeyToggleState);
  EFI_STATUS(EFIAPI* RegisterKeyNotify)
  (EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* This, EFI_KEY_DATA* KeyData,
   EFI_KEY_NOTIFY_FUNCTION KeyNotificationFunction, void** NotifyHandle);
  EFI_STATUS(EFIAPI* UnregisterKeyNotify)
  (EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL* This, void* NotificationHandle);
};

// UEFI scan codes used by the utility.
constexpr UINT16 SCAN_NULL = 0x00;
constexpr UINT16 SCAN_UP = 0x01;
constexpr UINT16 SCAN_DOWN = 0x02;
constexpr UINT16 SCAN_RIGHT = 0x03;
constexpr UINT16 SCAN_LEFT = 0x04;
constexpr UINT16 SCAN_HOME = 0x05;
constexpr UINT16 SCAN_END = 0x06;
constexpr UINT16 SCAN_INSERT = 0x07;
constexpr UINT16 SCAN_DELETE = 0x08;
constexpr UINT16 SCAN_PAGE_UP = 0x09;
constexpr UINT16 SCAN_PAGE_DOWN = 0x0A;
constexpr UINT16 SCAN_F1 = 0x0B;
constexpr UINT16 SCAN_F2 = 0x0C;
constexpr UINT16 SCAN_F3 = 0x0D;
constexpr UINT16 SCAN_F4 = 0x0E;
constexpr UINT16 SCAN_F5 = 0x0F;
constexpr UINT16 SCAN_F6 = 0x10;
constexpr UINT16 SCAN_F7 = 0x11;
constexpr UINT16 SCAN_F8 = 0x12;
constexpr UINT16 SCAN_F9 = 0x13;
constexpr UINT16 SCAN_F10 = 0x14;
constexpr UINT16 SCAN_F11 = 0x15;
constexpr UINT16 SCAN_F12 = 0x16;
constexpr UINT16 SCAN_ESC = 0x17;
constexpr CHAR16 CHAR_BACKSPACE = 0x08;
constexpr CHAR16 CHAR_TAB = 0x09;
constexpr CHAR16 CHAR_CARRIAGE_RETURN = 0x0D;

// ---------------------------------------------------------------------------
// Graphics Output Protocol {9042A9DE-23DC-4A38-96FB-7ADED080516A}
// ---------------------------------------------------------------------------
constexpr EFI_GUID kGraphicsOutputGuid = {
    0x9042A9DE, 0x23DC, 0x4A38, {0x96, 0xFB, 0x7A, 0xDE, 0xD0, 0x80, 0x51, 0x6A}};

enum EFI_GRAPHICS_PIXEL_FORMAT : UINT32 {
  PixelRedGreenBlueReserved8BitPerColor,
  PixelBlueGreenRedReserved8BitPerColor,
  PixelBitMask,
  PixelBltOnly,
  PixelFormatMax
};

struct EFI_PIXEL_BITMASK {
  UINT32 RedMask;
  UINT32 GreenMask;
  UINT32 BlueMask;
  UINT32 ReservedMask;
};

struct EFI_GRAPHICS_OUTPUT_MODE_INFORMATION {
  UINT32 Version;
  UINT32 HorizontalResolution;
  UINT32 VerticalResolution;
  EFI_GRAPHICS_PIXEL_FORMAT PixelFormat;
  EFI_PIXEL_BITMASK PixelInformation;
  UINT32 PixelsPerScanLine;
};
static_assert(sizeof(EFI_GRAPHICS_OUTPUT_MODE_INFORMATION) == 36);

struct EFI_GRAPHICS_OUTPUT_PROTOCOL_MODE {
  UINT32 MaxMode;
  UINT32 Mode;
  EFI_GRAPHICS_OUTPUT_MODE_INFORMATION* Info;
  UINTN SizeOfInfo;
  EFI_PHYSICAL_ADDRESS FrameBufferBase;
  UINTN FrameBufferSize;
};
static_assert(offsetof(EFI_GRAPHICS_OUTPUT_PROTOCOL_MODE, Info) == 8);
static_assert(sizeof(EFI_GRAPHICS_OUTPUT_PROTOCOL_MODE) == 40);

struct EFI_GRAPHICS_OUTPUT_BLT_PIXEL {
  UINT8 Blue;
  UINT8 Green;
  UINT8 Red;
  UINT8 Reserved;
};
static_assert(sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL) == 4);

enum EFI_GRAPHICS_OUTPUT_BLT_OPERATION : UINT32 {
  EfiBltVideoFill,
  EfiBltVideoToBltBuffer,
  EfiBltBufferToVideo,
  EfiBltVideoToVideo,
  EfiGraphicsOutputBltOperationMax
};

struct EFI_GRAPHICS_OUTPUT_PROTOCOL;
typedef EFI_STATUS(EFIAPI* EFI_GRAPHICS_OUTPUT_PROTOCOL_QUERY_MODE)(
    EFI_GRAPHICS_OUTPUT_PROTOCOL* This, UINT32 ModeNumber, UINTN* SizeOfInfo,
    EFI_GRAPHICS_OUTPUT_MODE_INFORMATION** Info);
typedef EFI_STATUS(EFIAPI* EFI_GRAPHICS_OUTPUT_PROTOCOL_SET_MODE)(
    EFI_GRAPHICS_OUTPUT_PROTOCOL* This, UINT32 ModeNumber);
typedef EFI_STATUS(EFIAPI* EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT)(
    EFI_GRAPHICS_OUTPUT_PROTOCOL* This, EFI_GRAPHICS_OUTPUT_BLT_PIXEL* BltBuffer,
    EFI_GRAPHICS_OUTPUT_BLT_OPERATION BltOperation, UINTN SourceX, UINTN SourceY,
    UINTN DestinationX, UINTN DestinationY, UINTN Width, UINTN Height, UINTN Delta);

struct EFI_GRAPHICS_OUTPUT_PROTOCOL {
  EFI_GRAPHICS_OUTPUT_PROTOCOL_QUERY_MODE QueryMode;
  EFI_GRAPHICS_OUTPUT_PROTOCOL_SET_MODE SetMode;
  EFI_GRAPHICS_OUTPUT_PROTOCOL_BLT Blt;
  EFI_GRAPHICS_OUTPUT_PROTOCOL_MODE* Mode;
};
static_assert(offsetof(EFI_GRAPHICS_OUTPUT_PROTOCOL, Blt) == 16);

// ---------------------------------------------------------------------------
// HII Font {E9CA4775-8657-47FC-97E7-7ED65A084324}: only its presence is required.
// ---------------------------------------------------------------------------
constexpr EFI_GUID kHiiFontGuid = {
    0xE9CA4775, 0x8657, 0x47FC, {0x97, 0xE7, 0x7E, 0xD6, 0x5A, 0x08, 0x43, 0x24}};

struct EFI_HII_FONT_PROTOCOL {
  EFI_STATUS(EFIAPI* StringToImage)
  (EFI_HII_FONT_PROTOCOL* This, UINT32 Flags, const CHAR16* String, const void* StringInfo,
   void** Blt, UINTN BltX, UINTN BltY, void** RowInfoArray, UINTN* RowInfoArraySize,
   UINTN* ColumnInfoArray);
  EFI_STATUS(EFIAPI* StringIdToImage)
  (EFI_HII_FONT_PROTOCOL* This, UINT32 Flags, EFI_HANDLE PackageList, UINT16 StringId,
   const CHAR8* Language, const void* StringInfo, void** Blt, UINTN BltX, UINTN BltY,
   void** RowInfoArray, UINTN* RowInfoArraySize, UINTN* ColumnInfoArray);
  EFI_STATUS(EFIAPI* GetGlyph)
  (EFI_HII_FONT_PROTOCOL* This, CHAR16 Char, const void* StringInfo, void** Blt, UINTN* Baseline);
  EFI_STATUS(EFIAPI* GetFontInfo)
  (EFI_HII_FONT_PROTOCOL* This, void** FontHandle, const void* StringInfoIn, void** StringInfoOut,
   const CHAR16* String);
};

// ---------------------------------------------------------------------------
// Image loading, files (used by the reference platform's launcher)
// ---------------------------------------------------------------------------
constexpr EFI_GUID kLoadedImageGuid = {
    0x5B1B31A1, 0x9562, 0x11D2, {0x8E, 0x3F, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B}};
constexpr EFI_GUID kSimpleFileSystemGuid = {
    0x964E5B22, 0x6459, 0x11D2, {0x8E, 0x39, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B}};
constexpr EFI_GUID kDevicePathGuid = {
    0x09576E91, 0x6D3F, 0x11D2, {0x8E, 0x39, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B}};
constexpr EFI_GUID kFileInfoGuid = {
    0x09576E92, 0x6D3F, 0x11D2, {0x8E, 0x39, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B}};
constexpr EFI_GUID kGlobalVariableGuid = {
    0x8BE4DF61, 0x93CA, 0x11D2, {0xAA, 0x0D, 0x00, 0xE0, 0x98, 0x03, 0x2B, 0x8C}};

struct EFI_SYSTEM_TABLE;
struct EFI_LOADED_IMAGE_PROTOCOL {
  UINT32 Revision;
  EFI_HANDLE ParentHandle;
  EFI_SYSTEM_TABLE* SystemTable;
  EFI_HANDLE DeviceHandle;
  EFI_DEVICE_PATH_PROTOCOL* FilePath;
  void* Reserved;
  UINT32 LoadOptionsSize;
  void* LoadOptions;
  void* ImageBase;
  UINT64 ImageSize;
  EFI_MEMORY_TYPE ImageCodeType;
  EFI_MEMORY_TYPE ImageDataType;
  EFI_STATUS(EFIAPI* Unload)(EFI_HANDLE ImageHandle);
};
static_assert(offsetof(EFI_LOADED_IMAGE_PROTOCOL, ImageBase) == 64);

struct EFI_FILE_PROTOCOL {
  UINT64 Revision;
  EFI_STATUS(EFIAPI* Open)
  (EFI_FILE_PROTOCOL* This, EFI_FILE_PROTOCOL** NewHandle, const CHAR16* FileName, UINT64 OpenMode,
   UINT64 Attributes);
  EFI_STATUS(EFIAPI* Close)(EFI_FILE_PROTOCOL* This);
  EFI_STATUS(EFIAPI* Delete)(EFI_FILE_PROTOCOL* This);
  EFI_STATUS(EFIAPI* Read)(EFI_FILE_PROTOCOL* This, UINTN* BufferSize, void* Buffer);
  EFI_STATUS(EFIAPI* Write)(EFI_FILE_PROTOCOL* This, UINTN* BufferSize, const void* Buffer);
  EFI_STATUS(EFIAPI* GetPosition)(EFI_FILE_PROTOCOL* This, UINT64* Position);
  EFI_STATUS(EFIAPI* SetPosition)(EFI_FILE_PROTOCOL* This, UINT64 Position);
  EFI_STATUS(EFIAPI* GetInfo)
  (EFI_FILE_PROTOCOL* This, const EFI_GUID* InformationType, UINTN* BufferSize, void* Buffer);
  EFI_STATUS(EFIAPI* SetInfo)
  (EFI_FILE_PROTOCOL* This, const EFI_GUID* InformationType, UINTN BufferSize, const void* Buffer);
  EFI_STATUS(EFIAPI* Flush)(EFI_FILE_PROTOCOL* This);
};
constexpr UINT64 EFI_FILE_MODE_READ = 0x0000000000000001ull;

struct EFI_SIMPLE_FILE_SYSTEM_PROTOCOL {
  UINT64 Revision;
  EFI_STATUS(EFIAPI* OpenVolume)(EFI_SIMPLE_FILE_SYSTEM_PROTOCOL* This, EFI_FILE_PROTOCOL** Root);
};

// ---------------------------------------------------------------------------
// Boot services
// ---------------------------------------------------------------------------
struct EFI_BOOT_SERVICES {
  EFI_TABLE_HEADER Hdr;
  EFI_TPL(EFIAPI* RaiseTPL)(EFI_TPL NewTpl);
  void(EFIAPI* RestoreTPL)(EFI_TPL OldTpl);
  EFI_STATUS(EFIAPI* AllocatePages)
  (EFI_ALLOCATE_TYPE Type, EFI_MEMORY_TYPE MemoryType, UINTN Pages, EFI_PHYSICAL_ADDRESS* Memory);
  EFI_STATUS(EFIAPI* FreePages)(EFI_PHYSICAL_ADDRESS Memory, UINTN Pages);
  EFI_STATUS(EFIAPI* GetMemoryMap)
  (UINTN* MemoryMapSize, void* MemoryMap, UINTN* MapKey, UINTN* DescriptorSize,
   UINT32* DescriptorVersion);
  EFI_STATUS(EFIAPI* AllocatePool)(EFI_MEMORY_TYPE PoolType, UINTN Size, void** Buffer);
  EFI_STATUS(EFIAPI* FreePool)(void* Buffer);
  EFI_STATUS(EFIAPI* CreateEvent)
  (UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction, void* NotifyContext,
   EFI_EVENT* Event);
  EFI_STATUS(EFIAPI* SetTimer)(EFI_EVENT Event, UINT32 Type, UINT64 TriggerTime);
  EFI_STATUS(EFIAPI* WaitForEvent)(UINTN NumberOfEvents, EFI_EVENT* Event, UINTN* Index);
  EFI_STATUS(EFIAPI* SignalEvent)(EFI_EVENT Event);
  EFI_STATUS(EFIAPI* CloseEvent)(EFI_EVENT Event);
  EFI_STATUS(EFIAPI* CheckEvent)(EFI_EVENT Event);
  EFI_STATUS(EFIAPI* InstallProtocolInterface)
  (EFI_HANDLE* Handle, const EFI_GUID* Protocol, EFI_INTERFACE_TYPE InterfaceType, void* Interface);
  EFI_STATUS(EFIAPI* ReinstallProtocolInterface)
  (EFI_HANDLE Handle, const EFI_GUID* Protocol, void* OldInterface, void* NewInterface);
  EFI_STATUS(EFIAPI* UninstallProtocolInterface)
  (EFI_HANDLE Handle, const EFI_GUID* Protocol, void* Interface);
  EFI_STATUS(EFIAPI* HandleProtocol)(EFI_HANDLE Handle, const EFI_GUID* Protocol, void** Interface);
  void* Reserved;
  EFI_STATUS(EFIAPI* RegisterProtocolNotify)
  (const EFI_GUID* Protocol, EFI_EVENT Event, void** Registration);
  EFI_STATUS(EFIAPI* LocateHandle)
  (EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID* Protocol, void* SearchKey, UINTN* BufferSize,
   EFI_HANDLE* Buffer);
  EFI_STATUS(EFIAPI* LocateDevicePath)
  (const EFI_GUID* Protocol, EFI_DEVICE_PATH_PROTOCOL** DevicePath, EFI_HANDLE* Device);
  EFI_STATUS(EFIAPI* InstallConfigurationTable)(const EFI_GUID* Guid, void* Table);
  EFI_STATUS(EFIAPI* LoadImage)
  (BOOLEAN BootPolicy, EFI_HANDLE ParentImageHandle, EFI_DEVICE_PATH_PROTOCOL* DevicePath,
   void* SourceBuffer, UINTN SourceSize, EFI_HANDLE* ImageHandle);
  EFI_STATUS(EFIAPI* StartImage)(EFI_HANDLE ImageHandle, UINTN* ExitDataSize, CHAR16** ExitData);
  EFI_STATUS(EFIAPI* Exit)
  (EFI_HANDLE ImageHandle, EFI_STATUS ExitStatus, UINTN ExitDataSize, CHAR16* ExitData);
  EFI_STATUS(EFIAPI* UnloadImage)(EFI_HANDLE ImageHandle);
  EFI_STATUS(EFIAPI* ExitBootServices)(EFI_HANDLE ImageHandle, UINTN MapKey);
  EFI_STATUS(EFIAPI* GetNextMonotonicCount)(UINT64* Count);
  EFI_STATUS(EFIAPI* Stall)(UINTN Microseconds);
  EFI_STATUS(EFIAPI* SetWatchdogTimer)
  (UINTN Timeout, UINT64 WatchdogCode, UINTN DataSize, CHAR16* WatchdogData);
  EFI_STATUS(EFIAPI* ConnectController)
  (EFI_HANDLE ControllerHandle, EFI_HANDLE* DriverImageHandle,
   EFI_DEVICE_PATH_PROTOCOL* RemainingDevicePath, BOOLEAN Recursive);
  EFI_STATUS(EFIAPI* DisconnectController)
  (EFI_HANDLE ControllerHandle, EFI_HANDLE DriverImageHandle, EFI_HANDLE ChildHandle);
  EFI_STATUS(EFIAPI* OpenProtocol)
  (EFI_HANDLE Handle, const EFI_GUID* Protocol, void** Interface, EFI_HANDLE AgentHandle,
   EFI_HANDLE ControllerHandle, UINT32 Attributes);
  EFI_STATUS(EFIAPI* CloseProtocol)
  (EFI_HANDLE Handle, const EFI_GUID* Protocol, EFI_HANDLE AgentHandle,
   EFI_HANDLE ControllerHandle);
  EFI_STATUS(EFIAPI* OpenProtocolInformation)
  (EFI_HANDLE Handle, const EFI_GUID* Protocol, void** EntryBuffer, UINTN* EntryCount);
  EFI_STATUS(EFIAPI* ProtocolsPerHandle)
  (EFI_HANDLE Handle, EFI_GUID*** ProtocolBuffer, UINTN* ProtocolBufferCount);
  EFI_STATUS(EFIAPI* LocateHandleBuffer)
  (EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID* Protocol, void* SearchKey, UINTN* NoHandles,
   EFI_HANDLE** Buffer);
  EFI_STATUS(EFIAPI* LocateProtocol)
  (const EFI_GUID* Protocol, void* Registration, void** Interface);
  void* InstallMultipleProtocolInterfaces;   // variadic; not used
  void* UninstallMultipleProtocolInterfaces; // variadic; not used
  EFI_STATUS(EFIAPI* CalculateCrc32)(const void* Data, UINTN DataSize, UINT32* Crc32);
  void(EFIAPI* CopyMem)(void* Destination, const void* Source, UINTN Length);
  void(EFIAPI* SetMem)(void* Buffer, UINTN Size, UINT8 Value);
  EFI_STATUS(EFIAPI* CreateEventEx)
  (UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction, const void* NotifyContext,
   const EFI_GUID* EventGroup, EFI_EVENT* Event);
};
static_assert(offsetof(EFI_BOOT_SERVICES, AllocatePool) == 0x40);
static_assert(offsetof(EFI_BOOT_SERVICES, CreateEvent) == 0x50);
static_assert(offsetof(EFI_BOOT_SERVICES, CloseEvent) == 0x70);
static_assert(offsetof(EFI_BOOT_SERVICES, HandleProtocol) == 0x98);
static_assert(offsetof(EFI_BOOT_SERVICES, RegisterProtocolNotify) == 0xA8);
static_assert(offsetof(EFI_BOOT_SERVICES, LocateHandle) == 0xB0);
static_assert(offsetof(EFI_BOOT_SERVICES, LoadImage) == 0xC8);
static_assert(offsetof(EFI_BOOT_SERVICES, Stall) == 0xF8);
static_assert(offsetof(EFI_BOOT_SERVICES, LocateHandleBuffer) == 0x138);
static_assert(offsetof(EFI_BOOT_SERVICES, LocateProtocol) == 0x140);
static_assert(offsetof(EFI_BOOT_SERVICES, CreateEventEx) == 0x170);

// ---------------------------------------------------------------------------
// Runtime services
// ---------------------------------------------------------------------------
constexpr UINT32 EFI_VARIABLE_NON_VOLATILE = 0x00000001;
constexpr UINT32 EFI_VARIABLE_BOOTSERVICE_ACCESS = 0x00000002;
constexpr UINT32 EFI_VARIABLE_RUNTIME_ACCESS = 0x00000004;

struct EFI_RUNTIME_SERVICES {
  EFI_TABLE_HEADER Hdr;
  EFI_STATUS(EFIAPI* GetTime)(EFI_TIME* Time, EFI_TIME_CAPABILITIES* Capabilities);
  EFI_STATUS(EFIAPI* SetTime)(EFI_TIME* Time);
  EFI_STATUS(EFIAPI* GetWakeupTime)(BOOLEAN* Enabled, BOOLEAN* Pending, EFI_TIME* Time);
  EFI_STATUS(EFIAPI* SetWakeupTime)(BOOLEAN Enable, EFI_TIME* Time);
  EFI_STATUS(EFIAPI* SetVirtualAddressMap)
  (UINTN MemoryMapSize, UINTN DescriptorSize, UINT32 DescriptorVersion, void* VirtualMap);
  EFI_STATUS(EFIAPI* ConvertPointer)(UINTN DebugDisposition, void** Address);
  EFI_STATUS(EFIAPI* GetVariable)
  (const CHAR16* VariableName, const EFI_GUID* VendorGuid, UINT32* Attributes, UINTN* DataSize,
   void* Data);
  EFI_STATUS(EFIAPI* GetNextVariableName)
  (UINTN* VariableNameSize, CHAR16* VariableName, EFI_GUID* VendorGuid);
  EFI_STATUS(EFIAPI* SetVariable)
  (const CHAR16* VariableName, const EFI_GUID* VendorGuid, UINT32 Attributes, UINTN DataSize,
   const void* Data);
  EFI_STATUS(EFIAPI* GetNextHighMonotonicCount)(UINT32* HighCount);
  void(EFIAPI* ResetSystem)(EFI_RESET_TYPE ResetType, EFI_STATUS ResetStatus, UINTN DataSize,
                            const void* ResetData);
  void* UpdateCapsule;
  void* QueryCapsuleCapabilities;
  void* QueryVariableInfo;
};
static_assert(offsetof(EFI_RUNTIME_SERVICES, GetTime) == 0x18);
static_assert(offsetof(EFI_RUNTIME_SERVICES, GetVariable) == 0x48);
static_assert(offsetof(EFI_RUNTIME_SERVICES, SetVariable) == 0x58);
static_assert(offsetof(EFI_RUNTIME_SERVICES, ResetSystem) == 0x68);

// ---------------------------------------------------------------------------
// System table
// ---------------------------------------------------------------------------
struct EFI_CONFIGURATION_TABLE {
  EFI_GUID VendorGuid;
  void* VendorTable;
};

struct EFI_SYSTEM_TABLE {
  EFI_TABLE_HEADER Hdr;
  CHAR16* FirmwareVendor;
  UINT32 FirmwareRevision;
  EFI_HANDLE ConsoleInHandle;
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL* ConIn;
  EFI_HANDLE ConsoleOutHandle;
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* ConOut;
  EFI_HANDLE StandardErrorHandle;
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* StdErr;
  EFI_RUNTIME_SERVICES* RuntimeServices;
  EFI_BOOT_SERVICES* BootServices;
  UINTN NumberOfTableEntries;
  EFI_CONFIGURATION_TABLE* ConfigurationTable;
};
static_assert(offsetof(EFI_SYSTEM_TABLE, ConIn) == 0x30);
static_assert(offsetof(EFI_SYSTEM_TABLE, RuntimeServices) == 0x58);
static_assert(offsetof(EFI_SYSTEM_TABLE, BootServices) == 0x60);

typedef EFI_STATUS(EFIAPI* EFI_IMAGE_ENTRY_POINT)(EFI_HANDLE ImageHandle,
                                                  EFI_SYSTEM_TABLE* SystemTable);
