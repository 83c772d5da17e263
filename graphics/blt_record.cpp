// Recording a Blt call instead of drawing it: what decides its pixels goes
// into the active record, with the area it would write.
#include "graphics/blt_record.h"

#include "graphics/draw_record.h"
#include "platform/lib.h"

namespace {

// Columns of a row that lie left of the right edge when it starts at X.
UINT64 Columns(const ScreenSize& Screen, UINT64 X, UINT64 Width) {
  if (X >= Screen.Width) return 0;
  return Width < Screen.Width - X ? Width : Screen.Width - X;
}

// Rows of a rectangle starting at row Y that lie above the bottom.
UINT64 Rows(const ScreenSize& Screen, UINT64 Y, UINT64 Height) {
  if (Y >= Screen.Height) return 0;
  return Height < Screen.Height - Y ? Height : Screen.Height - Y;
}

// The bounding box of a linear run per row over Height rows (a run that
// continues on the next row covers whole rows), as a recorded area.
void RecordLinearArea(const ScreenSize& Screen, UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height) {
  if (Width == 0 || Height == 0 || Y >= Screen.Height) return;
  const UINT64 rows = Rows(Screen, Y, Height);
  if (X < Screen.Width && Width <= Screen.Width - X) {
    Quorvex_DrawRecord_Area(X, Y, Width, rows);
    return;
  }
  // Running past the edge: whole rows down to where the last run ends.
  UINT64 extra =
      Width / (Screen.Width ? Screen.Width : 1) + X / (Screen.Width ? Screen.Width : 1) + 1;
  if (extra > Screen.Height) extra = Screen.Height;
  Quorvex_DrawRecord_Area(0, Y, Screen.Width, Rows(Screen, Y, rows + extra));
}

} // namespace

void Quorvex_BltRecord(const ScreenSize& Screen, const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* BltBuffer,
                       EFI_GRAPHICS_OUTPUT_BLT_OPERATION Op, UINTN SourceX, UINTN SourceY,
                       UINTN DestinationX, UINTN DestinationY, UINTN Width, UINTN Height,
                       UINTN Delta) {
  const UINT64 call[7] = {
      static_cast<UINT64>(Op), SourceX, SourceY, DestinationX, DestinationY, Width, Height};
  Quorvex_DrawRecord_Words(call, sizeof call);
  switch (Op) {
  case EfiBltVideoFill:
    Quorvex_DrawRecord_Words(BltBuffer, sizeof *BltBuffer);
    if (DestinationX < Screen.Width && Width <= Screen.Width - DestinationX)
      Quorvex_DrawRecord_Fill(DestinationX, DestinationY, Width,
                              Rows(Screen, DestinationY, Height));
    RecordLinearArea(Screen, DestinationX, DestinationY, Width, Height);
    break;
  case EfiBltVideoToBltBuffer: {
    Quorvex_DrawRecord_Read();
    // Nothing is drawn to read back: the caller gets black, as a fresh
    // frame would give it somewhere nothing was drawn yet.
    const UINT64 columns = Columns(Screen, SourceX, Width);
    const UINT64 rows = Rows(Screen, SourceY, Height);
    const UINT64 stride = (Delta == 0 ? Width : Delta / 4);
    auto* caller = const_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(BltBuffer);
    for (UINT64 j = 0; j < rows && columns > 0; ++j) MemFill32(caller + j * stride, 0, columns);
    break;
  }
  case EfiBltBufferToVideo: {
    const UINT64 columns = Columns(Screen, DestinationX, Width);
    const UINT64 rows = Rows(Screen, DestinationY, Height);
    const UINT64 stride = (Delta == 0 ? Width : Delta / 4);
    for (UINT64 j = 0; j < rows && columns > 0; ++j)
      Quorvex_DrawRecord_Words(BltBuffer + j * stride, columns * sizeof *BltBuffer);
    if (columns > 0) Quorvex_DrawRecord_Area(DestinationX, DestinationY, columns, rows);
    break;
  }
  default:
    RecordLinearArea(Screen, DestinationX, DestinationY, Width, Height);
    break;
  }
}
