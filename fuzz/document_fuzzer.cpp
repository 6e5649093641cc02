// The configuration document: a document of the fuzzer's choosing loaded and
// brought up on the sample card, then a get of every path it names, a set of
// the first and a synchronisation.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/support.h"
#include "sal/xml.h"
#include "simcard.h"

namespace {

using simcard::fuzz::Session;
namespace xml = simcard::sal::xml;

constexpr size_t kMaxPaths = 64;

// The "uri" of every element below the root's children, in document order;
// copied, since the gets change the tree.
std::vector<std::string> named_paths() {
    std::vector<std::string> paths;
    for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
        for (IXML_Node *param : xml::child_elements(file)) {
            const char *uri = xml::attr_cstr(param, "uri");
            if (uri != nullptr && paths.size() < kMaxPaths) {
                paths.emplace_back(uri);
            }
        }
    }
    return paths;
}

}  // namespace

// IXML itself loses a text node when it refuses a document with text after
// the root element (the load fails, as it should); the library never creates
// text nodes.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:ixmlDocument_createTextNodeEx\n";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const simcard::fuzz::Bench &bench = simcard::fuzz::bench();
    bench.write_document(std::string_view(reinterpret_cast<const char *>(data), size));
    Session session(bench.sample_card(), bench.root());
    session.install();
    if (simcard_init() != 0) {
        return 0;
    }
    const std::vector<std::string> paths = named_paths();
    for (const std::string &path : paths) {
        simcard_getParamValueByUri(path.c_str());
    }
    if (!paths.empty()) {
        simcard_setParamValueByUri(paths.front().c_str(), "1");
        simcard_syncData2Sim();
    }
    return 0;
}
