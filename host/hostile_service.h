// Hostile answers for the simulator's --hostile-service switch: the setup
// data service and the clock answer what a faulty or careless firmware might
// (values past their range, indices past an option list, null, unterminated
// or very long value texts, an unknown language, odd platform limits,
// failing GetTime / SetTime), so tests see how the utility copes.
//
// The answers are laid over the reference platform's service table once it
// is installed (Hostile_Install, from the launcher's start hook); every call
// still reaches the real service first, so the trace and the store behave as
// usual and only what the utility is told changes.
#pragma once

#include <string>

namespace sim {

// Parses a comma-separated list of answer names (see Hostile_Names). False,
// with a message, for an unknown name.
bool Hostile_Parse(const std::string& List, std::string* Error);
// The answer names, for the usage text.
const char* Hostile_Names();
// True when some answer was chosen.
bool Hostile_Active();
// Lays the chosen answers over the installed service and the runtime
// services of the fake firmware.
void Hostile_Install();

} // namespace sim
