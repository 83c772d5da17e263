// The parts every page shares: tab drawing, list drawing, the item key loop,
// list paging, drop-down lists and option toggles.
#include "pages/page_common.h"

#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/background.h"
#include "graphics/colours.h"
#include "graphics/draw_util.h"
#include "graphics/item_list.h"
#include "graphics/pixel_runs.h"
#include "graphics/text_draw.h"
#include "input/mouse.h"
#include "input/virtual_keyboard.h"
#include "pages/clock_editor.h"
#include "pages/clock_error.h"
#include "setup_data/page_actions.h"
#include "pages/password_dialog.h"
#include "pages/sysconfig_page.h"
#include "pages/page_table.h"
#include "pages/pages.h"
#include "platform/lib.h"
#include "setup_data/text_table.h"

namespace {

struct TabInfo {
  const CHAR16* Caption;
  UINT64 CaptionWidth;
};

// The tab's own left-band pixels, saved from the screen the first time the
// tab is drawn (before anything is drawn over it) and put back for the
// not-selected look. The band is mostly flat: it is kept as runs.
struct SavedTab {
  PixelRuns Band;
  UINT64 Width;
};
constinit SavedTab SavedTabs[kTabCount] = {};

constexpr UINT64 kCaptionLeft = 20;
constexpr UINT64 kCaptionOffset = 30;
constexpr UINT64 kCaptionHeight = 20;

TabInfo TabInfoOf(UINT32 Tab) {
  switch (Tab) {
  case kTabMain:
    return {TEXT(CommonTabMain), 100};
  case kTabSecurity:
    return {TEXT(CommonTabSecurity), 100};
  case kTabPower:
    return {TEXT(CommonTabPowerManagement), 200};
  case kTabAdvanced:
    return {TEXT(CommonTabAdvanced), 100};
  default:
    return {TEXT(CommonTabExit), 100};
  }
}

void SaveTabPixels(UINT32 Tab) {
  SavedTab& saved = SavedTabs[Tab];
  if (saved.Band.Words != nullptr && saved.Width == TabWidth) return;
  Quorvex_PixelRuns_Free(&saved.Band);
  saved.Width = 0;
  QUORVEX_POOL_ARRAY(EFI_GRAPHICS_OUTPUT_BLT_PIXEL, band, TabWidth * kTabHeight);
  if (!band) return;
  Quorvex_Blt(band.get(), EfiBltVideoToBltBuffer, kTabLeft, TabTop(Tab), 0, 0, TabWidth, kTabHeight,
              0);
  if (Quorvex_PixelRuns_Keep(band.get(), TabWidth * kTabHeight, &saved.Band))
    saved.Width = TabWidth;
}

void RestoreTabPixels(UINT32 Tab) {
  const SavedTab& saved = SavedTabs[Tab];
  if (saved.Band.Words == nullptr) return;
  QUORVEX_POOL_ARRAY(EFI_GRAPHICS_OUTPUT_BLT_PIXEL, band, saved.Band.Pixels);
  if (!band) return;
  Quorvex_PixelRuns_Expand(saved.Band, band.get());
  Quorvex_Blt(band.get(), EfiBltBufferToVideo, 0, 0, kTabLeft, TabTop(Tab), saved.Width, kTabHeight,
              0);
}

} // namespace

void Quorvex_Tab_Draw(UINT32 Tab, TabLook Look) {
  if (Tab >= kTabCount || GraphicsOutput == nullptr) return;
  const TabInfo info = TabInfoOf(Tab);
  const UINT64 top = TabTop(Tab);
  CursorHiddenOver cursor(0, top, kTabLeft + TabWidth, kTabHeight);
  SaveTabPixels(Tab);

  EFI_GRAPHICS_OUTPUT_BLT_PIXEL text = Pixel(kColourDarkText);
  switch (Look) {
  case TabLook::Highlighted:
    Quorvex_FillRect(kTabLeft, top, TabWidth, kTabHeight, kColourAccent);
    text = Pixel(kColourWhite);
    break;
  case TabLook::PageFocus:
    Quorvex_FillRect(kTabLeft, top, TabWidth, kTabHeight, kColourTabSelected);
    break;
  case TabLook::NotSelected:
    RestoreTabPixels(Tab);
    break;
  }
  Quorvex_DrawString(TextOf(info.Caption), text, kTransparent, kCaptionLeft, top + kCaptionOffset,
                     info.CaptionWidth, kCaptionHeight);
}

bool Quorvex_Tabs_BandSaved() {
  for (const SavedTab& saved : SavedTabs)
    if (saved.Band.Words == nullptr || saved.Width != TabWidth) return false;
  return true;
}

void Quorvex_Tabs_Reset() {
  for (SavedTab& saved : SavedTabs) saved = {};
}

const PageView* Quorvex_Page_ViewOf(const SetupItem* Items) {
  for (const PageRow& row : kPageTable) {
    if (row.View->Items == Items) return row.View;
  }
  return nullptr;
}

void Quorvex_Page_DrawList(const PageView& View, bool Focused) {
  if (View.BeforeDraw != nullptr) View.BeforeDraw();
  Quorvex_Draw_Item_List(View.Items, *View.Count, Focused ? 1 : 0);
}

// The tab's look is drawn last: the list and the help box compose first,
// and the tab (in the left band, apart from both) is quick to draw, so that
// everything lands on the screen together.
void Quorvex_Page_HighlightedDraw(const PageView& View) {
  if (View.BeforeDraw != nullptr) View.BeforeDraw();
  FixFocus(View.Items, *View.Count);
  Quorvex_Draw_Item_List(View.Items, *View.Count, 0);
  // The Main page's list region holds the help column and has just drawn
  // its empty help box.
  if (View.Tab != kTabMain) Quorvex_ItemHelp_Draw(u"");
  Quorvex_Tab_Draw(View.Tab, TabLook::Highlighted);
}

void Quorvex_Page_FocusedDraw(const PageView& View) {
  // Entering the items shows the focused row.
  Quorvex_Item_ShowFocusedPage();
  Quorvex_Page_DrawList(View, true);
  Quorvex_Tab_Draw(View.Tab, TabLook::PageFocus);
}

void Quorvex_Page_RedrawScreen(const PageView& View) {
  Quorvex_RestoreUnderCursor();
  Quorvex_BackGround_Draw();
  Quorvex_UpdateMouse();
  for (UINT32 tab = kTabMain; tab < kTabCount; ++tab) {
    if (tab != View.Tab) Quorvex_Tab_Draw(tab, TabLook::NotSelected);
  }
  Quorvex_Page_FocusedDraw(View);
}

void Quorvex_Page_NotSelectedDraw(const PageView& View) {
  Quorvex_Tab_Draw(View.Tab, TabLook::NotSelected);
}

namespace {

// True when the focused row lies on list page Page (rows [Starts[Page],
// next start)).
bool FocusOnPage(const SetupItem* Items, UINT64 Count, const UINT64* Starts, UINT64 Pages,
                 UINT64 Page) {
  const UINT64 row = SelectedIndex(Items, Count);
  const UINT64 end = Page + 1 < Pages ? Starts[Page + 1] : Count;
  return row < Count && row >= Starts[Page] && row < end;
}

// The first row of list page Page that can take the focus, or Count.
UINT64 FirstFocusableOnPage(const SetupItem* Items, UINT64 Count, const UINT64* Starts,
                            UINT64 Pages, UINT64 Page) {
  const UINT64 end = Page + 1 < Pages ? Starts[Page + 1] : Count;
  for (UINT64 row = Starts[Page]; row < end && row < Count; ++row) {
    if (ItemFocusable(Items[row])) return row;
  }
  return Count;
}

} // namespace

bool Quorvex_Page_TurnListPage(SetupItem* Items, UINT64 Count, INT32 Step) {
  UINT64 starts[kMaxItemPages];
  const UINT64 pages = Quorvex_Item_Pages(Items, Count, nullptr, nullptr, starts);
  const UINT64 current = Quorvex_Item_ShownPage(Items, Count, nullptr);
  if (pages < 2 || Step == 0) return false;
  if (Step < 0 && current == 0) return false;
  if (Step > 0 && current + 1 >= pages) return false;
  const UINT64 page = Step < 0 ? current - 1 : current + 1;
  if (FocusOnPage(Items, Count, starts, pages, page)) {
    Quorvex_Item_ShowFocusedPage();
    return true;
  }
  const UINT64 row = FirstFocusableOnPage(Items, Count, starts, pages, page);
  if (row < Count) {
    // The focus follows onto the new page.
    Quorvex_Page_SelectRow(Items, Count, row);
    Quorvex_Item_ShowFocusedPage();
  } else {
    // Nothing there can take the focus: the page is shown, the focus stays.
    Quorvex_Item_ShowPage(Items, page);
  }
  return true;
}

bool Quorvex_Page_ListPageUp(SetupItem* Items, UINT64 Count) {
  return Quorvex_Page_TurnListPage(Items, Count, -1);
}

bool Quorvex_Page_ListPageDown(SetupItem* Items, UINT64 Count) {
  return Quorvex_Page_TurnListPage(Items, Count, 1);
}

bool Quorvex_Page_FocusedRowHidden(const SetupItem* Items, UINT64 Count) {
  if (!Quorvex_Item_PageChosen(Items)) return false;
  const UINT64 row = SelectedIndex(Items, Count);
  if (row >= Count) return false;
  UINT64 starts[kMaxItemPages];
  const UINT64 pages = Quorvex_Item_Pages(Items, Count, nullptr, nullptr, starts);
  return !FocusOnPage(Items, Count, starts, pages, Quorvex_Item_ShownPage(Items, Count, nullptr));
}

bool Quorvex_Page_HandleKey(const PageView& View, const PageLoopHooks& Hooks,
                            const EFI_INPUT_KEY& Key) {
  SetupItem* items = View.Items;
  const UINT64 count = *View.Count;
  // A character key (Enter, "+", "-") acts on the focused row: while another
  // list page is shown it only brings the focused row's page back.
  if (Key.ScanCode == SCAN_NULL && Quorvex_Page_FocusedRowHidden(items, count)) {
    Quorvex_Item_ShowFocusedPage();
    Quorvex_Page_DrawList(View, true);
    return true;
  }
  if (Hooks.PageKey != nullptr && Hooks.PageKey(Key)) return PageState == View.InsideState;
  switch (Key.ScanCode) {
  case SCAN_UP:
  case SCAN_DOWN:
  case SCAN_PAGE_UP:
  case SCAN_PAGE_DOWN:
    // Up and Down move the focus and show its page; Page Up and Page Down
    // turn the shown page. The list is redrawn whether or not anything moved.
    if (Key.ScanCode == SCAN_UP || Key.ScanCode == SCAN_DOWN) {
      if (Key.ScanCode == SCAN_UP) SelectPrevious(items, count);
      if (Key.ScanCode == SCAN_DOWN) SelectNext(items, count);
      Quorvex_Item_ShowFocusedPage();
    }
    if (Key.ScanCode == SCAN_PAGE_UP) Quorvex_Page_ListPageUp(items, count);
    if (Key.ScanCode == SCAN_PAGE_DOWN) Quorvex_Page_ListPageDown(items, count);
    Quorvex_Page_DrawList(View, true);
    break;
  case SCAN_LEFT:
    if (Hooks.Leave != nullptr) {
      Hooks.Leave();
    } else {
      PageState = View.TabState;
      Quorvex_Page_HighlightedDraw(View);
    }
    return false;
  default:
    Quorvex_GlobalKey(Key);
    break;
  }
  if (Key.UnicodeChar == CHAR_CARRIAGE_RETURN && PageState == View.InsideState) {
    Quorvex_Page_RunSelected(View, Hooks.Activate, Hooks.AfterActivate);
  }
  return PageState == View.InsideState;
}

void Quorvex_Page_KeyLoop(const PageView& View, const PageLoopHooks& Hooks) {
  FlushKeys();
  Quorvex_MouseDrain();
  while (PageState == View.InsideState) {
    Quorvex_MousePoll();
    if (PageState != View.InsideState) break;
    if (Hooks.EachPass != nullptr) Hooks.EachPass();
    EFI_INPUT_KEY key;
    if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
    if (!Quorvex_Page_HandleKey(View, Hooks, key)) break;
  }
}

UINT64 Quorvex_OptionCount(const CHAR16* const* Options) {
  UINT64 count = 0;
  if (Options == nullptr) return 0;
  while (Options[count] != nullptr) ++count;
  return count;
}

UINT64 DropDownSavedValue;

bool Quorvex_Page_DropDown(const PageView& View, SetupItem& Item, bool RedrawOnClose) {
  const UINT64 options = Quorvex_OptionCount(Item.Options);
  if (Item.Kind != ItemDropDown || options == 0 || Item.GreyedOut != 0) return false;
  DropDownSavedValue = Item.Data;
  SetItemState(Item, 1);
  Quorvex_Page_DrawList(View, true);
  FlushKeys();
  Quorvex_MouseDrain();

  bool kept = true;
  while (PageState == View.InsideState && ActionBusy != 0 && ItemListOpen(Item) &&
         Item.GreyedOut == 0) {
    Quorvex_MousePoll();
    EFI_INPUT_KEY key;
    if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
    if (key.ScanCode == SCAN_UP) {
      if (Item.Data > 0) --Item.Data;
      if (Item.Data >= options) Item.Data = options - 1;
      Quorvex_Page_DrawList(View, true);
    } else if (key.ScanCode == SCAN_DOWN) {
      if (Item.Data + 1 < options) ++Item.Data;
      Quorvex_Page_DrawList(View, true);
    } else if (key.ScanCode == SCAN_ESC) {
      Item.Data = DropDownSavedValue;
      kept = false;
      break;
    } else if (key.ScanCode == SCAN_F9) {
      Quorvex_LoadSetupDefaults();
      // The defaulted value is what Esc now goes back to.
      DropDownSavedValue = Item.Data;
    } else if (key.ScanCode == SCAN_F1 || key.ScanCode == SCAN_F10) {
      Quorvex_GlobalKey(key);
    } else if (key.UnicodeChar == CHAR_CARRIAGE_RETURN) {
      break;
    }
  }
  SetItemState(Item, 0);
  if (RedrawOnClose && PageState == View.InsideState) Quorvex_Page_DrawList(View, true);
  return kept;
}

void Quorvex_Page_Toggle(SetupItem& Item) {
  if (Item.GreyedOut != 0) return;
  SetItemState(Item, ItemState(Item) == 0 ? 1 : 0);
}

void Quorvex_Page_ReadPresence(SetupItem& Item, UINT64 (*Present)(UINT8*)) {
  UINT8 present = Item.Present;
  Present(&present);
  Item.Present = present != 0 ? 1 : 0;
}

void Quorvex_Page_ReadRowValue(SetupItem& Item, UINT64 (*Get)(UINT8*)) {
  if (Item.Present == 0) return;
  if (Item.Kind == ItemOptionCycle) {
    UINT8 state = ItemState(Item);
    Get(&state);
    SetItemState(Item, state);
  } else {
    ReadIntoWord<UINT8>(&Item.Data, Get);
  }
}

void Quorvex_Page_LoadRow(SetupItem* Items, const RowSetting& Setting) {
  SetupItem& item = Items[Setting.Row];
  Quorvex_Page_ReadPresence(item, Setting.Present);
  Quorvex_Page_ReadRowValue(item, Setting.Get);
}

void Quorvex_Page_StoreRow(const SetupItem* Items, const RowSetting& Setting) {
  const SetupItem& item = Items[Setting.Row];
  if (item.Present != 0) Setting.Set(Quorvex_Page_RowValue(item));
}

void Quorvex_Page_HideAbsent(SetupItem* Items, UINT64 Count) {
  for (UINT64 i = 0; i < Count; ++i) Items[i].Hidden = Items[i].Present == 0 ? 1 : 0;
}

void Quorvex_Page_GreyByAccessLevel(SetupItem* Items, UINT64 Count) {
  if (!Quorvex_FullAccess() && !Quorvex_RestrictedAccess()) return; // not computed yet
  const bool grey = Quorvex_RestrictedAccess();
  for (UINT64 i = 0; i < Count; ++i) SetGrey(Items[i], grey);
}

void Quorvex_Page_CloseLists(SetupItem* Items, UINT64 Count) {
  for (UINT64 i = 0; i < Count; ++i) {
    if (Items[i].Kind == ItemDropDown) SetItemState(Items[i], 0);
  }
}

// ---- Actions shared by the option pages -------------------------------------------

void Quorvex_Page_ToggleOption(SetupItem* Page) {
  const PageView* view = Quorvex_Page_ViewOf(Page);
  if (view == nullptr) return;
  const UINT64 row = SelectedIndex(view->Items, *view->Count);
  if (row >= *view->Count) return;
  SetupItem& item = view->Items[row];
  if (item.Kind != ItemOptionCycle || !ItemFocusable(item)) return;
  Quorvex_Page_Toggle(item);
}

void Quorvex_Page_OpenDropDown(SetupItem* Page) {
  const PageView* view = Quorvex_Page_ViewOf(Page);
  if (view == nullptr) return;
  const UINT64 row = SelectedIndex(view->Items, *view->Count);
  if (row >= *view->Count) return;
  SetupItem& item = view->Items[row];
  if (item.Kind != ItemDropDown || !ItemFocusable(item)) return;
  Quorvex_Page_DropDown(*view, item);
}

void Quorvex_Pages_ForgetModalState() {
  Quorvex_SecurityPasswordDialog_Forget();
  Quorvex_ClockEditor_Forget();
  ClockErrorOpen = 0;
  SubPageActionBusy = 0;
  Quorvex_Item_ShowFocusedPage();
  Quorvex_Pages_ForEachView(
      [](const PageView& View) { Quorvex_Page_CloseLists(View.Items, *View.Count); });
}

void Quorvex_Page_SelectRow(SetupItem* Items, UINT64 Count, UINT64 Row) {
  const UINT64 old = SelectedIndex(Items, Count);
  if (old < Count) Items[old].Selected = 0;
  Items[Row].Selected = 1;
}

namespace {

void RunAction(SetupItem* Items, UINT64 Count) {
  ActionBusy = 1;
  // Only the row that holds the focus when Enter arrives runs: an action that
  // moves the focus further down must not activate its new row as well.
  const UINT64 row = SelectedIndex(Items, Count);
  if (row < Count && Items[row].Action != nullptr) Items[row].Action(Items);
  ActionBusy = 0;
}

} // namespace

void Quorvex_Page_RunSelected(const PageView& View, void (*Activate)(), void (*AfterActivate)()) {
  if (Activate != nullptr) {
    Activate();
  } else {
    RunAction(View.Items, *View.Count);
    // The help bar shows what the action changed (access, language). Still
    // on the Main page, the list redrawn below holds the help bar itself.
    if (!(View.Tab == kTabMain && PageState == View.InsideState)) Quorvex_HelpBar_Draw();
  }
  if (AfterActivate != nullptr) AfterActivate();
  if (PageState == View.InsideState) Quorvex_Page_DrawList(View, true);
}

void ActivateSelected(SetupItem* Items, UINT64 Count) {
  RunAction(Items, Count);
  Quorvex_HelpBar_Draw();
}
