// The HID report-descriptor parser and report decoder on real devices'
// descriptors and on hostile ones (truncated items, broken nesting, stack
// abuse, reports of the wrong size or ID). Every buffer has its exact size so
// that AddressSanitizer catches a read past it.
#include <gtest/gtest.h>

#include <vector>

#include "reference_platform/usb_hid_config.h"
#include "reference_platform/usb_hid_descriptor.h"
#include "reference_platform/usb_hid_report.h"
#include "tests/unit/usb_hid_descriptors.h"

namespace {

using usb_hid_test::Bytes;
using usb_hid_test::kQemuMouse;
using usb_hid_test::kQemuTablet;
using usb_hid_test::kTouchScreen;

// A five-button mouse with 12-bit X and Y packed across byte boundaries,
// written with a vendor collection before it and usages given with their
// page (four-byte usages).
const Bytes kPackedMouse = {0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0x75, 0x08, 0x95, 0x02,
                            0x81, 0x02, 0xC0, 0x0B, 0x02, 0x00, 0x01, 0x00, 0xA1, 0x01, 0x05,
                            0x09, 0x19, 0x01, 0x29, 0x05, 0x15, 0x00, 0x25, 0x01, 0x75, 0x01,
                            0x95, 0x05, 0x81, 0x02, 0x75, 0x03, 0x95, 0x01, 0x81, 0x03, 0x0B,
                            0x30, 0x00, 0x01, 0x00, 0x0B, 0x31, 0x00, 0x01, 0x00, 0x16, 0x01,
                            0xF8, 0x26, 0xFF, 0x07, 0x75, 0x0C, 0x95, 0x02, 0x81, 0x06, 0xC0};

HidParseResult Parse(const Bytes& Descriptor, HidPointerLayout* Layout) {
  // A copy at the exact size, so an over-read is an ASan error.
  auto* copy = new UINT8[Descriptor.size()];
  std::copy(Descriptor.begin(), Descriptor.end(), copy);
  const HidParseResult result = HidDescriptor_Parse(copy, Descriptor.size(), Layout);
  delete[] copy;
  return result;
}

bool Decode(const HidPointerLayout& Layout, const Bytes& Report, HidPointerSample* Sample) {
  auto* copy = new UINT8[Report.size() + 1];
  std::copy(Report.begin(), Report.end(), copy);
  const bool ok = HidReport_Decode(Layout, copy, Report.size(), Sample);
  delete[] copy;
  return ok;
}

TEST(UsbHidParse, QemuTabletAndMouse) {
  HidPointerLayout l;
  ASSERT_EQ(Parse(kQemuTablet, &l), HidParseResult::Ok);
  EXPECT_EQ(l.Kind, HidPointerKind::Absolute);
  EXPECT_FALSE(l.UsesReportIds);
  EXPECT_EQ(l.ReportBytes, 6u);
  EXPECT_EQ(HidReport_AbsoluteRange(l.X), 0x7FFFu);
  EXPECT_EQ(HidReport_AbsoluteRange(l.Y), 0x7FFFu);

  HidPointerSample s;
  // Left button down at (0x4010, 0x2008), wheel one detent towards the user.
  ASSERT_TRUE(Decode(l, {0x01, 0x10, 0x40, 0x08, 0x20, 0xFF}, &s));
  EXPECT_EQ(s.X, 0x4010);
  EXPECT_EQ(s.Y, 0x2008);
  EXPECT_EQ(s.Wheel, -1);
  EXPECT_EQ(s.Buttons, 1u);
  EXPECT_TRUE(s.Contact);
  EXPECT_TRUE(s.InRange);
  ASSERT_TRUE(Decode(l, {0x02, 0xFF, 0x7F, 0x00, 0x00, 0x00}, &s));
  EXPECT_EQ(s.X, 0x7FFF);
  EXPECT_EQ(s.Buttons, 2u);
  EXPECT_FALSE(s.Contact); // the right button alone is no contact

  // Short, oversized and empty reports are ignored and leave the sample be.
  s.X = 77;
  EXPECT_FALSE(Decode(l, {0x01, 0x10, 0x40, 0x08, 0x20}, &s));
  EXPECT_FALSE(Decode(l, {0x01, 0x10, 0x40, 0x08, 0x20, 0x00, 0x00}, &s));
  EXPECT_FALSE(Decode(l, {}, &s));
  EXPECT_EQ(s.X, 77);

  ASSERT_EQ(Parse(kQemuMouse, &l), HidParseResult::Ok);
  EXPECT_EQ(l.Kind, HidPointerKind::Relative);
  EXPECT_EQ(l.InputMode.BitSize, 0);
  EXPECT_EQ(l.ReportBytes, 4u);
  ASSERT_TRUE(Decode(l, {0x05, 0xF6, 0x03, 0x01}, &s));
  EXPECT_EQ(s.X, -10);
  EXPECT_EQ(s.Y, 3);
  EXPECT_EQ(s.Wheel, 1);
  EXPECT_EQ(s.Buttons, 5u); // left and middle
  // -128 lies outside the logical range -127..127: clamped.
  ASSERT_TRUE(Decode(l, {0x00, 0x80, 0x7F, 0x00}, &s));
  EXPECT_EQ(s.X, -127);
  EXPECT_EQ(s.Y, 127);
}

TEST(UsbHidParse, TouchScreenWithReportIds) {
  HidPointerLayout l;
  ASSERT_EQ(Parse(kTouchScreen, &l), HidParseResult::Ok);
  EXPECT_EQ(l.Kind, HidPointerKind::Absolute);
  EXPECT_EQ(l.Application, kHidUsageTouchScreen);
  EXPECT_TRUE(l.UsesReportIds);
  EXPECT_EQ(l.ReportId, 1);
  EXPECT_EQ(l.ReportBytes, 7u); // the pop restored the 8-bit report size
  EXPECT_EQ(HidReport_AbsoluteRange(l.X), 4095u);
  EXPECT_EQ(HidReport_AbsoluteRange(l.Y), 2559u);
  // Feature report 4 carries the Input Mode in its first byte.
  EXPECT_EQ(l.InputMode.ReportId, 4);
  EXPECT_EQ(l.InputMode.BitOffset, 0u);
  EXPECT_EQ(l.InputMode.BitSize, 8);
  EXPECT_EQ(l.InputMode.FeatureBytes, 2u);

  HidPointerSample s;
  // Finger down (tip and in range) at (0x0ABC, 0x0123).
  ASSERT_TRUE(Decode(l, {0x01, 0x03, 0x00, 0xBC, 0x0A, 0x23, 0x01, 0x01}, &s));
  EXPECT_EQ(s.X, 0x0ABC);
  EXPECT_EQ(s.Y, 0x0123);
  EXPECT_TRUE(s.Contact);
  EXPECT_TRUE(s.InRange);
  // Hovering: in range without the tip is no contact.
  ASSERT_TRUE(Decode(l, {0x01, 0x02, 0x00, 0xBC, 0x0A, 0x23, 0x01, 0x01}, &s));
  EXPECT_FALSE(s.Contact);
  EXPECT_TRUE(s.InRange);
  // X beyond its logical maximum is clamped to it.
  ASSERT_TRUE(Decode(l, {0x01, 0x01, 0x00, 0xFF, 0xFF, 0x00, 0x00, 0x00}, &s));
  EXPECT_EQ(s.X, 4095);
  // The mouse report (ID 2), an unknown ID and a report without its ID
  // byte are not the pointer's.
  EXPECT_FALSE(Decode(l, {0x02, 0x01, 0x05, 0x05}, &s));
  EXPECT_FALSE(Decode(l, {0x09, 0x03, 0x00, 0xBC, 0x0A, 0x23, 0x01, 0x01}, &s));
  EXPECT_FALSE(Decode(l, {0x03, 0x00, 0xBC, 0x0A, 0x23, 0x01, 0x01}, &s));
}

TEST(UsbHidParse, PackedFieldsAndExplicitUsagePages) {
  HidPointerLayout l;
  ASSERT_EQ(Parse(kPackedMouse, &l), HidParseResult::Ok);
  EXPECT_EQ(l.Kind, HidPointerKind::Relative);
  EXPECT_EQ(l.Application, kHidUsageGenericDesktopMouse);
  // The vendor collection's two bytes come first in the same report, then
  // 5 buttons + 3 padding + 2 x 12 bits.
  EXPECT_EQ(l.ReportBytes, 6u);
  EXPECT_EQ(l.X.BitOffset, 24u);
  EXPECT_EQ(l.Y.BitOffset, 36u);
  HidPointerSample s;
  // X = -2 (0xFFE), Y = 0x123: bytes FE 3F 12.
  ASSERT_TRUE(Decode(l, {0xAA, 0xBB, 0x03, 0xFE, 0x3F, 0x12}, &s));
  EXPECT_EQ(s.X, -2);
  EXPECT_EQ(s.Y, 0x123);
  EXPECT_EQ(s.Buttons, 3u);
}

TEST(UsbHidReport, SetBitsWritesOnlyInsideTheReport) {
  Bytes report = {0xFF, 0x00, 0xFF};
  // 12 bits from bit 4: the low nibble of byte 0 and byte 2 stay.
  ASSERT_TRUE(HidReport_SetBits(report.data(), report.size(), 4, 12, 0xA5A));
  EXPECT_EQ(report, (Bytes{0xAF, 0xA5, 0xFF}));
  EXPECT_FALSE(HidReport_SetBits(report.data(), report.size(), 20, 5, 0));
  EXPECT_FALSE(HidReport_SetBits(report.data(), report.size(), 0, 0, 0));
  EXPECT_FALSE(HidReport_SetBits(report.data(), report.size(), 0, 33, 0));
  EXPECT_EQ(report, (Bytes{0xAF, 0xA5, 0xFF}));
}

TEST(UsbHidParse, BootMouseLayoutAcceptsTheBootReportAndDevicePadding) {
  HidPointerLayout l;
  HidDescriptor_BootMouseLayout(&l);
  HidPointerSample s;
  ASSERT_TRUE(Decode(l, {0x01, 0x02, 0xFD}, &s));
  EXPECT_EQ(s.Y, -3);
  EXPECT_TRUE(Decode(l, {0x00, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00}, &s));
  EXPECT_FALSE(Decode(l, {0x00, 0x01}, &s));
  EXPECT_FALSE(Decode(l, Bytes(9, 0), &s));
}

// Every prefix of a real descriptor parses to a defined answer without
// reading past it, and only the complete one (or one cut after the pointer
// collection closed) gives a pointer.
TEST(UsbHidParse, EveryTruncationIsSafe) {
  for (const Bytes* d : {&kQemuTablet, &kQemuMouse, &kTouchScreen, &kPackedMouse}) {
    for (size_t n = 0; n < d->size(); ++n) {
      HidPointerLayout l;
      const Bytes prefix(d->begin(), d->begin() + n);
      const HidParseResult r = Parse(prefix, &l);
      if (r != HidParseResult::Ok) {
        EXPECT_EQ(l.Kind, HidPointerKind::None) << n;
        continue;
      }
      // A prefix that ends inside the pointer collection may still give it
      // when X and Y were both laid.
      EXPECT_NE(l.X.BitSize, 0) << n;
    }
  }
}

TEST(UsbHidParse, HostileDescriptors) {
  struct Case {
    const char* What;
    Bytes Descriptor;
    HidParseResult Expected;
  };
  const Case cases[] = {
      {"item data past the end", {0x05, 0x01, 0x26, 0xFF}, HidParseResult::Malformed},
      {"long item past the end", {0xFE, 0x10, 0x00, 0x01, 0x02}, HidParseResult::Malformed},
      {"end collection without a collection", {0xC0}, HidParseResult::Malformed},
      {"pop without push", {0xB4}, HidParseResult::Malformed},
      {"push nine deep", Bytes(9, 0xA4), HidParseResult::Malformed},
      {"report ID 0", {0x85, 0x00}, HidParseResult::Malformed},
      {"reserved item type", {0x0C}, HidParseResult::Malformed},
      {"unknown main item", {0xD0}, HidParseResult::Malformed},
      {"huge report count",
       {0x75, 0xFF, 0x97, 0xFF, 0xFF, 0xFF, 0x7F, 0x81, 0x02},
       HidParseResult::Malformed},
      {"keyboard",
       {0x05, 0x01, 0x09, 0x06, 0xA1, 0x01, 0x05, 0x07, 0x19, 0xE0, 0x29, 0xE7,
        0x15, 0x00, 0x25, 0x01, 0x75, 0x01, 0x95, 0x08, 0x81, 0x02, 0xC0},
       HidParseResult::NoPointer},
      {"absolute X without a range",
       {0x05, 0x01, 0x09, 0x02, 0xA1, 0x01, 0x09, 0x30, 0x09, 0x31, 0x15,
        0x00, 0x25, 0x00, 0x75, 0x08, 0x95, 0x02, 0x81, 0x02, 0xC0},
       HidParseResult::NoPointer},
      {"X and Y in different reports",
       {0x05, 0x01, 0x09, 0x02, 0xA1, 0x01, 0x85, 0x01, 0x09, 0x30, 0x15, 0x81, 0x25, 0x7F,
        0x75, 0x08, 0x95, 0x01, 0x81, 0x06, 0x85, 0x02, 0x09, 0x31, 0x81, 0x06, 0xC0},
       HidParseResult::NoPointer},
      {"X and Y outside any pointer collection",
       {0x05, 0x01, 0x09, 0x30, 0x09, 0x31, 0x15, 0x81, 0x25, 0x7F, 0x75, 0x08, 0x95, 0x02, 0x81,
        0x06},
       HidParseResult::NoPointer},
      {"pointer report longer than the driver takes",
       {0x05, 0x01, 0x09, 0x02, 0xA1, 0x01, 0x09, 0x30, 0x09, 0x31, 0x15, 0x81, 0x25,
        0x7F, 0x75, 0x08, 0x95, 0x02, 0x81, 0x06, 0x95, 0x40, 0x81, 0x03, 0xC0},
       HidParseResult::NoPointer},
  };
  for (const Case& c : cases) {
    HidPointerLayout l;
    EXPECT_EQ(Parse(c.Descriptor, &l), c.Expected) << c.What;
    EXPECT_EQ(l.Kind, HidPointerKind::None) << c.What;
  }
  // Collections nested 33 deep are refused; 32 are fine.
  Bytes deep;
  for (int i = 0; i < 33; ++i) deep.insert(deep.end(), {0xA1, 0x00});
  HidPointerLayout l;
  EXPECT_EQ(Parse(deep, &l), HidParseResult::Malformed);
  deep.resize(64);
  EXPECT_EQ(Parse(deep, &l), HidParseResult::NoPointer);
}

TEST(UsbHidParse, SignedLogicalMaximumReadAsDevicesMeanIt) {
  // Logical maximum written as one byte 0xFF (strictly -1) after a minimum
  // of 0: devices mean 255.
  const Bytes d = {0x05, 0x0D, 0x09, 0x04, 0xA1, 0x01, 0x09, 0x42, 0x15, 0x00, 0x25,
                   0x01, 0x75, 0x08, 0x95, 0x01, 0x81, 0x02, 0x05, 0x01, 0x09, 0x30,
                   0x09, 0x31, 0x25, 0xFF, 0x95, 0x02, 0x81, 0x02, 0xC0};
  HidPointerLayout l;
  ASSERT_EQ(Parse(d, &l), HidParseResult::Ok);
  EXPECT_EQ(HidReport_AbsoluteRange(l.X), 255u);
  HidPointerSample s;
  ASSERT_TRUE(Decode(l, {0x01, 0xC8, 0x10}, &s));
  EXPECT_EQ(s.X, 200);
  EXPECT_TRUE(s.Contact);
}

// Configuration descriptor of a tablet: configuration, interface 0 with its
// HID descriptor (report descriptor 74 bytes) and endpoint.
const Bytes kTabletConfig = {0x09, 0x02, 0x22, 0x00, 0x01, 0x01, 0x00, 0xA0, 0x32, 0x09, 0x04, 0x00,
                             0x00, 0x01, 0x03, 0x00, 0x00, 0x00, 0x09, 0x21, 0x01, 0x00, 0x00, 0x01,
                             0x22, 0x4A, 0x00, 0x07, 0x05, 0x81, 0x03, 0x08, 0x00, 0x04};

UINT16 ReportLength(const Bytes& Config, UINT8 Interface, UINT8 Alternate) {
  auto* copy = new UINT8[Config.size()];
  std::copy(Config.begin(), Config.end(), copy);
  const UINT16 n = UsbHidConfig_ReportDescriptorLength(copy, Config.size(), Interface, Alternate);
  delete[] copy;
  return n;
}

TEST(UsbHidConfig, ReportDescriptorLengthFromTheConfiguration) {
  EXPECT_EQ(ReportLength(kTabletConfig, 0, 0), 74);
  EXPECT_EQ(ReportLength(kTabletConfig, 1, 0), 0); // no such interface
  EXPECT_EQ(ReportLength(kTabletConfig, 0, 1), 0);
  // A descriptor claiming more bytes than there are, or a zero length that
  // would loop forever, ends the walk.
  Bytes broken = kTabletConfig;
  broken[9] = 0x40;
  EXPECT_EQ(ReportLength(broken, 0, 0), 0);
  broken[9] = 0x00;
  EXPECT_EQ(ReportLength(broken, 0, 0), 0);
  // A HID descriptor whose entry list is cut short.
  Bytes cut = kTabletConfig;
  cut[18] = 0x07;
  cut.erase(cut.begin() + 25, cut.begin() + 27);
  EXPECT_EQ(ReportLength(cut, 0, 0), 0);
  // Cut anywhere: the length only once the whole HID descriptor is there.
  for (size_t n = 0; n < kTabletConfig.size(); ++n)
    EXPECT_EQ(ReportLength(Bytes(kTabletConfig.begin(), kTabletConfig.begin() + n), 0, 0),
              n >= 27 ? 74 : 0)
        << n;
}

} // namespace
