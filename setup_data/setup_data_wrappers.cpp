// The operation wrappers of the setup data service, one per OPERATION row of
// the settings schema, each shaped as its row says.
#include "setup_data/setup_data_wrappers.h"

using setup_data_detail::Address;
using setup_data_detail::Call;

#define QUORVEX_OP_ReadInto(Number, Name)                                                          \
  UINT64 SetupData_##Name(void* Out) {                                                             \
    return Call(Number, Address(Out), 0);                                                          \
  }
// The result, cut to a byte, is also stored at Out.
#define QUORVEX_OP_ReadByte(Number, Name)                                                          \
  UINT8 SetupData_##Name(UINT8* Out) {                                                             \
    const UINT8 value = static_cast<UINT8>(Call(Number, Address(Out), 0));                         \
    *Out = value;                                                                                  \
    return value;                                                                                  \
  }
#define QUORVEX_OP_ReadValue(Number, Name)                                                         \
  UINT64 SetupData_##Name() {                                                                      \
    return Call(Number, 0, 0);                                                                     \
  }
#define QUORVEX_OP_WriteByte(Number, Name)                                                         \
  UINT64 SetupData_##Name(UINT8 Value) {                                                           \
    return Call(Number, Value, 0);                                                                 \
  }
#define QUORVEX_OP_WriteWord(Number, Name)                                                         \
  UINT64 SetupData_##Name(UINT64 Value) {                                                          \
    return Call(Number, Value, 0);                                                                 \
  }
#define QUORVEX_OP_Action(Number, Name)                                                            \
  EFI_STATUS SetupData_##Name() {                                                                  \
    return Call(Number, 0, 0);                                                                     \
  }
#define QUORVEX_OP_ActionStatus(Number, Name)                                                      \
  EFI_STATUS SetupData_##Name(EFI_STATUS Status) {                                                 \
    return Call(Number, Status, 0);                                                                \
  }
#define QUORVEX_OP_Pointer2(Number, Name)                                                          \
  UINT64 SetupData_##Name(const void* First, const void* Second) {                                 \
    return Call(Number, Address(First), Address(Second));                                          \
  }
#define QUORVEX_OP_Value2(Number, Name)                                                            \
  UINT64 SetupData_##Name(UINT64 First, UINT64 Second) {                                           \
    return Call(Number, First, Second);                                                            \
  }

#define SETTING(Name, GetOp, SetOp, PresenceOp, Type, Min, Max, Default)
#define OPERATION(Number, Shape, Name) QUORVEX_OP_##Shape(Number, Name)
#include "setup_data/settings_schema.inc"
