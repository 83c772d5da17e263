// Report descriptor length from a configuration descriptor (see
// usb_hid_config.h).
#include "reference_platform/usb_hid_config.h"

#include "platform/usb_io.h"

namespace {

// HID class descriptor: bLength, bDescriptorType, bcdHID (2), bCountryCode,
// bNumDescriptors, then bNumDescriptors times (bDescriptorType,
// wDescriptorLength).
constexpr UINTN kHidDescriptorHeader = 6;
constexpr UINTN kHidDescriptorEntry = 3;

UINT16 ReportLengthFromHid(const UINT8* Hid, UINTN Length) {
  if (Length < kHidDescriptorHeader) return 0;
  const UINTN count = Hid[5];
  for (UINTN i = 0; i < count; ++i) {
    const UINTN at = kHidDescriptorHeader + i * kHidDescriptorEntry;
    if (at + kHidDescriptorEntry > Length) return 0;
    if (Hid[at] == kUsbDescriptorHidReport)
      return static_cast<UINT16>(Hid[at + 1] | (Hid[at + 2] << 8));
  }
  return 0;
}

} // namespace

UINT16 UsbHidConfig_ReportDescriptorLength(const UINT8* Config, UINTN Length, UINT8 InterfaceNumber,
                                           UINT8 AlternateSetting) {
  if (Config == nullptr) return 0;
  bool inInterface = false;
  UINTN at = 0;
  while (at + 2 <= Length) {
    const UINTN size = Config[at];
    const UINT8 type = Config[at + 1];
    if (size < 2 || size > Length - at) return 0;
    if (type == kUsbDescriptorInterface) {
      inInterface = size >= sizeof(EFI_USB_INTERFACE_DESCRIPTOR) &&
                    Config[at + 2] == InterfaceNumber && Config[at + 3] == AlternateSetting;
    } else if (type == kUsbDescriptorHid && inInterface) {
      return ReportLengthFromHid(Config + at, size);
    }
    at += size;
  }
  return 0;
}
