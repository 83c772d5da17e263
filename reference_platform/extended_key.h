// The extended key-code protocol over the console's Simple Text Input Ex (or
// its plain text input when the console has no Ex protocol): each key comes
// with its key state and a PS/2 set-1 scan code worked out from the key.
#pragma once

#include "platform/vendor_protocols.h"

// Keeps the console's key readers as they are now (before the utility lays
// its own readers over the console) and installs the protocol.
EFI_STATUS ExtendedKey_Install();
ExtendedKeyCodeProtocol* ExtendedKey_Instance();

// The set-1 make code of the key on a US keyboard, or 0 when it has none.
UINT8 ExtendedKey_Ps2ScanCode(const EFI_INPUT_KEY& Key);
