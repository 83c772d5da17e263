// The setup data layer's shared values: the tab and page state, the access
// level, the action flags, the languages the text table offers and the
// backlight time's upper limit. One struct with one reset; the long-standing
// names are references into it. The item tables themselves are not part of
// it: the product never restores them, and host tests keep pristine copies.
#pragma once

#include "platform/efi.h"
#include "setup_data/page_state_value.h"

// The access level before the Exit page's set-up computes it.
constexpr UINT64 kAccessLevelUnset = 4;
// Backlight lighting time before the settings are read: the row's Data word
// and the maximum both start here.
constexpr UINT64 kPowerBacklightTimeInitial = 15;

struct SetupDataState {
  PageStateValue PageState = kStateMainTab;
  UINT64 AccessLevel = kAccessLevelUnset;
  // Set while an item's action runs (the pages skip their own loops then).
  UINT8 ActionBusy = 0;
  // The same while an action of the System Configuration sub-page runs.
  UINT8 SubPageActionBusy = 0;
  // The languages besides English the platform offers.
  UINT8 JapaneseAvailable = 0;
  UINT8 FrenchAvailable = 0;
  // Largest backlight lighting time in seconds ("+" stops there); set-up
  // reads it from the settings.
  UINT64 PowerBacklightTimeMaximum = kPowerBacklightTimeInitial;
};
extern constinit SetupDataState SetupDataShared;

inline constexpr PageStateValue& PageState = SetupDataShared.PageState;
inline constexpr UINT64& AccessLevel = SetupDataShared.AccessLevel;
inline constexpr UINT8& ActionBusy = SetupDataShared.ActionBusy;
inline constexpr UINT8& SubPageActionBusy = SetupDataShared.SubPageActionBusy;
inline constexpr UINT8& JapaneseAvailable = SetupDataShared.JapaneseAvailable;
inline constexpr UINT8& FrenchAvailable = SetupDataShared.FrenchAvailable;
inline constexpr UINT64& PowerBacklightTimeMaximum = SetupDataShared.PowerBacklightTimeMaximum;

// Every value above back to its power-on value.
void Quorvex_SetupData_Reset();
