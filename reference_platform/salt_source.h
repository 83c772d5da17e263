// Where the password salts come from, best first: the firmware's random
// number generator protocol, the processor's RDRAND instruction (when CPUID
// says it is there), and last a mix of counters and the clock hashed with
// SHA-256 (unique per hash, but guessable in part).
#pragma once

#include "platform/efi.h"

enum SaltSource : UINT32 { SaltSource_RngProtocol, SaltSource_Rdrand, SaltSource_Mix };

// Fills Size bytes and tells which source gave them.
SaltSource Salt_Fill(UINT8* Salt, UINTN Size);

// The processor's random instruction, replaceable for host tests (the host's
// own processor may or may not have it).
struct RdrandAccess {
  bool (*Present)();
  // One 64-bit value; false when the instruction reports no value ready.
  bool (*Read64)(UINT64* Value);
};
// Null puts the processor's own instruction back.
void Salt_SetRdrandAccess(const RdrandAccess* Access);
