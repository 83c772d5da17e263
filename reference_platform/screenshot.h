// The screenshot key: the whole screen, read back through the Graphics Output
// Protocol, saved as \screenshots\quorvex-NNNN.png (the lowest free number,
// the folder made when missing) on the volume the platform was loaded from.
#pragma once

#include "platform/efi.h"

constexpr UINT32 kScreenshotMaxNumber = 9999;

// Saves one screenshot. A failure (no screen, no file system, a read-only or
// full volume, no free number, the pool refusing) writes one line on the
// serial port and nothing else; a partly written file is deleted. The screen
// is not changed.
EFI_STATUS Screenshot_Save();

// The highest number tried: kScreenshotMaxNumber unless a host test lowered
// it (to fill every number without making ten thousand files).
void Screenshot_SetHighestNumber(UINT32 Highest);
