// Parsing and running simulator scripts (see fake_script.h).
#include "host/fake_script.h"

#include "host/text_parse.h"

#include <cstdio>

#include "host/fake_firmware.h"

namespace fake {

namespace {

constexpr UINT64 kMaxCoordinate = 100000;
constexpr UINT64 kMaxCount = 10000;
constexpr UINT64 kMaxTick = 1000000000000ull;
constexpr size_t kMaxShotName = 100;

struct KeyName {
  const char* Name;
  UINT16 ScanCode;
  CHAR16 Char;
};

constexpr KeyName kKeyNames[] = {
    {"up", SCAN_UP, 0},
    {"down", SCAN_DOWN, 0},
    {"left", SCAN_LEFT, 0},
    {"right", SCAN_RIGHT, 0},
    {"enter", SCAN_NULL, CHAR_CARRIAGE_RETURN},
    {"esc", SCAN_ESC, 0},
    {"tab", SCAN_NULL, CHAR_TAB},
    {"backspace", SCAN_NULL, CHAR_BACKSPACE},
    {"pgup", SCAN_PAGE_UP, 0},
    {"pgdn", SCAN_PAGE_DOWN, 0},
    {"space", SCAN_NULL, u' '},
    {"f1", SCAN_F1, 0},
    {"f2", SCAN_F2, 0},
    {"f3", SCAN_F3, 0},
    {"f4", SCAN_F4, 0},
    {"f5", SCAN_F5, 0},
    {"f6", SCAN_F6, 0},
    {"f7", SCAN_F7, 0},
    {"f8", SCAN_F8, 0},
    {"f9", SCAN_F9, 0},
    {"f10", SCAN_F10, 0},
    {"f11", SCAN_F11, 0},
    {"f12", SCAN_F12, 0},
    // Caps Lock: no character, only the keyboard's toggle state changes.
    {"capslock", SCAN_NULL, 0},
};

// A relative count: an optional '-' and a decimal number up to kMaxCoordinate.
bool ParseDelta(const std::string& Text, INT32* Value) {
  const bool negative = !Text.empty() && Text[0] == '-';
  UINT64 magnitude;
  if (!ParseUnsigned(negative ? Text.substr(1) : Text, kMaxCoordinate, &magnitude, Radix::Decimal))
    return false;
  *Value = negative ? -static_cast<INT32>(magnitude) : static_cast<INT32>(magnitude);
  return true;
}

bool ParseFixedDigits(const std::string& Text, size_t At, size_t Count, UINT32* Value) {
  if (At + Count > Text.size()) return false;
  UINT32 value = 0;
  for (size_t i = At; i < At + Count; ++i) {
    if (Text[i] < '0' || Text[i] > '9') return false;
    value = value * 10 + static_cast<UINT32>(Text[i] - '0');
  }
  *Value = value;
  return true;
}

bool ParseTime(const std::string& Date, const std::string& Clock, EFI_TIME* Time) {
  UINT32 year, month, day, hour, minute, second;
  if (Date.size() != 10 || Date[4] != '-' || Date[7] != '-') return false;
  if (Clock.size() != 8 || Clock[2] != ':' || Clock[5] != ':') return false;
  if (!ParseFixedDigits(Date, 0, 4, &year) || !ParseFixedDigits(Date, 5, 2, &month) ||
      !ParseFixedDigits(Date, 8, 2, &day) || !ParseFixedDigits(Clock, 0, 2, &hour) ||
      !ParseFixedDigits(Clock, 3, 2, &minute) || !ParseFixedDigits(Clock, 6, 2, &second))
    return false;
  EFI_TIME t{};
  t.Year = static_cast<UINT16>(year);
  t.Month = static_cast<UINT8>(month);
  t.Day = static_cast<UINT8>(day);
  t.Hour = static_cast<UINT8>(hour);
  t.Minute = static_cast<UINT8>(minute);
  t.Second = static_cast<UINT8>(second);
  t.TimeZone = 0x07FF;
  if (!IsValidTime(t)) return false;
  *Time = t;
  return true;
}

bool ParseRgb(const std::string& Text, UINT32* Rgb) {
  UINT64 value = 0;
  if (Text.size() != 6 || !ParseUnsigned("0x" + Text, 0xFFFFFF, &value)) return false;
  *Rgb = static_cast<UINT32>(value);
  return true;
}

bool ValidShotName(const std::string& Name) {
  if (Name.empty() || Name.size() > kMaxShotName || Name[0] == '.') return false;
  for (char c : Name) {
    const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                    c == '_' || c == '-' || c == '.';
    if (!ok) return false;
  }
  return true;
}

// UTF-8 to UTF-16 code units, one per character; characters outside the
// Basic Multilingual Plane and malformed sequences are refused.
bool DecodeText(const std::string& Text, std::u16string* Out, std::string* Error) {
  for (size_t i = 0; i < Text.size();) {
    const unsigned char lead = static_cast<unsigned char>(Text[i]);
    UINT32 c;
    size_t length;
    if (lead < 0x80) {
      c = lead;
      length = 1;
    } else if ((lead & 0xE0) == 0xC0) {
      c = lead & 0x1F;
      length = 2;
    } else if ((lead & 0xF0) == 0xE0) {
      c = lead & 0x0F;
      length = 3;
    } else if ((lead & 0xF8) == 0xF0) {
      *Error = "characters outside the Basic Multilingual Plane cannot be typed";
      return false;
    } else {
      *Error = "the text is not valid UTF-8";
      return false;
    }
    if (i + length > Text.size()) {
      *Error = "the text is not valid UTF-8";
      return false;
    }
    for (size_t k = 1; k < length; ++k) {
      const unsigned char next = static_cast<unsigned char>(Text[i + k]);
      if ((next & 0xC0) != 0x80) {
        *Error = "the text is not valid UTF-8";
        return false;
      }
      c = c << 6 | (next & 0x3F);
    }
    const bool overlong = (length == 2 && c < 0x80) || (length == 3 && c < 0x800);
    if (overlong || (c >= 0xD800 && c <= 0xDFFF)) {
      *Error = "the text is not valid UTF-8";
      return false;
    }
    Out->push_back(static_cast<char16_t>(c));
    i += length;
  }
  return true;
}

// Parses one non-empty line into zero or more commands.
bool ParseLine(const std::string& Text, int Line, std::vector<ScriptCommand>* Commands,
               std::string* Error) {
  const std::vector<std::string> words = SplitWords(Text);
  const std::string& verb = words[0];
  const size_t args = words.size() - 1;
  ScriptCommand command{};
  command.Line = Line;
  command.Source = Text;
  auto fail = [&](const std::string& Message) {
    *Error = Message;
    return false;
  };
  auto point = [&]() {
    UINT64 x, y;
    if (args != 2 || !ParseUnsigned(words[1], kMaxCoordinate, &x, Radix::Decimal) ||
        !ParseUnsigned(words[2], kMaxCoordinate, &y, Radix::Decimal))
      return false;
    command.X = static_cast<UINT32>(x);
    command.Y = static_cast<UINT32>(y);
    return true;
  };

  if (verb == "key") {
    if (args < 1 || args > 2) return fail("usage: key NAME [COUNT]");
    const KeyName* key = nullptr;
    for (const KeyName& k : kKeyNames)
      if (words[1] == k.Name) key = &k;
    if (key == nullptr) return fail("unknown key name '" + words[1] + "'");
    UINT64 count = 1;
    if (args == 2 && (!ParseUnsigned(words[2], kMaxCount, &count, Radix::Decimal) || count == 0))
      return fail("the key count must be a number from 1 to 10000");
    // Caps Lock has no key code of its own: only the toggle state changes.
    command.Kind = words[1] == "capslock" ? Verb::CapsLock : Verb::Key;
    command.ScanCode = key->ScanCode;
    command.Char = key->Char;
    for (UINT64 i = 0; i < count; ++i) Commands->push_back(command);
    return true;
  }
  if (verb == "type") {
    const std::string text = StripTextLine(Text.substr(4));
    if (text.empty()) return fail("usage: type TEXT");
    std::u16string units;
    if (!DecodeText(text, &units, Error)) return false;
    command.Kind = Verb::Key;
    for (char16_t unit : units) {
      command.ScanCode = SCAN_NULL;
      command.Char = unit;
      Commands->push_back(command);
    }
    return true;
  }
  if (verb == "click" || verb == "touch" || verb == "move") {
    if (!point()) return fail("usage: " + verb + " X Y (X and Y from 0 to 100000)");
    command.Kind = verb == "click" ? Verb::Click : verb == "touch" ? Verb::Touch : Verb::Move;
    Commands->push_back(command);
    return true;
  }
  if (verb == "time") {
    if (args != 2 || !ParseTime(words[1], words[2], &command.Time))
      return fail("usage: time YYYY-MM-DD HH:MM:SS (a valid date from 1900 to 9999)");
    command.Kind = Verb::Time;
    Commands->push_back(command);
    return true;
  }
  if (verb == "tick") {
    if (args != 1 || !ParseUnsigned(words[1], kMaxTick, &command.Seconds, Radix::Decimal))
      return fail("usage: tick SECONDS");
    command.Kind = Verb::Tick;
    Commands->push_back(command);
    return true;
  }
  if (verb == "restart" || verb == "quit") {
    if (args != 0) return fail(verb + " takes no arguments");
    command.Kind = verb == "restart" ? Verb::Restart : Verb::Quit;
    Commands->push_back(command);
    return true;
  }
  if (verb == "shot") {
    if (args != 1 || !ValidShotName(words[1]))
      return fail("usage: shot NAME (letters, digits, '_', '-', '.')");
    command.Kind = Verb::Shot;
    command.Name = words[1];
    Commands->push_back(command);
    return true;
  }
  if (verb == "expect-pixel") {
    UINT64 x, y;
    if (args != 3 || !ParseUnsigned(words[1], kMaxCoordinate, &x, Radix::Decimal) ||
        !ParseUnsigned(words[2], kMaxCoordinate, &y, Radix::Decimal) ||
        !ParseRgb(words[3], &command.Rgb))
      return fail("usage: expect-pixel X Y RRGGBB");
    command.Kind = Verb::ExpectPixel;
    command.X = static_cast<UINT32>(x);
    command.Y = static_cast<UINT32>(y);
    Commands->push_back(command);
    return true;
  }
  if (verb == "scan") {
    UINT64 code, unit = 0;
    if (args < 1 || args > 2 || !ParseUnsigned(words[1], 0xFFFF, &code) ||
        (args == 2 && !ParseUnsigned(words[2], 0xFFFF, &unit)))
      return fail("usage: scan CODE [CHAR] (each 0 to 0xFFFF)");
    command.Kind = Verb::Key;
    command.ScanCode = static_cast<UINT16>(code);
    command.Char = static_cast<CHAR16>(unit);
    Commands->push_back(command);
    return true;
  }
  if (verb == "mouse") {
    UINT64 buttons;
    if (args != 3 || !ParseDelta(words[1], &command.DeltaX) ||
        !ParseDelta(words[2], &command.DeltaY) || !ParseUnsigned(words[3], 3, &buttons))
      return fail("usage: mouse DX DY BUTTONS (DX, DY from -100000 to 100000; BUTTONS 0 to 3)");
    command.Kind = Verb::MouseState;
    command.Buttons = static_cast<UINT32>(buttons);
    Commands->push_back(command);
    return true;
  }
  if (verb == "touch-raw") {
    UINT64 buttons;
    if (args != 3 || !ParseUnsigned(words[1], 0xFFFFFFFFull, &command.RawX) ||
        !ParseUnsigned(words[2], 0xFFFFFFFFull, &command.RawY) ||
        !ParseUnsigned(words[3], 0xFF, &buttons))
      return fail("usage: touch-raw X Y BUTTONS (X, Y 0 to 0xFFFFFFFF; BUTTONS 0 to 0xFF)");
    command.Kind = Verb::TouchState;
    command.Buttons = static_cast<UINT32>(buttons);
    Commands->push_back(command);
    return true;
  }
  return fail("unknown command '" + verb + "'");
}

std::string Where(const ScriptRun& Run, const ScriptCommand& Command) {
  return (Run.Name.empty() ? std::string("script") : Run.Name) + ":" +
         std::to_string(Command.Line) + ": ";
}

std::string Hex6(UINT32 Rgb) {
  char text[8];
  std::snprintf(text, sizeof text, "%06X", Rgb & 0xFFFFFF);
  return text;
}

} // namespace

bool ParseScript(const std::string& Text, std::vector<ScriptCommand>* Commands,
                 std::string* Error) {
  return ForEachTextLine(Text, [&](int Number, const std::string& Line) {
    std::string message;
    if (ParseLine(Line, Number, Commands, &message)) return true;
    *Error = std::to_string(Number) + ": " + message;
    return false;
  });
}

void ScriptStep(ScriptRun& Run) {
  while (Run.Next < Run.Commands.size()) {
    const ScriptCommand& command = Run.Commands[Run.Next++];
    switch (command.Kind) {
    case Verb::Shot: {
      std::string error;
      if (!Run.Shot || !Run.Shot(command.Name, &error)) {
        Run.Finish(2, Where(Run, command) + "shot " + command.Name + ": " + error);
        return;
      }
      continue;
    }
    case Verb::ExpectPixel: {
      const std::string expect = "expect-pixel " + std::to_string(command.X) + " " +
                                 std::to_string(command.Y) + " " + Hex6(command.Rgb);
      if (command.X >= ScreenWidth() || command.Y >= ScreenHeight()) {
        Run.Finish(3, Where(Run, command) + expect + " failed: outside the " +
                          std::to_string(ScreenWidth()) + "x" + std::to_string(ScreenHeight()) +
                          " screen");
        return;
      }
      const UINT32 found = PixelAt(command.X, command.Y);
      if (found != command.Rgb) {
        Run.Finish(3, Where(Run, command) + expect + " failed: found " + Hex6(found));
        return;
      }
      continue;
    }
    case Verb::Key:
      PushKey(command.ScanCode, command.Char);
      return;
    case Verb::CapsLock:
      PressCapsLock();
      return;
    case Verb::Click:
      MouseMoveTo(command.X, command.Y, true);
      return;
    case Verb::Move:
      MouseMoveTo(command.X, command.Y, false);
      return;
    case Verb::Touch:
      TouchAt(command.X, command.Y);
      return;
    case Verb::MouseState:
      PushMouseState(command.DeltaX, command.DeltaY, (command.Buttons & 1) != 0,
                     (command.Buttons & 2) != 0);
      return;
    case Verb::TouchState:
      PushTouchState(command.RawX, command.RawY, command.Buttons);
      return;
    case Verb::Time:
      SetClock(command.Time);
      return;
    case Verb::Tick:
      AdvanceClock(command.Seconds);
      return;
    case Verb::Restart:
      TriggerRestart();
      return;
    case Verb::Quit:
      Run.Finish(0, "");
      return;
    }
  }
  Run.Finish(0, "");
}

} // namespace fake
