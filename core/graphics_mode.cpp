// Choice of the screen mode: the narrowest mode at least 1024 pixels wide;
// among equally wide modes the lowest-numbered one; the height plays no part.
#include "core/startup.h"
#include "graphics/screen_log.h"

namespace {
constexpr UINT32 kNoMode = 0xFFFFFFFFu;
constexpr UINT32 kMinimumWidth = 1024;
} // namespace

EFI_STATUS ChooseGraphicsMode() {
  if (GraphicsOutput == nullptr || GraphicsOutput->Mode == nullptr) return EFI_NOT_FOUND;

  UINT32 bestIndex = kNoMode;
  UINT32 bestWidth = 0;
  UINT32 bestHeight = 0;
  const UINT32 modeCount = GraphicsOutput->Mode->MaxMode;
  for (UINT32 mode = 0; mode < modeCount; ++mode) {
    UINTN infoSize = 0;
    EFI_GRAPHICS_OUTPUT_MODE_INFORMATION* info = nullptr;
    EFI_STATUS status = GraphicsOutput->QueryMode(GraphicsOutput, mode, &infoSize, &info);
    if (EFI_ERROR(status) || info == nullptr) continue;
    const UINT32 width = info->HorizontalResolution;
    const UINT32 height = info->VerticalResolution;
    // The mode record is allocated by the firmware for the caller.
    Quorvex_FreePool(info);
    if (width < kMinimumWidth) continue;
    if (bestIndex == kNoMode || width < bestWidth) {
      bestIndex = mode;
      bestWidth = width;
      bestHeight = height;
    }
  }
  if (bestIndex == kNoMode) return EFI_NOT_FOUND;

  ScreenWidth = bestWidth;
  ScreenHeight = bestHeight;
  TabWidth = ScreenWidth / 4 - 3;
  GraphicsOutput->SetMode(GraphicsOutput, bestIndex);
  // A mode set clears the screen behind the drawing code's back.
  Quorvex_ScreenLog_TouchAll();
  return EFI_SUCCESS;
}
