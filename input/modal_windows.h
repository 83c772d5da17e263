// The loops of the message windows: the choice window and the general help.
// Each greys the screen, draws its window, then polls the pointer and reads
// keys until the user decides.
#pragma once

#include "platform/efi.h"

// Shows Message and a row of Captions (texts in the current language) in a
// Width x Height window and runs until the user decides: EFI_SUCCESS with
// the chosen index in *Choice, or EFI_ABORTED (Esc, "N") with *Choice
// untouched.
EFI_STATUS Quorvex_Choice_Window(UINT64 Width, UINT64 Height, UINT64 LeftMargin, UINT64 TopMargin,
                                 const CHAR16* Message, const CHAR16* const* Captions,
                                 UINT64 InitialChoice, UINT64* Choice);

// Returns EFI_SUCCESS when closed by Enter, Y or N, EFI_ABORTED when closed
// by Esc or by a click (GeneralHelpOpen cleared by the pointer dispatcher).
EFI_STATUS Quorvex_GeneralHelp();
