#include "host/parse_number.h"

bool ParseUnsigned(const std::string& Text, UINT64 Max, UINT64* Value) {
  const bool hex = Text.size() > 2 && Text[0] == '0' && (Text[1] == 'x' || Text[1] == 'X');
  const size_t first = hex ? 2 : 0;
  if (Text.size() <= first) return false;
  const UINT64 base = hex ? 16 : 10;
  UINT64 value = 0;
  for (size_t i = first; i < Text.size(); ++i) {
    const char c = Text[i];
    UINT64 digit;
    if (c >= '0' && c <= '9')
      digit = static_cast<UINT64>(c - '0');
    else if (hex && c >= 'a' && c <= 'f')
      digit = static_cast<UINT64>(c - 'a' + 10);
    else if (hex && c >= 'A' && c <= 'F')
      digit = static_cast<UINT64>(c - 'A' + 10);
    else
      return false;
    if (value > (~0ull - digit) / base) return false;
    value = value * base + digit;
  }
  if (value > Max) return false;
  *Value = value;
  return true;
}
