#include "firmware/firmware_entry.h"

#include "core/startup.h"
#include "reference_platform/platform_run.h"

namespace {

// The utility is linked in: it runs on this image's handle, with no file to
// read and no image to load.
EFI_STATUS RunLinkedUtility(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable) {
  const EFI_STATUS status = _ModuleEntryPoint(ImageHandle, SystemTable);
  if (EFI_ERROR(status)) Platform_Report("the setup ended with an error", status);
  return status;
}

} // namespace

extern "C" EFI_STATUS EFIAPI QuorvexFirmware_EntryPoint(EFI_HANDLE ImageHandle,
                                                        EFI_SYSTEM_TABLE* SystemTable) {
  return QuorvexPlatform_Run(ImageHandle, SystemTable, RunLinkedUtility);
}
