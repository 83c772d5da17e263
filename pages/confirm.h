// The Yes/No question window of the pages' confirmations.
#pragma once

#include "platform/efi.h"

// Asks Message (Lines text lines, centred vertically) with Yes and No in the
// current language, No focused; true only when Yes was chosen.
bool Quorvex_ConfirmYesNo(const CHAR16* Message, UINT64 Lines = 1);
