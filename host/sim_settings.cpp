// Parsing the simulator's --settings file (see sim_settings.h). Whether a
// name is a setting is the store's to say; this only checks the shape.
#include "host/sim_settings.h"

#include "host/text_parse.h"

namespace sim {

namespace {

bool ValidName(const std::string& Name) {
  if (Name.empty()) return false;
  for (char c : Name)
    if (!((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_')) return false;
  return true;
}

} // namespace

bool ParseSettings(const std::string& Text, std::vector<SettingLine>* Settings,
                   std::string* Error) {
  return ForEachTextLine(Text, [&](int Number, const std::string& Line) {
    const size_t equals = Line.find('=');
    const std::string name = StripTextLine(Line.substr(0, equals));
    if (equals == std::string::npos || !ValidName(name)) {
      *Error = std::to_string(Number) + ": expected 'name = value' with a lower_snake_case name";
      return false;
    }
    UINT64 value;
    const std::string valueText = StripTextLine(Line.substr(equals + 1));
    if (!ParseUnsigned(valueText, ~0ull, &value)) {
      *Error = std::to_string(Number) + ": '" + valueText +
               "' is not a number (decimal, or hex with 0x)";
      return false;
    }
    Settings->push_back({Number, name, value});
    return true;
  });
}

} // namespace sim
