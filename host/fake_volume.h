// A Simple File System on the fake firmware's volume handle, backed by a
// directory of the host: the simulator serves its --out directory there, so
// what the reference platform writes to its boot volume lands in that
// directory. Tests can make the volume read-only, full or unreadable.
#pragma once

#include <string>

#include "platform/efi.h"

namespace fake {

enum class VolumeFault {
  None,
  ReadOnly,        // opening for writing answers EFI_WRITE_PROTECTED
  Full,            // Write answers EFI_VOLUME_FULL and writes nothing
  OpenVolumeFails, // OpenVolume answers EFI_DEVICE_ERROR
};

// Installs the file system on VolumeHandle() over Dir (which must exist).
// Call after Reset(); a new Reset() drops it with every other protocol.
void ServeVolumeDirectory(const std::string& Dir);
void SetVolumeFault(VolumeFault Fault);
// File handles opened and not closed yet.
size_t OpenVolumeFiles();

} // namespace fake
