// A large generated configuration: 200 card files of 25 parameters each
// (5 000 paths), and the VLAN binding file that every document has.
#ifndef SIMCARD_BENCH_GENERATED_H
#define SIMCARD_BENCH_GENERATED_H

#include <string>
#include <vector>

#include "vcard/virtual_card.h"

namespace simcard::bench {

constexpr int kFiles = 200;
constexpr int kParamsPerFile = 25;
constexpr int kPaths = kFiles * kParamsPerFile;

struct Generated {
    std::string document;            // the configuration document's text
    std::vector<std::string> paths;  // every parameter's path, in document order
};

// Puts the card files on `card` and returns the matching document.
Generated generate(vcard::VirtualCard &card);

}  // namespace simcard::bench

#endif  // SIMCARD_BENCH_GENERATED_H
