// The general help window (F1 or the help bar's Help button): the help text
// of the current language cut into box-sized pages, shown one page at a time
// with a scroll bar. The page last viewed is shown again at the next opening.
#include "core/main_loop.h"
#include "core/startup.h"
#include "graphics/background.h"
#include "graphics/buttons.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/item_list.h"
#include "graphics/text_draw.h"
#include "graphics/windows.h"
#include "input/mouse.h"
#include "setup_data/text_table.h"

UINT8 GeneralHelpOpen = 0;

namespace {

constexpr UINTN kHelpPageSlots = 32;
constinit CHAR16 HelpPages[kHelpPageSlots][kSplitLineUnits] = {};
constinit UINT64 HelpPageCount = 0;
constinit UINT64 HelpPageIndex = 0;

struct HelpGeometry {
  UINT64 X, Y, Width, Height;                 // the window
  UINT64 TextX, TextY, TextWidth, TextHeight; // the page box
};

HelpGeometry Geometry() {
  HelpGeometry g;
  g.Width = ScreenWidth * 60 / 100;
  g.Height = ScreenHeight * 50 / 100;
  g.X = SaturatingSub(ScreenWidth / 2, g.Width / 2);
  g.Y = SaturatingSub(ScreenHeight / 2, g.Height / 2);
  g.TextWidth = ScreenWidth * 50 / 100;
  g.TextHeight = ScreenHeight * 40 / 100;
  g.TextX = g.X + SaturatingSub(g.Width, g.TextWidth) / 2;
  g.TextY = g.Y + 25;
  return g;
}

// The page text starts 10 pixels inside the page box and stops short of the
// scroll bar's arrows (13 pixels from the box's right edge) with a 2-pixel
// gap. Pages are split for exactly this box and drawn in it.
UINT64 PageTextWidth(const HelpGeometry& g) {
  return SaturatingSub(g.TextWidth, 25);
}
UINT64 PageTextHeight(const HelpGeometry& g) {
  return SaturatingSub(g.TextHeight, GlyphLineHeight);
}

// The current page in its box, and the scroll bar beside it.
void DrawPage() {
  const HelpGeometry g = Geometry();
  const CHAR16* page = HelpPageIndex < HelpPageCount ? HelpPages[HelpPageIndex] : nullptr;
  Quorvex_Button_Control_Color_Modified_Mode(g.TextX, g.TextY, g.TextWidth, g.TextHeight, nullptr,
                                             Pixel(kColourPageArea), Pixel(kColourButtonBorder));
  if (page)
    Quorvex_DrawString(page, Pixel(kColourDarkText), kTransparent, g.TextX + 10, g.TextY + 10,
                       PageTextWidth(g), PageTextHeight(g));
  Quorvex_Draw_ScrollBar(g.TextX, g.TextY, g.TextWidth, g.TextHeight, HelpPageCount, HelpPageIndex);
}

void DrawWindow() {
  const HelpGeometry g = Geometry();
  Quorvex_Button_Control_Color_Modified_Mode(g.X, g.Y, g.Width, g.Height, nullptr,
                                             Pixel(kColourRightColumn), Pixel(kColourRightColumn));
  UINT64 last = 0;
  const EFI_STATUS split =
      Quorvex_SplitTextLines(TextOf(TEXT(CommonGeneralHelp)), PageTextWidth(g), PageTextHeight(g),
                             HelpPages, kHelpPageSlots, &last);
  HelpPageCount = split == EFI_ABORTED || split == EFI_INVALID_PARAMETER ? 0 : last + 1;
  // A text that became shorter (another language) keeps the page in range.
  if (HelpPageIndex >= HelpPageCount) HelpPageIndex = HelpPageCount == 0 ? 0 : HelpPageCount - 1;
  DrawPage();
  Quorvex_DrawPicture(kCloseMark, SaturatingSub(g.X + g.Width, 32), g.Y + 10);
  const UINT64 below = g.TextY + g.TextHeight;
  const UINT64 okTop = SaturatingSub(below + SaturatingSub(g.Y + g.Height, below) / 2, 15);
  Quorvex_Selected_Button_Control_PopUpForm(g.X + SaturatingSub(g.Width, 100) / 2, okTop, 100, 30,
                                            TextOf(TEXT(CommonHelpOk)));
}

} // namespace

void Quorvex_Draw_ScrollBar(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height, UINT64 PageCount,
                            UINT64 CurrentPage) {
  if (CurrentPage >= PageCount || !InsideScreen(X, Y, Width, Height)) return;
  const UINT64 trackX = SaturatingSub(X + Width, 10);
  const UINT64 track = SaturatingSub(Height, 20);
  Quorvex_FillRect(trackX, Y + 10, 5, track, kColourPageArea);
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

EFI_STATUS Quorvex_GeneralHelp() {
  GeneralHelpOpen = 1;
  {
    CursorHidden hidden;
    Quorvex_Grayout_All_Screen();
    DrawWindow();
  }
  // The press that opened the help must not count as a click in it.
  Quorvex_MouseDrain();

  EFI_STATUS result = EFI_ABORTED;
  for (;;) {
    Quorvex_MousePoll();
    if (!GeneralHelpOpen) {
      result = EFI_ABORTED;
      break;
    }
    EFI_INPUT_KEY key;
    if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
    if (key.ScanCode == SCAN_UP || key.ScanCode == SCAN_PAGE_UP) {
      Quorvex_GeneralHelp_PageUp();
    } else if (key.ScanCode == SCAN_DOWN || key.ScanCode == SCAN_PAGE_DOWN) {
      Quorvex_GeneralHelp_PageDown();
    } else if (key.ScanCode == SCAN_ESC) {
      result = EFI_ABORTED;
      break;
    } else if (key.UnicodeChar == CHAR_CARRIAGE_RETURN || key.UnicodeChar == u'N' ||
               key.UnicodeChar == u'n' || key.UnicodeChar == u'Y' || key.UnicodeChar == u'y') {
      result = EFI_SUCCESS;
      break;
    }
  }

  GeneralHelpOpen = 0;
  {
    CursorHidden hidden;
    Quorvex_Restore_All_Screen();
  }
  return result;
}

UINT64 Quorvex_GeneralHelp_PageIndex() {
  return HelpPageIndex;
}
UINT64 Quorvex_GeneralHelp_PageCount() {
  return HelpPageCount;
}

void Quorvex_Windows_Reset() {
  ChoiceWindowOpen = 0;
  ChoiceWindowChoice = 0;
  GeneralHelpOpen = 0;
  HelpPageCount = 0;
  HelpPageIndex = 0;
}
