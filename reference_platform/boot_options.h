// The machine's boot options by device class: reading EFI_LOAD_OPTION
// records, placing a device path in one of the four classes the boot
// priority dialog orders (HDD/SSD, USB, LAN, ODD), the packed class order a
// BootOrder stands for, and the BootOrder a new class order gives. Pure
// functions over bytes: the firmware calls live in machine_settings.cpp.
#pragma once

#include "platform/efi.h"

enum BootClass : UINT8 {
  BootClassHdd = 0,
  BootClassUsb = 1,
  BootClassLan = 2,
  BootClassOdd = 3,
  kBootClassCount = 4,
  BootClassNone = 0xFF, // the firmware's own applications, the shell, inactive options
};

constexpr UINT32 kLoadOptionActive = 0x00000001;

// The parts of an EFI_LOAD_OPTION (attributes, path length, NUL-terminated
// UTF-16 description, device path list, optional data). False when the
// record is too short, the description has no terminator or the path runs
// past the end.
struct LoadOption {
  UINT32 Attributes;
  const UINT8* Path;
  UINTN PathSize;
};
bool BootOptions_Parse(const UINT8* Data, UINTN Size, LoadOption* Out);

// The class of a device path of PathSize bytes. Nodes are read only within
// the bounds; a node shorter than its header or running past the end ends
// the walk with what was seen before it. Optical says the path leads to an
// optical drive (the firmware's block device for it reads 2048-byte
// sectors from removable media): ATAPI and SATA nodes of such a path are an
// ODD, not a disk.
UINT8 BootOptions_ClassifyPath(const UINT8* Path, UINTN PathSize, bool Optical);

// The class of a Boot#### variable's content; BootClassNone for a malformed
// or inactive option and for a path no class takes.
UINT8 BootOptions_ClassifyOption(const UINT8* Data, UINTN Size, bool Optical);

// The packed class order (four bits per position, class + 1) of a boot
// order whose entries have the classes Classes[0..Count), over the order
// stored before (Stored): the positions of the classes the machine has
// options of take those classes in the order of their first option; a class
// without options keeps its stored position, so that a user's "USB first"
// survives a boot without a stick. Always a permutation of the four classes.
UINT64 BootOptions_PackedOrder(const UINT8* Classes, UINTN Count, UINT64 Stored);

// The class order a packed value names: nibbles from position 0 up to the
// first zero, unknown or repeated one, then the classes not named yet in
// class order. Always a permutation of the four classes.
void BootOptions_UnpackOrder(UINT64 Packed, UINT8 Order[kBootClassCount]);

// Packed with the classes the machine lacks (LAN, ODD when not present)
// moved behind the others, order otherwise kept: the dialog shows only the
// first positions, which must be classes the machine can boot.
UINT64 BootOptions_AbsentLast(UINT64 Packed, bool LanPresent, bool OddPresent);

// The new boot order for the class order of Packed: the options of each
// class in that order, keeping their order inside the class, then the
// options of no class in their old relative order. Numbers/Classes hold
// Count entries; Out receives Count numbers.
void BootOptions_Reorder(const UINT16* Numbers, const UINT8* Classes, UINTN Count, UINT64 Packed,
                         UINT16* Out);
