#include "host/sim_secure_boot.h"

#include <sstream>

#include "host/fake_firmware.h"
#include "reference_platform/secure_boot.h"

namespace sim {

namespace {

bool Given = false;
bool RefusalsGiven = false;
fake::SecureBootModel Model;

} // namespace

bool SecureBoot_IsOption(const std::string& Option) {
  return Option == "--secure-boot" || Option == "--secure-boot-refuse";
}

bool SecureBoot_Option(const std::string& Option, const std::string& Value, std::string* Error) {
  if (Option == "--secure-boot") {
    if (Given) return *Error = "--secure-boot given twice", true;
    if (Value == "enforced") {
      Model.State = fake::SecureBootState::Enforced;
    } else if (Value == "disabled") {
      Model.State = fake::SecureBootState::Disabled;
    } else if (Value == "setup") {
      Model.State = fake::SecureBootState::Setup;
    } else if (Value == "unsupported") {
      Model.State = fake::SecureBootState::None;
    } else {
      *Error =
          "bad --secure-boot state '" + Value + "' (one of: enforced disabled setup unsupported)";
      return true;
    }
    Given = true;
    return true;
  }
  if (Option != "--secure-boot-refuse") return false;
  if (RefusalsGiven) return *Error = "--secure-boot-refuse given twice", true;
  RefusalsGiven = true;
  std::istringstream list(Value);
  std::string name;
  while (std::getline(list, name, ',')) {
    if (name == "enable") {
      Model.RefuseEnable = true;
    } else if (name == "custom-mode") {
      Model.RefuseCustomMode = true;
    } else if (name == "key-delete") {
      Model.RefuseKeyDelete = true;
    } else {
      *Error =
          "bad --secure-boot-refuse name '" + name + "' (one of: enable custom-mode key-delete)";
      return true;
    }
  }
  return true;
}

void SecureBoot_Apply() {
  if (RefusalsGiven && !Given) Model.State = fake::SecureBootState::Enforced;
  fake::ModelSecureBoot(Model);
  // "unsupported" is a firmware without Secure Boot: the item is absent.
  SecureBootStoreFallback = !(Given && Model.State == fake::SecureBootState::None);
}

const char* SecureBoot_Usage() {
  return "  --secure-boot STATE    the fake firmware's Secure Boot: enforced, disabled, setup,\n"
         "                         unsupported (default: none; the setting is a stored value)\n"
         "  --secure-boot-refuse LIST  refused writes: enable, custom-mode, key-delete\n";
}

} // namespace sim
