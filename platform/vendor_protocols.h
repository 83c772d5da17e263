// The vendor services that Quorvex Setup binds to at start-up. A notebook
// maker's firmware provides them itself; everywhere else the reference
// platform (reference_platform/) installs them before starting the utility.
#pragma once

#include "platform/efi.h"

// ---------------------------------------------------------------------------
// Glyph font service {6EE493EB-37E3-4890-8A09-657732F0004C} and the large-digit
// font service {842003A1-1F6A-447D-A318-ECB05C800D77}, same operations.
// A glyph's coverage map is Height rows of Pitch bytes (0 background, 255 full
// ink); the map covers the whole character cell (Width = advance, Height = line
// height), so a glyph drawn at the pen position sits on the line's baseline.
// ---------------------------------------------------------------------------
constexpr EFI_GUID kGlyphFontGuid = {
    0x6EE493EB, 0x37E3, 0x4890, {0x8A, 0x09, 0x65, 0x77, 0x32, 0xF0, 0x00, 0x4C}};
constexpr EFI_GUID kLargeDigitFontGuid = {
    0x842003A1, 0x1F6A, 0x447D, {0xA3, 0x18, 0xEC, 0xB0, 0x5C, 0x80, 0x0D, 0x77}};

struct GlyphFontProtocol {
  EFI_STATUS(EFIAPI* GetGlyph)
  (GlyphFontProtocol* This, CHAR16 Character, const UINT8** Coverage, UINT32* Width, UINT32* Height,
   UINT32* Pitch);
  EFI_STATUS(EFIAPI* GetAdvance)(GlyphFontProtocol* This, CHAR16 Character, UINT64* Advance);
  EFI_STATUS(EFIAPI* GetLineHeight)(GlyphFontProtocol* This, UINT64* LineHeight);
};

// ---------------------------------------------------------------------------
// Image display service {A51612B2-6F18-4DBC-842F-54022973DBF6}. The third
// field points at the operation table. Pictures are drawn through GOP Blt at
// (X, Y), so they land in the double buffer while it is in force.
// ---------------------------------------------------------------------------
constexpr EFI_GUID kImageDisplayGuid = {
    0xA51612B2, 0x6F18, 0x4DBC, {0x84, 0x2F, 0x54, 0x02, 0x29, 0x73, 0xDB, 0xF6}};

struct ImageDisplayOperations {
  // Reports the pixel size of a PNG or JPEG without drawing it.
  EFI_STATUS(EFIAPI* GetSize)(const void* Data, UINT64 Size, UINT64* Width, UINT64* Height);
  EFI_STATUS(EFIAPI* DrawJpeg)(const void* Data, UINT32 Size, UINT64 X, UINT64 Y);
  EFI_STATUS(EFIAPI* DrawPng)(const void* Data, UINT64 Size, UINT64 X, UINT64 Y);
};

struct ImageDisplayProtocol {
  UINT64 Revision;
  void* Context;
  ImageDisplayOperations* Operations;
};

// ---------------------------------------------------------------------------
// Platform service {AC570887-109A-4A8A-9B37-8561ABB05FE8}. Its fifth field
// points at a table of operations; entry 22 answers whether the built-in
// battery may be disabled now (non-zero: yes). The other entries belong to the
// platform and are not used by the utility.
// ---------------------------------------------------------------------------
constexpr EFI_GUID kPlatformServiceGuid = {
    0xAC570887, 0x109A, 0x4A8A, {0x9B, 0x37, 0x85, 0x61, 0xAB, 0xB0, 0x5F, 0xE8}};

typedef UINT64(EFIAPI* PLATFORM_SERVICE_OPERATION)(void);
constexpr UINTN kPlatformBatteryQuestion = 22;
constexpr UINTN kPlatformServiceOperationCount = 24;

struct PlatformServiceOperations {
  PLATFORM_SERVICE_OPERATION Operation[kPlatformServiceOperationCount];
};

struct PlatformServiceProtocol {
  UINT64 Revision;
  void* Field2;
  void* Field3;
  void* Field4;
  PlatformServiceOperations* Operations;
};
static_assert(offsetof(PlatformServiceProtocol, Operations) == 32);

// ---------------------------------------------------------------------------
// Setup data service {A9E38DF1-9F45-4D83-8E76-871FD2DF47B3}: a table of
// numbered operations. Every operation takes two 64-bit arguments (pointers
// are passed as addresses; unused arguments are 0) and returns a 64-bit result
// whose meaning depends on the operation (a status, a value, or nothing).
// ---------------------------------------------------------------------------
constexpr EFI_GUID kSetupDataGuid = {
    0xA9E38DF1, 0x9F45, 0x4D83, {0x8E, 0x76, 0x87, 0x1F, 0xD2, 0xDF, 0x47, 0xB3}};

typedef UINT64(EFIAPI* SETUP_DATA_OPERATION)(UINT64 Argument1, UINT64 Argument2);
constexpr UINTN kSetupDataOperationCount = 200;

struct SetupDataProtocol {
  SETUP_DATA_OPERATION Operation[kSetupDataOperationCount];
};

// ---------------------------------------------------------------------------
// Debug trace protocol {AC0D7BB0-D858-4750-9F8B-A75D4F901D43}, optional. Only
// its 22nd operation (index 21) is used: the allocation trace.
// ---------------------------------------------------------------------------
constexpr EFI_GUID kDebugTraceGuid = {
    0xAC0D7BB0, 0xD858, 0x4750, {0x9F, 0x8B, 0xA7, 0x5D, 0x4F, 0x90, 0x1D, 0x43}};

struct DebugTraceProtocolTable;
typedef EFI_STATUS(EFIAPI* DEBUG_TRACE_OPERATION)(DebugTraceProtocolTable* This,
                                                  const CHAR8* Format, const CHAR8* File,
                                                  const CHAR8* Function, UINT64 Line,
                                                  UINT64 Address);
constexpr UINTN kDebugTraceOperationIndex = 21;
struct DebugTraceProtocolTable {
  DEBUG_TRACE_OPERATION Operation[22];
};

// ---------------------------------------------------------------------------
// Restart trigger protocol {A047D1BE-E074-408F-BB54-A65DDB57D2A2}: its
// installation asks the running utility to rebuild its screen.
// ---------------------------------------------------------------------------
constexpr EFI_GUID kRestartTriggerGuid = {
    0xA047D1BE, 0xE074, 0x408F, {0xBB, 0x54, 0xA6, 0x5D, 0xDB, 0x57, 0xD2, 0xA2}};

struct RestartTriggerProtocol {
  UINT64 Revision;
};

// ---------------------------------------------------------------------------
// Extended key-code protocol {0ADFB62D-FF74-484C-8944-F85C4BEA87A8}: the
// firmware's key reader that also reports the PS/2 scan code. Its second
// operation reads one key into an ExtendedKeyData record.
// ---------------------------------------------------------------------------
constexpr EFI_GUID kExtendedKeyCodeGuid = {
    0x0ADFB62D, 0xFF74, 0x484C, {0x89, 0x44, 0xF8, 0x5C, 0x4B, 0xEA, 0x87, 0xA8}};

struct ExtendedKeyData {
  EFI_INPUT_KEY Key;      // bytes 0-3
  EFI_KEY_STATE KeyState; // bytes 4-11
  UINT32 EfiKey;          // bytes 12-15
  UINT8 Ps2ScanCode;      // byte 16
  UINT8 Reserved[7];
};
static_assert(offsetof(ExtendedKeyData, Ps2ScanCode) == 16);

struct ExtendedKeyCodeProtocol;
typedef EFI_STATUS(EFIAPI* EXTENDED_KEY_READ)(ExtendedKeyCodeProtocol* This,
                                              ExtendedKeyData* KeyData);
struct ExtendedKeyCodeProtocol {
  EFI_STATUS(EFIAPI* Reset)(ExtendedKeyCodeProtocol* This, BOOLEAN ExtendedVerification);
  EXTENDED_KEY_READ ReadKeyData;
};
