#include "tests/support/sample.h"

#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "sal/config.h"
#include "sal/xml.h"
#include "tests/support/process.h"

namespace simcard::testing {

std::string sample_text(std::string_view name) {
    const std::string path = std::string(SIMCARD_SAMPLE_DIR) + "/" + std::string(name);
    if (!std::ifstream(path)) {
        throw std::runtime_error("cannot read " + path);
    }
    return file_text(path);
}

SampleTest::SampleTest() {
    write_document(sample_text("simcardconfig.xml"));
    clear_log();
    std::istringstream image(sample_text("card.img"));
    card.load_image(image);
}

void SampleTest::write_document(std::string_view text) const {
    write_file(SIMCARD_PATH_CONFIG, text);
}

void SampleTest::load_document(std::string_view text) const {
    write_document(text);
    if (sal::load_config() != 0) {
        throw std::runtime_error("the test's document does not load");
    }
    clear_log();
}

std::string SampleTest::log() const {
    static const std::regex line("-[0-9]+\\]  ");
    return std::regex_replace(read_file(SIMCARD_PATH_LOG), line, "-N]  ");
}

void SampleTest::clear_log() const { write_file(SIMCARD_PATH_LOG, ""); }

IXML_Node *SampleTest::child(IXML_Node *parent, std::string_view tag) {
    for (IXML_Node *node : sal::xml::child_elements(parent)) {
        if (sal::xml::tag(node) == tag) {
            return node;
        }
    }
    return nullptr;
}

std::string SampleTest::attr(IXML_Node *node, const char *name) {
    const auto value = sal::xml::attr(node, name);
    return value ? std::string(*value) : "(none)";
}

std::string SampleTest::record(int file, std::string_view name) const {
    const std::string text = card.text(static_cast<uint16_t>(file));
    const size_t at = text.find(std::string(name) + "=");
    if (at == std::string::npos || at + 4 >= text.size()) {
        return "(none)";
    }
    if (text[at + 4] != '"') {
        return "FF";
    }
    return text.substr(at + 5, text.find('"', at + 5) - at - 5);
}

}  // namespace simcard::testing
