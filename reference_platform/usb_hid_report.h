// HID pointer report decoder: reads one input report with the layout the
// descriptor parser found. Plain code with no firmware calls.
#pragma once

#include "platform/efi.h"
#include "reference_platform/usb_hid_descriptor.h"

struct HidPointerSample {
  // Relative devices: movement in counts. Absolute devices: the position
  // counted from the field's logical minimum (0 .. max - min).
  INT32 X;
  INT32 Y;
  INT32 Wheel;    // detents, positive away from the user
  UINT32 Buttons; // bit 0 left, bit 1 right, bit 2 middle
  bool Contact;   // absolute devices: tip switch or left button down
  bool InRange;   // absolute devices: the position is meaningful
};

// Decodes Length bytes of report. False (Sample untouched) for a report of
// another report ID, one shorter than the layout or longer than it accepts,
// or a layout that is not a pointer's.
bool HidReport_Decode(const HidPointerLayout& Layout, const UINT8* Data, UINTN Length,
                      HidPointerSample* Sample);

// Writes Value into BitSize bits at BitOffset of a report (the inverse of
// reading a field); false, nothing written, when they do not lie inside its
// Length bytes or BitSize is not 1..32.
bool HidReport_SetBits(UINT8* Data, UINTN Length, UINT32 BitOffset, UINT8 BitSize, UINT32 Value);

// The absolute range of a field as the Absolute Pointer protocol reports it
// (0 .. LogicalMax - LogicalMin).
UINT64 HidReport_AbsoluteRange(const HidField& Field);
