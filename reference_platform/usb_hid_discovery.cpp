// Discovery: which interfaces are pointers, their report layout from the
// descriptors, their interrupt endpoint, and the class requests that set
// them up.
#include "platform/lib.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/usb_hid_config.h"
#include "reference_platform/usb_hid_descriptor.h"
#include "reference_platform/usb_hid_device.h"

namespace usb_pointer {

namespace {

constexpr UINT16 kLongestConfig = 4096;
constexpr UINT16 kLongestReportDescriptor = 4096;

EFI_STATUS GetDescriptor(EFI_USB_IO_PROTOCOL* UsbIo, UINT8 RequestType, UINT8 Type, UINT8 Index,
                         UINT16 LanguageOrInterface, void* Buffer, UINT16 Length) {
  EFI_USB_DEVICE_REQUEST request = {RequestType, kUsbRequestGetDescriptor,
                                    static_cast<UINT16>((Type << 8) | Index), LanguageOrInterface,
                                    Length};
  UINT32 usbStatus = 0;
  const EFI_STATUS status = UsbIo->UsbControlTransfer(
      UsbIo, &request, EfiUsbDataIn, kControlTimeoutMs, Buffer, Length, &usbStatus);
  return EFI_ERROR(status) || usbStatus != 0 ? EFI_DEVICE_ERROR : EFI_SUCCESS;
}

// The report descriptor's length, from the configuration the interface
// belongs to; 0 when it cannot be found.
UINT16 ReportDescriptorLength(EFI_USB_IO_PROTOCOL* UsbIo,
                              const EFI_USB_INTERFACE_DESCRIPTOR& Interface) {
  EFI_USB_CONFIG_DESCRIPTOR active = {};
  EFI_USB_DEVICE_DESCRIPTOR device = {};
  if (EFI_ERROR(UsbIo->UsbGetConfigDescriptor(UsbIo, &active)) ||
      EFI_ERROR(UsbIo->UsbGetDeviceDescriptor(UsbIo, &device)))
    return 0;
  UINT16 total = active.TotalLength;
  if (total < sizeof(EFI_USB_CONFIG_DESCRIPTOR)) return 0;
  if (total > kLongestConfig) total = kLongestConfig;
  UINT8* config = static_cast<UINT8*>(Quorvex_AllocatePool(total));
  if (config == nullptr) return 0;
  UINT16 length = 0;
  // The active configuration is the one whose value matches; usually index 0.
  for (UINT8 index = 0; index < device.NumConfigurations && length == 0; ++index) {
    MemFill(config, 0, total);
    if (EFI_ERROR(GetDescriptor(UsbIo, kUsbRequestTypeStandardDeviceIn, kUsbDescriptorConfiguration,
                                index, 0, config, total)))
      continue;
    if (config[1] != kUsbDescriptorConfiguration || config[5] != active.ConfigurationValue)
      continue;
    length = UsbHidConfig_ReportDescriptorLength(config, total, Interface.InterfaceNumber,
                                                 Interface.AlternateSetting);
  }
  Quorvex_FreePool(config);
  return length;
}

} // namespace

bool HidInterface(EFI_HANDLE Controller, EFI_USB_IO_PROTOCOL** UsbIo,
                  EFI_USB_INTERFACE_DESCRIPTOR* Interface) {
  void* found = nullptr;
  if (EFI_ERROR(PlatformBootServices->HandleProtocol(Controller, &kUsbIoGuid, &found)) ||
      found == nullptr)
    return false;
  *UsbIo = static_cast<EFI_USB_IO_PROTOCOL*>(found);
  *Interface = {};
  if (EFI_ERROR((*UsbIo)->UsbGetInterfaceDescriptor(*UsbIo, Interface)) ||
      Interface->InterfaceClass != kUsbClassHid)
    return false;
  return !(Interface->InterfaceSubClass == kUsbHidSubclassBoot &&
           Interface->InterfaceProtocol == kUsbHidProtocolKeyboard);
}

void ClassRequest(EFI_USB_IO_PROTOCOL* UsbIo, UINT8 Request, UINT16 Value, UINT16 Interface) {
  EFI_USB_DEVICE_REQUEST request = {kUsbRequestTypeClassInterfaceOut, Request, Value, Interface, 0};
  UINT32 usbStatus = 0;
  UsbIo->UsbControlTransfer(UsbIo, &request, EfiUsbNoData, kControlTimeoutMs, nullptr, 0,
                            &usbStatus);
}

// A touch screen with an Input Mode feature reports as a mouse until told
// otherwise: its feature report is read (to keep the other fields), the mode
// set to multi-touch and the report written back.
void SetTouchInputMode(Device* D) {
  const auto& mode = D->Layout.InputMode;
  if (mode.BitSize == 0) return;
  const UINT16 id = D->Layout.UsesReportIds ? 1 : 0;
  const UINT16 length = static_cast<UINT16>(mode.FeatureBytes + id);
  UINT8 report[kHidMaxReportBytes + 1] = {};
  const UINT16 value = static_cast<UINT16>((kHidReportTypeFeature << 8) | mode.ReportId);
  EFI_USB_DEVICE_REQUEST get = {kUsbRequestTypeClassInterfaceIn, kHidRequestGetReport, value,
                                D->Interface, length};
  UINT32 usbStatus = 0;
  if (EFI_ERROR(D->UsbIo->UsbControlTransfer(D->UsbIo, &get, EfiUsbDataIn, kControlTimeoutMs,
                                             report, length, &usbStatus)) ||
      usbStatus != 0)
    MemFill(report, 0, sizeof(report));
  if (id != 0) report[0] = mode.ReportId;
  HidReport_SetBits(report + id, mode.FeatureBytes, mode.BitOffset, mode.BitSize,
                    kHidInputModeMultiTouch);
  EFI_USB_DEVICE_REQUEST set = {kUsbRequestTypeClassInterfaceOut, kHidRequestSetReport, value,
                                D->Interface, length};
  const EFI_STATUS status = D->UsbIo->UsbControlTransfer(
      D->UsbIo, &set, EfiUsbDataOut, kControlTimeoutMs, report, length, &usbStatus);
  Log("touch input mode set, status", status);
}

bool ReadLayout(Device* D, const EFI_USB_INTERFACE_DESCRIPTOR& Interface) {
  HidParseResult result = HidParseResult::Malformed;
  UINT16 length = ReportDescriptorLength(D->UsbIo, Interface);
  if (length > kLongestReportDescriptor) length = 0;
  if (length != 0) {
    UINT8* report = static_cast<UINT8*>(Quorvex_AllocatePool(length));
    if (report != nullptr) {
      if (!EFI_ERROR(GetDescriptor(D->UsbIo, kUsbRequestTypeStandardInterfaceIn,
                                   kUsbDescriptorHidReport, 0, Interface.InterfaceNumber, report,
                                   length)))
        result = HidDescriptor_Parse(report, length, &D->Layout);
      Quorvex_FreePool(report);
    }
  }
  const bool bootMouse = Interface.InterfaceSubClass == kUsbHidSubclassBoot &&
                         Interface.InterfaceProtocol == kUsbHidProtocolMouse;
  Log("report descriptor bytes", length);
  if (result == HidParseResult::Ok) {
    if (Interface.InterfaceSubClass == kUsbHidSubclassBoot)
      ClassRequest(D->UsbIo, kHidRequestSetProtocol, kHidProtocolReport, D->Interface);
    return true;
  }
  Log("report descriptor unusable, result", static_cast<UINT64>(result));
  if (!bootMouse) return false;
  HidDescriptor_BootMouseLayout(&D->Layout);
  ClassRequest(D->UsbIo, kHidRequestSetProtocol, kHidProtocolBoot, D->Interface);
  return true;
}

bool FindInterruptIn(Device* D, const EFI_USB_INTERFACE_DESCRIPTOR& Interface) {
  for (UINT8 i = 0; i < Interface.NumEndpoints; ++i) {
    EFI_USB_ENDPOINT_DESCRIPTOR e = {};
    if (EFI_ERROR(D->UsbIo->UsbGetEndpointDescriptor(D->UsbIo, i, &e))) continue;
    if ((e.EndpointAddress & kUsbEndpointDirectionIn) == 0 ||
        (e.Attributes & kUsbEndpointTypeMask) != kUsbEndpointTypeInterrupt)
      continue;
    D->Endpoint = e.EndpointAddress;
    // bInterval is in frames or in powers of two of microframes depending
    // on the speed; a pointer is polled every 1..8 ms either way.
    D->PollingMs = e.Interval == 0 ? 1 : (e.Interval > 8 ? 8 : e.Interval);
    const UINTN report = D->Layout.MaxReportBytes + (D->Layout.UsesReportIds ? 1 : 0);
    const UINTN packet = e.MaxPacketSize & 0x7FF;
    D->TransferLength = packet > report ? packet : report;
    if (D->TransferLength > kHidMaxReportBytes + 1) D->TransferLength = kHidMaxReportBytes + 1;
    return true;
  }
  return false;
}

} // namespace usb_pointer
