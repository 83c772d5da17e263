#include "reference_platform/serial.h"

#if defined(_WIN32)

namespace {

constexpr UINT16 kCom1 = 0x3F8;
constexpr UINT16 kLineStatus = kCom1 + 5;
constexpr UINT8 kTransmitterEmpty = 0x20;
// Enough polls for one character at 9600 baud on any machine; a missing or
// stuck UART costs this much per character instead of a hang.
constexpr UINT32 kMaxPolls = 100000;

UINT8 PortRead(UINT16 Port) {
  UINT8 value;
  asm volatile("inb %1, %0" : "=a"(value) : "Nd"(Port));
  return value;
}

void PortWrite(UINT16 Port, UINT8 Value) {
  asm volatile("outb %0, %1" : : "a"(Value), "Nd"(Port));
}

void PutByte(UINT8 Byte) {
  for (UINT32 i = 0; i < kMaxPolls; ++i) {
    if (PortRead(kLineStatus) & kTransmitterEmpty) break;
  }
  PortWrite(kCom1, Byte);
}

} // namespace

void Serial_Write(const CHAR8* Text) {
  if (!Text) return;
  for (; *Text; ++Text) {
    if (*Text == '\n') PutByte('\r');
    PutByte(static_cast<UINT8>(*Text));
  }
}

#else

#include <stdio.h>

void Serial_Write(const CHAR8* Text) {
  if (Text) fputs(Text, stderr);
}

#endif

void Serial_WriteLine(const CHAR8* Text) {
  Serial_Write(Text);
  Serial_Write("\n");
}

void AsciiLine_Start(AsciiLine* Line, const CHAR8* Text) {
  Line->Length = 0;
  Line->Text[0] = 0;
  AsciiLine_Append(Line, Text);
}

void AsciiLine_Append(AsciiLine* Line, const CHAR8* Text) {
  if (!Text) return;
  while (*Text && Line->Length + 1 < AsciiLine::kCapacity) Line->Text[Line->Length++] = *Text++;
  Line->Text[Line->Length] = 0;
}

void AsciiLine_AppendDecimal(AsciiLine* Line, UINT64 Value) {
  CHAR8 digits[24];
  UINTN n = sizeof(digits) - 1;
  digits[n] = 0;
  do {
    digits[--n] = static_cast<CHAR8>('0' + Value % 10);
    Value /= 10;
  } while (Value != 0);
  AsciiLine_Append(Line, digits + n);
}

void AsciiLine_AppendHex(AsciiLine* Line, UINT64 Value) {
  CHAR8 digits[24];
  UINTN n = sizeof(digits) - 1;
  digits[n] = 0;
  do {
    digits[--n] = "0123456789ABCDEF"[Value & 0xF];
    Value >>= 4;
  } while (Value != 0);
  AsciiLine_Append(Line, "0x");
  AsciiLine_Append(Line, digits + n);
}
