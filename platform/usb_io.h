// USB I/O protocol {2B2F68D6-0CD2-44CF-8E8B-BBA20B1B5B75} and the standard
// USB and HID descriptors the reference platform's pointer driver reads,
// declared from the UEFI 2.x and USB 2.0 / HID 1.11 layouts. Descriptors are
// byte-packed as they travel on the bus.
#pragma once

#include "platform/efi.h"

constexpr EFI_GUID kUsbIoGuid = {
    0x2B2F68D6, 0x0CD2, 0x44CF, {0x8E, 0x8B, 0xBB, 0xA2, 0x0B, 0x1B, 0x5B, 0x75}};

// OpenProtocol attributes and the entries OpenProtocolInformation returns.
constexpr UINT32 EFI_OPEN_PROTOCOL_BY_HANDLE_PROTOCOL = 0x00000001;
constexpr UINT32 EFI_OPEN_PROTOCOL_GET_PROTOCOL = 0x00000002;
constexpr UINT32 EFI_OPEN_PROTOCOL_TEST_PROTOCOL = 0x00000004;
constexpr UINT32 EFI_OPEN_PROTOCOL_BY_CHILD_CONTROLLER = 0x00000008;
constexpr UINT32 EFI_OPEN_PROTOCOL_BY_DRIVER = 0x00000010;
constexpr UINT32 EFI_OPEN_PROTOCOL_EXCLUSIVE = 0x00000020;

struct EFI_OPEN_PROTOCOL_INFORMATION_ENTRY {
  EFI_HANDLE AgentHandle;
  EFI_HANDLE ControllerHandle;
  UINT32 Attributes;
  UINT32 OpenCount;
};
static_assert(sizeof(EFI_OPEN_PROTOCOL_INFORMATION_ENTRY) == 24);

// ---------------------------------------------------------------------------
// Descriptors
// ---------------------------------------------------------------------------
constexpr UINT8 kUsbDescriptorDevice = 0x01;
constexpr UINT8 kUsbDescriptorConfiguration = 0x02;
constexpr UINT8 kUsbDescriptorInterface = 0x04;
constexpr UINT8 kUsbDescriptorEndpoint = 0x05;
constexpr UINT8 kUsbDescriptorHid = 0x21;
constexpr UINT8 kUsbDescriptorHidReport = 0x22;

constexpr UINT8 kUsbClassHid = 0x03;
constexpr UINT8 kUsbHidSubclassBoot = 0x01;
constexpr UINT8 kUsbHidProtocolKeyboard = 0x01;
constexpr UINT8 kUsbHidProtocolMouse = 0x02;

#pragma pack(push, 1)
struct EFI_USB_DEVICE_REQUEST {
  UINT8 RequestType;
  UINT8 Request;
  UINT16 Value;
  UINT16 Index;
  UINT16 Length;
};
static_assert(sizeof(EFI_USB_DEVICE_REQUEST) == 8);

struct EFI_USB_DEVICE_DESCRIPTOR {
  UINT8 Length;
  UINT8 DescriptorType;
  UINT16 BcdUSB;
  UINT8 DeviceClass;
  UINT8 DeviceSubClass;
  UINT8 DeviceProtocol;
  UINT8 MaxPacketSize0;
  UINT16 IdVendor;
  UINT16 IdProduct;
  UINT16 BcdDevice;
  UINT8 StrManufacturer;
  UINT8 StrProduct;
  UINT8 StrSerialNumber;
  UINT8 NumConfigurations;
};
static_assert(sizeof(EFI_USB_DEVICE_DESCRIPTOR) == 18);

struct EFI_USB_CONFIG_DESCRIPTOR {
  UINT8 Length;
  UINT8 DescriptorType;
  UINT16 TotalLength;
  UINT8 NumInterfaces;
  UINT8 ConfigurationValue;
  UINT8 Configuration;
  UINT8 Attributes;
  UINT8 MaxPower;
};
static_assert(sizeof(EFI_USB_CONFIG_DESCRIPTOR) == 9);

struct EFI_USB_INTERFACE_DESCRIPTOR {
  UINT8 Length;
  UINT8 DescriptorType;
  UINT8 InterfaceNumber;
  UINT8 AlternateSetting;
  UINT8 NumEndpoints;
  UINT8 InterfaceClass;
  UINT8 InterfaceSubClass;
  UINT8 InterfaceProtocol;
  UINT8 Interface;
};
static_assert(sizeof(EFI_USB_INTERFACE_DESCRIPTOR) == 9);

struct EFI_USB_ENDPOINT_DESCRIPTOR {
  UINT8 Length;
  UINT8 DescriptorType;
  UINT8 EndpointAddress;
  UINT8 Attributes;
  UINT16 MaxPacketSize;
  UINT8 Interval;
};
static_assert(sizeof(EFI_USB_ENDPOINT_DESCRIPTOR) == 7);
#pragma pack(pop)

// Standard and HID class requests.
constexpr UINT8 kUsbRequestGetDescriptor = 0x06;
constexpr UINT8 kUsbRequestTypeStandardDeviceIn = 0x80;
constexpr UINT8 kUsbRequestTypeStandardInterfaceIn = 0x81;
constexpr UINT8 kUsbRequestTypeClassInterfaceOut = 0x21;
constexpr UINT8 kUsbRequestTypeClassInterfaceIn = 0xA1;
constexpr UINT8 kHidRequestGetReport = 0x01;
constexpr UINT8 kHidRequestSetReport = 0x09;
constexpr UINT8 kHidReportTypeFeature = 0x03;
constexpr UINT8 kHidRequestSetIdle = 0x0A;
constexpr UINT8 kHidRequestSetProtocol = 0x0B;
constexpr UINT16 kHidProtocolBoot = 0;
constexpr UINT16 kHidProtocolReport = 1;

constexpr UINT8 kUsbEndpointDirectionIn = 0x80;
constexpr UINT8 kUsbEndpointTypeMask = 0x03;
constexpr UINT8 kUsbEndpointTypeInterrupt = 0x03;

// ---------------------------------------------------------------------------
// The protocol
// ---------------------------------------------------------------------------
enum EFI_USB_DATA_DIRECTION : UINT32 { EfiUsbDataIn, EfiUsbDataOut, EfiUsbNoData };

typedef EFI_STATUS(EFIAPI* EFI_ASYNC_USB_TRANSFER_CALLBACK)(void* Data, UINTN DataLength,
                                                            void* Context, UINT32 Status);

struct EFI_USB_IO_PROTOCOL {
  EFI_STATUS(EFIAPI* UsbControlTransfer)
  (EFI_USB_IO_PROTOCOL* This, EFI_USB_DEVICE_REQUEST* Request, EFI_USB_DATA_DIRECTION Direction,
   UINT32 Timeout, void* Data, UINTN DataLength, UINT32* Status);
  EFI_STATUS(EFIAPI* UsbBulkTransfer)
  (EFI_USB_IO_PROTOCOL* This, UINT8 DeviceEndpoint, void* Data, UINTN* DataLength, UINTN Timeout,
   UINT32* Status);
  EFI_STATUS(EFIAPI* UsbAsyncInterruptTransfer)
  (EFI_USB_IO_PROTOCOL* This, UINT8 DeviceEndpoint, BOOLEAN IsNewTransfer, UINTN PollingInterval,
   UINTN DataLength, EFI_ASYNC_USB_TRANSFER_CALLBACK InterruptCallBack, void* Context);
  EFI_STATUS(EFIAPI* UsbSyncInterruptTransfer)
  (EFI_USB_IO_PROTOCOL* This, UINT8 DeviceEndpoint, void* Data, UINTN* DataLength, UINTN Timeout,
   UINT32* Status);
  EFI_STATUS(EFIAPI* UsbIsochronousTransfer)
  (EFI_USB_IO_PROTOCOL* This, UINT8 DeviceEndpoint, void* Data, UINTN DataLength, UINT32* Status);
  EFI_STATUS(EFIAPI* UsbAsyncIsochronousTransfer)
  (EFI_USB_IO_PROTOCOL* This, UINT8 DeviceEndpoint, void* Data, UINTN DataLength,
   EFI_ASYNC_USB_TRANSFER_CALLBACK IsochronousCallBack, void* Context);
  EFI_STATUS(EFIAPI* UsbGetDeviceDescriptor)
  (EFI_USB_IO_PROTOCOL* This, EFI_USB_DEVICE_DESCRIPTOR* DeviceDescriptor);
  EFI_STATUS(EFIAPI* UsbGetConfigDescriptor)
  (EFI_USB_IO_PROTOCOL* This, EFI_USB_CONFIG_DESCRIPTOR* ConfigurationDescriptor);
  EFI_STATUS(EFIAPI* UsbGetInterfaceDescriptor)
  (EFI_USB_IO_PROTOCOL* This, EFI_USB_INTERFACE_DESCRIPTOR* InterfaceDescriptor);
  EFI_STATUS(EFIAPI* UsbGetEndpointDescriptor)
  (EFI_USB_IO_PROTOCOL* This, UINT8 EndpointIndex, EFI_USB_ENDPOINT_DESCRIPTOR* EndpointDescriptor);
  EFI_STATUS(EFIAPI* UsbGetStringDescriptor)
  (EFI_USB_IO_PROTOCOL* This, UINT16 LangID, UINT8 StringID, CHAR16** String);
  EFI_STATUS(EFIAPI* UsbGetSupportedLanguages)
  (EFI_USB_IO_PROTOCOL* This, UINT16** LangIDTable, UINT16* TableSize);
  EFI_STATUS(EFIAPI* UsbPortReset)(EFI_USB_IO_PROTOCOL* This);
};
static_assert(offsetof(EFI_USB_IO_PROTOCOL, UsbAsyncInterruptTransfer) == 16);
static_assert(offsetof(EFI_USB_IO_PROTOCOL, UsbGetInterfaceDescriptor) == 64);
static_assert(sizeof(EFI_USB_IO_PROTOCOL) == 104);

// Absolute Pointer mode attributes.
constexpr UINT32 EFI_ABSP_SupportsAltActive = 0x00000001;
constexpr UINT32 EFI_ABSP_SupportsPressureAsZ = 0x00000002;

// ---------------------------------------------------------------------------
// Driver Binding protocol {18A031AB-B443-4D1A-A5C0-0C09261E9F71}: lets the
// firmware start a driver on new controllers (a device plugged in) and stop
// it before a controller goes away (a device pulled out).
// ---------------------------------------------------------------------------
constexpr EFI_GUID kDriverBindingGuid = {
    0x18A031AB, 0xB443, 0x4D1A, {0xA5, 0xC0, 0x0C, 0x09, 0x26, 0x1E, 0x9F, 0x71}};

struct EFI_DRIVER_BINDING_PROTOCOL {
  EFI_STATUS(EFIAPI* Supported)
  (EFI_DRIVER_BINDING_PROTOCOL* This, EFI_HANDLE ControllerHandle,
   EFI_DEVICE_PATH_PROTOCOL* RemainingDevicePath);
  EFI_STATUS(EFIAPI* Start)
  (EFI_DRIVER_BINDING_PROTOCOL* This, EFI_HANDLE ControllerHandle,
   EFI_DEVICE_PATH_PROTOCOL* RemainingDevicePath);
  EFI_STATUS(EFIAPI* Stop)
  (EFI_DRIVER_BINDING_PROTOCOL* This, EFI_HANDLE ControllerHandle, UINTN NumberOfChildren,
   EFI_HANDLE* ChildHandleBuffer);
  UINT32 Version;
  EFI_HANDLE ImageHandle;
  EFI_HANDLE DriverBindingHandle;
};
static_assert(offsetof(EFI_DRIVER_BINDING_PROTOCOL, Version) == 24);
static_assert(sizeof(EFI_DRIVER_BINDING_PROTOCOL) == 48);
