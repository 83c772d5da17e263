// Installing a password by its kind's name, for the simulator's command line.
#include "platform/lib.h"
#include "reference_platform/passwords.h"
#include "reference_platform/reference_platform.h"

bool Password_SetByName(const char* Kind, const char* Text) {
  static constexpr const CHAR8* kNames[kPasswordKindCount] = {"supervisor", "user", "hdd_master",
                                                              "hdd_user"};
  if (!Kind || !Text) return false;
  UINT32 kind = kPasswordKindCount;
  for (UINT32 i = 0; i < kPasswordKindCount; ++i) {
    const UINTN length = AsciiStrLen(kNames[i]);
    if (AsciiStrLen(Kind) == length && MemCompare(Kind, kNames[i], length) == 0) kind = i;
  }
  if (kind == kPasswordKindCount) return false;
  CHAR16 wide[kPasswordMaxUnits + 1];
  UINTN n = 0;
  for (; Text[n]; ++n) {
    const UINT8 c = static_cast<UINT8>(Text[n]);
    if (n >= kPasswordMaxUnits || c < 0x20 || c > 0x7E) {
      MemWipe(wide, sizeof(wide));
      return false;
    }
    wide[n] = c;
  }
  wide[n] = 0;
  const bool set = Password_Set(static_cast<PasswordKind>(kind), wide);
  MemWipe(wide, sizeof(wide));
  return set;
}
