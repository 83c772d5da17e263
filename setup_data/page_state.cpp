#include "setup_data/page_state.h"

UINT32 PageState;
