// The model needs IXML, which has no big-endian build here. What the card
// layer reaches of it is replaced by a model that holds no document, so the
// IXML calls below are never made. Tests that need a document are in files
// this program leaves out (see CMakeLists.txt).
#include <ixml.h>

#include <cstdio>
#include <cstdlib>

#include "hal/hal.h"
#include "sal/config.h"
#include "sal/lifecycle/state.h"
#include "simcard.h"

namespace simcard::sal {

IXML_Node *find_file_node(int) { return nullptr; }

}  // namespace simcard::sal

namespace simcard::lifecycle {

void reset_process_state() { hal::reset_state(); }

}  // namespace simcard::lifecycle

namespace {

[[noreturn]] void no_ixml(const char *call) {
    std::fprintf(stderr, "%s: no IXML in the big-endian program\n", call);
    std::abort();
}

}  // namespace

extern "C" {

int loadSimcardConfigxml(void) { return -1; }
IXML_Node *findFileNode(int) { return nullptr; }

unsigned short ixmlNode_getNodeType(IXML_Node *) { no_ixml(__func__); }
int ixmlElement_setAttribute(IXML_Element *, const DOMString, const DOMString) {
    no_ixml(__func__);
}

}  // extern "C"
