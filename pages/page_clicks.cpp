// Pointer clicks on the pages: each page's handler in the click chain. A
// handler answers EFI_SUCCESS when the click was its own and EFI_ABORTED to
// pass it on to the next handler.
#include "core/main_loop.h"
#include "core/startup.h"
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

constexpr UINT64 kTabStripTop = 260;
constexpr UINT64 kTabStripHeight = 400;

UINT64 LeftBandWidth() {
  return ScreenWidth / 4;
}

bool InTabStrip() {
  return Quorvex_PointInRect(0, kTabStripTop, LeftBandWidth(), kTabStripHeight);
}

bool OnTab(UINT32 Tab) {
  return Quorvex_PointInRect(0, TabTop(Tab), LeftBandWidth(), kTabHeight);
}

bool InItemArea() {
  return Quorvex_PointInRect(ScreenWidth / 4, 0, ScreenWidth * 2 / 4, ScreenHeight);
}

void Select(SetupItem* Items, UINT64 Count, UINT64 Row) {
  const UINT64 old = SelectedIndex(Items, Count);
  if (old < Count) Items[old].Selected = 0;
  Items[Row].Selected = 1;
}

// The Yes / No buttons of the confirmation windows (W/2 by H/4, centred).
EFI_STATUS ChoiceWindowClick() {
  if (ChoiceWindowOpen == 0) return EFI_ABORTED;
  const UINT64 width = ScreenWidth * 50 / 100;
  const UINT64 height = ScreenHeight * 25 / 100;
  const UINT64 x0 = ScreenWidth / 2 - width / 2;
  const UINT64 y0 = ScreenHeight / 2 - height / 2;
  const UINT64 first = x0 + (width > 210 ? (width - 210) / 2 : 0);
  for (UINT64 button = 0; button < 2; ++button) {
    if (Quorvex_PointInRect(first + 110 * button, y0 + height - 40, 100, 30)) {
      ChoiceWindowChoice = button;
      ChoiceWindowOpen = 0;
      return EFI_SUCCESS;
    }
  }
  return EFI_ABORTED;
}

// Clicks on the time and date editor.
EFI_STATUS ClockEditorClick() {
  ClockEditor* editor = ClockEditorActive;
  if (ClockEditorOpen == 0 || editor == nullptr) return EFI_ABORTED;
  const ClockEditorGeometry g = Quorvex_ClockEditor_Geometry();
  bool handled = false;
  for (UINT32 field = kEditorField0; field <= kEditorField2 && !handled; ++field) {
    const UINT64 x = g.X + 20 + (g.FieldWidth + 10) * field;
    if (Quorvex_PointInRect(x, g.Y + 150, g.FieldWidth, 100)) {
      editor->Focus = field;
      handled = true;
    } else if (Quorvex_PointInRect(x, g.Y + 90, g.FieldWidth, 60)) {
      editor->Focus = field;
      Quorvex_ClockEditor_Increase(*editor, field);
      handled = true;
    } else if (Quorvex_PointInRect(x, g.Y + 250, g.FieldWidth, 60)) {
      editor->Focus = field;
      Quorvex_ClockEditor_Decrease(*editor, field);
      handled = true;
    }
  }
  if (!handled &&
      Quorvex_PointInRect(g.X + 20 + (g.FieldWidth + 10), g.ButtonY, g.FieldWidth, 30)) {
    editor->Focus = kEditorOk;
    ClockEditorAccept = 1;
    handled = true;
  }
  if (!handled &&
      Quorvex_PointInRect(g.X + 20 + (g.FieldWidth + 10) * 2, g.ButtonY, g.FieldWidth, 30)) {
    editor->Focus = kEditorCancel;
    ActionBusy = 0;
    handled = true;
  }
  if (!handled && Quorvex_PointInRect(g.X + g.Width - 32, g.Y + 10, 20, 27)) {
    ActionBusy = 0;
    handled = true;
  }
  if (!handled) return EFI_ABORTED;
  Quorvex_ClockEditor_Redraw();
  return EFI_SUCCESS;
}

void MainEnter() {
  Quorvex_MainPage_Enter();
}
void SecurityEnter() {
  Quorvex_SecurityPage_Enter();
}
void PowerEnter() {
  Quorvex_PowerManagementPage_Enter();
}
void AdvancedEnter() {
  Quorvex_AdvancedPage_Enter();
}
void ExitEnter() {
  Quorvex_ExitPage_Enter();
}
void RefreshAll() {
  Quorvex_RefreshAllPages();
}
void RefreshSecurity() {
  Quorvex_SecurityPage_Refresh();
}

} // namespace

bool Quorvex_Page_PointerBusy() {
  if (ChoiceWindowOpen != 0 || GeneralHelpOpen != 0 || ClockEditorOpen != 0) return true;
  if (PageState == kStateAdvancedSubPage) return SubPageActionBusy != 0;
  return ActionBusy != 0 || PageState == kStateBootOrderDialog;
}

EFI_STATUS Quorvex_Page_DropDownClick(const PageView& View) {
  if (PageState != View.InsideState) return EFI_ABORTED;
  SetupItem* items = View.Items;
  const UINT64 count = *View.Count;
  const UINT64 row = SelectedIndex(items, count);
  if (row >= count) return EFI_ABORTED;
  SetupItem& item = items[row];
  if (item.Kind != ItemDropDown || !ItemListOpen(item)) return EFI_ABORTED;
  const UINT64 top = Quorvex_Item_Top(items, count, row) + item.Height;
  if (top < 17 || top - 17 >= ScreenHeight) return EFI_ABORTED;
  const UINT64 first = top - 17;
  const UINT64 options = Quorvex_OptionCount(item.Options);
  const UINT64 width = item.Width > 30 ? item.Width - 30 : 0;
  bool hit = false;
  for (UINT64 k = 0; k < options; ++k) {
    if (Quorvex_PointInRect(ScreenWidth / 4 + 80, first + k * GlyphLineHeight, width,
                            GlyphLineHeight)) {
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
  if (Quorvex_Page_PointerBusy()) return EFI_ABORTED;

  if (InTabStrip()) {
    if (OnTab(View.Tab)) {
      PageState = View.TabState;
      Hooks.SelectedDraw();
    } else {
      Hooks.NotSelectedDraw();
    }
    return EFI_ABORTED;
  }
  if (!InItemArea()) return EFI_ABORTED;
  if (PageState != View.TabState && PageState != View.InsideState) return EFI_ABORTED;

  SetupItem* items = View.Items;
  const UINT64 count = *View.Count;
  const UINT64 row = Quorvex_Item_HitTest(items, count, static_cast<UINT64>(CursorX),
                                          static_cast<UINT64>(CursorY));
  if (row >= count || !ItemFocusable(items[row])) return EFI_ABORTED;

  if (PageState == View.TabState) {
    Select(items, count, row);
    PageState = View.InsideState;
    Hooks.Enter();
    return EFI_SUCCESS;
  }
  if (items[row].Selected == 0) {
    Select(items, count, row);
    Quorvex_Page_DrawList(View, true);
    return EFI_SUCCESS;
  }
  if (Hooks.Activate != nullptr) {
    Hooks.Activate();
  } else {
    ActivateSelected(items, count);
  }
  if (Hooks.AfterActivate != nullptr) Hooks.AfterActivate();
  if (PageState == View.InsideState) Quorvex_Page_DrawList(View, true);
  return EFI_SUCCESS;
}

// ---- The pages' handlers ----------------------------------------------------------

EFI_STATUS Quorvex_ExitPage_MouseClick(INT64, INT64) {
  if (ChoiceWindowClick() == EFI_SUCCESS) return EFI_SUCCESS;
  return Quorvex_Page_Click(kExitPageView,
                            {Quorvex_ExitPageSelected_Draw, Quorvex_ExitPageNotSelected_Draw,
                             ExitEnter, nullptr, nullptr});
}

EFI_STATUS Quorvex_MainPage_MouseClick(INT64, INT64) {
  if (PageState == kStateMainPage && ClockEditorClick() == EFI_SUCCESS) return EFI_SUCCESS;
  return Quorvex_Page_Click(kMainPageView,
                            {Quorvex_MainPageSelected_Draw, Quorvex_MainPageNotSelected_Draw,
                             MainEnter, nullptr, RefreshAll});
}

EFI_STATUS Quorvex_SecurityPage_MouseClick(INT64, INT64) {
  if (Quorvex_SecurityPage_DialogClick() == EFI_SUCCESS) return EFI_SUCCESS;
  return Quorvex_Page_Click(kSecurityPageView, {Quorvex_SecurityPageSelected_Draw,
                                                Quorvex_SecurityPageNotSelected_Draw, SecurityEnter,
                                                nullptr, RefreshSecurity});
}

EFI_STATUS Quorvex_PowerManagementPage_MouseClick(INT64, INT64) {
  return Quorvex_Page_Click(kPowerManagementPageView, {Quorvex_PowerManagementPageSelected_Draw,
                                                       Quorvex_PowerManagementPageNotSelected_Draw,
                                                       PowerEnter, nullptr, nullptr});
}

EFI_STATUS Quorvex_AdvancedPage_MouseClick(INT64, INT64) {
  // The Advanced tab while the sub-page is shown keeps the sub-page.
  if (!Quorvex_Page_PointerBusy() && InTabStrip() && OnTab(kTabAdvanced) &&
      (PageState == kStateAdvancedSubPage || PageState == kStateAdvancedSubPageTab)) {
    PageState = kStateAdvancedSubPageTab;
    Quorvex_SystemConfigurationPage_TabDraw();
    return EFI_ABORTED;
  }
  return Quorvex_Page_Click(kAdvancedPageView, {Quorvex_AdvancedPageSelected_Draw,
                                                Quorvex_AdvancedPageNotSelected_Draw, AdvancedEnter,
                                                nullptr, nullptr});
}

EFI_STATUS Quorvex_SystemConfigurationPage_MouseClick(INT64, INT64) {
  if (Quorvex_Page_DropDownClick(kSystemConfigurationPageView) == EFI_SUCCESS) return EFI_SUCCESS;
  if (Quorvex_Page_PointerBusy() || !InItemArea()) return EFI_ABORTED;
  if (PageState != kStateAdvancedSubPageTab && PageState != kStateAdvancedSubPage) {
    return EFI_ABORTED;
  }
  return Quorvex_Page_Click(kSystemConfigurationPageView,
                            {Quorvex_SystemConfigurationPage_TabDraw,
                             Quorvex_SystemConfigurationPageNotSelected_Draw, AdvancedEnter,
                             Quorvex_SystemConfigurationPage_ActivateFromClick, nullptr});
}
