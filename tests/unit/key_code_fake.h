// An extended key-code instance (the platform's PS/2-code keyboard source)
// handing out a queue of key records, for the keyboard and on-screen keyboard
// tests.
#pragma once

#include <deque>

#include "platform/vendor_protocols.h"

struct FakeKeyCodes {
  ExtendedKeyCodeProtocol Protocol; // first: the instance is found from it
  std::deque<ExtendedKeyData> Keys;
  int Reads = 0;

  static EFI_STATUS EFIAPI Read(ExtendedKeyCodeProtocol* This, ExtendedKeyData* Data) {
    auto* self = reinterpret_cast<FakeKeyCodes*>(This);
    ++self->Reads;
    if (self->Keys.empty()) return EFI_NOT_READY;
    *Data = self->Keys.front();
    self->Keys.pop_front();
    return EFI_SUCCESS;
  }
  FakeKeyCodes() : Protocol{nullptr, Read} {}
};

inline ExtendedKeyData KeyData(UINT16 Scan, CHAR16 Char, UINT8 Ps2) {
  ExtendedKeyData data = {};
  data.Key = {Scan, Char};
  data.Ps2ScanCode = Ps2;
  return data;
}
