// The general help window (F1 or the help bar's Help button): the help text
// of the current language cut into box-sized pages, shown one page at a time
// with a scroll bar. The page last viewed is shown again at the next opening.
#include "platform/bindings.h"
#include "graphics/background.h"
#include "graphics/buffered_window.h"
#include "graphics/buttons.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/item_list.h"
#include "graphics/text_draw.h"
#include "graphics/windows.h"
#include "graphics/cursor.h"
#include "setup_data/text_table.h"

constinit GeneralHelpState GeneralHelp = {};

namespace {

// The help text cut into pages; only the first PageCount hold a page.
constexpr UINTN kHelpPageSlots = 32;
constinit CHAR16 HelpPages[kHelpPageSlots][kSplitLineUnits] = {};
constexpr UINT64& HelpPageCount = GeneralHelp.PageCount;
constexpr UINT64& HelpPageIndex = GeneralHelp.PageIndex;

} // namespace

GeneralHelpGeometry Quorvex_GeneralHelp_Geometry() {
  GeneralHelpGeometry g;
  g.Width = ScreenWidth * 60 / 100;
  g.Height = ScreenHeight * 50 / 100;
  g.X = SaturatingSub(ScreenWidth / 2, g.Width / 2);
  g.Y = SaturatingSub(ScreenHeight / 2, g.Height / 2);
  g.TextWidth = ScreenWidth * 50 / 100;
  g.TextHeight = ScreenHeight * 40 / 100;
  g.TextX = g.X + SaturatingSub(g.Width, g.TextWidth) / 2;
  g.TextY = g.Y + 25;
  const UINT64 below = g.TextY + g.TextHeight;
  const UINT64 okTop = SaturatingSub(below + SaturatingSub(g.Y + g.Height, below) / 2, 15);
  g.Ok = {g.X + SaturatingSub(g.Width, 100) / 2, okTop, 100, 30};
  g.Close = Quorvex_CloseMark_Rect({g.X, g.Y, g.Width, g.Height});
  g.ScrollTrack = Quorvex_ScrollBar_Track(g.TextX, g.TextY, g.TextWidth, g.TextHeight);
  return g;
}

namespace {

// The page text starts 10 pixels inside the page box and stops short of the
// scroll bar's arrows (13 pixels from the box's right edge) with a 2-pixel
// gap. Pages are split for exactly this box and drawn in it.
UINT64 PageTextWidth(const GeneralHelpGeometry& g) {
  return SaturatingSub(g.TextWidth, 25);
}
UINT64 PageTextHeight(const GeneralHelpGeometry& g) {
  return SaturatingSub(g.TextHeight, GlyphLineHeight);
}

// The current page in its box, and the scroll bar beside it.
void DrawPage() {
  const GeneralHelpGeometry g = Quorvex_GeneralHelp_Geometry();
  const CHAR16* page = HelpPageIndex < HelpPageCount ? HelpPages[HelpPageIndex] : nullptr;
  Quorvex_Button_Control_Color_Modified_Mode(g.TextX, g.TextY, g.TextWidth, g.TextHeight, nullptr,
                                             Pixel(kColourPageArea), Pixel(kColourButtonBorder));
  if (page)
    Quorvex_DrawString(page, Pixel(kColourDarkText), kTransparent, g.TextX + 10, g.TextY + 10,
                       PageTextWidth(g), PageTextHeight(g));
  Quorvex_Draw_ScrollBar(g.TextX, g.TextY, g.TextWidth, g.TextHeight, HelpPageCount, HelpPageIndex);
}

void DrawWindow() {
  const GeneralHelpGeometry g = Quorvex_GeneralHelp_Geometry();
  Quorvex_Button_Control_Color_Modified_Mode(g.X, g.Y, g.Width, g.Height, nullptr,
                                             Pixel(kColourRightColumn), Pixel(kColourRightColumn));
  UINT64 last = 0;
  const EFI_STATUS split =
      Quorvex_SplitTextLines(TextOf(TEXT(CommonGeneralHelp)), PageTextWidth(g), PageTextHeight(g),
                             HelpPages, kHelpPageSlots, &last);
  HelpPageCount = split == EFI_ABORTED || split == EFI_INVALID_PARAMETER ? 0 : last + 1;
  // A text that became shorter (another language) keeps the page in range.
  if (HelpPageIndex >= HelpPageCount) HelpPageIndex = HelpPageCount == 0 ? 0 : HelpPageCount - 1;
  {
    // The page box is composed off screen (its face covers it first). The
    // rest of the window is fills, a mark and a button, which, while the
    // input's drawing is deferred, wait as they are behind the dimmed
    // screen without a frame the size of the window.
    BufferedWindow page(g.TextX, g.TextY, g.TextWidth, g.TextHeight, 0);
    DrawPage();
  }
  Quorvex_DrawPicture(kCloseMark, g.Close.X, g.Close.Y);
  Quorvex_Selected_Button_Control_PopUpForm(g.Ok.X, g.Ok.Y, g.Ok.Width, g.Ok.Height,
                                            TextOf(TEXT(CommonHelpOk)));
}

} // namespace

void Quorvex_GeneralHelp_DrawWindow() {
  CursorHidden hidden;
  DrawWindow();
}

ScreenRect Quorvex_ScrollBar_Track(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  return {SaturatingSub(X + Width, 10), Y + 10, 5, SaturatingSub(Height, 20)};
}

void Quorvex_Draw_ScrollBar(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT64 PageCount,
                            UINT64 CurrentPage) {
  if (CurrentPage >= PageCount || !InsideScreen(X, Y, Width, Height)) return;
  const ScreenRect t = Quorvex_ScrollBar_Track(X, Y, Width, Height);
  const UINT64 trackX = t.X;
  const UINT64 track = t.Height;
  Quorvex_FillRect(t.X, t.Y, t.Width, t.Height, kColourPageArea);
  if (PageCount < 2) return;
  Quorvex_FillRect(trackX, Y + 10 + track * CurrentPage / PageCount, 5, track / PageCount,
                   kColourDarkText);
  const UINT64 arrowX = SaturatingSub(X + Width, 13);
  Quorvex_DrawPicture(kScrollArrowUp, arrowX, Y + 1);
  Quorvex_DrawPicture(kScrollArrowDown, arrowX, Y + 10 + track);
}

void Quorvex_GeneralHelp_PageUp() {
  if (!GeneralHelpOpen || HelpPageCount < 2 || HelpPageIndex == 0) return;
  --HelpPageIndex;
  CursorHidden hidden;
  DrawPage();
}

void Quorvex_GeneralHelp_PageDown() {
  if (!GeneralHelpOpen || HelpPageCount < 2 || HelpPageIndex + 1 >= HelpPageCount) return;
  ++HelpPageIndex;
  CursorHidden hidden;
  DrawPage();
}

UINT64 Quorvex_GeneralHelp_PageIndex() {
  return HelpPageIndex;
}
UINT64 Quorvex_GeneralHelp_PageCount() {
  return HelpPageCount;
}

void Quorvex_GeneralHelp_Reset() {
  GeneralHelp = {};
}

void Quorvex_Windows_Reset() {
  Quorvex_ChoiceWindow_Reset();
  Quorvex_GeneralHelp_Reset();
}
