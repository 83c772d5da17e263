// A page's item records drawn as a vertical list in the page area, one
// control per kind, inside one double-buffered region; the split of a long
// list into screen pages; the row under a point; the page scroll bar.
#include "graphics/item_list.h"

#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/background.h"
#include "graphics/buttons.h"
#include "graphics/double_buffer.h"
#include "graphics/draw_util.h"
#include "graphics/graphics_internal.h"
#include "graphics/text_draw.h"
#include "graphics/cursor.h"
#include "graphics/retained_region.h"
#include "setup_data/text_table.h"

namespace {

constexpr UINT64 kListTop = 50;
constexpr UINT64 kListIndent = 50;
// Options beyond this many are not shown by a drop-down list.
constexpr UINTN kMaxShownOptions = 32;

// The list page chosen by Page Up, Page Down or the scroll rectangle for one
// item array: shown instead of the focused row's page until the focus moves
// (a chosen page may hold no row that can take the focus).
struct ChosenPage {
  const SetupItem* Items;
  UINT64 Page;
};
constinit ChosenPage gChosen = {nullptr, 0};

UINT64 SaturatingAdd(UINT64 A, UINT64 B) {
  return A > ~0ull - B ? ~0ull : A + B;
}

UINT64 RowStep(const SetupItem& Item) {
  return SaturatingAdd(Item.Height, Item.Gap);
}

// The current language's texts of a null-terminated array of text
// references, into Out (kMaxShownOptions + 1 entries, null-terminated).
void ResolveOptions(const CHAR16* const* Options, const CHAR16** Out) {
  UINTN count = 0;
  while (Options && Options[count] != nullptr && count < kMaxShownOptions) {
    Out[count] = TextOf(Options[count]);
    ++count;
  }
  Out[count] = nullptr;
}

// The option text of a toggle row: entry Value (low byte) of its array of
// text references, or null when the array is shorter.
const CHAR16* ToggleOption(const SetupItem& Item) {
  const CHAR16* const* options = ItemOptionTexts(Item);
  const UINT64 index = Item.Value & 0xFF;
  if (!options) return nullptr;
  for (UINT64 i = 0; options[i] != nullptr; ++i)
    if (i == index) return TextOf(options[i]);
  return nullptr;
}

// Next row at or after Index that is not hidden, or End.
UINT64 NextShown(const SetupItem* Items, UINT64 Index, UINT64 End) {
  while (Index < End && Items[Index].Hidden) ++Index;
  return Index;
}

// Walks the rows of [First, End) as the drawer places them: calls Visit(row,
// top) for each shown row, and stops where the drawer stops (a next row
// whose bottom would pass the screen) or when Visit returns false.
template <typename F> void WalkRows(const SetupItem* Items, UINT64 First, UINT64 End, F Visit) {
  UINT64 y = kListTop;
  for (UINT64 i = NextShown(Items, First, End); i < End;) {
    if (!Visit(i, y)) return;
    y = SaturatingAdd(y, RowStep(Items[i]));
    const UINT64 next = NextShown(Items, i + 1, End);
    if (next < End && SaturatingAdd(y, Items[next].Height) > ScreenHeight) return;
    i = next;
  }
}

void DrawRow(const SetupItem& Item, UINT64 X, UINT64 Y, bool Selected) {
  const CHAR16* label = TextOf(Item.Label);
  const UINT64 width = Item.Width;
  const UINT64 height = Item.Height;
  const bool grey = Item.GreyedOut != 0;
  switch (Item.Kind) {
  case ItemButton:
    if (Selected) {
      Quorvex_Selected_Button_Control(X, Y, width, height, label);
    } else if (grey) {
      Quorvex_Grayout_Button_Control(X, Y, width, height, label);
    } else {
      Quorvex_Button_Control(X, Y, width, height, label);
    }
    break;
  case ItemValueButton:
    if (grey) {
      Quorvex_Grayout_Label_Button_Control(X, Y, width, height, label, ItemValueBuffer(Item),
                                           Item.Value);
    } else if (Selected) {
      Quorvex_Selected_Label_Button_Control(X, Y, width, height, label, ItemValueBuffer(Item),
                                            Item.Value);
    } else {
      Quorvex_Label_Button_Control(X, Y, width, height, label, ItemValueBuffer(Item), Item.Value);
    }
    break;
  case ItemInfo:
    Quorvex_Label_Value_Control(X, Y, width, height, label, ItemInfoText(Item), Item.Value);
    break;
  case ItemOptionCycle: {
    const CHAR16* option = ToggleOption(Item);
    const UINT64 state = Item.Value & 0xFF;
    if (Selected) {
      Quorvex_Selected_Toggle_Item_Control(X, Y, width, height, label, option, state);
    } else if (grey) {
      Quorvex_Grayout_Toggle_Item_Control(X, Y, width, height, label, option, state);
    } else {
      Quorvex_Toggle_Item_Control(X, Y, width, height, label, option, state);
    }
    break;
  }
  case ItemDropDown: {
    const CHAR16* options[kMaxShownOptions + 1];
    ResolveOptions(Item.Options, options);
    if (grey) {
      Quorvex_Grayout_DropDownList_Control(X, Y, width, height, label, options, Item.Data);
    } else if (ItemListOpen(Item)) {
      // Drawn after every other row.
    } else if (Selected) {
      Quorvex_Selected_DropDownList_Control(X, Y, width, height, label, options, Item.Data);
    } else {
      Quorvex_DropDownList_Control(X, Y, width, height, label, options, Item.Data);
    }
    break;
  }
  case ItemHeading:
    Quorvex_DrawString(label, Pixel(kColourDarkText), kTransparent, X, Y, width, height);
    break;
  case ItemAdjust:
    if (Selected) {
      Quorvex_Selected_Adjustment_Button(X, Y, width, height, label, Item.Data);
    } else if (grey) {
      Quorvex_Grayout_Adjustment_Button(X, Y, width, height, label, Item.Data);
    } else {
      Quorvex_Adjustment_Button(X, Y, width, height, label, Item.Data);
    }
    break;
  default:
    break; // an unknown kind takes its room and shows nothing
  }
}

} // namespace

UINT64 Quorvex_Item_Pages(const SetupItem* Items, UINT64 Count, UINT64* First, UINT64* End,
                          UINT64* PageStarts) {
  UINT64 starts[kMaxItemPages];
  UINT64* page = PageStarts ? PageStarts : starts;
  UINT64 pages = 1;
  page[0] = 0;
  if (Items) {
    UINT64 y = kListTop;
    bool pageHasRow = false;
    for (UINT64 i = 0; i < Count; ++i) {
      if (Items[i].Hidden) continue;
      y = SaturatingAdd(y, RowStep(Items[i]));
      // A row that takes the sum past H − 50 opens the next page (a row too
      // tall for any page stays alone on its own).
      if (SaturatingAdd(y, 50) > ScreenHeight && pageHasRow && pages < kMaxItemPages) {
        page[pages++] = i;
        y = SaturatingAdd(kListTop, RowStep(Items[i]));
      }
      pageHasRow = true;
    }
  }
  const UINT64 selected = Items ? SelectedIndex(Items, Count) : Count;
  UINT64 shown = 0;
  if (Items != nullptr && gChosen.Items == Items) {
    // The chosen page, or the last one when the list has shrunk since.
    shown = gChosen.Page < pages ? gChosen.Page : pages - 1;
  } else if (selected < Count) {
    while (shown + 1 < pages && page[shown + 1] <= selected) ++shown;
  }
  if (First) *First = page[shown];
  if (End) *End = shown + 1 < pages ? page[shown + 1] : Count;
  return pages;
}

void Quorvex_Item_ShowPage(const SetupItem* Items, UINT64 Page) {
  gChosen = {Items, Page};
}

void Quorvex_Item_ShowFocusedPage() {
  gChosen = {nullptr, 0};
}

bool Quorvex_Item_PageChosen(const SetupItem* Items) {
  return Items != nullptr && gChosen.Items == Items;
}

UINT64 Quorvex_Item_ShownPage(const SetupItem* Items, UINT64 Count, UINT64* PageCount) {
  UINT64 starts[kMaxItemPages];
  UINT64 first = 0;
  const UINT64 pages = Quorvex_Item_Pages(Items, Count, &first, nullptr, starts);
  if (PageCount != nullptr) *PageCount = pages;
  UINT64 shown = 0;
  while (shown + 1 < pages && starts[shown] != first) ++shown;
  return shown;
}

namespace {

// The page scroll bar beside the item list: the track it is drawn in, and the
// wider rectangle up to the page area's right edge that takes its clicks.
struct PageScrollBarGeometry {
  ScreenRect Track;
  ScreenRect ClickArea;
};

PageScrollBarGeometry PageScrollBar() {
  const UINT64 right = 3 * ScreenWidth / 4;
  const UINT64 height = SaturatingSub(ScreenHeight, 100);
  const UINT64 clickLeft = SaturatingSub(right, 20);
  return {{SaturatingSub(right, 10), kListTop, 5, height},
          {clickLeft, kListTop, right - clickLeft, height}};
}

} // namespace

bool Quorvex_Item_ScrollRect(UINT64 PageCount, UINT64 Page, UINT64 X, UINT64 Y, INT32* Step) {
  const ScreenRect area = PageScrollBar().ClickArea;
  if (PageCount < 2 || X < area.X || X - area.X >= area.Width || Y < area.Y ||
      Y - area.Y >= area.Height) {
    return false;
  }
  // One equal segment of the rectangle per page.
  const UINT64 segmentTop = area.Y + area.Height * Page / PageCount;
  const UINT64 segmentEnd = area.Y + area.Height * (Page + 1) / PageCount;
  *Step = Y < segmentTop ? -1 : (Y >= segmentEnd ? 1 : 0);
  return true;
}

UINT64 Quorvex_Item_HitTest(const SetupItem* Items, UINT64 Count, UINT64 X, UINT64 Y) {
  if (!Items || X < ScreenWidth / 4 || X >= 3 * ScreenWidth / 4) return Count;
  UINT64 first = 0;
  UINT64 end = 0;
  Quorvex_Item_Pages(Items, Count, &first, &end, nullptr);
  UINT64 hit = Count;
  WalkRows(Items, first, end, [&](UINT64 Row, UINT64 Top) {
    if (Y >= Top && Y - Top < Items[Row].Height) {
      hit = Row;
      return false;
    }
    return true;
  });
  return hit;
}

UINT64 Quorvex_Item_Left() {
  return ScreenWidth / 4 + kListIndent;
}

UINT64 Quorvex_Item_Top(const SetupItem* Items, UINT64 Count, UINT64 Index) {
  if (!Items || Index >= Count) return kListTop;
  UINT64 starts[kMaxItemPages];
  const UINT64 pages = Quorvex_Item_Pages(Items, Count, nullptr, nullptr, starts);
  UINT64 page = 0;
  while (page + 1 < pages && starts[page + 1] <= Index) ++page;
  UINT64 y = kListTop;
  for (UINT64 i = starts[page]; i < Index; ++i)
    if (!Items[i].Hidden) y = SaturatingAdd(y, RowStep(Items[i]));
  return y;
}

namespace {

// The drawing steps of one list redraw, in drawing order: each is recorded
// and drawn by the retained region (graphics/retained_region.h).
enum class ListStep : UINT8 { HelpBar, Background, ScrollBar, Row, OpenList, Help };

struct ListStepEntry {
  ListStep Kind;
  UINT64 Row;
  UINT64 Top;
};

struct ListDrawing {
  SetupItem* Items;
  UINT64 Count;
  UINT8 Focused;
  UINT64 ScrollSize;
  UINT64 ScrollPosition;
  UINT64 X;
  const CHAR16* Help;
  ListStepEntry Steps[kMaxRetainedSteps];
  UINT64 StepCount;
  bool Overflow;
};

// Every other page's region ([0]) and the Main page's ([1], which takes
// the help column along): each keeps its records while the other is
// shown, so a way back redraws only what the other wrote over.
constinit RetainedRegion gListRegions[2] = {};

// Calls Visit(step) for the steps of one redraw, in drawing order.
template <typename F> void VisitSteps(ListDrawing* D, bool MainPage, bool ScrollBar, F Visit) {
  if (MainPage)
    for (UINT64 part = 0; part < kHelpBarParts; ++part)
      Visit(ListStepEntry{ListStep::HelpBar, part, 0});
  Visit(ListStepEntry{ListStep::Background, 0, 0});
  if (ScrollBar) Visit(ListStepEntry{ListStep::ScrollBar, 0, 0});
  if (D->Items) {
    UINT64 first = 0;
    UINT64 end = 0;
    Quorvex_Item_Pages(D->Items, D->Count, &first, &end, nullptr);
    UINT64 open = D->Count;
    UINT64 openTop = 0;
    bool helpKept = false;
    WalkRows(D->Items, first, end, [&](UINT64 Row, UINT64 Top) {
      const SetupItem& item = D->Items[Row];
      if (item.Selected != 0 && D->Focused != 0 && !helpKept) {
        D->Help = item.Help;
        helpKept = true;
      }
      Visit(ListStepEntry{ListStep::Row, Row, Top});
      if (item.Kind == ItemDropDown && ItemListOpen(item) && !item.GreyedOut && open == D->Count) {
        open = Row;
        openTop = Top;
      }
      return true;
    });
    if (open < D->Count) Visit(ListStepEntry{ListStep::OpenList, open, openTop});
  }
  // On the Main page the help column lies in the region: its text goes into
  // the same frame, so the column reaches the screen once.
  if (MainPage && D->Focused) Visit(ListStepEntry{ListStep::Help, 0, 0});
}

void DrawStep(const ListDrawing& d, const ListStepEntry& step);

void DrawStep(const ListDrawing& d, const ListStepEntry& step) {
  switch (step.Kind) {
  case ListStep::HelpBar:
    Quorvex_HelpBar_DrawPart(step.Row);
    break;
  case ListStep::Background:
    Quorvex_BackGround_Page();
    break;
  case ListStep::ScrollBar:
    Quorvex_Draw_Page_ScrollBar(d.ScrollSize, d.ScrollPosition);
    break;
  case ListStep::Row: {
    const SetupItem& item = d.Items[step.Row];
    DrawRow(item, d.X, step.Top, item.Selected != 0 && d.Focused != 0);
    break;
  }
  case ListStep::OpenList: {
    const SetupItem& item = d.Items[step.Row];
    const CHAR16* options[kMaxShownOptions + 1];
    ResolveOptions(item.Options, options);
    Quorvex_ItemSelected_Label_DropDownList_Control(d.X, step.Top, item.Width, item.Height,
                                                    TextOf(item.Label), options, item.Data);
    break;
  }
  case ListStep::Help:
    Quorvex_ItemHelp_DrawBody(d.Help ? TextOf(d.Help) : u"");
    break;
  }
}

void DrawListStep(void* Context, UINT64 Index) {
  const ListDrawing& d = *static_cast<const ListDrawing*>(Context);
  DrawStep(d, d.Steps[Index]);
}

} // namespace

void Quorvex_Draw_Item_List(SetupItem* Items, UINT64 Count, UINT8 Focused, UINT8 ScrollBar,
                            UINT64 ScrollSize, UINT64 ScrollPosition) {
  const UINT64 width = ScreenWidth;
  const UINT64 height = ScreenHeight;
  const bool mainPage = PageState == kStateMainTab || PageState == kStateMainPage;
  // The Main page's redraw takes the right column along (its help bar).
  const UINT64 regionWidth = mainPage ? 3 * width / 4 : width / 2;
  RetainedRegion& retained = gListRegions[mainPage ? 1 : 0];

  ListDrawing d = {};
  d.Items = Items;
  d.Count = Count;
  d.Focused = Focused;
  d.ScrollSize = ScrollSize;
  d.ScrollPosition = ScrollPosition;
  d.X = Quorvex_Item_Left();
  VisitSteps(&d, mainPage, ScrollBar != 0, [&](const ListStepEntry& Step) {
    if (d.StepCount < kMaxRetainedSteps) {
      d.Steps[d.StepCount++] = Step;
    } else {
      d.Overflow = true;
    }
  });
  {
    // Taken down before any drawing and put back after it, so the cursor is
    // never captured into the off-screen frame.
    CursorHiddenOver hidden(width / 4, 0, regionWidth, height);
    const ScreenRect region = {width / 4, 0, regionWidth, height};
    if (d.Overflow) {
      // More steps than the records hold: drawn whole, not retained.
      Quorvex_Retained_Forget(&retained);
      const bool buffered =
          !EFI_ERROR(Quorvex_DoubleBuffer_Start(region.X, region.Y, region.Width, region.Height));
      VisitSteps(&d, mainPage, ScrollBar != 0,
                 [&](const ListStepEntry& Step) { DrawStep(d, Step); });
      if (buffered) {
        Quorvex_DoubleBuffer_Flush();
        Quorvex_DoubleBuffer_Stop();
      }
    } else {
      Quorvex_Retained_Redraw(&retained, region, d.StepCount, DrawListStep, &d);
    }
  }
  if (Focused && !mainPage) Quorvex_ItemHelp_Draw(d.Help ? TextOf(d.Help) : u"");
}

void Quorvex_Item_ListForget() {
  for (RetainedRegion& region : gListRegions) Quorvex_Retained_Forget(&region);
}

void Quorvex_Draw_Item_List(SetupItem* Items, UINT64 Count, UINT8 Focused) {
  // A list of two or more pages shows where the shown page lies.
  UINT64 pages = 1;
  const UINT64 shown = Items ? Quorvex_Item_ShownPage(Items, Count, &pages) : 0;
  if (pages < 2) {
    Quorvex_Draw_Item_List(Items, Count, Focused, 0, 0, 0);
  } else {
    Quorvex_Draw_Item_List(Items, Count, Focused, 1, 100 / pages, 100 * shown / pages);
  }
}

void Quorvex_Draw_Page_ScrollBar(UINT64 SizePercent, UINT64 PositionPercent) {
  if (SizePercent > 100 || PositionPercent > 100) return;
  const ScreenRect track = PageScrollBar().Track;
  Quorvex_FillRect(track.X, track.Y, track.Width, track.Height, kColourPageArea);
  const UINT64 thumbHeight = track.Height * SizePercent / 100;
  UINT64 thumbTop = track.Y + track.Height * PositionPercent / 100;
  const UINT64 bottom = track.Y + track.Height;
  // Moved up so that it ends at the bottom of the track at the latest.
  if (thumbTop + thumbHeight > bottom) thumbTop = bottom - thumbHeight;
  Quorvex_FillRect(track.X, thumbTop, track.Width, thumbHeight, kColourDarkText);
  Quorvex_DrawPicture(kScrollArrowUp, SaturatingSub(track.X, 3), 41);
  Quorvex_DrawPicture(kScrollArrowDown, SaturatingSub(track.X, 3), bottom);
}
