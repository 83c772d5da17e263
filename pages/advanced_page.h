// The Advanced page's own rules that other modules and tests reach: the
// Sleep and Charge mode mapping and the sub-page entry.
#pragma once

#include "platform/efi.h"

// The platform's Sleep and Charge mode support: auto, typical, alternate.
struct SleepChargeSupport {
  bool Auto;
  bool Typical;
  bool Alternate;
};
extern SleepChargeSupport SleepChargeModes;

// Builds the option list ("Disabled", then the offered modes) into Options
// (null-terminated); returns the option count.
UINT64 Quorvex_SleepCharge_BuildOptions(const SleepChargeSupport& Support, const CHAR16** Options);
// Stored mode → list index, and back. The mapping does not look at the
// alternate flag, so a stored alternate mode without that support loads as
// an index past the list, which is kept.
UINT64 Quorvex_SleepCharge_StoredToIndex(const SleepChargeSupport& Support, UINT64 Stored);
UINT64 Quorvex_SleepCharge_IndexToStored(const SleepChargeSupport& Support, UINT64 Index);

// Draws the Advanced tab and the System Configuration list for state 4 (tab
// highlighted, sub-page kept).
void Quorvex_SystemConfigurationPage_TabDraw();
