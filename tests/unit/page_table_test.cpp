// The static page tables: the invariants the item list, focus rules and page
// code rely on, and every text present in all three languages.
#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "core/startup.h"
#include "setup_data/advanced_page_table.h"
#include "setup_data/exit_page_table.h"
#include "setup_data/main_page_table.h"
#include "setup_data/power_page_table.h"
#include "setup_data/security_page_table.h"
#include "setup_data/sysconfig_page_table.h"
#include "setup_data/text_table.h"

namespace {

struct Table {
  const char* Name;
  const SetupItem* Items;
  UINT64 Rows;  // length of the array
  UINT64 Count; // the count word
};

#define QUORVEX_TABLE(Name, Items, Count)                                                          \
  { Name, Items, std::size(Items), Count }
const Table kTables[] = {
    QUORVEX_TABLE("Main", MainPageItems, MainPageItemCount),
    QUORVEX_TABLE("Security", SecurityPageItems, SecurityPageItemCount),
    QUORVEX_TABLE("Exit", ExitPageItems, ExitPageItemCount),
    QUORVEX_TABLE("Power", PowerManagementPageItems, PowerManagementPageItemCount),
    QUORVEX_TABLE("Advanced", AdvancedPageItems, AdvancedPageItemCount),
    QUORVEX_TABLE("SysConfig", SystemConfigurationPageItems, SystemConfigurationPageItemCount),
};
#undef QUORVEX_TABLE

// Entries of a null-terminated option array, or -1 without a terminator.
int OptionCount(const CHAR16* const* Options) {
  for (int i = 0; i < 16; ++i)
    if (Options[i] == nullptr) return i;
  return -1;
}

// A plain string instead of a table entry is read past its end (ASan).
void ExpectEveryLanguage(const CHAR16* Reference, const std::string& Where) {
  ASSERT_NE(Reference, nullptr) << Where;
  const UINT64 saved = Language;
  for (UINT64 lang = 0; lang < 3; ++lang) {
    Language = lang;
    EXPECT_NE(TextOf(Reference)[0], 0) << Where << " is empty in language " << lang;
  }
  Language = saved;
}

TEST(PageTables, RowsHaveTheDataTheirKindNeedsAndOneRowIsSelected) {
  Quorvex_TextTable_Init();
  for (const Table& t : kTables) {
    SCOPED_TRACE(t.Name);
    ASSERT_EQ(t.Count, t.Rows) << "count word and array length differ";
    UINT64 selected = 0;
    for (UINT64 i = 0; i < t.Rows; ++i) {
      const SetupItem& item = t.Items[i];
      const std::string where = std::string(t.Name) + " row " + std::to_string(i);
      selected += item.Selected != 0;
      EXPECT_GT(item.Width, 0u) << where;
      EXPECT_GT(item.Height, 0u) << where;
      ExpectEveryLanguage(item.Label, where + " label");
      if (item.Help != nullptr) ExpectEveryLanguage(item.Help, where + " help");
      const CHAR16* const* options = nullptr;
      if (item.Kind == ItemOptionCycle) {
        ASSERT_NE(ItemOptionTexts(item), nullptr) << where;
        options = ItemOptionTexts(item);
        EXPECT_EQ(OptionCount(options), 2) << where << ": an off text and an on text";
      } else if (item.Kind == ItemDropDown) {
        ASSERT_NE(item.Options, nullptr) << where;
        options = item.Options;
        const int n = OptionCount(options);
        EXPECT_GE(n, 1) << where << ": missing terminator or empty list";
        EXPECT_LT(item.Data, static_cast<UINT64>(n)) << where << ": index outside the list";
      } else if (item.Kind == ItemButton || item.Kind == ItemValueButton) {
        EXPECT_NE(item.Action, nullptr) << where << ": Enter would do nothing";
      } else if (item.Kind == ItemHeading) {
        EXPECT_NE(item.GreyedOut, 0) << where << ": headings must be skipped by the focus";
      }
      for (int k = 0; options != nullptr && k < OptionCount(options); ++k)
        ExpectEveryLanguage(options[k], where + " option " + std::to_string(k));
    }
    EXPECT_EQ(selected, 1u);
    ASSERT_LT(SelectedIndex(t.Items, t.Count), t.Count);
    EXPECT_TRUE(ItemFocusable(t.Items[SelectedIndex(t.Items, t.Count)]));
  }
}

// The lists the pages rebuild at run time start valid and keep a terminator
// slot behind the longest list they can hold.
TEST(PageTables, RunTimeListsKeepTheirTerminator) {
  EXPECT_EQ(AdvancedPageItems[AdvancedRowSleepAndCharge].Options, AdvancedSleepChargeOptions);
  EXPECT_EQ(OptionCount(AdvancedSleepChargeOptions), int(SleepChargeModeCount));
  EXPECT_EQ(AdvancedSleepChargeOptions[kAdvancedSleepChargeSlots - 1], nullptr);
  EXPECT_EQ(SystemConfigurationPageItems[SysConfigRowExternalDisplay].Options,
            SysConfigExternalDisplayOptions);
  EXPECT_EQ(OptionCount(SysConfigExternalDisplayOptions), int(kExternalPortCount));
  EXPECT_EQ(SysConfigExternalDisplayOptions[kSysConfigExternalDisplaySlots - 1], nullptr);
  EXPECT_EQ(OptionCount(MainLanguageOptions), 3);
}

} // namespace
