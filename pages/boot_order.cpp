// The boot order: load and save of the packed setting and the modal "Boot
// Priority Options" dialog. The dialog edits the order array; OK packs it
// back into the in-memory setting, which is written with the other settings
// when the user saves. Cancel and Esc go back to the value held on entry.
#include "pages/boot_order.h"

#include "input/keys.h"
#include "setup_data/page_state.h"
#include "platform/bindings.h"
#include "graphics/background.h"
#include "graphics/modal_scope.h"
#include "graphics/buttons.h"
#include "graphics/colours.h"
#include "graphics/double_buffer.h"
#include "graphics/draw_util.h"
#include "graphics/text_draw.h"
#include "graphics/windows.h"
#include "input/modal_windows.h"
#include "input/mouse.h"
#include "pages/pages.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/text_table.h"

constinit BootOrderState BootOrderDialog = {};

namespace {

constexpr UINT32 kNoButton = kBootNoButton;
enum BootButtonAction : UINT32 { kButtonUp, kButtonDown, kButtonOk, kButtonCancel };

// Class labels as stored (the trailing blanks are part of them).
constexpr const CHAR16* kClassLabels[kBootClassCount] = {u"HDD/SSD    ", u"USB        ",
                                                         u"LAN        ", u"ODD"};

struct Geometry {
  INT64 Left, Top, Width, Height, Base;
};

Geometry DialogGeometry() {
  Geometry g;
  const INT64 w = static_cast<INT64>(ScreenWidth);
  const INT64 h = static_cast<INT64>(ScreenHeight);
  g.Left = w / 2 - (w * 40) / 200;
  g.Top = h / 2 - (h * 50) / 200;
  g.Width = (w * 40) / 100;
  g.Height = (h * 50) / 100;
  g.Base = g.Top + g.Height - (static_cast<INT64>(GlyphLineHeight) + 340);
  return g;
}

UINT64 U(INT64 Value) {
  return Value > 0 ? static_cast<UINT64>(Value) : 0;
}

void UnpackIntoRows() {
  const Geometry g = DialogGeometry();
  for (UINT64 i = 0; i < BootOrderCount; ++i) {
    const UINT64 cls = BootOrder[i] < kBootClassCount ? BootOrder[i] : 0;
    BootRow& row = BootRows[i];
    row.Label = kClassLabels[cls];
    row.Pictures[0] = kBootClassPictures[cls][0];
    row.Pictures[1] = kBootClassPictures[cls][1];
    row.Flag = 0;
    row.X = U(g.Left + g.Width - 385);
    row.Y = U(g.Base + static_cast<INT64>(i * GlyphLineHeight) + 30);
    row.Width = 190;
    row.Height = GlyphLineHeight;
  }
}

UINT64 SelectedRow() {
  for (UINT64 i = 0; i < BootOrderCount; ++i) {
    if (BootRows[i].Selected != 0) return i;
  }
  return BootOrderCount;
}

void SelectOnly(UINT64 Row) {
  for (UINT64 i = 0; i < kBootClassCount; ++i) BootRows[i].Selected = i == Row ? 1 : 0;
}

const CHAR16* ButtonLabel(UINT32 Button) {
  switch (Button) {
  case kButtonUp:
    return TextOf(TEXT(BootButtonUp));
  case kButtonDown:
    return TextOf(TEXT(BootButtonDown));
  case kButtonOk:
    return TextOf(TEXT(BootButtonOk));
  default:
    return TextOf(TEXT(CommonCancel));
  }
}

// The device frame beside the rows.
ScreenRect DeviceFrame() {
  const Geometry g = DialogGeometry();
  return {U(g.Left + g.Width - 390), U(g.Base + 25), 200, 250};
}

constexpr UINT64 kButtonWidth = 150;
constexpr UINT64 kButtonHeight = 50;

void ButtonPosition(UINT32 Button, UINT64* X, UINT64* Y) {
  const Geometry g = DialogGeometry();
  switch (Button) {
  case kButtonUp:
    *X = U(g.Left + g.Width - 170);
    *Y = U(g.Base + 165);
    break;
  case kButtonDown:
    *X = U(g.Left + g.Width - 170);
    *Y = U(g.Base + 225);
    break;
  case kButtonOk:
    *X = U(g.Left + g.Width - 340);
    *Y = U(g.Top + g.Height - 70);
    break;
  default:
    *X = U(g.Left + g.Width - 170);
    *Y = U(g.Top + g.Height - 70);
    break;
  }
}

void DrawButtons() {
  CursorHidden cursor;
  for (UINT32 button = kButtonUp; button <= kButtonCancel; ++button) {
    UINT64 x = 0;
    UINT64 y = 0;
    ButtonPosition(button, &x, &y);
    if (BootListFocus == 0 && BootFocusedButton == button) {
      Quorvex_Selected_Button_Control(x, y, kButtonWidth, kButtonHeight, ButtonLabel(button));
    } else {
      Quorvex_Button_Control(x, y, kButtonWidth, kButtonHeight, ButtonLabel(button));
    }
  }
}

void DrawList() {
  const Geometry g = DialogGeometry();
  CursorHidden cursor;
  const ScreenRect frame = DeviceFrame();
  Quorvex_Button_Control_Color_Modified_Mode(frame.X, frame.Y, frame.Width, frame.Height, u"",
                                             Pixel(kColourPageArea), Pixel(kColourButtonBorder));
  for (UINT64 i = 0; i < BootOrderCount; ++i) {
    const BootRow& row = BootRows[i];
    const bool selected = row.Selected != 0;
    const UINT32 back = selected ? kColourAccent : kColourPageArea;
    Quorvex_FillRect(row.X, row.Y, row.Width, row.Height, back);
    Quorvex_DrawString(row.Label, Pixel(selected ? kColourWhite : kColourDarkText), Pixel(back),
                       row.X, row.Y, row.Width, row.Height);
  }
  const UINT64 selected = SelectedRow();
  const UINT64 iconX = U(g.Left + g.Width - 113);
  const UINT64 iconY = U(g.Base + 75);
  Quorvex_FillRect(iconX, iconY, 36, 48, kColourPageArea);
  if (selected < BootOrderCount) Quorvex_DrawPicture(BootRows[selected].Pictures[0], iconX, iconY);
}

void DrawDialog() {
  const Geometry g = DialogGeometry();
  {
    CursorHidden cursor;
    Quorvex_Button_Control(U(g.Left), U(g.Top), U(g.Width), U(g.Height), u"");
    const ScreenRect close = Quorvex_CloseMark_Rect({U(g.Left), U(g.Top), U(g.Width), U(g.Height)});
    Quorvex_DrawPicture(kCloseMark, close.X, close.Y);
    Quorvex_DrawString(TextOf(TEXT(BootPriorityOptions)), Pixel(kColourDarkText), kTransparent,
                       U(g.Left + g.Width - 390), U(g.Base), 200, 50);
  }
  DrawList();
  DrawButtons();
}

// Moves the selected device one position up (Delta -1) or down (+1).
void MoveDevice(INT64 Delta) {
  const UINT64 s = SelectedRow();
  if (s >= BootOrderCount) {
    SelectOnly(0);
    return;
  }
  if ((Delta < 0 && s == 0) || (Delta > 0 && s + 1 >= BootOrderCount)) return;
  const UINT64 t = Delta < 0 ? s - 1 : s + 1;
  const BootRow moved = BootRows[s];
  BootRows[s].Label = BootRows[t].Label;
  BootRows[s].Pictures[0] = BootRows[t].Pictures[0];
  BootRows[s].Pictures[1] = BootRows[t].Pictures[1];
  BootRows[s].Flag = BootRows[t].Flag;
  BootRows[t].Label = moved.Label;
  BootRows[t].Pictures[0] = moved.Pictures[0];
  BootRows[t].Pictures[1] = moved.Pictures[1];
  BootRows[t].Flag = moved.Flag;
  const UINT64 order = BootOrder[s];
  BootOrder[s] = BootOrder[t];
  BootOrder[t] = order;
  SelectOnly(t);
  DrawList();
}

void SelectStep(INT64 Delta) {
  const UINT64 s = SelectedRow();
  if (s >= BootOrderCount) {
    SelectOnly(0);
  } else if (Delta < 0 && s > 0) {
    SelectOnly(s - 1);
  } else if (Delta > 0 && s + 1 < BootOrderCount) {
    SelectOnly(s + 1);
  }
  DrawList();
}

// Back to the order held on entry.
void RestoreSaved() {
  BootOrderPacked = BootOrderDialog.SavedPacked;
  Quorvex_BootOrder_Unpack(BootOrderPacked, BootOrderCount, BootOrder);
  UnpackIntoRows();
  SelectOnly(0);
}

void ActivateButton(UINT32 Button) {
  switch (Button) {
  case kButtonUp:
    MoveDevice(-1);
    break;
  case kButtonDown:
    MoveDevice(1);
    break;
  case kButtonOk:
    SelectOnly(0);
    BootOrderPacked = Quorvex_BootOrder_Pack(BootOrderPacked, BootOrderCount, BootOrder);
    PageState = kStateAdvancedPage;
    BootOrderDialog.Done = true;
    break;
  case kButtonCancel:
    RestoreSaved();
    PageState = kStateAdvancedPage;
    BootOrderDialog.Done = true;
    break;
  default:
    break;
  }
}

} // namespace

void Quorvex_BootOrder_Unpack(UINT64 Packed, UINT64 Count, UINT64* Order) {
  if (Count > kBootClassCount) Count = kBootClassCount;
  bool listed[kBootClassCount] = {};
  UINT64 position = 0;
  for (; position < Count; ++position) {
    const UINT64 nibble = (Packed >> (4 * position)) & 0xF;
    if (nibble == 0 || nibble > kBootClassCount || listed[nibble - 1]) break;
    Order[position] = nibble - 1;
    listed[nibble - 1] = true;
  }
  for (UINT64 cls = 0; position < Count && cls < kBootClassCount; ++cls) {
    if (!listed[cls]) Order[position++] = cls;
  }
}

UINT64 Quorvex_BootOrder_Pack(UINT64 Packed, UINT64 Count, const UINT64* Order) {
  if (Count > kBootClassCount) Count = kBootClassCount;
  for (UINT64 position = 0; position < Count; ++position) {
    const UINT64 shift = 4 * position;
    Packed = (Packed & ~(0xFull << shift)) | (((Order[position] & 0x3) + 1) << shift);
  }
  return Packed;
}

UINT64 Quorvex_BootOrder_CountFor(bool OptionalOne, bool OptionalTwo) {
  return 2 + (OptionalOne ? 1 : 0) + (OptionalTwo ? 1 : 0);
}

// ---- Load, layout, save ---------------------

void Quorvex_BootOrder_Load() {
  UINT8 lan = 0;
  UINT8 odd = 0;
  SetupData_Get_boot_class_lan_present(&lan);
  SetupData_Get_boot_class_odd_present(&odd);
  BootOrderCount = Quorvex_BootOrder_CountFor(lan != 0, odd != 0);
  SetupData_Get_boot_order(&BootOrderPacked);
  Quorvex_BootOrder_Unpack(BootOrderPacked, BootOrderCount, BootOrder);
}

void Quorvex_BootOrder_Layout() {
  UnpackIntoRows();
}

void Quorvex_BootOrder_Store() {
  SetupData_Set_boot_order(BootOrderPacked);
}

// ---- Dialog ----------------------------------------------------------------------------

bool Quorvex_BootOrder_Key(const EFI_INPUT_KEY& Key) {
  switch (Key.ScanCode) {
  case SCAN_UP:
    if (BootListFocus != 0) {
      SelectStep(-1);
    } else if (BootFocusedButton > kButtonUp && BootFocusedButton <= kButtonCancel) {
      --BootFocusedButton;
      DrawButtons();
    }
    return !BootOrderDialog.Done;
  case SCAN_DOWN:
    if (BootListFocus != 0) {
      SelectStep(1);
    } else if (BootFocusedButton < kButtonCancel) {
      ++BootFocusedButton;
      DrawButtons();
    }
    return !BootOrderDialog.Done;
  case SCAN_F1:
    Quorvex_GeneralHelp();
    return !BootOrderDialog.Done;
  case SCAN_F5:
    MoveDevice(1);
    return !BootOrderDialog.Done;
  case SCAN_F6:
    MoveDevice(-1);
    return !BootOrderDialog.Done;
  case SCAN_F9:
    Quorvex_LoadSetupDefaults();
    // The defaults are what Esc and Cancel now go back to.
    BootOrderDialog.SavedPacked = BootOrderPacked;
    UnpackIntoRows();
    SelectOnly(0);
    DrawDialog();
    return !BootOrderDialog.Done;
  case SCAN_F10:
    Quorvex_ExitSavingChanges();
    return !BootOrderDialog.Done;
  case SCAN_ESC:
    RestoreSaved();
    PageState = kStateAdvancedPage;
    return false;
  default:
    break;
  }
  switch (Key.UnicodeChar) {
  case CHAR_TAB:
    if (BootListFocus != 0) {
      BootListFocus = 0;
      BootFocusedButton = kButtonUp;
    } else if (BootFocusedButton >= kButtonCancel) {
      BootListFocus = 1;
      BootFocusedButton = kNoButton;
    } else {
      ++BootFocusedButton;
    }
    DrawButtons();
    break;
  case CHAR_CARRIAGE_RETURN:
    if (BootListFocus == 0) ActivateButton(BootFocusedButton);
    break;
  case u'+':
    MoveDevice(-1);
    break;
  case u'-':
    MoveDevice(1);
    break;
  default:
    break;
  }
  return !BootOrderDialog.Done;
}

void Quorvex_BootOrder_Dialog() {
  BootOrderDialog.Done = false;
  BootListFocus = 1;
  BootFocusedButton = kNoButton;
  BootOrderDialog.SavedPacked = BootOrderPacked;
  Quorvex_BootOrder_Unpack(BootOrderPacked, BootOrderCount, BootOrder);
  UnpackIntoRows();
  if (SelectedRow() >= BootOrderCount) SelectOnly(0);
  PageState = kStateBootOrderDialog;

  {
    ModalScope modal;
    DrawDialog();
    FlushKeys();
    Quorvex_MouseDrain();
    while (!BootOrderDialog.Done && PageState == kStateBootOrderDialog) {
      Quorvex_MousePoll();
      EFI_INPUT_KEY key;
      if (EFI_ERROR(Quorvex_ReadKey(&key))) continue;
      if (!Quorvex_BootOrder_Key(key)) break;
    }
  }
}

// A click on the dialog: a device row, a button (its action at once), or the
// close mark (Cancel). Anything else, and any click while the dialog is not
// running, is not this handler's.
EFI_STATUS Quorvex_BootOrder_Click() {
  if (PageState != kStateBootOrderDialog) return EFI_ABORTED;
  const Geometry g = DialogGeometry();
  const ScreenRect box = {U(g.Left), U(g.Top), U(g.Width), U(g.Height)};
  if (!Quorvex_PointInRect(box)) return EFI_ABORTED;
  if (Quorvex_PointInRect(DeviceFrame())) {
    for (UINT64 i = 0; i < BootOrderCount; ++i) {
      const BootRow& row = BootRows[i];
      if (!Quorvex_PointInRect({row.X, row.Y, row.Width, row.Height})) continue;
      BootListFocus = 1;
      BootFocusedButton = kNoButton;
      SelectOnly(i);
      DrawList();
      DrawButtons();
      return EFI_SUCCESS;
    }
    return EFI_ABORTED;
  }
  for (UINT32 button = kButtonUp; button <= kButtonCancel; ++button) {
    UINT64 x = 0;
    UINT64 y = 0;
    ButtonPosition(button, &x, &y);
    if (!Quorvex_PointInRect({x, y, kButtonWidth, kButtonHeight})) continue;
    BootListFocus = 0;
    BootFocusedButton = button;
    ActivateButton(button);
    DrawButtons();
    return EFI_SUCCESS;
  }
  if (Quorvex_PointInRect(Quorvex_CloseMark_Rect(box))) {
    RestoreSaved();
    PageState = kStateAdvancedPage;
    BootOrderDialog.Done = true;
    return EFI_SUCCESS;
  }
  return EFI_ABORTED;
}

void Quorvex_BootOrder_Reset() {
  BootOrderDialog = {};
}
