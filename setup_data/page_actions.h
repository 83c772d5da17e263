// The item actions the page tables point to. Each runs when its item is
// activated (Enter or a click on the selected item) and receives the page's
// item array.
#pragma once

#include "setup_data/setup_item.h"

// Main page.
void Quorvex_MainPage_EditTime(SetupItem* Page);       // time editor
void Quorvex_MainPage_EditDate(SetupItem* Page);       // date editor
void Quorvex_MainPage_ChooseLanguage(SetupItem* Page); // language drop-down

// Security page.
void Quorvex_SecurityPage_UserPassword(SetupItem* Page);       // BIOS user password dialog
void Quorvex_SecurityPage_SupervisorPassword(SetupItem* Page); // BIOS supervisor password dialog
void Quorvex_SecurityPage_OptionList(SetupItem* Page); // drop-downs: HDD/SSD mode, access rights
void Quorvex_SecurityPage_MasterPassword(SetupItem* Page);  // HDD/SSD master sequence
void Quorvex_SecurityPage_HddUserPassword(SetupItem* Page); // HDD/SSD user password dialog
void Quorvex_SecurityPage_Toggle(SetupItem* Page); // option cyclers: Secure Boot, TPM, Boot Menu
void Quorvex_SecurityPage_ClearSecureBootKeys(SetupItem* Page); // confirmation, then clear

// Exit page.
void Quorvex_ExitPage_SaveChanges(SetupItem* Page);
void Quorvex_ExitPage_DiscardChanges(SetupItem* Page);
void Quorvex_ExitPage_LoadDefaults(SetupItem* Page);
void Quorvex_ExitPage_DisableBattery(SetupItem* Page);

// Option rows of the Power Management, Advanced and System Configuration
// pages: the selected row of Page, if it is an on/off option that is neither
// greyed nor hidden, flips between its two values.
void Quorvex_Page_ToggleOption(SetupItem* Page);
// Drop-down rows of the same pages: opens the selected row's list and runs it
// (Up/Down move, Enter keeps, Esc restores the value it had when opened).
void Quorvex_Page_OpenDropDown(SetupItem* Page);

// Advanced page.
void Quorvex_AdvancedPage_ChangeBootOrder(SetupItem* Page);     // boot order dialog
void Quorvex_AdvancedPage_SystemConfiguration(SetupItem* Page); // enters the sub-page
void Quorvex_AdvancedPage_BootLogo(SetupItem* Page); // "Set to Default Image?", then reset

// System Configuration sub-page: raises the leave flag that its loop tests
// after each Enter.
void Quorvex_SystemConfigurationPage_PreviousPage(SetupItem* Page);
