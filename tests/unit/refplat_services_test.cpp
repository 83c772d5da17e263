// The launcher and the small services: every service installed before the
// utility starts, the start hook, load failures reported; the platform
// service's battery answer; extended key data with PS/2 codes; the machine
// information helpers.
#include <cstring>

#include "reference_platform/extended_key.h"
#include "reference_platform/platform_service.h"
#include "reference_platform/setup_data_service.h"
#include "reference_platform/system_info.h"
#include "tests/unit/refplat_fixture.h"

namespace {

class RefPlatServicesTest : public RefPlatTest {
protected:
  static UINTN HandlesWith(const EFI_GUID& Guid) {
    UINTN count = 0;
    EFI_HANDLE* handles = nullptr;
    if (EFI_ERROR(
            fake::BootServices()->LocateHandleBuffer(ByProtocol, &Guid, nullptr, &count, &handles)))
      return 0;
    fake::BootServices()->FreePool(handles);
    return count;
  }
};

// What the stand-in utility saw when it was started.
struct Seen {
  bool Ran = false;
  int Protocols = 0;
  UINT64 BootSpeed = 0;
};
Seen gSeen;

EFI_STATUS EFIAPI StandInUtility(EFI_HANDLE, EFI_SYSTEM_TABLE* System) {
  gSeen.Ran = true;
  const EFI_GUID* guids[] = {&kGlyphFontGuid,       &kLargeDigitFontGuid, &kImageDisplayGuid,
                             &kPlatformServiceGuid, &kDebugTraceGuid,     &kSetupDataGuid,
                             &kExtendedKeyCodeGuid, &kHiiFontGuid};
  for (const EFI_GUID* guid : guids) {
    void* interface = nullptr;
    if (!EFI_ERROR(System->BootServices->LocateProtocol(guid, nullptr, &interface)) && interface)
      ++gSeen.Protocols;
  }
  void* interface = nullptr;
  System->BootServices->LocateProtocol(&kSetupDataGuid, nullptr, &interface);
  if (interface) {
    UINT8 value = 0;
    static_cast<SetupDataProtocol*>(interface)->Operation[64](reinterpret_cast<UINT64>(&value), 0);
    gSeen.BootSpeed = value;
  }
  return EFI_NOT_FOUND;
}

TEST_F(RefPlatServicesTest, LauncherInstallsEverythingThenStartsTheUtility) {
  gSeen = Seen();
  fake::Options options;
  options.HiiFont = false;
  fake::Reset(options);
  Quorvex_Lib_Init(nullptr, fake::SystemTable());
  fake::SetImageEntry(StandInUtility);
  PlatformStartHook = [] { Store_SetByName("boot_speed", 1); };
  const EFI_HANDLE launcher = fake::CreateImageHandle(u"\\EFI\\BOOT\\BOOTX64.EFI");
  testing::internal::CaptureStderr();
  const fake::RunResult result = fake::RunImage(QuorvexPlatform_EntryPoint, launcher);
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(gSeen.Ran);
  EXPECT_EQ(gSeen.Protocols, 8);
  EXPECT_EQ(gSeen.BootSpeed, 1u); // the hook ran before the start
  EXPECT_EQ(result.Status, EFI_NOT_FOUND);
  EXPECT_NE(fake::ConsoleText().find("ended with an error"), std::string::npos);
  EXPECT_EQ(fake::LoadedImages().size(), 1u);
  // Returning to the firmware leaves no service behind that points into the
  // unloaded launcher.
  EXPECT_EQ(HandlesWith(kSetupDataGuid), 0u);
  EXPECT_EQ(HandlesWith(kGlyphFontGuid), 0u);
  EXPECT_EQ(HandlesWith(kHiiFontGuid), 0u);
}

TEST_F(RefPlatServicesTest, LauncherReportsALoadFailure) {
  gSeen = Seen();
  fake::SetImageEntry(StandInUtility);
  fake::FailLoadImage(EFI_SECURITY_VIOLATION);
  const EFI_HANDLE launcher = fake::CreateImageHandle(u"\\EFI\\BOOT\\BOOTX64.EFI");
  testing::internal::CaptureStderr();
  const fake::RunResult result = fake::RunImage(QuorvexPlatform_EntryPoint, launcher);
  const std::string serial = testing::internal::GetCapturedStderr();
  EXPECT_FALSE(gSeen.Ran);
  EXPECT_EQ(result.Status, EFI_SECURITY_VIOLATION);
  EXPECT_NE(serial.find("cannot load QuorvexSetup.efi"), std::string::npos);
  EXPECT_NE(fake::ConsoleText().find("0x800000000000001A"), std::string::npos);
  EXPECT_EQ(HandlesWith(kHiiFontGuid), 1u); // the firmware's own: no placeholder added
}

TEST_F(RefPlatServicesTest, BatteryQuestionFollowsTheStore) {
  PlatformServiceOperations* ops = PlatformService_Instance()->Operations;
  EXPECT_EQ(ops->Operation[kPlatformBatteryQuestion](), 1u);
  Store_SetByName("battery_disable_allowed", 0);
  EXPECT_EQ(ops->Operation[kPlatformBatteryQuestion](), 0u);
}

TEST_F(RefPlatServicesTest, ExtendedKeysCarryPs2Codes) {
  ASSERT_EQ(ExtendedKey_Install(), EFI_SUCCESS);
  ExtendedKeyCodeProtocol* keys = ExtendedKey_Instance();
  fake::PushKey(SCAN_F12, 0);
  fake::PushKey(0, u'a');
  fake::PushKey(0, u'A');
  fake::PushKey(0, CHAR_CARRIAGE_RETURN);
  fake::PushKey(SCAN_UP, 0);
  fake::PushKey(0, 0x3042); // a kana: no PS/2 key
  const struct {
    UINT16 Scan;
    CHAR16 Char;
    UINT8 Ps2;
  } expected[] = {{SCAN_F12, 0, 0x58}, {0, u'a', 0x1E},    {0, u'A', 0x1E},
                  {0, 13, 0x1C},       {SCAN_UP, 0, 0x48}, {0, 0x3042, 0}};
  for (const auto& e : expected) {
    ExtendedKeyData data;
    std::memset(&data, 0xEE, sizeof(data));
    ASSERT_EQ(keys->ReadKeyData(keys, &data), EFI_SUCCESS);
    EXPECT_EQ(data.Key.ScanCode, e.Scan);
    EXPECT_EQ(data.Key.UnicodeChar, e.Char);
    EXPECT_EQ(data.Ps2ScanCode, e.Ps2);
    EXPECT_EQ(data.Reserved[0], 0);
  }
  ExtendedKeyData data;
  EXPECT_EQ(keys->ReadKeyData(keys, &data), EFI_NOT_READY);
  EXPECT_EQ(keys->ReadKeyData(keys, nullptr), EFI_INVALID_PARAMETER);
}

TEST(RefPlatSystemInfo, ProcessorSpeedFromTheBrand) {
  CHAR16 text[32];
  ASSERT_TRUE(SystemInfo_SpeedFromBrand("Intel(R) Core(TM) i5-3337U CPU @ 1.80GHz", text, 32));
  EXPECT_EQ(std::u16string(text), u"1.80 GHz");
  ASSERT_TRUE(SystemInfo_SpeedFromBrand("Some CPU @ 800 MHz", text, 32));
  EXPECT_EQ(std::u16string(text), u"800 MHz");
  for (const char* brand : {"QEMU Virtual CPU version 2.5+", "Odd @ fast", "Odd @ 3.0"})
    EXPECT_FALSE(SystemInfo_SpeedFromBrand(brand, text, 32)) << brand;
  ASSERT_TRUE(SystemInfo_SpeedFromBrand("X @ 1.80GHz", text, 4)); // cut, still terminated
  EXPECT_EQ(std::u16string(text), u"1.8");
}

TEST(RefPlatSystemInfo, MemoryFromTheMap) {
  // Descriptors 48 bytes apart (larger than the structure, as firmware may).
  struct Descriptor {
    UINT32 Type, Pad;
    UINT64 Start, Virtual, Pages, Attribute, Extra;
  };
  const Descriptor map[] = {
      {7, 0, 0, 0, 1024, 0, 0},  // conventional 4 MiB
      {4, 0, 0, 0, 256, 0, 0},   // boot services data 1 MiB
      {11, 0, 0, 0, 4096, 0, 0}, // MMIO: not RAM
      {0, 0, 0, 0, 100, 0, 0},   // reserved: not RAM
      {9, 0, 0, 0, 1, 0, 0},     // ACPI reclaim
  };
  EXPECT_EQ(SystemInfo_MemoryBytes(map, sizeof(map), sizeof(Descriptor)),
            (1024ull + 256 + 1) * 4096);
  // A map size that ends inside a descriptor ignores the partial one.
  EXPECT_EQ(SystemInfo_MemoryBytes(map, sizeof(Descriptor) + 20, sizeof(Descriptor)),
            1024ull * 4096);
  EXPECT_EQ(SystemInfo_MemoryBytes(map, sizeof(map), 8), 0u);
  CHAR16 text[16];
  SystemInfo_MegabyteText((1024ull + 256 + 1) * 4096, text, 16);
  EXPECT_EQ(std::u16string(text), u"6 MB");
  SystemInfo_MegabyteText(4096ull << 20, text, 16);
  EXPECT_EQ(std::u16string(text), u"4096 MB");
}

} // namespace
