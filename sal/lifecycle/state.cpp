#include "sal/lifecycle/state.h"

#include "hal/hal.h"
#include "sal/config.h"

namespace simcard::lifecycle {

void reset_process_state() {
    hal::reset_state();
    sal::reset_state();
}

}  // namespace simcard::lifecycle
