// Selecting card files and reading or writing them in chunks.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "hal/hal.h"
#include "hal/platform.h"

namespace simcard::hal {
namespace {

constexpr unsigned char kSelect[5] = {0xA0, 0xA4, 0x00, 0x00, 0x02};

// Runs step(offset, length) over len bytes in card-sized chunks, pausing
// after each; stops at the first failing step.
template <typename Step>
int in_chunks(int len, Step step) {
    for (int offset = 0; offset < len; offset += kChunk) {
        const auto chunk = static_cast<uint16_t>(std::min<int>(len - offset, kChunk));
        if (step(static_cast<uint16_t>(offset), chunk) != 0) {
            return -1;
        }
        sys::usleep(kChunkPauseUs);
    }
    return 0;
}

}  // namespace

int send_select(uint16_t id, simio_request &req, unsigned char *header, Answer &answer) {
    unsigned char id_bytes[2] = {static_cast<unsigned char>(id >> 8),
                                 static_cast<unsigned char>(id & 0xFF)};
    std::memcpy(header, kSelect, sizeof kSelect);
    req = simio_request{};
    answer.fill(0);
    form_data(req, header, id_bytes, sizeof id_bytes, answer.data());
    return sys::ioctl(sim_card_fd, SIMIO_IOCTL_WRITE, &req);
}

int select_file(uint16_t dir, uint16_t file) {
    unsigned char header[5];
    simio_request req{};
    Answer answer{};

    if (dir != sim_session.dir_id) {
        note_selection_unknown();
        if (send_select(dir, req, header, answer) < 0) {
            std::printf("libsimcard [%s] ioctl SIMIO_IOCTL_WRITE 1 error...dir_id=0x%04x \n",
                        "__sim_card_select_file", dir);
            return -1;
        }
        if (req.sw1 != 0x9F && req.sw1 != 0x90) {
            std::printf("libsimcard [%s] select dir error\n", "__sim_card_select_file");
            return -1;
        }
        sim_session.dir_id = dir;
    }

    if (file != sim_session.file_id) {
        // Whatever failed below, the card may have taken the new file.
        note_selection_unknown();
        if (send_select(file, req, header, answer) < 0) {
            std::printf("libsimcard [%s] ioctl SIMIO_IOCTL_WRITE 1 error...file_id=0x%04x\n",
                        "__sim_card_select_file", file);
            return -1;
        }
        if (req.sw1 != 0x9F) {
            std::printf("libsimcard [%s] select file error\n", "__sim_card_select_file");
            return -1;
        }
        const unsigned char le = req.sw2;
        req = simio_request{};
        form_data(req, header, nullptr, 0, answer.data());
        if (get_response(req, le) != 0) {
            std::printf("libsimcard [%s] get response error\n", "__sim_card_select_file");
            return -1;
        }
        sim_session.file_id = file;
        sim_session.file_len = (answer[2] << 8) | answer[3];
        if (sim_session.content != nullptr) {
            drop_session_content();
        }
        note_file_selected(file);
    }
    return sim_session.file_len;
}

int read_ef(char *buf, uint16_t offset, uint16_t len) {
    unsigned char header[5] = {0xA0, 0xB0, static_cast<unsigned char>(offset >> 8),
                               static_cast<unsigned char>(offset & 0xFF),
                               static_cast<unsigned char>(len & 0xFF)};
    simio_request req{};
    form_data(req, header, nullptr, 0, reinterpret_cast<unsigned char *>(buf));
    if (sys::ioctl(sim_card_fd, SIMIO_IOCTL_READ, &req) < 0) {
        std::printf("libsimcard [%s] ioctl read error\n", "__sim_card_read_ef");
        return -1;
    }
    if (!sw_ok(req)) {
        std::printf("libsimcard [%s] read ef error...result=0x%02x%02x\n", "__sim_card_read_ef",
                    req.sw1, req.sw2);
        return -1;
    }
    return 0;
}

int write_ef(char *buf, uint16_t offset, uint16_t len) {
    unsigned char header[5] = {0xA0, 0xD6, static_cast<unsigned char>(offset >> 8),
                               static_cast<unsigned char>(offset & 0xFF),
                               static_cast<unsigned char>(len & 0xFF)};
    simio_request req{};
    form_data(req, header, reinterpret_cast<unsigned char *>(buf), len, nullptr);
    if (sys::ioctl(sim_card_fd, SIMIO_IOCTL_WRITE, &req) < 0) {
        std::printf("[hal] %s: ioctl read error\n", "__sim_card_write_ef");
        return -1;
    }
    if (!sw_ok(req)) {
        std::printf("[hal] %s: write ef error...result=0x%02x%02x\n", "__sim_card_write_ef",
                    req.sw1, req.sw2);
        return -1;
    }
    return 0;
}

int read_file(uint16_t dir, uint16_t file, char *buf, uint16_t len) {
    if (!device_open()) {
        return -1;
    }
    const int file_len = select_file(dir, file);
    if (file_len < 0) {
        std::printf("libsimcard [%s] select file error\n", "sim_card_read_file");
        return -1;
    }
    return in_chunks(std::min<int>(file_len, len), [&](uint16_t offset, uint16_t chunk) {
        if (read_ef(buf + offset, offset, chunk) != 0) {
            // What was read so far, as a line; never past the caller's buffer.
            std::printf("%.*s\n", static_cast<int>(strnlen(buf, len)), buf);
            return -1;
        }
        return 0;
    });
}

int write_file(uint16_t dir, uint16_t file, char *buf, uint16_t len) {
    if (!device_open()) {
        return -1;
    }
    if (select_file(dir, file) < 0) {
        std::printf("[hal] %s select file error\n", "sim_card_write_file");
        return -1;
    }
    return in_chunks(len, [&](uint16_t offset, uint16_t chunk) {
        if (write_ef(buf + offset, offset, chunk) != 0) {
            std::printf("[hal] %s write file error\n", "sim_card_write_file");
            return -1;
        }
        return 0;
    });
}

}  // namespace simcard::hal
