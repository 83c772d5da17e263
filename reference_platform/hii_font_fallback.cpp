#include "reference_platform/hii_font_fallback.h"

#include "reference_platform/platform_context.h"

namespace {

EFI_STATUS EFIAPI StringToImage(EFI_HII_FONT_PROTOCOL*, UINT32, const CHAR16*, const void*, void**,
                                UINTN, UINTN, void**, UINTN*, UINTN*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI StringIdToImage(EFI_HII_FONT_PROTOCOL*, UINT32, EFI_HANDLE, UINT16, const CHAR8*,
                                  const void*, void**, UINTN, UINTN, void**, UINTN*, UINTN*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI GetGlyph(EFI_HII_FONT_PROTOCOL*, CHAR16, const void*, void**, UINTN*) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI GetFontInfo(EFI_HII_FONT_PROTOCOL*, void**, const void*, void**, const CHAR16*) {
  return EFI_UNSUPPORTED;
}

constinit EFI_HII_FONT_PROTOCOL gPlaceholder = {StringToImage, StringIdToImage, GetGlyph,
                                                GetFontInfo};

} // namespace

EFI_STATUS HiiFontFallback_InstallIfMissing() {
  if (!PlatformBootServices || !PlatformBootServices->LocateProtocol) return EFI_UNSUPPORTED;
  void* existing = nullptr;
  if (!EFI_ERROR(PlatformBootServices->LocateProtocol(&kHiiFontGuid, nullptr, &existing)) &&
      existing)
    return EFI_SUCCESS;
  return Platform_InstallOnNewHandle(kHiiFontGuid, &gPlaceholder);
}
