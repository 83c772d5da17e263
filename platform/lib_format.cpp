// Bounded formatting for UTF-16 and ASCII buffers.
//
// Conversions: %d %i (signed), %u, %x %X (hex), %s (UTF-16 or ASCII string),
// %c (one character) and %%. Flags '-' (left-justify) and '0' (zero pad), a
// decimal width (at most 255) and the length modifiers l, ll and h are
// accepted; the length modifiers only matter for negative values printed by
// %u and %x, which are cut to 32 bits without 'l' as the C library does.
//
// Defined results for bad input: an unknown conversion is copied as it
// stands; a conversion with no argument left prints 0 (numbers) or nothing
// (strings, characters); %s of a number and %c of a string print nothing; a
// null string prints "(null)". Output stops at Capacity - 1 units and the
// buffer is always terminated (nothing is written when Capacity is 0).
#include "platform/lib.h"

namespace {

constexpr UINTN kMaxWidth = 255;

template <typename Char> struct Sink {
  Char* buffer;
  UINTN capacity;
  UINTN length;

  // A UTF-16 unit; in an ASCII buffer anything beyond 7 bits becomes '?'.
  void Put(UINT32 unit) {
    if (length + 1 >= capacity) return;
    if constexpr (sizeof(Char) == 1) {
      buffer[length++] = static_cast<Char>(unit < 0x80 ? unit : '?');
    } else {
      buffer[length++] = static_cast<Char>(unit);
    }
  }
  // A byte of an ASCII source: copied unchanged (or widened).
  void PutByte(CHAR8 byte) {
    if (length + 1 >= capacity) return;
    buffer[length++] = static_cast<Char>(static_cast<UINT8>(byte));
  }
  void PutUnit(CHAR8 c) { PutByte(c); }
  void PutUnit(CHAR16 c) { Put(c); }
  void Repeat(UINT32 unit, UINTN count) {
    for (UINTN i = 0; i < count && length + 1 < capacity; ++i) Put(unit);
  }
};

struct Directive {
  bool left = false;
  bool zero = false;
  bool long_modifier = false;
  UINTN width = 0;
};

// Digits of Value in Base, least significant first; returns the count.
UINTN Digits(UINT64 Value, UINT32 Base, bool Upper, char* Out) {
  const char* digits = Upper ? "0123456789ABCDEF" : "0123456789abcdef";
  UINTN n = 0;
  do {
    Out[n++] = digits[Value % Base];
    Value /= Base;
  } while (Value != 0);
  return n;
}

template <typename Char>
void PutNumber(Sink<Char>& sink, const Directive& directive, bool negative, UINT64 magnitude,
               UINT32 base, bool upper) {
  char digits[24];
  const UINTN count = Digits(magnitude, base, upper, digits);
  const UINTN used = count + (negative ? 1 : 0);
  const UINTN pad = directive.width > used ? directive.width - used : 0;
  if (!directive.left && !directive.zero) sink.Repeat(' ', pad);
  if (negative) sink.Put('-');
  if (!directive.left && directive.zero) sink.Repeat('0', pad);
  for (UINTN i = count; i > 0; --i) sink.Put(static_cast<UINT8>(digits[i - 1]));
  if (directive.left) sink.Repeat(' ', pad);
}

template <typename Char>
void PutString(Sink<Char>& sink, const Directive& directive, const FormatArg* arg) {
  static constexpr CHAR8 kNull[] = "(null)";
  const CHAR16* wide = nullptr;
  const CHAR8* narrow = nullptr;
  if (!arg) return;
  if (arg->kind == FormatArg::Utf16String) {
    wide = arg->w;
    if (!wide) narrow = kNull;
  } else if (arg->kind == FormatArg::AsciiString) {
    narrow = arg->a ? arg->a : kNull;
  } else {
    return;
  }
  const UINTN length = wide ? StrLen(wide) : AsciiStrLen(narrow);
  const UINTN pad = directive.width > length ? directive.width - length : 0;
  if (!directive.left) sink.Repeat(' ', pad);
  for (UINTN i = 0; i < length && sink.length + 1 < sink.capacity; ++i) {
    if (wide) {
      sink.Put(wide[i]);
    } else {
      sink.PutByte(narrow[i]);
    }
  }
  if (directive.left) sink.Repeat(' ', pad);
}

template <typename Char>
UINTN FormatAny(Char* Buffer, UINTN Capacity, const Char* Format, const FormatArg* Args,
                UINTN ArgCount) {
  if (!Buffer || Capacity == 0) return 0;
  Sink<Char> sink{Buffer, Capacity, 0};
  UINTN next_arg = 0;
  const Char* p = Format;
  while (p && *p && sink.length + 1 < Capacity) {
    if (*p != '%') {
      sink.PutUnit(*p++);
      continue;
    }
    const Char* start = p++;
    Directive directive;
    for (;; ++p) {
      if (*p == '-') {
        directive.left = true;
      } else if (*p == '0') {
        directive.zero = true;
      } else {
        break;
      }
    }
    while (*p >= '0' && *p <= '9') {
      directive.width = directive.width * 10 + static_cast<UINTN>(*p - '0');
      if (directive.width > kMaxWidth) directive.width = kMaxWidth;
      ++p;
    }
    while (*p == 'l' || *p == 'h') {
      if (*p == 'l') directive.long_modifier = true;
      ++p;
    }
    const Char conversion = *p;
    if (conversion == 0) {
      // A lone '%' (or unfinished conversion) at the end is copied.
      while (start < p) sink.PutUnit(*start++);
      break;
    }
    ++p;
    if (conversion == '%') {
      sink.Put('%');
      continue;
    }
    const bool known = conversion == 'd' || conversion == 'i' || conversion == 'u' ||
                       conversion == 'x' || conversion == 'X' || conversion == 's' ||
                       conversion == 'c';
    if (!known) {
      while (start < p) sink.PutUnit(*start++);
      continue;
    }
    const FormatArg* arg = next_arg < ArgCount ? &Args[next_arg] : nullptr;
    ++next_arg;
    if (conversion == 's') {
      PutString(sink, directive, arg);
      continue;
    }
    const bool is_number =
        arg && (arg->kind == FormatArg::Signed || arg->kind == FormatArg::Unsigned);
    if (conversion == 'c') {
      if (is_number) sink.Put(static_cast<UINT32>(arg->u & 0xFFFF));
      continue;
    }
    // A string given to a number conversion prints 0, like a missing one.
    const bool is_signed = is_number && arg->kind == FormatArg::Signed;
    const UINT64 raw = is_number ? arg->u : 0;
    if (conversion == 'd' || conversion == 'i') {
      const bool negative = is_signed && static_cast<INT64>(raw) < 0;
      const UINT64 magnitude = negative ? ~raw + 1 : raw;
      PutNumber(sink, directive, negative, magnitude, 10, false);
      continue;
    }
    UINT64 value = raw;
    if (is_signed && static_cast<INT64>(raw) < 0 && !directive.long_modifier)
      value &= 0xFFFFFFFFull;
    PutNumber(sink, directive, false, value, conversion == 'u' ? 10 : 16, conversion == 'X');
  }
  Buffer[sink.length] = 0;
  return sink.length;
}

} // namespace

UINTN FormatV(CHAR16* Buffer, UINTN Capacity, const CHAR16* Format, const FormatArg* Args,
              UINTN ArgCount) {
  return FormatAny(Buffer, Capacity, Format, Args, ArgCount);
}

UINTN AsciiFormatV(CHAR8* Buffer, UINTN Capacity, const CHAR8* Format, const FormatArg* Args,
                   UINTN ArgCount) {
  return FormatAny(Buffer, Capacity, Format, Args, ArgCount);
}
