// The configuration model's C entry points.
#include <cstdarg>

#include "hal/boundary.h"
#include "sal/config.h"
#include "sal/log.h"
#include "sal/mapping.h"

using namespace simcard;

namespace {
constexpr int kFail = -1;
}

extern "C" {

int loadSimcardConfigxml(void) {
    return guard(kFail, [] { return sal::load_config(); });
}

IXML_Node *findFileNode(int file_id) {
    return guard<IXML_Node *>(nullptr, [&] { return sal::find_file_node(file_id); });
}

void stringToUpper(char *text) { sal::string_to_upper(text); }

int dumpSubTree(IXML_Node *element) {
    return guard(0, [&] { return sal::dump_subtree(element); });
}

int xmlSaveToFile(const char *path) {
    return guard(kFail, [&] { return path != nullptr ? sal::save_to_file(path) : kFail; });
}

int simcardLog(const char *log_path, const char *func, int line, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int rc = sal::vlog_line(log_path, func, line, fmt, args);
    va_end(args);
    return rc;
}

int getDbValFromSimVal(const char *simv, const char *rule, char *out) {
    return guard(kFail, [&] { return sal::sim_to_db(simv, rule, out, sal::kDbValueSize); });
}

int getSimValFromDbVal(const char *dbv, const char *rule, char *out) {
    return guard(kFail, [&] { return sal::db_to_sim(dbv, rule, out, sal::kSimValueSize); });
}

simv2dbv_cb_t *findSimv2dbvCallback(const char *name) { return sal::find_callback(name); }

int callback_convertLanInterfaceDB2Sim(const char *dbv, char *out) {
    return guard(kFail, [&] { return sal::lan_db_to_sim(dbv, out, sal::kSimValueSize); });
}

int callback_convertLanInterfaceSim2DB(const char *simv, char *out) {
    return guard(kFail, [&] { return sal::lan_sim_to_db(simv, out, sal::kDbValueSize); });
}

int isDigitString(const char *text) { return sal::is_digit_string(text) ? 1 : 0; }

}  // extern "C"
