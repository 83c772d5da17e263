// Parsing the simulator's --settings file (see sim_settings.h). Whether a
// name is a setting is the store's to say; this only checks the shape.
#include "host/sim_settings.h"

#include "host/parse_number.h"

#include <sstream>

namespace sim {

namespace {

std::string Trim(const std::string& Text) {
  size_t begin = 0;
  size_t end = Text.size();
  while (begin < end && (Text[begin] == ' ' || Text[begin] == '\t')) ++begin;
  while (end > begin && (Text[end - 1] == ' ' || Text[end - 1] == '\t' || Text[end - 1] == '\r'))
    --end;
  return Text.substr(begin, end - begin);
}

bool ValidName(const std::string& Name) {
  if (Name.empty()) return false;
  for (char c : Name)
    if (!((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_')) return false;
  return true;
}

} // namespace

bool ParseSettings(const std::string& Text, std::vector<SettingLine>* Settings,
                   std::string* Error) {
  std::istringstream in(Text);
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    const size_t hash = line.find('#');
    const std::string text = Trim(hash == std::string::npos ? line : line.substr(0, hash));
    if (text.empty()) continue;
    const size_t equals = text.find('=');
    const std::string name = Trim(text.substr(0, equals));
    if (equals == std::string::npos || !ValidName(name)) {
      *Error = std::to_string(number) + ": expected 'name = value' with a lower_snake_case name";
      return false;
    }
    UINT64 value;
    const std::string valueText = Trim(text.substr(equals + 1));
    if (!ParseUnsigned(valueText, ~0ull, &value)) {
      *Error = std::to_string(number) + ": '" + valueText +
               "' is not a number (decimal, or hex with 0x)";
      return false;
    }
    Settings->push_back({number, name, value});
  }
  return true;
}

} // namespace sim
