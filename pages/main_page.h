// The Main page: the live clock, the time and date editor, the machine
// information rows and the display language.
#pragma once

#include "platform/efi.h"

// What the Main page keeps; Quorvex_MainPage_Reset puts it back to these
// values.
struct MainPageState {
  // The time last shown in the time and date rows.
  EFI_TIME LastTime = {};
  // The earliest year the date editor accepts (operation 14).
  UINT16 MinimumYear = 0;
};
extern constinit MainPageState MainPage;

// The module's state under its long-standing names.
inline constexpr EFI_TIME& LastTime = MainPage.LastTime;
inline constexpr UINT16& MinimumYear = MainPage.MinimumYear;

// Reads the clock and, when it changed since LastTime, rewrites the time and
// date rows and redraws the list. Only while the Main tab or page is current.
void Quorvex_MainPage_ClockRefresh();
// Writes LastTime into the time and date rows' value buffers.
void Quorvex_MainPage_FormatClock();

// The language list: index 0 English, then Japanese and French as offered.
// Fills Options (4 entries, null-terminated) and returns the option count.
UINT64 Quorvex_BuildLanguageOptions(const CHAR16** Options, UINT8 Japanese, UINT8 French);
// The list index that shows Language (never past the last option).
UINT64 Quorvex_LanguageToIndex(UINT64 Language, UINT8 Japanese, UINT8 French);
// The language an index of the list stands for; false when the index names
// no offered language.
bool Quorvex_IndexToLanguage(UINT64 Index, UINT8 Japanese, UINT8 French, UINT64* Language);
