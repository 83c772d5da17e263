// UEFI declarations the reference platform needs beyond efi.h: writing files
// (screenshots), the statuses a file system answers with, the random number
// generator protocol (password salts) and the block I/O protocol's media
// (disk sizes, optical drives), with UEFI's layouts and values.
#pragma once

#include "platform/efi.h"

constexpr EFI_STATUS EFI_WARN_DELETE_FAILURE = 2;
constexpr EFI_STATUS EFI_WRITE_PROTECTED = kEfiErrorBit | 8;
constexpr EFI_STATUS EFI_VOLUME_FULL = kEfiErrorBit | 11;
constexpr EFI_STATUS EFI_MEDIA_CHANGED = kEfiErrorBit | 13;
constexpr EFI_STATUS EFI_ACCESS_DENIED = kEfiErrorBit | 15;

constexpr UINT64 EFI_FILE_MODE_WRITE = 0x0000000000000002ull;
constexpr UINT64 EFI_FILE_MODE_CREATE = 0x8000000000000000ull;
constexpr UINT64 EFI_FILE_READ_ONLY = 0x01;
constexpr UINT64 EFI_FILE_DIRECTORY = 0x10;

// ---------------------------------------------------------------------------
// Random number generator protocol
// ---------------------------------------------------------------------------
constexpr EFI_GUID kRngProtocolGuid = {
    0x3152BCA5, 0xEADE, 0x433D, {0x86, 0x2E, 0xC0, 0x1C, 0xDC, 0x29, 0x1F, 0x44}};

struct EFI_RNG_PROTOCOL {
  // Lists the algorithms offered (not used: the default algorithm is asked
  // for with a null algorithm).
  EFI_STATUS(EFIAPI* GetInfo)
  (EFI_RNG_PROTOCOL* This, UINTN* AlgorithmListSize, EFI_GUID* AlgorithmList);
  EFI_STATUS(EFIAPI* GetRNG)
  (EFI_RNG_PROTOCOL* This, const EFI_GUID* Algorithm, UINTN ValueLength, UINT8* Value);
};

// ---------------------------------------------------------------------------
// Block I/O protocol: only its media description is read
// ---------------------------------------------------------------------------
constexpr EFI_GUID kBlockIoGuid = {
    0x964E5B21, 0x6459, 0x11D2, {0x8E, 0x39, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B}};

struct BlockIoMedia {
  UINT32 MediaId;
  BOOLEAN RemovableMedia;
  BOOLEAN MediaPresent;
  BOOLEAN LogicalPartition;
  BOOLEAN ReadOnly;
  BOOLEAN WriteCaching;
  UINT32 BlockSize;
  UINT32 IoAlign;
  UINT64 LastBlock;
};

struct BlockIoProtocol {
  UINT64 Revision;
  BlockIoMedia* Media;
  void* Reset;
  void* ReadBlocks;
  void* WriteBlocks;
  void* FlushBlocks;
};
