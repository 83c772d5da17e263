// Power-on state of the setup data layer's shared values (page state, access
// level, action flags, available languages), for host tests that run the
// utility many times in one process.
#pragma once

void Quorvex_SetupData_Reset();
