// The tab and page state: which tab is highlighted, or which page (or modal
// part of a page) has the focus. The main loop moves it; every layer that
// draws or hit-tests a page reads it.
#pragma once

#include "setup_data/page_state_value.h"
#include "setup_data/setup_data_state.h" // PageState itself
