#include "host/fake_volume.h"

#include <cstddef>
#include <fstream>
#include <iterator>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "host/fake_firmware.h"
#include "platform/efi_storage.h"

namespace fake {
namespace {

struct HostFile {
  EFI_FILE_PROTOCOL Protocol; // first: the protocol pointer is the record's
  std::string Path;           // host path
  bool Directory = false;
  bool Writable = false;
  bool Dirty = false;
  bool Loaded = false; // Content read from the host file on first use
  std::vector<UINT8> Content;
  UINTN Position = 0;
};

struct Volume {
  EFI_SIMPLE_FILE_SYSTEM_PROTOCOL Protocol;
  std::string Root;
  VolumeFault Fault = VolumeFault::None;
  std::vector<std::unique_ptr<HostFile>> Open;
};

Volume gVolume;

HostFile* FileOf(EFI_FILE_PROTOCOL* This) {
  HostFile* file = reinterpret_cast<HostFile*>(This);
  if (!file->Loaded && !file->Directory) {
    std::ifstream in(file->Path, std::ios::binary);
    file->Content.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  file->Loaded = true;
  return file;
}

bool IsDirectory(const std::string& Path) {
  struct stat st;
  return stat(Path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool Exists(const std::string& Path) {
  struct stat st;
  return stat(Path.c_str(), &st) == 0;
}

// Resolves a UEFI file name against a directory handle's host path: "\" at
// the start means the volume's root; "." and ".." are refused (nothing
// outside the served directory can be reached).
bool Resolve(const HostFile& From, const CHAR16* Name, std::string* Path) {
  if (!Name) return false;
  std::string path = From.Path;
  size_t i = 0;
  if (Name[0] == u'\\') {
    path = gVolume.Root;
    i = 1;
  }
  std::string part;
  auto flush = [&]() {
    if (part.empty()) return true;
    if (part == "." || part == "..") return false;
    path += "/" + part;
    part.clear();
    return true;
  };
  for (; Name[i]; ++i) {
    const CHAR16 c = Name[i];
    if (c == u'\\') {
      if (!flush()) return false;
    } else if (c < 0x20 || c >= 0x7F || c == u'/') {
      return false;
    } else {
      part += static_cast<char>(c);
    }
  }
  if (!flush()) return false;
  *Path = path;
  return true;
}

EFI_STATUS WriteBack(HostFile* File) {
  if (!File->Dirty) return EFI_SUCCESS;
  std::ofstream out(File->Path, std::ios::binary | std::ios::trunc);
  if (!out) return EFI_DEVICE_ERROR;
  out.write(reinterpret_cast<const char*>(File->Content.data()),
            static_cast<std::streamsize>(File->Content.size()));
  if (!out) return EFI_DEVICE_ERROR;
  File->Dirty = false;
  return EFI_SUCCESS;
}

void Forget(HostFile* File) {
  for (auto it = gVolume.Open.begin(); it != gVolume.Open.end(); ++it) {
    if (it->get() == File) {
      gVolume.Open.erase(it);
      return;
    }
  }
}

EFI_STATUS EFIAPI FileOpen(EFI_FILE_PROTOCOL* This, EFI_FILE_PROTOCOL** NewHandle,
                           const CHAR16* FileName, UINT64 OpenMode, UINT64 Attributes);

EFI_STATUS EFIAPI FileClose(EFI_FILE_PROTOCOL* This) {
  HostFile* file = reinterpret_cast<HostFile*>(This);
  const EFI_STATUS status = WriteBack(file);
  Forget(file);
  return status;
}

EFI_STATUS EFIAPI FileDelete(EFI_FILE_PROTOCOL* This) {
  HostFile* file = reinterpret_cast<HostFile*>(This);
  const bool removed = file->Writable && (file->Directory ? rmdir(file->Path.c_str()) == 0
                                                          : unlink(file->Path.c_str()) == 0);
  Forget(file);
  return removed ? EFI_SUCCESS : EFI_WARN_DELETE_FAILURE;
}

EFI_STATUS EFIAPI FileRead(EFI_FILE_PROTOCOL* This, UINTN* BufferSize, void* Buffer) {
  HostFile* file = FileOf(This);
  if (!BufferSize || file->Directory) return EFI_UNSUPPORTED;
  const UINTN left =
      file->Position < file->Content.size() ? file->Content.size() - file->Position : 0;
  const UINTN take = *BufferSize < left ? *BufferSize : left;
  if (take && !Buffer) return EFI_INVALID_PARAMETER;
  if (take) std::copy_n(file->Content.data() + file->Position, take, static_cast<UINT8*>(Buffer));
  file->Position += take;
  *BufferSize = take;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FileWrite(EFI_FILE_PROTOCOL* This, UINTN* BufferSize, const void* Buffer) {
  HostFile* file = FileOf(This);
  if (!BufferSize) return EFI_INVALID_PARAMETER;
  if (file->Directory) return EFI_UNSUPPORTED;
  if (!file->Writable) return EFI_ACCESS_DENIED;
  if (gVolume.Fault == VolumeFault::Full) {
    *BufferSize = 0;
    return EFI_VOLUME_FULL;
  }
  if (*BufferSize && !Buffer) return EFI_INVALID_PARAMETER;
  if (file->Position > file->Content.size() + (1u << 30) || *BufferSize > (1u << 30))
    return EFI_DEVICE_ERROR; // no test writes a gigabyte
  const auto* bytes = static_cast<const UINT8*>(Buffer);
  if (file->Content.size() < file->Position + *BufferSize)
    file->Content.resize(file->Position + *BufferSize);
  std::copy_n(bytes, *BufferSize, file->Content.data() + file->Position);
  file->Position += *BufferSize;
  file->Dirty = true;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FileGetPosition(EFI_FILE_PROTOCOL* This, UINT64* Position) {
  if (!Position) return EFI_INVALID_PARAMETER;
  *Position = FileOf(This)->Position;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FileSetPosition(EFI_FILE_PROTOCOL* This, UINT64 Position) {
  HostFile* file = FileOf(This);
  file->Position = Position == ~0ull ? file->Content.size() : static_cast<UINTN>(Position);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FileGetInfo(EFI_FILE_PROTOCOL*, const EFI_GUID*, UINTN*, void*) {
  return EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI FileSetInfo(EFI_FILE_PROTOCOL*, const EFI_GUID*, UINTN, const void*) {
  return EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI FileFlush(EFI_FILE_PROTOCOL* This) {
  return WriteBack(FileOf(This));
}

HostFile* NewHandle(const std::string& Path, bool Directory, bool Writable) {
  auto file = std::make_unique<HostFile>();
  file->Protocol = {0x00010000,      FileOpen,        FileClose,   FileDelete,  FileRead, FileWrite,
                    FileGetPosition, FileSetPosition, FileGetInfo, FileSetInfo, FileFlush};
  file->Path = Path;
  file->Directory = Directory;
  file->Writable = Writable;
  gVolume.Open.push_back(std::move(file));
  return gVolume.Open.back().get();
}

EFI_STATUS EFIAPI FileOpen(EFI_FILE_PROTOCOL* This, EFI_FILE_PROTOCOL** NewHandleOut,
                           const CHAR16* FileName, UINT64 OpenMode, UINT64 Attributes) {
  HostFile* from = FileOf(This);
  if (!NewHandleOut || !from->Directory) return EFI_INVALID_PARAMETER;
  const bool write = (OpenMode & EFI_FILE_MODE_WRITE) != 0;
  const bool create = (OpenMode & EFI_FILE_MODE_CREATE) != 0;
  if (!(OpenMode & EFI_FILE_MODE_READ) || (create && !write)) return EFI_INVALID_PARAMETER;
  std::string path;
  if (!Resolve(*from, FileName, &path)) return EFI_NOT_FOUND;
  if (write && gVolume.Fault == VolumeFault::ReadOnly) return EFI_WRITE_PROTECTED;
  if (!Exists(path)) {
    if (!create) return EFI_NOT_FOUND;
    if (Attributes & EFI_FILE_DIRECTORY) {
      if (mkdir(path.c_str(), 0777) != 0) return EFI_DEVICE_ERROR;
    } else {
      std::ofstream touch(path, std::ios::binary);
      if (!touch) return EFI_DEVICE_ERROR;
    }
  }
  *NewHandleOut = &NewHandle(path, IsDirectory(path), write)->Protocol;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI OpenVolume(EFI_SIMPLE_FILE_SYSTEM_PROTOCOL*, EFI_FILE_PROTOCOL** Root) {
  if (!Root) return EFI_INVALID_PARAMETER;
  if (gVolume.Fault == VolumeFault::OpenVolumeFails) return EFI_DEVICE_ERROR;
  *Root = &NewHandle(gVolume.Root, true, false)->Protocol;
  return EFI_SUCCESS;
}

} // namespace

void ServeVolumeDirectory(const std::string& Dir) {
  gVolume.Open.clear();
  gVolume.Root = Dir.empty() ? std::string(".") : Dir;
  gVolume.Fault = VolumeFault::None;
  gVolume.Protocol = {0x00010000, OpenVolume};
  EFI_HANDLE handle = VolumeHandle();
  BootServices()->InstallProtocolInterface(&handle, &kSimpleFileSystemGuid, EFI_NATIVE_INTERFACE,
                                           &gVolume.Protocol);
}

void SetVolumeFault(VolumeFault Fault) {
  gVolume.Fault = Fault;
}

size_t OpenVolumeFiles() {
  return gVolume.Open.size();
}

} // namespace fake
