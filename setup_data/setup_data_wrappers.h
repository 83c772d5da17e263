// One small wrapper per operation of the setup data service, generated from
// the settings schema so that page code never indexes the operation table
// itself and the two sides of the service cannot drift apart.
//
// For every SETTING row:
//   SetupData_Get_<name>(T* Out)         read into: the operation writes a
//                                        T-wide value at Out (T from the row's
//                                        type; TEXT rows store a CHAR16
//                                        pointer). A failed read leaves *Out
//                                        as it was.
//   SetupData_ReadValue_<name>()         read value: the operation's result;
//                                        32-bit rows are sign-extended.
//   SetupData_Set_<name>(UINT64 Value)   write: the value cut to T's width.
//   SetupData_Present_<name>(UINT8* Out) presence byte of the item.
// For every OPERATION row: SetupData_<name>(...) by its shape.
//
// The statuses of reads and writes are not tested by the callers.
#pragma once

#include "platform/bindings.h"
#include "platform/efi.h"

namespace setup_data_detail {

// Storage types of the schema's type names.
using U8 = UINT8;
using U16 = UINT16;
using U32 = UINT32;
using U64 = UINT64;
using TEXT = const CHAR16*;

inline UINT64 Call(int Operation, UINT64 Argument1, UINT64 Argument2) {
  return SetupData->Operation[Operation](Argument1, Argument2);
}
template <typename T> inline UINT64 Address(T* Pointer) {
  return reinterpret_cast<UINT64>(Pointer);
}
// Cuts a written value to the setting's width.
template <typename T> inline UINT64 Narrow(UINT64 Value) {
  if constexpr (sizeof(T) == 8) {
    return Value;
  } else {
    return static_cast<UINT64>(static_cast<T>(Value));
  }
}
// A read-value result: 32-bit settings are sign-extended, the others are
// returned as the service answered.
template <typename T> inline INT64 Widen(UINT64 Result) {
  if constexpr (sizeof(T) == 4) {
    return static_cast<INT64>(static_cast<INT32>(static_cast<UINT32>(Result)));
  } else {
    return static_cast<INT64>(Result);
  }
}

} // namespace setup_data_detail

// ---- Settings ---------------------------------------------------------------
// A row whose operation number is -1 has no such operation: its wrapper is a
// template that refuses to compile when it is used, so a missing operation is
// a build error, never a call through a wrong table entry.
namespace setup_data_detail {
template <int Op> inline UINT64 CallChecked(UINT64 Argument1, UINT64 Argument2) {
  static_assert(Op >= 0 && Op < 200, "the schema gives this setting no such operation");
  return Call(Op, Argument1, Argument2);
}
} // namespace setup_data_detail

#define SETTING(Name, GetOp, SetOp, PresenceOp, Type, Min, Max, Default)                           \
  template <int Op = GetOp> inline UINT64 SetupData_Get_##Name(setup_data_detail::Type* Out) {     \
    return setup_data_detail::CallChecked<Op>(setup_data_detail::Address(Out), 0);                 \
  }                                                                                                \
  template <int Op = GetOp> inline INT64 SetupData_ReadValue_##Name() {                            \
    return setup_data_detail::Widen<setup_data_detail::Type>(                                      \
        setup_data_detail::CallChecked<Op>(0, 0));                                                 \
  }                                                                                                \
  template <int Op = SetOp> inline UINT64 SetupData_Set_##Name(UINT64 Value) {                     \
    return setup_data_detail::CallChecked<Op>(                                                     \
        setup_data_detail::Narrow<setup_data_detail::Type>(Value), 0);                             \
  }                                                                                                \
  template <int Op = PresenceOp> inline UINT64 SetupData_Present_##Name(UINT8* Out) {              \
    return setup_data_detail::CallChecked<Op>(setup_data_detail::Address(Out), 0);                 \
  }                                                                                                \
  /* The range the store accepts. */                                                               \
  inline constexpr UINT64 kSettingMin_##Name = Min;                                                \
  inline constexpr UINT64 kSettingMax_##Name = Max;

// ---- Operations by shape (defined in setup_data_wrappers.cpp) ---------------
#define QUORVEX_OP_ReadInto(Number, Name) UINT64 SetupData_##Name(void* Out);
#define QUORVEX_OP_ReadByte(Number, Name) UINT8 SetupData_##Name(UINT8* Out);
#define QUORVEX_OP_ReadValue(Number, Name) UINT64 SetupData_##Name();
#define QUORVEX_OP_WriteByte(Number, Name) UINT64 SetupData_##Name(UINT8 Value);
#define QUORVEX_OP_WriteWord(Number, Name) UINT64 SetupData_##Name(UINT64 Value);
#define QUORVEX_OP_Action(Number, Name) EFI_STATUS SetupData_##Name();
#define QUORVEX_OP_ActionStatus(Number, Name) EFI_STATUS SetupData_##Name(EFI_STATUS Status);
#define QUORVEX_OP_Pointer2(Number, Name)                                                          \
  UINT64 SetupData_##Name(const void* First, const void* Second);
#define QUORVEX_OP_Value2(Number, Name) UINT64 SetupData_##Name(UINT64 First, UINT64 Second);

#define OPERATION(Number, Shape, Name) QUORVEX_OP_##Shape(Number, Name)

#include "setup_data/settings_schema.inc"

#undef QUORVEX_OP_ReadInto
#undef QUORVEX_OP_ReadByte
#undef QUORVEX_OP_ReadValue
#undef QUORVEX_OP_WriteByte
#undef QUORVEX_OP_WriteWord
#undef QUORVEX_OP_Action
#undef QUORVEX_OP_ActionStatus
#undef QUORVEX_OP_Pointer2
#undef QUORVEX_OP_Value2
