#include <map>
#include <string>

#include "reference_platform/store.h"

namespace session {

bool SetSetting(const std::string& Name, UINT64 Value) {
  return Store_SetByName(Name.c_str(), Value);
}

} // namespace session
