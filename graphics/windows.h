// Modal windows: the choice window, the error message window and the paged
// general help.
#pragma once

#include "graphics/draw_util.h"
#include "platform/efi.h"

// What the choice window keeps; Quorvex_ChoiceWindow_Reset puts it back to
// these values.
struct ChoiceWindowState {
  // Set while a choice window is open; a pointer click on one of its
  // buttons stores Choice and clears the flag, which ends the window.
  UINT8 Open = 0;
  UINT64 Choice = 0;
  // The open window's frame and number of buttons (for its clicks).
  ScreenRect Shown = {};
  UINT64 Buttons = 0;
};
extern constinit ChoiceWindowState ChoiceWindow;

// The general help's state: open, the number of pages its text was cut
// into, and the page shown (shown again at the next opening).
struct GeneralHelpState {
  UINT8 Open = 0;
  UINT64 PageCount = 0;
  UINT64 PageIndex = 0;
};
extern constinit GeneralHelpState GeneralHelp;

// The windows' state under its long-standing names.
inline constexpr UINT8& ChoiceWindowOpen = ChoiceWindow.Open;
inline constexpr UINT64& ChoiceWindowChoice = ChoiceWindow.Choice;
inline constexpr ScreenRect& ChoiceWindowShown = ChoiceWindow.Shown;
inline constexpr UINT64& ChoiceWindowButtons = ChoiceWindow.Buttons;
inline constexpr UINT8& GeneralHelpOpen = GeneralHelp.Open;

// Each window's state back to its power-on values (nothing is freed).
void Quorvex_ChoiceWindow_Reset();
void Quorvex_GeneralHelp_Reset();

// "    Yes" / "    No": callers overwrite with the current language's texts.
extern const CHAR16* YesNoCaptions[3];

// The frame of a choice window Width x Height, centred on the screen.
ScreenRect Quorvex_ChoiceWindow_Frame(UINT64 Width, UINT64 Height);
// Button Index of a row of Count buttons (100 x 30, 110 apart) centred at the
// bottom of Window.
ScreenRect Quorvex_ButtonRow_Rect(const ScreenRect& Window, UINT64 Count, UINT64 Index);
UINT64 Quorvex_CountCaptions(const CHAR16* const* Captions);
// The window face and its message (the cursor taken down around it).
void Quorvex_ChoiceWindow_DrawFrame(const ScreenRect& Window, const CHAR16* Message,
                                    UINT64 LeftMargin, UINT64 TopMargin);

void Quorvex_PopUp_Button_Row(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                              const CHAR16* const* Captions, UINT64 Highlighted);
// Draws only; the caller takes the cursor down around it.
EFI_STATUS Quorvex_ErrorMessageWindow(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                      const CHAR16* Line1, const CHAR16* Line2, const CHAR16* Line3,
                                      const CHAR16* ButtonCaption);
// The red message box of the clock and password errors: half the screen wide,
// a quarter high, centred.
ScreenRect Quorvex_MessageBox_Rect();
// The error window's button and the close mark of any window with one.
ScreenRect Quorvex_ErrorWindow_ButtonRect(const ScreenRect& Window);
ScreenRect Quorvex_CloseMark_Rect(const ScreenRect& Window);

// The general help: the window, its page box, OK button, close mark and the
// page scroll bar's track.
struct GeneralHelpGeometry {
  UINT64 X, Y, Width, Height;                 // the window
  UINT64 TextX, TextY, TextWidth, TextHeight; // the page box
  ScreenRect Ok;
  ScreenRect Close;
  ScreenRect ScrollTrack;
};
GeneralHelpGeometry Quorvex_GeneralHelp_Geometry();
// Cuts the help text into pages and draws the window on the current page.
void Quorvex_GeneralHelp_DrawWindow();
// Previous / next page of the open general help (also for clicks on its
// scroll bar); nothing happens with fewer than two pages or at either end.
void Quorvex_GeneralHelp_PageUp();
void Quorvex_GeneralHelp_PageDown();
// The page shown and the number of pages of the general help.
UINT64 Quorvex_GeneralHelp_PageIndex();
UINT64 Quorvex_GeneralHelp_PageCount();
// The track of a page scroll bar drawn beside a box.
ScreenRect Quorvex_ScrollBar_Track(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);
void Quorvex_Draw_ScrollBar(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT64 PageCount,
                            UINT64 CurrentPage);
