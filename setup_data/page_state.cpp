#include "setup_data/page_state.h"

PageStateValue PageState;
