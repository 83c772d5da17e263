// The USB pointer driver against a fake USB I/O interface: which interfaces
// it takes, reports turned into GetState answers and WaitForInput signals,
// bad reports ignored, everything cancelled and uninstalled by Stop.
#include <cstring>
#include <vector>

#include "platform/usb_io.h"
#include "reference_platform/usb_hid_pointer.h"
#include "tests/unit/refplat_fixture.h"
#include "tests/unit/usb_hid_descriptors.h"

namespace {

using usb_hid_test::Bytes;
const Bytes& kTabletReport = usb_hid_test::kQemuTablet;
const Bytes& kMouseReport = usb_hid_test::kQemuMouse;

const Bytes kKeyboardReport = {0x05, 0x01, 0x09, 0x06, 0xA1, 0x01, 0x05, 0x07,
                               0x19, 0xE0, 0x29, 0xE7, 0x15, 0x00, 0x25, 0x01,
                               0x75, 0x01, 0x95, 0x08, 0x81, 0x02, 0xC0};

// One HID interface behind a fake USB I/O protocol.
struct FakeHid {
  EFI_USB_IO_PROTOCOL Protocol = {};
  EFI_USB_INTERFACE_DESCRIPTOR Interface = {9, 4, 0, 0, 1, 3, 0, 0, 0};
  Bytes Report;
  bool ReportRequestFails = false;
  Bytes FeatureReport; // what GET_REPORT answers (empty: a stall)
  Bytes SetReport;     // what SET_REPORT last wrote
  std::vector<EFI_USB_DEVICE_REQUEST> ClassRequests;
  EFI_ASYNC_USB_TRANSFER_CALLBACK Callback = nullptr;
  void* Context = nullptr;
  UINTN TransferLength = 0;
  int Starts = 0;
  int Cancels = 0;
  EFI_HANDLE Handle = nullptr;

  Bytes Config() const {
    const UINT8 low = static_cast<UINT8>(Report.size());
    const UINT8 high = static_cast<UINT8>(Report.size() >> 8);
    const UINT8 sub = Interface.InterfaceSubClass, proto = Interface.InterfaceProtocol;
    // Configuration, interface, HID (report descriptor length) and endpoint.
    return {0x09, 0x02, 0x22, 0x00, 0x01,  0x01, 0x00, 0xA0, 0x32, 0x09, 0x04, 0x00,
            0x00, 0x01, 0x03, sub,  proto, 0x00, 0x09, 0x21, 0x11, 0x01, 0x00, 0x01,
            0x22, low,  high, 0x07, 0x05,  0x81, 0x03, 0x08, 0x00, 0x0A};
  }

  // Delivers a report as the host controller would (Status 0: no error).
  void Send(const Bytes& Data, UINT32 Status = 0) {
    ASSERT_NE(Callback, nullptr);
    Bytes copy = Data;
    Callback(copy.empty() ? nullptr : copy.data(), copy.size(), Context, Status);
  }
};

std::vector<FakeHid*> gFakes;

FakeHid* Find(EFI_USB_IO_PROTOCOL* This) {
  for (FakeHid* f : gFakes)
    if (&f->Protocol == This) return f;
  return nullptr;
}

EFI_STATUS EFIAPI Control(EFI_USB_IO_PROTOCOL* This, EFI_USB_DEVICE_REQUEST* Request,
                          EFI_USB_DATA_DIRECTION, UINT32, void* Data, UINTN Length,
                          UINT32* Status) {
  FakeHid* f = Find(This);
  *Status = 0;
  const Bytes* source = nullptr;
  Bytes config;
  if (Request->Request == kUsbRequestGetDescriptor) {
    if (Request->RequestType == 0x80 && (Request->Value >> 8) == kUsbDescriptorConfiguration) {
      config = f->Config();
      source = &config;
    } else if (Request->RequestType == 0x81 && (Request->Value >> 8) == kUsbDescriptorHidReport) {
      if (f->ReportRequestFails) return EFI_DEVICE_ERROR;
      source = &f->Report;
    } else {
      return EFI_DEVICE_ERROR;
    }
    EXPECT_LE(Length, source->size());
    std::memcpy(Data, source->data(), std::min<size_t>(Length, source->size()));
    return EFI_SUCCESS;
  }
  f->ClassRequests.push_back(*Request);
  if (Request->RequestType == 0xA1 && Request->Request == kHidRequestGetReport) {
    if (f->FeatureReport.size() != Length) return EFI_DEVICE_ERROR;
    std::memcpy(Data, f->FeatureReport.data(), Length);
  } else if (Request->Request == kHidRequestSetReport) {
    const UINT8* bytes = static_cast<const UINT8*>(Data);
    f->SetReport.assign(bytes, bytes + Length);
  }
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI AsyncInterrupt(EFI_USB_IO_PROTOCOL* This, UINT8 Endpoint, BOOLEAN IsNew,
                                 UINTN Interval, UINTN Length,
                                 EFI_ASYNC_USB_TRANSFER_CALLBACK Callback, void* Context) {
  FakeHid* f = Find(This);
  EXPECT_EQ(Endpoint, 0x81);
  if (!IsNew) {
    ++f->Cancels;
    f->Callback = nullptr;
    return EFI_SUCCESS;
  }
  EXPECT_GE(Interval, 1u);
  ++f->Starts;
  f->Callback = Callback;
  f->Context = Context;
  f->TransferLength = Length;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI DeviceDescriptor(EFI_USB_IO_PROTOCOL*, EFI_USB_DEVICE_DESCRIPTOR* D) {
  *D = {};
  D->NumConfigurations = 1;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ConfigDescriptor(EFI_USB_IO_PROTOCOL* This, EFI_USB_CONFIG_DESCRIPTOR* D) {
  const Bytes config = Find(This)->Config();
  std::memcpy(D, config.data(), sizeof(*D));
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI InterfaceDescriptor(EFI_USB_IO_PROTOCOL* This, EFI_USB_INTERFACE_DESCRIPTOR* D) {
  *D = Find(This)->Interface;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI EndpointDescriptor(EFI_USB_IO_PROTOCOL*, UINT8 Index,
                                     EFI_USB_ENDPOINT_DESCRIPTOR* D) {
  if (Index != 0) return EFI_NOT_FOUND;
  *D = {7, 5, 0x81, 0x03, 8, 10};
  return EFI_SUCCESS;
}

class UsbHidPointerTest : public RefPlatTest {
protected:
  void TearDown() override {
    UsbHidPointer_Stop();
    for (FakeHid* f : gFakes) delete f;
    gFakes.clear();
    RefPlatTest::TearDown();
  }

  FakeHid* Add(const Bytes& Report, UINT8 SubClass = 0, UINT8 Protocol = 0) {
    auto* f = new FakeHid;
    f->Report = Report;
    f->Interface.InterfaceSubClass = SubClass;
    f->Interface.InterfaceProtocol = Protocol;
    f->Protocol.UsbControlTransfer = Control;
    f->Protocol.UsbAsyncInterruptTransfer = AsyncInterrupt;
    f->Protocol.UsbGetDeviceDescriptor = DeviceDescriptor;
    f->Protocol.UsbGetConfigDescriptor = ConfigDescriptor;
    f->Protocol.UsbGetInterfaceDescriptor = InterfaceDescriptor;
    f->Protocol.UsbGetEndpointDescriptor = EndpointDescriptor;
    gFakes.push_back(f);
    EXPECT_EQ(fake::BootServices()->InstallProtocolInterface(&f->Handle, &kUsbIoGuid,
                                                             EFI_NATIVE_INTERFACE, &f->Protocol),
              EFI_SUCCESS);
    return f;
  }

  template <typename T> static T* On(FakeHid* F, const EFI_GUID& Guid) {
    void* found = nullptr;
    if (EFI_ERROR(fake::BootServices()->HandleProtocol(F->Handle, &Guid, &found))) return nullptr;
    return static_cast<T*>(found);
  }

  static bool SentClassRequest(const FakeHid* F, UINT8 Request, UINT16 Value) {
    for (const EFI_USB_DEVICE_REQUEST& r : F->ClassRequests)
      if (r.RequestType == 0x21 && r.Request == Request && r.Value == Value) return true;
    return false;
  }
};

TEST_F(UsbHidPointerTest, TabletBecomesAnAbsolutePointerUntilStop) {
  FakeHid* tablet = Add(kTabletReport);
  testing::internal::CaptureStderr();
  ASSERT_EQ(UsbHidPointer_Start(nullptr), 1u);
  auto* p = On<EFI_ABSOLUTE_POINTER_PROTOCOL>(tablet, kAbsolutePointerGuid);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(On<EFI_SIMPLE_POINTER_PROTOCOL>(tablet, kSimplePointerGuid), nullptr);
  EXPECT_EQ(p->Mode->AbsoluteMaxX, 0x7FFFu);
  EXPECT_TRUE(SentClassRequest(tablet, kHidRequestSetIdle, 0));
  EXPECT_GE(tablet->TransferLength, 6u);

  EFI_ABSOLUTE_POINTER_STATE state = {};
  EXPECT_EQ(p->GetState(p, &state), EFI_NOT_READY);
  EXPECT_EQ(fake::BootServices()->CheckEvent(p->WaitForInput), EFI_NOT_READY);
  tablet->Send({0x00, 0x00, 0x40, 0x00, 0x20, 0x00});
  EXPECT_EQ(fake::BootServices()->CheckEvent(p->WaitForInput), EFI_SUCCESS);
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_EQ(state.CurrentX, 0x4000u);
  EXPECT_EQ(state.CurrentY, 0x2000u);
  EXPECT_EQ(state.ActiveButtons, 0u);
  EXPECT_EQ(p->GetState(p, &state), EFI_NOT_READY); // handed out once

  // Button down, then a short and an oversized report, which change nothing.
  tablet->Send({0x01, 0x00, 0x40, 0x00, 0x20, 0x00});
  tablet->Send({0x00, 0x00});
  tablet->Send({0x00, 0x00, 0x10, 0x00, 0x10, 0x00, 0x00, 0x00});
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_EQ(state.ActiveButtons, 1u);
  EXPECT_EQ(state.CurrentX, 0x4000u);
  // The same report again is no news.
  tablet->Send({0x01, 0x00, 0x40, 0x00, 0x20, 0x00});
  EXPECT_EQ(p->GetState(p, &state), EFI_NOT_READY);

  // A tap that begins and ends between two polls is handed out once as a
  // contact, then the lifted state.
  tablet->Send({0x00, 0x00, 0x40, 0x00, 0x20, 0x00});
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  tablet->Send({0x01, 0x00, 0x50, 0x00, 0x20, 0x00});
  tablet->Send({0x00, 0x00, 0x50, 0x00, 0x20, 0x00});
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_EQ(state.ActiveButtons, 1u);
  EXPECT_EQ(state.CurrentX, 0x5000u);
  tablet->Send({0x00, 0x00, 0x51, 0x00, 0x20, 0x00});
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_EQ(state.ActiveButtons, 0u);

  // A foreign This is refused.
  EFI_ABSOLUTE_POINTER_PROTOCOL other = *p;
  EXPECT_EQ(p->GetState(&other, &state), EFI_INVALID_PARAMETER);

  UsbHidPointer_Stop();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(tablet->Cancels, 1);
  EXPECT_EQ(tablet->Callback, nullptr);
  EXPECT_EQ(On<EFI_ABSOLUTE_POINTER_PROTOCOL>(tablet, kAbsolutePointerGuid), nullptr);
  EXPECT_NE(On<EFI_USB_IO_PROTOCOL>(tablet, kUsbIoGuid), nullptr);
}

TEST_F(UsbHidPointerTest, TouchScreenIsSwitchedToTouchInput) {
  FakeHid* screen = Add(usb_hid_test::kTouchScreen);
  // Input Mode 0 (mouse), Device Index 7: the index is kept.
  screen->FeatureReport = {0x04, 0x00, 0x07};
  FakeHid* stalls = Add(usb_hid_test::kTouchScreen);
  testing::internal::CaptureStderr();
  ASSERT_EQ(UsbHidPointer_Start(nullptr), 2u);
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(SentClassRequest(screen, kHidRequestSetReport, 0x0304));
  EXPECT_EQ(screen->SetReport, (Bytes{0x04, 0x02, 0x07}));
  EXPECT_EQ(stalls->SetReport, (Bytes{0x04, 0x02, 0x00}));

  auto* p = On<EFI_ABSOLUTE_POINTER_PROTOCOL>(screen, kAbsolutePointerGuid);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->Mode->AbsoluteMaxX, 4095u);
  EXPECT_EQ(p->Mode->AbsoluteMaxY, 2559u);
  // A finger down; then the mouse collection's report, which is not the
  // pointer's and changes nothing.
  screen->Send({0x01, 0x03, 0x00, 0x00, 0x08, 0x00, 0x05, 0x01});
  screen->Send({0x02, 0x01, 0x05, 0x05});
  EFI_ABSOLUTE_POINTER_STATE state = {};
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_EQ(state.CurrentX, 0x800u);
  EXPECT_EQ(state.CurrentY, 0x500u);
  EXPECT_EQ(state.ActiveButtons, 1u);
  EXPECT_EQ(p->GetState(p, &state), EFI_NOT_READY);
}

TEST_F(UsbHidPointerTest, MouseMovementAccumulatesUntilRead) {
  FakeHid* mouse = Add(kMouseReport, kUsbHidSubclassBoot, kUsbHidProtocolMouse);
  testing::internal::CaptureStderr();
  ASSERT_EQ(UsbHidPointer_Start(nullptr), 1u);
  testing::internal::GetCapturedStderr();
  auto* p = On<EFI_SIMPLE_POINTER_PROTOCOL>(mouse, kSimplePointerGuid);
  ASSERT_NE(p, nullptr);
  EXPECT_TRUE(p->Mode->LeftButton && p->Mode->RightButton);
  // A boot-class mouse is kept in (or put back into) the report protocol.
  EXPECT_TRUE(SentClassRequest(mouse, kHidRequestSetProtocol, kHidProtocolReport));

  mouse->Send({0x00, 0x05, 0xFD, 0x00});
  mouse->Send({0x00, 0x03, 0x01, 0x01});
  EFI_SIMPLE_POINTER_STATE state = {};
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_EQ(state.RelativeMovementX, 8);
  EXPECT_EQ(state.RelativeMovementY, -2);
  EXPECT_EQ(state.RelativeMovementZ, 1);
  EXPECT_FALSE(state.LeftButton);
  EXPECT_EQ(p->GetState(p, &state), EFI_NOT_READY);
  mouse->Send({0x01, 0x00, 0x00, 0x00});
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_TRUE(state.LeftButton);
  EXPECT_EQ(state.RelativeMovementX, 0);
  // A click pressed and released between two polls still counts once.
  mouse->Send({0x00, 0x00, 0x00, 0x00});
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  mouse->Send({0x01, 0x00, 0x00, 0x00});
  mouse->Send({0x00, 0x00, 0x00, 0x00});
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_TRUE(state.LeftButton);
  mouse->Send({0x00, 0x02, 0x00, 0x00});
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_FALSE(state.LeftButton);

  // A transfer error stops the transfer; its reports no longer count.
  mouse->Send({}, 0x4);
  EXPECT_EQ(mouse->Cancels, 1);
  EXPECT_EQ(mouse->Callback, nullptr);
}

TEST_F(UsbHidPointerTest, OnlyPointersAreTaken) {
  FakeHid* bootKeyboard = Add(kKeyboardReport, kUsbHidSubclassBoot, kUsbHidProtocolKeyboard);
  FakeHid* keyboard = Add(kKeyboardReport);
  FakeHid* broken = Add({0x05, 0x01, 0x09, 0x02, 0xA1, 0x01, 0xC0, 0xC0});
  FakeHid* unreadable = Add(kMouseReport);
  unreadable->ReportRequestFails = true;
  FakeHid* bootMouse = Add({0xA1}, kUsbHidSubclassBoot, kUsbHidProtocolMouse);
  testing::internal::CaptureStderr();
  EXPECT_EQ(UsbHidPointer_Start(nullptr), 1u);
  testing::internal::GetCapturedStderr();
  for (FakeHid* f : {bootKeyboard, keyboard, broken, unreadable}) {
    EXPECT_EQ(f->Starts, 0);
    EXPECT_EQ(On<EFI_SIMPLE_POINTER_PROTOCOL>(f, kSimplePointerGuid), nullptr);
    EXPECT_EQ(On<EFI_ABSOLUTE_POINTER_PROTOCOL>(f, kAbsolutePointerGuid), nullptr);
  }
  EXPECT_TRUE(bootKeyboard->ClassRequests.empty());

  // The boot mouse whose report descriptor is unusable runs on the boot
  // protocol's three-byte report.
  EXPECT_TRUE(SentClassRequest(bootMouse, kHidRequestSetProtocol, kHidProtocolBoot));
  auto* p = On<EFI_SIMPLE_POINTER_PROTOCOL>(bootMouse, kSimplePointerGuid);
  ASSERT_NE(p, nullptr);
  bootMouse->Send({0x02, 0x10, 0xF0, 0x00, 0x00});
  EFI_SIMPLE_POINTER_STATE state = {};
  ASSERT_EQ(p->GetState(p, &state), EFI_SUCCESS);
  EXPECT_EQ(state.RelativeMovementX, 16);
  EXPECT_EQ(state.RelativeMovementY, -16);
  EXPECT_TRUE(state.RightButton);
}

// The launcher binds the tablet before the utility starts and lets go of it
// when the utility returns.
FakeHid* gLaunched = nullptr;
bool gUtilitySawPointer = false;

EFI_STATUS EFIAPI PointerUtility(EFI_HANDLE, EFI_SYSTEM_TABLE* System) {
  void* found = nullptr;
  gUtilitySawPointer = !EFI_ERROR(System->BootServices->HandleProtocol(
                           gLaunched->Handle, &kAbsolutePointerGuid, &found)) &&
                       gLaunched->Callback != nullptr;
  return EFI_SUCCESS;
}

TEST_F(UsbHidPointerTest, LauncherStopsTheDriverWhenTheUtilityReturns) {
  gLaunched = Add(kTabletReport);
  gUtilitySawPointer = false;
  fake::SetImageEntry(PointerUtility);
  const EFI_HANDLE launcher = fake::CreateImageHandle(u"\\EFI\\BOOT\\BOOTX64.EFI");
  testing::internal::CaptureStderr();
  fake::RunImage(QuorvexPlatform_EntryPoint, launcher);
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(gUtilitySawPointer);
  EXPECT_EQ(gLaunched->Cancels, 1);
  EXPECT_EQ(On<EFI_ABSOLUTE_POINTER_PROTOCOL>(gLaunched, kAbsolutePointerGuid), nullptr);
}

} // namespace
