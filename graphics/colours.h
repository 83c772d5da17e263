// Colours of the setup screen (shared with the reference platform's password
// gate through setup_data/look.h). A text background whose Reserved byte is
// non-zero is transparent.
#pragma once

#include "setup_data/look.h"

// The transparent text background of the control tables (black, Reserved 1).
constexpr EFI_GRAPHICS_OUTPUT_BLT_PIXEL kTransparent = Pixel(0x000000, 1);
