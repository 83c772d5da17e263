// Reading keys from the console (through whatever wrappers sit on it).
#include "input/keys.h"

#include "graphics/double_buffer.h"
#include "input/idle_wait.h"
#include "platform/bindings.h"
#include "setup_data/setup_data_wrappers.h"

UINT16 HotKeyScanCode;

void FlushKeys() {
  Quorvex_DoubleBuffer_Present();
  EFI_INPUT_KEY key;
  while (!EFI_ERROR(SystemTable->ConIn->ReadKeyStroke(SystemTable->ConIn, &key))) {
  }
}

void Quorvex_LoadHotKey() {
  SetupData_Get_hot_key_scan_code(&HotKeyScanCode);
}

EFI_STATUS Quorvex_ReadKey(EFI_INPUT_KEY* Key) {
  Key->ScanCode = 0;
  Key->UnicodeChar = 0;
  // What the last input drew reaches the screen before the next is read.
  Quorvex_DoubleBuffer_Present();
  EFI_STATUS status = SystemTable->ConIn->ReadKeyStroke(SystemTable->ConIn, Key);
  if (EFI_ERROR(status)) {
    // Nothing to do this round: the loop's next round starts after a wait.
    Quorvex_IdleWait();
    return status;
  }
  // A hot key of 0 (a service answer outside the schema) would match every
  // character key: it is ignored.
  if (HotKeyScanCode != 0 && Key->ScanCode == HotKeyScanCode) {
    SetupData_report_hot_key(Key->ScanCode);
  }
  return EFI_SUCCESS;
}

void Quorvex_Keys_Reset() {
  HotKeyScanCode = 0;
}
