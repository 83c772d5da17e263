// libFuzzer target: the HID report-descriptor parser, the report decoder and
// writer and the configuration-descriptor walk on arbitrary bytes.
//
// Input: one byte n, then n bytes of report descriptor (fewer when the input
// ends), then reports, each a length byte and that many bytes. The whole
// input is also walked as a configuration descriptor. Every piece is copied
// into a buffer of its exact size, so AddressSanitizer sees any read past it.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "reference_platform/usb_hid_config.h"
#include "reference_platform/usb_hid_descriptor.h"
#include "reference_platform/usb_hid_report.h"

namespace {

void Check(bool Condition) {
  if (!Condition) __builtin_trap();
}

void DecodeReports(const HidPointerLayout& Layout, const uint8_t* Data, size_t Size) {
  size_t at = 0;
  while (at < Size) {
    size_t n = Data[at++];
    if (n > Size - at) n = Size - at;
    std::vector<UINT8> report(Data + at, Data + at + n);
    at += n;
    HidPointerSample sample = {};
    if (!HidReport_Decode(Layout, report.data(), report.size(), &sample)) continue;
    // A decoded absolute position lies in the range the protocol reports.
    if (Layout.Kind == HidPointerKind::Absolute) {
      Check(sample.X >= 0 && static_cast<UINT64>(sample.X) <= HidReport_AbsoluteRange(Layout.X));
      Check(sample.Y >= 0 && static_cast<UINT64>(sample.Y) <= HidReport_AbsoluteRange(Layout.Y));
    }
    Check(sample.Buttons <= 7);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  if (Size == 0) return 0;
  std::vector<UINT8> whole(Data, Data + Size);
  UsbHidConfig_ReportDescriptorLength(whole.data(), whole.size(), Data[0] & 3, 0);

  size_t n = Data[0];
  if (n > Size - 1) n = Size - 1;
  std::vector<UINT8> descriptor(Data + 1, Data + 1 + n);
  HidPointerLayout layout;
  const HidParseResult result = HidDescriptor_Parse(descriptor.data(), descriptor.size(), &layout);
  if (result == HidParseResult::Ok) {
    Check(layout.Kind != HidPointerKind::None);
    Check(layout.ReportBytes <= kHidMaxReportBytes);
    Check(static_cast<UINT64>(layout.X.BitOffset) + layout.X.BitSize <= layout.ReportBytes * 8ull);
    Check(static_cast<UINT64>(layout.Y.BitOffset) + layout.Y.BitSize <= layout.ReportBytes * 8ull);
    // The Input Mode field fits the feature report the driver writes.
    if (layout.InputMode.BitSize != 0) {
      std::vector<UINT8> feature(layout.InputMode.FeatureBytes);
      Check(HidReport_SetBits(feature.data(), feature.size(), layout.InputMode.BitOffset,
                              layout.InputMode.BitSize, kHidInputModeMultiTouch));
    }
  } else {
    Check(layout.Kind == HidPointerKind::None);
    HidDescriptor_BootMouseLayout(&layout);
  }
  DecodeReports(layout, Data + 1 + n, Size - 1 - n);
  return 0;
}
