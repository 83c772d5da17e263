// What a real machine's firmware has and the default fake firmware does not:
// boot options (BootOrder and Boot#### with the device paths OVMF gives a
// SATA disk, a USB stick, a network card, a DVD drive and its own
// applications), SMBIOS tables, and PlatformLang/PlatformLangCodes. Each is
// installed into the current fake firmware on request (after fake::Reset).
#pragma once

#include <string>
#include <vector>

namespace fake {

// Boot option kinds for InstallBootOptions, one per BootOrder entry:
//   hdd usb lan odd   an active option of that device class
//   app               a firmware application (OVMF's UiApp, hidden)
//   shell             the firmware's shell
//   missing           a BootOrder entry naming no Boot#### variable
// Options are numbered from 0 in list order. False (with a message) for an
// unknown kind or an empty list.
bool ParseBootKinds(const std::string& Text, std::vector<std::string>* Kinds, std::string* Error);
void InstallBootOptions(const std::vector<std::string>& Kinds);

// An SMBIOS 3.0 entry point and table: type 0 (vendor "Quorvex Simulator",
// version Version, EC release 1.2), type 4 (current speed 2400 MHz), two
// type 17 devices of 2048 MB, a type 19 range, end of table.
void InstallSmbios(const std::string& Version);

// PlatformLang (and PlatformLangCodes when Codes is not empty), as the
// firmware's non-volatile, runtime-visible variables.
void SetPlatformLang(const std::string& Lang, const std::string& Codes);

// "BootOrder 0002,0000 PlatformLang fr-FR": the variables as they stand.
std::string DescribeMachine();

} // namespace fake
