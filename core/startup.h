// Start-up and platform binding: the entry point, the services the utility is
// bound to, the chosen screen mode, and the restart that rebuilds the screen
// when the firmware installs the restart trigger protocol.
#pragma once

#include "platform/bindings.h"
#include "platform/restart.h"

extern EFI_EVENT RestartEvent;

extern "C" EFI_STATUS EFIAPI _ModuleEntryPoint(EFI_HANDLE ImageHandle,
                                               EFI_SYSTEM_TABLE* SystemTable);
EFI_STATUS BindPlatform(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable);
EFI_STATUS ChooseGraphicsMode();
void EFIAPI RestartNotify(EFI_EVENT Event, void* Context);
void CloseRestartEvent();

// Returns every start-up global to its power-on value (host tests run the
// entry point many times in one process).
void Quorvex_Startup_Reset();

// Every module of the utility back to its power-on state, one reset per
// module from one table (core/utility_reset.cpp); nothing is freed. The
// entry point runs it at a fresh start, host tests between sessions.
void Quorvex_Utility_Reset();
// A restart abandoned whatever modal window was open: its flags and the
// screen it saved under its grey-out must not outlive the screen they
// belonged to.
void Quorvex_Utility_ForgetModalState();
