// The setup data wrappers: operation numbers, storage of the setting's
// width, values cut to it, and 32-bit answers sign-extended.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/startup.h"
#include "setup_data/setup_data_wrappers.h"

namespace {

struct Call {
  UINT32 Op;
  UINT64 Argument1;
  UINT64 Argument2;
};

std::vector<Call> gCalls;
UINT64 gAnswer = 0;
// Bytes an operation writes through its first argument (a getter's store).
std::vector<UINT8> gWrite;

template <UINT32 N> UINT64 EFIAPI Record(UINT64 Argument1, UINT64 Argument2) {
  gCalls.push_back({N, Argument1, Argument2});
  if (Argument1 != 0 && !gWrite.empty()) {
    std::memcpy(reinterpret_cast<void*>(Argument1), gWrite.data(), gWrite.size());
  }
  return gAnswer;
}

template <UINT32... N> SetupDataProtocol MakeTable(std::integer_sequence<UINT32, N...>) {
  return SetupDataProtocol{{Record<N>...}};
}

class WrappersTest : public ::testing::Test {
protected:
  void SetUp() override {
    table_ = MakeTable(std::make_integer_sequence<UINT32, kSetupDataOperationCount>());
    saved_ = SetupData;
    SetupData = &table_;
    gCalls.clear();
    gWrite.clear();
    gAnswer = 0;
  }
  void TearDown() override { SetupData = saved_; }

  const Call& Only() {
    EXPECT_EQ(gCalls.size(), 1u);
    return gCalls.back();
  }

private:
  SetupDataProtocol table_;
  SetupDataProtocol* saved_ = nullptr;
};

TEST_F(WrappersTest, GettersPassStorageOfTheSettingsWidth) {
  // A byte getter's operation must not write past one byte.
  struct {
    UINT8 Value;
    UINT8 Guard[7];
  } byte = {0x11, {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
  gWrite = {0x01};
  SetupData_Get_boot_speed(&byte.Value);
  EXPECT_EQ(Only().Op, 64u);
  EXPECT_EQ(gCalls.back().Argument1, reinterpret_cast<UINT64>(&byte.Value));
  EXPECT_EQ(byte.Value, 0x01);
  EXPECT_EQ(byte.Guard[0], 0xEE);

  gCalls.clear();
  UINT64 order = 0;
  gWrite = {0x21, 0x43, 0, 0, 0, 0, 0, 0};
  SetupData_Get_boot_order(&order);
  EXPECT_EQ(Only().Op, 107u);
  EXPECT_EQ(order, 0x4321u);

  // A text getter stores the service's pointer.
  gCalls.clear();
  static const CHAR16 kText[] = u"QVX 1.00";
  const CHAR16* address = kText;
  gWrite.assign(reinterpret_cast<const UINT8*>(&address),
                reinterpret_cast<const UINT8*>(&address) + sizeof address);
  const CHAR16* text = nullptr;
  SetupData_Get_system_bios_version(&text);
  EXPECT_EQ(Only().Op, 23u);
  EXPECT_EQ(text, kText);
}

TEST_F(WrappersTest, SettersCutTheValueToTheSettingsWidth) {
  SetupData_Set_boot_speed(0x1FF);
  EXPECT_EQ(Only().Op, 65u);
  EXPECT_EQ(gCalls.back().Argument1, 0xFFu);

  gCalls.clear();
  SetupData_Set_boot_order(0x1234567890ull);
  EXPECT_EQ(Only().Op, 108u);
  EXPECT_EQ(gCalls.back().Argument1, 0x1234567890ull);
}

TEST_F(WrappersTest, ThirtyTwoBitAnswersAreSignExtended) {
  gAnswer = 0xFFFFFFFFu;
  EXPECT_EQ(SetupData_ReadValue_language(), -1);
  EXPECT_EQ(Only().Op, 27u);
  EXPECT_EQ(gCalls.back().Argument1, 0u) << "read value passes no storage";

  gCalls.clear();
  gAnswer = 0xFFFFFFFF00000002ull; // only the low 32 bits are the answer
  EXPECT_EQ(SetupData_ReadValue_key_source_mode(), 2);
  EXPECT_EQ(Only().Op, 193u);
}

} // namespace
