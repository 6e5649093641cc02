// The tap under a platform table and the GSMTAP frames of the pcap writer,
// byte by byte (the target's byte order must not leak into network fields).
#include "vcard/pcap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>

#include "simcard/simcard_hal.h"
#include "vcard/tap.h"
#include "vcard/virtual_platform.h"

namespace simcard::vcard {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(Tap, SinksSeeEveryRequestWithTheBaseClockAndOtherCallsReachTheBase) {
    VirtualCard card;
    card.add_file(0x6F04, 16, "<P00=\"x\">");
    VirtualPlatform virt(card);
    virt.set_time(1700000000, 250);
    Tap tap(*virt.table());
    std::vector<std::pair<TraceEntry, timeval>> seen;
    tap.add_sink([&](const TraceEntry &e, const timeval &t) { seen.emplace_back(e, t); });
    const simcard_platform &t = *tap.table();

    const int fd = t.open(t.ctx, SIMCARD_PATH_DEVICE, 0, 0);
    int online = 0;
    ASSERT_EQ(0, t.ioctl(t.ctx, fd, SIMIO_IOCTL_ONLINE, &online));
    uint8_t header[5] = {0xA0, 0xA4, 0, 0, 2};
    uint8_t id[2] = {0x7F, 0x80};
    simio_request req{};
    req.header = header;
    req.data = id;
    req.data_len = 2;
    t.ioctl(t.ctx, fd, SIMIO_IOCTL_WRITE, &req);
    t.usleep(t.ctx, 1000);  // reaches the virtual clock
    uint8_t read_header[5] = {0xA0, 0xC0, 0, 0, 3};
    uint8_t resp[3] = {};
    simio_request read{};
    read.header = read_header;
    read.resp = resp;
    t.ioctl(t.ctx, fd, SIMIO_IOCTL_READ, &read);
    EXPECT_EQ(-1, t.ioctl(t.ctx, fd + 1, SIMIO_IOCTL_READ, &read));

    ASSERT_EQ(4u, seen.size());
    EXPECT_EQ(Request::Online, seen[0].first.request);
    EXPECT_EQ(1, seen[0].first.online_value);
    EXPECT_EQ((Bytes{0x7F, 0x80}), seen[1].first.data);
    EXPECT_EQ(0x9F, seen[1].first.sw1);
    EXPECT_EQ(1700000000, seen[1].second.tv_sec);
    EXPECT_EQ(250, seen[1].second.tv_usec);
    EXPECT_EQ(Bytes(resp, resp + 3), seen[2].first.response);
    EXPECT_EQ(1250, seen[2].second.tv_usec);
    EXPECT_TRUE(seen[3].first.failed);
    EXPECT_EQ((std::vector<std::string>{"> A0 C0 00 00 03"}), describe_bytes(seen[3].first));
}

TEST(Pcap, FramesCarryTheExchangeAsSimTracersLayItOut) {
    TraceEntry update;
    update.request = Request::Write;
    update.header = {0xA0, 0xD6, 0x00, 0xC8, 2};
    update.data = {0x3C, 0x3E};
    update.sw1 = 0x90;
    TraceEntry read = update;
    read.request = Request::Read;
    read.header[1] = 0xB0;
    read.data.clear();
    read.response = {0x41, 0x42};
    EXPECT_EQ((Bytes{0xA0, 0xD6, 0x00, 0xC8, 2, 0x3C, 0x3E, 0x90, 0x00}),
              gsmtap_sim_payload(update));
    EXPECT_EQ((Bytes{0xA0, 0xB0, 0x00, 0xC8, 2, 0x41, 0x42, 0x90, 0x00}), gsmtap_sim_payload(read));
    EXPECT_EQ((std::vector<std::string>{"> A0 B0 00 C8 02", "< 41 42 90 00"}),
              describe_bytes(read));
    TraceEntry online;
    online.request = Request::Online;
    TraceEntry failed = update;
    failed.failed = true;
    EXPECT_TRUE(gsmtap_sim_payload(online).empty());
    EXPECT_TRUE(gsmtap_sim_payload(failed).empty());

    const Bytes payload = gsmtap_sim_payload(update);
    const Bytes frame = gsmtap_frame(payload);
    ASSERT_EQ(14u + 20 + 8 + 16 + payload.size(), frame.size());
    EXPECT_EQ((Bytes{0x08, 0x00}), Bytes(frame.begin() + 12, frame.begin() + 14));
    const uint8_t *ip = frame.data() + 14;
    EXPECT_EQ(frame.size() - 14, static_cast<size_t>(ip[2] << 8 | ip[3]));
    uint32_t sum = 0;  // a header with its checksum sums to 0xFFFF
    for (int i = 0; i < 20; i += 2) sum += static_cast<uint32_t>(ip[i] << 8 | ip[i + 1]);
    EXPECT_EQ(0xFFFFu, (sum & 0xFFFF) + (sum >> 16));
    const uint8_t *udp = ip + 20;
    EXPECT_EQ(kGsmtapPort, udp[2] << 8 | udp[3]);
    EXPECT_EQ(8u + 16 + payload.size(), static_cast<size_t>(udp[4] << 8 | udp[5]));
    EXPECT_EQ((Bytes{2, 4, 4}), Bytes(udp + 8, udp + 11));  // version 2, 16 bytes, SIM
    EXPECT_EQ(payload, Bytes(udp + 24, frame.data() + frame.size()));
}

TEST(Pcap, FileHoldsOneRecordPerCardCommand) {
    ScopedSandbox dir;
    const std::string path = dir.path("t.pcap");
    TraceEntry select;
    select.request = Request::Write;
    select.header = {0xA0, 0xA4, 0, 0, 2};
    select.data = {0x6F, 0x05};
    select.sw1 = 0x9F;
    select.sw2 = 0x0F;
    TraceEntry online;
    online.request = Request::Online;
    {
        PcapWriter pcap(path);
        EXPECT_TRUE(pcap.write(select, {7, 9}));
        EXPECT_TRUE(pcap.write(online, {8, 0}));
        EXPECT_EQ(1u, pcap.frames());
    }
    std::ifstream in(path, std::ios::binary);
    const Bytes file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const Bytes frame = gsmtap_frame(gsmtap_sim_payload(select));
    ASSERT_EQ(24u + 16 + frame.size(), file.size());
    uint32_t magic = 0;
    uint32_t words[4];
    std::memcpy(&magic, file.data(), 4);
    std::memcpy(words, file.data() + 24, 16);
    EXPECT_EQ(0xA1B2C3D4u, magic);
    EXPECT_EQ(7u, words[0]);
    EXPECT_EQ(9u, words[1]);
    EXPECT_EQ(frame.size(), words[2]);
    EXPECT_EQ(frame, Bytes(file.begin() + 40, file.end()));

    EXPECT_THROW(PcapWriter(dir.path("no/such/dir/t.pcap")), std::runtime_error);
}

}  // namespace
}  // namespace simcard::vcard
