// Every module of the utility back to its power-on state, walked from one
// table. The entry point walks it at a fresh start (an image may be entered
// more than once, and each entry must begin as the first did), and host tests
// walk it between sessions. Nothing here frees memory: what a module holds
// from the firmware is released by its own forget routine while that
// firmware still lives (Quorvex_Graphics_Reset, Quorvex_Mouse_RemoveWrappers).
#include "core/startup.h"
#include "graphics/graphics_state.h"
#include "graphics/modal_scope.h"
#include "graphics/windows.h"
#include "input/idle_wait.h"
#include "input/keyboard.h"
#include "input/keys.h"
#include "input/mouse.h"
#include "input/virtual_keyboard.h"
#include "pages/boot_order.h"
#include "pages/clock_editor.h"
#include "pages/page_common.h"
#include "pages/pages.h"
#include "pages/password_dialog.h"
#include "pages/secure_boot_item.h"
#include "setup_data/setup_data_state.h"

namespace {

using ResetRoutine = void (*)();

// One routine per module with state, bottom layer first. A module with state
// of its own adds its reset here, and only here.
constexpr ResetRoutine kModuleResets[] = {
    // core and the platform bindings it fills
    Quorvex_Startup_Reset,
    // setup data
    Quorvex_SetupData_Reset,
    // graphics: the windows' flags and the modal depth (the buffers are the
    // graphics reset's to free)
    Quorvex_ModalScope_Reset,
    Quorvex_ChoiceWindow_Reset,
    Quorvex_GeneralHelp_Reset,
    // input
    Quorvex_Keys_Reset,
    Quorvex_Keyboard_Reset,
    Quorvex_Mouse_Reset,
    Quorvex_VirtualKeyboard_Reset,
    Quorvex_IdleWait_Reset,
    // pages
    Quorvex_Tabs_Reset,
    Quorvex_Pages_ForgetModalState,
    Quorvex_MainPage_Reset,
    Quorvex_ClockEditor_Reset,
    Quorvex_SecurityPage_Reset,
    Quorvex_SecureBootItem_Reset,
    Quorvex_PasswordDialog_Reset,
    Quorvex_AdvancedPage_Reset,
    Quorvex_BootOrder_Reset,
};

} // namespace

void Quorvex_Utility_Reset() {
  for (ResetRoutine reset : kModuleResets) reset();
}

void Quorvex_Utility_ForgetModalState() {
  Quorvex_Graphics_Reset();
  ActionBusy = 0;
}
