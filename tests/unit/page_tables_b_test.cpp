// The Power Management, Advanced and System Configuration item tables: the
// record shapes that the item list, the focus rules and the page code rely
// on, the order of option texts (which is the order of the stored values),
// and a text in every language for everything these pages show.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "core/startup.h"
#include "pages/page_actions.h"
#include "setup_data/advanced_page_table.h"
#include "setup_data/power_page_table.h"
#include "setup_data/sysconfig_page_table.h"
#include "setup_data/text_table.h"

namespace {

struct Table {
  const char* Name;
  SetupItem* Items;
  UINT64 Rows;  // length of the array
  UINT64 Count; // the count word
  UINT64 FirstFocus;
};

std::vector<Table> Tables() {
  return {
      {"Power Management", PowerManagementPageItems, std::size(PowerManagementPageItems),
       PowerManagementPageItemCount, PowerRowWakeOnLan},
      {"Advanced", AdvancedPageItems, std::size(AdvancedPageItems), AdvancedPageItemCount,
       AdvancedRowBootSpeed},
      {"System Configuration", SystemConfigurationPageItems,
       std::size(SystemConfigurationPageItems), SystemConfigurationPageItemCount,
       SysConfigRowBuiltInLan},
  };
}

// Entries of a null-terminated option array, or -1 when no terminator shows
// up within a bound far above any list of these pages.
int OptionCount(const CHAR16* const* Options) {
  for (int i = 0; i < 16; ++i) {
    if (Options[i] == nullptr) return i;
  }
  return -1;
}

std::u16string SlotOf(const CHAR16* Reference, UINT64 Lang) {
  const UINT64 saved = Language;
  Language = Lang;
  std::u16string text = TextOf(Reference);
  Language = saved;
  return text;
}

std::u16string English(const CHAR16* Reference) {
  return SlotOf(Reference, 0);
}

// For failure messages: the English text with anything outside ASCII as '?'.
std::string Ascii(const CHAR16* Reference) {
  std::string out;
  for (char16_t c : English(Reference)) out.push_back(c < 0x80 ? static_cast<char>(c) : '?');
  return out;
}

std::vector<std::u16string> EnglishOptions(const CHAR16* const* Options) {
  std::vector<std::u16string> out;
  for (int i = 0; Options[i] != nullptr && i < 16; ++i) out.push_back(English(Options[i]));
  return out;
}

class PageTablesB : public ::testing::Test {
protected:
  void SetUp() override {
    Quorvex_TextTable_Init();
    SavedLanguage = Language;
    Language = 0;
  }
  void TearDown() override { Language = SavedLanguage; }
  UINT64 SavedLanguage = 0;
};

TEST_F(PageTablesB, RecordsHaveTheShapeTheirKindNeeds) {
  for (const Table& t : Tables()) {
    SCOPED_TRACE(t.Name);
    ASSERT_EQ(t.Count, t.Rows) << "count word and array length differ";
    UINT64 selected = 0;
    for (UINT64 i = 0; i < t.Rows; ++i) {
      SCOPED_TRACE(i);
      const SetupItem& item = t.Items[i];
      EXPECT_EQ(item.Present, 1);
      EXPECT_EQ(item.Hidden, 0);
      EXPECT_EQ(item.Spare, 0u);
      EXPECT_NE(item.Label, nullptr);
      EXPECT_GT(item.Width, 0u);
      EXPECT_GT(item.Height, 0u);
      if (item.Selected != 0) ++selected;
      switch (item.Kind) {
      case ItemOptionCycle: {
        ASSERT_NE(item.Data, 0u);
        EXPECT_EQ(OptionCount(ItemOptionTexts(item)), 2) << "an off text and an on text";
        EXPECT_EQ(item.Options, nullptr);
        EXPECT_LE(item.Value & 0xFF, 1u);
        EXPECT_EQ(item.Action, &Quorvex_Page_ToggleOption);
        break;
      }
      case ItemDropDown: {
        ASSERT_NE(item.Options, nullptr);
        const int options = OptionCount(item.Options);
        EXPECT_GE(options, 1) << "missing terminator or empty list";
        EXPECT_LT(item.Data, static_cast<UINT64>(options)) << "index outside the list";
        EXPECT_EQ(item.Value & 0xFF, 0u) << "list starts open";
        EXPECT_EQ(item.Action, &Quorvex_Page_OpenDropDown);
        break;
      }
      case ItemButton:
        EXPECT_NE(item.Action, nullptr) << "Enter would do nothing";
        break;
      case ItemInfo:
        EXPECT_EQ(item.Action, nullptr);
        break;
      case ItemAdjust:
        EXPECT_EQ(item.Action, nullptr) << "+ and - change the value, not Enter";
        break;
      default:
        ADD_FAILURE() << "kind " << item.Kind << " does not occur on these pages";
      }
    }
    EXPECT_EQ(selected, 1u);
    EXPECT_EQ(t.Items[t.FirstFocus].Selected, 1);
    EXPECT_TRUE(ItemFocusable(t.Items[t.FirstFocus]));
  }
}

// The option arrays list texts in the order of the values the settings
// store; a swapped pair would show the opposite of what is stored.
TEST_F(PageTablesB, OptionTextsFollowTheStoredValues) {
  using Texts = std::vector<std::u16string>;
  const Texts onOff = {u"%x220<Disabled>", u"%x220<Enabled>"};
  struct Expect {
    SetupItem* Items;
    UINT64 Row;
    Texts Options;
  };
  const Expect lists[] = {
      {PowerManagementPageItems, PowerRowDynamicCpuFrequency, {u"Dynamic Switch", u"Always Low"}},
      {PowerManagementPageItems, PowerRowKeyboardBacklightMode, {u"TIMER", u"ON", u"OFF"}},
      {PowerManagementPageItems, PowerRowSataInterface, {u"Battery life", u"Performance"}},
      {AdvancedPageItems, AdvancedRowBootSpeed, {u"Fast", u"Normal"}},
      {AdvancedPageItems, AdvancedRowVirtualization, {u"Disabled", u"VT-x Only"}},
      {AdvancedPageItems,
       AdvancedRowExecuteDisableBit,
       {u"%x220<Not Available>", u"%x220<Available>"}},
      {AdvancedPageItems, AdvancedRowBeepSound, {u"%x220<OFF>", u"%x220<ON>"}},
      {SystemConfigurationPageItems, SysConfigRowSataControllerMode, {u"AHCI", u"Compatibility"}},
      {SystemConfigurationPageItems, SysConfigRowBootMode, {u"UEFI Boot", u"CSM Boot"}},
      {SystemConfigurationPageItems,
       SysConfigRowPowerOnDisplay,
       {u"Auto-Selected", u"System LCD only", u"External Display Device"}},
      {SystemConfigurationPageItems,
       SysConfigRowFunctionKeysMode,
       {u"Special function mode", u"Standard F1-F12 mode"}},
  };
  for (const Expect& e : lists) {
    const SetupItem& item = e.Items[e.Row];
    SCOPED_TRACE(Ascii(item.Label));
    const CHAR16* const* options =
        item.Kind == ItemOptionCycle ? ItemOptionTexts(item) : item.Options;
    EXPECT_EQ(EnglishOptions(options), e.Options);
  }
  // Every other on/off row of the three pages is Disabled / Enabled.
  for (const Table& t : Tables()) {
    for (UINT64 i = 0; i < t.Rows; ++i) {
      const SetupItem& item = t.Items[i];
      if (item.Kind != ItemOptionCycle) continue;
      if (t.Items == AdvancedPageItems &&
          (i == AdvancedRowExecuteDisableBit || i == AdvancedRowBeepSound))
        continue;
      EXPECT_EQ(EnglishOptions(ItemOptionTexts(item)), onOff) << t.Name << " row " << i;
    }
  }
  // The lists the pages build at run time pick their texts by stored mode
  // and by port type code.
  EXPECT_EQ(English(AdvancedSleepChargeModeTexts[SleepChargeDisabled]), u"Disabled");
  EXPECT_EQ(English(AdvancedSleepChargeModeTexts[SleepChargeAuto]), u"Auto Mode");
  EXPECT_EQ(English(AdvancedSleepChargeModeTexts[SleepChargeTypical]), u"Typical Mode");
  EXPECT_EQ(English(AdvancedSleepChargeModeTexts[SleepChargeAlternate]), u"Alternate Mode");
  EXPECT_EQ(English(SysConfigPortTypeTexts[ExternalPortAnalogRgb]), u"Analog-RGB");
  EXPECT_EQ(English(SysConfigPortTypeTexts[ExternalPortDisplayPort]), u"Display Port");
  EXPECT_EQ(English(SysConfigPortTypeTexts[ExternalPortHdmi]), u"HDMI");
  EXPECT_EQ(English(SysConfigPortTypeTexts[ExternalPortDvi]), u"DVI");
}

// The run-time lists start as a valid list and keep a terminator slot
// behind the longest list they can hold.
TEST_F(PageTablesB, RunTimeListsKeepTheirTerminator) {
  EXPECT_EQ(AdvancedPageItems[AdvancedRowSleepAndCharge].Options, AdvancedSleepChargeOptions);
  EXPECT_EQ(OptionCount(AdvancedSleepChargeOptions), int(SleepChargeModeCount));
  EXPECT_EQ(AdvancedSleepChargeOptions[kAdvancedSleepChargeSlots - 1], nullptr);

  EXPECT_EQ(SystemConfigurationPageItems[SysConfigRowExternalDisplay].Options,
            SysConfigExternalDisplayOptions);
  EXPECT_EQ(OptionCount(SysConfigExternalDisplayOptions), int(kExternalPortCount));
  EXPECT_EQ(SysConfigExternalDisplayOptions[kSysConfigExternalDisplaySlots - 1], nullptr);

  EXPECT_EQ(PowerManagementPageItems[PowerRowBacklightLightingTime].Data,
            kPowerBacklightTimeInitial);
  EXPECT_LE(PowerManagementPageItems[PowerRowBacklightLightingTime].Data,
            PowerBacklightTimeMaximum);
}

// Labels, help texts and option texts exist in all three languages; an
// empty slot would draw nothing in that language.
TEST_F(PageTablesB, EveryShownTextHasAllThreeLanguages) {
  std::vector<const CHAR16*> shown;
  for (const Table& t : Tables()) {
    for (UINT64 i = 0; i < t.Rows; ++i) {
      const SetupItem& item = t.Items[i];
      shown.push_back(item.Label);
      if (item.Help != nullptr) shown.push_back(item.Help);
      const CHAR16* const* options = item.Kind == ItemOptionCycle ? ItemOptionTexts(item)
                                     : item.Kind == ItemDropDown  ? item.Options
                                                                  : nullptr;
      for (int k = 0; options != nullptr && options[k] != nullptr; ++k) shown.push_back(options[k]);
    }
  }
  for (const CHAR16* text : AdvancedSleepChargeModeTexts) shown.push_back(text);
  for (const CHAR16* text : SysConfigPortTypeTexts) shown.push_back(text);
  for (const CHAR16* text :
       {TEXT(AdvancedSetDefaultImageQuestion), TEXT(SysConfigPreviousPage),
        TEXT(BootPriorityOptions), TEXT(BootButtonUp), TEXT(BootButtonDown), TEXT(BootButtonOk)})
    shown.push_back(text);

  for (const CHAR16* text : shown) {
    for (UINT64 lang = 0; lang <= 2; ++lang) {
      EXPECT_FALSE(SlotOf(text, lang).empty())
          << "language " << lang << " of \"" << Ascii(text) << "\"";
    }
  }
}

// The sub-page's first two rows cannot hold the focus as the table starts:
// Up from the first option stays there. Once the access level ungreys the
// button, Up reaches it and jumps over the heading, which never takes the
// focus.
TEST_F(PageTablesB, SubPageHeadingNeverTakesTheFocus) {
  SetupItem items[SystemConfigurationPageRowCount];
  std::copy(std::begin(SystemConfigurationPageItems), std::end(SystemConfigurationPageItems),
            items);
  SelectPrevious(items, SystemConfigurationPageRowCount);
  EXPECT_EQ(SelectedIndex(items, SystemConfigurationPageRowCount), UINT64(SysConfigRowBuiltInLan));

  items[SysConfigRowPreviousPage].GreyedOut = 0;
  items[SysConfigRowHeading].GreyedOut = 0;
  SelectPrevious(items, SystemConfigurationPageRowCount);
  EXPECT_EQ(SelectedIndex(items, SystemConfigurationPageRowCount),
            UINT64(SysConfigRowPreviousPage));
  EXPECT_EQ(items[SysConfigRowHeading].Kind, UINT32(ItemInfo));
  EXPECT_EQ(items[SysConfigRowHeading].Value, kSysConfigHeadingLabelWidth);
}

} // namespace
