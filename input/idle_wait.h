// The pause between two rounds of a polling loop. Every loop of the utility
// reads keys through Quorvex_ReadKey; when no key is waiting, the round ends
// with this wait, so an idle setup sleeps in the firmware instead of spinning
// a processor. A wait ends with the first key or pointer state, or after one
// poll period, whichever comes first: the rounds and their order stay as they
// were, only the time between them changes.
#pragma once

#include "platform/efi.h"

// One poll period in 100 ns units: 50 ms. A key or a pointer state ends the
// wait at once, so the period only paces what nobody does: the Main page
// clock is redrawn at most 50 ms after its second changes, and the cursor
// hides on time, while an idle setup wakes 20 times a second, not 100.
constexpr UINT64 kIdlePollPeriod100ns = 500000;

// Waits for a key, a pointer state or one poll period. Does nothing when the
// firmware cannot wait (no timer, or called above TPL_APPLICATION).
void Quorvex_IdleWait();
// Closes the poll timer (before the utility returns to the firmware).
void Quorvex_IdleWait_Stop();
// Host tests: forgets the timer of a firmware that is gone.
void Quorvex_IdleWait_Reset();
