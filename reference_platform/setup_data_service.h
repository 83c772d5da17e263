// The setup data service: one operation for every number from 0 to 199, over
// the settings store. The operations follow the settings schema: each
// setting's get, set and presence operation, and every numbered operation by
// its shape. Numbers the schema does not assign return EFI_UNSUPPORTED.
//
// Every call produces one trace line for SetupDataTraceSink: "op N", the
// by-value arguments, and " -> R" when the operation returns a result
// (decimal; statuses as 0x hex). Getters of 32-bit settings answer by value
// ("op 27 -> 0"); the other getters write into the caller's storage and
// return nothing. Operations that reset or power off the machine write their
// line before doing so, without a result.
#pragma once

#include "platform/vendor_protocols.h"

// The service instance (its table is complete from the start).
SetupDataProtocol* SetupDataService_Instance();
// Installs the service on a new handle.
EFI_STATUS SetupDataService_Install();
