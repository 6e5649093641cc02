#include "vcard/tap.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "simcard/simcard_hal.h"

namespace simcard::vcard {
namespace {
Tap *g_tap = nullptr;
}

TraceEntry entry_of_request(unsigned long request, const void *arg, int rc) {
    TraceEntry entry;
    entry.failed = rc < 0;
    if (arg == nullptr) {
        return entry;
    }
    if (request == SIMIO_IOCTL_ONLINE) {
        entry.request = Request::Online;
        entry.online_value = *static_cast<const int *>(arg);
    } else if (request == SIMIO_IOCTL_READ || request == SIMIO_IOCTL_WRITE) {
        const auto *req = static_cast<const simio_request *>(arg);
        entry.request = request == SIMIO_IOCTL_READ ? Request::Read : Request::Write;
        if (req->header != nullptr) {
            std::copy(req->header, req->header + entry.header.size(), entry.header.begin());
        }
        if (req->data != nullptr) {
            entry.data.assign(req->data, req->data + req->data_len);
        }
        if (request == SIMIO_IOCTL_READ && req->resp != nullptr && !entry.failed) {
            entry.response.assign(req->resp, req->resp + entry.header[4]);
        }
        entry.sw1 = req->sw1;
        entry.sw2 = req->sw2;
    }
    return entry;
}

void write_trace(FILE *out, const TraceEntry &entry, bool hex) {
    std::fprintf(out, "card: %s\n", describe(entry).c_str());
    if (hex) {
        for (const std::string &line : describe_bytes(entry)) {
            std::fprintf(out, "card:   %s\n", line.c_str());
        }
    }
    std::fflush(out);
}

Tap::Tap(const simcard_platform &base) : base_(base), table_(base) {
    if (g_tap != nullptr) {
        throw std::logic_error("one tap at a time");
    }
    table_.ioctl = tapped_ioctl;
    g_tap = this;
}

Tap::~Tap() { g_tap = nullptr; }

int Tap::tapped_ioctl(void *ctx, int fd, unsigned long request, void *arg) {
    Tap &self = *g_tap;
    const int rc = self.base_.ioctl(ctx, fd, request, arg);
    if (self.sinks_.empty()) {
        return rc;
    }
    const TraceEntry entry = entry_of_request(request, arg, rc);
    struct timeval now {};
    self.base_.gettimeofday(self.base_.ctx, &now);
    for (const Sink &sink : self.sinks_) {
        sink(entry, now);
    }
    return rc;
}

}  // namespace simcard::vcard
