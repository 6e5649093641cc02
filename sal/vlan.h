// VLAN binding values: the per-port X_CT-COM_VLAN and X_CT-COM_Mode
// parameters of LAN Ethernet ports and WLAN interfaces, kept packed in the
// records of card file 6F90 and read and written directly on the card.
//
// Records of 6F90: P00 mode of all Ethernet ports, P01 VLAN list of all
// Ethernet ports, P02 mode of all WLAN interfaces, P03 VLAN list of all WLAN
// interfaces. A VLAN list is "port/vlan" entries joined by ";" (a port may
// have two); one port's data-model value is its VLAN values joined by ";".
#ifndef SIMCARD_SAL_VLAN_H
#define SIMCARD_SAL_VLAN_H

#include <ixml.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace simcard::sal::vlan {

constexpr uint16_t kBindFile = 0x6F90;
// Size of every text buffer of the C interface (records, port values).
constexpr size_t kValueSize = 512;
// Entries of a record that are looked at.
constexpr int kMaxEntries = 8;
// Ports 0 to 4 are accepted.
constexpr int kMaxPort = 4;
// An entry is kept in a 40-byte slot, the first of two values in 48 bytes.
constexpr size_t kEntryMaxLength = 39;
constexpr size_t kFirstValueMaxLength = 47;

// The port number of a VLAN binding path: the character two places before
// `marker`, minus '0'; -1 when the marker stands too near the start.
int port_of(std::string_view uri, std::string_view marker);

// One port's data-model value out of a card record (getVlanBindValue):
// nullopt after "param error" (null record, port outside 0..4) or "can't get
// value" (empty record); otherwise the value, empty when the port has none.
std::optional<std::string> port_value(const char *record, int port);

// The card entries of one port for a data-model value (formatVlanBindValue);
// empty for an empty value.
std::string format_entries(int port, std::string_view value);

// The new record from the old one, the port and its new value
// (setVlanBindValue); nullopt after "param error".
std::optional<std::string> build_record(const char *old_record, int port, const char *value);

// Finds record `name` under file 6F90 and sets its dbv (when given) and its
// simv (when given, then also written to the card and committed)
// (setVlanBindConfig). The element, or null.
IXML_Node *set_config(const char *name, const char *simv, const char *dbv);

// getVlanBindValueByUri: the value of a VLAN binding path, null otherwise.
// The text is the tree's dbv of the record element.
const char *get_by_uri(const char *uri);

// setVlanBindValueByUri: 1 when the path was a VLAN binding path and was
// handled (whatever the card write gave), 0 when it is none.
int set_by_uri(const char *uri, const char *value);

// Copies text and a terminator into out (cap bytes), cut to fit.
void copy_out(std::string_view text, char *out, size_t cap);

}  // namespace simcard::sal::vlan

#endif  // SIMCARD_SAL_VLAN_H
