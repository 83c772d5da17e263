#include "reference_platform/platform_context.h"

constinit EFI_HANDLE PlatformImageHandle = nullptr;
constinit EFI_SYSTEM_TABLE* PlatformSystemTable = nullptr;
constinit EFI_BOOT_SERVICES* PlatformBootServices = nullptr;
constinit EFI_RUNTIME_SERVICES* PlatformRuntimeServices = nullptr;

namespace {

struct Installation {
  EFI_HANDLE Handle;
  const EFI_GUID* Guid; // a GUID constant with static storage
  void* Interface;
};

// The services and a few restart triggers; beyond that an installation is
// simply not remembered.
constexpr UINTN kMaxInstallations = 32;
struct Installations {
  Installation Entries[kMaxInstallations];
  UINTN Count;
};
constinit Installations gInstalled = {};

} // namespace

void Platform_BindFirmware(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable) {
  PlatformImageHandle = ImageHandle;
  PlatformSystemTable = SystemTable;
  PlatformBootServices = SystemTable ? SystemTable->BootServices : nullptr;
  PlatformRuntimeServices = SystemTable ? SystemTable->RuntimeServices : nullptr;
  // A new firmware (the host tests build one per test) knows nothing of the
  // old installations.
  gInstalled.Count = 0;
}

EFI_STATUS Platform_InstallOnNewHandle(const EFI_GUID& Guid, void* Interface) {
  if (!PlatformBootServices || !PlatformBootServices->InstallProtocolInterface)
    return EFI_UNSUPPORTED;
  EFI_HANDLE handle = nullptr;
  const EFI_STATUS status = PlatformBootServices->InstallProtocolInterface(
      &handle, &Guid, EFI_NATIVE_INTERFACE, Interface);
  if (!EFI_ERROR(status) && gInstalled.Count < kMaxInstallations)
    gInstalled.Entries[gInstalled.Count++] = {handle, &Guid, Interface};
  return status;
}

void Platform_UninstallAll() {
  while (gInstalled.Count > 0) {
    const Installation& entry = gInstalled.Entries[--gInstalled.Count];
    if (PlatformBootServices && PlatformBootServices->UninstallProtocolInterface)
      PlatformBootServices->UninstallProtocolInterface(entry.Handle, entry.Guid, entry.Interface);
  }
}
