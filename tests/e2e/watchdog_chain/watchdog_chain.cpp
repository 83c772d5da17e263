// The end-to-end watchdog test's boot file: arms the firmware watchdog to a
// short time, the way a firmware arms its five-minute one before it starts a
// boot option, then starts the reference platform's launcher
// (\QuorvexPlatform.efi on the same volume). If the setup did not disarm the
// watchdog, the machine would reset shortly after the setup appears. Laid
// out on an ESP of its own (build/uefi/watchdog_esp), never shipped.
#include "platform/efi.h"

namespace {

constexpr UINTN kShortWatchdogSeconds = 20;
constexpr CHAR16 kLauncherPath[] = u"\\QuorvexPlatform.efi";
constexpr UINTN kLongestDevicePath = 4096;

UINTN NodeLength(const EFI_DEVICE_PATH_PROTOCOL* Node) {
  return static_cast<UINTN>(Node->Length[0]) | (static_cast<UINTN>(Node->Length[1]) << 8);
}

// The volume's device path with a file node naming the launcher, in Buffer.
EFI_DEVICE_PATH_PROTOCOL* LauncherPath(const EFI_DEVICE_PATH_PROTOCOL* Volume, UINT8* Buffer,
                                       UINTN Capacity) {
  UINTN used = 0;
  for (const auto* node = Volume; !(node->Type == 0x7F && node->SubType == 0xFF);) {
    const UINTN length = NodeLength(node);
    if (length < sizeof(EFI_DEVICE_PATH_PROTOCOL) || used + length > Capacity) return nullptr;
    const auto* bytes = reinterpret_cast<const UINT8*>(node);
    for (UINTN i = 0; i < length; ++i) Buffer[used + i] = bytes[i];
    used += length;
    node = reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL*>(bytes + length);
  }
  const UINTN file_node = sizeof(EFI_DEVICE_PATH_PROTOCOL) + sizeof(kLauncherPath);
  if (used + file_node + sizeof(EFI_DEVICE_PATH_PROTOCOL) > Capacity) return nullptr;
  UINT8* node = Buffer + used;
  node[0] = 4; // media device path
  node[1] = 4; // file path
  node[2] = static_cast<UINT8>(file_node);
  node[3] = static_cast<UINT8>(file_node >> 8);
  const auto* name = reinterpret_cast<const UINT8*>(kLauncherPath);
  for (UINTN i = 0; i < sizeof(kLauncherPath); ++i) node[4 + i] = name[i];
  UINT8* end = node + file_node;
  end[0] = 0x7F;
  end[1] = 0xFF;
  end[2] = 4;
  end[3] = 0;
  return reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(Buffer);
}

} // namespace

extern "C" EFI_STATUS EFIAPI WatchdogChainMain(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* Table) {
  EFI_BOOT_SERVICES* bs = Table->BootServices;
  void* interface = nullptr;
  if (EFI_ERROR(bs->HandleProtocol(ImageHandle, &kLoadedImageGuid, &interface)) || !interface)
    return EFI_NOT_FOUND;
  EFI_HANDLE device = static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(interface)->DeviceHandle;
  void* volume = nullptr;
  if (EFI_ERROR(bs->HandleProtocol(device, &kDevicePathGuid, &volume)) || !volume)
    return EFI_NOT_FOUND;
  static UINT8 path_buffer[kLongestDevicePath];
  EFI_DEVICE_PATH_PROTOCOL* path = LauncherPath(
      static_cast<const EFI_DEVICE_PATH_PROTOCOL*>(volume), path_buffer, sizeof(path_buffer));
  if (path == nullptr) return EFI_NOT_FOUND;
  EFI_HANDLE launcher = nullptr;
  EFI_STATUS status = bs->LoadImage(0, ImageHandle, path, nullptr, 0, &launcher);
  if (EFI_ERROR(status)) return status;
  bs->SetWatchdogTimer(kShortWatchdogSeconds, 0, 0, nullptr);
  return bs->StartImage(launcher, nullptr, nullptr);
}
