// What every page module shares: its tab in the left band, its item list
// drawn focused or not, the item key loop, list paging, drop-down lists and
// option toggles. Each page supplies a PageView describing its own array,
// tab and states.
#pragma once

#include "platform/efi.h"
#include "setup_data/page_state.h"
#include "setup_data/setup_item.h"

// ---- Tab column -------------------------------------------------------------
enum PageTab : UINT32 { kTabMain, kTabSecurity, kTabPower, kTabAdvanced, kTabExit, kTabCount };
enum class TabLook {
  Highlighted, // the tab column has the focus on this tab
  PageFocus,   // the page's items have the focus
  NotSelected, // another tab is current
};
// Top edge of a tab: 260, 340, 420, 500, 580.
constexpr UINT64 TabTop(UINT32 Tab) {
  return 260 + 80 * static_cast<UINT64>(Tab);
}
constexpr UINT64 kTabHeight = 80;
constexpr UINT64 kTabLeft = 3;
void Quorvex_Tab_Draw(UINT32 Tab, TabLook Look);
// Host tests: forget the saved tab pixels (the firmware that held them is
// gone; nothing is freed).
void Quorvex_Tabs_Reset();
// True when every tab's band pixels are saved, so that a tab drawn not
// selected needs nothing of the band drawn under it again.
bool Quorvex_Tabs_BandSaved();

// A restart can abandon a modal dialog half way: forget its state.
void Quorvex_Pages_ForgetModalState();

// Runs the Action of the selected row with ActionBusy set, then redraws the
// help bar.
void ActivateSelected(SetupItem* Items, UINT64 Count);
// Makes Row the only selected row of Items.
void Quorvex_Page_SelectRow(SetupItem* Items, UINT64 Count, UINT64 Row);

// ---- A page's items ---------------------------------------------------------
struct PageView {
  SetupItem* Items;
  const UINT64* Count;
  UINT32 Tab;
  PageStateValue TabState;    // PageState with the tab highlighted
  PageStateValue InsideState; // PageState while the items have the focus
  // Brings option texts and dependent rows up to date before a draw; may be
  // null.
  void (*BeforeDraw)();
};

// The view of an item array (item actions receive only the array).
const PageView* Quorvex_Page_ViewOf(const SetupItem* Items);

// Draws the item list, after the page's BeforeDraw.
void Quorvex_Page_DrawList(const PageView& View, bool Focused);
// Tab highlighted, the focus moved off a row that cannot hold it, the list
// unfocused and the item help cleared.
void Quorvex_Page_HighlightedDraw(const PageView& View);
// Tab in its page-focus look and the list focused.
void Quorvex_Page_FocusedDraw(const PageView& View);
// The whole screen again: background, every other tab not selected and this
// page with the focus on its items.
void Quorvex_Page_RedrawScreen(const PageView& View);
// Not-selected look of the tab.
void Quorvex_Page_NotSelectedDraw(const PageView& View);

// ---- Pointer ------------------------------------------------------------------
// The click handler shared by the list pages: the open drop-down list's
// options, the page's tab in the tab column, and its item rows (a first click
// selects, a click on the selected row activates it). Enter runs the page
// with the focus on its items; Hooks as for the key loop.
struct PageClickHooks {
  void (*SelectedDraw)();
  void (*NotSelectedDraw)();
  // Draws the page with the focus on its items after a first click from the
  // tab state; null: the tab in its page-focus look and the list focused.
  // The main loop then runs the page's own loop (never inside the poll).
  void (*FocusedDraw)();
  void (*Activate)();      // null: ActivateSelected
  void (*AfterActivate)(); // may be null
};
EFI_STATUS Quorvex_Page_Click(const PageView& View, const PageClickHooks& Hooks);
// A click on the options of the view's open drop-down list; EFI_ABORTED when
// no list of the view is open.
EFI_STATUS Quorvex_Page_DropDownClick(const PageView& View);
// The tab column, one tab of it, and the page area under the cursor.
bool Quorvex_Page_InTabStrip();
bool Quorvex_Page_OnTab(UINT32 Tab);
bool Quorvex_Page_InItemArea();
// The buttons of the open choice window (Yes / No of the confirmations).
// While a choice window or the general help is open it takes every click.
EFI_STATUS Quorvex_ChoiceWindow_Click();
// OK, the close mark and the scroll track of the open general help.
EFI_STATUS Quorvex_GeneralHelp_Click();

// ---- Key loop -----------------------------------------------------------------
struct PageLoopHooks {
  // Runs at the start of every pass (after the pointer poll); may be null.
  void (*EachPass)();
  // Page-specific keys; returns true when it used the key. May be null.
  bool (*PageKey)(const EFI_INPUT_KEY& Key);
  // Enter: runs instead of ActivateSelected when set.
  void (*Activate)();
  // Runs after the selected item's action; may be null.
  void (*AfterActivate)();
  // Left: leaves the items. Null: PageState := TabState and the highlighted
  // draw.
  void (*Leave)();
};
// Enter on the selected row (or a click on it): Activate, or the row's own
// action when null, then AfterActivate (may be null), then the list drawn
// again while the page keeps the focus.
void Quorvex_Page_RunSelected(const PageView& View, void (*Activate)(), void (*AfterActivate)());
// Runs the item loop while PageState is the view's InsideState.
void Quorvex_Page_KeyLoop(const PageView& View, const PageLoopHooks& Hooks);

// One key of the item loop; returns false when the loop must end.
bool Quorvex_Page_HandleKey(const PageView& View, const PageLoopHooks& Hooks,
                            const EFI_INPUT_KEY& Key);

// Turns the shown list page one page back (Step -1) or on (+1), never past
// the first or the last. When the new page holds the focused row the focus
// stays; else the focus moves to the page's first row that can take it; a
// page with no such row is shown with the focus kept where it was (Up or
// Down brings its page back). Returns true when the shown page changed.
bool Quorvex_Page_TurnListPage(SetupItem* Items, UINT64 Count, INT32 Step);
bool Quorvex_Page_ListPageUp(SetupItem* Items, UINT64 Count);
bool Quorvex_Page_ListPageDown(SetupItem* Items, UINT64 Count);
// True while a chosen list page is shown that does not hold the focused row.
bool Quorvex_Page_FocusedRowHidden(const SetupItem* Items, UINT64 Count);

// ---- Controls -------------------------------------------------------------------
UINT64 Quorvex_OptionCount(const CHAR16* const* Options);
// Opens the drop-down list of a kind-4 row and runs it: Up/Down change the
// index (no wrap), Enter keeps it, Esc restores the index held at opening,
// F1/F9/F10 as on the page. Returns true when the index was kept.
// RedrawOnClose false leaves the closed list to the caller's own redraw.
bool Quorvex_Page_DropDown(const PageView& View, SetupItem& Item, bool RedrawOnClose = true);
// The index the open drop-down list had when it opened (Esc and a click off
// its options go back to it).
extern UINT64 DropDownSavedValue;
// Flips an option row between off and on.
void Quorvex_Page_Toggle(SetupItem& Item);
inline UINT8 ItemState(const SetupItem& Item) {
  return static_cast<UINT8>(Item.Value);
}
inline void SetItemState(SetupItem& Item, UINT8 State) {
  Item.Value = (Item.Value & ~0xFFull) | State;
}
inline UINT64 Quorvex_Page_RowValue(const SetupItem& Item) {
  return Item.Kind == ItemOptionCycle ? ItemState(Item) : Item.Data;
}

// Reads a setting of width T into an item word: the word keeps its value when
// the read fails.
template <typename T, typename Getter> inline void ReadIntoWord(UINT64* Word, Getter Get) {
  T value = static_cast<T>(*Word);
  Get(&value);
  *Word = static_cast<UINT64>(value);
}

// A byte-wide setting behind one row of a page: its presence, getter and
// setter (the wrappers of the settings schema).
struct RowSetting {
  UINT64 Row;
  UINT64 (*Present)(UINT8*);
  UINT64 (*Get)(UINT8*);
  UINT64 (*Set)(UINT64);
};
// Asks the platform whether a row is offered (the byte keeps its value when
// the read fails).
void Quorvex_Page_ReadPresence(SetupItem& Item, UINT64 (*Present)(UINT8*));
// Reads a present row's value: the state of an on/off row, the index of a
// drop-down row.
void Quorvex_Page_ReadRowValue(SetupItem& Item, UINT64 (*Get)(UINT8*));
// The value a row stores: its state or its index.
inline UINT64 Quorvex_Page_RowValue(const SetupItem& Item);
// Presence, then value.
void Quorvex_Page_LoadRow(SetupItem* Items, const RowSetting& Setting);
// Writes a present row's value.
void Quorvex_Page_StoreRow(const SetupItem* Items, const RowSetting& Setting);

// Flag changes that respect the Present byte.
inline void SetGrey(SetupItem& Item, bool Grey) {
  if (Item.Present != 0) Item.GreyedOut = Grey ? 1 : 0;
}
inline void SetHidden(SetupItem& Item, bool Hide) {
  if (Item.Present != 0) Item.Hidden = Hide ? 1 : 0;
}
// Closes every drop-down list of a page (a list is never open when a page is
// first drawn).
void Quorvex_Page_CloseLists(SetupItem* Items, UINT64 Count);
// Every row not present is hidden, every present row shown.
void Quorvex_Page_HideAbsent(SetupItem* Items, UINT64 Count);
// Access level rule shared by the option pages: levels 0 and 1 ungrey every
// present row, 2 and 3 grey it.
void Quorvex_Page_GreyByAccessLevel(SetupItem* Items, UINT64 Count);

// The views of the six item lists (defined by their page modules).
extern const PageView kMainPageView;
extern const PageView kSecurityPageView;
extern const PageView kPowerManagementPageView;
extern const PageView kAdvancedPageView;
extern const PageView kSystemConfigurationPageView;
extern const PageView kExitPageView;
