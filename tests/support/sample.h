// The sample configuration document and card image under the library.
#ifndef SIMCARD_TESTS_SUPPORT_SAMPLE_H
#define SIMCARD_TESTS_SUPPORT_SAMPLE_H

#include <ixml.h>

#include <string>
#include <string_view>

#include "tests/support/harness.h"

namespace simcard::testing {

// A file of the repository's sample folder, as text.
std::string sample_text(std::string_view name);

// A CardTest whose sandbox holds the sample document as the configuration
// document and an empty log, and whose card holds the sample card image.
class SampleTest : public CardTest {
protected:
    SampleTest();

    // Replaces the configuration document.
    void write_document(std::string_view text) const;
    // Replaces it and loads it as the tree, with an empty log afterwards.
    void load_document(std::string_view text) const;
    // The log, with the source line of every entry replaced by N.
    std::string log() const;
    void clear_log() const;

    // The first child element of `parent` with this tag, or null.
    static IXML_Node *child(IXML_Node *parent, std::string_view tag);
    // An attribute's text; "(none)" when absent.
    static std::string attr(IXML_Node *node, const char *name);
    // A record as the card holds it: the value, "FF" when unset, "(none)"
    // when the file has no such record.
    std::string record(int file, std::string_view name) const;
};

}  // namespace simcard::testing

#endif  // SIMCARD_TESTS_SUPPORT_SAMPLE_H
