// The Security page's item table: BIOS passwords, HDD/SSD passwords and
// their mode, Secure Boot, TPM, Boot Menu restriction and access rights.
#pragma once

#include "setup_data/setup_item.h"

enum SecurityPageRow : UINT64 {
  SecurityRowBiosPassword = 0, // heading
  SecurityRowUser,
  SecurityRowSupervisor,
  SecurityRowHddSsdPassword, // heading
  SecurityRowMode,           // drop-down: 0 User Only, 1 Master+User
  SecurityRowMaster,
  SecurityRowHddUser,
  SecurityRowSecureBoot, // on/off
  SecurityRowClearSecureBootKeys,
  SecurityRowTpm,          // on/off
  SecurityRowBootMenu,     // on/off
  SecurityRowAccessRights, // drop-down: 0 Full, 1 Restricted, 2 Read Only
  SecurityPageRowCount
};

// Row sizes (the layout routine sets the widths from the screen width).
constexpr UINT64 kSecurityHeadingHeight = 40;
constexpr UINT64 kSecurityButtonHeight = 50;
constexpr UINT64 kSecurityDropDownHeight = 62;
constexpr UINT64 kSecurityRowGap = 10;

extern SetupItem SecurityPageItems[SecurityPageRowCount];
extern UINT64 SecurityPageItemCount;
