// The pictures stored in the program (generated from assets/*.png, *.jpg).
#pragma once

#include "platform/efi.h"

struct Picture {
  const UINT8* Data;
  UINT64 Size;
};

extern const Picture kLeftBandPicture;  // JPEG 256 x 768
extern const Picture kUpperLogo;        // PNG 118 x 148
extern const Picture kLowerLogoEnglish; // PNG 254 x 63 (English and Japanese)
extern const Picture kLowerLogoFrench;  // PNG 254 x 63
extern const Picture kCloseMark;        // PNG 20 x 27
extern const Picture kSwitchOn;         // PNG 62 x 26
extern const Picture kSwitchOff;        // PNG 62 x 26
extern const Picture kMinusSign;        // PNG 12 x 17
extern const Picture kPlusSign;         // PNG 12 x 17
extern const Picture kDropDownArrow;    // PNG 17 x 12
extern const Picture kScrollArrowUp;    // PNG 10 x 7
extern const Picture kScrollArrowDown;  // PNG 10 x 7
extern const Picture kCursorArrow;      // PNG 17 x 33, 8-bit RGBA
// Boot device classes HDD/SSD, USB, LAN, ODD; two pictures each, 36 x 48.
extern const Picture kBootClassPictures[4][2];
