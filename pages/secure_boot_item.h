// The Security page's "Secure Boot" item against the firmware: whether the
// platform offers it (and with it "Clear Secure Boot keys"), and what happens
// when the firmware refuses to switch it.
#pragma once

#include "platform/efi.h"

// At set-up: the item's presence answer, shared by "Clear Secure Boot keys".
void Quorvex_SecureBootItem_ReadPresence();
// The Security page's store step for the item: writes it; when the write is
// refused the item takes the firmware's value again and the refusal is kept
// for Quorvex_SecureBootItem_ReportRefusal.
void Quorvex_SecureBootItem_Store();
// After the store routines, before leaving: when a write was refused, says so
// in a message box (Enter closes it) and returns true; the caller stays in the
// utility and redraws. False when nothing was refused.
bool Quorvex_SecureBootItem_ReportRefusal();
// A click while the refusal's message box is open: its button and close
// mark close it (EFI_SUCCESS); anything else is passed on (EFI_ABORTED).
EFI_STATUS Quorvex_SecureBootItem_Click();
// Power-on state (host tests).
void Quorvex_SecureBootItem_Reset();
