// The unit tests' fake firmware runs the utility's entry point.
#include "core/startup.h"
#include "host/fake_firmware.h"

namespace {
const bool kEntryGiven = [] {
  fake::SetDefaultImageEntry(_ModuleEntryPoint);
  return true;
}();
} // namespace
