// The C entry points of start-up and of the update-status bitmap.
#include "hal/boundary.h"
#include "sal/lifecycle/init.h"
#include "sal/lifecycle/update_status.h"
#include "simcard/simcard_lifecycle.h"

using namespace simcard;

namespace {
constexpr int kFail = -1;
}

extern "C" {

int simcard_init(void) {
    return guard(kFail, [] { return lifecycle::init(); });
}

int simcard_get_all_update_status(unsigned char *status) {
    return guard(kFail, [&] { return lifecycle::get_all_update_status(status); });
}

int simcard_file_isupdated(int file_id, const unsigned char *status) {
    return guard(kFail, [&] { return lifecycle::file_isupdated(file_id, status); });
}

}  // extern "C"
