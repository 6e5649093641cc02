// The driver device and the exchange of one command with the card.
#include <fcntl.h>

#include <cstddef>
#include <cstdio>

#include "hal/hal.h"
#include "hal/platform.h"

int sim_card_fd = -1;

// The record is the driver's binary interface: 24 bytes on the 32-bit target.
static_assert(sizeof(void *) != 4 || sizeof(simio_request) == 24, "driver request record");
static_assert(offsetof(simio_request, header) == 0 &&
                  offsetof(simio_request, sw1) + 2 == offsetof(simio_request, pad),
              "driver request record");

namespace simcard::hal {

bool device_open() { return sim_card_fd >= 0; }

bool sw_ok(const simio_request &req) { return req.sw1 == 0x90 || req.sw2 == 0x90; }

int open_device() {
    // 0 counts as not open: the device never gets descriptor 0 on the gateway.
    if (sim_card_fd > 0) {
        std::puts("libsimcard: already init");
        return 0;
    }
    sim_card_fd = sys::open(SIMCARD_PATH_DEVICE, O_RDWR, 0666);
    if (sim_card_fd < 0) {
        std::perror("libsimcard: open /dev/simcard error");
        return -1;
    }
    return 0;
}

int online() {
    if (!device_open()) {
        return -1;
    }
    int state = 0;
    if (sys::ioctl(sim_card_fd, SIMIO_IOCTL_ONLINE, &state) < 0) {
        std::printf("libsimcard [%s] ioctl online error\n", "sim_card_online");
        return -1;
    }
    return state;
}

void form_data(simio_request &req, unsigned char *header, unsigned char *data,
               unsigned int data_len, unsigned char *resp) {
    req.header = header;
    req.data = data;
    req.data_len = data_len;
    req.resp = resp;
}

int get_response(simio_request &req, unsigned char le) {
    static constexpr unsigned char kGetResponse[5] = {0xA0, 0xC0, 0x00, 0x00, 0x00};
    for (int i = 0; i < 4; ++i) {
        req.header[i] = kGetResponse[i];
    }
    req.header[4] = le;
    if (sys::ioctl(sim_card_fd, SIMIO_IOCTL_READ, &req) < 0) {
        std::printf("libsimcard [%s] ioctl read error\n", "__sim_card_get_response");
        return -1;
    }
    if (!sw_ok(req)) {
        std::printf("libsimcard [%s] response error\n", "__sim_card_get_response");
        return -1;
    }
    return 0;
}

}  // namespace simcard::hal
