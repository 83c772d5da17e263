// The SMBIOS readers: any structure table (any lengths, types, string sets,
// terminators or none) and any entry point bytes. The table is read within
// its size only (the sanitizer watches an exact-size copy), and the texts
// that come out are printable ASCII.
#include <cstdlib>
#include <vector>

#include "reference_platform/boot_options.h"
#include "reference_platform/smbios.h"

namespace {

void CheckText(const CHAR8* Text) {
  for (UINTN i = 0; i < kSmbiosTextCapacity; ++i) {
    if (Text[i] == 0) return;
    if (Text[i] < 0x20 || Text[i] > 0x7E) std::abort();
  }
  std::abort(); // no terminator inside the field
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  std::vector<UINT8> bytes(Data, Data + Size);
  SmbiosInfo info;
  Smbios_ReadTable(bytes.data(), bytes.size(), &info);
  CheckText(info.Vendor);
  CheckText(info.Version);
  UINT64 address = 0;
  UINT32 tableSize = 0;
  Smbios_Entry3(bytes.data(), bytes.size(), &address, &tableSize);
  Smbios_Entry2(bytes.data(), bytes.size(), &address, &tableSize);
  // The same bytes as a boot option and as a device path.
  BootOptions_ClassifyOption(bytes.data(), bytes.size(), Size & 1);
  BootOptions_ClassifyPath(bytes.data(), bytes.size(), false);
  return 0;
}
