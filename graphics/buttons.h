// Flat buttons in all their states.
#pragma once

#include "platform/efi.h"

void Quorvex_Draw_Button_Face(EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT64 Width, UINT64 Height,
                              EFI_GRAPHICS_OUTPUT_BLT_PIXEL Fill,
                              EFI_GRAPHICS_OUTPUT_BLT_PIXEL Border);

EFI_STATUS Quorvex_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                  const CHAR16* Caption);
EFI_STATUS Quorvex_Selected_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                           const CHAR16* Caption);
EFI_STATUS Quorvex_Grayout_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                          const CHAR16* Caption);

EFI_STATUS Quorvex_Label_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                        const CHAR16* Label, const CHAR16* Caption,
                                        UINT64 LabelWidth);
EFI_STATUS Quorvex_Selected_Label_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                 const CHAR16* Label, const CHAR16* Caption,
                                                 UINT64 LabelWidth);
EFI_STATUS Quorvex_Grayout_Label_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                                const CHAR16* Label, const CHAR16* Caption,
                                                UINT64 LabelWidth);

EFI_STATUS Quorvex_Help_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                       const CHAR16* Caption, const CHAR16* KeyText);
EFI_STATUS Quorvex_Grayout_Help_Button_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                               const CHAR16* Caption, const CHAR16* KeyText);

EFI_STATUS Quorvex_Label_Value_Control(UINT64 X, UINT64 Y, UINT64 Width, UINT64 Height,
                                       const CHAR16* Label, const CHAR16* Value, UINT64 LabelWidth);

EFI_STATUS Quorvex_Button_Control_Color_Modified_Mode(UINT64 X, UINT64 Y, UINT64 Width,
                                                      UINT64 Height, const CHAR16* Caption,
                                                      EFI_GRAPHICS_OUTPUT_BLT_PIXEL Fill,
                                                      EFI_GRAPHICS_OUTPUT_BLT_PIXEL Border);
