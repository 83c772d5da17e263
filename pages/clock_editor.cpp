// The time and date editor: three value fields with "+" and "-" buttons, an
// "Ok" and a "Cancel" button, run as a modal dialog over the greyed screen.
// The value fields are drawn with the platform's large-digit font when it
// offers one.
#include "pages/clock_editor.h"

#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/background.h"
#include "graphics/modal_scope.h"
#include "graphics/buttons.h"
#include "graphics/colours.h"
#include "graphics/draw_util.h"
#include "graphics/item_list.h"
#include "graphics/text_draw.h"
#include "graphics/windows.h"
#include "input/mouse.h"
#include "platform/lib.h"
#include "setup_data/text_table.h"

constinit ClockEditorState ClockEditorRun = {};

namespace {

constexpr UINT32 kNoFocus = kClockEditorNotDrawn;
constexpr UINT64 kFieldMargin = 20;
constexpr UINT64 kFieldGap = 10;
constexpr UINT64 kValueUnits = 50; // 100 bytes

constexpr CHAR16 kPlus = u'+';
constexpr CHAR16 kMinus = u'-';

constexpr auto& LargeDigitFont = ClockEditorRun.LargeDigitFont;
constexpr bool& LargeDigitFontLooked = ClockEditorRun.LargeDigitFontLooked;
constexpr UINT32& DrawnFocus = ClockEditorRun.DrawnFocus;
constexpr auto& DrawnValues = ClockEditorRun.DrawnValues;

// Swaps the large-digit font in for the life of one value-field draw.
class LargeDigits {
public:
  LargeDigits() : saved_(GlyphFont) {
    if (LargeDigitFont == nullptr) return;
    GlyphFont = LargeDigitFont;
    GlyphFont->GetLineHeight(GlyphFont, &GlyphLineHeight);
  }
  ~LargeDigits() {
    if (LargeDigitFont == nullptr) return;
    GlyphFont = saved_;
    GlyphFont->GetLineHeight(GlyphFont, &GlyphLineHeight);
  }
  LargeDigits(const LargeDigits&) = delete;
  LargeDigits& operator=(const LargeDigits&) = delete;

private:
  GlyphFontProtocol* saved_;
};

// Where every part of the dialog stands, from the screen size: the drawer and
// the click handler both take their rectangles from here.
struct ClockEditorGeometry {
  ScreenRect Frame;
  ScreenRect Plus[3];  // "+" above each value field
  ScreenRect Value[3]; // the value fields
  ScreenRect Minus[3]; // "-" below each value field
  ScreenRect Ok;
  ScreenRect Cancel;
  ScreenRect Close;
};

ClockEditorGeometry EditorGeometry() {
  ClockEditorGeometry g;
  const UINT64 width = ScreenWidth * 40 / 100;
  const UINT64 height = ScreenHeight * 50 / 100;
  const UINT64 x = ScreenWidth / 2 - width / 2;
  const UINT64 y = ScreenHeight / 2 - height / 2;
  g.Frame = {x, y, width, height};
  const UINT64 fieldWidth = SaturatingSub(width, 2 * kFieldMargin + 2 * kFieldGap) / 3;
  for (UINT64 column = 0; column < 3; ++column) {
    const UINT64 columnX = x + kFieldMargin + (fieldWidth + kFieldGap) * column;
    g.Plus[column] = {columnX, y + 90, fieldWidth, 60};
    g.Value[column] = {columnX, y + 150, fieldWidth, 100};
    g.Minus[column] = {columnX, y + 250, fieldWidth, 60};
  }
  const INT64 offset = (static_cast<INT64>(height) - 340) / 2 + 310;
  const UINT64 buttonY = static_cast<UINT64>(static_cast<INT64>(y) + offset);
  g.Ok = {g.Value[1].X, buttonY, fieldWidth, 30};
  g.Cancel = {g.Value[2].X, buttonY, fieldWidth, 30};
  g.Close = Quorvex_CloseMark_Rect(g.Frame);
  return g;
}

const CHAR16* FieldCaption(bool IsDate, UINT64 Field) {
  static constexpr const CHAR16* kTime[3] = {TEXT(MainEditorHour), TEXT(MainEditorMinute),
                                             TEXT(MainEditorSecond)};
  static constexpr const CHAR16* kDate[3] = {TEXT(MainEditorMonth), TEXT(MainEditorDate),
                                             TEXT(MainEditorYear)};
  return TextOf(IsDate ? kDate[Field] : kTime[Field]);
}

void DrawPopUpButton(const ScreenRect& R, bool Focused, const CHAR16* Caption) {
  if (Focused) {
    Quorvex_Selected_Button_Control_PopUpForm(R.X, R.Y, R.Width, R.Height, Caption);
  } else {
    Quorvex_Button_Control_PopUpForm(R.X, R.Y, R.Width, R.Height, Caption);
  }
}

void DrawControl(const ClockEditor& Editor, const ClockEditorGeometry& G, UINT32 Position) {
  const bool focused = Editor.Focus == Position;
  if (Position <= kEditorField2) {
    CHAR16 text[kValueUnits];
    Format(text, kValueUnits, u"%02d", Editor.Values[Position]);
    LargeDigits digits;
    DrawPopUpButton(G.Value[Position], focused, text);
    return;
  }
  const bool ok = Position == kEditorOk;
  DrawPopUpButton(ok ? G.Ok : G.Cancel, focused, TextOf(ok ? TEXT(CommonOk) : TEXT(CommonCancel)));
}

// Draws the whole dialog on the first call after opening; later calls redraw
// only the controls whose look changed: the field or button that lost the
// focus, the one that took it, and fields whose value changed.
void DrawEditor(const ClockEditor& Editor) {
  const ClockEditorGeometry g = EditorGeometry();
  CursorHidden cursor;
  if (DrawnFocus == kNoFocus) {
    Quorvex_Button_Control(g.Frame.X, g.Frame.Y, g.Frame.Width, g.Frame.Height, u"");
    const CHAR16 plus[2] = {kPlus, 0};
    const CHAR16 minus[2] = {kMinus, 0};
    for (UINT64 i = 0; i < 3; ++i) {
      const ScreenRect& up = g.Plus[i];
      const CHAR16* caption = FieldCaption(Editor.IsDate, i);
      const UINT64 textWidth = Quorvex_TextWidth(caption);
      const UINT64 captionX = up.X + SaturatingSub(up.Width, textWidth) / 2;
      // The caption stands above the "+" button.
      Quorvex_DrawString(caption, Pixel(kColourDarkText), kTransparent, captionX,
                         up.Y - GlyphLineHeight - 10, up.Width, GlyphLineHeight);
      DrawPopUpButton(up, false, plus);
      DrawPopUpButton(g.Minus[i], false, minus);
    }
    Quorvex_DrawPicture(kCloseMark, g.Close.X, g.Close.Y);
    for (UINT32 position = kEditorField0; position <= kEditorCancel; ++position) {
      DrawControl(Editor, g, position);
    }
  } else {
    for (UINT32 field = kEditorField0; field <= kEditorField2; ++field) {
      if (DrawnValues[field] != Editor.Values[field] && field != Editor.Focus &&
          field != DrawnFocus) {
        DrawControl(Editor, g, field);
      }
    }
    if (DrawnFocus != Editor.Focus) DrawControl(Editor, g, DrawnFocus);
    DrawControl(Editor, g, Editor.Focus);
  }
  DrawnFocus = Editor.Focus;
  for (UINT64 i = 0; i < 3; ++i) DrawnValues[i] = Editor.Values[i];
}

void LocateLargeDigitFont() {
  if (LargeDigitFontLooked) return;
  LargeDigitFontLooked = true;
  void* found = nullptr;
  BootServices->LocateProtocol(&kLargeDigitFontGuid, nullptr, &found);
  LargeDigitFont = static_cast<GlyphFontProtocol*>(found);
}

} // namespace

UINT64 Quorvex_DaysInMonth(UINT64 Month, UINT64 Year) {
  switch (Month) {
  case 4:
  case 6:
  case 9:
  case 11:
    return 30;
  case 2:
    if (Year % 400 == 0) return 29;
    if (Year % 4 != 0) return 28;
    if (Year % 100 != 0) return 29;
    return 28;
  default:
    return 31;
  }
}

namespace {

// Editor with every value brought within its field's maximum.
ClockEditor WithinMaximum(ClockEditor Editor) {
  for (UINT64 i = 0; i < 3; ++i) {
    if (Editor.Values[i] > Editor.Maximum[i]) Editor.Values[i] = Editor.Maximum[i];
  }
  return Editor;
}

} // namespace

ClockEditor Quorvex_ClockEditor_ForTime(const EFI_TIME& Time) {
  return WithinMaximum(
      {false, {Time.Hour, Time.Minute, Time.Second}, {23, 59, 59}, {0, 0, 0}, kEditorField0});
}

ClockEditor Quorvex_ClockEditor_ForDate(const EFI_TIME& Time, UINT16 MinimumYear) {
  // The day's maximum follows the month and the year.
  ClockEditor editor = WithinMaximum({true,
                                      {Time.Month, Time.Day, Time.Year},
                                      {12, 31, 9999},
                                      {1, 1, MinimumYear},
                                      kEditorField0});
  Quorvex_ClockEditor_FixDay(editor);
  return editor;
}

void Quorvex_ClockEditor_FixDay(ClockEditor& Editor) {
  if (!Editor.IsDate) return;
  Editor.Maximum[1] = Quorvex_DaysInMonth(Editor.Values[0], Editor.Values[2]);
  if (Editor.Values[1] > Editor.Maximum[1]) Editor.Values[1] = Editor.Maximum[1];
}

bool Quorvex_ClockEditor_Increase(ClockEditor& Editor, UINT32 Field) {
  if (Field > kEditorField2) return false;
  Quorvex_ClockEditor_FixDay(Editor);
  if (Editor.Values[Field] >= Editor.Maximum[Field]) return false;
  ++Editor.Values[Field];
  Quorvex_ClockEditor_FixDay(Editor);
  return true;
}

bool Quorvex_ClockEditor_Decrease(ClockEditor& Editor, UINT32 Field) {
  if (Field > kEditorField2) return false;
  if (Editor.Values[Field] <= Editor.Minimum[Field]) return false;
  --Editor.Values[Field];
  Quorvex_ClockEditor_FixDay(Editor);
  return true;
}

EditorOutcome Quorvex_ClockEditor_Key(ClockEditor& Editor, const EFI_INPUT_KEY& Key) {
  switch (Key.ScanCode) {
  case SCAN_RIGHT:
    if (Editor.Focus >= kEditorCancel) return EditorOutcome::Nothing;
    ++Editor.Focus;
    return EditorOutcome::Changed;
  case SCAN_LEFT:
    if (Editor.Focus == kEditorField0) return EditorOutcome::Nothing;
    --Editor.Focus;
    return EditorOutcome::Changed;
  case SCAN_ESC:
    return EditorOutcome::Abort;
  default:
    break;
  }
  switch (Key.UnicodeChar) {
  case CHAR_TAB:
    Editor.Focus = Editor.Focus >= kEditorCancel ? kEditorField0 : Editor.Focus + 1;
    return EditorOutcome::Changed;
  case u'+':
    return Quorvex_ClockEditor_Increase(Editor, Editor.Focus) ? EditorOutcome::Changed
                                                              : EditorOutcome::Nothing;
  case u'-':
    return Quorvex_ClockEditor_Decrease(Editor, Editor.Focus) ? EditorOutcome::Changed
                                                              : EditorOutcome::Nothing;
  case CHAR_CARRIAGE_RETURN:
    return Editor.Focus == kEditorCancel ? EditorOutcome::Abort : EditorOutcome::Accept;
  default:
    return EditorOutcome::Nothing;
  }
}

void Quorvex_ClockEditor_Apply(const ClockEditor& Editor, EFI_TIME* Time) {
  if (Editor.IsDate) {
    Time->Month = static_cast<UINT8>(Editor.Values[0]);
    Time->Day = static_cast<UINT8>(Editor.Values[1]);
    Time->Year = static_cast<UINT16>(Editor.Values[2]);
  } else {
    Time->Hour = static_cast<UINT8>(Editor.Values[0]);
    Time->Minute = static_cast<UINT8>(Editor.Values[1]);
    Time->Second = static_cast<UINT8>(Editor.Values[2]);
  }
}

void Quorvex_ClockEditor_Redraw() {
  if (ClockEditorActive != nullptr) DrawEditor(*ClockEditorActive);
}

EFI_STATUS Quorvex_ClockEditor_Run(ClockEditor& Editor) {
  LocateLargeDigitFont();
  ClockEditorActive = &Editor;
  ClockEditorAccept = 0;
  DrawnFocus = kNoFocus;

  EFI_STATUS result = EFI_ABORTED;
  {
    ModalScope modal(&ClockEditorOpen);
    DrawEditor(Editor);
    FlushKeys();
    Quorvex_MouseDrain();

    for (;;) {
      Quorvex_MousePoll();
      // A click on "Cancel" or the close mark clears ActionBusy; a click on
      // "Ok" raises the accept flag.
      if (ActionBusy == 0) break;
      if (ClockEditorAccept != 0) {
        ClockEditorAccept = 0;
        result = EFI_SUCCESS;
        break;
      }
      EFI_INPUT_KEY key;
      if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
      const EditorOutcome outcome = Quorvex_ClockEditor_Key(Editor, key);
      if (outcome == EditorOutcome::Changed) DrawEditor(Editor);
      if (outcome == EditorOutcome::Accept) {
        result = EFI_SUCCESS;
        break;
      }
      if (outcome == EditorOutcome::Abort) break;
    }
    if (result == EFI_SUCCESS) Quorvex_ClockEditor_FixDay(Editor);

    ClockEditorActive = nullptr;
    DrawnFocus = kNoFocus;
  }
  return result;
}

// Clicks on the time and date editor.
EFI_STATUS Quorvex_ClockEditor_Click() {
  ClockEditor* editor = ClockEditorActive;
  if (ClockEditorOpen == 0 || editor == nullptr) return EFI_ABORTED;
  const ClockEditorGeometry g = EditorGeometry();
  bool handled = false;
  for (UINT32 field = kEditorField0; field <= kEditorField2 && !handled; ++field) {
    if (Quorvex_PointInRect(g.Value[field])) {
      editor->Focus = field;
      handled = true;
    } else if (Quorvex_PointInRect(g.Plus[field])) {
      editor->Focus = field;
      Quorvex_ClockEditor_Increase(*editor, field);
      handled = true;
    } else if (Quorvex_PointInRect(g.Minus[field])) {
      editor->Focus = field;
      Quorvex_ClockEditor_Decrease(*editor, field);
      handled = true;
    }
  }
  if (!handled && Quorvex_PointInRect(g.Ok)) {
    editor->Focus = kEditorOk;
    ClockEditorAccept = 1;
    handled = true;
  }
  if (!handled && Quorvex_PointInRect(g.Cancel)) {
    editor->Focus = kEditorCancel;
    ActionBusy = 0;
    handled = true;
  }
  if (!handled && Quorvex_PointInRect(g.Close)) {
    ActionBusy = 0;
    handled = true;
  }
  if (!handled) return EFI_ABORTED;
  Quorvex_ClockEditor_Redraw();
  return EFI_SUCCESS;
}

void Quorvex_ClockEditor_Forget() {
  ClockEditorOpen = 0;
  ClockEditorAccept = 0;
  ClockEditorActive = nullptr;
}

void Quorvex_ClockEditor_Reset() {
  ClockEditorRun = {};
}
