// The Power Management page's item table: wake-up and power-on sources,
// processor power options, the keyboard backlight, and the SATA and USB 3.0
// power options.
#pragma once

#include "setup_data/setup_data_state.h" // kPowerBacklightTimeInitial, PowerBacklightTimeMaximum
#include "setup_data/setup_item.h"

enum PowerManagementPageRow : UINT64 {
  PowerRowWakeOnLan = 0,         // on/off; hidden while Built-in LAN is disabled
  PowerRowWakeOnKeyboard,        // on/off
  PowerRowCriticalBatteryWakeUp, // on/off
  PowerRowPanelOpenPowerOn,      // on/off
  PowerRowPowerOnByAc,           // on/off
  PowerRowInternalCir,           // on/off
  PowerRowDynamicCpuFrequency,   // drop-down: 0 Dynamic Switch, 1 Always Low
  PowerRowCoreMultiProcessing,   // on/off
  PowerRowTurboBoost,            // on/off
  PowerRowKeyboardBacklightMode, // drop-down: 0 TIMER, 1 ON, 2 OFF
  PowerRowBacklightLightingTime, // adjustment, seconds; shown only with TIMER
  PowerRowSataInterface,         // drop-down: 0 Battery life, 1 Performance
  PowerRowInternalUsb3,          // on/off
  PowerManagementPageRowCount
};

// Row sizes on a 1024-pixel screen (the layout routine sets the widths from
// the screen width).
constexpr UINT64 kPowerRowWidth = 412;
constexpr UINT64 kPowerToggleHeight = 50;
constexpr UINT64 kPowerListHeight = 62; // drop-downs and the adjustment row
constexpr UINT64 kPowerRowGap = 25;

extern SetupItem PowerManagementPageItems[PowerManagementPageRowCount];
extern UINT64 PowerManagementPageItemCount;
