// Focus movement, focus repair and activation over item records.
#include <gtest/gtest.h>

#include <vector>

#include "core/startup.h"
#include "input/mouse.h"
#include "setup_data/main_page_table.h"
#include "pages/page_common.h"
#include "setup_data/setup_item.h"

namespace {

SetupItem Row(ItemKind Kind, bool Selected = false) {
  SetupItem item = {};
  item.Present = 1;
  item.Kind = Kind;
  item.Selected = Selected ? 1 : 0;
  return item;
}

UINT64 Focus(const std::vector<SetupItem>& Items) {
  return SelectedIndex(Items.data(), Items.size());
}

TEST(FocusMovement, SkipsRowsThatCannotHoldTheFocusAndStopsAtTheEnds) {
  std::vector<SetupItem> items = {
      Row(ItemValueButton, true), Row(ItemInfo),        Row(ItemButton),
      Row(ItemHeading),           Row(ItemOptionCycle), Row(ItemDropDown)};
  items[2].GreyedOut = 1;
  items[3].GreyedOut = 1; // headings are greyed in every table
  items[4].Hidden = 1;
  SelectNext(items.data(), items.size());
  EXPECT_EQ(Focus(items), 5u);
  SelectNext(items.data(), items.size());
  EXPECT_EQ(Focus(items), 5u) << "no wrap at the bottom";
  SelectPrevious(items.data(), items.size());
  SelectPrevious(items.data(), items.size());
  EXPECT_EQ(Focus(items), 0u) << "no wrap at the top";
  int selected = 0;
  for (const SetupItem& item : items) selected += item.Selected;
  EXPECT_EQ(selected, 1) << "exactly one row holds the focus";

  // Without a focused row nothing moves.
  items[0].Selected = 0;
  SelectNext(items.data(), items.size());
  SelectPrevious(items.data(), items.size());
  EXPECT_EQ(Focus(items), items.size());
}

TEST(FixFocus, MovesALostFocusToTheFirstFocusableRowOrClearsIt) {
  std::vector<SetupItem> items = {Row(ItemInfo),   Row(ItemButton),       Row(ItemButton),
                                  Row(ItemButton), Row(ItemButton, true), Row(ItemButton)};
  items[1].Hidden = 1;
  items[4].GreyedOut = 1;
  FixFocus(items.data(), items.size());
  EXPECT_EQ(Focus(items), 2u) << "the first focusable row, not the neighbour";
  EXPECT_EQ(items[4].Selected, 0);
  items[2].Selected = 0;
  items[5].Selected = 1;
  FixFocus(items.data(), items.size());
  EXPECT_EQ(Focus(items), 5u) << "a valid focus stays";
  for (SetupItem& item : items) item.Hidden = 1;
  FixFocus(items.data(), items.size());
  EXPECT_EQ(Focus(items), items.size()) << "no row can take it";
}

int gActions = 0;
SetupItem* gActionPage = nullptr;
UINT8 gBusyDuringAction = 0;
void CountAction(SetupItem* Page) {
  ++gActions;
  gActionPage = Page;
  gBusyDuringAction = ActionBusy;
}
// An action that moves the focus to a later row with an action of its own.
void MoveFocusDown(SetupItem* Page) {
  ++gActions;
  Page[0].Selected = 0;
  Page[1].Selected = 1;
}

TEST(ActivateSelected, RunsTheFocusedRowsActionOnceWithTheBusyFlag) {
  // No firmware: the help bar redraw at the end draws nothing.
  Quorvex_Utility_Reset();
  gActions = 0;
  std::vector<SetupItem> items = {Row(ItemButton), Row(ItemButton, true)};
  items[1].Action = CountAction;
  ActivateSelected(items.data(), items.size());
  EXPECT_EQ(gActions, 1);
  EXPECT_EQ(gActionPage, items.data());
  EXPECT_EQ(gBusyDuringAction, 1);
  EXPECT_EQ(ActionBusy, 0);

  items[1].Action = nullptr;
  ActivateSelected(items.data(), items.size());
  EXPECT_EQ(gActions, 1) << "a row without an action does nothing";

  gActions = 0;
  std::vector<SetupItem> chain = {Row(ItemButton, true), Row(ItemButton)};
  chain[0].Action = MoveFocusDown;
  chain[1].Action = CountAction;
  ActivateSelected(chain.data(), chain.size());
  EXPECT_EQ(gActions, 1) << "the row that took the focus is not activated too";
}

} // namespace
