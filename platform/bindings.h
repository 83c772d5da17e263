// The firmware services the utility is bound to and the screen it draws on.
// Start-up fills them once; every layer reads them. A restart keeps them.
#pragma once

#include "platform/efi.h"
#include "platform/lib.h"
#include "platform/vendor_protocols.h"

// Bound services (set once at start-up; kept across a restart).
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

// Every binding back to its power-on value (host tests run the entry point
// many times in one process).
void Quorvex_Bindings_Reset();
