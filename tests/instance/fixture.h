// The sample card and document, started up, as a TR-069 agent finds them.
#ifndef SIMCARD_TESTS_INSTANCE_FIXTURE_H
#define SIMCARD_TESTS_INSTANCE_FIXTURE_H

#include <ixml.h>

#include <iterator>
#include <string>
#include <string_view>

#include "sal/xml.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard::testing {

inline const std::string kDevices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
inline const std::string kQos = "InternetGatewayDevice.X_CT-COM_UplinkQoS.";

class Objects : public SampleTest {
protected:
    void SetUp() override {
        ASSERT_EQ(0, simcard_init());
        clear_log();
    }

    static int add(const std::string &path, int instance) {
        return simcard_addMulInstanceByUri(path.c_str(), instance);
    }
    static int del(const std::string &path) { return simcard_delMulInstanceByUri(path.c_str(), 1); }

    static std::string uri(int file) { return attr(findFileNode(file), "uri"); }
    static std::string uri(int file, std::string_view param) {
        return attr(child(findFileNode(file), param), "uri");
    }
    // The element that stands right after the template of a slot.
    static IXML_Node *after_template(int slot) {
        return ixmlNode_getNextSibling(templateNodeTable[slot]);
    }
    static size_t file_count() {
        const auto files = sal::xml::child_elements(ct_simcfg_root);
        return static_cast<size_t>(std::distance(files.begin(), files.end()));
    }
};

}  // namespace simcard::testing

#endif  // SIMCARD_TESTS_INSTANCE_FIXTURE_H
