#include "reference_platform/power_on.h"

#include "platform/lib.h"
#include "reference_platform/gate.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/serial.h"
#include "reference_platform/store.h"
#include "reference_platform/usb_hid_pointer.h"

namespace {

// The event group the boot manager signals before it starts a boot option.
constexpr EFI_GUID kReadyToBootGuid = {
    0x7CE88FB3, 0x4BD7, 0x4679, {0x87, 0xA8, 0xA8, 0xD8, 0xDE, 0xE5, 0x0D, 0x2B}};
// The front-page file of the firmware volume, which the firmware image's
// setup replaces (tools/make_firmware.py).
constexpr EFI_GUID kSetupFileGuid = {
    0x462CAA21, 0x7614, 0x4503, {0x83, 0x6E, 0x8A, 0xB6, 0xF4, 0x66, 0x23, 0x31}};

constexpr UINT8 kMediaPath = 4;
constexpr UINT8 kFirmwareFileNode = 6;
constexpr UINT8 kEndPath = 0x7F;
// Larger load options are not ours to judge: treated as not the setup.
constexpr UINTN kLargestOption = 4096;

constinit EFI_HANDLE gImage = nullptr;
constinit bool gPassed = false;

bool ReadGlobal(const CHAR16* Name, void* Data, UINTN* Size) {
  if (!PlatformRuntimeServices || !PlatformRuntimeServices->GetVariable) return false;
  const UINTN room = *Size;
  const EFI_STATUS status =
      PlatformRuntimeServices->GetVariable(Name, &kGlobalVariableGuid, nullptr, Size, Data);
  return !EFI_ERROR(status) && *Size <= room;
}

// "Boot####" for an option number.
void OptionName(UINT16 Number, CHAR16 (&Name)[9]) {
  constexpr CHAR16 kHex[] = u"0123456789ABCDEF";
  const CHAR16 prefix[] = u"Boot";
  for (UINTN i = 0; i < 4; ++i) Name[i] = prefix[i];
  for (UINTN i = 0; i < 4; ++i) Name[4 + i] = kHex[(Number >> (12 - 4 * i)) & 0xF];
  Name[8] = 0;
}

// Whether the device path list (FilePathListLength bytes) holds a
// firmware-volume file node naming File before its first end node.
bool PathNamesFile(const UINT8* Path, UINTN Length, const EFI_GUID& File) {
  UINTN at = 0;
  while (at + sizeof(EFI_DEVICE_PATH_PROTOCOL) <= Length) {
    const UINT8 type = Path[at];
    const UINT8 sub = Path[at + 1];
    const UINTN node = static_cast<UINTN>(Path[at + 2]) | (static_cast<UINTN>(Path[at + 3]) << 8);
    if (node < sizeof(EFI_DEVICE_PATH_PROTOCOL) || node > Length - at) return false;
    if (type == kEndPath) return false;
    if (type == kMediaPath && sub == kFirmwareFileNode &&
        node == sizeof(EFI_DEVICE_PATH_PROTOCOL) + sizeof(EFI_GUID) &&
        MemCompare(Path + at + sizeof(EFI_DEVICE_PATH_PROTOCOL), &File, sizeof(EFI_GUID)) == 0)
      return true;
    at += node;
  }
  return false;
}

void EFIAPI OnReadyToBoot(EFI_EVENT, void*) {
  PowerOn_ReadyToBoot();
}

} // namespace

bool PowerOn_BootIsSetup(const EFI_GUID& SetupFile) {
  UINT16 current = 0;
  UINTN size = sizeof(current);
  if (!ReadGlobal(u"BootCurrent", &current, &size) || size != sizeof(current)) return false;
  CHAR16 name[9];
  OptionName(current, name);
  UINT8* option = static_cast<UINT8*>(Quorvex_AllocatePool(kLargestOption));
  if (!option) return false;
  size = kLargestOption;
  bool setup = false;
  // EFI_LOAD_OPTION: Attributes (4), FilePathListLength (2), the description
  // (a null-terminated UCS-2 string), then the device path list.
  if (ReadGlobal(name, option, &size) && size >= 6) {
    const UINTN paths = static_cast<UINTN>(option[4]) | (static_cast<UINTN>(option[5]) << 8);
    UINTN at = 6;
    while (at + 2 <= size && (option[at] | option[at + 1]) != 0) at += 2;
    at += 2;
    if (at <= size && paths <= size - at) setup = PathNamesFile(option + at, paths, SetupFile);
  }
  MemWipe(option, kLargestOption);
  Quorvex_FreePool(option);
  return setup;
}

void PowerOn_ReadyToBoot() {
  if (gPassed) return;
  Store_Load();
  if (PowerOn_BootIsSetup(kSetupFileGuid)) {
    // Leaving the setup resets the machine; should it return instead, the
    // next boot option signals ready-to-boot again and is asked for.
    if (Gate_Needed(GatePurposePowerOn))
      Serial_WriteLine("Quorvex power-on: the setup starts; its own gate asks");
    return;
  }
  // The gate's touch keyboard needs the platform's pointer driver, which is
  // taken down again before the boot option starts.
  const bool pointers = Gate_Needed(GatePurposePowerOn) && gImage;
  if (pointers) UsbHidPointer_Start(gImage);
  Gate_Run(GatePurposePowerOn);
  if (pointers) UsbHidPointer_Stop();
  gPassed = true;
}

void PowerOn_Reset() {
  gPassed = false;
  gImage = nullptr;
}

extern "C" EFI_STATUS EFIAPI QuorvexPowerOn_EntryPoint(EFI_HANDLE ImageHandle,
                                                       EFI_SYSTEM_TABLE* SystemTable) {
  if (!SystemTable || !SystemTable->BootServices || !SystemTable->BootServices->CreateEventEx)
    return EFI_INVALID_PARAMETER;
  Quorvex_Lib_Init(ImageHandle, SystemTable);
  Platform_BindFirmware(ImageHandle, SystemTable);
  gImage = ImageHandle;
  // The store is read when the boot starts, not now: what counts is what is
  // installed at that moment.
  EFI_EVENT event = nullptr;
  const EFI_STATUS status = SystemTable->BootServices->CreateEventEx(
      EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnReadyToBoot, nullptr, &kReadyToBootGuid, &event);
  if (EFI_ERROR(status)) {
    Serial_WriteLine("Quorvex power-on: cannot wait for the boot; no power-on password is asked");
    return status;
  }
  return EFI_SUCCESS;
}
