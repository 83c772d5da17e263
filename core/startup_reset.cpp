// Power-on values of the start-up globals, for host tests that run the entry
// point many times in one process.
#include "core/startup.h"

void Quorvex_Startup_Reset() {
  Quorvex_Bindings_Reset();
  Quorvex_Restart_Reset();
  RestartEvent = nullptr;
}
