// What every fuzz target shares: a sandbox with the sample document, the
// sample card, one library session per input that starts and ends with the
// library's state as at load, and buffers of exact sizes.
#ifndef SIMCARD_FUZZ_SUPPORT_H
#define SIMCARD_FUZZ_SUPPORT_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "hal/platform.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace simcard::fuzz {

// A sandbox standing for "/" that holds the sample document as the
// configuration document, and the sample card.
class Bench {
public:
    Bench();
    Bench(const Bench &) = delete;
    Bench &operator=(const Bench &) = delete;

    const std::string &root() const { return sandbox_.path(); }
    const vcard::VirtualCard &sample_card() const { return sample_card_; }
    // Replaces the configuration document.
    void write_document(std::string_view text) const;

private:
    vcard::ScopedSandbox sandbox_;
    vcard::VirtualCard sample_card_;
};

// The process's bench, made on first use.
const Bench &bench();

// One input's session: a card, the platform over it (without a log, so that
// millions of runs neither fill the disk nor wait for it), installed under
// the library. The library's state is reset on construction and destruction.
class Session {
public:
    Session(const vcard::VirtualCard &card, const std::string &root);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    vcard::VirtualCard card;
    vcard::VirtualPlatform platform;
    // The table in force; a target may replace calls before install().
    simcard_platform table;

    void install() const;
};

// A heap buffer of exactly `size` bytes (at least 1), so that the sanitizer
// sees any step past it, holding the start of `text` and zeros after it.
class Buffer {
public:
    explicit Buffer(size_t size, std::string_view text = {});

    char *get() { return data_.get(); }
    size_t size() const { return size_; }
    // The text up to its terminator; traps when the buffer holds none.
    std::string text() const;

private:
    size_t size_;
    std::unique_ptr<char[]> data_;
};

}  // namespace simcard::fuzz

#endif  // SIMCARD_FUZZ_SUPPORT_H
