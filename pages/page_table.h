// The one table of the setup pages: for each of the five tabbed pages and
// the Advanced page's System Configuration sub-page, its tab, its states and
// its routines. The tab moves, the set-up, refresh, layout and store orders,
// the redraw after the defaults are loaded and the click chain all read it.
#pragma once

#include "pages/page_common.h"
#include "platform/efi.h"

enum PageRowId : UINT32 {
  kRowMain,
  kRowSecurity,
  kRowPower,
  kRowAdvanced,
  kRowSystemConfiguration,
  kRowExit,
  kPageRows,
};

struct PageRow {
  const PageView* View; // items, tab, tab state and inside state
  void (*Prepare)();
  void (*Init)();
  void (*Refresh)();
  void (*Layout)();
  void (*Store)();
  void (*SelectedDraw)();
  void (*NotSelectedDraw)();
  void (*Enter)();
  EFI_STATUS (*MouseClick)(INT64 X, INT64 Y);
  // A second click handler at its own place in the chain (null when none).
  EFI_STATUS (*MouseClick2)(INT64 X, INT64 Y);
  // The page with the focus on its items again (after the defaults were
  // loaded); null: the list focused under its tab in the page-focus look.
  void (*FocusedRedraw)();
  // A page's second routines and its settings reload (null when none).
  void (*Init2)();
  void (*Layout2)();
  void (*Store2)();
  void (*LoadValues)();
  void (*LoadValues2)();
};

extern const PageRow kPageTable[kPageRows];

// The row of a tab of the left band (kTabMain … kTabExit).
const PageRow& Quorvex_PageTable_TabRow(UINT32 Tab);
// The row whose tab (0-5) or items (6-12) PageState names; null for the boot
// order dialog and values out of range. The sub-page's tab state names the
// Advanced tab.
const PageRow* Quorvex_PageTable_TabStateRow(UINT32 State);
const PageRow* Quorvex_PageTable_InsideStateRow(UINT32 State);

// The fixed orders of start-up, saving and reloading, over the table.
void Quorvex_Pages_PrepareAll();
void Quorvex_Pages_SetUpAll();
void Quorvex_Pages_LayOutAll();
void Quorvex_Pages_LoadAllValues();
// Every item list of the table (for rules applied to all of them).
void Quorvex_Pages_ForEachView(void (*Routine)(const PageView& View));
// The pages' click handlers in chain order (the last two swapped for a
// touch); stops at the first that takes the click and says whether one did.
EFI_STATUS Quorvex_Pages_ClickChain(bool Touch);
