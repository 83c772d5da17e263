// Pointer input and the arrow cursor.
#pragma once

#include "graphics/cursor.h"
#include "platform/efi.h"
#include "platform/efi_pointer.h"

EFI_STATUS Quorvex_MouseInit(UINT64 Argument1, UINT64 Argument2);
void Quorvex_MousePoll();
void Quorvex_MouseDrain();
// The input events of the listed pointer devices, at most Capacity of them,
// for a wait; none when the devices changed since the last poll.
UINT64 Quorvex_Mouse_WaitEvents(EFI_EVENT* Events, UINT64 Capacity);

// Pointer state shown or hidden, and the key-reading wrappers that turn
// help-bar clicks into F1, F9, F10 and Esc.
EFI_STATUS EFIAPI Quorvex_MouseReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* This,
                                             EFI_INPUT_KEY* Key);
void Quorvex_HelpBarClick();
// The click handlers that follow the help bar's (the pages' chain); Touch
// tells a touch-panel contact from a mouse button.
using ClickChainRoutine = EFI_STATUS (*)(bool Touch);
void Quorvex_Mouse_SetClickChain(ClickChainRoutine Chain);
// True while a modal window or an item action owns the pointer: the help bar
// and the pages' items ignore clicks then.
bool Quorvex_PointerBusy();
// Host tests: puts the console's and the extended key-code protocol's own
// readers back where the wrappers still sit on them (while the firmware that
// owns them is alive).
void Quorvex_Mouse_RemoveWrappers();
// Host tests: every pointer global back to its power-on value (the firmware
// that held the lists is gone; nothing is freed).
void Quorvex_Mouse_Reset();
