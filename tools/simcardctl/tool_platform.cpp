#include "tools/simcardctl/tool_platform.h"

namespace {
const simcard_platform *g_table = nullptr;
}

extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

namespace simcard::tool {

void install(const simcard_platform *table) { g_table = table; }

}  // namespace simcard::tool
