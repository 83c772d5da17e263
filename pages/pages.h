// The routine set every page module offers. Start-up runs preparation,
// set-up, refresh and layout in fixed orders; the main loop calls the
// selected draw (tab highlighted), the not-selected draw (tab only) and the
// enter routine (the page's own key loop); the Exit page's actions save,
// discard or load the defaults through every page's store and refresh.
#pragma once

#include "platform/efi.h"
#include "setup_data/access_level.h"
#include "setup_data/setup_item.h"

#define QUORVEX_PAGE_ROUTINES(Page)                                                                \
  void Quorvex_##Page##_Prepare();                                                                 \
  void Quorvex_##Page##_Init();                                                                    \
  void Quorvex_##Page##_Refresh();                                                                 \
  void Quorvex_##Page##_Layout();                                                                  \
  void Quorvex_##Page##_Store();                                                                   \
  void Quorvex_##Page##Selected_Draw();                                                            \
  void Quorvex_##Page##NotSelected_Draw();                                                         \
  void Quorvex_##Page##_Enter();                                                                   \
  EFI_STATUS Quorvex_##Page##_MouseClick();

QUORVEX_PAGE_ROUTINES(MainPage)
QUORVEX_PAGE_ROUTINES(SecurityPage)
QUORVEX_PAGE_ROUTINES(PowerManagementPage)
QUORVEX_PAGE_ROUTINES(AdvancedPage)
QUORVEX_PAGE_ROUTINES(SystemConfigurationPage)
QUORVEX_PAGE_ROUTINES(ExitPage)

// The access level (0 supervisor, 1-3 by the BIOS access rights), computed
// last in set-up.
void Quorvex_ExitPage_SetAccessLevel();

// The first click handler of the chain: the message windows that F1, F9,
// F10 and Esc open over every page.
EFI_STATUS Quorvex_MessageWindows_Click();

// The settings part of the set-up routines, run again after the defaults are
// loaded so that the records show the store's new values.
void Quorvex_SecurityPage_LoadValues();
void Quorvex_PowerManagementPage_LoadValues();
void Quorvex_AdvancedPage_LoadValues();
void Quorvex_SystemConfigurationPage_LoadValues();

// The global actions, reachable from every page by F9, F10 and Esc.
void Quorvex_ExitSavingChanges();
void Quorvex_ExitDiscardingChanges();
void Quorvex_LoadSetupDefaults();
void Quorvex_DisableBatteryAndPowerOff();
// Every page's store routine, in the save order.
void Quorvex_StoreAllPages();
// Every page's refresh routine, in the start-up order.
void Quorvex_RefreshAllPages();

// The global keys shared by every page loop: F1 help, F9 defaults, F10 save
// and leave, Esc leave without saving. Returns true when Key was one of them.
bool Quorvex_GlobalKey(const EFI_INPUT_KEY& Key);

// Power-on state of each page module with state of its own.
void Quorvex_MainPage_Reset();
void Quorvex_SecurityPage_Reset();
void Quorvex_AdvancedPage_Reset();
