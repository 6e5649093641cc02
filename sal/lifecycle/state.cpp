#include "sal/lifecycle/state.h"

#include "hal/hal.h"
#include "sal/config.h"
#include "sal/instance/remove.h"
#include "sal/instance/templates.h"
#include "sal/lifecycle/update_status.h"

namespace simcard::lifecycle {

void reset_process_state() {
    hal::reset_state();
    // The templates point into the document: forget them before it goes.
    instance::reset_templates();
    instance::release_removed();
    reset_update_status();
    sal::reset_state();
}

}  // namespace simcard::lifecycle
