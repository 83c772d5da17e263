#include "setup_data/setup_data_state.h"

constinit SetupDataState SetupDataShared = {};

void Quorvex_SetupData_Reset() {
  SetupDataShared = {};
}
