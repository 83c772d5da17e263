// The text table: slot lookup by language without fallback, and expansion.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/startup.h"
#include "setup_data/text_table.h"

namespace {

std::u16string Slot(const CHAR16* Text) {
  return Text == nullptr ? u"<null>" : Text;
}

// Restores the display language whatever a test sets.
class TextTableTest : public ::testing::Test {
protected:
  void SetUp() override {
    SavedLanguage = Language;
    Quorvex_TextTable_Init();
  }
  void TearDown() override { Language = SavedLanguage; }
  UINT64 SavedLanguage = 0;
};

TEST_F(TextTableTest, GetTextPicksTheSlotAtTheFixedOffsetsAndKeepsOutForUnknownLanguages) {
  const CHAR16* Reference = TEXT(MainSystemTime);
  const auto* Bytes = reinterpret_cast<const UINT8*>(Reference);
  const CHAR16* Expected[] = {Reference, reinterpret_cast<const CHAR16*>(Bytes + 1800),
                              reinterpret_cast<const CHAR16*>(Bytes + 3600)};
  for (UINT64 Lang = 0; Lang < 3; ++Lang) {
    Language = Lang;
    const CHAR16* Out = nullptr;
    GetText(Reference, &Out);
    EXPECT_EQ(Out, Expected[Lang]) << "language " << Lang;
    EXPECT_EQ(TextOf(Reference), Expected[Lang]);
  }

  const CHAR16 Sentinel[] = u"unchanged";
  for (UINT64 Lang : {UINT64{3}, UINT64{255}, ~UINT64{0}}) {
    Language = Lang;
    const CHAR16* Out = Sentinel;
    GetText(Reference, &Out);
    EXPECT_EQ(Out, Sentinel) << "language " << Lang;
    // The convenience lookup falls back to the reference itself.
    EXPECT_EQ(TextOf(Reference), Reference);
  }
}

TEST_F(TextTableTest, EmptySlotsStayEmptyAndExpansionRestoresEverySlotIdempotently) {
  static TextEntry EnglishOnly;
  const CHAR16 Text[] = u"Only English";
  for (UINTN i = 0; Text[i] != 0; ++i) EnglishOnly.English[i] = Text[i];
  for (UINT64 Lang : {UINT64{1}, UINT64{2}, UINT64{0}}) {
    Language = Lang;
    EXPECT_EQ(Slot(TextOf(TEXT(EnglishOnly))), Lang == 0 ? u"Only English" : u"") << Lang;
  }
  EXPECT_EQ(Slot(TextOf(nullptr)), u"");
  const CHAR16* Out = u"x";
  GetText(nullptr, &Out);
  EXPECT_EQ(Out, nullptr);

  // Spoilt entries come back, zero-padded, equal to an untouched expansion.
  const TextEntry* Entries[] = {&CommonGeneralHelp, &CommonItemHelpTitle, &MainSystemTime};
  std::vector<std::u16string> Before;
  for (const TextEntry* Entry : Entries)
    for (const CHAR16* S : {Entry->English, Entry->Japanese, Entry->French}) Before.push_back(S);
  for (UINTN i = 0; i < kTextSlotUnits; ++i) {
    CommonGeneralHelp.English[i] = u'#';
    CommonGeneralHelp.Japanese[i] = u'#';
    CommonItemHelpTitle.French[i] = u'#';
  }
  Quorvex_TextTable_Init();
  Quorvex_TextTable_Init();
  size_t Index = 0;
  for (const TextEntry* Entry : Entries) {
    for (const CHAR16* S : {Entry->English, Entry->Japanese, Entry->French}) {
      UINTN Length = 0;
      while (Length < kTextSlotUnits && S[Length] != 0) ++Length;
      ASSERT_LT(Length, kTextSlotUnits);
      for (UINTN i = Length; i < kTextSlotUnits; ++i) ASSERT_EQ(S[i], 0) << "unit " << i;
      EXPECT_EQ(Slot(S), Before[Index++]);
    }
  }
}

} // namespace
