// The sample configuration and card image, brought up with simcard_init.
#ifndef SIMCARD_TESTS_ACCESS_FIXTURE_H
#define SIMCARD_TESTS_ACCESS_FIXTURE_H

#include <string>

#include "sal/param_index.h"
#include "sal/xml.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard::testing {

// An attribute's text, or "(absent)".
inline std::string attr_text(IXML_Node *node, const char *name) {
    const char *value = sal::xml::attr_cstr(node, name);
    return value != nullptr ? value : "(absent)";
}

// After start-up: the card's trace, the log and standard output are empty.
class Started : public SampleTest {
protected:
    void SetUp() override {
        capture();
        ASSERT_EQ(0, simcard_init());
        captured();
        card.clear_trace();
        clear_log();
    }

    // Card commands with this INS since the trace was last cleared.
    size_t commands(uint8_t instruction) const { return card.count(instruction); }

    // The parameter element of a path, found without logging.
    static IXML_Node *param(const char *uri) {
        return sal::first_param_with_uri_walk(ct_simcfg_root, uri);
    }
    static IXML_Node *file(int id) { return findFileNode(id); }
    static std::string wf(int id) { return attr_text(findFileNode(id), "wf"); }
};

}  // namespace simcard::testing

#endif  // SIMCARD_TESTS_ACCESS_FIXTURE_H
