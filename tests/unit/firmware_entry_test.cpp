// The setup image inside the firmware: the platform's start-up runs the
// linked-in utility directly (no image loaded), a save still ends in a
// reset, and a failed start leaves nothing installed behind.
#include <gtest/gtest.h>

#include "firmware/firmware_entry.h"
#include "session_support.h"

namespace {

using namespace session;

class FirmwareEntryTest : public SessionTest {};

TEST_F(FirmwareEntryTest, RunsTheLinkedUtilityWithoutLoadingAnImage) {
  const UINT64 started = fake::StartImageCalls();
  const fake::RunResult result = RunUntilIdle(QuorvexFirmware_EntryPoint, 4, [&](int Round) {
    if (Round == 0) {
      EXPECT_EQ(PageState, kStateMainTab);
      fake::PushKey(SCAN_F10, 0);
    } else if (Round == 1) {
      fake::PushKey(0, CHAR_CARRIAGE_RETURN);
    }
  });
  EXPECT_EQ(fake::StartImageCalls(), started) << "an image was started";
  EXPECT_TRUE(result.Reset) << "F10, Yes did not reset the machine";
  EXPECT_TRUE(TraceHas("op 27 -> 0")) << "the utility did not bind to the platform's service";
}

TEST_F(FirmwareEntryTest, AFailedStartUninstallsThePlatformServices) {
  fake::HideProtocol(kGraphicsOutputGuid);
  testing::internal::CaptureStderr();
  const fake::RunResult result = RunUntilIdle(QuorvexFirmware_EntryPoint);
  const std::string serial = testing::internal::GetCapturedStderr();
  fake::HideProtocol(kGraphicsOutputGuid, false);
  EXPECT_EQ(result.Status, EFI_NOT_FOUND);
  EXPECT_NE(serial.find("the setup ended with an error"), std::string::npos) << serial;
  void* service = nullptr;
  EXPECT_TRUE(EFI_ERROR(BootServices()->LocateProtocol(&kSetupDataGuid, nullptr, &service)));
}

} // namespace
