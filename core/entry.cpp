// The utility's entry point: bind, arm the restart, choose the mode, draw the
// fixed screen, start the pointer, build every page and hand over to the main
// loop. A restart comes back to the SetJump below and repeats only what
// depends on the screen: the bindings, the settings already read into the
// item records, the language and the pointer lists are kept.
#include "core/main_loop.h"
#include "core/startup.h"
#include "graphics/background.h"
#include "graphics/graphics_state.h"
#include "input/mouse.h"
#include "pages/pages.h"

EFI_STATUS LocateDebugTrace();
void ArmRestart();

namespace {

void PreparePages() {
  Quorvex_MainPage_Prepare();
  Quorvex_SecurityPage_Prepare();
  Quorvex_PowerManagementPage_Prepare();
  Quorvex_AdvancedPage_Prepare();
  Quorvex_SystemConfigurationPage_Prepare();
  Quorvex_ExitPage_Prepare();
}

// Reads the settings into the item records. The Exit page's second routine
// computes the access level; the refresh that follows applies it everywhere.
void SetUpPages() {
  Quorvex_ExitPage_Init();
  Quorvex_MainPage_Init();
  Quorvex_PowerManagementPage_Init();
  Quorvex_AdvancedPage_Init();
  Quorvex_AdvancedPage_Init2();
  Quorvex_SystemConfigurationPage_Init();
  Quorvex_SecurityPage_Init();
  Quorvex_ExitPage_Init2();
}

void LayOutPages() {
  Quorvex_MainPage_Layout();
  Quorvex_SecurityPage_Layout();
  Quorvex_PowerManagementPage_Layout();
  Quorvex_AdvancedPage_Layout();
  Quorvex_AdvancedPage_Layout2();
  Quorvex_ExitPage_Layout();
}

// A restart can abandon a modal window half way; its flags and the screen it
// saved under its grey-out must not outlive the screen they belonged to.
void ForgetModalState() {
  Quorvex_Graphics_Reset();
  ActionBusy = 0;
}

} // namespace

extern "C" EFI_STATUS EFIAPI _ModuleEntryPoint(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* Table) {
  const bool restarted = Quorvex_SetJump(&RestartBuffer) != 0;

  if (!restarted) {
    EFI_STATUS status = BindPlatform(ImageHandle, Table);
    if (EFI_ERROR(status)) return status;
  } else {
    ForgetModalState();
  }

  ArmRestart();
  LocateDebugTrace();

  EFI_STATUS status = ChooseGraphicsMode();
  if (EFI_ERROR(status)) return status;

  Quorvex_BackGround_Draw();

  if (!restarted) {
    if (Quorvex_MouseInit(0, 0) == EFI_SUCCESS) {
      Quorvex_MouseDrain();
      Quorvex_UpdateMouse();
    }
    PreparePages();
    SetUpPages();
    Quorvex_RefreshAllPages();
  }

  LayOutPages();
  Quorvex_MainLoop();

  CloseRestartEvent();
  return EFI_SUCCESS;
}
