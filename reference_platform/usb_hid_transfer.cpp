// Reports in: the interrupt transfer, its recovery after a failure, and each
// report decoded and folded into the state GetState hands out next.
#include "reference_platform/platform_context.h"
#include "reference_platform/usb_hid_device.h"

namespace usb_pointer {

namespace {

// A transfer that failed (a stalled endpoint, a device gone) is tried again
// after this long, at most this many times.
constexpr UINT64 kRecoveryDelay100ns = 10000000; // 1 s
constexpr UINT32 kMaxRecoveries = 5;
constexpr UINT32 kTimerRelative = 2;

INT32 AddClamped(INT32 A, INT32 B) {
  const INT64 sum = static_cast<INT64>(A) + B;
  if (sum > 0x7FFFFFFF) return 0x7FFFFFFF;
  if (sum < -0x7FFFFFFF) return -0x7FFFFFFF;
  return static_cast<INT32>(sum);
}

void Fold(Device* D, const HidPointerSample& S) {
  if (IsAbsolute(D)) {
    EFI_ABSOLUTE_POINTER_STATE next = D->AbsoluteState;
    if (S.InRange) {
      next.CurrentX = static_cast<UINT64>(S.X);
      next.CurrentY = static_cast<UINT64>(S.Y);
    }
    next.ActiveButtons = (S.Contact ? 1u : 0u) | ((S.Buttons & 2) != 0 ? 2u : 0u);
    D->PressedSinceRead |= next.ActiveButtons;
    if (next.CurrentX != D->AbsoluteState.CurrentX || next.CurrentY != D->AbsoluteState.CurrentY ||
        next.ActiveButtons != D->AbsoluteState.ActiveButtons) {
      D->AbsoluteState = next;
      D->Changed = true;
    }
    return;
  }
  EFI_SIMPLE_POINTER_STATE& s = D->SimpleState;
  const BOOLEAN left = (S.Buttons & 1) != 0;
  const BOOLEAN right = (S.Buttons & 2) != 0;
  if (S.X != 0 || S.Y != 0 || S.Wheel != 0 || left != s.LeftButton || right != s.RightButton)
    D->Changed = true;
  s.RelativeMovementX = AddClamped(s.RelativeMovementX, S.X);
  s.RelativeMovementY = AddClamped(s.RelativeMovementY, S.Y);
  s.RelativeMovementZ = AddClamped(s.RelativeMovementZ, S.Wheel);
  s.LeftButton = left;
  s.RightButton = right;
  D->PressedSinceRead |= (left ? 1u : 0u) | (right ? 2u : 0u);
}

EFI_STATUS EFIAPI OnReport(void* Data, UINTN Length, void* Context, UINT32 Status) {
  auto* d = static_cast<Device*>(Context);
  if (Status != 0) {
    // The host controller stops a failed transfer's polling: cancel it and
    // try again later, a few times.
    CancelTransfer(d);
    if (d->RecoveryTimer != nullptr && d->Recoveries < kMaxRecoveries) {
      ++d->Recoveries;
      PlatformBootServices->SetTimer(d->RecoveryTimer, kTimerRelative, kRecoveryDelay100ns);
    }
    return EFI_DEVICE_ERROR;
  }
  d->Recoveries = 0;
  HidPointerSample sample = {};
  if (Length > d->TransferLength) Length = d->TransferLength;
  if (HidReport_Decode(d->Layout, static_cast<const UINT8*>(Data), Length, &sample))
    Fold(d, sample);
  return EFI_SUCCESS;
}

} // namespace

EFI_STATUS StartTransfer(Device* D) {
  const EFI_STATUS status = D->UsbIo->UsbAsyncInterruptTransfer(
      D->UsbIo, D->Endpoint, 1, D->PollingMs, D->TransferLength, OnReport, D);
  D->TransferActive = !EFI_ERROR(status);
  return status;
}

void CancelTransfer(Device* D) {
  if (!D->TransferActive) return;
  D->UsbIo->UsbAsyncInterruptTransfer(D->UsbIo, D->Endpoint, 0, 0, 0, nullptr, nullptr);
  D->TransferActive = false;
}

void EFIAPI Recover(EFI_EVENT, void* Context) {
  auto* d = static_cast<Device*>(Context);
  if (d->TransferActive) return;
  EFI_USB_DEVICE_REQUEST clear = {0x02, 0x01, 0, d->Endpoint, 0}; // CLEAR_FEATURE(ENDPOINT_HALT)
  UINT32 usbStatus = 0;
  d->UsbIo->UsbControlTransfer(d->UsbIo, &clear, EfiUsbNoData, kControlTimeoutMs, nullptr, 0,
                               &usbStatus);
  StartTransfer(d);
}

} // namespace usb_pointer
