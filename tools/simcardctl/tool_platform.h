// The seam's hook as simcardctl defines it: the table the library uses.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_TOOL_PLATFORM_H
#define SIMCARD_TOOLS_SIMCARDCTL_TOOL_PLATFORM_H

#include "hal/platform.h"

namespace simcard::tool {

// Makes table the one the library uses (null: the real system).
void install(const simcard_platform *table);

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_TOOL_PLATFORM_H
