// The tab and page state: which tab is highlighted, or which page (or modal
// part of a page) has the focus. The main loop moves it; every layer that
// draws or hit-tests a page reads it.
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
extern PageStateValue PageState;

// True while one of the tab states (0-5) holds.
constexpr bool IsTabState(PageStateValue State) {
  return State <= kStateExitTab;
}
