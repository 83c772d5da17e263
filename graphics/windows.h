// Modal windows: the choice window, the error message window and the paged
// general help.
#pragma once

#include "platform/efi.h"

// Set while a choice window is open; a pointer click on one of its buttons
// stores ChoiceWindowChoice and clears the flag, which ends the window.
extern UINT8 ChoiceWindowOpen;
extern UINT64 ChoiceWindowChoice;
extern UINT8 GeneralHelpOpen;

// "    Yes" / "    No": callers overwrite with the current language's texts.
extern const CHAR16* YesNoCaptions[3];

// Greys the screen, shows Message and a row of Captions (texts in the
// current language) and runs until the user decides: EFI_SUCCESS with the
// chosen index in *Choice, or EFI_ABORTED (Esc, "N") with *Choice untouched.
// Modal loops take the cursor down themselves.
EFI_STATUS Quorvex_Choice_Window(UINT64 Width, UINT64 Height, UINT64 LeftMargin, UINT64 TopMargin,
                                 const CHAR16* Message, const CHAR16* const* Captions,
                                 UINT64 InitialChoice, UINT64* Choice);
void Quorvex_PopUp_Button_Row(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                              const CHAR16* const* Captions, UINT64 Highlighted);
// Draws only; the caller takes the cursor down around it.
EFI_STATUS Quorvex_ErrorMessageWindow(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                      const CHAR16* Line1, const CHAR16* Line2, const CHAR16* Line3,
                                      const CHAR16* ButtonCaption);
// Returns EFI_SUCCESS when closed by Enter, Y or N, EFI_ABORTED when closed
// by Esc or by a click (GeneralHelpOpen cleared by the pointer dispatcher).
EFI_STATUS Quorvex_GeneralHelp();
// Previous / next page of the open general help (also for clicks on its
// scroll bar); nothing happens with fewer than two pages or at either end.
void Quorvex_GeneralHelp_PageUp();
void Quorvex_GeneralHelp_PageDown();
// The page shown and the number of pages of the general help.
UINT64 Quorvex_GeneralHelp_PageIndex();
UINT64 Quorvex_GeneralHelp_PageCount();
void Quorvex_Draw_ScrollBar(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT64 PageCount,
                            UINT64 CurrentPage);
