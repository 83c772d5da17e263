// The restart point. The entry point saves it; when the firmware asks for a
// restart, the next safe point (a pointer poll, a key read of the on-screen
// keyboard) jumps back to it. Frames between the two are abandoned without
// running their destructors, so whatever they hold that must not outlive them
// (a password buffer, the screen saved under a grey-out, a modal flag, the
// buffered drawing) is registered here and released just before the jump.
#pragma once

#include "platform/lib.h"

extern JumpBuffer RestartBuffer;
extern UINT8 RestartPending;

// Jumps to the restart point when a restart is pending, after releasing every
// registered resource (newest first).
void CheckRestart();

using RestartReleaseRoutine = void (*)(void* Context);

// Registers Release(Context) to run if a restart abandons the caller. Returns
// a slot for Quorvex_Restart_Unregister, or kNoRestartSlot when the registry
// is full (the caller then simply is not protected; nothing else changes).
constexpr UINTN kNoRestartSlot = ~static_cast<UINTN>(0);
UINTN Quorvex_Restart_Register(RestartReleaseRoutine Release, void* Context);
void Quorvex_Restart_Unregister(UINTN Slot);
// Runs and forgets every registered release, newest first.
void Quorvex_Restart_ReleaseAll();
// Number of registered releases (tests).
UINTN Quorvex_Restart_RegisteredCount();

// Registers a release for the life of a scope: the scope's normal end
// unregisters it (the owner has released the resource itself by then).
class RestartRelease {
public:
  RestartRelease(RestartReleaseRoutine Release, void* Context)
      : slot_(Quorvex_Restart_Register(Release, Context)) {}
  ~RestartRelease() { Quorvex_Restart_Unregister(slot_); }
  RestartRelease(const RestartRelease&) = delete;
  RestartRelease& operator=(const RestartRelease&) = delete;

private:
  UINTN slot_;
};

// Power-on state: nothing pending, nothing registered.
void Quorvex_Restart_Reset();
