// A page's item records drawn as a vertical list of controls, with page
// split, toggles, drop-down lists, pop-up form buttons and adjustment buttons.
#pragma once

#include "graphics/draw_util.h"
#include "platform/efi.h"
#include "setup_data/setup_item.h"

constexpr UINTN kMaxItemPages = 100;

// Draws the list page shown (see Quorvex_Item_Pages) (rows from y 50 at
// x W/4 + 50) in one double-buffered region, the open drop-down last, then,
// when Focused, the item help of the selected row. Text fields of the rows
// are text references (English slots) resolved here to the current
// language: Label, Help, the option arrays of kinds 3 (Data) and 4
// (Options). Value texts of kinds 1 and 2 (Data) are drawn as they are.
// Kind 6 shows the number in Data.
void Quorvex_Draw_Item_List(SetupItem* Items, UINT64 Count, UINT8 Focused, UINT8 ScrollBar,
                            UINT64 ScrollSize, UINT64 ScrollPosition);
// The same with the page scroll bar whenever the list has two or more pages.
void Quorvex_Draw_Item_List(SetupItem* Items, UINT64 Count, UINT8 Focused);

// Range [First, End) of the list page shown: the page chosen for this array
// (Quorvex_Item_ShowPage), else the one that holds the first selected item.
// Returns the number of list pages.
UINT64 Quorvex_Item_Pages(const SetupItem* Items, UINT64 Count, UINT64* First, UINT64* End,
                          UINT64* PageStarts /* kMaxItemPages entries */);
// Shows list page Page of the array Items (the last page when the list has
// fewer) whatever row has the focus, until Quorvex_Item_ShowFocusedPage.
// One array at a time has a chosen page.
void Quorvex_Item_ShowPage(const SetupItem* Items, UINT64 Page);
void Quorvex_Item_ShowFocusedPage();
// Forgets what the list last drew: the next redraw draws the whole region.
void Quorvex_Item_ListForget();
// True while the array has a chosen page.
bool Quorvex_Item_PageChosen(const SetupItem* Items);
// Number of the list page shown and, in PageCount, how many pages the list
// has.
UINT64 Quorvex_Item_ShownPage(const SetupItem* Items, UINT64 Count, UINT64* PageCount);
// The scroll rectangle beside a list of two or more pages (x 3W/4 - 20, y 50,
// 20 x H - 100), one equal segment per page: true when (X, Y) lies in it,
// with Step -1 above the segment of page Page, +1 below it, 0 on it.
bool Quorvex_Item_ScrollRect(UINT64 PageCount, UINT64 Page, UINT64 X, UINT64 Y, INT32* Step);
// The row under the point (a row covers its Height, not its Gap, across the
// page area W/4 to 3W/4), among the rows of the shown list page as drawn;
// returns Count when none.
UINT64 Quorvex_Item_HitTest(const SetupItem* Items, UINT64 Count, UINT64 X, UINT64 Y);
// Top y of row Index on its list page (50 + heights and gaps of the visible
// rows before it on that page).
UINT64 Quorvex_Item_Top(const SetupItem* Items, UINT64 Count, UINT64 Index);

// Left edge of the item rows: a quarter of the screen in, then indented.
UINT64 Quorvex_Item_Left();
// Option Index of the unfolded list that hangs below the drop-down control
// at (X, Y), Width x Height: where its text is drawn and where a click
// chooses it.
ScreenRect Quorvex_DropDown_OptionRect(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                       UINT64 Index);

// The controls take texts ready to draw (current language) and only draw:
// callers take the cursor down around them.
EFI_STATUS Quorvex_Toggle_Item_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                       const CHAR16* Label, const CHAR16* Option, UINT64 Value);
EFI_STATUS Quorvex_Selected_Toggle_Item_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                const CHAR16* Label, const CHAR16* Option,
                                                UINT64 Value);
EFI_STATUS Quorvex_Grayout_Toggle_Item_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                               const CHAR16* Label, const CHAR16* Option,
                                               UINT64 Value);

EFI_STATUS Quorvex_DropDownList_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                        const CHAR16* Label, const CHAR16* const* Options,
                                        UINT64 Index);
EFI_STATUS Quorvex_Selected_DropDownList_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                 const CHAR16* Label, const CHAR16* const* Options,
                                                 UINT64 Index);
EFI_STATUS Quorvex_Grayout_DropDownList_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                const CHAR16* Label, const CHAR16* const* Options,
                                                UINT64 Index);
EFI_STATUS Quorvex_ItemSelected_Label_DropDownList_Control(UINT64 X, UINT64 Y, UINT64 Width,
                                                           UINT64 Height, const CHAR16* Label,
                                                           const CHAR16* const* Options,
                                                           UINT64 Highlighted);

EFI_STATUS Quorvex_Button_Control_PopUpForm(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                            const CHAR16* Caption);
EFI_STATUS Quorvex_Selected_Button_Control_PopUpForm(UINT64 X, UINT64 Y, UINT64 Width,
                                                     UINT64 Height, const CHAR16* Caption);
EFI_STATUS Quorvex_Grayout_Button_Control_PopUpForm(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                    const CHAR16* Caption);

EFI_STATUS Quorvex_Adjustment_Button(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                     const CHAR16* Label, UINT64 Value);
EFI_STATUS Quorvex_Selected_Adjustment_Button(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                              const CHAR16* Label, UINT64 Value);
EFI_STATUS Quorvex_Grayout_Adjustment_Button(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                             const CHAR16* Label, UINT64 Value);

void Quorvex_Draw_Page_ScrollBar(UINT64 SizePercent, UINT64 PositionPercent);
