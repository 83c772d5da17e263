// quorvex-sim's Secure Boot switches:
//   --secure-boot STATE         the fake firmware keeps Secure Boot variables:
//                               enforced (platform key, SecureBoot = 1),
//                               disabled (platform key, SecureBootEnable = 0),
//                               setup (no platform key: Setup Mode), or
//                               unsupported (none at all: the item is absent)
//   --secure-boot-refuse LIST   writes the fake firmware refuses, comma-separated:
//                               enable (SecureBootEnable), custom-mode
//                               (CustomMode), key-delete (deleting PK)
// Without --secure-boot the fake firmware has no Secure Boot variables and the
// setting stays in the private settings store, as in every older scenario.
#pragma once

#include <string>

namespace sim {

// Takes Option's Value when Option is one of the switches above: true when
// it was (Error set when the value is bad), false for any other option.
bool SecureBoot_Option(const std::string& Option, const std::string& Value, std::string* Error);
bool SecureBoot_IsOption(const std::string& Option);
// After fake::Reset: sets up the model and the platform's fallback.
void SecureBoot_Apply();
const char* SecureBoot_Usage();

} // namespace sim
