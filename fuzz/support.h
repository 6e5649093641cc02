// What every fuzz target shares: a sandbox with the sample document, the
// sample card, and one library session per input that starts and ends with
// the library's state as at load.
#ifndef SIMCARD_FUZZ_SUPPORT_H
#define SIMCARD_FUZZ_SUPPORT_H

#include <string>
#include <string_view>

#include "hal/platform.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace simcard::fuzz {

// The library prints on every failure; libFuzzer's own lines would drown.
// FUZZ_STDOUT=1 keeps them, for looking at one input.
void silence_stdout();

// A sandbox standing for "/" that holds the sample document as the
// configuration document, and the sample card, loaded once per process.
class Bench {
public:
    Bench();
    Bench(const Bench &) = delete;
    Bench &operator=(const Bench &) = delete;

    const std::string &root() const { return sandbox_.path(); }
    const vcard::VirtualCard &sample_card() const { return sample_card_; }
    // Replaces the configuration document.
    void write_document(std::string_view text) const;
    // Puts the sample document back.
    void restore_document() const;

private:
    vcard::ScopedSandbox sandbox_;
    vcard::VirtualCard sample_card_;
    std::string sample_document_;
};

// One input's session: a card, the platform over it (without a log, so that
// millions of runs neither fill the disk nor wait for it), installed under
// the library.
// The library's state is reset on construction and destruction.
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

}  // namespace simcard::fuzz

#endif  // SIMCARD_FUZZ_SUPPORT_H
