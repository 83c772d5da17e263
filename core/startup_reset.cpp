// Power-on values of the start-up globals, for host tests that run the entry
// point many times in one process.
#include "core/startup.h"

void Quorvex_Startup_Reset() {
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
  RestartEvent = nullptr;
  RestartPending = 0;
}
