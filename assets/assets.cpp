// The embedded pictures, over the byte arrays that tools/bin2cpp.py generates
// from the files in this directory (drawn by tools/make_art.py). The sizes
// come from the arrays' own bounds, so every Picture is constant-initialised.
#include "assets/assets.h"

#include "assets_data.h"

#define QUORVEX_PICTURE(Name)                                                                      \
  { kAsset_##Name, sizeof(kAsset_##Name) }

const Picture kLeftBandPicture = QUORVEX_PICTURE(left_band);
const Picture kUpperLogo = QUORVEX_PICTURE(upper_logo);
const Picture kLowerLogoEnglish = QUORVEX_PICTURE(lower_logo_en);
const Picture kLowerLogoFrench = QUORVEX_PICTURE(lower_logo_fr);
const Picture kCloseMark = QUORVEX_PICTURE(close_mark);
const Picture kSwitchOn = QUORVEX_PICTURE(switch_on);
const Picture kSwitchOff = QUORVEX_PICTURE(switch_off);
const Picture kMinusSign = QUORVEX_PICTURE(minus);
const Picture kPlusSign = QUORVEX_PICTURE(plus);
const Picture kDropDownArrow = QUORVEX_PICTURE(dropdown_arrow);
const Picture kScrollArrowUp = QUORVEX_PICTURE(scroll_up);
const Picture kScrollArrowDown = QUORVEX_PICTURE(scroll_down);
const Picture kCursorArrow = QUORVEX_PICTURE(cursor);

// In the order of the boot device classes: HDD/SSD, USB, LAN, ODD; each the
// normal picture, then the highlighted one.
const Picture kBootClassPictures[4][2] = {
    {QUORVEX_PICTURE(boot_hdd), QUORVEX_PICTURE(boot_hdd_hi)},
    {QUORVEX_PICTURE(boot_usb), QUORVEX_PICTURE(boot_usb_hi)},
    {QUORVEX_PICTURE(boot_lan), QUORVEX_PICTURE(boot_lan_hi)},
    {QUORVEX_PICTURE(boot_odd), QUORVEX_PICTURE(boot_odd_hi)},
};
