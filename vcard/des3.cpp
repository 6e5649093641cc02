// The DES interface is deprecated in OpenSSL 3 but is what the card's
// protocol is defined with; the replacement API needs a provider for a single
// block and brings nothing here.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "vcard/des3.h"

#include <openssl/des.h>

#include <cstring>

namespace simcard::vcard {

Block des3_encrypt(const Block &a, const Block &b, const Block &x) {
    DES_cblock ka;
    DES_cblock kb;
    std::memcpy(ka, a.data(), sizeof ka);
    std::memcpy(kb, b.data(), sizeof kb);
    DES_key_schedule sa{};
    DES_key_schedule sb{};
    DES_set_key_unchecked(&ka, &sa);
    DES_set_key_unchecked(&kb, &sb);

    DES_cblock in;
    DES_cblock out;
    std::memcpy(in, x.data(), sizeof in);
    DES_ecb3_encrypt(&in, &out, &sa, &sb, &sa, DES_ENCRYPT);

    Block result;
    std::memcpy(result.data(), out, result.size());
    return result;
}

}  // namespace simcard::vcard
