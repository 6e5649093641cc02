// Mutual authentication of card and gateway, and the card's account check.
#define OPENSSL_SUPPRESS_DEPRECATED  // the card speaks single-block two-key 3DES
#include <openssl/des.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "hal/hal.h"
#include "hal/platform.h"

namespace simcard::hal {
namespace {

using Block = std::array<unsigned char, 8>;

constexpr Block kDerivation = {0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D};

// Two key schedules, cleared before every new key set-up.
class TwoKeyDes {
public:
    TwoKeyDes(const Block &k1, const Block &k2) { set(k1, k2); }
    ~TwoKeyDes() { clear(); }
    TwoKeyDes(const TwoKeyDes &) = delete;
    TwoKeyDes &operator=(const TwoKeyDes &) = delete;

    void set(const Block &k1, const Block &k2) {
        clear();
        DES_cblock c1;
        DES_cblock c2;
        std::memcpy(c1, k1.data(), 8);
        std::memcpy(c2, k2.data(), 8);
        DES_set_key_unchecked(&c1, &s1_);
        DES_set_key_unchecked(&c2, &s2_);
    }

    // Encrypt with the first key, decrypt with the second, encrypt with the first.
    Block encrypt(const Block &in) {
        DES_cblock src;
        DES_cblock dst;
        std::memcpy(src, in.data(), 8);
        DES_ecb3_encrypt(&src, &dst, &s1_, &s2_, &s1_, DES_ENCRYPT);
        Block out;
        std::memcpy(out.data(), dst, 8);
        return out;
    }

private:
    void clear() {
        std::memset(&s1_, 0, sizeof s1_);
        std::memset(&s2_, 0, sizeof s2_);
    }
    DES_key_schedule s1_;
    DES_key_schedule s2_;
};

Block block_at(const unsigned char *p) {
    Block b;
    std::memcpy(b.data(), p, 8);
    return b;
}

// 16 challenge bytes from libc's generator seeded with whole seconds, each
// draw stored high byte first whatever the host's byte order.
std::array<unsigned char, 16> draw_challenge() {
    struct timeval now {};
    sys::gettimeofday(&now);
    srandom(static_cast<unsigned>(now.tv_sec));
    std::array<unsigned char, 16> r{};
    for (size_t i = 0; i < r.size(); i += 4) {
        const auto v = static_cast<unsigned long>(random());
        r[i] = static_cast<unsigned char>(v >> 24);
        r[i + 1] = static_cast<unsigned char>(v >> 16);
        r[i + 2] = static_cast<unsigned char>(v >> 8);
        r[i + 3] = static_cast<unsigned char>(v);
    }
    return r;
}

}  // namespace

int auth(const char *key) {
    if (!device_open() || key == nullptr) {
        return -1;
    }
    unsigned char k[16];
    std::memcpy(k, key, sizeof k);
    const Block k1 = block_at(k);
    const Block k2 = block_at(k + 8);
    auto r = draw_challenge();

    unsigned char header[5] = {0xA0, 0xE2, 0x00, 0x00, 0x10};
    Answer answer{};
    simio_request req{};
    form_data(req, header, r.data(), static_cast<unsigned int>(r.size()), answer.data());
    if (sys::ioctl(sim_card_fd, SIMIO_IOCTL_WRITE, &req) < 0) {
        std::printf("libsimcard [%s] ioctl write error\n", "sim_card_auth");
        return -1;
    }
    if (req.sw1 != 0x9F) {
        std::printf("libsimcard [%s] response error\n", "sim_card_auth");
        return -1;
    }
    const unsigned char le = req.sw2;
    req = simio_request{};
    form_data(req, header, nullptr, 0, answer.data());
    if (get_response(req, le) != 0) {
        std::printf("libsimcard [%s] get output error\n", "sim_card_auth");
        return -1;
    }
    const Block a1 = block_at(answer.data());
    const Block a2 = block_at(answer.data() + 8);
    const Block q = block_at(answer.data() + 16);

    TwoKeyDes des(k1, k2);
    const Block s1 = des.encrypt(block_at(r.data()));
    const Block s2 = des.encrypt(a2);
    des.set(s1, s2);
    const Block x = des.encrypt(block_at(r.data() + 8));
    if (std::memcmp(x.data(), q.data(), 8) != 0) {
        std::printf("libsimcard [%s] host auth card fail!\n", "sim_card_auth");
        return -1;
    }

    des.set(k1, k2);
    const Block t1 = des.encrypt(q);
    const Block t2 = des.encrypt(kDerivation);
    des.set(t1, t2);
    Block y = des.encrypt(a1);

    unsigned char answer_header[5] = {0xA0, 0xE3, 0x00, 0x00, 0x08};
    req = simio_request{};
    form_data(req, answer_header, y.data(), static_cast<unsigned int>(y.size()), nullptr);
    if (sys::ioctl(sim_card_fd, SIMIO_IOCTL_WRITE, &req) < 0) {
        std::printf("libsimcard [%s] ioctl write error\n", "sim_card_auth");
        return -1;
    }
    if (req.sw1 != 0x90) {
        std::printf("libsimcard [%s] card auth host fail\n", "sim_card_auth");
        return -1;
    }
    return 0;
}

int auth_account(const char *account, const char *password) {
    if (!device_open()) {
        return -1;
    }
    if (account == nullptr || password == nullptr) {
        std::printf("libsimcard [%s] account not right\n", "sim_card_auth_telecom_account");
        return -1;
    }
    std::string text = std::string(account) + ";" + password;
    unsigned char header[5] = {0xA0, 0xE0, 0x00, 0x00, static_cast<unsigned char>(text.size())};
    simio_request req{};
    form_data(req, header, reinterpret_cast<unsigned char *>(text.data()),
              static_cast<unsigned int>(text.size()), nullptr);
    if (sys::ioctl(sim_card_fd, SIMIO_IOCTL_WRITE, &req) < 0) {
        std::printf("libsimcard [%s] ioctl write error\n", "sim_card_auth_telecom_account");
        return -1;
    }
    if (req.sw1 != 0x90) {
        std::printf("libsimcard [%s] account not right\n", "sim_card_auth_telecom_account");
        return -1;
    }
    return 0;
}

}  // namespace simcard::hal
