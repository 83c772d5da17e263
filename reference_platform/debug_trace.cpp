#include "reference_platform/debug_trace.h"

#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/serial.h"

namespace {

EFI_STATUS EFIAPI Unused(DebugTraceProtocolTable*, const CHAR8*, const CHAR8*, const CHAR8*, UINT64,
                         UINT64) {
  return EFI_UNSUPPORTED;
}

// Format takes the source file, the routine, the line and the address, in
// that order ("Malloc at file : %s function : %s line : %d address : %lx").
EFI_STATUS EFIAPI Trace(DebugTraceProtocolTable* This, const CHAR8* Format, const CHAR8* File,
                        const CHAR8* Function, UINT64 Line, UINT64 Address) {
  if (!This || !Format) return EFI_INVALID_PARAMETER;
  CHAR8 text[256];
  AsciiFormat(text, sizeof(text), Format, File, Function, Line, Address);
  Serial_WriteLine(text);
  return EFI_SUCCESS;
}

constinit DebugTraceProtocolTable gTable = {
    {Unused, Unused, Unused, Unused, Unused, Unused, Unused, Unused, Unused, Unused, Unused,
     Unused, Unused, Unused, Unused, Unused, Unused, Unused, Unused, Unused, Unused, Trace}};
static_assert(kDebugTraceOperationIndex == 21);

} // namespace

EFI_STATUS DebugTrace_Install() {
  return Platform_InstallOnNewHandle(kDebugTraceGuid, &gTable);
}
