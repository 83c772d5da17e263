// HID pointer report decoder (see usb_hid_report.h).
#include "reference_platform/usb_hid_report.h"

namespace {

// The field's bits, least significant first, as an unsigned number. The
// caller has checked that the field lies inside the report.
UINT32 ReadBits(const UINT8* Data, UINT32 Offset, UINT32 Size) {
  UINT64 value = 0;
  for (UINT32 i = 0; i < Size; ++i) {
    const UINT32 bit = Offset + i;
    if ((Data[bit / 8] >> (bit % 8)) & 1) value |= 1ull << i;
  }
  return static_cast<UINT32>(value);
}

bool Fits(const HidField& Field, UINT32 Bytes) {
  return Field.BitSize != 0 && Field.BitSize <= 32 &&
         static_cast<UINT64>(Field.BitOffset) + Field.BitSize <= static_cast<UINT64>(Bytes) * 8;
}

// The field's value: sign-extended when its logical range has negative
// values, clamped into that range (a device may send values outside it).
INT64 FieldValue(const HidField& Field, const UINT8* Data) {
  const UINT32 raw = ReadBits(Data, Field.BitOffset, Field.BitSize);
  INT64 value = raw;
  if (Field.LogicalMin < 0 && Field.BitSize < 64 && (raw >> (Field.BitSize - 1)) & 1)
    value = static_cast<INT64>(raw) - (static_cast<INT64>(1) << Field.BitSize);
  if (value < Field.LogicalMin) value = Field.LogicalMin;
  if (value > Field.LogicalMax) value = Field.LogicalMax;
  return value;
}

bool Pressed(const HidField& Field, const UINT8* Data, UINT32 Bytes) {
  return Fits(Field, Bytes) && FieldValue(Field, Data) > 0;
}

} // namespace

bool HidReport_SetBits(UINT8* Data, UINTN Length, UINT32 BitOffset, UINT8 BitSize, UINT32 Value) {
  if (Data == nullptr || BitSize == 0 || BitSize > 32 ||
      static_cast<UINT64>(BitOffset) + BitSize > static_cast<UINT64>(Length) * 8)
    return false;
  for (UINT32 i = 0; i < BitSize; ++i) {
    const UINT32 bit = BitOffset + i;
    const UINT8 mask = static_cast<UINT8>(1u << (bit % 8));
    if ((Value >> i) & 1)
      Data[bit / 8] |= mask;
    else
      Data[bit / 8] &= static_cast<UINT8>(~mask);
  }
  return true;
}

UINT64 HidReport_AbsoluteRange(const HidField& Field) {
  return static_cast<UINT64>(static_cast<INT64>(Field.LogicalMax) - Field.LogicalMin);
}

bool HidReport_Decode(const HidPointerLayout& Layout, const UINT8* Data, UINTN Length,
                      HidPointerSample* Sample) {
  if (Layout.Kind == HidPointerKind::None || Data == nullptr) return false;
  if (Layout.UsesReportIds) {
    if (Length < 1 || Data[0] != Layout.ReportId) return false;
    ++Data;
    --Length;
  }
  if (Length < Layout.ReportBytes || Length > Layout.MaxReportBytes) return false;
  const UINT32 bytes = static_cast<UINT32>(Length);
  if (!Fits(Layout.X, bytes) || !Fits(Layout.Y, bytes)) return false;

  HidPointerSample s = {};
  const INT64 x = FieldValue(Layout.X, Data);
  const INT64 y = FieldValue(Layout.Y, Data);
  if (Layout.Kind == HidPointerKind::Absolute) {
    s.X = static_cast<INT32>(x - Layout.X.LogicalMin);
    s.Y = static_cast<INT32>(y - Layout.Y.LogicalMin);
  } else {
    s.X = static_cast<INT32>(x);
    s.Y = static_cast<INT32>(y);
  }
  if (Fits(Layout.Wheel, bytes) && Layout.Wheel.Relative)
    s.Wheel = static_cast<INT32>(FieldValue(Layout.Wheel, Data));
  for (UINT32 b = 0; b < 3; ++b)
    if (Pressed(Layout.Buttons[b], Data, bytes)) s.Buttons |= 1u << b;
  const bool tip = Pressed(Layout.TipSwitch, Data, bytes);
  s.Contact = tip || (s.Buttons & 1) != 0;
  // Without an in-range field every report carries a position.
  s.InRange = Fits(Layout.InRange, bytes) ? Pressed(Layout.InRange, Data, bytes) || tip : true;
  *Sample = s;
  return true;
}
