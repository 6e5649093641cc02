// Sees every driver request that crosses a platform table: the request, the
// bytes both ways and the status word, rebuilt from the request record itself,
// so the same entries come out for the real device and the virtual card.
#ifndef SIMCARD_VCARD_TAP_H
#define SIMCARD_VCARD_TAP_H

#include <sys/time.h>

#include <cstdio>
#include <functional>
#include <vector>

#include "hal/platform.h"
#include "vcard/virtual_card.h"

namespace simcard::vcard {

// What one ioctl carried; rc is its result.
TraceEntry entry_of_request(unsigned long request, const void *arg, int rc);

// The text trace of one request on `out`, flushed: "card: " and its line,
// then with `hex` its bytes ("card:   > A0 A4 00 00 02 6F 05").
void write_trace(FILE *out, const TraceEntry &entry, bool hex);

// A copy of a table in which only ioctl is replaced, so that every other call
// (and any the table gains) goes to the base with the base's own context.
// The replaced ioctl finds its tap through a process-wide pointer: at most one
// tap exists at a time.
class Tap {
public:
    // Called after each request, with the time of the base table's clock.
    using Sink = std::function<void(const TraceEntry &, const struct timeval &)>;

    explicit Tap(const simcard_platform &base);  // base must outlive the tap
    ~Tap();
    Tap(const Tap &) = delete;
    Tap &operator=(const Tap &) = delete;

    void add_sink(Sink sink) { sinks_.push_back(std::move(sink)); }
    const simcard_platform *table() const { return &table_; }

private:
    static int tapped_ioctl(void *ctx, int fd, unsigned long request, void *arg);

    const simcard_platform &base_;
    simcard_platform table_;
    std::vector<Sink> sinks_;
};

}  // namespace simcard::vcard

#endif  // SIMCARD_VCARD_TAP_H
