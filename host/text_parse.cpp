#include "host/text_parse.h"

#include <sstream>

namespace {

bool IsBlank(char C) {
  return C == ' ' || C == '\t' || C == '\r';
}

} // namespace

std::string StripTextLine(const std::string& Line) {
  size_t end = Line.size();
  for (size_t i = 0; i < Line.size(); ++i) {
    if (Line[i] == '#' && (i == 0 || IsBlank(Line[i - 1]))) {
      end = i;
      break;
    }
  }
  size_t begin = 0;
  while (begin < end && IsBlank(Line[begin])) ++begin;
  while (end > begin && IsBlank(Line[end - 1])) --end;
  return Line.substr(begin, end - begin);
}

bool ParseUnsigned(const std::string& Text, UINT64 Max, UINT64* Value, Radix Accepted) {
  const bool hex = Accepted == Radix::DecimalOrHex && Text.size() > 2 && Text[0] == '0' &&
                   (Text[1] == 'x' || Text[1] == 'X');
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

bool ForEachTextLine(const std::string& Text,
                     const std::function<bool(int Number, const std::string& Line)>& Line) {
  std::istringstream in(Text);
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    const std::string text = StripTextLine(line);
    if (!text.empty() && !Line(number, text)) return false;
  }
  return true;
}

std::vector<std::string> SplitWords(const std::string& Text) {
  std::vector<std::string> words;
  std::string word;
  for (char c : Text) {
    if (IsBlank(c)) {
      if (!word.empty()) words.push_back(word);
      word.clear();
    } else {
      word += c;
    }
  }
  if (!word.empty()) words.push_back(word);
  return words;
}
