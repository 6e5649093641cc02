// The write-back and restore C entry points.
#include "hal/boundary.h"
#include "sal/lifecycle/writeback.h"
#include "simcard/simcard_writeback.h"

using namespace simcard;

extern "C" {

int simcard_syncData2Sim(void) {
    return guard(-1, [] { return lifecycle::sync_to_card(); });
}

int simcard_local_restore(void) {
    return guard(-1, [] { return lifecycle::local_restore(); });
}

int testsynsimtomem(void) {
    return guard(-1, [] { return lifecycle::self_test(); });
}

}  // extern "C"
