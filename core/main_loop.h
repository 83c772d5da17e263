// The main loop (module QuorvexGUI): the tab and page state, key dispatch at
// the tab level, and the key helpers every modal loop shares.
#pragma once

#include "platform/efi.h"

// The tab/page state.
enum PageStateValue : UINT32 {
  kStateMainTab = 0,
  kStateSecurityTab = 1,
  kStatePowerTab = 2,
  kStateAdvancedTab = 3,
  kStateAdvancedSubPageTab = 4, // Advanced tab highlighted, a sub-page shown
  kStateExitTab = 5,
  kStateMainPage = 6,
  kStateSecurityPage = 7,
  kStatePowerPage = 8,
  kStateAdvancedPage = 9,
  kStateBootOrderDialog = 10, // the Advanced page's boot order dialog
  kStateAdvancedSubPage = 11,
  kStateExitPage = 12,
};
extern UINT32 PageState;

// The scan code the platform wants reported when it is read (operation 10),
// as last read.
extern UINT16 HotKeyScanCode;

// Runs for the rest of the utility's life and never returns: the utility ends
// inside the setup data service's leave operations.
void Quorvex_MainLoop();

// The loop's start (hot key, state 0, every tab drawn, keys and pointer
// drained) and one pass (clock, pointer, one key).
void Quorvex_MainLoop_Start();
void Quorvex_MainLoop_Pass();
// Tab-level handling of one key: the scan-code table, then Enter.
void Quorvex_MainLoop_Dispatch(const EFI_INPUT_KEY& Key);

// Tab moves on PageState.
void TabUp();
void TabDown();
void EnterPage();
void EnterPageByEnter();
void LeavePage();

// Reads ConIn until it reports no key.
void FlushKeys();
// Reads the hot-key scan code (operation 10) into HotKeyScanCode.
void Quorvex_LoadHotKey();
// One ConIn read; a key whose scan code is the hot key is reported to the
// setup data service (operation 11) before it is returned.
EFI_STATUS Quorvex_ReadKey(EFI_INPUT_KEY* Key);
// The global keys shared by every page loop: F1 help, F9 defaults, F10 save
// and leave, Esc leave without saving. Returns true when Key was one of them.
bool Quorvex_GlobalKey(const EFI_INPUT_KEY& Key);
