// A restart abandons whatever modal window is open. What the window holds
// (the screen saved under its grey-out, password buffers, its open flag)
// must be released on the way, so that the pool afterwards holds exactly
// the blocks of a fresh start and no typed password outlives its dialog.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "graphics/modal_scope.h"
#include "platform/restart.h"
#include "reference_platform/glyph_font.h"
#include "session_support.h"

namespace {

using namespace session;

// The sizes and memory types of the outstanding blocks (serials differ
// between runs and are left out), sorted. The reference platform's cache of
// decoded pictures and its fonts' cell buffers are emptied first: they grow
// with every picture and font used and belong to the platform, not to the
// window.
std::vector<std::string> OutstandingShapes() {
  ImageDisplay_ClearCache();
  for (const EFI_GUID* guid : {&kGlyphFontGuid, &kLargeDigitFontGuid}) {
    void* font = nullptr;
    BootServices->LocateProtocol(guid, nullptr, &font);
    if (font != nullptr) GlyphFont_Release(static_cast<GlyphFontInstance*>(font));
  }
  std::vector<std::string> shapes;
  for (const std::string& line : fake::DescribeOutstanding()) {
    shapes.push_back(line.substr(line.find(':') + 1));
  }
  std::sort(shapes.begin(), shapes.end());
  return shapes;
}

class RestartReleaseTest : public SessionTest {
protected:
  // The blocks held at the first idle after start-up.
  std::vector<std::string> FreshStartShapes() {
    Fresh();
    std::vector<std::string> shapes;
    RunUntilIdle(QuorvexPlatform_EntryPoint, 4, [&](int Round) {
      if (Round == 2) shapes = OutstandingShapes();
    });
    return shapes;
  }

  // Opens a window with Keys, restarts inside it and returns the blocks held
  // at the first idle after the restart.
  std::vector<std::string> ShapesAfterRestartIn(const std::vector<Key>& Keys) {
    Fresh();
    std::vector<std::string> shapes;
    RunUntilIdle(QuorvexPlatform_EntryPoint, static_cast<int>(Keys.size()) + 4, [&](int Round) {
      const size_t round = static_cast<size_t>(Round);
      if (round < Keys.size()) {
        fake::PushKey(Keys[round].Scan, Keys[round].Char);
      } else if (round == Keys.size()) {
        EXPECT_TRUE(Quorvex_ModalWindowOpen() || ActionBusy != 0) << "no window open";
        fake::TriggerRestart();
      } else if (round == Keys.size() + 2) {
        shapes = OutstandingShapes();
        EXPECT_EQ(PageState, kStateMainTab) << "restart did not return to the main loop";
        EXPECT_FALSE(Quorvex_ModalWindowOpen());
        EXPECT_EQ(Quorvex_Restart_RegisteredCount(), 0u);
      }
    });
    return shapes;
  }
};

TEST_F(RestartReleaseTest, EveryModalWindowLeavesThePoolAsAFreshStart) {
  const std::vector<std::string> fresh = FreshStartShapes();
  ASSERT_FALSE(fresh.empty());
  const std::vector<Key> toSecurity = {kDown, kRight};
  struct Case {
    const char* Window;
    std::vector<Key> Keys;
  };
  const std::vector<Case> cases = {
      {"general help", {kF1}},
      {"choice window", {kF10}},
      {"clock editor", {kRight, kEnter}},
      {"drop-down list", Join({toSecurity, {kDown, kDown, kEnter}})},
      {"boot-order dialog", Join({Repeat(kDown, 3), {kRight}, Repeat(kDown, 12), {kEnter}})},
      {"password field", Join({toSecurity, {kEnter, Char(u's'), Char(u'e'), Char(u'c')}})},
      {"message box", Join({toSecurity, {kEnter, Char(u'a'), kEnter, Char(u'b'), kEnter}})},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ShapesAfterRestartIn(c.Keys), fresh) << "after a restart in the " << c.Window;
  }
}

// The registry itself: releases run newest first, once, and a scope that
// ends normally leaves nothing registered.
TEST(RestartRegistry, ReleasesNewestFirstOnceAndForgetsEndedScopes) {
  Quorvex_Restart_Reset();
  std::vector<int> order;
  auto record = [](void* Context) {
    auto* pair = static_cast<std::pair<std::vector<int>*, int>*>(Context);
    pair->first->push_back(pair->second);
  };
  std::pair<std::vector<int>*, int> first{&order, 1}, second{&order, 2}, ended{&order, 3};
  { RestartRelease scoped(record, &ended); }
  EXPECT_EQ(Quorvex_Restart_RegisteredCount(), 0u);
  const UINTN a = Quorvex_Restart_Register(record, &first);
  const UINTN b = Quorvex_Restart_Register(record, &second);
  EXPECT_NE(a, kNoRestartSlot);
  EXPECT_NE(b, kNoRestartSlot);
  Quorvex_Restart_ReleaseAll();
  Quorvex_Restart_ReleaseAll();
  EXPECT_EQ(order, (std::vector<int>{2, 1}));
  EXPECT_EQ(Quorvex_Restart_RegisteredCount(), 0u);

  // A full registry refuses quietly; unregistering the refusal is harmless.
  std::vector<UINTN> slots;
  for (int i = 0; i < 64; ++i) slots.push_back(Quorvex_Restart_Register(record, &first));
  EXPECT_EQ(slots.back(), kNoRestartSlot);
  Quorvex_Restart_Unregister(kNoRestartSlot);
  Quorvex_Restart_Reset();
  EXPECT_EQ(Quorvex_Restart_RegisteredCount(), 0u);
}

} // namespace
