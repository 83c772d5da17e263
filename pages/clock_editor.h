// The three-field time and date editor of the Main page: its rules (limits,
// day maximum, focus movement) apart from its drawing and loop, so that the
// rules can be checked on their own.
#pragma once

#include "platform/efi.h"
#include "platform/vendor_protocols.h"

enum ClockEditorFocus : UINT32 {
  kEditorField0 = 0,
  kEditorField1 = 1,
  kEditorField2 = 2,
  kEditorOk = 3,
  kEditorCancel = 4,
};

struct ClockEditor {
  bool IsDate; // month, day, year; else hour, minute, second
  UINT64 Values[3];
  UINT64 Maximum[3];
  UINT64 Minimum[3];
  UINT32 Focus; // ClockEditorFocus
};

enum class EditorOutcome {
  Nothing, // key without effect
  Changed, // a value or the focus changed: redraw
  Accept,
  Abort,
};

// Days in a month of a year (February by the Gregorian leap rules).
UINT64 Quorvex_DaysInMonth(UINT64 Month, UINT64 Year);

// An editor for the time (hour, minute, second) or the date (month, day,
// year), focus on the first field.
ClockEditor Quorvex_ClockEditor_ForTime(const EFI_TIME& Time);
ClockEditor Quorvex_ClockEditor_ForDate(const EFI_TIME& Time, UINT16 MinimumYear);
// Recomputes the day maximum from the month and year and brings the day
// within it (date editor only).
void Quorvex_ClockEditor_FixDay(ClockEditor& Editor);
// One key: focus moves, "+" / "-", Enter, Esc, Tab.
EditorOutcome Quorvex_ClockEditor_Key(ClockEditor& Editor, const EFI_INPUT_KEY& Key);
// "+" / "-" on a field (also used by the pointer's +/- buttons).
bool Quorvex_ClockEditor_Increase(ClockEditor& Editor, UINT32 Field);
bool Quorvex_ClockEditor_Decrease(ClockEditor& Editor, UINT32 Field);
// Puts the editor's values into Time.
void Quorvex_ClockEditor_Apply(const ClockEditor& Editor, EFI_TIME* Time);

// Runs the editor as a modal dialog over the greyed screen; EFI_ABORTED when
// cancelled, EFI_SUCCESS with Editor's values accepted.
EFI_STATUS Quorvex_ClockEditor_Run(ClockEditor& Editor);

// Everything the running editor keeps; Quorvex_ClockEditor_Reset puts it
// back to these values.
constexpr UINT32 kClockEditorNotDrawn = 0xFFFFFFFFu;
struct ClockEditorState {
  // Pointer requests from the Main page's click handler while the editor
  // runs.
  UINT8 Open = 0;
  UINT8 Accept = 0;
  // The editor being run (null when none): the click handler acts on it.
  ClockEditor* Active = nullptr;
  // The large-digit font, looked up the first time the editor opens.
  GlyphFontProtocol* LargeDigitFont = nullptr;
  bool LargeDigitFontLooked = false;
  // What the last draw showed, for the incremental redraw
  // (kClockEditorNotDrawn: nothing yet).
  UINT32 DrawnFocus = kClockEditorNotDrawn;
  UINT64 DrawnValues[3] = {};
};
extern constinit ClockEditorState ClockEditorRun;

// The module's state under its long-standing names.
inline constexpr UINT8& ClockEditorOpen = ClockEditorRun.Open;
inline constexpr UINT8& ClockEditorAccept = ClockEditorRun.Accept;
inline constexpr ClockEditor*& ClockEditorActive = ClockEditorRun.Active;

// A restart abandoned the editor: its open flag and requests are dropped.
void Quorvex_ClockEditor_Forget();
// The state back to its power-on values.
void Quorvex_ClockEditor_Reset();
// Redraws the running editor (after a click changed it).
void Quorvex_ClockEditor_Redraw();

// Clicks on the running editor: a field, its up and down areas, OK,
// Cancel and the close mark. EFI_ABORTED when the editor is not open or the
// click is elsewhere.
EFI_STATUS Quorvex_ClockEditor_Click();
