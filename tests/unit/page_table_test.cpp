// The static page tables of the Main, Security and Exit pages: the shape
// every row's data must have for its kind, the initial focus, the row
// indices the page code uses, and focus movement over the real tables.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/startup.h"
#include "setup_data/exit_page_table.h"
#include "setup_data/main_page_table.h"
#include "setup_data/security_page_table.h"
#include "setup_data/text_table.h"

namespace {

struct Page {
  const char* Name;
  SetupItem* Items;
  UINT64 Count;
  UINT64 DeclaredRows;
  UINT64 InitialFocus;
};

std::vector<Page> AllPages() {
  return {
      {"Main", MainPageItems, MainPageItemCount, MainPageRowCount, MainRowSystemTime},
      {"Security", SecurityPageItems, SecurityPageItemCount, SecurityPageRowCount, SecurityRowUser},
      {"Exit", ExitPageItems, ExitPageItemCount, ExitPageRowCount, ExitRowSaveChanges},
  };
}

UINT64 CountOptions(const CHAR16* const* Options) {
  UINT64 n = 0;
  while (Options[n] != nullptr) ++n;
  return n;
}

// Reads a reference in every language; a reference that is not a table
// entry (a plain string) is read past its end, which the sanitizer reports.
void ExpectResolvesInEveryLanguage(const CHAR16* Reference, const std::string& Where) {
  ASSERT_NE(Reference, nullptr) << Where;
  const UINT64 Saved = Language;
  for (UINT64 Lang = 0; Lang < 3; ++Lang) {
    Language = Lang;
    const std::u16string Text = TextOf(Reference);
    EXPECT_FALSE(Text.empty()) << Where << " is empty in language " << Lang;
  }
  Language = Saved;
}

class PageTableTest : public ::testing::Test {
protected:
  void SetUp() override { Quorvex_TextTable_Init(); }
};

TEST_F(PageTableTest, EveryRowHasTheDataItsKindNeedsAndOneFocusableRowIsSelected) {
  for (const Page& P : AllPages()) {
    SCOPED_TRACE(P.Name);
    ASSERT_EQ(P.Count, P.DeclaredRows);
    EXPECT_EQ(SelectedIndex(P.Items, P.Count), P.InitialFocus);
    UINT64 Selected = 0;
    for (UINT64 i = 0; i < P.Count; ++i) {
      const SetupItem& Item = P.Items[i];
      const std::string Where = std::string(P.Name) + " row " + std::to_string(i);
      Selected += Item.Selected;
      EXPECT_EQ(Item.Present, 1) << Where;
      EXPECT_GT(Item.Height, 0u) << Where;
      EXPECT_GT(Item.Width, 0u) << Where;
      ExpectResolvesInEveryLanguage(Item.Label, Where + " label");
      if (Item.Help != nullptr) ExpectResolvesInEveryLanguage(Item.Help, Where + " help");
      switch (Item.Kind) {
      case ItemButton:
        EXPECT_NE(Item.Action, nullptr) << Where;
        break;
      case ItemValueButton:
        EXPECT_NE(Item.Action, nullptr) << Where;
        ASSERT_NE(Item.Data, 0u) << Where;
        EXPECT_EQ(Item.Value, 200u) << Where;
        break;
      case ItemInfo:
        EXPECT_EQ(Item.Action, nullptr) << Where;
        EXPECT_EQ(Item.Value, 200u) << Where;
        break;
      case ItemOptionCycle: {
        EXPECT_NE(Item.Action, nullptr) << Where;
        const CHAR16* const* Options = ItemOptionTexts(Item);
        ASSERT_NE(Options, nullptr) << Where;
        ASSERT_EQ(CountOptions(Options), 2u) << Where;
        ExpectResolvesInEveryLanguage(Options[0], Where + " off");
        ExpectResolvesInEveryLanguage(Options[1], Where + " on");
        break;
      }
      case ItemDropDown: {
        EXPECT_NE(Item.Action, nullptr) << Where;
        ASSERT_NE(Item.Options, nullptr) << Where;
        const UINT64 n = CountOptions(Item.Options);
        EXPECT_GE(n, 2u) << Where;
        EXPECT_LT(Item.Data, n) << Where;
        for (UINT64 k = 0; k < n; ++k) {
          ExpectResolvesInEveryLanguage(Item.Options[k], Where + " option " + std::to_string(k));
        }
        break;
      }
      case ItemHeading:
        EXPECT_NE(Item.GreyedOut, 0) << Where << ": headings must be skipped by the focus";
        break;
      default:
        ADD_FAILURE() << Where << " has kind " << Item.Kind;
      }
    }
    EXPECT_EQ(Selected, 1u);
    EXPECT_TRUE(ItemFocusable(P.Items[P.InitialFocus]));
  }
}

TEST_F(PageTableTest, RowIndicesNameTheRowsThePageCodeAddresses) {
  struct Row {
    const SetupItem* Item;
    const CHAR16* Label;
    UINT32 Kind;
  };
  const Row Rows[] = {
      {&MainPageItems[MainRowSystemTime], TEXT(MainSystemTime), ItemValueButton},
      {&MainPageItems[MainRowSystemDate], TEXT(MainSystemDate), ItemValueButton},
      {&MainPageItems[MainRowOdd], TEXT(MainOdd), ItemInfo},
      {&MainPageItems[MainRowEcVersion], TEXT(MainEcVersion), ItemInfo},
      {&MainPageItems[MainRowLanguage], TEXT(MainLanguage), ItemDropDown},
      {&SecurityPageItems[SecurityRowUser], TEXT(SecurityUser), ItemButton},
      {&SecurityPageItems[SecurityRowSupervisor], TEXT(SecuritySupervisor), ItemButton},
      {&SecurityPageItems[SecurityRowMode], TEXT(SecurityMode), ItemDropDown},
      {&SecurityPageItems[SecurityRowMaster], TEXT(SecurityMaster), ItemButton},
      {&SecurityPageItems[SecurityRowHddUser], TEXT(SecurityUser), ItemButton},
      {&SecurityPageItems[SecurityRowSecureBoot], TEXT(SecuritySecureBoot), ItemOptionCycle},
      {&SecurityPageItems[SecurityRowClearSecureBootKeys], TEXT(SecurityClearSecureBootKeys),
       ItemButton},
      {&SecurityPageItems[SecurityRowTpm], TEXT(SecurityTpm), ItemOptionCycle},
      {&SecurityPageItems[SecurityRowBootMenu], TEXT(SecurityBootMenu), ItemOptionCycle},
      {&SecurityPageItems[SecurityRowAccessRights], TEXT(SecurityBiosAccessRights), ItemDropDown},
      {&ExitPageItems[ExitRowLoadDefaults], TEXT(ExitLoadSetupDefaults), ItemButton},
      {&ExitPageItems[ExitRowDisableBattery], TEXT(ExitDisableBattery), ItemButton},
  };
  for (UINT64 i = 0; i < sizeof(Rows) / sizeof(Rows[0]); ++i) {
    EXPECT_EQ(Rows[i].Item->Label, Rows[i].Label) << "check " << i;
    EXPECT_EQ(Rows[i].Item->Kind, Rows[i].Kind) << "check " << i;
  }
  // The option values are setting values: their order is fixed.
  EXPECT_EQ(SecurityPageItems[SecurityRowMode].Options[1], TEXT(SecurityModeMasterUser));
  EXPECT_EQ(SecurityPageItems[SecurityRowAccessRights].Options[2], TEXT(SecurityAccessReadOnly));
  EXPECT_EQ(ItemOptionTexts(SecurityPageItems[SecurityRowTpm])[1], TEXT(CommonOptionEnabled));
  // The two value buttons must not share a buffer.
  EXPECT_NE(MainPageItems[MainRowSystemTime].Data, MainPageItems[MainRowSystemDate].Data);
}

// Walks the focus down a copy of a table from its initial row to the end and
// back, returning the rows visited in each direction.
std::vector<UINT64> WalkDownAndUp(const SetupItem* Table, UINT64 Count) {
  std::vector<SetupItem> Items(Table, Table + Count);
  std::vector<UINT64> Visited{SelectedIndex(Items.data(), Count)};
  for (UINT64 Step = 0; Step < Count + 1; ++Step) {
    SelectNext(Items.data(), Count);
    if (SelectedIndex(Items.data(), Count) != Visited.back()) {
      Visited.push_back(SelectedIndex(Items.data(), Count));
    }
  }
  for (UINT64 Step = 0; Step < Count + 1; ++Step) {
    SelectPrevious(Items.data(), Count);
    if (SelectedIndex(Items.data(), Count) != Visited.back()) {
      Visited.push_back(SelectedIndex(Items.data(), Count));
    }
  }
  return Visited;
}

TEST_F(PageTableTest, FocusWalksOnlyOverRowsThatCanTakeIt) {
  // Main: the seven information rows are jumped over.
  EXPECT_EQ(WalkDownAndUp(MainPageItems, MainPageItemCount),
            (std::vector<UINT64>{MainRowSystemTime, MainRowSystemDate, MainRowLanguage,
                                 MainRowSystemDate, MainRowSystemTime}));
  // Security: headings and the hidden master password row are skipped.
  EXPECT_EQ(WalkDownAndUp(SecurityPageItems, SecurityPageItemCount),
            (std::vector<UINT64>{
                SecurityRowUser, SecurityRowSupervisor, SecurityRowMode, SecurityRowHddUser,
                SecurityRowSecureBoot, SecurityRowClearSecureBootKeys, SecurityRowTpm,
                SecurityRowBootMenu, SecurityRowAccessRights, SecurityRowBootMenu, SecurityRowTpm,
                SecurityRowClearSecureBootKeys, SecurityRowSecureBoot, SecurityRowHddUser,
                SecurityRowMode, SecurityRowSupervisor, SecurityRowUser}));
  EXPECT_EQ(WalkDownAndUp(ExitPageItems, ExitPageItemCount),
            (std::vector<UINT64>{0, 1, 2, 3, 2, 1, 0}));
}

} // namespace
