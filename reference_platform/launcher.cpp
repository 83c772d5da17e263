// QuorvexPlatform.efi: installs the vendor services, then loads and starts
// \QuorvexSetup.efi from the volume the launcher itself was loaded from.
#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/platform_run.h"
#include "reference_platform/reference_platform.h"

namespace {

constexpr CHAR16 kUtilityPath[] = u"\\QuorvexSetup.efi";
constexpr UINTN kFirstReadSize = 1u << 20;
constexpr UINTN kLargestImage = 64u << 20;
constexpr UINTN kLongestDevicePath = 64u << 10;

void Report(const CHAR8* What, EFI_STATUS Status) {
  Platform_Report(What, Status);
}

// Reads the whole file into a pool buffer. Only Read is relied on: the
// buffer grows until a read returns nothing.
EFI_STATUS ReadWholeFile(EFI_FILE_PROTOCOL* File, UINT8** Buffer, UINTN* Size) {
  UINTN capacity = kFirstReadSize;
  UINT8* buffer = static_cast<UINT8*>(Quorvex_AllocatePool(capacity));
  if (!buffer) return EFI_OUT_OF_RESOURCES;
  UINTN size = 0;
  for (;;) {
    if (size == capacity) {
      if (capacity >= kLargestImage) {
        Quorvex_FreePool(buffer);
        return EFI_OUT_OF_RESOURCES;
      }
      UINT8* larger = static_cast<UINT8*>(Quorvex_AllocatePool(capacity * 2));
      if (!larger) {
        Quorvex_FreePool(buffer);
        return EFI_OUT_OF_RESOURCES;
      }
      MemCopy(larger, buffer, size);
      Quorvex_FreePool(buffer);
      buffer = larger;
      capacity *= 2;
    }
    UINTN chunk = capacity - size;
    const EFI_STATUS status = File->Read(File, &chunk, buffer + size);
    if (EFI_ERROR(status)) {
      Quorvex_FreePool(buffer);
      return status;
    }
    if (chunk == 0) break;
    size += chunk > capacity - size ? capacity - size : chunk;
  }
  *Buffer = buffer;
  *Size = size;
  return EFI_SUCCESS;
}

EFI_STATUS ReadUtility(EFI_HANDLE Device, UINT8** Buffer, UINTN* Size) {
  void* interface = nullptr;
  EFI_STATUS status =
      PlatformBootServices->HandleProtocol(Device, &kSimpleFileSystemGuid, &interface);
  if (EFI_ERROR(status) || !interface) return EFI_ERROR(status) ? status : EFI_NOT_FOUND;
  auto* volume = static_cast<EFI_SIMPLE_FILE_SYSTEM_PROTOCOL*>(interface);
  EFI_FILE_PROTOCOL* root = nullptr;
  status = volume->OpenVolume(volume, &root);
  if (EFI_ERROR(status) || !root) return EFI_ERROR(status) ? status : EFI_NOT_FOUND;
  EFI_FILE_PROTOCOL* file = nullptr;
  status = root->Open(root, &file, kUtilityPath, EFI_FILE_MODE_READ, 0);
  if (!EFI_ERROR(status) && file) {
    status = ReadWholeFile(file, Buffer, Size);
    file->Close(file);
  } else if (!EFI_ERROR(status)) {
    status = EFI_NOT_FOUND;
  }
  root->Close(root);
  return status;
}

UINTN NodeLength(const EFI_DEVICE_PATH_PROTOCOL* Node) {
  return static_cast<UINTN>(Node->Length[0]) | (static_cast<UINTN>(Node->Length[1]) << 8);
}

bool IsEnd(const EFI_DEVICE_PATH_PROTOCOL* Node) {
  return Node->Type == 0x7F && Node->SubType == 0xFF;
}

// The volume's device path followed by a file path node naming the utility;
// null when the volume has no usable device path.
EFI_DEVICE_PATH_PROTOCOL* UtilityDevicePath(EFI_HANDLE Device) {
  void* interface = nullptr;
  if (EFI_ERROR(PlatformBootServices->HandleProtocol(Device, &kDevicePathGuid, &interface)) ||
      !interface)
    return nullptr;
  const auto* volume = static_cast<const EFI_DEVICE_PATH_PROTOCOL*>(interface);
  UINTN volume_size = 0;
  for (const auto* node = volume; !IsEnd(node);) {
    const UINTN length = NodeLength(node);
    if (length < sizeof(EFI_DEVICE_PATH_PROTOCOL) || volume_size + length > kLongestDevicePath)
      return nullptr;
    volume_size += length;
    node = reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL*>(reinterpret_cast<const UINT8*>(node) +
                                                             length);
  }
  const UINTN file_node = sizeof(EFI_DEVICE_PATH_PROTOCOL) + sizeof(kUtilityPath);
  const UINTN total = volume_size + file_node + sizeof(EFI_DEVICE_PATH_PROTOCOL);
  UINT8* path = static_cast<UINT8*>(Quorvex_AllocatePool(total));
  if (!path) return nullptr;
  MemCopy(path, volume, volume_size);
  UINT8* node = path + volume_size;
  node[0] = 4; // media device path
  node[1] = 4; // file path
  node[2] = static_cast<UINT8>(file_node);
  node[3] = static_cast<UINT8>(file_node >> 8);
  MemCopy(node + 4, kUtilityPath, sizeof(kUtilityPath));
  UINT8* end = node + file_node;
  end[0] = 0x7F;
  end[1] = 0xFF;
  end[2] = 4;
  end[3] = 0;
  return reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(path);
}

EFI_STATUS StartUtility(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE*) {
  void* interface = nullptr;
  EFI_STATUS status =
      PlatformBootServices->HandleProtocol(ImageHandle, &kLoadedImageGuid, &interface);
  if (EFI_ERROR(status) || !interface) {
    status = EFI_ERROR(status) ? status : EFI_NOT_FOUND;
    Report("cannot find the launcher's own volume", status);
    return status;
  }
  EFI_HANDLE device = static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(interface)->DeviceHandle;

  UINT8* image = nullptr;
  UINTN size = 0;
  const EFI_STATUS read = ReadUtility(device, &image, &size);
  EFI_DEVICE_PATH_PROTOCOL* path = UtilityDevicePath(device);
  if (EFI_ERROR(read) && !path) {
    Report("cannot read \\QuorvexSetup.efi", read);
    return read;
  }
  // Without a readable file system the firmware's own loader is asked to
  // find the file by its device path.
  EFI_HANDLE utility = nullptr;
  status = PlatformBootServices->LoadImage(0, ImageHandle, path, image, image ? size : 0, &utility);
  if (path) Quorvex_FreePool(path);
  if (image) Quorvex_FreePool(image);
  if (EFI_ERROR(status)) {
    // A refused signature still leaves a handle to unload.
    if (utility && PlatformBootServices->UnloadImage) PlatformBootServices->UnloadImage(utility);
    if (EFI_ERROR(read)) Report("cannot read \\QuorvexSetup.efi", read);
    Report("cannot load QuorvexSetup.efi", status);
    return status;
  }
  status = PlatformBootServices->StartImage(utility, nullptr, nullptr);
  if (EFI_ERROR(status)) Report("QuorvexSetup.efi ended with an error", status);
  return status;
}

} // namespace

extern "C" EFI_STATUS EFIAPI QuorvexPlatform_EntryPoint(EFI_HANDLE ImageHandle,
                                                        EFI_SYSTEM_TABLE* SystemTable) {
  return QuorvexPlatform_Run(ImageHandle, SystemTable, StartUtility);
}
