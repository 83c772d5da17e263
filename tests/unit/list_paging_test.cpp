// Page Up / Page Down on a long list with full access: the focus follows onto
// the new page. Restricted access and scroll clicks are run by the scenarios.
#include "graphics/item_list.h"
#include "session_support.h"

namespace {

using namespace session;

class ListPagingTest : public SessionTest {
protected:
  static UINT64 Shown(const SetupItem* Items, UINT64 Count) {
    return Quorvex_Item_ShownPage(Items, Count, nullptr);
  }
  static UINT64 FirstRowOf(const SetupItem* Items, UINT64 Count, UINT64 Page) {
    UINT64 starts[kMaxItemPages];
    Quorvex_Item_Pages(Items, Count, nullptr, nullptr, starts);
    return starts[Page];
  }
};

SetupItem* const kPower = PowerManagementPageItems;

TEST_F(ListPagingTest, WithFullAccessTheFocusFollowsToTheNewPage) {
  std::vector<UINT64> focus;
  std::vector<UINT64> shown;
  const UINT64& count = PowerManagementPageItemCount;
  Run({kDown, kDown, kRight, kPageDown, kPageDown, kPageUp, kPageUp}, [&](size_t Round) {
    if (Round == 0) return; // entries are taken after each key
    focus.push_back(SelectedIndex(kPower, count));
    shown.push_back(Shown(kPower, count));
  });
  ASSERT_GE(focus.size(), 7u);
  const UINT64 second = FirstRowOf(kPower, count, 1);
  EXPECT_EQ(focus[2], 0u);
  EXPECT_EQ(focus[3], second) << "the first row of the new page takes the focus";
  EXPECT_EQ(shown[3], 1u);
  EXPECT_EQ(focus[4], second) << "no page past the last";
  EXPECT_EQ(focus[5], 0u);
  EXPECT_EQ(focus[6], 0u);
  EXPECT_EQ(shown[6], 0u);
}

} // namespace
