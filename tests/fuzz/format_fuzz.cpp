// The bounded formatter: any format string (UTF-16 or ASCII), any mix of
// arguments (numbers, strings, null strings, too few), any capacity. The
// output must stay inside the buffer and always be terminated.
#include <vector>

#include "platform/lib.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

// Formats the raw bytes (little-endian units) into an exact-size buffer.
template <typename Char, typename Formatter>
void CheckFormat(const std::vector<uint8_t>& Rest, size_t Capacity, bool NullFormat,
                 const std::vector<FormatArg>& Args, Formatter Format) {
  std::vector<Char> format(Rest.size() / sizeof(Char) + 1);
  for (size_t i = 0; i + 1 < format.size(); ++i) {
    unsigned unit = 0;
    for (size_t b = 0; b < sizeof(Char); ++b) unit |= Rest[sizeof(Char) * i + b] << (8 * b);
    format[i] = static_cast<Char>(unit);
  }
  format.back() = 0;
  std::vector<Char> out(Capacity);
  const UINTN n = Format(Capacity ? out.data() : nullptr, Capacity,
                         NullFormat ? nullptr : format.data(), Args.data(), Args.size());
  if (Capacity == 0) {
    fuzz::Check(n == 0, "nothing is written without capacity");
  } else {
    fuzz::Check(n < Capacity, "length within the buffer");
    fuzz::Check(out[n] == 0, "terminated at the returned length");
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  fuzz::Bytes in(Data, Size);
  const uint8_t flags = in.U8();
  const size_t capacity = in.U16() % 600;
  const size_t argCount = in.U8() % 8;

  // Argument strings live in their own exact-size buffers, so reading past a
  // terminator shows.
  std::vector<std::vector<CHAR16>> wide;
  std::vector<std::vector<CHAR8>> narrow;
  std::vector<FormatArg> args;
  wide.reserve(argCount);
  narrow.reserve(argCount);
  for (size_t i = 0; i < argCount; ++i) {
    const uint8_t kind = in.U8();
    switch (kind % 6) {
    case 0:
      args.emplace_back(static_cast<long long>(in.U64()));
      break;
    case 1:
      args.emplace_back(static_cast<unsigned long long>(in.U64()));
      break;
    case 2: {
      std::vector<CHAR16> text(in.U8() % 40 + 1);
      for (size_t k = 0; k + 1 < text.size(); ++k) text[k] = static_cast<CHAR16>(in.U16() | 1);
      text.back() = 0;
      wide.push_back(std::move(text));
      args.emplace_back(static_cast<const CHAR16*>(wide.back().data()));
      break;
    }
    case 3: {
      std::vector<CHAR8> text(in.U8() % 40 + 1);
      for (size_t k = 0; k + 1 < text.size(); ++k) text[k] = static_cast<CHAR8>(in.U8() | 1);
      text.back() = 0;
      narrow.push_back(std::move(text));
      args.emplace_back(static_cast<const CHAR8*>(narrow.back().data()));
      break;
    }
    case 4:
      args.emplace_back(static_cast<const CHAR16*>(nullptr));
      break;
    default:
      args.emplace_back(static_cast<const CHAR8*>(nullptr));
      break;
    }
  }
  const std::vector<uint8_t> rest = in.Rest();

  if (flags & 1)
    CheckFormat<CHAR16>(rest, capacity, flags & 2, args, FormatV);
  else
    CheckFormat<CHAR8>(rest, capacity, flags & 2, args, AsciiFormatV);
  return 0;
}
