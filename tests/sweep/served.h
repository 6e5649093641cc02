// What a gateway program reads from the library: every readable parameter
// with a concrete data-model path, asked for through the C interface alone.
#ifndef SIMCARD_TESTS_SWEEP_SERVED_H
#define SIMCARD_TESTS_SWEEP_SERVED_H

#include <map>
#include <string>

namespace simcard::sweep {

struct Served {
    int file = 0;       // the card file of the element that answers the path
    std::string value;  // "(null)" when the get fails
    bool operator==(const Served &o) const { return file == o.file && value == o.value; }
};

// By path. A path two elements carry is answered by the first in the tree.
using ServedMap = std::map<std::string, Served>;

// Gets every such path of the current tree.
ServedMap served();

// The entries of one card file.
ServedMap of_file(const ServedMap &all, int file);

}  // namespace simcard::sweep

#endif  // SIMCARD_TESTS_SWEEP_SERVED_H
