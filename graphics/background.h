// The fixed screen: left band with picture and logos, page area, right column
// with the item help box and the help bar; grey-out behind modal windows.
#pragma once

#include "graphics/draw_util.h"
#include "platform/efi.h"

void Quorvex_BackGround_Left();
// Redraws only the part of the left band the language decides: the lower
// logo and the band under it (the whole band where the band is stretched).
void Quorvex_BackGround_LowerLogo();
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
// The saved screen shown dimmed again (what a restore and a new grey-out
// give), while the input's drawing is deferred: nothing read, nothing
// allocated. False when that cannot be done; the caller does both.
bool Quorvex_Grayout_Again();
// Drops the saved screen without drawing it (a restart rebuilds the screen).
void Quorvex_Grayout_Forget();

// The help bar's four buttons, top to bottom: Help [F1], Setup Defaults
// [F9], Save and Exit [F10], Close [ESC].
constexpr UINT64 kHelpBarButtons = 4;
ScreenRect Quorvex_HelpBar_ButtonRect(UINT64 Index);
