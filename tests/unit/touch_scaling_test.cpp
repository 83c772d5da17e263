// Touch panels report in their own units, from AbsoluteMin to AbsoluteMax on
// each axis: that range, not 0 to AbsoluteMax, spans the screen.
#include <gtest/gtest.h>

#include "graphics/cursor.h"
#include "tests/unit/session_support.h"

namespace {

using namespace session;

class TouchScalingTest : public SessionTest {};

TEST_F(TouchScalingTest, PanelRangeFromItsMinimumSpansTheScreen) {
  struct Case {
    UINT64 X, Y;
    INT32 ScreenX, ScreenY;
  };
  // A panel from 1000 to 5000 on both axes on the 1024x768 screen; the
  // cursor stays 5 pixels inside the right and bottom edges.
  const Case cases[] = {
      {3000, 3000, 512, 384}, {1000, 2000, 0, 192}, {500, 9000, 0, 763}, {4999, 1001, 1019, 0}};
  const size_t count = sizeof cases / sizeof cases[0];
  Run(Repeat(kUp, count), [&](size_t Round) {
    if (Round == 0) {
      void* found = nullptr;
      BootServices()->HandleProtocol(fake::TouchHandle(), &kAbsolutePointerGuid, &found);
      ASSERT_NE(found, nullptr);
      EFI_ABSOLUTE_POINTER_MODE* mode = static_cast<EFI_ABSOLUTE_POINTER_PROTOCOL*>(found)->Mode;
      mode->AbsoluteMinX = mode->AbsoluteMinY = 1000;
      mode->AbsoluteMaxX = mode->AbsoluteMaxY = 5000;
    } else {
      const Case& c = cases[Round - 1];
      EXPECT_EQ(CursorX, c.ScreenX) << "panel x " << c.X;
      EXPECT_EQ(CursorY, c.ScreenY) << "panel y " << c.Y;
    }
    if (Round < count) fake::PushTouchState(cases[Round].X, cases[Round].Y, 0);
  });
}

} // namespace
