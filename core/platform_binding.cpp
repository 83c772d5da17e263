// Binding to the firmware: the system table, the boot and runtime services and
// the protocols the utility cannot run without. The bound pointers survive a
// restart; only a start-up failure leaves them unset.
#include "core/startup.h"
#include "setup_data/setup_data_wrappers.h"
#include "setup_data/text_table.h"

namespace {

// Locates one protocol into Slot. The result is judged by the interface
// pointer, not by the status: a firmware that answers success with a null
// interface is as unusable as one that answers EFI_NOT_FOUND.
template <typename T> bool Locate(const EFI_GUID& Guid, T** Slot) {
  void* found = nullptr;
  BootServices->LocateProtocol(&Guid, nullptr, &found);
  *Slot = static_cast<T*>(found);
  return found != nullptr;
}

} // namespace

EFI_STATUS BindPlatform(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* Table) {
  Quorvex_Lib_Init(ImageHandle, Table);
  Quorvex_TextTable_Init();

  SystemTable = Table;
  BootServices = Table->BootServices;
  RuntimeServices = Table->RuntimeServices;

  if (!Locate(kGraphicsOutputGuid, &GraphicsOutput)) return EFI_NOT_FOUND;
  if (!Locate(kImageDisplayGuid, &ImageDisplay)) return EFI_NOT_FOUND;
  if (!Locate(kPlatformServiceGuid, &AuxProtocolA)) return EFI_NOT_FOUND;
  if (!Locate(kHiiFontGuid, &HiiFont)) return EFI_NOT_FOUND;
  if (!Locate(kGlyphFontGuid, &GlyphFont)) return EFI_NOT_FOUND;

  GlyphFont->GetLineHeight(GlyphFont, &GlyphLineHeight);

  if (!Locate(kSetupDataGuid, &SetupData)) return EFI_NOT_FOUND;

  // The stored language indexes the text slots directly; an answer outside
  // 0-2 would leave every text lookup unresolved, so it reads as English.
  INT64 stored = SetupData_ReadValue_language();
  Language = (stored >= 0 && stored <= 2) ? static_cast<UINT64>(stored) : 0;
  return EFI_SUCCESS;
}

// The debug trace protocol is optional: without it the allocation trace is
// simply not emitted.
EFI_STATUS LocateDebugTrace() {
  return Locate(kDebugTraceGuid, &DebugTraceProtocol) ? EFI_SUCCESS : EFI_NOT_FOUND;
}
