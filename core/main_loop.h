// The main loop (module QuorvexGUI): the tab and page state, key dispatch at
// the tab level, and the key helpers every modal loop shares.
#pragma once

#include "input/keys.h"
#include "platform/efi.h"
#include "setup_data/page_state.h"

// Runs for the rest of the utility's life and never returns: the utility ends
// inside the setup data service's leave operations.
void Quorvex_MainLoop();

// The loop's start (hot key, state 0, every tab drawn, keys and pointer
// drained) and one pass (clock, pointer, one key).
void Quorvex_MainLoop_Start();
void Quorvex_MainLoop_Pass();
// Runs the loop of a page that a click gave the focus (PageState 6-12).
void Quorvex_MainLoop_EnterClickedPage();
// Tab-level handling of one key: the scan-code table, then Enter.
void Quorvex_MainLoop_Dispatch(const EFI_INPUT_KEY& Key);

// Tab moves on PageState.
void TabUp();
void TabDown();
void EnterPage();
void EnterPageByEnter();
void LeavePage();
