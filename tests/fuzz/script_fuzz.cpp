// The simulator's script parser: any text either parses or is refused with a
// message naming its line; the commands it gives stay in their documented
// ranges (coordinates, shot names, valid clock times).
#include <string>
#include <vector>

#include "host/fake_script.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  const std::string text(reinterpret_cast<const char*>(Data), Size);
  std::vector<fake::ScriptCommand> commands;
  std::string error;
  if (!fake::ParseScript(text, &commands, &error)) {
    fuzz::Check(!error.empty() && error[0] >= '1' && error[0] <= '9', "an error names its line");
    return 0;
  }
  int previous = 0;
  for (const fake::ScriptCommand& c : commands) {
    fuzz::Check(c.Line >= previous, "commands in line order");
    previous = c.Line;
    switch (c.Kind) {
    case fake::Verb::Click:
    case fake::Verb::Touch:
    case fake::Verb::Move:
    case fake::Verb::ExpectPixel:
      fuzz::Check(c.X <= 100000 && c.Y <= 100000, "coordinates in range");
      break;
    case fake::Verb::Time:
      fuzz::Check(fake::IsValidTime(c.Time), "a clock time is valid");
      break;
    case fake::Verb::Shot:
      fuzz::Check(!c.Name.empty() && c.Name[0] != '.' && c.Name.find('/') == std::string::npos,
                  "a shot name stays in the output directory");
      break;
    default:
      break;
    }
  }
  return 0;
}
