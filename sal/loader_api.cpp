// The C entry points of loading card contents into the model.
#include "hal/boundary.h"
#include "sal/loader.h"
#include "simcard/simcard_loader.h"

using namespace simcard;

namespace {
constexpr int kFail = -1;
}

extern "C" {

int synFileDataFromSimToMem(IXML_Node *file_element, const char *file_text) {
    return guard(kFail, [&] { return sal::copy_file_records(file_element, file_text); });
}

int syncCurrentSesionDataToMem(IXML_Node *file_element, int file_id, int size) {
    return guard(kFail, [&] { return sal::copy_session_records(file_element, file_id, size); });
}

int getAllSimcardInfoToXmlMem1(void) {
    return guard(0, [] { return sal::build_templates_and_paths(); });
}

int getAllSimcardInfoToXmlMem2(void) {
    return guard(0, [] { return sal::insert_card_instances(); });
}

int setDynamicInit(int file_id) {
    return guard(kFail, [&] { return sal::set_dynamic_init(file_id); });
}

}  // extern "C"
