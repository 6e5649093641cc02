// The sample configuration and card image, brought up with simcard_init.
#ifndef SIMCARD_TESTS_ACCESS_FIXTURE_H
#define SIMCARD_TESTS_ACCESS_FIXTURE_H

#include <string>

#include "sal/param_index.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard::testing {

// After start-up, with the card's trace, the log and standard output empty.
class Started : public SampleTest {
protected:
    void SetUp() override {
        capture();
        ASSERT_EQ(0, simcard_init());
        captured();
        card.clear_trace();
        clear_log();
    }
    static std::string get(const std::string &path) {
        const char *value = simcard_getParamValueByUri(path.c_str());
        return value != nullptr ? value : "(null)";
    }
    static int set(const std::string &path, const char *value) {
        return simcard_setParamValueByUri(path.c_str(), value);
    }
    // The parameter element of a path, found without logging.
    static IXML_Node *param(const std::string &uri) {
        return sal::first_param_with_uri_walk(ct_simcfg_root, uri.c_str());
    }
    static std::string wf(int id) { return attr(findFileNode(id), "wf"); }
};

}  // namespace simcard::testing

#endif  // SIMCARD_TESTS_ACCESS_FIXTURE_H
