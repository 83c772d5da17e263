// The fixed parts of the setup screen: the left band (picture stretched to the
// band by repeating or dropping whole columns and rows, then the logos), the
// empty page area, the right column with the help bar and the item help box,
// and the grey-out that dims the screen behind a modal window.
#include "graphics/background.h"

#include "platform/bindings.h"
#include "graphics/buttons.h"
#include "graphics/double_buffer.h"
#include "graphics/frame_write.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/text_draw.h"
#include "graphics/cursor.h"
#include "graphics/retained_region.h"
#include "setup_data/access_level.h"
#include "platform/lib.h"
#include "setup_data/text_table.h"

namespace {

// The left band picture is drawn with its top-left corner here.
constexpr UINT64 kBandPictureX = 3;
// The lower logo's place and size (both languages' logos are this size).
constexpr UINT64 kLowerLogoX = 20;
constexpr UINT64 kLowerLogoY = 168;
constexpr UINT64 kLowerLogoWidth = 254;
constexpr UINT64 kLowerLogoHeight = 63;
// Source width read back from the picture; the band is stretched from it.
constexpr UINT64 kBandSourceWidth = 256;
constexpr UINT64 kBandSourceRows = 768;

// The screen saved under the grey-out. Quorvex_BackGround_Reset frees it and
// puts the state back to these values.
struct BackGroundState {
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* SavedScreen = nullptr;
  UINT64 SavedWidth = 0;
  UINT64 SavedHeight = 0;
};
constinit BackGroundState BackGround = {};
constexpr auto& SavedScreen = BackGround.SavedScreen;
constexpr UINT64& SavedWidth = BackGround.SavedWidth;
constexpr UINT64& SavedHeight = BackGround.SavedHeight;

// The item help box outside the Main page: redrawn only where its text
// changed. Its region reaches the screen's right edge, where a glyph at the
// end of a line may still land. (A drawing cache with its own forget, kept
// apart from the state above.)
constinit RetainedRegion ItemHelpRegion = {};

EFI_STATUS DrawBandJpeg() {
  if (!ImageDisplay || !ImageDisplay->Operations || !ImageDisplay->Operations->DrawJpeg ||
      !kLeftBandPicture.Data)
    return EFI_NOT_FOUND;
  Quorvex_ScreenLog_NotePicture(kLeftBandPicture, kBandPictureX, 0);
  return ImageDisplay->Operations->DrawJpeg(
      kLeftBandPicture.Data, static_cast<UINT32>(kLeftBandPicture.Size), kBandPictureX, 0);
}

// For every band column, the source column it shows: a column is repeated
// after every Step source columns when the band is wider than the source,
// and one is skipped after every Step columns when it is narrower.
void BuildColumnMap(UINT16* Map, UINT64 Band) {
  const INT64 dx = static_cast<INT64>(Band) - static_cast<INT64>(kBandSourceWidth);
  const UINT64 magnitude = static_cast<UINT64>(dx < 0 ? -dx : dx);
  UINT64 step = 0;
  if (magnitude != 0) {
    step = kBandSourceWidth / magnitude;
    // A band more than twice the source repeats every column (and then the
    // last column), rather than dividing by zero.
    if (step == 0) step = 1;
  }
  const UINT64 last = kBandSourceWidth - 1;
  UINT64 u = 0;
  for (UINT64 c = 0; c < Band; ++c) {
    Map[c] = static_cast<UINT16>(u < last ? u : last);
    if (dx > 0 && (u + 1) % step == 0) {
      if (c + 1 < Band) Map[c + 1] = static_cast<UINT16>(u < last ? u : last);
      ++c;
    }
    if (dx < 0 && (u + 1) % step == 0 && u < kBandSourceWidth) {
      ++u;
      Map[c] = static_cast<UINT16>(u < last ? u : last);
    }
    if (u < kBandSourceWidth) ++u;
  }
}

// Draws the band picture stretched to (W ÷ 4) × H through the double buffer.
// Returns false when the arrays cannot be had (the caller then draws the
// picture unstretched).
bool DrawStretchedBand() {
  const UINT64 band = ScreenWidth / 4;
  const UINT64 height = ScreenHeight;
  const UINT64 sourceRows = height < kBandSourceRows ? height : kBandSourceRows;
  if (!DrawableExtent(band, height) || sourceRows == 0) return false;

  QUORVEX_POOL_ARRAY(EFI_GRAPHICS_OUTPUT_BLT_PIXEL, source, kBandSourceWidth * sourceRows);
  QUORVEX_POOL_ARRAY(EFI_GRAPHICS_OUTPUT_BLT_PIXEL, destination, band * height);
  QUORVEX_POOL_ARRAY(UINT16, columns, band);
  if (!source || !destination || !columns) return false;

  // The picture is composed at its own size from the left edge and read
  // back before it is stretched: the frame covers that as well as the band
  // flushed from x 4.
  const UINT64 composed = kBandPictureX + kBandSourceWidth;
  Quorvex_DoubleBuffer_StartFramed(0, 0, composed > band + 4 ? composed : band + 4, height, 4, 0,
                                   band, height);
  if (Quorvex_DoubleBuffer_Active()) {
    // The off-screen frame starts undefined: give the columns the picture
    // does not cover a defined colour (they are never flushed to the band).
    Quorvex_FillRect(0, 0, band + 4 <= ScreenWidth ? band + 4 : ScreenWidth, height,
                     kColourPageArea);
  } else {
    MemFill32(source.get(), PixelWordOf(kColourPageArea), kBandSourceWidth * sourceRows);
  }
  DrawBandJpeg();
  Quorvex_Blt(source.get(), EfiBltVideoToBltBuffer, 0, 0, 0, 0, kBandSourceWidth, sourceRows,
              kBandSourceWidth * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));

  BuildColumnMap(columns.get(), band);
  const UINT64 dy = height - sourceRows;
  const UINT64 rowStep = dy == 0 ? 0 : height / dy;
  // Source row of the current band row; a row repeats after every rowStep
  // band rows.
  INT64 s = 0;
  for (UINT64 r = 0; r < height; ++r) {
    const UINT64 row =
        static_cast<UINT64>(s) < sourceRows ? static_cast<UINT64>(s) : sourceRows - 1;
    const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* from = source.get() + row * kBandSourceWidth;
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL* to = destination.get() + r * band;
    for (UINT64 c = 0; c < band; ++c) to[c] = from[columns[c]];
    if (dy > 0 && (r + 1) % rowStep == 0) --s;
    if (s < static_cast<INT64>(sourceRows)) ++s;
  }
  Quorvex_Blt(destination.get(), EfiBltBufferToVideo, 0, 0, 0, 0, band, height,
              band * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  return true;
}

} // namespace

void Quorvex_BackGround_Left() {
  if (ScreenWidth == 1024 && ScreenHeight == 768) {
    DrawBandJpeg();
  } else if (!DrawStretchedBand()) {
    DrawBandJpeg();
  }
  Quorvex_DrawPicture(kUpperLogo, 20, 20);
  Quorvex_DrawPicture(Language == 2 ? kLowerLogoFrench : kLowerLogoEnglish, kLowerLogoX,
                      kLowerLogoY);
}

void Quorvex_BackGround_LowerLogo() {
  // The stretched band composes in a frame of its own, which cannot sit
  // inside another one: there the whole band is drawn.
  const bool framed = ScreenWidth == 1024 && ScreenHeight == 768 &&
                      !EFI_ERROR(Quorvex_DoubleBuffer_Start(kLowerLogoX, kLowerLogoY,
                                                            kLowerLogoWidth, kLowerLogoHeight));
  Quorvex_BackGround_Left();
  if (!framed) return;
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
}

void Quorvex_BackGround_Page() {
  Quorvex_FillRect(ScreenWidth / 4, 0, 2 * ScreenWidth / 4, ScreenHeight, kColourPageArea);
}

void Quorvex_ItemHelp_DrawBody(const CHAR16* HelpText) {
  const UINT64 x = 3 * ScreenWidth / 4 + 10;
  const UINT64 width = SaturatingSub(ScreenWidth / 4, 20);
  const UINT64 height = 3 * ScreenHeight / 5;
  const UINT64 lineHeight = GlyphLineHeight;
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL ink = Pixel(kColourDarkText);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL back = Pixel(kColourRightColumn);
  Quorvex_DrawString(TextOf(TEXT(CommonItemHelpTitle)), ink, back, x, 10, width, height);
  Quorvex_DrawString(HelpText, ink, back, x, 2 * lineHeight + 10, width,
                     SaturatingSub(height, 2 * lineHeight));
}

namespace {

void DrawItemHelpStep(void* Context, UINT64) {
  Quorvex_ItemHelp_DrawBody(static_cast<const CHAR16*>(Context));
}

} // namespace

void Quorvex_ItemHelp_Draw(const CHAR16* HelpText) {
  const UINT64 x = 3 * ScreenWidth / 4 + 10;
  CursorHiddenOver hidden(x, 10, SaturatingSub(ScreenWidth / 4, 20), 3 * ScreenHeight / 5);
  Quorvex_Retained_Redraw(&ItemHelpRegion,
                          {x, 10, SaturatingSub(ScreenWidth, x), 3 * ScreenHeight / 5}, 1,
                          DrawItemHelpStep, const_cast<CHAR16*>(HelpText));
}

ScreenRect Quorvex_HelpBar_ButtonRect(UINT64 Index) {
  const UINT64 top = 3 * ScreenHeight / 5;
  return {3 * ScreenWidth / 4 + 10, top + 20 + 60 * Index, SaturatingSub(ScreenWidth / 4, 20), 50};
}

void Quorvex_HelpBar_DrawPart(UINT64 Part) {
  struct HelpButton {
    const CHAR16* Caption;
    const CHAR16* Key;
  };
  static constexpr HelpButton kButtons[kHelpBarButtons] = {
      {TEXT(CommonHelpBarHelp), u"[F1]"},
      {TEXT(CommonHelpBarSetupDefaults), u"[F9]"},
      {TEXT(CommonHelpBarSaveAndExit), u"[F10]"},
      {TEXT(CommonHelpBarClose), u"[ESC]"},
  };
  if (Part == 0) {
    Quorvex_FillRect(3 * ScreenWidth / 4, 0, ScreenWidth / 4, ScreenHeight, kColourRightColumn);
  } else if (Part <= kHelpBarButtons) {
    const UINT64 i = Part - 1;
    const ScreenRect r = Quorvex_HelpBar_ButtonRect(i);
    // Loading the defaults is refused at restricted access: its button is
    // shown greyed.
    if (i == 1 && !Quorvex_FullAccess()) {
      Quorvex_Grayout_Help_Button_Control(r.X, r.Y, r.Width, r.Height, TextOf(kButtons[i].Caption),
                                          kButtons[i].Key);
    } else {
      Quorvex_Help_Button_Control(r.X, r.Y, r.Width, r.Height, TextOf(kButtons[i].Caption),
                                  kButtons[i].Key);
    }
  } else if (Part == kHelpBarButtons + 1) {
    Quorvex_ItemHelp_DrawBody(u"");
  }
}

static_assert(kHelpBarParts == kHelpBarButtons + 2, "fill, buttons, item help box");

void Quorvex_HelpBar_DrawBody() {
  for (UINT64 part = 0; part < kHelpBarParts; ++part) Quorvex_HelpBar_DrawPart(part);
}

void Quorvex_HelpBar_Draw() {
  CursorHidden hidden;
  Quorvex_HelpBar_DrawBody();
}

void Quorvex_BackGround_Draw() {
  {
    CursorHidden hidden;
    Quorvex_BackGround_Left();
    Quorvex_BackGround_Page();
  }
  Quorvex_HelpBar_Draw();
}

void Quorvex_Grayout_All_Screen() {
  const UINT64 width = ScreenWidth;
  const UINT64 height = ScreenHeight;
  if (!GraphicsOutput || !DrawableExtent(width, height)) return;
  const UINT64 count = width * height;
  if (SavedScreen && (SavedWidth != width || SavedHeight != height)) {
    Quorvex_FreePool(SavedScreen);
    SavedScreen = nullptr;
  }
  // A second grey-out refills the saved screen: a dimmed screen still
  // waiting reads it, so it goes out first.
  if (SavedScreen) Quorvex_DoubleBuffer_Present();
  if (!SavedScreen) {
    SavedScreen = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(
        Quorvex_AllocatePool(count * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL)));
    if (!SavedScreen) return;
    SavedWidth = width;
    SavedHeight = height;
  }
  const UINTN delta = width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL);
  Quorvex_Blt(SavedScreen, EfiBltVideoToBltBuffer, 0, 0, 0, 0, width, height, delta);
  // With the input's drawing deferred the dimmed screen waits for the
  // window drawn over it, and both reach the screen together.
  if (Quorvex_DoubleBuffer_DeferDimmed(SavedScreen, width, height)) return;
  Quorvex_Frame_WriteDimmed(GraphicsOutput->Blt, {SavedScreen, {0, 0, width, height}});
}

bool Quorvex_Grayout_Again() {
  if (!SavedScreen || SavedWidth != ScreenWidth || SavedHeight != ScreenHeight) return false;
  return Quorvex_DoubleBuffer_DeferDimmed(SavedScreen, SavedWidth, SavedHeight);
}

void Quorvex_Restore_All_Screen() {
  if (!SavedScreen) return;
  // A dimmed screen still waiting reads the saved one: it goes out first.
  Quorvex_DoubleBuffer_Present();
  if (GraphicsOutput)
    Quorvex_Blt(SavedScreen, EfiBltBufferToVideo, 0, 0, 0, 0, SavedWidth, SavedHeight,
                SavedWidth * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
  Quorvex_FreePool(SavedScreen);
  SavedScreen = nullptr;
}

void Quorvex_Grayout_Forget() {
  Quorvex_DoubleBuffer_Present();
  if (SavedScreen) Quorvex_FreePool(SavedScreen);
  SavedScreen = nullptr;
}

void Quorvex_BackGround_Reset() {
  Quorvex_Grayout_Forget();
  Quorvex_Retained_Forget(&ItemHelpRegion);
  BackGround = {};
}
