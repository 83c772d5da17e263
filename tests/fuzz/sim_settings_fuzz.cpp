// The simulator's --settings parser: any text either parses into lines whose
// names have the lower_snake_case shape and whose line numbers rise, or is
// refused with a message that names a line.
#include <string>
#include <vector>

#include "host/sim_settings.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  const std::string text(reinterpret_cast<const char*>(Data), Size);
  std::vector<sim::SettingLine> lines;
  std::string error;
  if (!sim::ParseSettings(text, &lines, &error)) {
    fuzz::Check(!error.empty() && error[0] >= '1' && error[0] <= '9', "an error names its line");
    return 0;
  }
  int previous = 0;
  for (const sim::SettingLine& line : lines) {
    fuzz::Check(line.Line > previous, "line numbers rise");
    previous = line.Line;
    fuzz::Check(!line.Name.empty(), "a name is not empty");
    for (char c : line.Name)
      fuzz::Check((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_', "name shape");
  }
  return 0;
}
