// The SMBIOS reader on a table like QEMU's, and on cut-short and hostile
// tables: values missing from the table stay missing, nothing is read past
// the table's end, texts are printable. The disk model from ATA and NVMe
// identify data.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "reference_platform/disk_model.h"
#include "reference_platform/smbios.h"

namespace {

void Add(std::vector<UINT8>* T, std::vector<UINT8> Formatted, std::vector<std::string> Strings) {
  Formatted[1] = static_cast<UINT8>(Formatted.size());
  T->insert(T->end(), Formatted.begin(), Formatted.end());
  for (const std::string& s : Strings) {
    T->insert(T->end(), s.begin(), s.end());
    T->push_back(0);
  }
  if (Strings.empty()) T->push_back(0);
  T->push_back(0);
}

std::vector<UINT8> QemuLikeTable() {
  std::vector<UINT8> t;
  std::vector<UINT8> bios(0x1A, 0);
  bios[4] = 1;
  bios[5] = 2;
  bios[0x16] = 0xFF; // no EC release
  bios[0x17] = 0xFF;
  Add(&t, bios, {"EFI Development Kit II / OVMF", "QVX-E2E 2.5"});
  std::vector<UINT8> cpu(0x30, 0);
  cpu[0] = 4;
  cpu[0x16] = 0xD0; // 2000 MHz
  cpu[0x17] = 0x07;
  Add(&t, cpu, {"CPU 0", "QEMU"});
  std::vector<UINT8> dimm(0x28, 0);
  dimm[0] = 17;
  dimm[0x0C] = 0x00; // 512 MB
  dimm[0x0D] = 0x02;
  Add(&t, dimm, {"DIMM 0"});
  std::vector<UINT8> range(0x1F, 0);
  range[0] = 19;
  const UINT32 end = 0x7FFFF; // 512 MB in KB, inclusive
  std::memcpy(range.data() + 8, &end, 4);
  Add(&t, range, {});
  Add(&t, {127, 4, 0, 0}, {});
  return t;
}

TEST(SmbiosTest, ReadsTheValuesOfAQemuLikeTable) {
  const std::vector<UINT8> t = QemuLikeTable();
  SmbiosInfo info;
  Smbios_ReadTable(t.data(), t.size(), &info);
  EXPECT_STREQ(info.Vendor, "EFI Development Kit II / OVMF");
  EXPECT_STREQ(info.Version, "QVX-E2E 2.5");
  EXPECT_FALSE(info.HasEcRelease);
  EXPECT_EQ(info.CurrentSpeedMhz, 2000u);
  EXPECT_EQ(info.MemoryMegabytes, 512u);
}

TEST(SmbiosTest, CutShortTablesGiveOnlyWhatIsWhole) {
  const std::vector<UINT8> t = QemuLikeTable();
  for (size_t n = 0; n <= t.size(); ++n) {
    std::vector<UINT8> cut(t.begin(), t.begin() + n); // exact size: ASan sees overreads
    SmbiosInfo info;
    Smbios_ReadTable(cut.data(), cut.size(), &info);
    // The version is read only once type 0's strings are whole.
    const std::string version = info.Version;
    EXPECT_TRUE(version.empty() || version == "QVX-E2E 2.5") << n;
    EXPECT_TRUE(info.MemoryMegabytes == 0 || info.MemoryMegabytes == 512) << n;
  }
}

TEST(SmbiosTest, HostileStructuresAreReadNoFurtherThanTheirBounds) {
  SmbiosInfo info;
  // A length below the header's four bytes ends the walk at once.
  std::vector<UINT8> tiny = {0, 2, 0, 0, 0, 0};
  Smbios_ReadTable(tiny.data(), tiny.size(), &info);
  EXPECT_STREQ(info.Version, "");
  // A length past the end.
  std::vector<UINT8> longer = {0, 0xF0, 0, 0, 1, 2, 0, 0};
  Smbios_ReadTable(longer.data(), longer.size(), &info);
  EXPECT_STREQ(info.Vendor, "");
  // String indexes beyond the set, unprintable bytes, strings longer than
  // the field, a set without its closing NULs.
  std::vector<UINT8> t;
  std::vector<UINT8> bios(0x18, 0);
  bios[4] = 7;
  bios[5] = 1;
  Add(&t, bios, {std::string("v\x01\xff", 3) + std::string(200, 'x')});
  SmbiosInfo odd;
  Smbios_ReadTable(t.data(), t.size(), &odd);
  EXPECT_STREQ(odd.Vendor, "");
  EXPECT_EQ(std::string(odd.Version).substr(0, 4), "v??x");
  EXPECT_EQ(std::strlen(odd.Version), kSmbiosTextCapacity - 1);
  EXPECT_TRUE(odd.HasEcRelease); // 0.0 as given
  t.resize(t.size() - 2);        // the closing NULs gone
  Smbios_ReadTable(t.data(), t.size(), &odd);
  EXPECT_STREQ(odd.Version, "");
  // Unknown and empty memory sizes count nothing; extended sizes count.
  std::vector<UINT8> m;
  std::vector<UINT8> dimm(0x22, 0);
  dimm[0] = 17;
  dimm[0x0C] = 0xFF;
  dimm[0x0D] = 0xFF;
  Add(&m, dimm, {});
  dimm[0x0C] = 0xFF;
  dimm[0x0D] = 0x7F;
  const UINT32 big = 40960;
  std::memcpy(dimm.data() + 0x1C, &big, 4);
  Add(&m, dimm, {});
  dimm.resize(0x0E); // too short for the extended size
  Add(&m, dimm, {});
  Smbios_ReadTable(m.data(), m.size(), &odd);
  EXPECT_EQ(odd.MemoryMegabytes, 40960u);
}

TEST(SmbiosTest, EntryPointsNeedTheirAnchorAndChecksum) {
  std::vector<UINT8> ep3(24, 0);
  std::memcpy(ep3.data(), "_SM3_", 5);
  ep3[6] = 24;
  ep3[12] = 0x40;
  ep3[16] = 0x10;
  UINT8 sum = 0;
  for (UINT8 b : ep3) sum = static_cast<UINT8>(sum + b);
  ep3[5] = static_cast<UINT8>(0x100 - sum);
  UINT64 address = 0;
  UINT32 size = 0;
  ASSERT_TRUE(Smbios_Entry3(ep3.data(), ep3.size(), &address, &size));
  EXPECT_EQ(address, 0x10u);
  EXPECT_EQ(size, 0x40u);
  ep3[5] ^= 1;
  EXPECT_FALSE(Smbios_Entry3(ep3.data(), ep3.size(), &address, &size));
  ep3[5] ^= 1;
  ep3[6] = 25; // one byte more than there is
  EXPECT_FALSE(Smbios_Entry3(ep3.data(), ep3.size(), &address, &size));
  EXPECT_FALSE(Smbios_Entry2(ep3.data(), ep3.size(), &address, &size));
}

TEST(DiskModelTest, ModelNamesFromAtaAndNvmeIdentifyData) {
  // ATA: "QEMU HARDDISK" padded with blanks, each word's bytes swapped.
  std::vector<UINT8> ata(512, 0);
  const std::string model = std::string("QEMU HARDDISK") + std::string(27, ' ');
  for (size_t i = 0; i < 40; i += 2) {
    ata[54 + i] = static_cast<UINT8>(model[i + 1]);
    ata[54 + i + 1] = static_cast<UINT8>(model[i]);
  }
  CHAR8 out[64];
  ASSERT_TRUE(DiskModel_FromAta(ata.data(), ata.size(), out, sizeof(out)));
  EXPECT_STREQ(out, "QEMU HARDDISK");
  EXPECT_FALSE(DiskModel_FromAta(ata.data(), 93, out, sizeof(out))); // cut inside the field
  EXPECT_STREQ(out, "");
  CHAR8 small[6];
  ASSERT_TRUE(DiskModel_FromAta(ata.data(), ata.size(), small, sizeof(small)));
  EXPECT_STREQ(small, "QEMU");

  // NVMe: leading blanks and control bytes; an all-blank name is none.
  std::vector<UINT8> nvme(64, ' ');
  std::memcpy(nvme.data() + 26,
              "NVMe\x01"
              "Ctrl",
              9);
  ASSERT_TRUE(DiskModel_FromNvme(nvme.data(), nvme.size(), out, sizeof(out)));
  EXPECT_STREQ(out, "NVMe?Ctrl");
  std::vector<UINT8> blank(64, ' ');
  EXPECT_FALSE(DiskModel_FromNvme(blank.data(), blank.size(), out, sizeof(out)));
}

} // namespace
