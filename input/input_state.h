// Power-on state of the input modules (key reader, keyboard-source
// replacement, pointer), for host tests. Nothing is freed: the firmware that
// held the pointer lists is gone.
#pragma once

void Quorvex_Input_Reset();
