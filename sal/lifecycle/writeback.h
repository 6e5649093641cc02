// Whole-file services: writing changed files back to the card, and the local
// restore of the files marked for it.
#ifndef SIMCARD_SAL_LIFECYCLE_WRITEBACK_H
#define SIMCARD_SAL_LIFECYCLE_WRITEBACK_H

#include <string_view>

namespace simcard::lifecycle {

// A concrete path under the data model's root, not an unfilled pattern.
bool writable_path(std::string_view uri);

int sync_to_card();   // simcard_syncData2Sim
int local_restore();  // simcard_local_restore
int self_test();      // testsynsimtomem

}  // namespace simcard::lifecycle

#endif  // SIMCARD_SAL_LIFECYCLE_WRITEBACK_H
