// The System Configuration sub-page's external display port list.
#pragma once

#include "platform/efi.h"

// Marks absent ports as "no port" (4), moves the remaining codes to the front
// and reports whether any port is left. Codes holds four entries.
bool Quorvex_SysConfig_CompactPorts(UINT32* Codes, const UINT8* Present);
// Fills Options (5 entries) with the names of the codes up to the first code
// that names no port type, null-terminated; returns the option count.
UINT64 Quorvex_SysConfig_PortOptions(const UINT32* Codes, const CHAR16** Options);

// Activates the selected row as Enter does (a click on the selected row).
void Quorvex_SystemConfigurationPage_ActivateFromClick();
// The sub-page with the focus on its items under the Advanced tab.
void Quorvex_SystemConfigurationPage_FocusedRedraw();
