// The host side here is written from the command set, not from the card's
// code: records are built by hand and the authentication is computed anew.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <gtest/gtest.h>
#include <openssl/des.h>

#include <cstring>
#include <numeric>
#include <sstream>
#include <tuple>

#include "simcard/simcard_hal.h"
#include "vcard/virtual_card.h"

namespace simcard::vcard {
namespace {

using Bytes = std::vector<uint8_t>;
const Bytes kOk = {0x90, 0x00};

struct Exchange {
    int rc;
    Bytes sw;
    Bytes resp;  // the whole buffer; untouched bytes stay 0xEE
};

Exchange send(VirtualCard &card, unsigned long request, std::array<uint8_t, 5> header,
              Bytes data = {}) {
    Bytes resp(300, 0xEE);
    simio_request req{};
    req.header = header.data();
    req.data = data.empty() ? nullptr : data.data();
    req.data_len = static_cast<unsigned int>(data.size());
    req.resp = resp.data();
    const int rc = card.ioctl(request, &req);
    return {rc, {req.sw1, req.sw2}, resp};
}

Exchange select(VirtualCard &card, uint16_t id) {
    return send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xA4, 0, 0, 2},
                {static_cast<uint8_t>(id >> 8), static_cast<uint8_t>(id)});
}

Exchange get_response(VirtualCard &card, uint8_t le) {
    return send(card, SIMIO_IOCTL_READ, {0xA0, 0xC0, 0, 0, le});
}

// READ BINARY of n bytes, or UPDATE BINARY of data, at offset.
Exchange binary(VirtualCard &card, uint16_t offset, size_t n, const Bytes &data = {}) {
    const auto p1 = static_cast<uint8_t>(offset >> 8);
    const auto p2 = static_cast<uint8_t>(offset);
    const auto p3 = static_cast<uint8_t>(data.empty() ? n : data.size());
    return data.empty() ? send(card, SIMIO_IOCTL_READ, {0xA0, 0xB0, p1, p2, p3})
                        : send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xD6, p1, p2, p3}, data);
}

Bytes head(const Exchange &e, size_t n) { return Bytes(e.resp.begin(), e.resp.begin() + n); }

class CardTest : public ::testing::Test {
protected:
    void SetUp() override {
        card.add_file(0x6F04, 450, "<P00=FF>");
        card.add_file(0x6F07, 64, "<P00=\"1.IP.1\">", std::string_view("<P00=FF>"));
    }
    void select_6F04() {
        ASSERT_EQ(select(card, 0x7F80).sw, (Bytes{0x9F, 0x16}));
        ASSERT_EQ(select(card, 0x6F04).sw, (Bytes{0x9F, 0x0F}));
    }

    VirtualCard card;
};

TEST_F(CardTest, SelectAnswersWithTheSizeAndReachesAFileOnlyFromItsDirectory) {
    EXPECT_EQ(select(card, 0x6F04).sw, (Bytes{0x94, 0x04})) << "not from the master file";
    EXPECT_EQ(select(card, 0x7F80).sw, (Bytes{0x9F, 0x16}));
    const Exchange dir = get_response(card, 0x16);
    EXPECT_EQ(dir.sw, kOk);
    EXPECT_EQ(dir.resp[22], 0xEE) << "no more than the 22 announced bytes";

    EXPECT_EQ(select(card, 0x6F04).sw, (Bytes{0x9F, 0x0F}));
    EXPECT_EQ(head(get_response(card, 0x0F), 4), (Bytes{0x00, 0x00, 0x01, 0xC2}));  // 450
    EXPECT_EQ(get_response(card, 0x0F).sw, (Bytes{0x6F, 0x00})) << "already consumed";
    EXPECT_EQ(select(card, 0x6F99).sw, (Bytes{0x94, 0x04}));
    EXPECT_EQ(card.current_file(), 0x6F04) << "a failed select keeps the current file";

    card.set_has_operator_directory(false);
    EXPECT_EQ(select(card, 0x7F80).sw, (Bytes{0x94, 0x04}));
}

TEST_F(CardTest, ChunkedUpdateAndReadSetTheUpdateBit) {
    EXPECT_EQ(binary(card, 0, 10).sw, (Bytes{0x69, 0x86})) << "no current file";
    select_6F04();
    Bytes image(450);
    for (size_t i = 0; i < image.size(); ++i) {
        image[i] = static_cast<uint8_t>(i * 7);
    }
    for (uint16_t off = 0; off < 450; off += 200) {
        const Bytes chunk(image.begin() + off, image.begin() + std::min(off + 200, 450));
        EXPECT_EQ(binary(card, off, 0, chunk).sw, kOk);
    }
    EXPECT_TRUE(card.file(0x6F04)->updated);
    EXPECT_EQ(card.file(0x6F04)->contents, image);

    const Exchange tail = binary(card, 400, 50);
    EXPECT_EQ(tail.sw, kOk);
    EXPECT_EQ(head(tail, 50), Bytes(image.begin() + 400, image.end()));
    EXPECT_EQ(tail.resp[50], 0xEE);
    // Past the end: refused whole.
    EXPECT_EQ(binary(card, 400, 51).sw, (Bytes{0x6B, 0x00}));
    EXPECT_EQ(binary(card, 440, 0, Bytes(20, 0xAA)).sw, (Bytes{0x6B, 0x00}));
    EXPECT_EQ(card.file(0x6F04)->contents, image);
}

TEST_F(CardTest, UpdateBitmapCountsFrom6F04AndResetBitmapFrom6F02) {
    card.add_file(0x6F02, 4, "aaaa", std::string_view("fact"), true);  // below the update bitmap
    card.add_file(0x6F12, 4, "bbbb", std::string_view("orig"), true);
    card.add_file(0x6FDA, 8, {}, {}, true);
    card.file(0x6F04)->contents[0] = 'x';
    card.file(0x6F04)->updated = true;

    EXPECT_EQ(send(card, SIMIO_IOCTL_READ, {0xA0, 0xE1, 0, 0, 0}).sw, (Bytes{0x9F, 27}));
    Bytes expected(27, 0);
    expected[0] = 0x80;   // 6F04
    expected[1] = 0x02;   // 6F12: index 14
    expected[26] = 0x02;  // 6FDA: index 214
    EXPECT_EQ(head(get_response(card, 27), 27), expected);

    auto reset = [&](const Bytes &bitmap) {
        return send(card, SIMIO_IOCTL_WRITE,
                    {0xA0, 0xE4, 0, 0, static_cast<uint8_t>(bitmap.size())}, bitmap)
            .sw;
    };
    EXPECT_EQ(reset({0x20}), kOk);  // index 2 = 6F04
    EXPECT_EQ(card.text(0x6F04), "<P00=FF>");
    EXPECT_FALSE(card.file(0x6F04)->updated);
    EXPECT_EQ(card.text(0x6F02), "aaaa");

    EXPECT_EQ(reset({0x80, 0x00, 0x80}), kOk);
    EXPECT_EQ(card.text(0x6F02), "fact");
    EXPECT_EQ(card.text(0x6F12), "orig");
    EXPECT_FALSE(card.file(0x6F12)->updated);
    EXPECT_EQ(card.text(0x6F07), "<P00=\"1.IP.1\">");
}

// ---- authentication, host side computed here ---------------------------------

using Block = std::array<uint8_t, 8>;

Block block(const void *p) {
    Block b;
    std::memcpy(b.data(), p, 8);
    return b;
}

Block host_3des(Block k1, Block k2, Block x) {
    DES_key_schedule s1, s2;
    DES_set_key_unchecked(reinterpret_cast<DES_cblock *>(k1.data()), &s1);
    DES_set_key_unchecked(reinterpret_cast<DES_cblock *>(k2.data()), &s2);
    Block r;
    DES_ecb3_encrypt(reinterpret_cast<DES_cblock *>(x.data()),
                     reinterpret_cast<DES_cblock *>(r.data()), &s1, &s2, &s1, DES_ENCRYPT);
    return r;
}

// Whether the card proved it holds the key, and its status word for the host's answer.
using HostAuth = std::pair<bool, Bytes>;

HostAuth authenticate(VirtualCard &card, std::string_view key) {
    const Block k1 = block(key.data());
    const Block k2 = block(key.data() + 8);
    const Bytes r = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_EQ(send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xE2, 0, 0, 0x10}, r).sw, (Bytes{0x9F, 0x18}));
    const Bytes a = head(get_response(card, 0x18), 24);
    const Block a1 = block(a.data()), a2 = block(a.data() + 8), q = block(a.data() + 16);

    const Block x =
        host_3des(host_3des(k1, k2, block(r.data())), host_3des(k1, k2, a2), block(r.data() + 8));
    const Block b = {0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D};
    const Block y = host_3des(host_3des(k1, k2, q), host_3des(k1, k2, b), a1);
    return {x == q,
            send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xE3, 0, 0, 8}, Bytes(y.begin(), y.end())).sw};
}

TEST(CardAuth, MutualAuthenticationWithTheSharedKeyOnly) {
    VirtualCard card;
    card.set_key("0123456789abcdef");
    EXPECT_EQ(authenticate(card, "0123456789abcdef"), HostAuth(true, kOk));
    EXPECT_EQ(authenticate(card, VirtualCard::kDefaultKey), HostAuth(false, (Bytes{0x98, 0x04})));

    card.set_wrong_proof(true);
    EXPECT_FALSE(authenticate(card, "0123456789abcdef").first);
    card.clear_faults();
    card.set_reject_host(true);
    EXPECT_EQ(authenticate(card, "0123456789abcdef"), HostAuth(true, (Bytes{0x98, 0x04})));
}

TEST(CardAuth, AccountCheckComparesTheWholeText) {
    VirtualCard card;
    auto check = [&](const std::string &text) {
        return send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xE0, 0, 0, static_cast<uint8_t>(text.size())},
                    Bytes(text.begin(), text.end()))
            .sw;
    };
    EXPECT_EQ(check(";"), (Bytes{0x98, 0x04})) << "no account configured";
    card.set_account("admin", "pw");
    EXPECT_EQ(check("admin;pw"), kOk);
    EXPECT_EQ(check("admin;px"), (Bytes{0x98, 0x04}));

    const std::string name(300, 'n');
    card.set_account(name, "pw");
    EXPECT_EQ(check(name + ";pw"), kOk);  // P3 = 303 mod 256
    EXPECT_EQ(check(name + ";pwx"), (Bytes{0x98, 0x04}));
}

TEST_F(CardTest, FaultsSkipThenHitTimes) {
    select_6F04();
    card.fail_ioctl(ins::kUpdateBinary, 1, 2);
    EXPECT_EQ(binary(card, 0, 0, {'a'}).rc, 0);
    EXPECT_EQ(binary(card, 1, 0, {'b'}).rc, -1);
    EXPECT_EQ(binary(card, 2, 0, {'c'}).rc, -1);
    EXPECT_EQ(binary(card, 0, 1).rc, 0) << "other commands pass";
    EXPECT_EQ(binary(card, 3, 0, {'d'}).rc, 0);
    EXPECT_EQ(card.text(0x6F04).substr(0, 4), "aP0d") << "failed writes reached nothing";

    card.fail_status(ins::kUpdateBinary, 0x65, 0x81);
    EXPECT_EQ(binary(card, 0, 0, {'z'}).sw, (Bytes{0x65, 0x81}));
    EXPECT_EQ(card.text(0x6F04)[0], 'a') << "not performed";
    EXPECT_EQ(binary(card, 0, 0, {'z'}).sw, kOk);
}

TEST_F(CardTest, APowerCutKeepsWhatReachedTheCardAndAnswersNothingMore) {
    select_6F04();
    card.cut_power_after_updates(2);
    card.fail_status(ins::kUpdateBinary, 0x65, 0x81);
    EXPECT_EQ(binary(card, 0, 0, {'a'}).sw, (Bytes{0x65, 0x81})) << "refused: not counted";
    EXPECT_EQ(binary(card, 0, 0, {'b'}).sw, kOk);
    EXPECT_TRUE(card.powered());
    EXPECT_EQ(binary(card, 1, 0, {'c'}).sw, kOk);
    EXPECT_FALSE(card.powered());
    EXPECT_EQ(binary(card, 2, 0, {'d'}).rc, -1);
    EXPECT_EQ(binary(card, 0, 1).rc, -1);
    int online = -1;
    EXPECT_EQ(0, card.ioctl(SIMIO_IOCTL_ONLINE, &online));
    EXPECT_EQ(0, online);
    EXPECT_EQ(card.text(0x6F04).substr(0, 4), "bc00");

    card.clear_faults();
    EXPECT_EQ(binary(card, 0, 1).sw, (Bytes{0x69, 0x86})) << "powered on afresh: no file selected";
    card.cut_power_after_updates(0);
    EXPECT_EQ(select(card, 0x7F80).rc, -1);
}

// ---- card image ----------------------------------------------------------------

TEST(CardImage, RoundTripIsExactAndAMalformedImageNamesItsLineAndChangesNothing) {
    VirtualCard card;
    card.add_file(0x6F07, 512, "<P00=\"1.IP.1\" P01=FF>", std::string_view("<P00=FF>"), true);
    std::string binary(256, '\0');
    std::iota(binary.begin(), binary.end(), '\0');  // every byte value
    card.add_file(0x6F10, 300, " \\" + binary + " ", {}, false, 0xFF);
    card.set_has_operator_directory(false);
    card.set_key(std::string("\x00\\key 0123456789 ", 16));
    card.set_account("ad min", "p\\w;");

    std::stringstream saved;
    card.save_image(saved);
    VirtualCard loaded;
    loaded.load_image(saved);
    ASSERT_EQ(loaded.files().size(), 2u);
    for (const ElementaryFile *ef : card.files()) {
        const ElementaryFile &other = *loaded.file(ef->id);
        EXPECT_EQ(std::tie(other.contents, other.factory, other.updated),
                  std::tie(ef->contents, ef->factory, ef->updated))
            << std::hex << ef->id;
    }
    EXPECT_FALSE(loaded.has_operator_directory());
    EXPECT_EQ(loaded.key(), card.key());
    EXPECT_EQ(loaded.account(), "ad min");
    EXPECT_EQ(loaded.password(), "p\\w;");

    const std::pair<const char *, const char *> cases[] = {
        {"file 6F04 4 0 00 abc\nfile 6F05 2 0 00 abc\n", "line 2"},
        {"\n# c\nfile 6F04 4 2 00\n", "line 3"},
        {"file 6F04 4 0 00 a\\q\n", "line 1"},
        {"file 6F04 4 0 00\nfile 6F04 4 0 00\n", "line 2"},
    };
    for (const auto &[text, where] : cases) {
        std::istringstream in(text);
        try {
            loaded.load_image(in);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const std::runtime_error &e) {
            EXPECT_NE(std::string(e.what()).find(where), std::string::npos)
                << e.what() << " for " << text;
        }
        EXPECT_EQ(loaded.files().size(), 2u) << text;
    }
}

}  // namespace
}  // namespace simcard::vcard
