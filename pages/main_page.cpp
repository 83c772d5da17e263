// The Main page: clock and date (editable), the machine information rows and
// the display language. The clock is the only content that changes by
// itself: it is read on every pass of the main loop and of the page's loop.
#include "pages/main_page.h"

#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/background.h"
#include "graphics/draw_util.h"
#include "graphics/item_list.h"
#include "input/mouse.h"
#include "pages/clock_editor.h"
#include "pages/clock_error.h"
#include "setup_data/page_actions.h"
#include "pages/page_common.h"
#include "pages/page_table.h"
#include "pages/pages.h"
#include "platform/lib.h"
#include "setup_data/main_page_table.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/text_table.h"

constinit MainPageState MainPage = {};

namespace {

// Widths follow the screen (W/2 computed as 2W/4).
constexpr UINT64 kInfoRowHeight = 50;

void AfterActivate() {
  Quorvex_RefreshAllPages();
}

bool SameSecond(const EFI_TIME& A, const EFI_TIME& B) {
  return A.Year == B.Year && A.Month == B.Month && A.Day == B.Day && A.Hour == B.Hour &&
         A.Minute == B.Minute && A.Second == B.Second;
}

void ReadInfoText(MainPageRow Row, UINT64 (*Get)(const CHAR16**)) {
  SetupItem& item = MainPageItems[Row];
  if (item.Present == 0) return;
  const CHAR16* text = ItemInfoText(item);
  Get(&text);
  item.Data = ItemDataFrom(text);
}

SetupItem& LanguageRow() {
  return MainPageItems[MainRowLanguage];
}

void BuildLanguageList() {
  SetupItem& row = LanguageRow();
  const UINT64 count =
      Quorvex_BuildLanguageOptions(MainLanguageOptions, JapaneseAvailable, FrenchAvailable);
  row.Options = MainLanguageOptions;
  row.Data = Quorvex_LanguageToIndex(Language, JapaneseAvailable, FrenchAvailable);
  if (row.Data >= count) row.Data = count - 1;
}

// Redraws everything that shows text in the new language. Of the left band
// only the lower logo differs between languages (the tabs put their own
// band pixels back under their captions).
void RedrawInNewLanguage(UINT64 Before) {
  const bool logo = (Before == 2) != (Language == 2);
  const bool band = !Quorvex_Tabs_BandSaved();
  if (logo || band) {
    Quorvex_RestoreUnderCursor();
    if (band) {
      Quorvex_BackGround_Left();
    } else {
      Quorvex_BackGround_LowerLogo();
    }
    Quorvex_UpdateMouse();
  }
  Quorvex_Page_FocusedDraw(kMainPageView);
  for (UINT32 tab = kTabMain + 1; tab < kTabCount; ++tab)
    Quorvex_PageTable_TabRow(tab).NotSelectedDraw();
}

// Runs one editor over LastTime; on acceptance sets the clock and reads it
// back.
void EditClock(bool IsDate) {
  RuntimeServices->GetTime(&LastTime, nullptr);
  Quorvex_MainPage_FormatClock();
  ClockEditor editor = IsDate ? Quorvex_ClockEditor_ForDate(LastTime, MinimumYear)
                              : Quorvex_ClockEditor_ForTime(LastTime);
  if (Quorvex_ClockEditor_Run(editor) != EFI_SUCCESS) return;
  EFI_TIME wanted = LastTime;
  Quorvex_ClockEditor_Apply(editor, &wanted);
  // A refused time is not shown as if it were set: the user is told, and the
  // clock read back is the one the firmware kept.
  if (EFI_ERROR(RuntimeServices->SetTime(&wanted))) Quorvex_ClockError_Show();
  RuntimeServices->GetTime(&LastTime, nullptr);
  Quorvex_MainPage_FormatClock();
}

} // namespace

constinit const PageView kMainPageView = {MainPageItems, &MainPageItemCount, kTabMain,
                                          kStateMainTab, kStateMainPage,     nullptr};

// ---- Language list ----------------------------------------------------------------

UINT64 Quorvex_BuildLanguageOptions(const CHAR16** Options, UINT8 Japanese, UINT8 French) {
  UINT64 count = 0;
  Options[count++] = TEXT(MainLanguageEnglish);
  if (Japanese != 0) Options[count++] = TEXT(MainLanguageJapanese);
  if (French != 0) Options[count++] = TEXT(MainLanguageFrench);
  Options[count] = nullptr;
  return count;
}

UINT64 Quorvex_LanguageToIndex(UINT64 Lang, UINT8 Japanese, UINT8 French) {
  const UINT64 count = 1 + (Japanese != 0 ? 1 : 0) + (French != 0 ? 1 : 0);
  UINT64 index = 0;
  if (Lang == 1) index = 1;
  if (Lang == 2) index = Japanese != 0 ? 2 : 1;
  // A stored language the firmware no longer offers shows the last option
  // rather than an index past the list.
  return index < count ? index : count - 1;
}

bool Quorvex_IndexToLanguage(UINT64 Index, UINT8 Japanese, UINT8 French, UINT64* Lang) {
  switch (Index) {
  case 0:
    *Lang = 0;
    return true;
  case 1:
    if (Japanese != 0) {
      *Lang = 1;
      return true;
    }
    if (French != 0) {
      *Lang = 2;
      return true;
    }
    return false;
  case 2:
    if (Japanese != 0 && French != 0) {
      *Lang = 2;
      return true;
    }
    return false;
  default:
    return false;
  }
}

// ---- Clock ----------------------------------------------------------------------

void Quorvex_MainPage_FormatClock() {
  Format(MainTimeValue, kMainValueUnits, u"%02d:%02d:%02d", LastTime.Hour, LastTime.Minute,
         LastTime.Second);
  Format(MainDateValue, kMainValueUnits, u"%02d/%02d/%04d", LastTime.Month, LastTime.Day,
         LastTime.Year);
}

void Quorvex_MainPage_ClockRefresh() {
  if (PageState != kStateMainTab && PageState != kStateMainPage) return;
  EFI_TIME now;
  MemFill(&now, 0, sizeof(now));
  if (EFI_ERROR(RuntimeServices->GetTime(&now, nullptr))) return;
  if (SameSecond(now, LastTime)) return;
  LastTime = now;
  Quorvex_MainPage_FormatClock();
  Quorvex_Draw_Item_List(MainPageItems, MainPageItemCount, PageState == kStateMainPage ? 1 : 0);
}

// ---- Item actions -------------------------------------------------------------------

void Quorvex_MainPage_EditTime(SetupItem*) {
  EditClock(false);
}

void Quorvex_MainPage_EditDate(SetupItem*) {
  EditClock(true);
}

void Quorvex_MainPage_ChooseLanguage(SetupItem*) {
  SetupItem& row = LanguageRow();
  // The closed list is drawn once, in the chosen language, by the redraw.
  Quorvex_Page_DropDown(kMainPageView, row, false);
  const UINT64 before = Language;
  UINT64 chosen = Language;
  if (Quorvex_IndexToLanguage(row.Data, JapaneseAvailable, FrenchAvailable, &chosen)) {
    Language = chosen;
  }
  if (PageState == kStateMainPage) RedrawInNewLanguage(before);
}

// ---- Page routines ------------------------------------------------------------------

void Quorvex_MainPage_Prepare() {
  MemFill(&LastTime, 0, sizeof(LastTime));
  // The clock is read now, so that the page's first drawing already shows it
  // and the first refresh, in the same second, has nothing to redraw.
  EFI_TIME now;
  MemFill(&now, 0, sizeof(now));
  if (!EFI_ERROR(RuntimeServices->GetTime(&now, nullptr))) LastTime = now;
  Quorvex_MainPage_FormatClock();
}

void Quorvex_MainPage_Init() {
  ReadInfoText(MainRowCpuType, SetupData_Get_cpu_type);
  ReadInfoText(MainRowCpuSpeed, SetupData_Get_cpu_speed);
  ReadInfoText(MainRowHddSsd, SetupData_Get_hdd_ssd);
  SetupItem& odd = MainPageItems[MainRowOdd];
  if (odd.Present != 0) {
    UINT8 present = odd.Present;
    SetupData_Get_odd_present(&present);
    odd.Present = present != 0 ? 1 : 0;
  }
  ReadInfoText(MainRowOdd, SetupData_Get_odd);
  ReadInfoText(MainRowTotalMemorySize, SetupData_Get_total_memory_size);
  ReadInfoText(MainRowSystemBiosVersion, SetupData_Get_system_bios_version);
  ReadInfoText(MainRowEcVersion, SetupData_Get_ec_version);

  if (LanguageRow().Present != 0) {
    const INT64 stored = SetupData_ReadValue_language();
    // Only the three languages index the text slots.
    if (stored >= 0 && stored <= 2) Language = static_cast<UINT64>(stored);
    SetupData_Get_japanese_available(&JapaneseAvailable);
    SetupData_Get_french_available(&FrenchAvailable);
    BuildLanguageList();
  }

  Quorvex_Page_HideAbsent(MainPageItems, MainPageItemCount);

  SetupData_Get_minimum_year(&MinimumYear);

  UINT8 mustSet = 0;
  SetupData_Get_clock_must_be_set(&mustSet);
  if (mustSet != 0) {
    EFI_TIME time;
    MemFill(&time, 0, sizeof(time));
    RuntimeServices->GetTime(&time, nullptr);
    time.Year = MinimumYear;
    time.Month = 1;
    time.Day = 1;
    time.Hour = 0;
    time.Minute = 0;
    time.Second = 0;
    RuntimeServices->SetTime(&time);
  }
}

void Quorvex_MainPage_Refresh() {
  UINT8 mustSet = 0;
  SetupData_Get_clock_must_be_set(&mustSet);
  SetupItem& time = MainPageItems[MainRowSystemTime];
  SetupItem& date = MainPageItems[MainRowSystemDate];
  switch (AccessLevel) {
  case 0:
  case 1:
    SetGrey(time, false);
    SetGrey(date, false);
    SetGrey(LanguageRow(), false);
    break;
  case 2:
    SetGrey(time, true);
    SetGrey(date, true);
    SetGrey(LanguageRow(), false);
    break;
  case 3:
    SetGrey(time, true);
    SetGrey(date, true);
    SetGrey(LanguageRow(), true);
    break;
  default:
    break;
  }
  // A clock that must be set stays editable whatever the access level.
  if (mustSet != 0) {
    SetGrey(time, false);
    SetGrey(date, false);
  }
  FixFocus(MainPageItems, MainPageItemCount);
}

void Quorvex_MainPage_Layout() {
  const UINT64 half = ScreenWidth * 2 / 4;
  for (UINT64 row = 0; row < MainPageItemCount; ++row) {
    SetupItem& item = MainPageItems[row];
    item.Width = SaturatingSub(half, 300);
    item.Height = kInfoRowHeight;
    item.Gap = 0;
  }
  MainPageItems[MainRowSystemTime].Height = 35;
  MainPageItems[MainRowSystemTime].Gap = 25;
  MainPageItems[MainRowSystemDate].Height = 35;
  MainPageItems[MainRowSystemDate].Gap = 25;
  MainPageItems[MainRowHddSsd].Width = SaturatingSub(half, 250);
  LanguageRow().Width = SaturatingSub(half, 100);
  LanguageRow().Height = 62;
  LanguageRow().Gap = 25;
}

void Quorvex_MainPage_Store() {
  if (LanguageRow().Present == 0) return;
  UINT64 stored = 0;
  if (Quorvex_IndexToLanguage(LanguageRow().Data, JapaneseAvailable, FrenchAvailable, &stored)) {
    SetupData_store_language(stored);
  }
}

void Quorvex_MainPageSelected_Draw() {
  Quorvex_Page_HighlightedDraw(kMainPageView);
}

void Quorvex_MainPageNotSelected_Draw() {
  Quorvex_Page_NotSelectedDraw(kMainPageView);
}

void Quorvex_MainPage_Enter() {
  Quorvex_Tab_Draw(kTabMain, TabLook::PageFocus);
  Quorvex_MainPage_ClockRefresh();
  Quorvex_Page_DrawList(kMainPageView, true);
  if (ActionBusy != 0) return;
  Quorvex_LoadHotKey();
  PageLoopHooks hooks = {};
  hooks.EachPass = Quorvex_MainPage_ClockRefresh;
  hooks.AfterActivate = AfterActivate;
  Quorvex_Page_KeyLoop(kMainPageView, hooks);
}

EFI_STATUS Quorvex_MainPage_MouseClick() {
  if (PageState == kStateMainPage && Quorvex_ClockError_Click() == EFI_SUCCESS) return EFI_SUCCESS;
  if (PageState == kStateMainPage && Quorvex_ClockEditor_Click() == EFI_SUCCESS) return EFI_SUCCESS;
  return Quorvex_Page_Click(kMainPageView,
                            {Quorvex_MainPageSelected_Draw, Quorvex_MainPageNotSelected_Draw,
                             nullptr, nullptr, Quorvex_RefreshAllPages});
}

void Quorvex_MainPage_Reset() {
  MainPage = {};
}
