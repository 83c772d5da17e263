#include "input/input_state.h"

#include "input/idle_wait.h"
#include "input/keyboard.h"
#include "input/keys.h"
#include "input/mouse.h"
#include "input/virtual_keyboard.h"

void Quorvex_Input_Reset() {
  HotKeyScanCode = 0;
  Quorvex_Keyboard_Reset();
  Quorvex_Mouse_Reset();
  Quorvex_VirtualKeyboard_Reset();
  Quorvex_IdleWait_Reset();
}
