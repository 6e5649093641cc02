// C entry points of parameter access by path and of the VLAN binding values.
#include "hal/boundary.h"
#include "sal/access.h"
#include "sal/vlan.h"
#include "simcard/simcard_access.h"

using namespace simcard;

namespace {
constexpr int kFail = -1;
}

extern "C" {

const char *simcard_getParamValueByUri(const char *uri) {
    return guard<const char *>(nullptr, [&] { return sal::get_param_value(uri); });
}

int simcard_setParamValueByUri(const char *uri, const char *value) {
    return guard(kFail, [&] { return sal::set_param_value(uri, value); });
}

IXML_Node *findParamNodeByUri(const char *uri) {
    return guard<IXML_Node *>(nullptr, [&] { return sal::find_param(uri); });
}

int getParamVal(IXML_Node *param) {
    return guard(kFail, [&] { return sal::load_param(param); });
}

int setParamVal(IXML_Node *param, const char *value) {
    return guard(kFail, [&] { return sal::set_param(param, value); });
}

int convertUriToFormatUri(const char *uri, char *out) {
    return guard(kFail, [&] {
        if (uri == nullptr || out == nullptr) {
            return kFail;
        }
        sal::vlan::copy_out(sal::format_uri(uri), out, sal::kFormatUriSize);
        return 0;
    });
}

int getSimvFromMem(IXML_Node *file_element, const char *name, char *out) {
    return guard(kFail, [&] { return sal::simv_from_mem(file_element, name, out); });
}

const char *getVlanBindValueByUri(const char *uri) {
    return guard<const char *>(nullptr, [&] { return sal::vlan::get_by_uri(uri); });
}

int setVlanBindValueByUri(const char *uri, const char *value) {
    return guard(0, [&] { return sal::vlan::set_by_uri(uri, value); });
}

void getVlanBindValue(const char *record, int port, char *out) {
    guard_void([&] {
        if (out == nullptr) {
            record = nullptr;  // reported as "param error"
        }
        const auto value = sal::vlan::port_value(record, port);
        if (value && !value->empty()) {
            sal::vlan::copy_out(*value, out, sal::vlan::kValueSize);
        }
    });
}

void setVlanBindValue(const char *old_record, char *out, int port, const char *value) {
    guard_void([&] {
        if (out == nullptr) {
            old_record = nullptr;  // reported as "param error"
        }
        if (const auto record = sal::vlan::build_record(old_record, port, value)) {
            sal::vlan::copy_out(*record, out, sal::vlan::kValueSize);
        }
    });
}

void formatVlanBindValue(int port, const char *value, char *out) {
    guard_void([&] {
        if (value == nullptr || out == nullptr) {
            return;
        }
        const std::string entries = sal::vlan::format_entries(port, value);
        if (!entries.empty()) {  // an empty value leaves out untouched
            sal::vlan::copy_out(entries, out, sal::vlan::kValueSize);
        }
    });
}

IXML_Node *setVlanBindConfig(const char *record_name, const char *simv, const char *dbv) {
    return guard<IXML_Node *>(nullptr,
                              [&] { return sal::vlan::set_config(record_name, simv, dbv); });
}

}  // extern "C"
