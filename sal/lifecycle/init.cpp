#include "sal/lifecycle/init.h"

#include <array>
#include <cstdio>

#include "hal/hal.h"
#include "hal/platform.h"
#include "sal/config.h"
#include "sal/lifecycle/update_status.h"
#include "sal/loader.h"
#include "sal/log.h"

namespace simcard::lifecycle {
namespace {

constexpr const char *kFunc = "simcard_init";
constexpr char kAuthKey[] = "7305918264730591";
constexpr int kOnlineAttempts = 3;

// Words of the gateway's LED request that shows the authentication outcome.
using LedRequest = std::array<int, 3>;
constexpr LedRequest kLedAuthPassed = {49, 0, 19};
constexpr LedRequest kLedAuthFailed = {49, 2, 3};

void show_on_led(LedRequest request) { sys::led_set(request.data()); }

bool wait_until_online() {
    for (int attempt = 0; attempt < kOnlineAttempts; ++attempt) {
        if (hal::online() == 1) {
            return true;
        }
        std::puts("sim card is offline,try again");
        sys::sleep(1);
    }
    return false;
}

}  // namespace

int init() {
    if (hal::simcardInitDone == 1) {
        SAL_LOG(kFunc, "simcard has been inited!\n");
        return 0;
    }
    if (sal::load_config() != 0) {
        SAL_LOG(kFunc, "loadSimcardConfigxml failed!\n");
        return -1;
    }
    if (hal::open_device() != 0) {
        SAL_LOG(kFunc, "sim_card_init failed!\n");
        return -1;
    }
    if (!wait_until_online()) {
        std::puts("check the sim is online more than three times");
        return -1;
    }
    if (hal::select_default_dir() != 0) {
        std::printf("[sal] %s it's not CT sim card\n", kFunc);
        return -1;
    }
    // A card that fails authentication is shown on the LED and used anyway.
    if (hal::auth(kAuthKey) != 0) {
        show_on_led(kLedAuthFailed);
        SAL_LOG(kFunc, "sim_card_auth failed!\n");
    } else {
        show_on_led(kLedAuthPassed);
    }
    if (sal::build_templates_and_paths() != 0) {
        SAL_LOG(kFunc, "getAllSimcardInfoToXmlMem failed!\n");
        return -1;
    }
    reset_update_status();
    if (get_all_update_status(update_status().data()) != 0) {
        std::printf("[sal] %s: get all update status failed\n", kFunc);
        return -1;
    }
    sal::insert_card_instances();
    hal::simcardInitDone = 1;
    return 0;
}

}  // namespace simcard::lifecycle
