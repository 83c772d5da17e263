// A GoogleTest fixture over the fake firmware: every test gets a fresh
// firmware, and at its end the fixture checks that the code under test gave
// back every pool block it took (relative to what the firmware itself held
// at the start) and freed nothing it did not own.
//
//   class MyTest : public FakeFirmwareTest {};
//   TEST_F(MyTest, Something) { ... BootServices()->LocateProtocol(...) ... }
//
// Override FirmwareOptions() for other modes or devices; set CheckPool =
// false in a test that deliberately keeps memory.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "host/fake_firmware.h"

class FakeFirmwareTest : public ::testing::Test {
protected:
  void SetUp() override {
    fake::Reset(FirmwareOptions());
    PoolAtStart = fake::Pool();
  }

  void TearDown() override {
    if (!CheckPool) return;
    const fake::PoolStats now = fake::Pool();
    EXPECT_EQ(now.OutstandingCount, PoolAtStart.OutstandingCount) << "pool blocks left behind:\n"
                                                                  << Outstanding();
    EXPECT_EQ(now.BadFrees, 0u) << "FreePool of memory the pool never gave out";
  }

  virtual fake::Options FirmwareOptions() const { return fake::Options(); }

  static EFI_SYSTEM_TABLE* SystemTable() { return fake::SystemTable(); }
  static EFI_BOOT_SERVICES* BootServices() { return fake::BootServices(); }
  static EFI_RUNTIME_SERVICES* RuntimeServices() { return fake::RuntimeServices(); }

  // Runs Entry as an image until the code under test has gone idle Rounds
  // times (each time, Between runs first, e.g. to queue the next input).
  // The run is then stopped; the result says so (Stopped).
  static fake::RunResult RunUntilIdle(EFI_IMAGE_ENTRY_POINT Entry, int Rounds = 1,
                                      std::function<void(int Round)> Between = nullptr) {
    int round = 0;
    fake::SetIdleHandler([&] {
      if (round >= Rounds - 1) fake::StopRunNow(0);
      if (Between) Between(round);
      ++round;
    });
    EFI_HANDLE image = fake::CreateImageHandle(u"\\Test.efi");
    fake::RunResult result = fake::RunImage(Entry, image);
    fake::SetIdleHandler(nullptr);
    return result;
  }

  static std::string Outstanding() {
    std::string text;
    for (const std::string& line : fake::DescribeOutstanding()) text += "  " + line + "\n";
    return text;
  }

  bool CheckPool = true;
  fake::PoolStats PoolAtStart;
};
