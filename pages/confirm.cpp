#include "pages/confirm.h"

#include "graphics/windows.h"
#include "input/modal_windows.h"
#include "platform/bindings.h"
#include "setup_data/text_table.h"

bool Quorvex_ConfirmYesNo(const CHAR16* Message, UINT64 Lines) {
  // The window's fixed captions are replaced by the current language's.
  YesNoCaptions[0] = TextOf(TEXT(CommonYes));
  YesNoCaptions[1] = TextOf(TEXT(CommonNo));
  YesNoCaptions[2] = nullptr;
  const UINT64 width = ScreenWidth * 50 / 100;
  const UINT64 height = ScreenHeight * 25 / 100;
  const INT64 centre = (static_cast<INT64>(height) - 40) / 2;
  const INT64 top = centre - static_cast<INT64>(Lines * GlyphLineHeight / 2);
  UINT64 choice = 1;
  const EFI_STATUS status =
      Quorvex_Choice_Window(width, height, 25, top > 0 ? static_cast<UINT64>(top) : 0, Message,
                            YesNoCaptions, 0, &choice);
  return status == EFI_SUCCESS && choice == 0;
}
