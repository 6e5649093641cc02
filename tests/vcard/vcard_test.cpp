// The host side here is written from the command set, not from the card's
// code: records are built by hand and the authentication is computed anew.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <gtest/gtest.h>
#include <openssl/des.h>

#include <cerrno>
#include <cstring>
#include <sstream>

#include "simcard/simcard_hal.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace simcard::vcard {
namespace {

using Bytes = std::vector<uint8_t>;

struct Exchange {
    int rc;
    uint8_t sw1;
    uint8_t sw2;
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
    return {rc, req.sw1, req.sw2, resp};
}

Exchange select(VirtualCard &card, uint16_t id) {
    return send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xA4, 0, 0, 2},
                {static_cast<uint8_t>(id >> 8), static_cast<uint8_t>(id)});
}

Exchange get_response(VirtualCard &card, uint8_t le) {
    return send(card, SIMIO_IOCTL_READ, {0xA0, 0xC0, 0, 0, le});
}

Exchange read_binary(VirtualCard &card, uint16_t offset, uint8_t n) {
    return send(card, SIMIO_IOCTL_READ,
                {0xA0, 0xB0, static_cast<uint8_t>(offset >> 8), static_cast<uint8_t>(offset), n});
}

Exchange update_binary(VirtualCard &card, uint16_t offset, const Bytes &data) {
    return send(card, SIMIO_IOCTL_WRITE,
                {0xA0, 0xD6, static_cast<uint8_t>(offset >> 8), static_cast<uint8_t>(offset),
                 static_cast<uint8_t>(data.size())},
                data);
}

Bytes sw(const Exchange &e) { return {e.sw1, e.sw2}; }

Bytes head(const Exchange &e, size_t n) { return Bytes(e.resp.begin(), e.resp.begin() + n); }

class CardTest : public ::testing::Test {
  protected:
    void SetUp() override {
        card.add_file(0x6F04, 450, "<P00=FF>");
        card.add_file(0x6F07, 64, "<P00=\"1.IP.1\">", std::string_view("<P00=FF>"));
    }
    void enter_directory() { ASSERT_EQ(sw(select(card, 0x7F80)), (Bytes{0x9F, 0x16})); }

    VirtualCard card;
};

TEST_F(CardTest, SelectAnswersAndSizeBytes) {
    const Exchange dir = select(card, 0x7F80);
    EXPECT_EQ(sw(dir), (Bytes{0x9F, 0x16}));
    EXPECT_EQ(head(dir, 1), (Bytes{0xEE})) << "a WRITE request hands nothing back";
    const Exchange dir_answer = get_response(card, 0x16);
    EXPECT_EQ(sw(dir_answer), (Bytes{0x90, 0x00}));
    EXPECT_EQ(dir_answer.resp[4], 0x7F);
    EXPECT_EQ(dir_answer.resp[22], 0xEE) << "no more than the 22 announced bytes";

    EXPECT_EQ(sw(select(card, 0x6F04)), (Bytes{0x9F, 0x0F}));
    const Exchange ef = get_response(card, 0x0F);
    EXPECT_EQ(ef.resp[2], 0x01);  // 450 = 0x01C2
    EXPECT_EQ(ef.resp[3], 0xC2);
    EXPECT_EQ(ef.resp[6], 0x04);
    EXPECT_EQ(card.current_file(), 0x6F04);

    // A failed select keeps the current file.
    EXPECT_EQ(sw(select(card, 0x6F99)), (Bytes{0x94, 0x04}));
    EXPECT_EQ(card.current_file(), 0x6F04);
}

TEST_F(CardTest, FileIsOnlyReachableFromItsDirectory) {
    EXPECT_EQ(sw(select(card, 0x6F04)), (Bytes{0x94, 0x04}));
    EXPECT_EQ(sw(select(card, 0x3F00)), (Bytes{0x9F, 0x16}));
    EXPECT_EQ(sw(select(card, 0x6F04)), (Bytes{0x94, 0x04}));

    card.set_has_operator_directory(false);
    EXPECT_EQ(sw(select(card, 0x7F80)), (Bytes{0x94, 0x04}));
}

TEST_F(CardTest, GetResponseDeliversAtMostLeAndAnswersAreConsumedByAnyCommand) {
    enter_directory();
    select(card, 0x6F04);
    const Exchange part = get_response(card, 4);
    EXPECT_EQ(head(part, 5), (Bytes{0x00, 0x00, 0x01, 0xC2, 0xEE}));
    EXPECT_EQ(sw(get_response(card, 15)), (Bytes{0x6F, 0x00})) << "already consumed";

    select(card, 0x6F04);
    EXPECT_EQ(sw(read_binary(card, 0, 1)), (Bytes{0x90, 0x00}));
    EXPECT_EQ(sw(get_response(card, 15)), (Bytes{0x6F, 0x00}));
}

TEST_F(CardTest, ChunkedUpdateAndReadSetTheUpdateBit) {
    enter_directory();
    select(card, 0x6F04);
    Bytes image(450);
    for (size_t i = 0; i < image.size(); ++i) {
        image[i] = static_cast<uint8_t>(i * 7);
    }
    for (uint16_t off = 0; off < 450; off += 200) {
        const Bytes chunk(image.begin() + off, image.begin() + std::min(off + 200, 450));
        EXPECT_EQ(sw(update_binary(card, off, chunk)), (Bytes{0x90, 0x00}));
    }
    EXPECT_TRUE(card.file(0x6F04)->updated);
    EXPECT_EQ(card.file(0x6F04)->contents, image);

    const Exchange tail = read_binary(card, 400, 50);
    EXPECT_EQ(sw(tail), (Bytes{0x90, 0x00}));
    EXPECT_EQ(head(tail, 50), Bytes(image.begin() + 400, image.end()));
    EXPECT_EQ(tail.resp[50], 0xEE);
    EXPECT_EQ(sw(read_binary(card, 449, 0)), (Bytes{0x90, 0x00}));

    // Past the end: refused whole.
    EXPECT_EQ(sw(read_binary(card, 400, 51)), (Bytes{0x6B, 0x00}));
    EXPECT_EQ(sw(update_binary(card, 440, Bytes(20, 0xAA))), (Bytes{0x6B, 0x00}));
    EXPECT_EQ(card.file(0x6F04)->contents, image);
}

TEST_F(CardTest, ReadWithoutCurrentFileIsRefused) {
    EXPECT_EQ(sw(read_binary(card, 0, 10)), (Bytes{0x69, 0x86}));
    enter_directory();
    EXPECT_EQ(sw(update_binary(card, 0, {1})), (Bytes{0x69, 0x86}));
}

TEST_F(CardTest, UpdateStatusBitmapLayout) {
    card.add_file(0x6F0C, 8, {}, {}, true);
    card.add_file(0x6FDA, 8, {}, {}, true);
    card.add_file(0x6F02, 8, {}, {}, true);  // below the bitmap's range
    card.file(0x6F04)->updated = true;

    const Exchange e1 = send(card, SIMIO_IOCTL_READ, {0xA0, 0xE1, 0, 0, 0});
    EXPECT_EQ(sw(e1), (Bytes{0x9F, 27}));
    const Exchange bitmap = get_response(card, 27);
    Bytes expected(27, 0);
    expected[0] = 0x80;   // 6F04
    expected[1] = 0x80;   // 6F0C
    expected[26] = 0x02;  // 6FDA: index 214
    EXPECT_EQ(head(bitmap, 27), expected);
}

TEST_F(CardTest, FactoryResetCountsFrom6F02) {
    card.add_file(0x6F02, 4, "aaaa", std::string_view("fact"));
    card.add_file(0x6F12, 4, "bbbb", std::string_view("orig"), true);
    enter_directory();
    select(card, 0x6F04);
    update_binary(card, 0, {'x'});
    ASSERT_TRUE(card.file(0x6F04)->updated);

    auto reset = [&](const Bytes &bitmap) {
        return send(card, SIMIO_IOCTL_WRITE,
                    {0xA0, 0xE4, 0, 0, static_cast<uint8_t>(bitmap.size())}, bitmap);
    };
    EXPECT_EQ(sw(reset({0x20})), (Bytes{0x90, 0x00}));  // index 2 = 6F04
    EXPECT_EQ(card.text(0x6F04), "<P00=FF>");
    EXPECT_FALSE(card.file(0x6F04)->updated);
    EXPECT_EQ(card.text(0x6F02), "aaaa");

    EXPECT_EQ(sw(reset({0x80, 0x00, 0x80})), (Bytes{0x90, 0x00}));
    EXPECT_EQ(card.text(0x6F02), "fact");
    EXPECT_EQ(card.text(0x6F12), "orig");
    EXPECT_FALSE(card.file(0x6F12)->updated);
    EXPECT_EQ(card.text(0x6F07), "<P00=\"1.IP.1\">");

    EXPECT_EQ(sw(reset({0x00})), (Bytes{0x90, 0x00}));
}

// ---- authentication, host side computed here ---------------------------------

using Block = std::array<uint8_t, 8>;

Block host_3des(const uint8_t *a, const uint8_t *b, const uint8_t *x) {
    DES_cblock ka, kb, in, out;
    std::memcpy(ka, a, 8);
    std::memcpy(kb, b, 8);
    std::memcpy(in, x, 8);
    DES_key_schedule sa, sb;
    DES_set_key_unchecked(&ka, &sa);
    DES_set_key_unchecked(&kb, &sb);
    DES_ecb3_encrypt(&in, &out, &sa, &sb, &sa, DES_ENCRYPT);
    Block r;
    std::memcpy(r.data(), out, 8);
    return r;
}

struct HostAuth {
    bool card_proved;
    Exchange answer;
};

HostAuth authenticate(VirtualCard &card, std::string_view key) {
    const auto *k = reinterpret_cast<const uint8_t *>(key.data());
    const Bytes r = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const Exchange e2 = send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xE2, 0, 0, 0x10}, r);
    EXPECT_EQ(sw(e2), (Bytes{0x9F, 0x18}));
    const Bytes a = head(get_response(card, 0x18), 24);

    const Block s1 = host_3des(k, k + 8, r.data());
    const Block s2 = host_3des(k, k + 8, a.data() + 8);
    const Block x = host_3des(s1.data(), s2.data(), r.data() + 8);
    const bool proved = std::memcmp(x.data(), a.data() + 16, 8) == 0;

    const Block b = {0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D};
    const Block t1 = host_3des(k, k + 8, a.data() + 16);
    const Block t2 = host_3des(k, k + 8, b.data());
    const Block y = host_3des(t1.data(), t2.data(), a.data());
    return {proved,
            send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xE3, 0, 0, 8}, Bytes(y.begin(), y.end()))};
}

TEST(HostDes, EqualHalvesReduceToSingleDes) {
    const uint8_t key[8] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
    const uint8_t plain[8] = {'N', 'o', 'w', ' ', 'i', 's', ' ', 't'};
    EXPECT_EQ(host_3des(key, key, plain), (Block{0x3F, 0xA4, 0x0E, 0x8A, 0x98, 0x4D, 0x48, 0x15}));
}

TEST(CardAuth, MutualAuthenticationSucceedsWithTheSharedKey) {
    VirtualCard card;
    card.set_seed(42);
    const HostAuth first = authenticate(card, VirtualCard::kDefaultKey);
    EXPECT_TRUE(first.card_proved);
    EXPECT_EQ(sw(first.answer), (Bytes{0x90, 0x00}));

    card.set_key("0123456789abcdef");
    const HostAuth other = authenticate(card, "0123456789abcdef");
    EXPECT_TRUE(other.card_proved);
    EXPECT_EQ(sw(other.answer), (Bytes{0x90, 0x00}));
}

TEST(CardAuth, WrongKeyWrongProofAndRejection) {
    VirtualCard card;
    const HostAuth foreign = authenticate(card, "0000000000000000");
    EXPECT_FALSE(foreign.card_proved);
    EXPECT_EQ(sw(foreign.answer), (Bytes{0x98, 0x04}));

    card.set_wrong_proof(true);
    EXPECT_FALSE(authenticate(card, VirtualCard::kDefaultKey).card_proved);

    card.clear_faults();
    card.set_reject_host(true);
    const HostAuth rejected = authenticate(card, VirtualCard::kDefaultKey);
    EXPECT_TRUE(rejected.card_proved);
    EXPECT_EQ(sw(rejected.answer), (Bytes{0x98, 0x04}));
}

TEST(CardAuth, AnswerWithoutChallengeIsRefused) {
    VirtualCard card;
    EXPECT_EQ(sw(send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xE3, 0, 0, 8}, Bytes(8, 0))),
              (Bytes{0x98, 0x04}));
}

TEST(CardAuth, AccountCheckComparesTheWholeText) {
    VirtualCard card;
    auto check = [&](const std::string &text) {
        return sw(send(card, SIMIO_IOCTL_WRITE,
                       {0xA0, 0xE0, 0, 0, static_cast<uint8_t>(text.size())},
                       Bytes(text.begin(), text.end())));
    };
    EXPECT_EQ(check("admin;pw"), (Bytes{0x98, 0x04})) << "no account configured";
    card.set_account("admin", "pw");
    EXPECT_EQ(check("admin;pw"), (Bytes{0x90, 0x00}));
    EXPECT_EQ(check("admin;px"), (Bytes{0x98, 0x04}));

    const std::string name(300, 'n');
    card.set_account(name, "pw");
    EXPECT_EQ(check(name + ";pw"), (Bytes{0x90, 0x00}));  // P3 = 303 mod 256
    EXPECT_EQ(check(name + ";pwx"), (Bytes{0x98, 0x04}));
}

// ---- faults --------------------------------------------------------------------

TEST_F(CardTest, IoctlFailureSkipsThenHitsTimes) {
    enter_directory();
    select(card, 0x6F04);
    card.fail_ioctl(ins::kUpdateBinary, 1, 2);
    EXPECT_EQ(update_binary(card, 0, {'a'}).rc, 0);
    errno = 0;
    EXPECT_EQ(update_binary(card, 1, {'b'}).rc, -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(update_binary(card, 2, {'c'}).rc, -1);
    EXPECT_EQ(read_binary(card, 0, 1).rc, 0) << "other commands pass";
    EXPECT_EQ(update_binary(card, 3, {'d'}).rc, 0);
    EXPECT_EQ(card.text(0x6F04).substr(0, 4), "aP0d") << "failed writes reached nothing";
    EXPECT_EQ(card.count(ins::kUpdateBinary), 4u);

    card.fail_ioctl(VirtualCard::kAnyCommand, 0, VirtualCard::kAlways);
    EXPECT_EQ(select(card, 0x7F80).rc, -1);
    EXPECT_EQ(read_binary(card, 0, 1).rc, -1);
    card.clear_faults();
    EXPECT_EQ(read_binary(card, 0, 1).rc, 0);
}

TEST_F(CardTest, StatusFaultAnswersWithoutPerforming) {
    enter_directory();
    select(card, 0x6F04);
    card.fail_status(ins::kUpdateBinary, 0x65, 0x81);
    EXPECT_EQ(sw(update_binary(card, 0, {'z'})), (Bytes{0x65, 0x81}));
    EXPECT_EQ(card.text(0x6F04), "<P00=FF>");
    EXPECT_FALSE(card.file(0x6F04)->updated);
    EXPECT_EQ(sw(update_binary(card, 0, {'z'})), (Bytes{0x90, 0x00}));
}

TEST(CardFaults, OnlineStates) {
    VirtualCard card;
    auto online = [&] {
        int value = -7;
        const int rc = card.ioctl(SIMIO_IOCTL_ONLINE, &value);
        return rc == 0 ? value : -100;
    };
    EXPECT_EQ(online(), 1);
    card.set_online_schedule({0, 0, 1});
    card.set_online(false);
    EXPECT_EQ(online(), 0);
    EXPECT_EQ(online(), 0);
    EXPECT_EQ(online(), 1);
    EXPECT_EQ(online(), 0) << "schedule used up, offline";
    card.fail_ioctl(VirtualCard::kOnlineRequest);
    card.fail_ioctl(VirtualCard::kAnyCommand);  // card commands only
    EXPECT_EQ(online(), -100);
    card.clear_faults();
    EXPECT_EQ(online(), 1);
    EXPECT_EQ(card.count_online(), 7u);
}

TEST_F(CardTest, HostileCard) {
    enter_directory();
    card.set_pending_length(0xFF);
    card.set_claimed_size(0xFFFF);
    EXPECT_EQ(sw(select(card, 0x6F07)), (Bytes{0x9F, 0xFF}));
    const Exchange answer = get_response(card, 0xFF);
    EXPECT_EQ(head(answer, 4), (Bytes{0x00, 0x00, 0xFF, 0xFF}));
    EXPECT_EQ(answer.resp[254], 0xFF);
    EXPECT_EQ(answer.resp[255], 0xEE);

    card.set_short_read(5);
    const Exchange shortened = read_binary(card, 0, 10);
    EXPECT_EQ(sw(shortened), (Bytes{0x90, 0x00}));
    EXPECT_EQ(head(shortened, 6), (Bytes{'<', 'P', '0', '0', '=', 0xEE}));
    EXPECT_EQ(sw(read_binary(card, 60, 10)), (Bytes{0x6B, 0x00})) << "claimed size only";
}

TEST_F(CardTest, RequestRecordIsCheckedByTheDriver) {
    errno = 0;
    EXPECT_EQ(card.ioctl(0x1234, nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(card.ioctl(SIMIO_IOCTL_READ, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(sw(send(card, SIMIO_IOCTL_WRITE, {0xA0, 0x12, 0, 0, 0})), (Bytes{0x6D, 0x00}));
}

TEST_F(CardTest, TraceReadsLikeTheExchange) {
    enter_directory();
    get_response(card, 0x16);
    select(card, 0x6F07);
    get_response(card, 0x0F);
    read_binary(card, 0, 64);
    update_binary(card, 60, Bytes(4, 'x'));
    send(card, SIMIO_IOCTL_WRITE, {0xA0, 0xE4, 0, 0, 2}, {0x01, 0x20});
    card.fail_ioctl();
    send(card, SIMIO_IOCTL_READ, {0xA0, 0xE1, 0, 0, 0});
    int value = 0;
    card.ioctl(SIMIO_IOCTL_ONLINE, &value);
    EXPECT_EQ(card.trace_lines(), (std::vector<std::string>{
                                      "SELECT 7F80 -> 9F 16",
                                      "GET RESPONSE len=22 -> 90 00",
                                      "SELECT 6F07 -> 9F 0F",
                                      "GET RESPONSE len=15 -> 90 00",
                                      "READ BINARY off=0 len=64 -> 90 00",
                                      "UPDATE BINARY off=60 len=4 -> 90 00",
                                      "FACTORY RESET 01 20 -> 90 00",
                                      "UPDATE STATUS -> ioctl failed",
                                      "ONLINE -> 1",
                                  }));
    EXPECT_EQ(card.trace()[4].response.size(), 64u);
}

// ---- card image ----------------------------------------------------------------

TEST(CardImage, RoundTripIsExact) {
    VirtualCard card;
    card.add_file(0x6F07, 512, "<P00=\"1.IP.1\" P01=FF>", std::string_view("<P00=FF>"), true);
    std::string binary;
    for (int i = 0; i < 256; ++i) {
        binary += static_cast<char>(i);
    }
    card.add_file(0x6F10, 300, " \\" + binary + " ", {}, false, 0xFF);
    card.add_file(0x6F11, 3, "abc");
    card.add_file(0x6F12, 0);
    card.set_has_operator_directory(false);
    card.set_key(std::string("\x00\\key 0123456789 ", 16));
    card.set_account("ad min", "p\\w;");

    std::stringstream saved;
    card.save_image(saved);
    EXPECT_NE(saved.str().find("\nfile 6F07 512 1 00 <P00=\"1.IP.1\" P01=FF>\n"
                               "factory 6F07 00 <P00=FF>\n"),
              std::string::npos)
        << saved.str();

    VirtualCard loaded;
    loaded.load_image(saved);
    ASSERT_EQ(loaded.files().size(), 4u);
    for (const ElementaryFile *ef : card.files()) {
        const ElementaryFile *other = loaded.file(ef->id);
        ASSERT_NE(other, nullptr);
        EXPECT_EQ(other->contents, ef->contents) << std::hex << ef->id;
        EXPECT_EQ(other->factory, ef->factory) << std::hex << ef->id;
        EXPECT_EQ(other->updated, ef->updated);
    }
    EXPECT_FALSE(loaded.has_operator_directory());
    EXPECT_EQ(loaded.key(), card.key());
    EXPECT_EQ(loaded.account(), "ad min");
    EXPECT_EQ(loaded.password(), "p\\w;");

    std::stringstream again;
    loaded.save_image(again);
    EXPECT_EQ(again.str(), saved.str());
}

TEST(CardImage, HandWrittenImageWithCommentsLoads) {
    std::istringstream in(
        "# a card\n"
        "\n"
        "   file 6f04  16  0  ff   <P00=\"a b\">   \r\n"
        "file 6F05 4 1 00\n");
    VirtualCard card;
    card.load_image(in);
    EXPECT_EQ(card.text(0x6F04), "<P00=\"a b\">\xFF\xFF\xFF\xFF\xFF");
    EXPECT_EQ(card.file(0x6F05)->contents, Bytes(4, 0));
    EXPECT_TRUE(card.file(0x6F05)->updated);
    EXPECT_FALSE(card.has_account());
}

TEST(CardImage, MalformedImagesNameTheLineAndChangeNothing) {
    const std::pair<const char *, const char *> cases[] = {
        {"file 6F04 4 0 00 abc\nfile 6F05 2 0 00 abc\n", "line 2"},
        {"\n# c\nfile 6F04 4 2 00\n", "line 3"},
        {"file 6F04 x 0 00\n", "line 1"},
        {"file 6F04 4 0 00 a\\q\n", "line 1"},
        {"file 6F04 4 0 00 a\\x4\n", "line 1"},
        {"factory 6F04 00 ab\n", "line 1"},
        {"file 6F04 4 0 00\nfile 6F04 4 0 00\n", "line 2"},
        {"key short\n", "line 1"},
        {"operator-directory maybe\n", "line 1"},
        {"frobnicate\n", "line 1"},
        {"file 6F04 70000 0 00\n", "line 1"},
    };
    for (const auto &[text, where] : cases) {
        VirtualCard card;
        card.add_file(0x6F99, 1, "k");
        std::istringstream in(text);
        try {
            card.load_image(in);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const std::runtime_error &e) {
            EXPECT_NE(std::string(e.what()).find(where), std::string::npos)
                << e.what() << " for " << text;
        }
        EXPECT_NE(card.file(0x6F99), nullptr) << text;
    }
}

// ---- platform ------------------------------------------------------------------

TEST(VirtualPlatform, DeviceClockSandboxAndLed) {
    ScopedSandbox box;
    VirtualCard card;
    VirtualPlatform platform(card, box.path());
    const simcard_platform *t = platform.table();
    ASSERT_EQ(t->ctx, &platform);

    const int fd = t->open(t->ctx, SIMCARD_PATH_DEVICE, 2, 0666);
    EXPECT_EQ(fd, VirtualPlatform::kDefaultDescriptor);
    int value = 0;
    EXPECT_EQ(t->ioctl(t->ctx, fd, SIMIO_IOCTL_ONLINE, &value), 0);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(t->ioctl(t->ctx, fd + 1, SIMIO_IOCTL_ONLINE, &value), -1);
    EXPECT_EQ(errno, EBADF);
    platform.set_fail_open(true);
    EXPECT_EQ(t->open(t->ctx, SIMCARD_PATH_DEVICE, 2, 0666), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(platform.open_count(), 2);

    platform.set_time(1000, 999999);
    t->usleep(t->ctx, 10000);
    t->sleep(t->ctx, 2);
    struct timeval tv {};
    t->gettimeofday(t->ctx, &tv);
    EXPECT_EQ(tv.tv_sec, 1003);
    EXPECT_EQ(tv.tv_usec, 9999);
    EXPECT_EQ(platform.usleeps(), std::vector<unsigned>{10000});
    EXPECT_EQ(platform.sleeps(), std::vector<unsigned>{2});

    box.make_dirs("logs");
    FILE *log = t->fopen(t->ctx, SIMCARD_PATH_LOG, "a");
    ASSERT_NE(log, nullptr);
    std::fputs("hello\n", log);
    std::fclose(log);
    EXPECT_EQ(box.read_file("logs/simcard_log"), "hello\n");
    EXPECT_EQ(t->access(t->ctx, SIMCARD_PATH_LOG, 0), 0);
    EXPECT_EQ(t->access(t->ctx, SIMCARD_PATH_CONFIG, 0), -1);
    EXPECT_EQ(std::string(t->resolve(t->ctx, SIMCARD_PATH_MEMDUMP)), box.path() + "/tmp/mem.xml");

    int led[3] = {49, 2, 3};
    EXPECT_EQ(t->led_set(t->ctx, led), 0);
    EXPECT_EQ(platform.led_requests(), (std::vector<std::array<int, 3>>{{49, 2, 3}}));
}

TEST(VirtualPlatform, SandboxIsRemoved) {
    std::string where;
    {
        ScopedSandbox box;
        where = box.path();
        box.write_file("/etc/deep/file", "x");
        EXPECT_TRUE(box.exists("etc/deep/file"));
    }
    EXPECT_NE(::access(where.c_str(), F_OK), 0);
}

}  // namespace
}  // namespace simcard::vcard
