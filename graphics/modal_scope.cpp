#include "graphics/modal_scope.h"

#include "graphics/background.h"
#include "graphics/cursor.h"
#include "graphics/double_buffer.h"
#include "platform/bindings.h"

namespace {
constinit UINT32 ModalDepth = 0;
} // namespace

bool Quorvex_ModalWindowOpen() {
  return ModalDepth != 0;
}

void Quorvex_ModalScope_Reset() {
  ModalDepth = 0;
}

ModalScope::ModalScope(UINT8* OpenFlag)
    : openFlag_(OpenFlag), release_(&ModalScope::ReleaseOnRestart, this) {
  ++ModalDepth;
  if (openFlag_ != nullptr) *openFlag_ = 1;
  Quorvex_RestoreUnderCursor();
  Quorvex_Grayout_All_Screen();
  Quorvex_UpdateMouse();
}

ModalScope::~ModalScope() {
  if (ModalDepth > 0) --ModalDepth;
  if (openFlag_ != nullptr) *openFlag_ = 0;
  Quorvex_RestoreUnderCursor();
  Quorvex_Restore_All_Screen();
  Quorvex_UpdateMouse();
}

void ModalScope::Regrey() {
  Quorvex_RestoreUnderCursor();
  if (Quorvex_Grayout_Again()) {
    Quorvex_UpdateMouse();
    return;
  }
  Quorvex_DoubleBuffer_Start(0, 0, ScreenWidth, ScreenHeight);
  Quorvex_Restore_All_Screen();
  Quorvex_Grayout_All_Screen();
  Quorvex_DoubleBuffer_Flush();
  Quorvex_DoubleBuffer_Stop();
  Quorvex_UpdateMouse();
}

void ModalScope::ReleaseOnRestart(void* Context) {
  auto* scope = static_cast<ModalScope*>(Context);
  if (ModalDepth > 0) --ModalDepth;
  if (scope->openFlag_ != nullptr) *scope->openFlag_ = 0;
  // The screen is rebuilt after the restart: the saved picture is dropped,
  // not drawn back.
  Quorvex_Grayout_Forget();
}
