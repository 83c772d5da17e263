// Boot options by device class on the device paths OVMF writes for a q35
// machine (read back from its variable store), the packed class order and
// the reordered BootOrder, the machine's BootOrder and PlatformLang through
// the fake firmware, and the bounds of every reader on cut-short input.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "reference_platform/boot_options.h"
#include "reference_platform/machine_settings.h"
#include "tests/unit/refplat_fixture.h"

namespace {

std::vector<UINT8> Hex(const std::string& Text) {
  std::vector<UINT8> out;
  for (size_t i = 0; i + 1 < Text.size(); i += 2)
    out.push_back(static_cast<UINT8>(std::stoul(Text.substr(i, 2), nullptr, 16)));
  return out;
}

struct OvmfOption {
  UINT16 Number;
  UINT32 Attributes;
  const char* Description;
  const char* Path;
  UINT8 Class; // with the DVD drive known to be optical
};

// OVMF (Debian's OVMF_CODE.fd), q35 with a SATA DVD drive, a USB stick, a
// SATA disk and virtio-net: BootOrder 0000..0009.
const OvmfOption kOvmf[] = {
    {0, 0x109, "UiApp",
     "04071400c9bdb87cebf8344faaea3ee4af6516a10406140021aa2c4614760345836e8ab6f46623317fff0400",
     BootClassNone},
    {1, 1, "UEFI QEMU DVD-ROM QM00003 ",
     "02010c00d041030a0000000001010600021f03120a000100ffff00007fff0400", BootClassOdd},
    {2, 1, "UEFI QEMU QEMU USB HARDDRIVE 1-0000:00:01.0-2",
     "02010c00d041030a000000000101060000010305060001007fff0400", BootClassUsb},
    {3, 1, "UEFI QEMU HARDDISK QM00001 ",
     "02010c00d041030a0000000001010600021f03120a000000ffff00007fff0400", BootClassHdd},
    {4, 1, "UEFI PXEv4 (MAC:525400123456)",
     "02010c00d041030a00000000010106000002030b2500525400123456000000000000000000000000000000000000"
     "0000000000000000017fff0400",
     BootClassLan},
    {5, 1, "UEFI PXEv6 (MAC:525400123456)",
     "02010c00d041030a00000000010106000002030b2500525400123456000000000000000000000000000000000000"
     "000000000000000001030d3c00000000000000000000000000000000000000000000000000000000000000000000"
     "00000000000040000000000000000000000000000000007fff0400",
     BootClassLan},
    {6, 1, "UEFI HTTPv4 (MAC:525400123456)",
     "02010c00d041030a00000000010106000002030b2500525400123456000000000000000000000000000000000000"
     "000000000000000001030c1b000000000000000000000000000000000000000000000000031804007fff0400",
     BootClassLan},
    {7, 1, "EFI Internal Shell",
     "04071400c9bdb87cebf8344faaea3ee4af6516a10406140083a5047c3e9e1c4fad65e05268d0b4d17fff0400",
     BootClassNone},
};

std::vector<UINT8> LoadOptionBytes(const OvmfOption& O) {
  const std::vector<UINT8> path = Hex(O.Path);
  std::vector<UINT8> out(6);
  std::memcpy(out.data(), &O.Attributes, 4);
  const UINT16 length = static_cast<UINT16>(path.size());
  std::memcpy(out.data() + 4, &length, 2);
  for (const char* c = O.Description;; ++c) {
    out.push_back(static_cast<UINT8>(*c));
    out.push_back(0);
    if (!*c) break;
  }
  out.insert(out.end(), path.begin(), path.end());
  return out;
}

TEST(BootOptionsTest, OvmfOptionsFallIntoTheirClasses) {
  for (const OvmfOption& o : kOvmf) {
    const std::vector<UINT8> data = LoadOptionBytes(o);
    EXPECT_EQ(BootOptions_ClassifyOption(data.data(), data.size(), o.Class == BootClassOdd),
              o.Class)
        << o.Description;
  }
  // Without the hint, the DVD drive's SATA path is a disk; with a CD-ROM
  // media node it is an optical drive whatever the hint says.
  const std::vector<UINT8> dvd = LoadOptionBytes(kOvmf[1]);
  EXPECT_EQ(BootOptions_ClassifyOption(dvd.data(), dvd.size(), false), BootClassHdd);
  const std::vector<UINT8> eltorito = Hex("02010c00d041030a0000000001010600021f03120a000100ffff0000"
                                          "040218000100000000000000000000000000000000000000"
                                          "7fff0400");
  EXPECT_EQ(BootOptions_ClassifyPath(eltorito.data(), eltorito.size(), false), BootClassOdd);
  // An inactive disk option counts as no class.
  OvmfOption inactive = kOvmf[3];
  inactive.Attributes = 0;
  const std::vector<UINT8> off = LoadOptionBytes(inactive);
  EXPECT_EQ(BootOptions_ClassifyOption(off.data(), off.size(), false), BootClassNone);
}

TEST(BootOptionsTest, CutShortOrHostileOptionsReadNothingBeyondTheirEnd) {
  // Every prefix of every option, each in a block of exactly its size (the
  // sanitizer sees any read past it).
  for (const OvmfOption& o : kOvmf) {
    const std::vector<UINT8> full = LoadOptionBytes(o);
    for (size_t n = 0; n < full.size(); ++n) {
      std::vector<UINT8> cut(full.begin(), full.begin() + n);
      const UINT8 c = BootOptions_ClassifyOption(cut.data(), cut.size(), false);
      // The declared path length runs past any cut: refused.
      EXPECT_EQ(c, BootClassNone) << o.Description << " cut at " << n;
    }
  }
  // Nodes claiming lengths past the end, or below a header's size.
  const std::vector<UINT8> longNode = Hex("0305ff00");
  EXPECT_EQ(BootOptions_ClassifyPath(longNode.data(), longNode.size(), false), BootClassNone);
  const std::vector<UINT8> zeroNode = Hex("03050000030b0400");
  EXPECT_EQ(BootOptions_ClassifyPath(zeroNode.data(), zeroNode.size(), false), BootClassNone);
  // A node after the end node is not read.
  const std::vector<UINT8> afterEnd = Hex("7fff0400030b0400");
  EXPECT_EQ(BootOptions_ClassifyPath(afterEnd.data(), afterEnd.size(), false), BootClassNone);
}

TEST(BootOptionsTest, PackedOrderAndReorderFollowTheClasses) {
  // OVMF's own order: ODD, USB, HDD, LAN by first option.
  const UINT8 classes[] = {BootClassNone, BootClassOdd, BootClassUsb, BootClassHdd,
                           BootClassLan,  BootClassLan, BootClassLan, BootClassNone};
  EXPECT_EQ(BootOptions_PackedOrder(classes, 8, 0x4321), 0x3124u);
  // Classes without options keep their stored places; the others take the
  // machine's order in the places left.
  const UINT8 hddThenLan[] = {BootClassHdd, BootClassNone, BootClassLan};
  EXPECT_EQ(BootOptions_PackedOrder(hddThenLan, 3, 0x2143), 0x2341u); // HDD, ODD, LAN, USB
  const UINT8 hddOnly[] = {BootClassHdd};
  EXPECT_EQ(BootOptions_PackedOrder(hddOnly, 1, 0x4312), 0x4312u); // USB first stays
  EXPECT_EQ(BootOptions_PackedOrder(nullptr, 0, 0x1111), 0x4321u); // damaged: repaired

  const UINT16 numbers[] = {0, 1, 2, 3, 4, 5, 6, 7};
  UINT16 out[8];
  // HDD/SSD, USB, LAN, ODD: the options of a class keep their order, the
  // unclassified ones (UiApp, shell) follow in their old order.
  BootOptions_Reorder(numbers, classes, 8, 0x4321, out);
  EXPECT_EQ(std::vector<UINT16>(out, out + 8), (std::vector<UINT16>{3, 2, 4, 5, 6, 1, 0, 7}));
  // The machine's own packed order gives back the classified options in
  // place, the unclassified after them.
  BootOptions_Reorder(numbers, classes, 8, 0x3124, out);
  EXPECT_EQ(std::vector<UINT16>(out, out + 8), (std::vector<UINT16>{1, 2, 3, 4, 5, 6, 0, 7}));
  // A damaged packed value (repeated, zero, unknown nibbles) still places
  // every option exactly once.
  for (UINT64 packed : {0x0ull, 0x1111ull, 0xF2ull, 0x4320ull}) {
    BootOptions_Reorder(numbers, classes, 8, packed, out);
    std::vector<UINT16> sorted(out, out + 8);
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, std::vector<UINT16>(numbers, numbers + 8)) << packed;
  }
  // The defaults (HDD/SSD, USB, LAN, ODD) on a machine with an optical
  // drive and no network boot: ODD takes the third position.
  EXPECT_EQ(BootOptions_AbsentLast(0x4321, false, true), 0x3421u);
  EXPECT_EQ(BootOptions_AbsentLast(0x1234, false, false), 0x3412u);
  EXPECT_EQ(BootOptions_AbsentLast(0x0, true, true), 0x4321u);
  UINT8 order[4];
  BootOptions_UnpackOrder(0x0312, order);
  EXPECT_EQ(std::vector<UINT8>(order, order + 4), (std::vector<UINT8>{1, 0, 2, 3}));
}

class MachineSettingsTest : public RefPlatTest {
protected:
  void TearDown() override {
    fake::Reset();
    Platform_BindFirmware(nullptr, fake::SystemTable());
    MachineSettings_Load(); // no BootOrder: later tests see the store alone
    RefPlatTest::TearDown();
  }
  static void SetGlobal(const char16_t* Name, const std::vector<UINT8>& Data) {
    fake::RuntimeServices()->SetVariable(Name, &kGlobalVariableGuid, 7, Data.size(), Data.data());
  }
  static std::vector<UINT16> BootOrder() {
    std::vector<UINT8> data;
    fake::PeekVariable(u"BootOrder", kGlobalVariableGuid, &data);
    std::vector<UINT16> out(data.size() / 2);
    std::memcpy(out.data(), data.data(), out.size() * 2);
    return out;
  }
};

TEST_F(MachineSettingsTest, BootOrderIsReadRepairedAndRewrittenOnce) {
  // BootOrder 0001, 0002, 0009 (missing), 0001 (again), 0003, 0004, 0000.
  for (int i : {0, 1, 2, 3, 4}) {
    char16_t name[9];
    const std::string text = "Boot000" + std::to_string(i);
    for (int k = 0; k < 9; ++k) name[k] = k < 8 ? text[k] : 0;
    SetGlobal(name, LoadOptionBytes(kOvmf[i]));
  }
  SetGlobal(u"BootOrder", {1, 0, 2, 0, 9, 0, 1, 0, 3, 0, 4, 0, 0, 0});
  MachineSettings_Load();
  ASSERT_TRUE(MachineSettings_HasBootOrder());
  // No optical drive behind the fake's DVD path: it counts as a disk.
  EXPECT_EQ(Store_Get(kSetting_boot_order), 0x4321u); // HDD (the DVD), USB, LAN
  EXPECT_EQ(Store_Get(kSetting_boot_class_lan_present), 1u);
  EXPECT_EQ(Store_Get(kSetting_boot_class_odd_present), 0u);

  const UINT64 calls = fake::SetVariableCalls();
  ASSERT_TRUE(Store_Set(kSetting_boot_order, 0x4123)); // LAN, USB, HDD
  MachineSettings_Save();
  EXPECT_EQ(fake::SetVariableCalls(), calls + 1);
  EXPECT_EQ(BootOrder(), (std::vector<UINT16>{4, 2, 1, 3, 0}));
  // Saving the same order again writes nothing.
  MachineSettings_Save();
  EXPECT_EQ(fake::SetVariableCalls(), calls + 1);
  // A refused write leaves the machine's order as it was.
  ASSERT_TRUE(Store_Set(kSetting_boot_order, 0x4321));
  fake::FailSetVariable(1, EFI_DEVICE_ERROR);
  MachineSettings_Save();
  EXPECT_EQ(BootOrder(), (std::vector<UINT16>{4, 2, 1, 3, 0}));
}

TEST_F(MachineSettingsTest, WithoutBootOrderTheStoreAloneAnswers) {
  ASSERT_TRUE(Store_Set(kSetting_boot_order, 0x1234));
  MachineSettings_Load();
  EXPECT_FALSE(MachineSettings_HasBootOrder());
  EXPECT_EQ(Store_Get(kSetting_boot_order), 0x1234u);
  EXPECT_EQ(Store_Get(kSetting_boot_class_odd_present), 1u);
  const UINT64 calls = fake::SetVariableCalls();
  MachineSettings_Save();
  EXPECT_EQ(fake::SetVariableCalls(), calls);
}

TEST_F(MachineSettingsTest, PlatformLangFollowsTheSavedLanguageWhenOffered) {
  SetGlobal(u"PlatformLang", {'f', 'r', 0});
  SetGlobal(u"PlatformLangCodes", {'e', 'n', '-', 'U', 'S', ';', 'f', 'r', '-', 'F', 'R', 0});
  MachineSettings_Load(); // no stored record: the language follows the firmware
  EXPECT_EQ(Store_Get(kSetting_language), 2u);
  ASSERT_TRUE(Store_Set(kSetting_language, 0));
  MachineSettings_Save();
  std::vector<UINT8> lang;
  ASSERT_TRUE(fake::PeekVariable(u"PlatformLang", kGlobalVariableGuid, &lang));
  EXPECT_EQ(std::string(lang.begin(), lang.end()), std::string("en-US", 6));
  // Japanese is not offered: PlatformLang stays.
  ASSERT_TRUE(Store_Set(kSetting_language, 1));
  MachineSettings_Save();
  ASSERT_TRUE(fake::PeekVariable(u"PlatformLang", kGlobalVariableGuid, &lang));
  EXPECT_EQ(std::string(lang.begin(), lang.end()), std::string("en-US", 6));

  EXPECT_EQ(MachineSettings_LanguageOf("ja-JP", 6), 1);
  EXPECT_EQ(MachineSettings_LanguageOf("de", 3), -1);
  EXPECT_EQ(MachineSettings_LanguageOf("frx", 3), -1);
  EXPECT_TRUE(MachineSettings_CodesOffer("en-US;fr-FR", 11, "fr-FR"));
  EXPECT_FALSE(MachineSettings_CodesOffer("en-US;fr-FR", 10, "fr-FR")); // cut short
  EXPECT_FALSE(MachineSettings_CodesOffer("en-US;fr-FRX", 12, "fr-FR"));
  EXPECT_FALSE(MachineSettings_CodesOffer("en-US\0fr-FR", 11, "fr-FR"));
}

} // namespace
