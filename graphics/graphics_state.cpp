// Power-on state of the graphics modules, for a fresh session.
#include "graphics/graphics_state.h"

#include "graphics/graphics_internal.h"
#include "graphics/modal_scope.h"
#include "graphics/item_list.h"
#include "graphics/retained_region.h"
#include "graphics/screen_log.h"

void Quorvex_Graphics_Reset() {
  Quorvex_Retained_Reset();
  Quorvex_DoubleBuffer_Reset();
  Quorvex_BackGround_Reset();
  Quorvex_Windows_Reset();
  Quorvex_ModalScope_Reset();
  Quorvex_Item_ShowFocusedPage();
  Quorvex_Item_ListForget();
  Quorvex_ScreenLog_Reset();
}
