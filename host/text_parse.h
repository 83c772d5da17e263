// Numbers and lines of the simulator's text inputs (settings files, scripts).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/efi.h"

enum class Radix {
  Decimal,      // digits only
  DecimalOrHex, // digits, or hex digits after "0x"
};

// Text as a number of the accepted radix; refuses anything else, an overflow
// and a value above Max.
bool ParseUnsigned(const std::string& Text, UINT64 Max, UINT64* Value,
                   Radix Accepted = Radix::DecimalOrHex);

// Line without its comment and surrounding blanks; '#' at the start of a
// line or after a blank starts a comment.
std::string StripTextLine(const std::string& Line);

// Calls Line(number, text) for every line of Text (numbered from 1) that
// holds anything once stripped (StripTextLine). Stops at the first line
// Line refuses and returns false then.
bool ForEachTextLine(const std::string& Text,
                     const std::function<bool(int Number, const std::string& Line)>& Line);

// Splits Text at blanks (space, tab, carriage return) into words.
std::vector<std::string> SplitWords(const std::string& Text);
