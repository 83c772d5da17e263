// The restart: when the firmware installs the restart trigger protocol while
// the utility runs, the notification only raises a flag; the next pointer
// poll (a point where nothing is half drawn) unwinds to the restart point in
// the entry point, which builds the screen again without binding again.
#include "core/startup.h"

EFI_EVENT RestartEvent;

void EFIAPI RestartNotify(EFI_EVENT, void*) {
  // Runs at TPL_CALLBACK: no drawing and no unwinding here. Closing the event
  // makes a second installation of the protocol go unnoticed until the
  // restart pass registers anew.
  if (RestartEvent == nullptr) return;
  RestartPending = 1;
  BootServices->CloseEvent(RestartEvent);
  RestartEvent = nullptr;
}

void CloseRestartEvent() {
  if (RestartEvent == nullptr) return;
  BootServices->CloseEvent(RestartEvent);
  RestartEvent = nullptr;
}

void ArmRestart() {
  RestartPending = 0;
  RestartEvent = nullptr;
  BootServices->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, RestartNotify, nullptr, &RestartEvent);
  void* registration = nullptr;
  BootServices->RegisterProtocolNotify(&kRestartTriggerGuid, RestartEvent, &registration);
}
