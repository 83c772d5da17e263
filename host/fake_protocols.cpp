// The fake firmware's protocol database and events: handles carrying
// (GUID, interface) pairs, lookups in installation order, protocol
// notifications signalled synchronously on installation, and events with
// notification functions dispatched by TPL.
#include <algorithm>
#include <cstring>

#include "host/fake_internal.h"

namespace fake::detail {

namespace {

constexpr UINT32 kOpenProtocolTestProtocol = 0x00000004;

const EFI_GUID* Intern(const EFI_GUID& Guid) {
  for (const EFI_GUID& known : g->InternedGuids)
    if (GuidEqual(known, Guid)) return &known;
  g->InternedGuids.push_back(Guid);
  return &g->InternedGuids.back();
}

ProtocolEntry* FindEntry(HandleRec* Handle, const EFI_GUID& Guid) {
  for (ProtocolEntry& entry : Handle->Protocols)
    if (GuidEqual(*entry.Guid, Guid)) return &entry;
  return nullptr;
}

// A visible entry: installed and not hidden.
ProtocolEntry* FindVisible(HandleRec* Handle, const EFI_GUID& Guid) {
  if (IsHidden(Guid)) return nullptr;
  return FindEntry(Handle, Guid);
}

NotifyRegistration* FindRegistration(void* Registration) {
  for (auto& reg : g->Registrations)
    if (reg.get() == Registration && reg->Live) return reg.get();
  return nullptr;
}

// The next handle new to a registration that still carries its protocol.
HandleRec* PeekFresh(NotifyRegistration* Reg) {
  while (!Reg->Fresh.empty()) {
    HandleRec* handle = Reg->Fresh.front();
    if (handle->Live && FindVisible(handle, Reg->Guid)) return handle;
    Reg->Fresh.pop_front();
  }
  return nullptr;
}

void NotifyInstalled(HandleRec* Handle, const EFI_GUID& Guid) {
  if (IsHidden(Guid)) return;
  // Collect first: a notification may register, close or install in turn.
  std::vector<NotifyRegistration*> regs;
  for (auto& reg : g->Registrations)
    if (reg->Live && GuidEqual(reg->Guid, Guid)) regs.push_back(reg.get());
  for (NotifyRegistration* reg : regs) reg->Fresh.push_back(Handle);
  for (NotifyRegistration* reg : regs)
    if (reg->Live) Signal(reg->Event);
}

// Handles that carry a visible protocol, in the order of installation of
// that protocol (the order a firmware's protocol list keeps).
std::vector<HandleRec*> HandlesByProtocol(const EFI_GUID& Guid) {
  std::vector<std::pair<UINT64, HandleRec*>> found;
  for (auto& handle : g->Handles) {
    if (!handle->Live) continue;
    if (ProtocolEntry* entry = FindVisible(handle.get(), Guid))
      found.emplace_back(entry->Serial, handle.get());
  }
  std::sort(found.begin(), found.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<HandleRec*> handles;
  for (auto& [serial, handle] : found) handles.push_back(handle);
  return handles;
}

// The search shared by LocateHandle and LocateHandleBuffer. Registration
// searches give one handle at a time.
EFI_STATUS Search(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID* Protocol, void* SearchKey,
                  std::vector<HandleRec*>* Result, NotifyRegistration** Reg) {
  *Reg = nullptr;
  switch (SearchType) {
  case AllHandles:
    for (auto& handle : g->Handles)
      if (handle->Live) Result->push_back(handle.get());
    return EFI_SUCCESS;
  case ByProtocol:
    if (Protocol == nullptr) return EFI_INVALID_PARAMETER;
    *Result = HandlesByProtocol(*Protocol);
    return EFI_SUCCESS;
  case ByRegisterNotify: {
    NotifyRegistration* reg = FindRegistration(SearchKey);
    if (reg == nullptr) return EFI_INVALID_PARAMETER;
    if (HandleRec* handle = PeekFresh(reg)) Result->push_back(handle);
    *Reg = reg;
    return EFI_SUCCESS;
  }
  }
  return EFI_INVALID_PARAMETER;
}

// ---------------------------------------------------------------------------
// Boot services: protocols
// ---------------------------------------------------------------------------
EFI_STATUS EFIAPI InstallProtocolInterface(EFI_HANDLE* Handle, const EFI_GUID* Protocol,
                                           EFI_INTERFACE_TYPE InterfaceType, void* Interface) {
  if (Handle == nullptr || Protocol == nullptr || InterfaceType != EFI_NATIVE_INTERFACE)
    return EFI_INVALID_PARAMETER;
  return Install(Handle, *Protocol, Interface);
}

EFI_STATUS EFIAPI ReinstallProtocolInterface(EFI_HANDLE Handle, const EFI_GUID* Protocol,
                                             void* OldInterface, void* NewInterface) {
  if (Protocol == nullptr) return EFI_INVALID_PARAMETER;
  HandleRec* handle = FindHandle(Handle);
  if (handle == nullptr) return EFI_INVALID_PARAMETER;
  ProtocolEntry* entry = FindEntry(handle, *Protocol);
  if (entry == nullptr || entry->Interface != OldInterface) return EFI_NOT_FOUND;
  entry->Interface = NewInterface;
  NotifyInstalled(handle, *Protocol);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI UninstallProtocolInterface(EFI_HANDLE Handle, const EFI_GUID* Protocol,
                                             void* Interface) {
  if (Protocol == nullptr) return EFI_INVALID_PARAMETER;
  HandleRec* handle = FindHandle(Handle);
  if (handle == nullptr) return EFI_INVALID_PARAMETER;
  auto it = std::find_if(handle->Protocols.begin(), handle->Protocols.end(),
                         [&](const ProtocolEntry& e) { return GuidEqual(*e.Guid, *Protocol); });
  if (it == handle->Protocols.end() || it->Interface != Interface) return EFI_NOT_FOUND;
  handle->Protocols.erase(it);
  // A handle without protocols no longer exists. Its record is kept (dead)
  // so that a stale handle is refused instead of read after free.
  if (handle->Protocols.empty()) handle->Live = false;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI HandleProtocol(EFI_HANDLE Handle, const EFI_GUID* Protocol, void** Interface) {
  if (Protocol == nullptr || Interface == nullptr) return EFI_INVALID_PARAMETER;
  *Interface = nullptr;
  HandleRec* handle = FindHandle(Handle);
  if (handle == nullptr) return EFI_INVALID_PARAMETER;
  ProtocolEntry* entry = FindVisible(handle, *Protocol);
  if (entry == nullptr) return EFI_UNSUPPORTED;
  *Interface = entry->Interface;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI OpenProtocol(EFI_HANDLE Handle, const EFI_GUID* Protocol, void** Interface,
                               EFI_HANDLE, EFI_HANDLE, UINT32 Attributes) {
  if (Protocol == nullptr) return EFI_INVALID_PARAMETER;
  if (Attributes != kOpenProtocolTestProtocol && Interface == nullptr) return EFI_INVALID_PARAMETER;
  if (Interface) *Interface = nullptr;
  HandleRec* handle = FindHandle(Handle);
  if (handle == nullptr) return EFI_INVALID_PARAMETER;
  ProtocolEntry* entry = FindVisible(handle, *Protocol);
  if (entry == nullptr) return EFI_UNSUPPORTED;
  if (Interface && Attributes != kOpenProtocolTestProtocol) *Interface = entry->Interface;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI CloseProtocol(EFI_HANDLE Handle, const EFI_GUID* Protocol, EFI_HANDLE,
                                EFI_HANDLE) {
  if (Protocol == nullptr) return EFI_INVALID_PARAMETER;
  HandleRec* handle = FindHandle(Handle);
  if (handle == nullptr) return EFI_INVALID_PARAMETER;
  return FindVisible(handle, *Protocol) ? EFI_SUCCESS : EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI OpenProtocolInformation(EFI_HANDLE, const EFI_GUID*, void**, UINTN*) {
  return Unsupported("OpenProtocolInformation");
}

EFI_STATUS EFIAPI ProtocolsPerHandle(EFI_HANDLE Handle, EFI_GUID*** ProtocolBuffer,
                                     UINTN* ProtocolBufferCount) {
  if (ProtocolBuffer == nullptr || ProtocolBufferCount == nullptr) return EFI_INVALID_PARAMETER;
  *ProtocolBuffer = nullptr;
  *ProtocolBufferCount = 0;
  HandleRec* handle = FindHandle(Handle);
  if (handle == nullptr) return EFI_INVALID_PARAMETER;
  std::vector<const EFI_GUID*> guids;
  for (const ProtocolEntry& entry : handle->Protocols)
    if (!IsHidden(*entry.Guid)) guids.push_back(entry.Guid);
  if (guids.empty()) return EFI_NOT_FOUND;
  auto* buffer = static_cast<EFI_GUID**>(PoolAllocate(guids.size() * sizeof(EFI_GUID*)));
  if (buffer == nullptr) return EFI_OUT_OF_RESOURCES;
  for (size_t i = 0; i < guids.size(); ++i) buffer[i] = const_cast<EFI_GUID*>(guids[i]);
  *ProtocolBuffer = buffer;
  *ProtocolBufferCount = guids.size();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI RegisterProtocolNotify(const EFI_GUID* Protocol, EFI_EVENT Event,
                                         void** Registration) {
  if (Protocol == nullptr || Registration == nullptr) return EFI_INVALID_PARAMETER;
  EventRec* event = FindEvent(Event);
  if (event == nullptr) return EFI_INVALID_PARAMETER;
  auto reg = std::make_unique<NotifyRegistration>();
  reg->Guid = *Protocol;
  reg->Event = event;
  *Registration = reg.get();
  g->Registrations.push_back(std::move(reg));
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI LocateHandle(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID* Protocol,
                               void* SearchKey, UINTN* BufferSize, EFI_HANDLE* Buffer) {
  if (BufferSize == nullptr) return EFI_INVALID_PARAMETER;
  if (Buffer == nullptr && *BufferSize > 0) return EFI_INVALID_PARAMETER;
  std::vector<HandleRec*> found;
  NotifyRegistration* reg = nullptr;
  EFI_STATUS status = Search(SearchType, Protocol, SearchKey, &found, &reg);
  if (EFI_ERROR(status)) return status;
  if (found.empty()) return EFI_NOT_FOUND;
  const UINTN needed = found.size() * sizeof(EFI_HANDLE);
  // Like the firmware: the handles that fit are written even when the
  // buffer is too small for all of them.
  const UINTN fit = *BufferSize / sizeof(EFI_HANDLE);
  for (size_t i = 0; i < found.size() && i < fit; ++i) Buffer[i] = found[i];
  *BufferSize = needed;
  if (needed > fit * sizeof(EFI_HANDLE)) return EFI_BUFFER_TOO_SMALL;
  if (reg) reg->Fresh.pop_front();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI LocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID* Protocol,
                                     void* SearchKey, UINTN* NoHandles, EFI_HANDLE** Buffer) {
  if (NoHandles == nullptr || Buffer == nullptr) return EFI_INVALID_PARAMETER;
  *NoHandles = 0;
  *Buffer = nullptr;
  std::vector<HandleRec*> found;
  NotifyRegistration* reg = nullptr;
  EFI_STATUS status = Search(SearchType, Protocol, SearchKey, &found, &reg);
  if (EFI_ERROR(status)) return status;
  if (found.empty()) return EFI_NOT_FOUND;
  auto* handles = static_cast<EFI_HANDLE*>(PoolAllocate(found.size() * sizeof(EFI_HANDLE)));
  if (handles == nullptr) return EFI_OUT_OF_RESOURCES;
  for (size_t i = 0; i < found.size(); ++i) handles[i] = found[i];
  if (reg) reg->Fresh.pop_front();
  *NoHandles = found.size();
  *Buffer = handles;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI LocateProtocol(const EFI_GUID* Protocol, void* Registration, void** Interface) {
  if (Protocol == nullptr || Interface == nullptr) return EFI_INVALID_PARAMETER;
  *Interface = nullptr;
  if (Registration != nullptr) {
    NotifyRegistration* reg = FindRegistration(Registration);
    if (reg == nullptr) return EFI_NOT_FOUND;
    HandleRec* handle = PeekFresh(reg);
    if (handle == nullptr) return EFI_NOT_FOUND;
    reg->Fresh.pop_front();
    *Interface = FindVisible(handle, *Protocol)->Interface;
    return EFI_SUCCESS;
  }
  std::vector<HandleRec*> handles = HandlesByProtocol(*Protocol);
  if (handles.empty()) return EFI_NOT_FOUND;
  *Interface = FindVisible(handles.front(), *Protocol)->Interface;
  return EFI_SUCCESS;
}

// ---------------------------------------------------------------------------
// Boot services: events
// ---------------------------------------------------------------------------
bool ValidEventTpl(EFI_TPL Tpl) {
  return Tpl == TPL_APPLICATION || Tpl == TPL_CALLBACK || Tpl == TPL_NOTIFY || Tpl == 31;
}

EFI_STATUS EFIAPI CreateEvent(UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction,
                              void* NotifyContext, EFI_EVENT* Event) {
  if (Event == nullptr) return EFI_INVALID_PARAMETER;
  constexpr UINT32 kKnown = EVT_TIMER | EVT_NOTIFY_WAIT | EVT_NOTIFY_SIGNAL | 0x40000000u;
  if (Type & ~kKnown) return EFI_INVALID_PARAMETER;
  const bool signal = Type & EVT_NOTIFY_SIGNAL;
  const bool wait = Type & EVT_NOTIFY_WAIT;
  if (signal && wait) return EFI_INVALID_PARAMETER;
  if (signal || wait) {
    if (NotifyFunction == nullptr || !ValidEventTpl(NotifyTpl)) return EFI_INVALID_PARAMETER;
  }
  *Event = NewEvent(Type, NotifyTpl, NotifyFunction, NotifyContext);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI CreateEventEx(UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction,
                                const void* NotifyContext, const EFI_GUID*, EFI_EVENT* Event) {
  return CreateEvent(Type, NotifyTpl, NotifyFunction, const_cast<void*>(NotifyContext), Event);
}

EFI_STATUS EFIAPI CloseEvent(EFI_EVENT Event) {
  EventRec* event = FindEvent(Event);
  if (event == nullptr) return EFI_INVALID_PARAMETER;
  event->Live = false;
  event->NotifyPending = false;
  // Closing an event ends the protocol notifications it was registered for.
  for (auto& reg : g->Registrations)
    if (reg->Event == event) reg->Live = false;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SignalEvent(EFI_EVENT Event) {
  EventRec* event = FindEvent(Event);
  if (event == nullptr) return EFI_INVALID_PARAMETER;
  Signal(event);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI CheckEvent(EFI_EVENT Event) {
  EventRec* event = FindEvent(Event);
  if (event == nullptr) return EFI_INVALID_PARAMETER;
  if (event->Type & EVT_NOTIFY_SIGNAL) return EFI_INVALID_PARAMETER;
  if (!event->Signalled && (event->Type & EVT_NOTIFY_WAIT) && event->Notify) {
    EFI_TPL saved = g->Tpl;
    g->Tpl = event->Tpl;
    event->Notify(event, event->Context);
    g->Tpl = saved;
  }
  if (!event->Signalled) return EFI_NOT_READY;
  event->Signalled = false;
  return EFI_SUCCESS;
}

} // namespace

HandleRec* FindHandle(EFI_HANDLE Handle) {
  if (Handle == nullptr) return nullptr;
  for (auto& handle : g->Handles)
    if (handle.get() == Handle) return handle->Live ? handle.get() : nullptr;
  return nullptr;
}

EventRec* FindEvent(EFI_EVENT Event) {
  if (Event == nullptr) return nullptr;
  for (auto& event : g->Events)
    if (event.get() == Event) return event->Live ? event.get() : nullptr;
  return nullptr;
}

bool IsHidden(const EFI_GUID& Guid) {
  for (const EFI_GUID& hidden : g->Hidden)
    if (GuidEqual(hidden, Guid)) return true;
  return false;
}

EFI_STATUS Install(EFI_HANDLE* Handle, const EFI_GUID& Guid, void* Interface) {
  HandleRec* handle = nullptr;
  if (*Handle != nullptr) {
    handle = FindHandle(*Handle);
    if (handle == nullptr) return EFI_INVALID_PARAMETER;
    if (FindEntry(handle, Guid)) return EFI_INVALID_PARAMETER;
  } else {
    auto fresh = std::make_unique<HandleRec>();
    fresh->Serial = g->NextHandleSerial++;
    handle = fresh.get();
    g->Handles.push_back(std::move(fresh));
    *Handle = handle;
  }
  handle->Protocols.push_back({Intern(Guid), Interface, g->NextInstallSerial++});
  NotifyInstalled(handle, Guid);
  return EFI_SUCCESS;
}

EFI_EVENT NewEvent(UINT32 Type, EFI_TPL Tpl, EFI_EVENT_NOTIFY Notify, void* Context) {
  auto event = std::make_unique<EventRec>();
  event->Type = Type;
  event->Tpl = Tpl;
  event->Notify = Notify;
  event->Context = Context;
  event->Serial = g->NextEventSerial++;
  EFI_EVENT handle = event.get();
  g->Events.push_back(std::move(event));
  return handle;
}

void SetUpProtocolServices(State& S) {
  EFI_BOOT_SERVICES& bs = S.BootServices;
  bs.CreateEvent = CreateEvent;
  bs.CreateEventEx = CreateEventEx;
  bs.SignalEvent = SignalEvent;
  bs.CloseEvent = CloseEvent;
  bs.CheckEvent = CheckEvent;
  bs.InstallProtocolInterface = InstallProtocolInterface;
  bs.ReinstallProtocolInterface = ReinstallProtocolInterface;
  bs.UninstallProtocolInterface = UninstallProtocolInterface;
  bs.HandleProtocol = HandleProtocol;
  bs.RegisterProtocolNotify = RegisterProtocolNotify;
  bs.LocateHandle = LocateHandle;
  bs.OpenProtocol = OpenProtocol;
  bs.CloseProtocol = CloseProtocol;
  bs.OpenProtocolInformation = OpenProtocolInformation;
  bs.ProtocolsPerHandle = ProtocolsPerHandle;
  bs.LocateHandleBuffer = LocateHandleBuffer;
  bs.LocateProtocol = LocateProtocol;
}

} // namespace fake::detail

namespace fake {

using namespace detail;

void RemoveProtocol(const EFI_GUID& Guid) {
  for (auto& handle : g->Handles) {
    if (!handle->Live) continue;
    for (auto it = handle->Protocols.begin(); it != handle->Protocols.end();) {
      if (GuidEqual(*it->Guid, Guid))
        it = handle->Protocols.erase(it);
      else
        ++it;
    }
    if (handle->Protocols.empty()) handle->Live = false;
  }
}

void HideProtocol(const EFI_GUID& Guid, bool Hidden) {
  auto& list = g->Hidden;
  list.erase(std::remove_if(list.begin(), list.end(),
                            [&](const EFI_GUID& h) { return GuidEqual(h, Guid); }),
             list.end());
  if (Hidden) list.push_back(Guid);
}

bool IsLiveHandle(EFI_HANDLE Handle) {
  return FindHandle(Handle) != nullptr;
}

size_t HandleCount() {
  size_t count = 0;
  for (auto& handle : g->Handles) count += handle->Live ? 1 : 0;
  return count;
}

size_t LiveEventCount() {
  size_t count = 0;
  for (auto& event : g->Events) count += event->Live ? 1 : 0;
  return count;
}

size_t NotifyRegistrationCount() {
  size_t count = 0;
  for (auto& reg : g->Registrations) count += reg->Live ? 1 : 0;
  return count;
}

} // namespace fake
