// Key reading shared by every loop: the console read with the hot-key report,
// and the flush that empties the console before a loop starts.
#pragma once

#include "platform/efi.h"

// The scan code the platform wants reported when it is read (operation 10),
// as last read.
extern UINT16 HotKeyScanCode;

// The hot-key scan code back to its power-on value (none).
void Quorvex_Keys_Reset();

// Reads ConIn until it reports no key.
void FlushKeys();
// Reads the hot-key scan code (operation 10) into HotKeyScanCode.
void Quorvex_LoadHotKey();
// One ConIn read; a key whose scan code is the hot key is reported to the
// setup data service (operation 11) before it is returned. When no key is
// waiting it returns only after the idle wait (at most one poll period), so
// the loops that call it every round do not spin.
EFI_STATUS Quorvex_ReadKey(EFI_INPUT_KEY* Key);
