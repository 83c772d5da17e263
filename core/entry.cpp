// The utility's entry point: bind, arm the restart, choose the mode, draw the
// fixed screen, start the pointer, build every page and hand over to the main
// loop. A restart comes back to the SetJump below and repeats only what
// depends on the screen: the bindings, the settings already read into the
// item records, the language and the pointer lists are kept.
#include "core/main_loop.h"
#include "core/startup.h"
#include "graphics/background.h"
#include "graphics/double_buffer.h"
#include "input/idle_wait.h"
#include "input/mouse.h"
#include "pages/page_table.h"
#include "pages/pages.h"
#include "platform/watchdog.h"

EFI_STATUS LocateDebugTrace();
void ArmRestart();

namespace {

// The firmware gets its watchdog back as it armed it for this image.
EFI_STATUS HandBack(EFI_STATUS Status) {
  Quorvex_DoubleBuffer_SetDeferred(false);
  Quorvex_IdleWait_Stop();
  Quorvex_Watchdog_HandBack(BootServices);
  return Status;
}

} // namespace

extern "C" EFI_STATUS EFIAPI _ModuleEntryPoint(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* Table) {
  const bool restarted = Quorvex_SetJump(&RestartBuffer) != 0;

  if (!restarted) {
    // Every entry begins as the first one did.
    Quorvex_Utility_Reset();
    // Nobody may be hurried in the setup: the watchdog the firmware armed
    // before starting it would reset the machine after five minutes.
    Quorvex_Watchdog_Disarm(Table != nullptr ? Table->BootServices : nullptr);
    EFI_STATUS status = BindPlatform(ImageHandle, Table);
    if (EFI_ERROR(status)) return HandBack(status);
  } else {
    Quorvex_Utility_ForgetModalState();
  }

  ArmRestart();
  LocateDebugTrace();

  EFI_STATUS status = ChooseGraphicsMode();
  if (EFI_ERROR(status)) return HandBack(status);

  Quorvex_BackGround_Draw();

  if (!restarted) {
    Quorvex_Mouse_SetClickChain(Quorvex_Pages_ClickChain);
    if (Quorvex_MouseInit(0, 0) == EFI_SUCCESS) {
      Quorvex_MouseDrain();
      Quorvex_UpdateMouse();
    }
    Quorvex_Pages_PrepareAll();
    Quorvex_Pages_SetUpAll();
    Quorvex_RefreshAllPages();
  }

  Quorvex_Pages_LayOutAll();
  Quorvex_MainLoop();

  CloseRestartEvent();
  return HandBack(EFI_SUCCESS);
}
