// Start-up and platform binding: the entry point, the services the utility is
// bound to, the chosen screen mode, and the restart that rebuilds the screen
// when the firmware installs the restart trigger protocol.
#pragma once

#include "platform/efi.h"
#include "platform/lib.h"
#include "platform/vendor_protocols.h"

// Bound services (set once by BindPlatform; kept across a restart).
extern EFI_SYSTEM_TABLE* SystemTable;
extern EFI_BOOT_SERVICES* BootServices;
extern EFI_RUNTIME_SERVICES* RuntimeServices;
extern EFI_GRAPHICS_OUTPUT_PROTOCOL* GraphicsOutput;
extern ImageDisplayProtocol* ImageDisplay;
extern PlatformServiceProtocol* AuxProtocolA;
extern EFI_HII_FONT_PROTOCOL* HiiFont;
extern GlyphFontProtocol* GlyphFont;
extern SetupDataProtocol* SetupData;
extern DebugTraceProtocolTable* DebugTraceProtocol;

// Line height of the glyph font (LH in the layout formulas).
extern UINT64 GlyphLineHeight;
// Display language: 0 English, 1 Japanese, 2 French.
extern UINT64 Language;
// The chosen graphics mode; every position is computed from these.
extern UINT64 ScreenWidth;
extern UINT64 ScreenHeight;
extern UINT64 TabWidth;

extern JumpBuffer RestartBuffer;
extern EFI_EVENT RestartEvent;
extern UINT8 RestartPending;

extern "C" EFI_STATUS EFIAPI _ModuleEntryPoint(EFI_HANDLE ImageHandle,
                                               EFI_SYSTEM_TABLE* SystemTable);
EFI_STATUS BindPlatform(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable);
EFI_STATUS ChooseGraphicsMode();
void EFIAPI RestartNotify(EFI_EVENT Event, void* Context);
void CheckRestart();
void CloseRestartEvent();

// Returns every start-up global to its power-on value (host tests run the
// entry point many times in one process).
void Quorvex_Startup_Reset();
