// The seam as simcardctl sets it up: the real system or a virtual card, and
// optionally a readable line for every card command as it happens.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_TOOL_PLATFORM_H
#define SIMCARD_TOOLS_SIMCARDCTL_TOOL_PLATFORM_H

#include <cstdio>

#include "hal/platform.h"

namespace simcard::tool {

class TracingPlatform {
public:
    // base must outlive this object; trace lines go to out when it is set.
    TracingPlatform(const simcard_platform &base, FILE *out);
    ~TracingPlatform();
    TracingPlatform(const TracingPlatform &) = delete;
    TracingPlatform &operator=(const TracingPlatform &) = delete;

    const simcard_platform *table() const { return &table_; }

private:
    static int traced_ioctl(void *ctx, int fd, unsigned long request, void *arg);

    const simcard_platform &base_;
    FILE *out_;
    simcard_platform table_;
};

// Makes table the one the library uses (null: the real system).
void install(const simcard_platform *table);

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_TOOL_PLATFORM_H
