#include "reference_platform/screenshot.h"

#include "platform/efi_storage.h"
#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/png_encode.h"
#include "reference_platform/serial.h"

namespace {

constexpr CHAR16 kFolder[] = u"screenshots";
constexpr CHAR16 kPrefix[] = u"quorvex-";
constexpr CHAR16 kSuffix[] = u".png";
constexpr UINTN kNameUnits = 8 + 4 + 4 + 1;

constinit UINT32 gHighestNumber = kScreenshotMaxNumber;

void ReportFailure(const CHAR8* What, EFI_STATUS Status) {
  AsciiLine line;
  AsciiLine_Start(&line, "QuorvexPlatform: screenshot not saved: ");
  AsciiLine_Append(&line, What);
  AsciiLine_Append(&line, " (status ");
  AsciiLine_AppendHex(&line, Status);
  AsciiLine_Append(&line, ")");
  Serial_WriteLine(line.Text);
}

void ReportSaved(const CHAR16* Name, UINTN Bytes) {
  AsciiLine line;
  AsciiLine_Start(&line, "QuorvexPlatform: screenshot saved as \\screenshots\\");
  CHAR8 name[kNameUnits];
  UINTN i = 0;
  for (; Name[i] && i + 1 < kNameUnits; ++i) name[i] = static_cast<CHAR8>(Name[i]);
  name[i] = 0;
  AsciiLine_Append(&line, name);
  AsciiLine_Append(&line, " (");
  AsciiLine_AppendDecimal(&line, Bytes);
  AsciiLine_Append(&line, " bytes)");
  Serial_WriteLine(line.Text);
}

// "quorvex-0042.png"
void MakeName(UINT32 Number, CHAR16 Name[kNameUnits]) {
  UINTN n = 0;
  for (const CHAR16* p = kPrefix; *p; ++p) Name[n++] = *p;
  for (UINT32 divisor = 1000; divisor > 0; divisor /= 10)
    Name[n++] = static_cast<CHAR16>(u'0' + (Number / divisor) % 10);
  for (const CHAR16* p = kSuffix; *p; ++p) Name[n++] = *p;
  Name[n] = 0;
}

// The whole screen into a pool buffer.
EFI_STATUS CaptureScreen(EFI_GRAPHICS_OUTPUT_BLT_PIXEL** Pixels, UINT32* Width, UINT32* Height) {
  if (!PlatformBootServices || !PlatformBootServices->LocateProtocol) return EFI_NOT_FOUND;
  void* interface = nullptr;
  EFI_STATUS status =
      PlatformBootServices->LocateProtocol(&kGraphicsOutputGuid, nullptr, &interface);
  if (EFI_ERROR(status) || !interface) return EFI_ERROR(status) ? status : EFI_NOT_FOUND;
  auto* gop = static_cast<EFI_GRAPHICS_OUTPUT_PROTOCOL*>(interface);
  if (!gop->Mode || !gop->Mode->Info || !gop->Blt) return EFI_NOT_FOUND;
  const UINT32 width = gop->Mode->Info->HorizontalResolution;
  const UINT32 height = gop->Mode->Info->VerticalResolution;
  if (width == 0 || height == 0 || static_cast<UINT64>(width) * height > kPngMaxPixels)
    return EFI_UNSUPPORTED;
  const UINTN bytes = static_cast<UINTN>(width) * height * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL);
  auto* pixels = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(Quorvex_AllocatePool(bytes));
  if (!pixels) return EFI_OUT_OF_RESOURCES;
  status = gop->Blt(gop, pixels, EfiBltVideoToBltBuffer, 0, 0, 0, 0, width, height, 0);
  if (EFI_ERROR(status)) {
    Quorvex_FreePool(pixels);
    return status;
  }
  *Pixels = pixels;
  *Width = width;
  *Height = height;
  return EFI_SUCCESS;
}

// The file system on Device, or null.
EFI_SIMPLE_FILE_SYSTEM_PROTOCOL* FileSystemOf(EFI_HANDLE Device) {
  void* interface = nullptr;
  if (EFI_ERROR(PlatformBootServices->HandleProtocol(Device, &kSimpleFileSystemGuid, &interface)))
    return nullptr;
  return static_cast<EFI_SIMPLE_FILE_SYSTEM_PROTOCOL*>(interface);
}

// The device the platform was loaded from: the ESP for the launcher, the
// firmware volume (no file system) for the setup inside the firmware.
EFI_HANDLE OwnDevice() {
  void* interface = nullptr;
  if (EFI_ERROR(PlatformBootServices->HandleProtocol(PlatformImageHandle, &kLoadedImageGuid,
                                                     &interface)) ||
      !interface)
    return nullptr;
  return static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(interface)->DeviceHandle;
}

EFI_STATUS OpenRoot(EFI_SIMPLE_FILE_SYSTEM_PROTOCOL* Volume, EFI_FILE_PROTOCOL** Root) {
  *Root = nullptr;
  EFI_STATUS status = Volume->OpenVolume(Volume, Root);
  if (!EFI_ERROR(status) && !*Root) status = EFI_NOT_FOUND;
  return status;
}

// The lowest number whose file does not exist yet.
EFI_STATUS FreeName(EFI_FILE_PROTOCOL* Folder, CHAR16 Name[kNameUnits]) {
  for (UINT32 number = 0; number <= gHighestNumber; ++number) {
    MakeName(number, Name);
    EFI_FILE_PROTOCOL* file = nullptr;
    const EFI_STATUS status = Folder->Open(Folder, &file, Name, EFI_FILE_MODE_READ, 0);
    if (status == EFI_NOT_FOUND) return EFI_SUCCESS;
    if (EFI_ERROR(status)) return status;
    if (file) file->Close(file);
  }
  return EFI_VOLUME_FULL;
}

// Writes the picture as a new file in Folder; a file that could not be
// written whole is deleted.
EFI_STATUS WriteFile(EFI_FILE_PROTOCOL* Folder, const CHAR16* Name, const UINT8* Data, UINTN Size,
                     const CHAR8** What) {
  EFI_FILE_PROTOCOL* file = nullptr;
  EFI_STATUS status = Folder->Open(
      Folder, &file, Name, EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE | EFI_FILE_MODE_CREATE, 0);
  if (EFI_ERROR(status) || !file) {
    *What = "cannot create the file";
    return EFI_ERROR(status) ? status : EFI_NOT_FOUND;
  }
  UINTN written = Size;
  status = file->Write(file, &written, Data);
  if (!EFI_ERROR(status) && written != Size) status = EFI_VOLUME_FULL;
  if (!EFI_ERROR(status)) status = file->Flush(file);
  if (EFI_ERROR(status)) {
    *What = "cannot write the file";
    // Delete closes the handle, also when it fails.
    file->Delete(file);
    return status;
  }
  status = file->Close(file);
  if (EFI_ERROR(status)) *What = "cannot close the file";
  return status;
}

EFI_STATUS SaveTo(EFI_FILE_PROTOCOL* Root, const UINT8* Png, UINTN Size, const CHAR8** What) {
  EFI_FILE_PROTOCOL* folder = nullptr;
  EFI_STATUS status = Root->Open(Root, &folder, kFolder,
                                 EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE | EFI_FILE_MODE_CREATE,
                                 EFI_FILE_DIRECTORY);
  if (EFI_ERROR(status) || !folder) {
    *What = "cannot open or make the folder \\screenshots";
    return EFI_ERROR(status) ? status : EFI_NOT_FOUND;
  }
  CHAR16 name[kNameUnits];
  status = FreeName(folder, name);
  if (EFI_ERROR(status)) {
    *What = status == EFI_VOLUME_FULL ? "no free number left" : "cannot look for a free name";
  } else {
    status = WriteFile(folder, name, Png, Size, What);
    if (!EFI_ERROR(status)) ReportSaved(name, Size);
  }
  folder->Close(folder);
  return status;
}

} // namespace

namespace {

// Saves on the first volume that takes the file: the platform's own volume
// first, then every other file system in the firmware's order. Returns
// EFI_NOT_FOUND when there is no file system at all; otherwise the last
// failure, with What saying what failed.
EFI_STATUS SaveOnFirstWritableVolume(const UINT8* Png, UINTN Size, const CHAR8** What) {
  EFI_HANDLE own = OwnDevice();
  EFI_HANDLE* handles = nullptr;
  UINTN count = 0;
  if (!PlatformBootServices->LocateHandleBuffer ||
      EFI_ERROR(PlatformBootServices->LocateHandleBuffer(ByProtocol, &kSimpleFileSystemGuid,
                                                         nullptr, &count, &handles)) ||
      !handles)
    count = 0;
  EFI_STATUS status = EFI_NOT_FOUND;
  *What = "no FAT volume to write to";
  for (UINTN i = 0; i <= count; ++i) {
    // Index 0 is the own device; the list then skips it.
    EFI_HANDLE device = i == 0 ? own : handles[i - 1];
    if (!device || (i > 0 && device == own)) continue;
    EFI_SIMPLE_FILE_SYSTEM_PROTOCOL* volume = FileSystemOf(device);
    if (!volume) continue;
    EFI_FILE_PROTOCOL* root = nullptr;
    status = OpenRoot(volume, &root);
    if (EFI_ERROR(status)) {
      *What = "cannot open the volume";
      continue;
    }
    status = SaveTo(root, Png, Size, What);
    root->Close(root);
    if (!EFI_ERROR(status)) break;
  }
  if (handles) Quorvex_FreePool(handles);
  return status;
}

} // namespace

EFI_STATUS Screenshot_Save() {
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL* pixels = nullptr;
  UINT32 width = 0, height = 0;
  EFI_STATUS status = CaptureScreen(&pixels, &width, &height);
  if (EFI_ERROR(status)) {
    ReportFailure("cannot read the screen", status);
    return status;
  }
  UINT8* png = nullptr;
  UINTN size = 0;
  status = PngEncode_Rgb(pixels, width, height, &png, &size);
  Quorvex_FreePool(pixels);
  if (EFI_ERROR(status)) {
    ReportFailure("cannot encode the picture", status);
    return status;
  }
  const CHAR8* what = "";
  status = SaveOnFirstWritableVolume(png, size, &what);
  if (EFI_ERROR(status)) ReportFailure(what, status);
  Quorvex_FreePool(png);
  return status;
}

void Screenshot_SetHighestNumber(UINT32 Highest) {
  gHighestNumber = Highest < kScreenshotMaxNumber ? Highest : kScreenshotMaxNumber;
}
