#include "reference_platform/machine_settings.h"

#include "platform/lib.h"
#include "platform/efi_storage.h"
#include "reference_platform/boot_options.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/serial.h"
#include "reference_platform/store.h"

namespace {

constexpr UINT32 kBootVariableAttributes =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;
// A BootOrder longer than this is left as the firmware keeps it.
constexpr UINTN kMaxOptions = 256;
constexpr UINTN kMaxLangCodes = 256;

// The machine's boot options as read at set-up, repaired: BootOrder entries
// naming no option, and repeated entries, are gone.
struct MachineBootOrder {
  bool Present;     // the machine has a BootOrder this module follows
  bool NeedsRepair; // odd length, repeated or dangling entries: rewrite on save
  UINTN Count;
  UINT16 Numbers[kMaxOptions];
  UINT8 Classes[kMaxOptions];
};
constinit MachineBootOrder gBoot = {};

void Report(const CHAR8* What, EFI_STATUS Status) {
  AsciiLine line;
  AsciiLine_Start(&line, What);
  AsciiLine_Append(&line, " (status ");
  AsciiLine_AppendHex(&line, Status);
  AsciiLine_Append(&line, ")");
  Serial_WriteLine(line.Text);
}

// A variable into a new pool block; null when it is missing or unreadable.
UINT8* ReadVariable(const CHAR16* Name, UINTN* Size) {
  *Size = 0;
  if (!PlatformRuntimeServices || !PlatformRuntimeServices->GetVariable) return nullptr;
  UINTN size = 0;
  UINT8 probe = 0;
  EFI_STATUS status =
      PlatformRuntimeServices->GetVariable(Name, &kGlobalVariableGuid, nullptr, &size, &probe);
  if (status != EFI_BUFFER_TOO_SMALL || size == 0 || size > 0x10000) return nullptr;
  UINT8* data = static_cast<UINT8*>(Quorvex_AllocatePool(size));
  if (!data) return nullptr;
  UINTN got = size;
  status = PlatformRuntimeServices->GetVariable(Name, &kGlobalVariableGuid, nullptr, &got, data);
  if (EFI_ERROR(status) || got > size) {
    Quorvex_FreePool(data);
    return nullptr;
  }
  *Size = got;
  return data;
}

// Whether the path leads to a block device reading 2048-byte sectors from
// removable media: an optical drive, whatever bus it sits on.
bool LeadsToOpticalDrive(const UINT8* Path, UINTN Size) {
  if (!PlatformBootServices || !PlatformBootServices->LocateDevicePath ||
      !PlatformBootServices->HandleProtocol)
    return false;
  // The firmware walks the path to its end node: only a path that has one
  // inside its bounds is handed over.
  UINTN at = 0;
  for (;;) {
    if (at + 4 > Size) return false;
    const UINTN length = Path[at + 2] | (Path[at + 3] << 8);
    if (length < 4 || length > Size - at) return false;
    if (Path[at] == 0x7F && Path[at + 1] == 0xFF) break;
    at += length;
  }
  EFI_DEVICE_PATH_PROTOCOL* remaining =
      reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(const_cast<UINT8*>(Path));
  EFI_HANDLE device = nullptr;
  if (EFI_ERROR(PlatformBootServices->LocateDevicePath(&kBlockIoGuid, &remaining, &device)) ||
      !device)
    return false;
  void* interface = nullptr;
  if (EFI_ERROR(PlatformBootServices->HandleProtocol(device, &kBlockIoGuid, &interface)) ||
      !interface)
    return false;
  const BlockIoMedia* media = static_cast<BlockIoProtocol*>(interface)->Media;
  return media && media->RemovableMedia && media->BlockSize == 2048;
}

void OptionName(UINT16 Number, CHAR16 Name[9]) {
  Format(Name, 9, u"Boot%04x", Number);
  for (UINTN i = 4; i < 8; ++i)
    if (Name[i] >= u'a' && Name[i] <= u'f') Name[i] = static_cast<CHAR16>(Name[i] - u'a' + u'A');
}

void LoadBootOrder() {
  gBoot = {};
  UINTN size = 0;
  UINT8* order = ReadVariable(u"BootOrder", &size);
  if (!order) return;
  const UINTN entries = size / 2;
  if (entries > kMaxOptions) {
    Quorvex_FreePool(order);
    return;
  }
  gBoot.NeedsRepair = (size % 2) != 0;
  bool lan = false, odd = false;
  for (UINTN i = 0; i < entries; ++i) {
    UINT16 number;
    MemCopy(&number, order + 2 * i, 2);
    bool repeated = false;
    for (UINTN k = 0; k < gBoot.Count; ++k) repeated = repeated || gBoot.Numbers[k] == number;
    CHAR16 name[9];
    OptionName(number, name);
    UINTN optionSize = 0;
    UINT8* option = repeated ? nullptr : ReadVariable(name, &optionSize);
    if (!option) {
      gBoot.NeedsRepair = true; // a repeated entry or one naming no option goes
      continue;
    }
    LoadOption parsed;
    const bool optical = BootOptions_Parse(option, optionSize, &parsed) &&
                         LeadsToOpticalDrive(parsed.Path, parsed.PathSize);
    const UINT8 c = BootOptions_ClassifyOption(option, optionSize, optical);
    Quorvex_FreePool(option);
    lan = lan || c == BootClassLan;
    odd = odd || c == BootClassOdd;
    gBoot.Numbers[gBoot.Count] = number;
    gBoot.Classes[gBoot.Count] = c;
    ++gBoot.Count;
  }
  Quorvex_FreePool(order);
  gBoot.Present = true;
  Store_Set(kSetting_boot_order,
            BootOptions_PackedOrder(gBoot.Classes, gBoot.Count, Store_Get(kSetting_boot_order)));
  Store_Set(kSetting_boot_class_lan_present, lan ? 1 : 0);
  Store_Set(kSetting_boot_class_odd_present, odd ? 1 : 0);
}

void SaveBootOrder() {
  if (!gBoot.Present || !PlatformRuntimeServices || !PlatformRuntimeServices->SetVariable) return;
  UINT16 order[kMaxOptions];
  BootOptions_Reorder(gBoot.Numbers, gBoot.Classes, gBoot.Count, Store_Get(kSetting_boot_order),
                      order);
  if (!gBoot.NeedsRepair && MemCompare(order, gBoot.Numbers, gBoot.Count * sizeof(UINT16)) == 0)
    return;
  const EFI_STATUS status = PlatformRuntimeServices->SetVariable(
      u"BootOrder", &kGlobalVariableGuid, kBootVariableAttributes, gBoot.Count * sizeof(UINT16),
      order);
  if (EFI_ERROR(status)) {
    Report("Quorvex settings: writing BootOrder failed", status);
    return;
  }
  // The options keep their classes in the new order.
  UINT8 classes[kMaxOptions];
  for (UINTN i = 0; i < gBoot.Count; ++i)
    for (UINTN k = 0; k < gBoot.Count; ++k)
      if (gBoot.Numbers[k] == order[i]) classes[i] = gBoot.Classes[k];
  MemCopy(gBoot.Numbers, order, gBoot.Count * sizeof(UINT16));
  MemCopy(gBoot.Classes, classes, gBoot.Count);
  gBoot.NeedsRepair = false;
}

constexpr const CHAR8* kCodes[3] = {"en-US", "ja-JP", "fr-FR"};

void LoadLanguage() {
  if (Store_LastLoadResult() == StoreLoaded) return; // the user's choice stands
  UINTN size = 0;
  UINT8* lang = ReadVariable(u"PlatformLang", &size);
  if (!lang) return;
  const INT32 language = MachineSettings_LanguageOf(reinterpret_cast<const CHAR8*>(lang), size);
  Quorvex_FreePool(lang);
  if (language >= 0) Store_Set(kSetting_language, static_cast<UINT64>(language));
}

void SaveLanguage() {
  if (!PlatformRuntimeServices || !PlatformRuntimeServices->SetVariable) return;
  const CHAR8* code = MachineSettings_LanguageCode(Store_Get(kSetting_language));
  UINTN size = 0;
  UINT8* codes = ReadVariable(u"PlatformLangCodes", &size);
  if (!codes) return;
  const bool offered =
      size <= kMaxLangCodes &&
      MachineSettings_CodesOffer(reinterpret_cast<const CHAR8*>(codes), size, code);
  Quorvex_FreePool(codes);
  if (!offered) return;
  UINTN length = 0;
  while (code[length]) ++length;
  UINTN currentSize = 0;
  UINT8* current = ReadVariable(u"PlatformLang", &currentSize);
  const bool same = current && currentSize == length + 1 && MemCompare(current, code, length) == 0;
  if (current) Quorvex_FreePool(current);
  if (same) return;
  const EFI_STATUS status = PlatformRuntimeServices->SetVariable(
      u"PlatformLang", &kGlobalVariableGuid, kBootVariableAttributes, length + 1, code);
  if (EFI_ERROR(status)) Report("Quorvex settings: writing PlatformLang failed", status);
}

} // namespace

void MachineSettings_Load() {
  LoadBootOrder();
  LoadLanguage();
}

void MachineSettings_Save() {
  SaveBootOrder();
  SaveLanguage();
}

UINT64 MachineSettings_BootOrderAnswer(UINT64 Stored) {
  if (!gBoot.Present) return Stored;
  return BootOptions_AbsentLast(Stored, Store_Get(kSetting_boot_class_lan_present) != 0,
                                Store_Get(kSetting_boot_class_odd_present) != 0);
}

bool MachineSettings_HasBootOrder() {
  return gBoot.Present;
}

const CHAR8* MachineSettings_LanguageCode(UINT64 Language) {
  return Language < 3 ? kCodes[Language] : kCodes[0];
}

INT32 MachineSettings_LanguageOf(const CHAR8* Code, UINTN Size) {
  // "en", "en-US", "fr-CA": the primary tag decides.
  if (!Code || Size < 2) return -1;
  if (Size > 2 && Code[2] != 0 && Code[2] != '-') return -1;
  for (INT32 i = 0; i < 3; ++i)
    if (Code[0] == kCodes[i][0] && Code[1] == kCodes[i][1]) return i;
  return -1;
}

bool MachineSettings_CodesOffer(const CHAR8* Codes, UINTN Size, const CHAR8* Code) {
  if (!Codes || !Code) return false;
  UINTN start = 0;
  for (UINTN i = 0; i <= Size; ++i) {
    if (i < Size && Codes[i] != ';' && Codes[i] != 0) continue;
    UINTN k = 0;
    while (start + k < i && Code[k] && Codes[start + k] == Code[k]) ++k;
    if (start + k == i && Code[k] == 0) return true;
    if (i < Size && Codes[i] == 0) return false;
    start = i + 1;
  }
  return false;
}
