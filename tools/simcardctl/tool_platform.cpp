#include "tools/simcardctl/tool_platform.h"

#include "simcard.h"
#include "vcard/virtual_card.h"

namespace {
const simcard_platform *g_table = nullptr;
}

extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

namespace simcard::tool {

void install(const simcard_platform *table) { g_table = table; }

TracingPlatform::TracingPlatform(const simcard_platform &base, FILE *out)
    : base_(base), out_(out), table_(base) {
    table_.ctx = this;
    // Every call but ioctl goes straight to the base with its own context.
    table_.open = [](void *c, const char *p, int f, int m) {
        const auto &b = static_cast<TracingPlatform *>(c)->base_;
        return b.open(b.ctx, p, f, m);
    };
    table_.ioctl = traced_ioctl;
    table_.usleep = [](void *c, unsigned int us) {
        const auto &b = static_cast<TracingPlatform *>(c)->base_;
        return b.usleep(b.ctx, us);
    };
    table_.sleep = [](void *c, unsigned int s) {
        const auto &b = static_cast<TracingPlatform *>(c)->base_;
        return b.sleep(b.ctx, s);
    };
    table_.gettimeofday = [](void *c, struct timeval *tv) {
        const auto &b = static_cast<TracingPlatform *>(c)->base_;
        return b.gettimeofday(b.ctx, tv);
    };
    table_.access = [](void *c, const char *p, int m) {
        const auto &b = static_cast<TracingPlatform *>(c)->base_;
        return b.access(b.ctx, p, m);
    };
    table_.fopen = [](void *c, const char *p, const char *m) {
        const auto &b = static_cast<TracingPlatform *>(c)->base_;
        return b.fopen(b.ctx, p, m);
    };
    table_.resolve = [](void *c, const char *p) {
        const auto &b = static_cast<TracingPlatform *>(c)->base_;
        return b.resolve(b.ctx, p);
    };
    table_.led_set = [](void *c, void *r) {
        const auto &b = static_cast<TracingPlatform *>(c)->base_;
        return b.led_set(b.ctx, r);
    };
}

int TracingPlatform::traced_ioctl(void *ctx, int fd, unsigned long request, void *arg) {
    auto *self = static_cast<TracingPlatform *>(ctx);
    const int rc = self->base_.ioctl(self->base_.ctx, fd, request, arg);
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
