// The card image: the card's files and settings as text a person can read and
// edit.
//
//   # comment lines and blank lines are ignored
//   operator-directory yes              (or no)
//   key 7305918264730591                (16 bytes)
//   account admin                       (no account lines: the card refuses
//   password secret                      every account check)
//   file 6F07 512 1 00 <P00="1.IP.1" P01=FF>
//   factory 6F07 00 <P00=FF>
//
// A file line gives the id (hex), the size (decimal), the update bit (0 or 1),
// the fill byte (hex) and the contents; the contents are padded to the size
// with the fill byte. A factory line, after its file line, gives the factory
// contents the same way; without one they equal the contents.
//
// Byte text (contents, key, account, password) runs to the end of the line:
// printable ASCII stands for itself, "\\" is a backslash and "\xHH" any byte.
// Writing escapes every other byte, and a blank at either end, so that no
// editor can change the text by trimming the line.
#include <algorithm>
#include <cctype>
#include <fstream>
#include <istream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "vcard/virtual_card.h"

namespace simcard::vcard {
namespace {

constexpr std::string_view kHeader =
    "# Virtual configuration card.\n"
    "# file <id> <size> <updated 0|1> <fill byte> <contents>\n"
    "# factory <id> <fill byte> <contents>   (only where it differs from the contents)\n"
    "# Contents run to the end of the line: printable ASCII as is, \\\\ for a backslash,\n"
    "# \\xHH for any other byte; the fill byte pads them to the file's size.\n";

bool printable(uint8_t b) { return b >= 0x20 && b <= 0x7E; }

std::string encode(const uint8_t *bytes, size_t n) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(n);
    for (size_t i = 0; i < n; ++i) {
        const uint8_t b = bytes[i];
        const bool edge_blank = b == ' ' && (i == 0 || i + 1 == n);
        if (b == '\\') {
            text += "\\\\";
        } else if (printable(b) && !edge_blank) {
            text += static_cast<char>(b);
        } else {
            text += "\\x";
            text += kHex[b >> 4];
            text += kHex[b & 0x0F];
        }
    }
    return text;
}

std::string encode(std::string_view s) {
    return encode(reinterpret_cast<const uint8_t *>(s.data()), s.size());
}

std::string hex_byte(uint8_t b) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    return {kHex[b >> 4], kHex[b & 0x0F]};
}

std::string hex_id(uint16_t id) {
    return hex_byte(static_cast<uint8_t>(id >> 8)) + hex_byte(static_cast<uint8_t>(id));
}

// The trailing run of a padding-like byte becomes the fill; printable text is
// never cut, so "abc" stays "abc" rather than "ab" filled with 'c'.
void write_contents(std::ostream &out, const std::vector<uint8_t> &bytes) {
    size_t end = bytes.size();
    uint8_t fill = 0x00;
    if (end > 0 && !printable(bytes[end - 1])) {
        fill = bytes[end - 1];
        while (end > 0 && bytes[end - 1] == fill) {
            --end;
        }
    }
    out << hex_byte(fill);
    if (end > 0) {
        out << ' ' << encode(bytes.data(), end);
    }
}

// One line of the image being read, consumed word by word.
class Line {
public:
    Line(std::string_view text, size_t number) : rest_(text), number_(number) {}

    [[noreturn]] void fail(const std::string &what) const {
        throw std::runtime_error("card image line " + std::to_string(number_) + ": " + what);
    }

    std::string_view word(const char *what) {
        skip_blanks();
        const size_t n = std::min(rest_.find_first_of(" \t"), rest_.size());
        if (n == 0) {
            fail(std::string("missing ") + what);
        }
        std::string_view w = rest_.substr(0, n);
        rest_.remove_prefix(n);
        return w;
    }

    unsigned long number(const char *what, int base, unsigned long max) {
        const std::string w(word(what));
        size_t used = 0;
        unsigned long v = 0;
        try {
            v = std::stoul(w, &used, base);
        } catch (const std::exception &) {
            used = 0;
        }
        if (used != w.size() || !std::isxdigit(static_cast<unsigned char>(w[0])) || v > max) {
            fail("bad " + std::string(what) + " '" + w + "'");
        }
        return v;
    }

    std::string bytes() {
        skip_blanks();
        std::string out;
        for (size_t i = 0; i < rest_.size(); ++i) {
            if (rest_[i] != '\\') {
                out += rest_[i];
            } else if (i + 1 < rest_.size() && rest_[i + 1] == '\\') {
                out += '\\';
                ++i;
            } else if (i + 3 < rest_.size() && rest_[i + 1] == 'x' &&
                       std::isxdigit(static_cast<unsigned char>(rest_[i + 2])) &&
                       std::isxdigit(static_cast<unsigned char>(rest_[i + 3]))) {
                out +=
                    static_cast<char>(std::stoi(std::string(rest_.substr(i + 2, 2)), nullptr, 16));
                i += 3;
            } else {
                fail("bad escape in '" + std::string(rest_) + "'");
            }
        }
        rest_ = {};
        return out;
    }

    void end() {
        skip_blanks();
        if (!rest_.empty()) {
            fail("unexpected '" + std::string(rest_) + "'");
        }
    }

private:
    void skip_blanks() {
        const size_t n = rest_.find_first_not_of(" \t");
        rest_.remove_prefix(std::min(n, rest_.size()));
    }

    std::string_view rest_;
    size_t number_;
};

}  // namespace

void VirtualCard::load_image(std::istream &in) {
    // Read into a fresh card so that a malformed image changes nothing.
    VirtualCard image;
    std::map<uint16_t, bool> has_factory;

    std::string raw;
    for (size_t number = 1; std::getline(in, raw); ++number) {
        std::string_view text = raw;
        // Editors may leave CR or blanks at the end; the writer escapes both.
        while (!text.empty() &&
               (text.back() == '\r' || text.back() == ' ' || text.back() == '\t')) {
            text.remove_suffix(1);
        }
        const size_t start = text.find_first_not_of(" \t");
        if (start == std::string_view::npos || text[start] == '#') {
            continue;
        }
        Line line(text, number);
        const std::string_view keyword = line.word("keyword");
        if (keyword == "operator-directory") {
            const std::string_view v = line.word("yes or no");
            if (v != "yes" && v != "no") {
                line.fail("operator-directory must be yes or no");
            }
            image.has_operator_directory_ = v == "yes";
            line.end();
        } else if (keyword == "key") {
            const std::string key = line.bytes();
            if (key.size() != kKeySize) {
                line.fail("key must be 16 bytes");
            }
            image.set_key(key);
        } else if (keyword == "account") {
            image.has_account_ = true;
            image.account_ = line.bytes();
        } else if (keyword == "password") {
            image.has_account_ = true;
            image.password_ = line.bytes();
        } else if (keyword == "file") {
            const auto id = static_cast<uint16_t>(line.number("file id", 16, 0xFFFF));
            const size_t size = line.number("size", 10, kMaxFileSize);
            const unsigned long updated = line.number("update bit", 10, 1);
            const auto fill = static_cast<uint8_t>(line.number("fill byte", 16, 0xFF));
            const std::string contents = line.bytes();
            if (image.file(id) != nullptr) {
                line.fail("file " + hex_id(id) + " given twice");
            }
            if (contents.size() > size) {
                line.fail("contents longer than the file");
            }
            image.add_file(id, size, contents, std::nullopt, updated == 1, fill);
        } else if (keyword == "factory") {
            const auto id = static_cast<uint16_t>(line.number("file id", 16, 0xFFFF));
            const auto fill = static_cast<uint8_t>(line.number("fill byte", 16, 0xFF));
            const std::string contents = line.bytes();
            ElementaryFile *ef = image.file(id);
            const std::string name = hex_id(id);
            if (ef == nullptr) {
                line.fail("factory contents for file " + name + " before its file line");
            }
            if (has_factory[id]) {
                line.fail("factory contents for file " + name + " given twice");
            }
            if (contents.size() > ef->factory.size()) {
                line.fail("factory contents longer than the file");
            }
            ef->factory.assign(contents.begin(), contents.end());
            ef->factory.resize(ef->contents.size(), fill);
            has_factory[id] = true;
        } else {
            line.fail("unknown keyword '" + std::string(keyword) + "'");
        }
    }
    if (in.bad()) {
        throw std::runtime_error("card image: read error");
    }

    files_ = std::move(image.files_);
    has_operator_directory_ = image.has_operator_directory_;
    key_ = image.key_;
    has_account_ = image.has_account_;
    account_ = std::move(image.account_);
    password_ = std::move(image.password_);
    reset();
}

void VirtualCard::save_image(std::ostream &out) const {
    out << kHeader;
    out << "operator-directory " << (has_operator_directory_ ? "yes" : "no") << '\n';
    out << "key " << encode(key_.data(), key_.size()) << '\n';
    if (has_account_) {
        out << "account " << encode(account_) << '\n';
        out << "password " << encode(password_) << '\n';
    }
    out << '\n';
    for (const auto &[id, ef] : files_) {
        const std::string name = hex_id(id);
        out << "file " << name << ' ' << ef.contents.size() << ' ' << (ef.updated ? 1 : 0) << ' ';
        write_contents(out, ef.contents);
        out << '\n';
        if (ef.factory != ef.contents) {
            out << "factory " << name << ' ';
            write_contents(out, ef.factory);
            out << '\n';
        }
    }
}

void VirtualCard::load_image_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("card image " + path + ": cannot open");
    }
    load_image(in);
}

void VirtualCard::save_image_file(const std::string &path) const {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) {
        throw std::runtime_error("card image " + path + ": cannot create");
    }
    save_image(out);
    out.flush();
    if (!out) {
        throw std::runtime_error("card image " + path + ": write error");
    }
}

}  // namespace simcard::vcard
