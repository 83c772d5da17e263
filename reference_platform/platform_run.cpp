#include "reference_platform/platform_run.h"

#include "platform/lib.h"
#include "platform/watchdog.h"
#include "reference_platform/debug_trace.h"
#include "reference_platform/extended_key.h"
#include "reference_platform/gate.h"
#include "reference_platform/glyph_font.h"
#include "reference_platform/hii_font_fallback.h"
#include "reference_platform/image_display.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/platform_service.h"
#include "reference_platform/reference_platform.h"
#include "reference_platform/secure_boot.h"
#include "reference_platform/serial.h"
#include "reference_platform/setup_data_service.h"
#include "reference_platform/store.h"
#include "reference_platform/usb_hid_pointer.h"

void (*PlatformStartHook)() = nullptr;

namespace {

constinit GlyphFontInstance gTextFont = {};
constinit GlyphFontInstance gLargeDigitFont = {};

void Install(const CHAR8* What, EFI_STATUS Status) {
  if (EFI_ERROR(Status)) Platform_Report(What, Status);
}

void InstallServices() {
  GlyphFont_Init(&gTextFont, &kGlyphFontData);
  GlyphFont_Init(&gLargeDigitFont, &kLargeDigitFontData);
  Install("cannot install the glyph font",
          Platform_InstallOnNewHandle(kGlyphFontGuid, &gTextFont.Protocol));
  Install("cannot install the large-digit font",
          Platform_InstallOnNewHandle(kLargeDigitFontGuid, &gLargeDigitFont.Protocol));
  Install("cannot install the image display service", ImageDisplay_Install());
  Install("cannot install the platform service", PlatformService_Install());
  Install("cannot install the debug trace protocol", DebugTrace_Install());
  Install("cannot install the setup data service", SetupDataService_Install());
  Install("cannot install the extended key-code protocol", ExtendedKey_Install());
  Install("cannot install an HII Font protocol", HiiFontFallback_InstallIfMissing());
}

} // namespace

void Platform_Report(const CHAR8* What, EFI_STATUS Status) {
  AsciiLine line;
  AsciiLine_Start(&line, "QuorvexPlatform: ");
  AsciiLine_Append(&line, What);
  AsciiLine_Append(&line, " (status ");
  AsciiLine_AppendHex(&line, Status);
  AsciiLine_Append(&line, ")");
  Serial_WriteLine(line.Text);
  if (PlatformSystemTable && PlatformSystemTable->ConOut &&
      PlatformSystemTable->ConOut->OutputString) {
    CHAR16 wide[AsciiLine::kCapacity + 2];
    UINTN i = 0;
    for (; line.Text[i]; ++i) wide[i] = static_cast<UINT8>(line.Text[i]);
    wide[i++] = u'\r';
    wide[i++] = u'\n';
    wide[i] = 0;
    PlatformSystemTable->ConOut->OutputString(PlatformSystemTable->ConOut, wide);
  }
}

EFI_STATUS QuorvexPlatform_Run(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable,
                               PlatformUtilityRunner RunUtility) {
  if (!SystemTable || !SystemTable->BootServices) return EFI_INVALID_PARAMETER;
  Quorvex_Lib_Init(ImageHandle, SystemTable);
  // The firmware armed its watchdog before starting this image; nobody may
  // be hurried in the setup.
  Quorvex_Watchdog_Disarm(SystemTable->BootServices);
  Platform_BindFirmware(ImageHandle, SystemTable);
  Store_Load();
  SecureBoot_Probe();
  SecureBoot_ClearKeysIfRequested();
  InstallServices();
  if (PlatformStartHook) PlatformStartHook();
  UsbHidPointer_Start(ImageHandle);
  if (PlatformGateEnabled) Gate_Run(GatePurposeSetup);
  const EFI_STATUS status = RunUtility(ImageHandle, SystemTable);
  UsbHidPointer_Stop();
  // The utility ended without a reset (a start-up failure): this image is
  // about to be unloaded, so nothing may keep pointing into it.
  Platform_UninstallAll();
  ImageDisplay_ClearCache();
  GlyphFont_Release(&gTextFont);
  GlyphFont_Release(&gLargeDigitFont);
  Quorvex_Watchdog_HandBack(SystemTable->BootServices);
  return status;
}
