// What simcardctl checks before a value reaches the library: the library
// writes what it is given, and the card decides. The configuration document
// says what each record can hold.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_CHECKS_H
#define SIMCARD_TOOLS_SIMCARDCTL_CHECKS_H

#include <ixml.h>

#include <cstdint>
#include <optional>
#include <string>

namespace simcard::tool {

// Why `value` must not be set on `param` (the element the library's lookup
// finds), or nothing. Reads the parameter's card file to see whether the
// next synchronisation can write it.
std::optional<std::string> check_value(IXML_Node *param, const std::string &value);

// A VLAN binding path, which the library writes straight into a record of
// card file 6F90.
struct VlanRecord {
    std::string name;  // P00..P03
    bool list;         // a VLAN list (per port) rather than a mode
    int port;          // for a list
};
std::optional<VlanRecord> vlan_record(const std::string &path);

// The record value the set will write; nothing when it cannot be read.
std::optional<std::string> vlan_record_after(const VlanRecord &record, const std::string &value);
// Why it must not be written, or nothing.
std::optional<std::string> check_vlan_value(const VlanRecord &record, const std::string &value,
                                            const std::string &after);

// A record's value on the card now; nothing when it cannot be read.
std::optional<std::string> card_record(uint16_t file, const std::string &name);

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_CHECKS_H
