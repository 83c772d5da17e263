// The Exit page's item table: four plain buttons. Widths are those of a
// 1024-pixel screen; the page's layout routine recomputes them.
#include "setup_data/exit_page_table.h"

#include "setup_data/item_row.h"
#include "setup_data/page_actions.h"
#include "setup_data/text_table.h"

namespace {
constexpr UINT64 kWidth = 412;
} // namespace

SetupItem ExitPageItems[ExitPageRowCount] = {
    ItemRow(ItemButton, TEXT(ExitSavingChanges), {kWidth, kExitRowHeight, kExitRowGap})
        .Help(TEXT(ExitSavingChangesHelp))
        .Action(Quorvex_ExitPage_SaveChanges)
        .Focused(),
    ItemRow(ItemButton, TEXT(ExitDiscardingChanges), {kWidth, kExitRowHeight, kExitRowGap})
        .Help(TEXT(ExitDiscardingChangesHelp))
        .Action(Quorvex_ExitPage_DiscardChanges),
    ItemRow(ItemButton, TEXT(ExitLoadSetupDefaults), {kWidth, kExitRowHeight, kExitRowGap})
        .Help(TEXT(ExitLoadSetupDefaultsHelp))
        .Action(Quorvex_ExitPage_LoadDefaults),
    ItemRow(ItemButton, TEXT(ExitDisableBattery), {kWidth, kExitRowHeight, kExitRowGap})
        .Help(TEXT(ExitDisableBatteryHelp))
        .Action(Quorvex_ExitPage_DisableBattery),
};
UINT64 ExitPageItemCount = ExitPageRowCount;
