// Two-key triple DES on one block, as the card and the host both use it.
#ifndef SIMCARD_VCARD_DES3_H
#define SIMCARD_VCARD_DES3_H

#include <array>
#include <cstdint>

namespace simcard::vcard {

using Block = std::array<uint8_t, 8>;

// ECB encryption of x under the schedules (a, b, a): encrypt with a, decrypt
// with b, encrypt with a. Key parity is not adjusted.
Block des3_encrypt(const Block &a, const Block &b, const Block &x);

}  // namespace simcard::vcard

#endif  // SIMCARD_VCARD_DES3_H
