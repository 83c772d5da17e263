#include "reference_platform/platform_context.h"

constinit EFI_HANDLE PlatformImageHandle = nullptr;
constinit EFI_SYSTEM_TABLE* PlatformSystemTable = nullptr;
constinit EFI_BOOT_SERVICES* PlatformBootServices = nullptr;
constinit EFI_RUNTIME_SERVICES* PlatformRuntimeServices = nullptr;

void Platform_BindFirmware(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable) {
  PlatformImageHandle = ImageHandle;
  PlatformSystemTable = SystemTable;
  PlatformBootServices = SystemTable ? SystemTable->BootServices : nullptr;
  PlatformRuntimeServices = SystemTable ? SystemTable->RuntimeServices : nullptr;
}

EFI_STATUS Platform_InstallOnNewHandle(const EFI_GUID& Guid, void* Interface) {
  if (!PlatformBootServices || !PlatformBootServices->InstallProtocolInterface)
    return EFI_UNSUPPORTED;
  EFI_HANDLE handle = nullptr;
  return PlatformBootServices->InstallProtocolInterface(&handle, &Guid, EFI_NATIVE_INTERFACE,
                                                        Interface);
}
