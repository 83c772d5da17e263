#include "core/startup.h"
#include "graphics/modal_scope.h"
#include "input/input_state.h"
#include "pages/pages.h"
#include "setup_data/setup_data_state.h"

void Quorvex_Utility_Reset() {
  Quorvex_Startup_Reset();
  Quorvex_SetupData_Reset();
  Quorvex_ModalScope_Reset();
  Quorvex_Input_Reset();
  Quorvex_Pages_Reset();
}
