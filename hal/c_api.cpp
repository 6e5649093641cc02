// The card access layer's C entry points.
#include "hal/boundary.h"
#include "hal/hal.h"

using namespace simcard;

namespace {
constexpr int kFail = -1;
}

extern "C" {

int sim_card_init(void) {
    return guard(kFail, [] { return hal::open_device(); });
}

int sim_card_online(void) {
    return guard(kFail, [] { return hal::online(); });
}

void __sim_card_form_data(struct simio_request *req, unsigned char *header, unsigned char *data,
                          unsigned int data_len, unsigned char *resp) {
    if (req != nullptr) {
        hal::form_data(*req, header, data, data_len, resp);
    }
}

int __sim_card_get_response(struct simio_request *req, unsigned char le) {
    return guard(kFail, [&] {
        if (!hal::device_open() || req == nullptr || req->header == nullptr) {
            return kFail;
        }
        return hal::get_response(*req, le);
    });
}

int sim_card_select_file(unsigned short dir_id, unsigned short file_id) {
    return guard(kFail,
                 [&] { return hal::device_open() ? hal::select_file(dir_id, file_id) : kFail; });
}

int __sim_card_select_file(unsigned short dir_id, unsigned short file_id) {
    return sim_card_select_file(dir_id, file_id);
}

int __sim_card_read_ef(char *buf, unsigned short offset, unsigned short len) {
    return guard(kFail,
                 [&] { return hal::device_open() ? hal::read_ef(buf, offset, len) : kFail; });
}

int __sim_card_write_ef(char *buf, unsigned short offset, unsigned short len) {
    return guard(kFail,
                 [&] { return hal::device_open() ? hal::write_ef(buf, offset, len) : kFail; });
}

int sim_card_read_file(unsigned short dir_id, unsigned short file_id, char *buf,
                       unsigned short len) {
    return guard(kFail, [&] { return hal::read_file(dir_id, file_id, buf, len); });
}

int sim_card_write_file(unsigned short dir_id, unsigned short file_id, char *buf,
                        unsigned short len) {
    return guard(kFail, [&] { return hal::write_file(dir_id, file_id, buf, len); });
}

int simcard_ReadFile(int file_id, char *buf, int len) {
    return sim_card_read_file(hal::kOperatorDir, static_cast<unsigned short>(file_id), buf,
                              static_cast<unsigned short>(len));
}

int simcard_WriteFile(int file_id, char *buf, int len) {
    return sim_card_write_file(hal::kOperatorDir, static_cast<unsigned short>(file_id), buf,
                               static_cast<unsigned short>(len));
}

int hal_get_all_update_status(unsigned char *status) {
    return guard(kFail, [&] { return hal::get_all_update_status(status); });
}

int sim_card_get_update_status(unsigned short file_id) {
    return guard(kFail, [&] { return hal::get_update_status(file_id); });
}

int sim_card_factory_reset(unsigned short *file_ids, int count) {
    return guard(kFail, [&] {
        if (file_ids == nullptr && count > 0) {
            return kFail;
        }
        return hal::factory_reset(file_ids, count);
    });
}

int sim_card_factory_resetall(void) {
    return guard(0, [] { return hal::factory_reset_all(); });
}

int sim_card_auth(const char *key) {
    return guard(kFail, [&] { return hal::auth(key); });
}

int sim_card_auth_telecom_account(const char *account, const char *password) {
    return guard(kFail, [&] { return hal::auth_account(account, password); });
}

int hal_selectCurrentDir(unsigned short dir_id) {
    return guard(kFail, [&] { return hal::select_current_dir(dir_id); });
}

int hal_saveToSim(void) {
    return guard(kFail, [] { return hal::save_to_sim(); });
}

int hal_getCurrentSessionContent(unsigned short file_id, char *buf, int len) {
    return guard(kFail, [&] { return hal::get_session_content(file_id, buf, len); });
}

int isSimCardInitSuccessed(void) { return hal::simcardInitDone; }

}  // extern "C"
