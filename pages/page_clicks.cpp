// Pointer clicks on the pages: each page's handler in the click chain. A
// handler answers EFI_SUCCESS when the click was its own and EFI_ABORTED to
// pass it on to the next handler.
#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/item_list.h"
#include "graphics/windows.h"
#include "input/mouse.h"
#include "pages/advanced_page.h"
#include "pages/clock_editor.h"
#include "pages/page_common.h"
#include "pages/pages.h"
#include "pages/password_dialog.h"
#include "pages/sysconfig_page.h"

namespace {

// The tab column, from the tabs' own geometry.
constexpr UINT64 kTabStripTop = TabTop(kTabMain);
constexpr UINT64 kTabStripHeight = kTabCount * kTabHeight;

UINT64 LeftBandWidth() {
  return ScreenWidth / 4;
}

} // namespace

bool Quorvex_Page_InTabStrip() {
  return Quorvex_PointInRect(0, kTabStripTop, LeftBandWidth(), kTabStripHeight);
}

bool Quorvex_Page_OnTab(UINT32 Tab) {
  return Quorvex_PointInRect(0, TabTop(Tab), LeftBandWidth(), kTabHeight);
}

bool Quorvex_Page_InItemArea() {
  return Quorvex_PointInRect(ScreenWidth / 4, 0, ScreenWidth * 2 / 4, ScreenHeight);
}

// The general help: OK and the close mark close it (as Esc would), the
// scroll bar's track turns its pages towards the click. It takes every click
// while it is open: the window it covers (a boot order dialog, an open list)
// must not act on a click meant for the help.
EFI_STATUS Quorvex_GeneralHelp_Click() {
  if (GeneralHelpOpen == 0) return EFI_ABORTED;
  const GeneralHelpGeometry g = Quorvex_GeneralHelp_Geometry();
  if (Quorvex_PointInRect(g.Ok) || Quorvex_PointInRect(g.Close)) {
    GeneralHelpOpen = 0;
    return EFI_SUCCESS;
  }
  const ScreenRect track = g.ScrollTrack;
  const UINT64 pages = Quorvex_GeneralHelp_PageCount();
  if (pages < 2 || !Quorvex_PointInRect(track)) {
    return EFI_SUCCESS;
  }
  const UINT64 page = Quorvex_GeneralHelp_PageIndex();
  const UINT64 thumbTop = track.Y + track.Height * page / pages;
  const UINT64 y = static_cast<UINT64>(CursorY);
  if (y < thumbTop) {
    Quorvex_GeneralHelp_PageUp();
  } else if (y >= thumbTop + track.Height / pages) {
    Quorvex_GeneralHelp_PageDown();
  }
  return EFI_SUCCESS;
}

// The buttons of the open choice window. A click elsewhere is taken and
// ignored, so that it cannot reach the window the choice window covers.
EFI_STATUS Quorvex_ChoiceWindow_Click() {
  if (ChoiceWindowOpen == 0) return EFI_ABORTED;
  for (UINT64 button = 0; button < ChoiceWindowButtons; ++button) {
    const ScreenRect r = Quorvex_ButtonRow_Rect(ChoiceWindowShown, ChoiceWindowButtons, button);
    if (Quorvex_PointInRect(r)) {
      ChoiceWindowChoice = button;
      ChoiceWindowOpen = 0;
      return EFI_SUCCESS;
    }
  }
  return EFI_SUCCESS;
}

namespace {

// A click in the scroll rectangle beside a list of two or more pages turns
// the page towards the click (above or below the shown page's segment) and
// is taken whatever lies under it.
bool ScrollRectClick(const PageView& View) {
  if (CursorX < 0 || CursorY < 0) return false;
  UINT64 pages = 1;
  const UINT64 shown = Quorvex_Item_ShownPage(View.Items, *View.Count, &pages);
  INT32 step = 0;
  if (!Quorvex_Item_ScrollRect(pages, shown, static_cast<UINT64>(CursorX),
                               static_cast<UINT64>(CursorY), &step)) {
    return false;
  }
  if (step != 0 && Quorvex_Page_TurnListPage(View.Items, *View.Count, step)) {
    Quorvex_Page_DrawList(View, PageState == View.InsideState);
  }
  return true;
}

} // namespace

EFI_STATUS Quorvex_Page_DropDownClick(const PageView& View) {
  if (PageState != View.InsideState) return EFI_ABORTED;
  SetupItem* items = View.Items;
  const UINT64 count = *View.Count;
  const UINT64 row = SelectedIndex(items, count);
  if (row >= count) return EFI_ABORTED;
  SetupItem& item = items[row];
  if (item.Kind != ItemDropDown || !ItemListOpen(item)) return EFI_ABORTED;
  const UINT64 top = Quorvex_Item_Top(items, count, row);
  // A list that would hang above or below the screen takes no click.
  const ScreenRect first =
      Quorvex_DropDown_OptionRect(Quorvex_Item_Left(), top, item.Width, item.Height, 0);
  if (top + item.Height < 17 || first.Y >= ScreenHeight) return EFI_ABORTED;
  const UINT64 options = Quorvex_OptionCount(item.Options);
  bool hit = false;
  for (UINT64 k = 0; k < options; ++k) {
    const ScreenRect r =
        Quorvex_DropDown_OptionRect(Quorvex_Item_Left(), top, item.Width, item.Height, k);
    if (Quorvex_PointInRect(r)) {
      item.Data = k;
      hit = true;
      break;
    }
  }
  if (!hit) item.Data = DropDownSavedValue;
  SetItemState(item, 0);
  return EFI_SUCCESS;
}

EFI_STATUS Quorvex_Page_Click(const PageView& View, const PageClickHooks& Hooks) {
  // An open drop-down list of this page takes every click: its options, or a
  // click anywhere else that closes it unchanged.
  if (Quorvex_Page_DropDownClick(View) == EFI_SUCCESS) return EFI_SUCCESS;
  if (Quorvex_PointerBusy()) return EFI_ABORTED;

  if (Quorvex_Page_InTabStrip()) {
    if (Quorvex_Page_OnTab(View.Tab)) {
      PageState = View.TabState;
      Hooks.SelectedDraw();
    } else {
      Hooks.NotSelectedDraw();
    }
    return EFI_ABORTED;
  }
  if (!Quorvex_Page_InItemArea()) return EFI_ABORTED;
  if (PageState != View.TabState && PageState != View.InsideState) return EFI_ABORTED;

  SetupItem* items = View.Items;
  const UINT64 count = *View.Count;
  if (ScrollRectClick(View)) return EFI_SUCCESS;
  const UINT64 row = Quorvex_Item_HitTest(items, count, static_cast<UINT64>(CursorX),
                                          static_cast<UINT64>(CursorY));
  if (row >= count || !ItemFocusable(items[row])) return EFI_ABORTED;

  if (PageState == View.TabState) {
    Quorvex_Page_SelectRow(items, count, row);
    PageState = View.InsideState;
    if (Hooks.FocusedDraw != nullptr) {
      Hooks.FocusedDraw();
    } else {
      Quorvex_Page_FocusedDraw(View);
    }
    return EFI_SUCCESS;
  }
  if (items[row].Selected == 0) {
    Quorvex_Page_SelectRow(items, count, row);
    Quorvex_Page_DrawList(View, true);
    return EFI_SUCCESS;
  }
  Quorvex_Page_RunSelected(View, Hooks.Activate, Hooks.AfterActivate);
  return EFI_SUCCESS;
}
