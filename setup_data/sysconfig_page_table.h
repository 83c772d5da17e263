// The System Configuration sub-page's item table (entered from the Advanced
// page): device enables, SATA controller mode, boot mode, the display used at
// power-on and the function-key mode.
#pragma once

#include "setup_data/setup_item.h"

enum SystemConfigurationPageRow : UINT64 {
  SysConfigRowPreviousPage = 0,   // button back to the Advanced page
  SysConfigRowHeading,            // information row, never focused
  SysConfigRowBuiltInLan,         // on/off
  SysConfigRowPointingDevice,     // on/off
  SysConfigRowWebCamera,          // on/off
  SysConfigRowSataControllerMode, // drop-down: 0 AHCI, 1 Compatibility
  SysConfigRowBootMode,           // drop-down: 0 UEFI Boot, 1 CSM Boot
  SysConfigRowPowerOnDisplay,     // drop-down: 0 Auto-Selected, 1 System LCD only,
                                  //            2 External Display Device
  SysConfigRowExternalDisplay,    // drop-down built from the platform's ports
  SysConfigRowFunctionKeysMode,   // drop-down: 0 Special function, 1 Standard F1-F12
  SystemConfigurationPageRowCount
};

// Row sizes on a 1024-pixel screen (the layout routine sets the widths from
// the screen width, and the function-key row's height from the language).
constexpr UINT64 kSysConfigButtonWidth = 246;
constexpr UINT64 kSysConfigRowWidth = 412;
constexpr UINT64 kSysConfigButtonHeight = 50;
constexpr UINT64 kSysConfigHeadingHeight = 25;
constexpr UINT64 kSysConfigToggleHeight = 50;
constexpr UINT64 kSysConfigListHeight = 62;
constexpr UINT64 kSysConfigFunctionKeysHeight = 75;        // its label wraps
constexpr UINT64 kSysConfigFunctionKeysHeightFrench = 100; // wraps once more
constexpr UINT64 kSysConfigRowGap = 25;
// Label column of the heading row.
constexpr UINT64 kSysConfigHeadingLabelWidth = 400;

extern SetupItem SystemConfigurationPageItems[SystemConfigurationPageRowCount];
extern UINT64 SystemConfigurationPageItemCount;

// Type codes of the external display ports, as the settings report them.
enum ExternalPortType : UINT32 {
  ExternalPortAnalogRgb = 0,
  ExternalPortDisplayPort = 1,
  ExternalPortHdmi = 2,
  ExternalPortDvi = 3,
  ExternalPortNone = 4, // no port in this position
};
constexpr UINTN kExternalPortTypeCount = 4; // codes with a name
constexpr UINTN kExternalPortCount = 4;     // positions the platform reports
// The option text of each named port type.
extern const CHAR16* const SysConfigPortTypeTexts[kExternalPortTypeCount];

// The External Display Device row's option list: the names of the present
// ports in order, null-terminated. The page rebuilds it from the port list;
// the table starts with every port type.
constexpr UINTN kSysConfigExternalDisplaySlots = kExternalPortCount + 1;
extern const CHAR16* SysConfigExternalDisplayOptions[kSysConfigExternalDisplaySlots];
