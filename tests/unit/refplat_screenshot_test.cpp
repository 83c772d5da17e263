// The screenshot key: PNG encoding (decoded back with the image decoder and
// compared pixel for pixel), the file on the platform's volume, and every way
// a save can fail (one serial line, nothing left behind).
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "host/fake_volume.h"
#include "platform/efi_storage.h"
#include "reference_platform/image_decode.h"
#include "reference_platform/png_encode.h"
#include "reference_platform/screenshot.h"
#include "reference_platform/setup_data_service.h"
#include "tests/unit/refplat_fixture.h"

namespace {

namespace fs = std::filesystem;

using Pixels = std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL>;

EFI_GRAPHICS_OUTPUT_BLT_PIXEL Rgb(UINT32 C) {
  return {static_cast<UINT8>(C), static_cast<UINT8>(C >> 8), static_cast<UINT8>(C >> 16), 0};
}

// Decodes Png with the image decoder and compares every pixel with Picture.
void ExpectDecodesTo(const UINT8* Png, UINTN Size, const Pixels& Picture, UINT32 Width,
                     UINT32 Height) {
  DecodedImage decoded = {};
  ASSERT_EQ(ImageDecode_Decode(Png, Size, &decoded), EFI_SUCCESS) << Width << "x" << Height;
  ASSERT_EQ(decoded.Width, Width);
  ASSERT_EQ(decoded.Height, Height);
  EXPECT_FALSE(decoded.HasAlpha);
  for (UINTN i = 0; i < Picture.size(); ++i) {
    const auto& a = Picture[i];
    const auto& b = decoded.Pixels[i];
    if (a.Red != b.Red || a.Green != b.Green || a.Blue != b.Blue) {
      ADD_FAILURE() << "pixel " << i % Width << "," << i / Width << " differs in " << Width << "x"
                    << Height;
      break;
    }
  }
  ImageDecode_Release(&decoded);
}

void ExpectRoundTrip(const Pixels& Picture, UINT32 Width, UINT32 Height) {
  UINT8* png = nullptr;
  UINTN size = 0;
  ASSERT_EQ(PngEncode_Rgb(Picture.data(), Width, Height, &png, &size), EFI_SUCCESS);
  ExpectDecodesTo(png, size, Picture, Width, Height);
  Quorvex_FreePool(png);
}

class PngEncodeTest : public RefPlatTest {};

TEST_F(PngEncodeTest, PicturesDecodeBackExactly) {
  std::mt19937 random(7);
  // One pixel; odd widths of noise (the output bound); noise with copies at
  // every distance and length class up to the 32 KiB window.
  ExpectRoundTrip({Rgb(0x123456)}, 1, 1);
  for (UINT32 width : {3u, 17u, 255u}) {
    Pixels p(width * 5);
    for (auto& px : p) px = Rgb(random() & 0xFFFFFF);
    ExpectRoundTrip(p, width, 5);
  }
  {
    const UINT32 width = 4096, height = 8;
    Pixels p(width * height);
    for (auto& px : p) px = Rgb(random() & 0xFFFFFF);
    for (UINTN distance = 1, length = 3; distance < 32768; distance = distance * 3 + 1) {
      const UINTN start = 20000 + distance;
      for (UINTN k = 0; k < length && start + k < p.size(); ++k)
        p[start + k] = p[start + k - distance / 3 - 1];
      length = length * 2 > 300 ? 3 : length * 2;
    }
    ExpectRoundTrip(p, width, height);
  }
}

TEST_F(PngEncodeTest, ScreensCompressWellAndBadArgumentsAreRefused) {
  Pixels screen(1024 * 768, Rgb(0xEBF1FA));
  for (UINT32 y = 100; y < 400; ++y)
    for (UINT32 x = 0; x < 256; ++x) screen[y * 1024 + x] = Rgb(0x009CBA + (x & 7));
  UINT8* png = nullptr;
  UINTN size = 0;
  ASSERT_EQ(PngEncode_Rgb(screen.data(), 1024, 768, &png, &size), EFI_SUCCESS);
  EXPECT_LT(size, 1024u * 768 * 3 / 50) << "flat areas must compress";
  Quorvex_FreePool(png);

  EXPECT_EQ(PngEncode_Rgb(nullptr, 1, 1, &png, &size), EFI_INVALID_PARAMETER);
  EXPECT_EQ(PngEncode_Rgb(screen.data(), 1, 0, &png, &size), EFI_INVALID_PARAMETER);
  EXPECT_EQ(PngEncode_Rgb(screen.data(), 65536, 65536, &png, &size), EFI_INVALID_PARAMETER);
  UINT8 out[64];
  EXPECT_EQ(PngEncode_Zlib(out, 100, out, sizeof(out)), 0u) << "below the bound";

  const fake::PoolStats before = fake::Pool();
  for (UINT64 nth = 1; nth <= 3; ++nth) {
    fake::FailAllocation(nth);
    EXPECT_EQ(PngEncode_Rgb(screen.data(), 1024, 768, &png, &size), EFI_OUT_OF_RESOURCES) << nth;
  }
  fake::FailAllocation(0);
  EXPECT_EQ(fake::Pool().OutstandingCount, before.OutstandingCount);
}

class ScreenshotTest : public RefPlatTest {
protected:
  void SetUp() override {
    RefPlatTest::SetUp();
    Dir = fs::temp_directory_path() /
          ("quorvex-shot-" + std::to_string(::getpid()) + "-" +
           ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(Dir);
    fs::create_directories(Dir);
    fake::ServeVolumeDirectory(Dir.string());
    Platform_BindFirmware(fake::CreateImageHandle(u"\\EFI\\BOOT\\BOOTX64.EFI"),
                          fake::SystemTable());
    for (UINT32 y = 0; y < fake::ScreenHeight(); ++y)
      for (UINT32 x = 0; x < fake::ScreenWidth(); ++x)
        fake::SetPixel(x, y, (x * 7 + y * 13) % 50 == 0 ? 0xC00000 : 0xEBF1FA + (y / 100));
  }
  void TearDown() override {
    EXPECT_EQ(fake::OpenVolumeFiles(), 0u) << "file handles left open";
    fs::remove_all(Dir);
    RefPlatTest::TearDown();
  }

  fs::path Shot(int N) const {
    char name[32];
    std::snprintf(name, sizeof(name), "quorvex-%04d.png", N);
    return Dir / "screenshots" / name;
  }

  // The file decoded equals the fake screen.
  void ExpectScreen(const fs::path& Path) {
    std::ifstream in(Path, std::ios::binary);
    ASSERT_TRUE(in) << Path;
    const std::vector<UINT8> data((std::istreambuf_iterator<char>(in)), {});
    Pixels screen;
    for (UINT32 y = 0; y < fake::ScreenHeight(); ++y)
      for (UINT32 x = 0; x < fake::ScreenWidth(); ++x) screen.push_back(Rgb(fake::PixelAt(x, y)));
    ExpectDecodesTo(data.data(), data.size(), screen, fake::ScreenWidth(), fake::ScreenHeight());
  }

  // Runs a save that must fail: one serial line naming the screenshot, no
  // file left in the folder, nothing left in the pool.
  void ExpectFailure(const char* Why) {
    const UINT64 outstanding = fake::Pool().OutstandingCount;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(EFI_ERROR(Screenshot_Save())) << Why;
    const std::string serial = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(serial.begin(), serial.end(), '\n'), 1) << Why << ": " << serial;
    EXPECT_NE(serial.find("screenshot not saved"), std::string::npos) << Why << ": " << serial;
    EXPECT_FALSE(fs::exists(Shot(0))) << Why;
    EXPECT_EQ(fake::Pool().OutstandingCount, outstanding) << Why;
  }

  fs::path Dir;
};

TEST_F(ScreenshotTest, SavesTheScreenUnderTheLowestFreeNumber) {
  const UINT64 bltPixelsBefore = fake::Blt().PixelsWritten;
  testing::internal::CaptureStderr();
  ASSERT_EQ(Screenshot_Save(), EFI_SUCCESS) << "the folder is made when missing";
  ASSERT_EQ(Screenshot_Save(), EFI_SUCCESS);
  const std::string serial = testing::internal::GetCapturedStderr();
  EXPECT_NE(serial.find("saved as \\screenshots\\quorvex-0001.png"), std::string::npos) << serial;
  EXPECT_EQ(fake::Blt().PixelsWritten, bltPixelsBefore) << "the screen was changed";
  ExpectScreen(Shot(0));
  ExpectScreen(Shot(1));

  // A gap is filled first; other files in the folder are left alone.
  fs::remove(Shot(0));
  std::ofstream(Dir / "screenshots" / "notes.txt") << "keep";
  ASSERT_EQ(Screenshot_Save(), EFI_SUCCESS);
  ExpectScreen(Shot(0));
  ASSERT_EQ(Screenshot_Save(), EFI_SUCCESS);
  EXPECT_TRUE(fs::exists(Shot(2)));
  EXPECT_EQ(std::distance(fs::directory_iterator(Dir / "screenshots"), {}), 4);
}

TEST_F(ScreenshotTest, EveryFailureIsOneSerialLineAndLeavesNothing) {
  fake::SetVolumeFault(fake::VolumeFault::ReadOnly);
  ExpectFailure("read-only volume");
  fake::SetVolumeFault(fake::VolumeFault::Full);
  ExpectFailure("full volume");
  EXPECT_FALSE(fs::exists(Shot(0))) << "the partial file is deleted";
  fake::SetVolumeFault(fake::VolumeFault::OpenVolumeFails);
  ExpectFailure("volume that cannot be opened");
  fake::SetVolumeFault(fake::VolumeFault::None);

  fake::HideProtocol(kSimpleFileSystemGuid);
  ExpectFailure("no file system");
  fake::HideProtocol(kSimpleFileSystemGuid, false);
  fake::HideProtocol(kGraphicsOutputGuid);
  ExpectFailure("no screen");
  fake::HideProtocol(kGraphicsOutputGuid, false);
  for (UINT64 nth = 1; nth <= 4; ++nth) {
    fake::FailAllocation(nth);
    ExpectFailure("the pool refuses");
  }
  fake::FailAllocation(0);

  // A file where the folder should be is left alone.
  fs::remove_all(Dir / "screenshots");
  std::ofstream(Dir / "screenshots") << "not a folder";
  ExpectFailure("a file named screenshots");
  EXPECT_EQ(fs::file_size(Dir / "screenshots"), 12u);
  fs::remove(Dir / "screenshots");

  // All numbers taken (up to a lowered highest number).
  fs::create_directories(Dir / "screenshots");
  Screenshot_SetHighestNumber(20);
  for (int n = 0; n <= 20; ++n) std::ofstream(Shot(n)).put('x');
  testing::internal::CaptureStderr();
  EXPECT_EQ(Screenshot_Save(), EFI_VOLUME_FULL);
  Screenshot_SetHighestNumber(kScreenshotMaxNumber);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("no free number"), std::string::npos);
  EXPECT_EQ(fs::file_size(Shot(0)), 1u) << "an existing file is never overwritten";

  // After all that the volume works again.
  fs::remove(Shot(5));
  testing::internal::CaptureStderr();
  EXPECT_EQ(Screenshot_Save(), EFI_SUCCESS);
  testing::internal::GetCapturedStderr();
  ExpectScreen(Shot(5));
}

// The setup inside the firmware is loaded from a firmware volume, which has
// no file system: the picture goes to the first volume that has one.
TEST_F(ScreenshotTest, FromAVolumeWithoutFileSystemSavesOnTheNextOne) {
  static constexpr EFI_GUID kMarker = {0x5A1E0001, 0x1, 0x2, {1, 2, 3, 4, 5, 6, 7, 8}};
  static int marker = 0;
  EFI_HANDLE firmwareVolume = nullptr;
  ASSERT_EQ(fake::BootServices()->InstallProtocolInterface(&firmwareVolume, &kMarker,
                                                           EFI_NATIVE_INTERFACE, &marker),
            EFI_SUCCESS);
  static EFI_LOADED_IMAGE_PROTOCOL loaded = {};
  loaded.DeviceHandle = firmwareVolume;
  EFI_HANDLE image = nullptr;
  ASSERT_EQ(fake::BootServices()->InstallProtocolInterface(&image, &kLoadedImageGuid,
                                                           EFI_NATIVE_INTERFACE, &loaded),
            EFI_SUCCESS);
  Platform_BindFirmware(image, fake::SystemTable());
  testing::internal::CaptureStderr();
  ASSERT_EQ(Screenshot_Save(), EFI_SUCCESS);
  testing::internal::GetCapturedStderr();
  ExpectScreen(Shot(0));
  fs::remove(Shot(0));

  fake::SetVolumeFault(fake::VolumeFault::ReadOnly);
  ExpectFailure("the only file system is read-only");
  fake::SetVolumeFault(fake::VolumeFault::None);
  fake::HideProtocol(kSimpleFileSystemGuid);
  testing::internal::CaptureStderr();
  EXPECT_EQ(Screenshot_Save(), EFI_NOT_FOUND);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("no FAT volume to write to"),
            std::string::npos);
  fake::HideProtocol(kSimpleFileSystemGuid, false);
}

// The key's silence in a password field is played through in a scenario;
// here, that a changed hot key is followed.
TEST_F(ScreenshotTest, HotKeyFollowsTheSetting) {
  auto key = [](UINT64 Scan) { SetupDataService_Instance()->Operation[11](Scan, 0); };
  testing::internal::CaptureStderr();
  key(SCAN_F11);
  EXPECT_FALSE(fs::exists(Dir / "screenshots"));
  ASSERT_TRUE(Store_SetByName("hot_key_scan_code", SCAN_F11));
  key(SCAN_F12);
  EXPECT_FALSE(fs::exists(Dir / "screenshots"));
  key(SCAN_F11);
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(fs::exists(Shot(0)));
}

} // namespace
