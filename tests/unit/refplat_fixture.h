// Shared set-up of the reference platform's unit tests: a fresh fake
// firmware per test, the platform bound to it, the store at its defaults, the
// setup data trace collected, resets recorded instead of ending the run.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/fake_firmware.h"
#include "platform/lib.h"
#include "reference_platform/image_display.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/platform_reset.h"
#include "reference_platform/reference_platform.h"
#include "reference_platform/store.h"

class RefPlatTest : public ::testing::Test {
protected:
  struct ResetCall {
    EFI_RESET_TYPE Type;
    EFI_STATUS Status;
  };

  void SetUp() override {
    fake::Reset();
    Quorvex_Lib_Init(nullptr, fake::SystemTable());
    Platform_BindFirmware(nullptr, fake::SystemTable());
    Resets().clear();
    fake::SetResetHandler([](EFI_RESET_TYPE Type, EFI_STATUS Status) {
      Resets().push_back({Type, Status});
    });
    Platform_ResetAll();
    Trace().clear();
    SetupDataTraceSink = [](const char* Line) { Trace().push_back(Line); };
  }

  void TearDown() override {
    SetupDataTraceSink = nullptr;
    PlatformStartHook = nullptr;
    ImageDisplay_ClearCache();
    Platform_ResetAll();
  }

  static std::vector<std::string>& Trace() {
    static std::vector<std::string> lines;
    return lines;
  }
  static std::vector<ResetCall>& Resets() {
    static std::vector<ResetCall> calls;
    return calls;
  }

  // The raw bytes of the store's variable (empty when there is none).
  static std::vector<UINT8> StoredRecord() {
    std::vector<UINT8> data;
    fake::PeekVariable(kStoreVariableName, kStoreVariableGuid, &data);
    return data;
  }
  static void WriteRecord(const std::vector<UINT8>& Data) {
    ASSERT_EQ(fake::RuntimeServices()->SetVariable(kStoreVariableName, &kStoreVariableGuid,
                                                   kStoreVariableAttributes, Data.size(),
                                                   Data.data()),
              EFI_SUCCESS);
  }
};
