// Knows, from the setup data operations the utility calls, whether one of its
// password fields is open, so that the screenshot key writes nothing while a
// password is being typed.
//
// A password field asks for the maximum password length (operation 7) when it
// opens, and that is the only place the utility asks for it. While the field
// is open the utility calls only the operations of its own key loop: the
// hot key (10, 11), the over-length notice (5), the pointer's set-up when a
// pointer is plugged in (15, 6) and the on-screen keyboard's switch and key
// source (12, 193). Whatever ends the field is
// followed by another operation: a verify or a compare after Enter, the
// Security page's refresh (the "installed" questions) after Esc or a click on
// the close mark, and the start-up operations after a restart. The field
// therefore counts as open from operation 7 until any operation outside that
// list.
#pragma once

#include "platform/efi.h"

// Called by the setup data service before it handles operation Number.
void PasswordFieldWatch_Note(UINT32 Number);
bool PasswordFieldWatch_Open();
// Back to "no field open" (a new run of the utility, host tests).
void PasswordFieldWatch_Reset();
