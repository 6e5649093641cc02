// libcrypto has no big-endian build here. The card and the gateway both
// compute through these two calls, so a keyed stand-in lets the
// authentication exchange run to its end; it is not DES. The challenge the
// gateway draws does not pass through it, and is what this program checks.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/des.h>

#include <cstring>
#include <initializer_list>

extern "C" {

void DES_set_key_unchecked(const_DES_cblock *key, DES_key_schedule *schedule) {
    std::memset(schedule, 0, sizeof *schedule);
    std::memcpy(&schedule->ks[0], key, sizeof *key);
}

void DES_ecb3_encrypt(const_DES_cblock *input, DES_cblock *output, DES_key_schedule *ks1,
                      DES_key_schedule *ks2, DES_key_schedule *ks3, int /*enc*/) {
    unsigned char block[8];
    std::memcpy(block, input, 8);
    for (const DES_key_schedule *ks : {ks1, ks2, ks3}) {
        unsigned char key[8];
        std::memcpy(key, &ks->ks[0], 8);
        unsigned char carry = 0x5A;
        for (int i = 0; i < 8; ++i) {
            block[i] = static_cast<unsigned char>((block[i] ^ key[i]) + carry);
            carry = block[i];
        }
    }
    std::memcpy(output, block, 8);
}

}  // extern "C"
