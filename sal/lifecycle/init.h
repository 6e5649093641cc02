// Bringing the library up: document, device, card, authentication, model.
#ifndef SIMCARD_SAL_LIFECYCLE_INIT_H
#define SIMCARD_SAL_LIFECYCLE_INIT_H

namespace simcard::lifecycle {

// 0 when the library is (or already was) initialised, -1 on failure. Runs
// the whole sequence again after a failure.
int init();

}  // namespace simcard::lifecycle

#endif  // SIMCARD_SAL_LIFECYCLE_INIT_H
