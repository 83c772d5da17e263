// The simulator's --settings file: lines `name = value` (decimal or 0x hex),
// blank lines and '#' comments (at the start of a line or after a blank).
#pragma once

#include <string>
#include <vector>

#include "platform/efi.h"

namespace sim {

struct SettingLine {
  int Line;
  std::string Name;
  UINT64 Value;
};

// On a malformed line returns false and sets Error to "LINE: message".
bool ParseSettings(const std::string& Text, std::vector<SettingLine>* Settings, std::string* Error);

} // namespace sim
