// HID report-descriptor parser for pointing devices: walks the global,
// local and main items of a report descriptor and finds, in the first
// application collection that is a mouse, pointer or digitizer, the input
// fields a pointer driver needs (X, Y, wheel, buttons, tip switch, in range)
// with their place in the report. Plain code with no firmware calls, so it
// runs the same in the driver, the unit tests and the fuzzer.
#pragma once

#include "platform/efi.h"

// The longest input report the driver accepts, without the report ID byte.
constexpr UINT32 kHidMaxReportBytes = 64;

// One input field of the pointer report. BitSize 0: the report has no such
// field. BitOffset counts from the first bit after the report ID byte.
struct HidField {
  UINT32 BitOffset;
  UINT8 BitSize; // 1..32
  bool Relative;
  INT32 LogicalMin;
  INT32 LogicalMax;
  INT32 PhysicalMin;
  INT32 PhysicalMax;
  UINT32 Unit;
  INT8 UnitExponent;
};

enum class HidPointerKind : UINT8 { None, Relative, Absolute };

struct HidPointerLayout {
  HidPointerKind Kind;
  // Reports start with a report ID byte; the pointer's is ReportId.
  bool UsesReportIds;
  UINT8 ReportId;
  // The pointer report's size without the ID byte, and the longest report of
  // that ID accepted (larger only for the boot protocol, whose mice may send
  // bytes after the three it defines).
  UINT32 ReportBytes;
  UINT32 MaxReportBytes;
  // The application collection the fields came from (page << 16 | usage).
  UINT32 Application;
  HidField X;
  HidField Y;
  HidField Wheel;
  HidField TipSwitch;
  HidField InRange;
  HidField Buttons[3]; // left, right, middle
  // The Input Mode feature of a touch screen's device configuration
  // collection (BitSize 0: none). Such screens report as a mouse until the
  // host sets it to touch input; FeatureBytes is the size of its feature
  // report without the ID byte.
  struct {
    UINT8 ReportId;
    UINT32 BitOffset;
    UINT8 BitSize;
    UINT32 FeatureBytes;
  } InputMode;
};

enum class HidParseResult : UINT8 {
  Ok,
  Malformed, // an item runs past the end, bad nesting, stack over- or underflow, ...
  NoPointer, // well formed, but no collection with usable X and Y fields
};

// Parses Length bytes of report descriptor. Layout is always written (all
// zero unless the result is Ok).
HidParseResult HidDescriptor_Parse(const UINT8* Data, UINTN Length, HidPointerLayout* Layout);

// The fixed layout of the boot-protocol mouse report (buttons, X, Y).
void HidDescriptor_BootMouseLayout(HidPointerLayout* Layout);

// Usages (page << 16 | id) the parser looks for.
constexpr UINT32 kHidUsageGenericDesktopPointer = 0x00010001;
constexpr UINT32 kHidUsageGenericDesktopMouse = 0x00010002;
constexpr UINT32 kHidUsageX = 0x00010030;
constexpr UINT32 kHidUsageY = 0x00010031;
constexpr UINT32 kHidUsageWheel = 0x00010038;
constexpr UINT32 kHidUsageButton1 = 0x00090001;
constexpr UINT32 kHidUsageDigitizer = 0x000D0001;
constexpr UINT32 kHidUsagePen = 0x000D0002;
constexpr UINT32 kHidUsageTouchScreen = 0x000D0004;
constexpr UINT32 kHidUsageInRange = 0x000D0032;
constexpr UINT32 kHidUsageTipSwitch = 0x000D0042;
constexpr UINT32 kHidUsageInputMode = 0x000D0052;
// Input Mode values: mouse, single touch, multi touch.
constexpr UINT32 kHidInputModeMultiTouch = 2;
