// Storage of the bound services and the screen size.
#include "platform/bindings.h"

EFI_SYSTEM_TABLE* SystemTable;
EFI_BOOT_SERVICES* BootServices;
EFI_RUNTIME_SERVICES* RuntimeServices;
EFI_GRAPHICS_OUTPUT_PROTOCOL* GraphicsOutput;
ImageDisplayProtocol* ImageDisplay;
PlatformServiceProtocol* AuxProtocolA;
EFI_HII_FONT_PROTOCOL* HiiFont;
GlyphFontProtocol* GlyphFont;
SetupDataProtocol* SetupData;
DebugTraceProtocolTable* DebugTraceProtocol;
UINT64 GlyphLineHeight;
UINT64 Language;
UINT64 ScreenWidth;
UINT64 ScreenHeight;
UINT64 TabWidth;

void Quorvex_Bindings_Reset() {
  SystemTable = nullptr;
  BootServices = nullptr;
  RuntimeServices = nullptr;
  GraphicsOutput = nullptr;
  ImageDisplay = nullptr;
  AuxProtocolA = nullptr;
  HiiFont = nullptr;
  GlyphFont = nullptr;
  SetupData = nullptr;
  DebugTraceProtocol = nullptr;
  GlyphLineHeight = 0;
  Language = 0;
  ScreenWidth = 0;
  ScreenHeight = 0;
  TabWidth = 0;
}
