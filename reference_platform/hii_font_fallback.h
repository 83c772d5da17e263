// A placeholder HII Font protocol for firmware that has none: the utility
// requires the protocol's presence but draws with the glyph font service.
#pragma once

#include "platform/efi.h"

// Installs the placeholder only when no HII Font protocol is found; returns
// EFI_SUCCESS in both cases unless the installation fails.
EFI_STATUS HiiFontFallback_InstallIfMissing();
