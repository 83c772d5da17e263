// The fake firmware's image services. There are no PE images on the host:
// LoadImage of QuorvexSetup.efi (by file path, or any buffer) gives a handle
// with a Loaded Image protocol, and StartImage calls the entry point it was
// given (the utility's, handed over by the simulator or a test). Exit() unwinds to the StartImage
// that started the image.
#include <algorithm>
#include <cstring>

#include "host/fake_internal.h"

namespace fake::detail {

namespace {

constexpr EFI_STATUS kAlreadyStarted = kEfiErrorBit | 20;
constexpr UINT32 kLoadedImageRevision = 0x1000;
constexpr char16_t kUtilityFileName[] = u"quorvexsetup.efi";

ImageRec* FindImage(EFI_HANDLE Handle) {
  if (FindHandle(Handle) == nullptr) return nullptr;
  for (auto& image : g->Images)
    if (image->Handle == Handle) return image.get();
  return nullptr;
}

char16_t Lower(char16_t C) {
  return (C >= u'A' && C <= u'Z') ? C + (u'a' - u'A') : C;
}

// True when the device path names the utility's file: a media file-path node
// whose last path component is QuorvexSetup.efi (any case).
bool NamesUtility(const EFI_DEVICE_PATH_PROTOCOL* Path) {
  const UINT8* node = reinterpret_cast<const UINT8*>(Path);
  for (int count = 0; count < 64; ++count) {
    const UINT8 type = node[0];
    const UINT8 subType = node[1];
    const UINT16 length = static_cast<UINT16>(node[2] | (node[3] << 8));
    if (type == 0x7F && subType == 0xFF) return false;
    if (length < 4) return false;
    if (type == 4 && subType == 4) {
      std::u16string name;
      for (UINT16 i = 4; i + 1 < length; i += 2) {
        char16_t c = static_cast<char16_t>(node[i] | (node[i + 1] << 8));
        if (c == 0) break;
        name += c;
      }
      size_t slash = name.find_last_of(u"\\/");
      std::u16string last = slash == std::u16string::npos ? name : name.substr(slash + 1);
      std::transform(last.begin(), last.end(), last.begin(), Lower);
      if (last == kUtilityFileName) return true;
    }
    node += length;
  }
  return false;
}

ImageRec* NewImage(EFI_HANDLE Parent, std::vector<UINT8> FilePath) {
  auto image = std::make_unique<ImageRec>();
  image->FilePath = std::move(FilePath);
  EFI_LOADED_IMAGE_PROTOCOL& loaded = image->Loaded;
  std::memset(&loaded, 0, sizeof loaded);
  loaded.Revision = kLoadedImageRevision;
  loaded.ParentHandle = Parent;
  loaded.SystemTable = &g->SystemTable;
  loaded.DeviceHandle = g->VolumeHandle;
  loaded.FilePath = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(image->FilePath.data());
  loaded.ImageCodeType = EfiLoaderCode;
  loaded.ImageDataType = EfiLoaderData;
  EFI_HANDLE handle = nullptr;
  Install(&handle, kLoadedImageGuid, &loaded);
  image->Handle = FindHandle(handle);
  g->Images.push_back(std::move(image));
  return g->Images.back().get();
}

// Runs an image's entry; Exit() from inside comes back here.
EFI_STATUS Run(ImageRec* Image, EFI_IMAGE_ENTRY_POINT Entry, EFI_HANDLE Handle, UINTN* ExitDataSize,
               CHAR16** ExitData) {
  if (ExitDataSize) *ExitDataSize = 0;
  if (ExitData) *ExitData = nullptr;
  if (Image == nullptr) return Entry(Handle, &g->SystemTable);

  std::jmp_buf jump;
  struct Running {
    ImageRec* Image;
    std::jmp_buf* Previous;
    ~Running() {
      Image->Running = false;
      Image->ExitJump = Previous;
    }
  } running{Image, Image->ExitJump};
  Image->ExitJump = &jump;
  Image->Running = true;
  if (setjmp(jump) != 0) return Image->ExitStatus;
  return Entry(Handle, &g->SystemTable);
}

EFI_STATUS EFIAPI LoadImage(BOOLEAN, EFI_HANDLE ParentImageHandle,
                            EFI_DEVICE_PATH_PROTOCOL* DevicePath, void* SourceBuffer, UINTN,
                            EFI_HANDLE* ImageHandle) {
  if (ImageHandle == nullptr || FindHandle(ParentImageHandle) == nullptr)
    return EFI_INVALID_PARAMETER;
  if (EFI_ERROR(g->LoadImageFailure)) return g->LoadImageFailure;
  // Without a buffer the path must name the utility; a buffer always holds it.
  if (SourceBuffer == nullptr && (DevicePath == nullptr || !NamesUtility(DevicePath)))
    return EFI_NOT_FOUND;
  ImageRec* image = NewImage(ParentImageHandle, FileDevicePath(u"\\QuorvexSetup.efi"));
  g->LoadedImages.push_back(image->Handle);
  *ImageHandle = image->Handle;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI StartImage(EFI_HANDLE ImageHandle, UINTN* ExitDataSize, CHAR16** ExitData) {
  ImageRec* image = FindImage(ImageHandle);
  if (image == nullptr) return EFI_INVALID_PARAMETER;
  if (image->Started) return kAlreadyStarted;
  image->Started = true;
  ++g->StartImageCalls;
  EFI_STATUS status = Run(image, g->ImageEntry, ImageHandle, ExitDataSize, ExitData);
  if (g->ImageReturnHandler) g->ImageReturnHandler(ImageHandle, status);
  return status;
}

EFI_STATUS EFIAPI Exit(EFI_HANDLE ImageHandle, EFI_STATUS ExitStatus, UINTN, CHAR16* ExitData) {
  ImageRec* image = FindImage(ImageHandle);
  if (image == nullptr) return EFI_INVALID_PARAMETER;
  if (image->Running && image->ExitJump) {
    // Exit data would belong to StartImage's caller; none of the images
    // here passes any, so a buffer given is simply released.
    if (ExitData) g->BootServices.FreePool(ExitData);
    image->ExitStatus = ExitStatus;
    std::longjmp(*image->ExitJump, 1);
  }
  if (!image->Started) {
    g->BootServices.UninstallProtocolInterface(ImageHandle, &kLoadedImageGuid, &image->Loaded);
    return EFI_SUCCESS;
  }
  return EFI_INVALID_PARAMETER;
}

EFI_STATUS EFIAPI UnloadImage(EFI_HANDLE ImageHandle) {
  ImageRec* image = FindImage(ImageHandle);
  if (image == nullptr || image->Running) return EFI_INVALID_PARAMETER;
  g->BootServices.UninstallProtocolInterface(ImageHandle, &kLoadedImageGuid, &image->Loaded);
  return EFI_SUCCESS;
}

} // namespace

void SetUpImageServices(State& S) {
  S.BootServices.LoadImage = LoadImage;
  S.BootServices.StartImage = StartImage;
  S.BootServices.Exit = Exit;
  S.BootServices.UnloadImage = UnloadImage;
}

} // namespace fake::detail

namespace fake {

using namespace detail;

void SetImageEntry(EFI_IMAGE_ENTRY_POINT Entry) {
  g->ImageEntry = Entry;
}
void SetImageReturnHandler(std::function<void(EFI_HANDLE, EFI_STATUS)> Handler) {
  g->ImageReturnHandler = std::move(Handler);
}
void FailLoadImage(EFI_STATUS Status) {
  g->LoadImageFailure = Status;
}
const std::vector<EFI_HANDLE>& LoadedImages() {
  return g->LoadedImages;
}
UINT64 StartImageCalls() {
  return g->StartImageCalls;
}

EFI_HANDLE CreateImageHandle(const std::u16string& Path) {
  return NewImage(nullptr, FileDevicePath(Path))->Handle;
}

void StopRunNow(int Code) {
  throw StopRun{Code};
}

RunResult RunImage(EFI_IMAGE_ENTRY_POINT Entry, EFI_HANDLE Image) {
  RunResult result;
  try {
    ImageRec* image = FindImage(Image);
    if (image) image->Started = true;
    // A firmware's boot manager arms its watchdog before it starts an image
    // and disarms it when the image returns.
    ArmWatchdog(kBootWatchdogSeconds);
    result.Status = Run(image, Entry, Image, nullptr, nullptr);
    ArmWatchdog(0);
  } catch (const SystemReset& reset) {
    result.Status = EFI_ABORTED;
    result.Reset = true;
    result.ResetInfo = reset;
  } catch (const StopRun& stop) {
    result.Status = EFI_ABORTED;
    result.Stopped = true;
    result.StopCode = stop.Code;
  }
  return result;
}

} // namespace fake
