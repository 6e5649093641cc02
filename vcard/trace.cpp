#include <cstdio>
#include <string>

#include "vcard/virtual_card.h"

namespace simcard::vcard {

std::string hex_bytes(const uint8_t *bytes, size_t n) {
    std::string text;
    char buf[4];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(buf, sizeof buf, i == 0 ? "%02X" : " %02X", bytes[i]);
        text += buf;
    }
    return text;
}

namespace {

std::string command_name(const TraceEntry &e) {
    const auto &h = e.header;
    const unsigned offset = static_cast<unsigned>(h[2] << 8 | h[3]);
    const unsigned length = h[4];
    char buf[64];
    if (h[0] == 0xA0) {
        switch (h[1]) {
            case ins::kSelect:
                if (e.data.size() >= 2) {
                    std::snprintf(buf, sizeof buf, "SELECT %02X%02X", e.data[0], e.data[1]);
                    return buf;
                }
                return "SELECT";
            case ins::kGetResponse:
                std::snprintf(buf, sizeof buf, "GET RESPONSE len=%u", length);
                return buf;
            case ins::kReadBinary:
                std::snprintf(buf, sizeof buf, "READ BINARY off=%u len=%u", offset, length);
                return buf;
            case ins::kUpdateBinary:
                std::snprintf(buf, sizeof buf, "UPDATE BINARY off=%u len=%u", offset, length);
                return buf;
            case ins::kAccountCheck:
                return "ACCOUNT CHECK";
            case ins::kUpdateStatus:
                return "UPDATE STATUS";
            case ins::kAuthChallenge:
                return "AUTH CHALLENGE";
            case ins::kAuthAnswer:
                return "AUTH ANSWER";
            case ins::kFactoryReset:
                return e.data.empty() ? "FACTORY RESET"
                                      : "FACTORY RESET " + hex_bytes(e.data.data(), e.data.size());
            default:
                break;
        }
    }
    return hex_bytes(h.data(), h.size());
}

}  // namespace

std::string describe(const TraceEntry &entry) {
    std::string text;
    switch (entry.request) {
        case Request::Invalid:
            return "UNKNOWN REQUEST -> ioctl failed";
        case Request::Online:
            text = "ONLINE";
            break;
        case Request::Read:
        case Request::Write:
            text = command_name(entry);
            break;
    }
    if (entry.failed) {
        return text + " -> ioctl failed";
    }
    if (entry.request == Request::Online) {
        return text + " -> " + std::to_string(entry.online_value);
    }
    const uint8_t sw[2] = {entry.sw1, entry.sw2};
    return text + " -> " + hex_bytes(sw, 2);
}

std::vector<std::string> describe_bytes(const TraceEntry &entry) {
    if (entry.request != Request::Read && entry.request != Request::Write) {
        return {};
    }
    std::vector<uint8_t> sent(entry.header.begin(), entry.header.end());
    sent.insert(sent.end(), entry.data.begin(), entry.data.end());
    std::vector<std::string> lines = {"> " + hex_bytes(sent.data(), sent.size())};
    if (!entry.failed) {
        std::vector<uint8_t> received(entry.response);
        received.push_back(entry.sw1);
        received.push_back(entry.sw2);
        lines.push_back("< " + hex_bytes(received.data(), received.size()));
    }
    return lines;
}

}  // namespace simcard::vcard
