// The library's process-wide state as a whole.
#ifndef SIMCARD_SAL_LIFECYCLE_STATE_H
#define SIMCARD_SAL_LIFECYCLE_STATE_H

namespace simcard::lifecycle {

// Returns every process-wide global to its value at load, releasing what it
// holds. For test harnesses that run many cases in one process.
void reset_process_state();

}  // namespace simcard::lifecycle

#endif  // SIMCARD_SAL_LIFECYCLE_STATE_H
