#include "firmware/firmware_entry.h"

#include "core/startup.h"
#include "reference_platform/platform_run.h"

namespace {

// The utility is linked in: no file to read, no image to load. It runs with
// this image's handle, so whatever it asks of its own loaded image (none of
// its services need a file of their own) is answered for this image.
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
