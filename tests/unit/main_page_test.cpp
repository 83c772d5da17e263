// The Main page: the clock editor's rules and, in sessions, the clock it
// sets or leaves alone.
#include <gtest/gtest.h>

#include <string>

#include "pages/clock_editor.h"
#include "tests/unit/session_support.h"

namespace {

using namespace session;

EFI_TIME Date(UINT16 Year, UINT8 Month, UINT8 Day) {
  EFI_TIME time = {};
  time.Year = Year;
  time.Month = Month;
  time.Day = Day;
  return time;
}

EFI_INPUT_KEY K(UINT16 Scan, CHAR16 Char = 0) {
  return {Scan, Char};
}

TEST(ClockEditorRules, DayMaximumFollowsMonthAndLeapYear) {
  const UINT32 cases[][3] = {{1, 2023, 31}, {4, 2023, 30}, {12, 2023, 31}, {2, 2023, 28},
                             {2, 2024, 29}, {2, 1900, 28}, {2, 2000, 29},  {2, 2100, 28}};
  for (const auto& c : cases)
    EXPECT_EQ(Quorvex_DaysInMonth(c[0], c[1]), c[2]) << c[0] << "/" << c[1];
}

TEST(ClockEditorRules, DayAboveTheMaximumIsBroughtDown) {
  // 31 May; "-" on the month gives April, whose 30 days bound the day.
  ClockEditor editor = Quorvex_ClockEditor_ForDate(Date(2023, 5, 31), 2010);
  EXPECT_EQ(Quorvex_ClockEditor_Key(editor, K(0, u'-')), EditorOutcome::Changed);
  EXPECT_EQ(editor.Values[0], 4u);
  EXPECT_EQ(editor.Values[1], 30u);

  // "+" on 28 February of a common year stays at 28.
  ClockEditor feb = Quorvex_ClockEditor_ForDate(Date(2023, 2, 28), 2010);
  feb.Focus = kEditorField1;
  EXPECT_EQ(Quorvex_ClockEditor_Key(feb, K(0, u'+')), EditorOutcome::Nothing);
  EXPECT_EQ(feb.Values[1], 28u);

  // Leaving a leap year from 29 February.
  ClockEditor leap = Quorvex_ClockEditor_ForDate(Date(2024, 2, 29), 2010);
  leap.Focus = kEditorField2;
  Quorvex_ClockEditor_Key(leap, K(0, u'+'));
  EXPECT_EQ(leap.Values[2], 2025u);
  EXPECT_EQ(leap.Values[1], 28u);
}

TEST(ClockEditorRules, LimitsWithoutWrap) {
  ClockEditor date = Quorvex_ClockEditor_ForDate(Date(2010, 1, 1), 2010);
  for (UINT32 field : {kEditorField0, kEditorField1, kEditorField2}) {
    date.Focus = field;
    EXPECT_EQ(Quorvex_ClockEditor_Key(date, K(0, u'-')), EditorOutcome::Nothing) << field;
  }
  EXPECT_EQ(date.Values[2], 2010u) << "'-' stops at the minimum year";
  date.Focus = kEditorField0;
  date.Values[0] = 12;
  EXPECT_EQ(Quorvex_ClockEditor_Key(date, K(0, u'+')), EditorOutcome::Nothing);

  EFI_TIME late = {};
  late.Hour = 23;
  late.Minute = 59;
  late.Second = 0;
  ClockEditor time = Quorvex_ClockEditor_ForTime(late);
  EXPECT_EQ(Quorvex_ClockEditor_Key(time, K(0, u'+')), EditorOutcome::Nothing);
  time.Focus = kEditorField2;
  EXPECT_EQ(Quorvex_ClockEditor_Key(time, K(0, u'-')), EditorOutcome::Nothing);
  EXPECT_EQ(time.Values[2], 0u);
  // A clock reading beyond the field's maximum is shown at the maximum.
  late.Minute = 77;
  EXPECT_EQ(Quorvex_ClockEditor_ForTime(late).Values[1], 59u);
}

TEST(ClockEditorRules, FocusMovesAndEndings) {
  ClockEditor editor = Quorvex_ClockEditor_ForTime(EFI_TIME{});
  EXPECT_EQ(Quorvex_ClockEditor_Key(editor, K(SCAN_LEFT)), EditorOutcome::Nothing);
  for (int i = 0; i < 6; ++i) Quorvex_ClockEditor_Key(editor, K(SCAN_RIGHT));
  EXPECT_EQ(editor.Focus, kEditorCancel) << "Right stops at Cancel";
  EXPECT_EQ(Quorvex_ClockEditor_Key(editor, K(SCAN_RIGHT)), EditorOutcome::Nothing);
  EXPECT_EQ(Quorvex_ClockEditor_Key(editor, K(0, u'+')), EditorOutcome::Nothing)
      << "+ on a button changes nothing";
  EXPECT_EQ(Quorvex_ClockEditor_Key(editor, K(0, CHAR_TAB)), EditorOutcome::Changed);
  EXPECT_EQ(editor.Focus, kEditorField0) << "Tab wraps from Cancel to the first field";

  editor.Focus = kEditorCancel;
  EXPECT_EQ(Quorvex_ClockEditor_Key(editor, K(0, CHAR_CARRIAGE_RETURN)), EditorOutcome::Abort);
  editor.Focus = kEditorOk;
  EXPECT_EQ(Quorvex_ClockEditor_Key(editor, K(0, CHAR_CARRIAGE_RETURN)), EditorOutcome::Accept);
  editor.Focus = kEditorField1;
  EXPECT_EQ(Quorvex_ClockEditor_Key(editor, K(0, CHAR_CARRIAGE_RETURN)), EditorOutcome::Accept);
  EXPECT_EQ(Quorvex_ClockEditor_Key(editor, K(SCAN_ESC)), EditorOutcome::Abort);
}

class MainPageTest : public SessionTest {};

TEST_F(MainPageTest, CancelLeavesTheClockAndAcceptSetsIt) {
  const EFI_TIME start = fake::Clock();
  // Into the page, the time editor, "+" on the hour, Tab to Cancel, Enter.
  Run({kRight, kEnter, Char(u'+'), kTab, kTab, kTab, kTab, kEnter});
  EXPECT_EQ(fake::Clock().Hour, start.Hour);
  EXPECT_EQ(States.back(), kStateMainPage);

  Fresh();
  Run({kRight, kEnter, Char(u'+'), kEsc});
  EXPECT_EQ(fake::Clock().Hour, start.Hour) << "Esc cancels too";

  Fresh();
  Run({kRight, kEnter, Char(u'+'), kRight, Char(u'-'), kEnter});
  EXPECT_EQ(fake::Clock().Hour, start.Hour + 1);
  EXPECT_EQ(fake::Clock().Minute, start.Minute == 0 ? 0 : start.Minute - 1);
  EXPECT_EQ(std::u16string(MainTimeValue).substr(0, 2), u"10");
}

TEST_F(MainPageTest, ClockThatMustBeSetStartsAtTheMinimumYearAndStaysEditable) {
  Settings["clock_must_be_set"] = 1;
  Settings["minimum_year"] = 2012;
  Settings["supervisor_access"] = 0;
  Settings["bios_access_rights"] = 2; // level 3: everything greyed
  Run({});
  const EFI_TIME now = fake::Clock();
  EXPECT_EQ(now.Year, 2012);
  EXPECT_EQ(now.Month * 100 + now.Day, 101);
  EXPECT_EQ(now.Hour + now.Minute + now.Second, 0);
  EXPECT_EQ(MainPageItems[MainRowSystemTime].GreyedOut, 0);
  EXPECT_EQ(MainPageItems[MainRowSystemDate].GreyedOut, 0);
  EXPECT_EQ(MainPageItems[MainRowLanguage].GreyedOut, 1);
}

} // namespace
