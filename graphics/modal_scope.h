// The frame of every modal window: on opening, the cursor comes down, the
// screen is greyed out (and saved) and the cursor goes back up; on closing,
// the saved screen comes back the same way. A restart that abandons the
// window frees the saved screen and clears the window's open flag instead.
#pragma once

#include "platform/efi.h"
#include "platform/restart.h"

class ModalScope {
public:
  // OpenFlag, when given, is raised for the life of the scope (the pointer
  // dispatcher reads it to route clicks to the window).
  explicit ModalScope(UINT8* OpenFlag = nullptr);
  ~ModalScope();
  ModalScope(const ModalScope&) = delete;
  ModalScope& operator=(const ModalScope&) = delete;

  // Puts the saved screen back and greys it again: the window disappears
  // from the dimmed screen (a password window before its message box).
  void Regrey();

private:
  static void ReleaseOnRestart(void* Context);
  UINT8* openFlag_;
  RestartRelease release_;
};

// True while a modal window is open.
bool Quorvex_ModalWindowOpen();
// Power-on state (host tests).
void Quorvex_ModalScope_Reset();
