// The Main page's item table. Widths are those of a 1024-pixel screen; the
// page's layout routine recomputes them from the screen width.
#include "setup_data/main_page_table.h"

#include "setup_data/item_row.h"
#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

CHAR16 MainTimeValue[kMainValueUnits];
CHAR16 MainDateValue[kMainValueUnits];

const CHAR16* MainLanguageOptions[4] = {TEXT(MainLanguageEnglish), TEXT(MainLanguageJapanese),
                                        TEXT(MainLanguageFrench), nullptr};

SetupItem MainPageItems[MainPageRowCount] = {
    ItemRow(ItemValueButton, TEXT(MainSystemTime), {212, 35, 25})
        .Help(TEXT(MainSystemTimeHelp))
        .Action(Quorvex_MainPage_EditTime)
        .Data(reinterpret_cast<UINT64>(MainTimeValue))
        .Value(kMainLabelWidth)
        .Focused(),
    ItemRow(ItemValueButton, TEXT(MainSystemDate), {212, 35, 25})
        .Help(TEXT(MainSystemDateHelp))
        .Action(Quorvex_MainPage_EditDate)
        .Data(reinterpret_cast<UINT64>(MainDateValue))
        .Value(kMainLabelWidth),
    // Information rows: Data receives the value text from the setup data
    // service at set-up.
    ItemRow(ItemInfo, TEXT(MainCpuType), {212, 50, 0}).Value(kMainLabelWidth),
    ItemRow(ItemInfo, TEXT(MainCpuSpeed), {212, 50, 0}).Value(kMainLabelWidth),
    ItemRow(ItemInfo, TEXT(MainHddSsd), {262, 50, 0}).Value(kMainLabelWidth),
    ItemRow(ItemInfo, TEXT(MainOdd), {212, 50, 0}).Value(kMainLabelWidth),
    ItemRow(ItemInfo, TEXT(MainTotalMemorySize), {212, 50, 0}).Value(kMainLabelWidth),
    ItemRow(ItemInfo, TEXT(MainSystemBiosVersion), {212, 50, 0}).Value(kMainLabelWidth),
    ItemRow(ItemInfo, TEXT(MainEcVersion), {212, 50, 0}).Value(kMainLabelWidth),
    ItemRow(ItemDropDown, TEXT(MainLanguage), {412, 62, 25})
        .Help(TEXT(MainLanguageHelp))
        .Action(Quorvex_MainPage_ChooseLanguage)
        .Options(MainLanguageOptions),
};
UINT64 MainPageItemCount = MainPageRowCount;
