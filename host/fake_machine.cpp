#include "host/fake_machine.h"

#include <cstdio>
#include <cstring>

#include "host/fake_firmware.h"

namespace fake {
namespace {

constexpr UINT32 kAttributes =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

std::vector<UINT8> Hex(const char* Text) {
  std::vector<UINT8> out;
  for (size_t i = 0; Text[i] && Text[i + 1]; i += 2) {
    unsigned v = 0;
    std::sscanf(Text + i, "%2x", &v);
    out.push_back(static_cast<UINT8>(v));
  }
  return out;
}

struct Kind {
  const char* Name;
  UINT32 Attributes;
  const char* Description;
  const char* Path; // hex, as OVMF writes it
};

// Device paths read back from OVMF's own Boot#### variables (q35, a SATA
// disk, a USB stick, virtio-net); the DVD drive's path carries a CD-ROM media
// node, as a firmware that boots the disc's El Torito image writes it.
constexpr Kind kKinds[] = {
    {"hdd", 1, "UEFI QEMU HARDDISK QM00001",
     "02010c00d041030a0000000001010600021f03120a000000ffff00007fff0400"},
    {"usb", 1, "UEFI QEMU QEMU USB HARDDRIVE",
     "02010c00d041030a000000000101060000010305060001007fff0400"},
    {"lan", 1, "UEFI PXEv4 (MAC:525400123456)",
     "02010c00d041030a00000000010106000002030b2500525400123456000000000000000000000000000000000000"
     "0000000000000000017fff0400"},
    {"odd", 1, "UEFI QEMU DVD-ROM QM00003",
     "02010c00d041030a0000000001010600021f03120a000100ffff0000"
     "04021800010000000000000000000000000000000000000000000000"
     "7fff0400"},
    {"app", 0x109, "UiApp",
     "04071400c9bdb87cebf8344faaea3ee4af6516a10406140021aa2c4614760345836e8ab6f46623317fff0400"},
    {"shell", 1, "EFI Internal Shell",
     "04071400c9bdb87cebf8344faaea3ee4af6516a10406140083a5047c3e9e1c4fad65e05268d0b4d17fff0400"},
};

const Kind* FindKind(const std::string& Name) {
  for (const Kind& k : kKinds)
    if (Name == k.Name) return &k;
  return nullptr;
}

void Set(const std::u16string& Name, const std::vector<UINT8>& Data) {
  RuntimeServices()->SetVariable(Name.c_str(), &kGlobalVariableGuid, kAttributes, Data.size(),
                                 Data.data());
}

std::vector<UINT8> LoadOption(const Kind& K) {
  const std::vector<UINT8> path = Hex(K.Path);
  std::vector<UINT8> out(6);
  std::memcpy(out.data(), &K.Attributes, 4);
  const UINT16 length = static_cast<UINT16>(path.size());
  std::memcpy(out.data() + 4, &length, 2);
  for (const char* c = K.Description;; ++c) {
    out.push_back(static_cast<UINT8>(*c));
    out.push_back(0);
    if (!*c) break;
  }
  out.insert(out.end(), path.begin(), path.end());
  return out;
}

std::u16string OptionName(unsigned Number) {
  char text[9];
  std::snprintf(text, sizeof(text), "Boot%04X", Number & 0xFFFF);
  return std::u16string(text, text + 8);
}

// SMBIOS storage: lives until the next install (the system table points at it).
std::vector<UINT8> gTable;
std::vector<UINT8> gEntry;
EFI_CONFIGURATION_TABLE gConfig;

void AddStructure(std::vector<UINT8>* Table, std::vector<UINT8> Formatted,
                  const std::vector<std::string>& Strings) {
  Formatted[1] = static_cast<UINT8>(Formatted.size());
  Table->insert(Table->end(), Formatted.begin(), Formatted.end());
  for (const std::string& s : Strings) {
    Table->insert(Table->end(), s.begin(), s.end());
    Table->push_back(0);
  }
  if (Strings.empty()) Table->push_back(0);
  Table->push_back(0);
}

std::string Variable(const char16_t* Name) {
  std::vector<UINT8> data;
  if (!PeekVariable(Name, kGlobalVariableGuid, &data)) return "none";
  return std::string(data.begin(), data.end()).c_str();
}

} // namespace

bool ParseBootKinds(const std::string& Text, std::vector<std::string>* Kinds, std::string* Error) {
  Kinds->clear();
  size_t start = 0;
  while (start <= Text.size()) {
    size_t comma = Text.find(',', start);
    if (comma == std::string::npos) comma = Text.size();
    const std::string name = Text.substr(start, comma - start);
    if (name != "missing" && !FindKind(name)) {
      *Error =
          "unknown boot option kind '" + name + "' (hdd, usb, lan, odd, app, shell or missing)";
      return false;
    }
    Kinds->push_back(name);
    start = comma + 1;
  }
  if (Kinds->empty()) {
    *Error = "no boot options listed";
    return false;
  }
  return true;
}

void InstallBootOptions(const std::vector<std::string>& Kinds) {
  std::vector<UINT8> order;
  for (size_t i = 0; i < Kinds.size(); ++i) {
    order.push_back(static_cast<UINT8>(i));
    order.push_back(static_cast<UINT8>(i >> 8));
    if (const Kind* k = FindKind(Kinds[i]))
      Set(OptionName(static_cast<unsigned>(i)), LoadOption(*k));
  }
  Set(u"BootOrder", order);
}

void InstallSmbios(const std::string& Version) {
  gTable.clear();
  std::vector<UINT8> bios(0x18, 0);
  bios[4] = 1;    // vendor
  bios[5] = 2;    // version
  bios[0x16] = 1; // EC release 1.2
  bios[0x17] = 2;
  AddStructure(&gTable, bios, {"Quorvex Simulator", Version});
  std::vector<UINT8> cpu(0x1A, 0);
  cpu[0] = 4;
  cpu[0x16] = 2400 & 0xFF;
  cpu[0x17] = 2400 >> 8;
  AddStructure(&gTable, cpu, {});
  for (int i = 0; i < 2; ++i) {
    std::vector<UINT8> device(0x22, 0);
    device[0] = 17;
    device[0x0C] = 2048 & 0xFF;
    device[0x0D] = 2048 >> 8;
    AddStructure(&gTable, device, {});
  }
  std::vector<UINT8> range(0x0F, 0);
  range[0] = 19;
  const UINT32 endKb = 4096 * 1024 - 1;
  std::memcpy(range.data() + 8, &endKb, 4);
  AddStructure(&gTable, range, {});
  AddStructure(&gTable, {127, 4, 0, 0}, {});

  gEntry.assign(24, 0);
  std::memcpy(gEntry.data(), "_SM3_", 5);
  gEntry[6] = 24;
  gEntry[7] = 3;
  gEntry[10] = 1;
  const UINT32 size = static_cast<UINT32>(gTable.size());
  std::memcpy(gEntry.data() + 12, &size, 4);
  const UINT64 address = reinterpret_cast<UINT64>(gTable.data());
  std::memcpy(gEntry.data() + 16, &address, 8);
  UINT8 sum = 0;
  for (UINT8 b : gEntry) sum = static_cast<UINT8>(sum + b);
  gEntry[5] = static_cast<UINT8>(0x100 - sum);

  gConfig.VendorGuid = {
      0xF2FD1544, 0x9794, 0x4A2C, {0x99, 0x2E, 0xE5, 0xBB, 0xCF, 0x20, 0xE3, 0x94}};
  gConfig.VendorTable = gEntry.data();
  SystemTable()->ConfigurationTable = &gConfig;
  SystemTable()->NumberOfTableEntries = 1;
}

void SetPlatformLang(const std::string& Lang, const std::string& Codes) {
  if (!Lang.empty())
    Set(u"PlatformLang", std::vector<UINT8>(Lang.c_str(), Lang.c_str() + Lang.size() + 1));
  if (!Codes.empty())
    Set(u"PlatformLangCodes", std::vector<UINT8>(Codes.c_str(), Codes.c_str() + Codes.size() + 1));
}

std::string DescribeMachine() {
  std::string out = "BootOrder ";
  std::vector<UINT8> order;
  if (PeekVariable(u"BootOrder", kGlobalVariableGuid, &order)) {
    for (size_t i = 0; i + 1 < order.size(); i += 2) {
      char text[8];
      std::snprintf(text, sizeof(text), "%s%04X", i ? "," : "", order[i] | (order[i + 1] << 8));
      out += text;
    }
  } else {
    out += "none";
  }
  return out + " PlatformLang " + Variable(u"PlatformLang");
}

} // namespace fake
