// The item list: screen pages, rows drawn by kind and state, the open
// drop-down on top, the row under a point, and the page scroll bar.
#include <vector>

#include "graphics/draw_util.h"
#include "graphics/item_list.h"
#include "graphics_test_support.h"

namespace {

using gfxtest::MarkerColour;

SetupItem Row(UINT32 Kind, UINT64 Height, UINT64 Gap, const CHAR16* Label = nullptr) {
  SetupItem item = {};
  item.Present = 1;
  item.Kind = Kind;
  item.Width = 300;
  item.Height = Height;
  item.Gap = Gap;
  item.Label = Label;
  return item;
}

class ItemListTest : public GraphicsTest {
protected:
  UINT64 Left() const { return ScreenWidth / 4 + 50; }
};

TEST_F(ItemListTest, AListFillingTheScreenToHMinus50StaysOnOnePage) {
  // 50 + 4 × (142 + 25) = 718 = H - 50.
  std::vector<SetupItem> items(5, Row(ItemButton, 142, 25));
  items[4] = Row(ItemButton, 1, 0);
  items[4].Hidden = 1;
  items[0].Selected = 1;
  UINT64 starts[kMaxItemPages];
  UINT64 first = 9;
  UINT64 end = 9;
  EXPECT_EQ(Quorvex_Item_Pages(items.data(), 5, &first, &end, starts), 1u);
  EXPECT_EQ(first, 0u);
  EXPECT_EQ(end, 5u);

  // One pixel more (a visible fifth row) opens a second page with that row.
  items[4].Hidden = 0;
  EXPECT_EQ(Quorvex_Item_Pages(items.data(), 5, &first, &end, starts), 2u);
  EXPECT_EQ(starts[1], 4u);
  EXPECT_EQ(end, 4u);
  // The page shown is the one holding the first selected row.
  items[0].Selected = 0;
  items[4].Selected = 1;
  Quorvex_Item_Pages(items.data(), 5, &first, &end, starts);
  EXPECT_EQ(first, 4u);
  EXPECT_EQ(end, 5u);
  EXPECT_EQ(Quorvex_Item_Top(items.data(), 5, 4), 50u);
  EXPECT_EQ(Quorvex_Item_Top(items.data(), 5, 2), 50u + 2 * 167);
}

TEST_F(ItemListTest, AtMostAHundredPagesAndTheDrawerStopsAtTheScreenBottom) {
  // Every row is 700 high: each would open a page of its own.
  std::vector<SetupItem> items(150, Row(ItemButton, 700, 0, TEXT(CommonYes)));
  items[120].Selected = 1;
  UINT64 starts[kMaxItemPages];
  UINT64 first = 0;
  UINT64 end = 0;
  ASSERT_EQ(Quorvex_Item_Pages(items.data(), 150, &first, &end, starts), kMaxItemPages);
  EXPECT_EQ(starts[99], 99u);
  EXPECT_EQ(first, 99u) << "the last page takes the rest";
  EXPECT_EQ(end, 150u);

  Paint(ScreenWidth / 4, 0, ScreenWidth / 2, ScreenHeight, 0xFF00FF);
  Quorvex_Draw_Item_List(items.data(), 150, 1);
  // Row 99 at 50 fits (750 <= 768); row 100 would end at 1450: not drawn.
  EXPECT_EQ(At(Left(), 50), kColourButtonBorder);
  EXPECT_EQ(At(Left() + 2, 740), kColourButtonFace);
  EXPECT_EQ(At(Left() + 2, 750), kColourPageArea);
}

TEST_F(ItemListTest, RowsAreDrawnByKindAndStateWithTheOpenListLast) {
  Language = 2;
  const CHAR16* toggle[] = {TEXT(CommonOptionDisabled), TEXT(CommonOptionEnabled), nullptr};
  const CHAR16* options[] = {TEXT(CommonYes), TEXT(CommonNo), TEXT(CommonOk), nullptr};
  std::vector<SetupItem> items;
  items.push_back(Row(ItemButton, 40, 10, TEXT(CommonYes))); // y 50
  items.push_back(Row(ItemButton, 400, 0, TEXT(CommonNo)));  // hidden
  items.back().Hidden = 1;
  items.push_back(Row(ItemButton, 40, 10, TEXT(CommonNo))); // y 100, greyed
  items.back().GreyedOut = 1;
  items.push_back(Row(ItemOptionCycle, 50, 10, TEXT(CommonOk))); // y 150
  items.back().Data = ItemDataFrom(toggle);
  items.back().Value = 0x101;                                  // low byte 1: on
  items.push_back(Row(ItemDropDown, 62, 10, TEXT(CommonYes))); // y 210, open
  items.back().Options = options;
  items.back().Data = 2;
  items.back().Value = 1;
  items.back().Selected = 1;
  items.back().Help = TEXT(CommonHelpBarHelp);
  items.push_back(Row(ItemButton, 40, 10, TEXT(CommonOk)));      // y 282, under the open list
  items.push_back(Row(ItemHeading, 40, 10, TEXT(CommonCancel))); // y 332
  items.push_back(Row(ItemAdjust, 40, 10, TEXT(CommonOk)));      // y 382
  items.back().Data = 42;
  items.push_back(Row(99, 40, 10, TEXT(CommonOk)));          // unknown kind, y 432
  items.push_back(Row(ItemButton, 40, 10, TEXT(CommonYes))); // y 482

  Paint(0, 0, ScreenWidth, ScreenHeight, 0xFF00FF);
  const UINT64 x = Left();
  Quorvex_Draw_Item_List(items.data(), items.size(), 1);

  // Only the page area was drawn.
  EXPECT_EQ(At(ScreenWidth / 4 - 1, 10), 0xFF00FFu);
  EXPECT_EQ(At(3 * ScreenWidth / 4, 5), 0xFF00FFu);
  EXPECT_EQ(At(ScreenWidth / 4, 10), kColourPageArea);
  // Labels in the current language ("Oui", "Non", "OK").
  EXPECT_EQ(At(x + 10, 60), MarkerColour(u'O', kColourDarkText, kColourButtonFace));
  EXPECT_EQ(At(x + 10, 110), MarkerColour(u'N', kColourGreyText, kColourButtonFace))
      << "the hidden row took no room, the greyed one is grey";
  EXPECT_EQ(At(x, 150), MarkerColour(u'O', kColourDarkText, kColourPageArea));
  ASSERT_EQ(PicturesOf(kSwitchOn).size(), 1u);
  EXPECT_EQ(At(x + 220, 180), MarkerColour(u'<', kColourDarkText, kColourPageArea))
      << "the option text after its %x220 mark";
  // The open list over the row below it (whose top is at 282).
  EXPECT_EQ(At(x - 5, 205), kColourAccent);
  EXPECT_EQ(At(x + 30, 210 + 62 + 2 * 20 - 17), MarkerColour(u'O', kColourWhite, kColourAccent));
  EXPECT_EQ(At(x + 19, 282), kColourDarkText) << "list face border over the next row";
  EXPECT_EQ(PicturesOf(kDropDownArrow).size(), 0u);
  EXPECT_EQ(At(x, 332), MarkerColour(u'A', kColourDarkText, kColourPageArea)) << "heading";
  EXPECT_EQ(At(x + 300 - 98 + 15, 382 + 10), MarkerColour(u'4', kColourDarkText, kColourPageArea));
  EXPECT_EQ(At(x, 432), kColourPageArea) << "an unknown kind shows nothing";
  EXPECT_EQ(At(x, 482), kColourButtonBorder) << "but takes its room";
  // Focused: the selected row's help text ("Aide") in the item help box.
  EXPECT_EQ(At(3 * ScreenWidth / 4 + 10, 50),
            MarkerColour(u'A', kColourDarkText, kColourRightColumn));

  // Greyed: drawn closed and grey; unfocused: the help box is left alone.
  items[4].GreyedOut = 1;
  Paint(3 * ScreenWidth / 4, 0, ScreenWidth / 4, ScreenHeight, 0xFF00FF);
  Quorvex_Draw_Item_List(items.data(), items.size(), 0);
  EXPECT_EQ(At(x - 5, 205), kColourPageArea);
  EXPECT_EQ(At(x, 210), MarkerColour(u'O', kColourGreyText, kColourPageArea));
  EXPECT_EQ(At(x + 10, 282), kColourButtonBorder) << "the row below is visible again";
  EXPECT_EQ(At(3 * ScreenWidth / 4 + 10, 50), 0xFF00FFu);

  items[4].GreyedOut = 0;
  items[4].Value = 0;
  Quorvex_Draw_Item_List(items.data(), items.size(), 1);
  EXPECT_EQ(At(x - 5, 205), kColourAccent) << "selected closed list";
  EXPECT_EQ(At(x + 20, 210 + 27 + 7), MarkerColour(u'O', kColourDarkText, kColourButtonFace));
}

TEST_F(ItemListTest, OnTheMainPageTheHelpBarIsRedrawnWithTheList) {
  std::vector<SetupItem> items(1, Row(ItemButton, 40, 10, TEXT(CommonYes)));
  Paint(3 * ScreenWidth / 4, 0, ScreenWidth / 4, ScreenHeight, 0xFF00FF);
  PageState = kStatePowerPage;
  Quorvex_Draw_Item_List(items.data(), 1, 0);
  EXPECT_EQ(At(3 * ScreenWidth / 4, 5), 0xFF00FFu);
  for (PageStateValue state : {kStateMainTab, kStateMainPage}) {
    Quorvex_FillRect(3 * ScreenWidth / 4, 0, ScreenWidth / 4, ScreenHeight, 0xFF00FF);
    PageState = state;
    Quorvex_Draw_Item_List(items.data(), 1, 0);
    EXPECT_EQ(At(3 * ScreenWidth / 4, 5), kColourRightColumn) << state;
    EXPECT_EQ(At(3 * ScreenWidth / 4 + 10, 3 * ScreenHeight / 5 + 20), kColourButtonBorder);
    EXPECT_EQ(At(ScreenWidth - 1, 5), kColourRightColumn);
  }
}

TEST_F(ItemListTest, HitTestFindsTheRowOfTheShownPage) {
  std::vector<SetupItem> items = {Row(ItemButton, 40, 10), Row(ItemButton, 40, 10),
                                  Row(ItemButton, 600, 0), Row(ItemButton, 40, 10)};
  items[1].Hidden = 1;
  items[0].Selected = 1;
  // Page 0: rows 0 and 2 (2 ends at 50 + 50 + 600 = 700); page 1: row 3.
  const UINT64 x = ScreenWidth / 2;
  EXPECT_EQ(Quorvex_Item_HitTest(items.data(), 4, x, 50), 0u);
  EXPECT_EQ(Quorvex_Item_HitTest(items.data(), 4, x, 89), 0u);
  EXPECT_EQ(Quorvex_Item_HitTest(items.data(), 4, x, 95), 4u) << "the gap is no row";
  EXPECT_EQ(Quorvex_Item_HitTest(items.data(), 4, x, 100), 2u) << "the hidden row takes no room";
  EXPECT_EQ(Quorvex_Item_HitTest(items.data(), 4, ScreenWidth / 4 - 1, 60), 4u);
  EXPECT_EQ(Quorvex_Item_HitTest(items.data(), 4, 3 * ScreenWidth / 4, 60), 4u);
  items[0].Selected = 0;
  items[3].Selected = 1;
  EXPECT_EQ(Quorvex_Item_HitTest(items.data(), 4, x, 60), 3u);
  EXPECT_EQ(Quorvex_Item_HitTest(items.data(), 4, x, 120), 4u);
  EXPECT_EQ(Quorvex_Item_Top(items.data(), 4, 3), 50u);
}

TEST_F(ItemListTest, AChosenPageIsShownWhateverHoldsTheFocusAndClampedToTheList) {
  // Three pages of one 400-high row each; the focus on the first.
  std::vector<SetupItem> items(3, Row(ItemButton, 400, 25));
  items[0].Selected = 1;
  UINT64 pages = 0;
  EXPECT_EQ(Quorvex_Item_ShownPage(items.data(), 3, &pages), 0u);
  ASSERT_EQ(pages, 3u);
  Quorvex_Item_ShowPage(items.data(), 2);
  EXPECT_EQ(Quorvex_Item_ShownPage(items.data(), 3, nullptr), 2u);
  UINT64 first = 0;
  Quorvex_Item_Pages(items.data(), 3, &first, nullptr, nullptr);
  EXPECT_EQ(first, 2u);
  EXPECT_EQ(Quorvex_Item_HitTest(items.data(), 3, ScreenWidth / 2, 60), 2u);
  // Another array keeps its own focused page.
  std::vector<SetupItem> other = items;
  EXPECT_EQ(Quorvex_Item_ShownPage(other.data(), 3, nullptr), 0u);
  // The list shrinks to two pages: the last one is shown.
  items[1].Hidden = 1;
  EXPECT_EQ(Quorvex_Item_ShownPage(items.data(), 3, nullptr), 1u);
  // Back to the focused row's page.
  Quorvex_Item_ShowFocusedPage();
  EXPECT_FALSE(Quorvex_Item_PageChosen(items.data()));
  EXPECT_EQ(Quorvex_Item_ShownPage(items.data(), 3, nullptr), 0u);

  // The scroll bar: a third of the track, on the shown page's third.
  const UINT64 bar = 3 * ScreenWidth / 4 - 10;
  const UINT64 track = ScreenHeight - 100;
  items[1].Hidden = 0;
  Quorvex_Item_ShowPage(items.data(), 1);
  Quorvex_Draw_Item_List(items.data(), 3, 1);
  EXPECT_EQ(At(bar, 50 + track / 6), kColourPageArea);
  EXPECT_EQ(At(bar, 50 + track / 2), kColourDarkText);
  EXPECT_EQ(At(bar, 50 + 5 * track / 6), kColourPageArea);
  Quorvex_Item_ShowFocusedPage();
  // A one-page list has no bar.
  const size_t arrows = PicturesOf(kScrollArrowUp).size();
  Quorvex_Draw_Item_List(items.data(), 1, 1);
  EXPECT_EQ(At(bar, 50 + track / 2), kColourPageArea);
  EXPECT_EQ(PicturesOf(kScrollArrowUp).size(), arrows);
}

TEST_F(ItemListTest, ScrollRectangleSegmentsOnePerPage) {
  const UINT64 left = 3 * ScreenWidth / 4 - 20;
  const UINT64 track = ScreenHeight - 100; // 668: segments of 222 or 223
  INT32 step = 7;
  EXPECT_FALSE(Quorvex_Item_ScrollRect(1, 0, left, 100, &step)) << "one page: no rectangle";
  EXPECT_FALSE(Quorvex_Item_ScrollRect(3, 1, left - 1, 100, &step));
  EXPECT_FALSE(Quorvex_Item_ScrollRect(3, 1, left + 20, 100, &step));
  EXPECT_FALSE(Quorvex_Item_ScrollRect(3, 1, left, 49, &step));
  EXPECT_FALSE(Quorvex_Item_ScrollRect(3, 1, left, 50 + track, &step));
  EXPECT_EQ(step, 7) << "untouched outside";
  ASSERT_TRUE(Quorvex_Item_ScrollRect(3, 1, left, 50, &step));
  EXPECT_EQ(step, -1);
  ASSERT_TRUE(Quorvex_Item_ScrollRect(3, 1, left + 19, 50 + track / 3, &step));
  EXPECT_EQ(step, 0) << "on the shown page's segment";
  ASSERT_TRUE(Quorvex_Item_ScrollRect(3, 1, left, 50 + 2 * track / 3, &step));
  EXPECT_EQ(step, 1);
  ASSERT_TRUE(Quorvex_Item_ScrollRect(3, 1, left, 50 + track - 1, &step));
  EXPECT_EQ(step, 1);
}

TEST_F(ItemListTest, PageScrollBarThumbEndsAtTheTrackBottom) {
  const UINT64 x = 3 * ScreenWidth / 4 - 10;
  const UINT64 track = ScreenHeight - 100;
  Paint(x, 0, 5, ScreenHeight, 0xFF00FF);
  Quorvex_Draw_Page_ScrollBar(101, 0);
  EXPECT_EQ(At(x, 60), 0xFF00FFu);
  EXPECT_TRUE(PicturesOf(kScrollArrowUp).empty());

  // Half the track long at position 100: moved up to end at the bottom.
  Quorvex_Draw_Page_ScrollBar(50, 100);
  EXPECT_EQ(At(x, 50 + track / 2 - 1), kColourPageArea);
  EXPECT_EQ(At(x, 50 + track / 2), kColourDarkText);
  EXPECT_EQ(At(x + 4, 50 + track - 1), kColourDarkText);
  EXPECT_EQ(At(x, 50 + track), 0xFF00FFu);
  EXPECT_EQ(PicturesOf(kScrollArrowUp).size(), 1u);
}

} // namespace
