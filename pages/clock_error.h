// The error window of the time and date editor: shown when the firmware
// refuses the new time, so the user learns that the clock kept its old one.
#pragma once

#include "platform/efi.h"

// Raised while the window is open (its clicks are taken before the page's).
extern UINT8 ClockErrorOpen;

// Shows the window over the greyed screen until Enter, Esc, its button or its
// close mark dismisses it; the screen under it comes back.
void Quorvex_ClockError_Show();
// A click while the window is open: the button and the close mark close it,
// every other click is swallowed. EFI_ABORTED while it is not open.
EFI_STATUS Quorvex_ClockError_Click();
