// The Advanced page's item table: boot speed, processor features, beep,
// Intel(R) AT and Rapid Start, USB charging and power, legacy emulation, and
// the three buttons that open the boot order dialog, the System
// Configuration sub-page and the boot-logo question.
#pragma once

#include "setup_data/setup_item.h"

enum AdvancedPageRow : UINT64 {
  AdvancedRowBootSpeed = 0,       // drop-down: 0 Fast, 1 Normal
  AdvancedRowExecuteDisableBit,   // on/off: Not Available / Available
  AdvancedRowVirtualization,      // drop-down: 0 Disabled, 1 VT-x Only
  AdvancedRowBeepSound,           // on/off: OFF / ON
  AdvancedRowIntelAt,             // on/off
  AdvancedRowIntelAtSuspend,      // on/off
  AdvancedRowRapidStart,          // on/off
  AdvancedRowSleepAndCharge,      // drop-down built from the platform's modes
  AdvancedRowCdpChargeMode,       // on/off
  AdvancedRowUsbPowerInSleep,     // on/off
  AdvancedRowSleepAndMusic,       // on/off
  AdvancedRowUsbLegacyEmulation,  // on/off
  AdvancedRowChangeBootOrder,     // button: boot order dialog
  AdvancedRowSystemConfiguration, // button: System Configuration sub-page
  AdvancedRowBootUpLogo,          // button: "Set to Default Image?"
  AdvancedPageRowCount
};

// Row sizes on a 1024-pixel screen (the layout routine sets the widths from
// the screen width).
constexpr UINT64 kAdvancedRowWidth = 412;
constexpr UINT64 kAdvancedRowHeight = 50;
constexpr UINT64 kAdvancedListHeight = 62; // the three drop-downs
constexpr UINT64 kAdvancedRowGap = 25;

extern SetupItem AdvancedPageItems[AdvancedPageRowCount];
extern UINT64 AdvancedPageItemCount;

// Sleep and Charge modes as the settings store them.
enum SleepChargeMode : UINT64 {
  SleepChargeDisabled = 0,
  SleepChargeAuto = 1,
  SleepChargeTypical = 2,
  SleepChargeAlternate = 3,
  SleepChargeModeCount
};
// The option text of each stored mode.
extern const CHAR16* const AdvancedSleepChargeModeTexts[SleepChargeModeCount];

// The Sleep and Charge row's option list: "Disabled", then the modes the
// platform offers, null-terminated. The page rebuilds it from the platform's
// three mode flags; the table starts with every mode. One slot more than the
// modes, so that an index one past the shortest lists still reads inside the
// array (and finds the terminator).
constexpr UINTN kAdvancedSleepChargeSlots = SleepChargeModeCount + 1;
extern const CHAR16* AdvancedSleepChargeOptions[kAdvancedSleepChargeSlots];
