// The Main page's item table: clock and date, read-only machine information
// and the display language.
#pragma once

#include "setup_data/setup_item.h"

enum MainPageRow : UINT64 {
  MainRowSystemTime = 0,
  MainRowSystemDate,
  MainRowCpuType,
  MainRowCpuSpeed,
  MainRowHddSsd,
  MainRowOdd,
  MainRowTotalMemorySize,
  MainRowSystemBiosVersion,
  MainRowEcVersion,
  MainRowLanguage,
  MainPageRowCount
};

// Units in the time and date rows' value buffers.
constexpr UINTN kMainValueUnits = 200;
// Label column of the value and information rows, in pixels.
constexpr UINT64 kMainLabelWidth = 200;

extern SetupItem MainPageItems[MainPageRowCount];
extern UINT64 MainPageItemCount;

// Value buffers of the time and date rows (their Data words point here).
extern CHAR16 MainTimeValue[kMainValueUnits];
extern CHAR16 MainDateValue[kMainValueUnits];

// Options of the language row: "English", then "日本語" and "Français" as the
// firmware offers them, null-terminated. Set-up rebuilds the list; the table
// starts with all three languages.
extern const CHAR16* MainLanguageOptions[4];
