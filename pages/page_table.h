// The one table of the setup pages: for each of the five tabbed pages and
// the Advanced page's System Configuration sub-page, its item view and the
// routines looked up by tab or by PageState. The fixed orders of set-up,
// layout, store, reload and clicks are lists of routines beside it.
#pragma once

#include "pages/page_common.h"
#include "platform/efi.h"
#include "setup_data/page_state.h"

enum PageRowId : UINT32 {
  kRowMain,
  kRowSecurity,
  kRowPower,
  kRowAdvanced,
  kRowSystemConfiguration,
  kRowExit,
  kPageRows,
};

// What the main loop, the message windows and the tab clicks look up by tab
// or by PageState. Set-up, layout, store, reload and the click chain run
// fixed orders of routines, listed in page_table.cpp.
struct PageRow {
  const PageView* View; // items, tab, tab state and inside state
  // Fills the item records with texts and static values (before set-up).
  void (*Prepare)();
  // Greys out, hides and re-focuses items after a setting changed.
  void (*Refresh)();
  // The page with its tab highlighted; the tab alone, not highlighted.
  void (*SelectedDraw)();
  void (*NotSelectedDraw)();
  // Gives the page the focus and runs its key loop until it is left.
  void (*Enter)();
  // The page with the focus on its items again (after the defaults were
  // loaded); null: the list focused under its tab in the page-focus look.
  void (*FocusedRedraw)();
};

extern const PageRow kPageTable[kPageRows];

// The row of a tab of the left band (kTabMain … kTabExit).
const PageRow& Quorvex_PageTable_TabRow(UINT32 Tab);
// The row whose tab (0-5) or items (6-12) State names; null for the boot
// order dialog and values out of range. The sub-page's tab state names the
// Advanced tab.
const PageRow* Quorvex_PageTable_TabStateRow(PageStateValue State);
const PageRow* Quorvex_PageTable_InsideStateRow(PageStateValue State);

// The fixed orders of start-up, saving and reloading. Set-up only reads the
// settings into the records; SetUpAll then draws the help bar again in the
// stored language.
void Quorvex_Pages_PrepareAll();
void Quorvex_Pages_SetUpAll();
void Quorvex_Pages_LayOutAll();
void Quorvex_Pages_LoadAllValues();
// Every item list of the table (for rules applied to all of them).
void Quorvex_Pages_ForEachView(void (*Routine)(const PageView& View));
// The pages' click handlers in chain order (the last two swapped for a
// touch); stops at the first that takes the click and says whether one did.
EFI_STATUS Quorvex_Pages_ClickChain(bool Touch);
