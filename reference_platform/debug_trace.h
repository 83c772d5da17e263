// The debug trace protocol: its operation 21 formats the utility's
// allocation trace lines and writes them to the platform's serial output.
#pragma once

#include "platform/vendor_protocols.h"

EFI_STATUS DebugTrace_Install();
