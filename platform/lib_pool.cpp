// Pool allocation wrappers over the boot services, with the optional
// allocation trace on the debug trace protocol.
#include "platform/lib.h"

#include "platform/bindings.h"

namespace {
// The system table kept by Quorvex_Lib_Init; a null table makes every
// allocation fail cleanly (nullptr) and every free a no-op.
constinit EFI_SYSTEM_TABLE* LibSystemTable = nullptr;

EFI_BOOT_SERVICES* PoolServices() {
  if (!LibSystemTable) return nullptr;
  return LibSystemTable->BootServices;
}

void Trace(const CHAR8* Format, const CHAR8* File, const CHAR8* Function, UINTN Line,
           const void* Address) {
  if constexpr (kAllocationTrace) {
    DebugTraceProtocolTable* trace = DebugTraceProtocol;
    if (!trace || !trace->Operation[kDebugTraceOperationIndex]) return;
    trace->Operation[kDebugTraceOperationIndex](trace, Format, File, Function, Line,
                                                reinterpret_cast<UINT64>(Address));
  } else {
    (void)Format;
    (void)File;
    (void)Function;
    (void)Line;
    (void)Address;
  }
}
} // namespace

void Quorvex_Lib_Init(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable) {
  (void)ImageHandle;
  LibSystemTable = SystemTable;
}

void* Quorvex_AllocatePoolAt(UINTN Size, const CHAR8* File, const CHAR8* Function, UINTN Line) {
  EFI_BOOT_SERVICES* bs = PoolServices();
  if (!bs || !bs->AllocatePool) return nullptr;
  void* buffer = nullptr;
  if (EFI_ERROR(bs->AllocatePool(EfiBootServicesData, Size, &buffer))) return nullptr;
  Trace("Malloc at file : %s function : %s line : %d address : %lx", File, Function, Line, buffer);
  return buffer;
}

void Quorvex_FreePoolAt(void* Buffer, const CHAR8* File, const CHAR8* Function, UINTN Line) {
  EFI_BOOT_SERVICES* bs = PoolServices();
  if (!Buffer || !bs || !bs->FreePool) return;
  bs->FreePool(Buffer);
  Trace("FreePool at file : %s function : %s line : %d address : %lx", File, Function, Line,
        Buffer);
}

void Quorvex_FreeSecretAt(void* Buffer, UINTN Size, const CHAR8* File, const CHAR8* Function,
                          UINTN Line) {
  if (!Buffer) return;
  MemWipe(Buffer, Size);
  Quorvex_FreePoolAt(Buffer, File, Function, Line);
}
