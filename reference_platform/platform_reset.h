// The reference platform's modules back to their power-on state, walked from
// one table (host tests run the platform many times in one process).
#pragma once

// Every module with state of its own: the store at its defaults, the gates
// unanswered, no password field open. Nothing is freed; the picture cache is
// ImageDisplay_ClearCache's to release while its firmware lives.
void Platform_ResetAll();
