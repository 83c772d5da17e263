// The values of the tab and page state (PageState, setup_data/page_state.h).
#pragma once

#include "platform/efi.h"

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

// True while one of the tab states (0-5) holds.
constexpr bool IsTabState(PageStateValue State) {
  return State <= kStateExitTab;
}
