#include "reference_platform/boot_options.h"

#include "platform/lib.h"

namespace {

// Device path node types and the subtypes that decide a class.
constexpr UINT8 kMessagingPath = 0x03;
constexpr UINT8 kMediaPath = 0x04;
constexpr UINT8 kEndPath = 0x7F;

constexpr UINT8 kMsgAtapi = 0x01;
constexpr UINT8 kMsgScsi = 0x02;
constexpr UINT8 kMsgUsb = 0x05;
constexpr UINT8 kMsgMac = 0x0B;
constexpr UINT8 kMsgIpv4 = 0x0C;
constexpr UINT8 kMsgIpv6 = 0x0D;
constexpr UINT8 kMsgUsbClass = 0x0F;
constexpr UINT8 kMsgUsbWwid = 0x10;
constexpr UINT8 kMsgSata = 0x12;
constexpr UINT8 kMsgIscsi = 0x13;
constexpr UINT8 kMsgSasEx = 0x16;
constexpr UINT8 kMsgNvme = 0x17;
constexpr UINT8 kMsgUri = 0x18;
constexpr UINT8 kMsgUfs = 0x19;
constexpr UINT8 kMsgSd = 0x1A;
constexpr UINT8 kMsgEmmc = 0x1D;

constexpr UINT8 kMediaHardDrive = 0x01;
constexpr UINT8 kMediaCdrom = 0x02;

struct PathFacts {
  bool Usb = false;
  bool Network = false;
  bool Cdrom = false;
  bool DiskBus = false;   // ATAPI, SCSI, SATA, SAS, NVMe, UFS, SD, eMMC, iSCSI
  bool Partition = false; // a hard drive media node
  bool AtaOrScsi = false; // the buses an optical drive sits on
};

PathFacts Walk(const UINT8* Path, UINTN Size) {
  PathFacts facts;
  UINTN at = 0;
  while (Path && at + 4 <= Size) {
    const UINT8 type = Path[at];
    const UINT8 subtype = Path[at + 1];
    const UINTN length = static_cast<UINTN>(Path[at + 2]) | (static_cast<UINTN>(Path[at + 3]) << 8);
    if (type == kEndPath || length < 4 || length > Size - at) break;
    if (type == kMessagingPath) {
      switch (subtype) {
      case kMsgUsb:
      case kMsgUsbClass:
      case kMsgUsbWwid:
        facts.Usb = true;
        break;
      case kMsgMac:
      case kMsgIpv4:
      case kMsgIpv6:
      case kMsgUri:
        facts.Network = true;
        break;
      case kMsgAtapi:
      case kMsgScsi:
      case kMsgSata:
        facts.AtaOrScsi = true;
        facts.DiskBus = true;
        break;
      case kMsgIscsi:
      case kMsgSasEx:
      case kMsgNvme:
      case kMsgUfs:
      case kMsgSd:
      case kMsgEmmc:
        facts.DiskBus = true;
        break;
      default:
        break;
      }
    } else if (type == kMediaPath) {
      if (subtype == kMediaCdrom) facts.Cdrom = true;
      if (subtype == kMediaHardDrive) facts.Partition = true;
    }
    at += length;
  }
  return facts;
}

bool Named(const UINT8 Order[kBootClassCount], UINTN Count, UINT8 Class) {
  for (UINTN i = 0; i < Count; ++i)
    if (Order[i] == Class) return true;
  return false;
}

} // namespace

bool BootOptions_Parse(const UINT8* Data, UINTN Size, LoadOption* Out) {
  if (!Data || !Out || Size < 6) return false;
  UINT32 attributes;
  UINT16 pathSize;
  MemCopy(&attributes, Data, 4);
  MemCopy(&pathSize, Data + 4, 2);
  UINTN at = 6;
  for (;;) {
    if (at + 2 > Size) return false; // the description has no terminator
    const bool end = Data[at] == 0 && Data[at + 1] == 0;
    at += 2;
    if (end) break;
  }
  if (pathSize > Size - at) return false;
  Out->Attributes = attributes;
  Out->Path = Data + at;
  Out->PathSize = pathSize;
  return true;
}

UINT8 BootOptions_ClassifyPath(const UINT8* Path, UINTN PathSize, bool Optical) {
  const PathFacts facts = Walk(Path, PathSize);
  // The network comes first: a network path may run over USB (a USB network
  // adapter) and still boots from the network.
  if (facts.Network) return BootClassLan;
  if (facts.Cdrom || (Optical && (facts.AtaOrScsi || facts.Usb))) return BootClassOdd;
  if (facts.Usb) return BootClassUsb;
  if (facts.DiskBus || facts.Partition) return BootClassHdd;
  return BootClassNone;
}

UINT8 BootOptions_ClassifyOption(const UINT8* Data, UINTN Size, bool Optical) {
  LoadOption option;
  if (!BootOptions_Parse(Data, Size, &option) || !(option.Attributes & kLoadOptionActive))
    return BootClassNone;
  return BootOptions_ClassifyPath(option.Path, option.PathSize, Optical);
}

UINT64 BootOptions_PackedOrder(const UINT8* Classes, UINTN Count, UINT64 Stored) {
  // The classes of the machine's options, in the order of their first option.
  UINT8 machine[kBootClassCount];
  UINTN present = 0;
  for (UINTN i = 0; Classes && i < Count && present < kBootClassCount; ++i)
    if (Classes[i] < kBootClassCount && !Named(machine, present, Classes[i]))
      machine[present++] = Classes[i];
  UINT8 order[kBootClassCount];
  BootOptions_UnpackOrder(Stored, order);
  UINTN next = 0;
  for (UINT8& c : order)
    if (Named(machine, present, c)) c = machine[next++];
  UINT64 packed = 0;
  for (UINTN i = 0; i < kBootClassCount; ++i)
    packed |= static_cast<UINT64>(order[i] + 1) << (4 * i);
  return packed;
}

void BootOptions_UnpackOrder(UINT64 Packed, UINT8 Order[kBootClassCount]) {
  UINTN n = 0;
  for (; n < kBootClassCount; ++n) {
    const UINT64 nibble = (Packed >> (4 * n)) & 0xF;
    if (nibble == 0 || nibble > kBootClassCount) break;
    const UINT8 c = static_cast<UINT8>(nibble - 1);
    if (Named(Order, n, c)) break;
    Order[n] = c;
  }
  for (UINT8 c = 0; c < kBootClassCount; ++c)
    if (!Named(Order, n, c)) Order[n++] = c;
}

UINT64 BootOptions_AbsentLast(UINT64 Packed, bool LanPresent, bool OddPresent) {
  UINT8 order[kBootClassCount];
  BootOptions_UnpackOrder(Packed, order);
  UINT64 packed = 0;
  UINTN n = 0;
  for (int absent = 0; absent < 2; ++absent)
    for (UINT8 c : order) {
      const bool present = (c != BootClassLan || LanPresent) && (c != BootClassOdd || OddPresent);
      if (present == (absent == 0)) packed |= static_cast<UINT64>(c + 1) << (4 * n++);
    }
  return packed;
}

void BootOptions_Reorder(const UINT16* Numbers, const UINT8* Classes, UINTN Count, UINT64 Packed,
                         UINT16* Out) {
  if (!Numbers || !Classes || !Out) return;
  UINT8 order[kBootClassCount];
  BootOptions_UnpackOrder(Packed, order);
  UINTN n = 0;
  for (UINT8 c : order)
    for (UINTN i = 0; i < Count; ++i)
      if (Classes[i] == c) Out[n++] = Numbers[i];
  for (UINTN i = 0; i < Count; ++i)
    if (Classes[i] >= kBootClassCount) Out[n++] = Numbers[i];
}
