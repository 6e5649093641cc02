// Every heap allocation of the process, counted: the program's malloc family
// stands in front of the C library's own. Not for sanitized builds, whose
// runtime replaces the same functions.
#ifndef SIMCARD_TESTS_FOOTPRINT_HEAP_METER_H
#define SIMCARD_TESTS_FOOTPRINT_HEAP_METER_H

#include <cstddef>

namespace simcard::testing::heap {

struct Counts {
    unsigned long allocations = 0;  // malloc, calloc, realloc and friends so far
    long in_use = 0;                // usable bytes of the blocks not freed
};

Counts now();

}  // namespace simcard::testing::heap

#endif  // SIMCARD_TESTS_FOOTPRINT_HEAP_METER_H
