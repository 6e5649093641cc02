// The library's configuration tree as simcardctl reads it: file elements,
// parameter elements and their attributes, without calls that log.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_MODEL_H
#define SIMCARD_TOOLS_SIMCARDCTL_MODEL_H

#include <ixml.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simcard::tool::model {

constexpr uint16_t kOperatorDir = 0x7F80;  // every configuration file is in it
constexpr uint16_t kVlanFile = 0x6F90;
// The ids a configuration file can have.
constexpr unsigned kFirstFile = 0x6F02;
constexpr unsigned kLastFile = 0x6FDA;

// A card file id as the document and the card's tools write it: "6F05".
std::string file_name(unsigned id);

// The attribute's text; none when absent.
std::optional<std::string> attr(IXML_Node *node, const char *name);
std::string attr_or(IXML_Node *node, const char *name, const std::string &fallback = {});
std::string tag(IXML_Node *node);
std::vector<IXML_Node *> children(IXML_Node *node);

// File elements of the tree (a="EF", any case), in document order.
std::vector<IXML_Node *> files();
std::optional<uint16_t> file_id(IXML_Node *file);
// "6F05 (ManagementServer)"
std::string describe_file(IXML_Node *file);
bool dirty(IXML_Node *file);  // wf is 2
std::vector<IXML_Node *> dirty_files();

// The parameter the library's lookup finds for a path: the first, in
// document order, of a file element whose "uri" is the path.
IXML_Node *param_by_path(const std::string &path);
// Paths the library serves and writes back: under "InternetGatewayDevice.",
// no "%d" or "%s" pattern left in them.
bool served_path(const std::string &uri);
// A file element's or a parameter's path starts with prefix.
bool in_model(const std::string &prefix);

// A card file that card check reads and card repair mends: a file element
// of the tree, or an instance file of an object whose demo the document
// names that start-up left out of the tree (free, or not marked updated),
// which a later add may write to all the same.
struct CardFile {
    std::optional<uint16_t> id;
    std::string label;                  // "6F05 (ManagementServer)"
    std::string element;                // the element's tag
    bool in_tree = true;                // else an empty text is an unused file, and sound
    std::vector<std::string> expected;  // the records the document names for it
    // The expected records that the file's text must hold.
    std::vector<std::string> expected_in(std::string_view text) const;
};
// The tree's files in document order, then the instance files outside it.
std::vector<CardFile> card_files();
// One of them, or a file the document does not know.
CardFile card_file(uint16_t id);

}  // namespace simcard::tool::model

#endif  // SIMCARD_TOOLS_SIMCARDCTL_MODEL_H
