// The firmware image's power-on driver: which boot option is the setup (read
// from BootCurrent and its load option, damaged ones included), and what
// ready-to-boot does with the gate: asked for any other option, once per
// boot, never for the setup, whose own gate asks.
#include <cstring>
#include <vector>

#include "reference_platform/gate.h"
#include "reference_platform/passwords.h"
#include "reference_platform/power_on.h"
#include "tests/unit/refplat_fixture.h"

namespace {

constexpr EFI_GUID kSetup = {
    0x462CAA21, 0x7614, 0x4503, {0x83, 0x6E, 0x8A, 0xB6, 0xF4, 0x66, 0x23, 0x31}};
constexpr EFI_GUID kShell = {
    0x7C04A583, 0x9E3E, 0x4F1C, {0xAD, 0x65, 0xE0, 0x52, 0x68, 0xD0, 0xB4, 0xD1}};
constexpr UINT32 kAttributes = 0x7; // non-volatile, boot and runtime access

// A load option: attributes, path length, description "S", then a firmware
// volume node (type 4/7) and a firmware file node (4/6) naming File, then
// the end node.
std::vector<UINT8> LoadOption(const EFI_GUID& File) {
  std::vector<UINT8> path = {4, 7, 20, 0};
  path.resize(20, 0xAB);
  const UINT8 file[4] = {4, 6, 20, 0};
  path.insert(path.end(), file, file + 4);
  const auto* guid = reinterpret_cast<const UINT8*>(&File);
  path.insert(path.end(), guid, guid + sizeof(EFI_GUID));
  const UINT8 end[4] = {0x7F, 0xFF, 4, 0};
  path.insert(path.end(), end, end + 4);
  std::vector<UINT8> option = {1, 0, 0, 0, static_cast<UINT8>(path.size()), 0, 'S', 0, 0, 0};
  option.insert(option.end(), path.begin(), path.end());
  return option;
}

class RefPlatPowerOnTest : public RefPlatTest {
protected:
  void TearDown() override {
    fake::SetIdleHandler(nullptr);
    RefPlatTest::TearDown();
  }
  static void SetGlobal(const CHAR16* Name, const void* Data, UINTN Size) {
    ASSERT_FALSE(EFI_ERROR(PlatformRuntimeServices->SetVariable(
        Name, &kGlobalVariableGuid, kAttributes, Size, const_cast<void*>(Data))));
  }
  static void Current(UINT16 Number, const std::vector<UINT8>& Option) {
    SetGlobal(u"BootCurrent", &Number, sizeof(Number));
    SetGlobal(u"Boot000A", Option.data(), Option.size());
  }
};

TEST_F(RefPlatPowerOnTest, TheSetupIsRecognisedByItsFileAndDamageMeansNotTheSetup) {
  EXPECT_FALSE(PowerOn_BootIsSetup(kSetup)); // no BootCurrent
  Current(0x000A, LoadOption(kSetup));
  EXPECT_TRUE(PowerOn_BootIsSetup(kSetup));
  Current(0x000A, LoadOption(kShell));
  EXPECT_FALSE(PowerOn_BootIsSetup(kSetup));
  Current(0x000B, LoadOption(kSetup)); // BootCurrent names a missing option
  EXPECT_FALSE(PowerOn_BootIsSetup(kSetup));

  std::vector<UINT8> option = LoadOption(kSetup);
  // A path length running past the option's end.
  option[4] = 0xFF;
  Current(0x000A, option);
  EXPECT_FALSE(PowerOn_BootIsSetup(kSetup));
  // A node claiming more than the path holds, and a zero-length node.
  option = LoadOption(kSetup);
  option[10 + 2] = 200;
  Current(0x000A, option);
  EXPECT_FALSE(PowerOn_BootIsSetup(kSetup));
  option[10 + 2] = 0;
  Current(0x000A, option);
  EXPECT_FALSE(PowerOn_BootIsSetup(kSetup));
  // A description without its terminator, and an option too short to hold
  // the header.
  option = {1, 0, 0, 0, 8, 0, 'S', 0, 'T', 0};
  Current(0x000A, option);
  EXPECT_FALSE(PowerOn_BootIsSetup(kSetup));
  option = {1, 0, 0};
  Current(0x000A, option);
  EXPECT_FALSE(PowerOn_BootIsSetup(kSetup));
}

TEST_F(RefPlatPowerOnTest, ReadyToBootAsksOnceForABootOptionAndNeverForTheSetup) {
  ASSERT_TRUE(Password_Set(PasswordUser, u"Pw5"));
  ASSERT_FALSE(EFI_ERROR(Store_Save()));
  static int typed = 0;
  typed = 0;
  fake::SetIdleHandler([] {
    if (typed++ == 0) {
      for (char16_t c : std::u16string(u"Pw5\r")) fake::PushKey(0, c);
    }
  });

  // The setup starts: not asked here (no input read at all).
  Current(0x000A, LoadOption(kSetup));
  testing::internal::CaptureStderr();
  PowerOn_ReadyToBoot();
  std::string serial = testing::internal::GetCapturedStderr();
  EXPECT_NE(serial.find("the setup starts; its own gate asks"), std::string::npos) << serial;
  EXPECT_EQ(typed, 0);

  // The shell starts: asked, answered; the next option is let through.
  Current(0x000A, LoadOption(kShell));
  testing::internal::CaptureStderr();
  PowerOn_ReadyToBoot();
  serial = testing::internal::GetCapturedStderr();
  EXPECT_NE(serial.find("power-on password asked"), std::string::npos) << serial;
  EXPECT_NE(serial.find("user password given"), std::string::npos) << serial;
  EXPECT_EQ(serial.find("Pw5"), std::string::npos);
  const UINT64 reads = fake::InputReads();
  PowerOn_ReadyToBoot();
  EXPECT_EQ(fake::InputReads(), reads);
  EXPECT_TRUE(Resets().empty());
}

} // namespace
