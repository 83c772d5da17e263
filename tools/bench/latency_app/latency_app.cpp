// The yardstick for the key-latency benchmark: the least a UEFI application
// can do in answer to a key. It clears the screen once, draws a square in
// the middle, and then, for every key read from ConIn, fills that square
// with the other of two colours and waits for the next key. Whatever the
// setup utility takes beyond this on the same firmware is its own cost.
//
// It waits the way the utility's main loop does, asking ConIn for a key
// again and again, so that both take the same path from the keyboard to
// the program; sleeping in WaitForEvent would add the firmware's timer tick
// to this side only.
//
// It never returns: the benchmark stops the machine. It is laid out on an
// ESP of its own (build/uefi/latency_esp), never next to the utility.
#include "platform/efi.h"

namespace {

// The square: large enough to be obvious in a screendump, clear of the top
// rows in case anything else draws there.
constexpr UINTN kSquareSize = 320;

// Colour 0 is what the square shows once the application is ready (the
// benchmark waits for it); each key then switches to the other colour.
constexpr EFI_GRAPHICS_OUTPUT_BLT_PIXEL kSquareColours[2] = {
    {0x20, 0xC0, 0x20, 0}, // green
    {0xC0, 0x20, 0xC0, 0}, // magenta
};
constexpr EFI_GRAPHICS_OUTPUT_BLT_PIXEL kBlack = {0, 0, 0, 0};

// The utility draws at 1024x768 on the benchmark's machine: the same mode
// keeps the screendumps of both runs the same size. Another screen keeps
// the firmware's mode.
constexpr UINT32 kWantedWidth = 1024;
constexpr UINT32 kWantedHeight = 768;

void ChooseMode(EFI_BOOT_SERVICES* bs, EFI_GRAPHICS_OUTPUT_PROTOCOL* gop) {
  for (UINT32 mode = 0; mode < gop->Mode->MaxMode; ++mode) {
    UINTN infoSize = 0;
    EFI_GRAPHICS_OUTPUT_MODE_INFORMATION* info = nullptr;
    if (EFI_ERROR(gop->QueryMode(gop, mode, &infoSize, &info)) || info == nullptr) continue;
    const bool wanted =
        info->HorizontalResolution == kWantedWidth && info->VerticalResolution == kWantedHeight;
    bs->FreePool(info);
    if (wanted) {
      if (mode != gop->Mode->Mode) gop->SetMode(gop, mode);
      return;
    }
  }
}

EFI_STATUS Fill(EFI_GRAPHICS_OUTPUT_PROTOCOL* gop, EFI_GRAPHICS_OUTPUT_BLT_PIXEL colour, UINTN x,
                UINTN y, UINTN w, UINTN h) {
  return gop->Blt(gop, &colour, EfiBltVideoFill, 0, 0, x, y, w, h, 0);
}

} // namespace

extern "C" EFI_STATUS EFIAPI LatencyAppMain(EFI_HANDLE, EFI_SYSTEM_TABLE* systemTable) {
  EFI_BOOT_SERVICES* bs = systemTable->BootServices;
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL* conIn = systemTable->ConIn;
  // The boot manager arms a five-minute watchdog for every boot option.
  bs->SetWatchdogTimer(0, 0, 0, nullptr);

  EFI_GRAPHICS_OUTPUT_PROTOCOL* gop = nullptr;
  EFI_STATUS status = bs->LocateProtocol(&kGraphicsOutputGuid, nullptr, (void**)&gop);
  if (EFI_ERROR(status) || gop == nullptr || gop->Mode == nullptr || gop->Mode->Info == nullptr ||
      conIn == nullptr) {
    return EFI_UNSUPPORTED;
  }
  ChooseMode(bs, gop);
  const UINTN width = gop->Mode->Info->HorizontalResolution;
  const UINTN height = gop->Mode->Info->VerticalResolution;
  const UINTN size = kSquareSize < width && kSquareSize < height ? kSquareSize : 1;
  const UINTN x = (width - size) / 2;
  const UINTN y = (height - size) / 2;

  // Keys pressed while the firmware was booting are not part of a measurement.
  EFI_INPUT_KEY key;
  while (!EFI_ERROR(conIn->ReadKeyStroke(conIn, &key))) {
  }
  Fill(gop, kBlack, 0, 0, width, height);
  unsigned shown = 0;
  Fill(gop, kSquareColours[shown], x, y, size, size);

  for (;;) {
    if (EFI_ERROR(conIn->ReadKeyStroke(conIn, &key))) continue;
    shown ^= 1;
    Fill(gop, kSquareColours[shown], x, y, size, size);
  }
}
