// Start-up on a fresh fake firmware: the mode choice, the services the
// utility cannot run without, and the restart that rebuilds the screen.
#include <string>
#include <vector>

#include "core/startup.h"
#include "host/fake_firmware_fixture.h"
#include "tests/unit/session_support.h"
#include "reference_platform/reference_platform.h"
#include "setup_data/main_page_table.h"

namespace {

class StartupTest : public SessionTest {
protected:
  fake::Options FirmwareOptions() const override { return Opts; }
  // A new firmware with the modes and devices of Opts.
  void Restart(const fake::Options& O) {
    Opts = O;
    Fresh();
  }
  fake::RunResult RunProduct(int Rounds = 1, std::function<void(int)> Between = nullptr) {
    return RunUntilIdle(QuorvexPlatform_EntryPoint, Rounds, Between);
  }

  fake::Options Opts;
};

class ModeChoiceTest : public StartupTest {};

TEST_F(ModeChoiceTest, NarrowestWideEnoughModeWinsAndTheLowerNumberOnATie) {
  struct Case {
    std::vector<fake::Mode> Modes;
    UINT32 Chosen, Height;
  };
  for (const Case& c : {Case{{{800, 600}, {1366, 768}, {1024, 768}, {1280, 1024}}, 2, 768},
                        Case{{{1024, 600}, {1024, 768}}, 0, 600},
                        Case{{{1280, 1024}, {1024, 768}, {1024, 600}}, 1, 768}}) {
    fake::Options o;
    o.Modes = c.Modes;
    Restart(o);
    EXPECT_TRUE(RunProduct().Stopped);
    EXPECT_EQ(fake::CurrentMode(), c.Chosen);
    EXPECT_EQ(ScreenWidth, 1024u);
    EXPECT_EQ(ScreenHeight, c.Height);
  }
}

struct MissingProtocol {
  const char* Name;
  EFI_GUID Guid;
};

class FailureTableTest : public StartupTest,
                         public ::testing::WithParamInterface<MissingProtocol> {};

TEST_P(FailureTableTest, MissingRequiredProtocolEndsWithNotFoundAndDrawsNothing) {
  fake::HideProtocol(GetParam().Guid);
  EFI_STATUS utilityStatus = EFI_SUCCESS;
  fake::SetImageReturnHandler([&](EFI_HANDLE, EFI_STATUS Status) { utilityStatus = Status; });
  RunProduct();
  fake::SetImageReturnHandler(nullptr);
  EXPECT_EQ(utilityStatus, EFI_NOT_FOUND) << GetParam().Name;
  EXPECT_EQ(fake::Blt().PixelsWritten, 0u) << GetParam().Name;
}

INSTANTIATE_TEST_SUITE_P(EveryRequiredService, FailureTableTest,
                         ::testing::Values(MissingProtocol{"GraphicsOutput", kGraphicsOutputGuid},
                                           MissingProtocol{"ImageDisplay", kImageDisplayGuid},
                                           MissingProtocol{"PlatformService", kPlatformServiceGuid},
                                           MissingProtocol{"HiiFont", kHiiFontGuid},
                                           MissingProtocol{"GlyphFont", kGlyphFontGuid},
                                           MissingProtocol{"SetupData", kSetupDataGuid}),
                         [](const ::testing::TestParamInfo<MissingProtocol>& Info) {
                           return Info.param.Name;
                         });

TEST_F(StartupTest, MissingDebugTraceIsIgnored) {
  fake::HideProtocol(kDebugTraceGuid);
  fake::RunResult r = RunProduct();
  EXPECT_TRUE(r.Stopped);
  EXPECT_EQ(DebugTraceProtocol, nullptr);
  EXPECT_EQ(fake::PixelAt(600, 700), 0xEBF1FAu);
}

// A restart repeats the mode choice and layout without binding or reading
// the settings again; two triggers in one round restart once.
TEST_F(StartupTest, RestartRebuildsTheScreenOnceWithoutReadingSettingsAgain) {
  const UINT64 rowWidth = 2 * 1024 / 4 - 300;
  size_t setUpLines = 0;
  RunProduct(3, [&](int Round) {
    if (Round == 0) {
      setUpLines = Trace.size();
      EXPECT_EQ(TraceCount("op 16"), 1u);
      EXPECT_EQ(MainPageItems[0].Width, rowWidth);
      MainPageItems[0].Width = 0; // the layout must put it back
      fake::TriggerRestart();
      fake::TriggerRestart();
    } else if (Round == 1) {
      EXPECT_EQ(MainPageItems[0].Width, rowWidth);
      EXPECT_EQ(fake::SetModeCalls(), 2u);
      fake::TriggerRestart();
    }
  });
  EXPECT_EQ(fake::SetModeCalls(), 3u);
  std::vector<std::string> later(Trace.begin() + setUpLines, Trace.end());
  EXPECT_EQ(later, (std::vector<std::string>{"op 10", "op 10"}));
}

} // namespace
