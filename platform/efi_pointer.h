// The pointer protocols: Simple Pointer (a mouse, relative motion) and
// Absolute Pointer (a touch panel or tablet), declared from the UEFI 2.x
// layouts.
#pragma once

#include "platform/efi.h"

// ---------------------------------------------------------------------------
// Pointers: Simple Pointer {31878C87-0B75-11D5-9A4F-0090273FC14D},
// Absolute Pointer {8D59D32B-C655-4AE9-9B15-F25904992A43}
// ---------------------------------------------------------------------------
constexpr EFI_GUID kSimplePointerGuid = {
    0x31878C87, 0x0B75, 0x11D5, {0x9A, 0x4F, 0x00, 0x90, 0x27, 0x3F, 0xC1, 0x4D}};
constexpr EFI_GUID kAbsolutePointerGuid = {
    0x8D59D32B, 0xC655, 0x4AE9, {0x9B, 0x15, 0xF2, 0x59, 0x04, 0x99, 0x2A, 0x43}};

struct EFI_SIMPLE_POINTER_STATE {
  INT32 RelativeMovementX;
  INT32 RelativeMovementY;
  INT32 RelativeMovementZ;
  BOOLEAN LeftButton;
  BOOLEAN RightButton;
};
struct EFI_SIMPLE_POINTER_MODE {
  UINT64 ResolutionX;
  UINT64 ResolutionY;
  UINT64 ResolutionZ;
  BOOLEAN LeftButton;
  BOOLEAN RightButton;
};
struct EFI_SIMPLE_POINTER_PROTOCOL {
  EFI_STATUS(EFIAPI* Reset)(EFI_SIMPLE_POINTER_PROTOCOL* This, BOOLEAN ExtendedVerification);
  EFI_STATUS(EFIAPI* GetState)(EFI_SIMPLE_POINTER_PROTOCOL* This, EFI_SIMPLE_POINTER_STATE* State);
  EFI_EVENT WaitForInput;
  EFI_SIMPLE_POINTER_MODE* Mode;
};

struct EFI_ABSOLUTE_POINTER_MODE {
  UINT64 AbsoluteMinX;
  UINT64 AbsoluteMinY;
  UINT64 AbsoluteMinZ;
  UINT64 AbsoluteMaxX;
  UINT64 AbsoluteMaxY;
  UINT64 AbsoluteMaxZ;
  UINT32 Attributes;
};
struct EFI_ABSOLUTE_POINTER_STATE {
  UINT64 CurrentX;
  UINT64 CurrentY;
  UINT64 CurrentZ;
  UINT32 ActiveButtons;
};
struct EFI_ABSOLUTE_POINTER_PROTOCOL {
  EFI_STATUS(EFIAPI* Reset)(EFI_ABSOLUTE_POINTER_PROTOCOL* This, BOOLEAN ExtendedVerification);
  EFI_STATUS(EFIAPI* GetState)
  (EFI_ABSOLUTE_POINTER_PROTOCOL* This, EFI_ABSOLUTE_POINTER_STATE* State);
  EFI_EVENT WaitForInput;
  EFI_ABSOLUTE_POINTER_MODE* Mode;
};
