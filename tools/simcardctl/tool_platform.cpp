#include "tools/simcardctl/tool_platform.h"

#include "simcard.h"
#include "vcard/virtual_card.h"

namespace {
const simcard_platform *g_table = nullptr;
}

extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

namespace simcard::tool {

void install(const simcard_platform *table) { g_table = table; }

// One tracer per process: the table keeps the base's context for every call,
// so the traced ioctl finds its tracer here.
namespace {
TracingPlatform *g_tracer = nullptr;
}

TracingPlatform::TracingPlatform(const simcard_platform &base, FILE *out)
    : base_(base), out_(out), table_(base) {
    table_.ioctl = traced_ioctl;
    g_tracer = this;
}

TracingPlatform::~TracingPlatform() { g_tracer = nullptr; }

int TracingPlatform::traced_ioctl(void *ctx, int fd, unsigned long request, void *arg) {
    TracingPlatform *self = g_tracer;
    const int rc = self->base_.ioctl(ctx, fd, request, arg);
    if (self->out_ == nullptr || arg == nullptr) {
        return rc;
    }
    // Rebuild what crossed the driver from the request record itself, so the
    // same lines come out for the real device and the virtual card.
    vcard::TraceEntry entry;
    entry.failed = rc < 0;
    if (request == SIMIO_IOCTL_ONLINE) {
        entry.request = vcard::Request::Online;
        entry.online_value = *static_cast<int *>(arg);
    } else if (request == SIMIO_IOCTL_READ || request == SIMIO_IOCTL_WRITE) {
        const auto *req = static_cast<const simio_request *>(arg);
        entry.request = request == SIMIO_IOCTL_READ ? vcard::Request::Read : vcard::Request::Write;
        if (req->header != nullptr) {
            std::copy(req->header, req->header + 5, entry.header.begin());
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
    std::fprintf(self->out_, "card: %s\n", vcard::describe(entry).c_str());
    std::fflush(self->out_);
    return rc;
}

}  // namespace simcard::tool
