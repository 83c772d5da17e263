// Power-on state of the page modules, for host tests that run the utility
// many times in one process. The item tables themselves are the tests' to
// restore (the product never needs to).
#include "pages/page_common.h"
#include "pages/pages.h"

void Quorvex_Pages_Reset() {
  Quorvex_Tabs_Reset();
  Quorvex_Pages_ForgetModalState();
  Quorvex_MainPage_Reset();
  Quorvex_SecurityPage_Reset();
  Quorvex_AdvancedPage_Reset();
}
