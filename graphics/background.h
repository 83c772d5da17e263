// The fixed screen: left band with picture and logos, page area, right column
// with the item help box and the help bar; grey-out behind modal windows.
#pragma once

#include "platform/efi.h"

void Quorvex_BackGround_Left();
void Quorvex_BackGround_Page();
void Quorvex_HelpBar_Draw();
// HelpText is ready to draw (current language); null or "" clears the box.
void Quorvex_ItemHelp_Draw(const CHAR16* HelpText);
// Left band, page area, help bar.
void Quorvex_BackGround_Draw();
// Dims the whole screen (the picture kept for the restore) and puts it back.
// Both read or write the whole screen: the caller takes the cursor down.
void Quorvex_Grayout_All_Screen();
void Quorvex_Restore_All_Screen();
