// Off-screen composition: while buffered, the GOP instance's Blt draws into a
// full-screen pool buffer; Flush copies the recorded rectangle to the screen.
#pragma once

#include "platform/efi.h"

EFI_STATUS Quorvex_DoubleBuffer_Start(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height);
void Quorvex_DoubleBuffer_Flush();
void Quorvex_DoubleBuffer_Stop();
// True while the buffered Blt is installed.
bool Quorvex_DoubleBuffer_Active();
