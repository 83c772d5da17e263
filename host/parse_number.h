// Numbers in the simulator's text inputs (settings files, scripts).
#pragma once

#include <string>

#include "platform/efi.h"

// Decimal, or hex after "0x"; refuses anything else, an overflow and a value
// above Max.
bool ParseUnsigned(const std::string& Text, UINT64 Max, UINT64* Value);
