// The Exit page's item table: four plain buttons. Widths are those of a
// 1024-pixel screen; the page's layout routine recomputes them.
#include "setup_data/exit_page_table.h"

#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

// Rows name only the fields they set; every other field is zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {
constexpr UINT64 kWidth = 412;
} // namespace

SetupItem ExitPageItems[ExitPageRowCount] = {
    {.Present = 1,
     .Selected = 1,
     .Kind = ItemButton,
     .Width = kWidth,
     .Height = kExitRowHeight,
     .Gap = kExitRowGap,
     .Help = TEXT(ExitSavingChangesHelp),
     .Action = Quorvex_ExitPage_SaveChanges,
     .Label = TEXT(ExitSavingChanges)},
    {.Present = 1,
     .Kind = ItemButton,
     .Width = kWidth,
     .Height = kExitRowHeight,
     .Gap = kExitRowGap,
     .Help = TEXT(ExitDiscardingChangesHelp),
     .Action = Quorvex_ExitPage_DiscardChanges,
     .Label = TEXT(ExitDiscardingChanges)},
    {.Present = 1,
     .Kind = ItemButton,
     .Width = kWidth,
     .Height = kExitRowHeight,
     .Gap = kExitRowGap,
     .Help = TEXT(ExitLoadSetupDefaultsHelp),
     .Action = Quorvex_ExitPage_LoadDefaults,
     .Label = TEXT(ExitLoadSetupDefaults)},
    {.Present = 1,
     .Kind = ItemButton,
     .Width = kWidth,
     .Height = kExitRowHeight,
     .Gap = kExitRowGap,
     .Help = TEXT(ExitDisableBatteryHelp),
     .Action = Quorvex_ExitPage_DisableBattery,
     .Label = TEXT(ExitDisableBattery)},
};
UINT64 ExitPageItemCount = ExitPageRowCount;
