// The platform's diagnostic output: COM1 (I/O port 0x3F8) in the UEFI image,
// standard error on the host.
#pragma once

#include "platform/efi.h"

// Writes the text as it stands.
void Serial_Write(const CHAR8* Text);
// Writes the text and ends the line.
void Serial_WriteLine(const CHAR8* Text);

// A bounded ASCII line under construction: appends never overflow, the text
// is always terminated.
struct AsciiLine {
  static constexpr UINTN kCapacity = 160;
  CHAR8 Text[kCapacity];
  UINTN Length;
};
void AsciiLine_Start(AsciiLine* Line, const CHAR8* Text);
void AsciiLine_Append(AsciiLine* Line, const CHAR8* Text);
void AsciiLine_AppendDecimal(AsciiLine* Line, UINT64 Value);
// "0x" and the value in upper-case hex without leading zeros ("0x0" for 0).
void AsciiLine_AppendHex(AsciiLine* Line, UINT64 Value);
