// The Main page's item table. Widths are those of a 1024-pixel screen; the
// page's layout routine recomputes them from the screen width.
#include "setup_data/main_page_table.h"

#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

// Rows name only the fields they set; every other field is zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

CHAR16 MainTimeValue[kMainValueUnits];
CHAR16 MainDateValue[kMainValueUnits];

const CHAR16* MainLanguageOptions[4] = {TEXT(MainLanguageEnglish), TEXT(MainLanguageJapanese),
                                        TEXT(MainLanguageFrench), nullptr};

SetupItem MainPageItems[MainPageRowCount] = {
    {.Present = 1,
     .Selected = 1,
     .Kind = ItemValueButton,
     .Width = 212,
     .Height = 35,
     .Gap = 25,
     .Help = TEXT(MainSystemTimeHelp),
     .Action = Quorvex_MainPage_EditTime,
     .Label = TEXT(MainSystemTime),
     .Data = reinterpret_cast<UINT64>(MainTimeValue),
     .Value = kMainLabelWidth},
    {.Present = 1,
     .Kind = ItemValueButton,
     .Width = 212,
     .Height = 35,
     .Gap = 25,
     .Help = TEXT(MainSystemDateHelp),
     .Action = Quorvex_MainPage_EditDate,
     .Label = TEXT(MainSystemDate),
     .Data = reinterpret_cast<UINT64>(MainDateValue),
     .Value = kMainLabelWidth},
    // Information rows: Data receives the value text from the setup data
    // service at set-up.
    {.Present = 1,
     .Kind = ItemInfo,
     .Width = 212,
     .Height = 50,
     .Label = TEXT(MainCpuType),
     .Value = kMainLabelWidth},
    {.Present = 1,
     .Kind = ItemInfo,
     .Width = 212,
     .Height = 50,
     .Label = TEXT(MainCpuSpeed),
     .Value = kMainLabelWidth},
    {.Present = 1,
     .Kind = ItemInfo,
     .Width = 262,
     .Height = 50,
     .Label = TEXT(MainHddSsd),
     .Value = kMainLabelWidth},
    {.Present = 1,
     .Kind = ItemInfo,
     .Width = 212,
     .Height = 50,
     .Label = TEXT(MainOdd),
     .Value = kMainLabelWidth},
    {.Present = 1,
     .Kind = ItemInfo,
     .Width = 212,
     .Height = 50,
     .Label = TEXT(MainTotalMemorySize),
     .Value = kMainLabelWidth},
    {.Present = 1,
     .Kind = ItemInfo,
     .Width = 212,
     .Height = 50,
     .Label = TEXT(MainSystemBiosVersion),
     .Value = kMainLabelWidth},
    {.Present = 1,
     .Kind = ItemInfo,
     .Width = 212,
     .Height = 50,
     .Label = TEXT(MainEcVersion),
     .Value = kMainLabelWidth},
    {.Present = 1,
     .Kind = ItemDropDown,
     .Width = 412,
     .Height = 62,
     .Gap = 25,
     .Help = TEXT(MainLanguageHelp),
     .Action = Quorvex_MainPage_ChooseLanguage,
     .Label = TEXT(MainLanguage),
     .Data = 0,
     .Value = 0,
     .Options = MainLanguageOptions},
};
UINT64 MainPageItemCount = MainPageRowCount;
