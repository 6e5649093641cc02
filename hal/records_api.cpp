// The parameter record functions' C entry points.
#include "hal/boundary.h"
#include "hal/hal.h"
#include "hal/records.h"

using namespace simcard;

namespace {
constexpr int kFail = -1;
}

extern "C" {

// The length is accepted and not used: the caller's buffer holds the value.
int sim_card_read_param(unsigned short dir_id, unsigned short file_id, const char *name, char *dest,
                        unsigned short /*len*/) {
    return guard(kFail,
                 [&] { return hal::read_param(dir_id, file_id, name, dest, hal::kWholeValue); });
}

int sim_card_write_param(unsigned short dir_id, unsigned short file_id, const char *name,
                         const char *value, unsigned short /*len*/) {
    return guard(kFail, [&] { return hal::write_param(dir_id, file_id, name, value); });
}

int _sim_combin_new_file_value(char *content, const char *name, const char *value, int size) {
    return guard(kFail, [&] { return hal::replace_entry(content, name, value, size); });
}

int _sim_combin_new_file_value1(char *content, const char *name, const char *value, int size) {
    return guard(kFail, [&] { return hal::append_entry(content, name, value, size); });
}

int simcard_ReadParamFromFile(int file_id, int /*unused*/, const char *name, char *dest, int len) {
    return sim_card_read_param(hal::kOperatorDir, static_cast<unsigned short>(file_id), name, dest,
                               static_cast<unsigned short>(len));
}

int simcard_WriteParamToFile(int file_id, int unused, const char *name, const char *value) {
    return _simcard_WriteParamToFile(file_id, unused, name, value);
}

int _simcard_WriteParamToFile(int file_id, int /*unused*/, const char *name, const char *value) {
    return guard(kFail, [&] { return hal::write_param_to_file(file_id, name, value); });
}

}  // extern "C"
