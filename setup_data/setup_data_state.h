// Power-on state of the setup data layer's shared values (page state, access
// level, action flags, available languages, the backlight time's upper
// limit). The item tables themselves are not restored: the product never
// needs to, and host tests keep pristine copies.
#pragma once

void Quorvex_SetupData_Reset();
