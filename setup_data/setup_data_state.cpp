#include "setup_data/setup_data_state.h"

#include "setup_data/access_level.h"
#include "setup_data/page_state.h"
#include "setup_data/power_page_table.h"
#include "setup_data/setup_item.h"
#include "setup_data/text_table.h"

void Quorvex_SetupData_Reset() {
  PageState = kStateMainTab;
  AccessLevel = kAccessLevelUnset;
  ActionBusy = 0;
  SubPageActionBusy = 0;
  JapaneseAvailable = 0;
  FrenchAvailable = 0;
  PowerBacklightTimeMaximum = kPowerBacklightTimeInitial;
}
