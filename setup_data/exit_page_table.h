// The Exit page's item table: the ways to leave the utility, loading the
// defaults and the battery service action.
#pragma once

#include "setup_data/setup_item.h"

enum ExitPageRow : UINT64 {
  ExitRowSaveChanges = 0,
  ExitRowDiscardChanges,
  ExitRowLoadDefaults,
  ExitRowDisableBattery, // present as the platform answers at set-up
  ExitPageRowCount
};

constexpr UINT64 kExitRowHeight = 50;
constexpr UINT64 kExitRowGap = 25;

extern SetupItem ExitPageItems[ExitPageRowCount];
extern UINT64 ExitPageItemCount;
