// Paths of instance file elements and of their parameters.
#ifndef SIMCARD_SAL_INSTANCE_PATHS_H
#define SIMCARD_SAL_INSTANCE_PATHS_H

#include <ixml.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "simcard/simcard_instance.h"

namespace simcard::instance {

// Room for a path: what the model keeps of one, with its terminator.
inline constexpr size_t kPathSize = 512;
// updateNodeUri works in a smaller buffer.
inline constexpr size_t kNodeUriPathSize = 256;

inline constexpr std::string_view kDeleted = "*DEL*";
inline constexpr std::string_view kIpConnection = "WANIPConnection";
inline constexpr std::string_view kPppConnection = "WANPPPConnection";

// The connection kind as stored, never read past its four bytes.
std::string_view conn_type(const InstanceIndexInfo &info);

// True for a parameter path of the other connection kind than info's
// reference ("ip" or "ppp", any case), which stays without a path.
bool other_connection(const InstanceIndexInfo &info, std::string_view path);

// Fills a path pattern with info's instance numbers. The arguments depend on
// the pattern: without a WAN reference (instance, sub); with one and "%s"
// (wan, connection name, connection, instance, sub); with one and a connection
// name (wan, connection, instance, sub); otherwise (wan, instance, sub).
std::string fill_instance_pattern(std::string_view pattern, const InstanceIndexInfo &info,
                                  size_t capacity);

// a followed by b, cut to what a path buffer keeps.
std::string join_path(std::string_view a, std::string_view b);

// The card file that a write through the element goes to: its "n" read as
// hexadecimal, kept to 16 bits. None for file 0 (or an "n" that is missing or
// no number): the card layer takes file 0 as whatever file the card has
// selected, which would get this element's record.
std::optional<uint16_t> card_file_of(IXML_Node *file_element);

void init_param_furi(IXML_Node *file_element);
void set_vlan_uri(IXML_Node *file_element);
void update_param_uri(IXML_Node *file_element, int wan_index, int conn_index, const char *wan_ref);
int update_node_uri(IXML_Node *file_element, const InstanceIndexInfo *info);

}  // namespace simcard::instance

#endif  // SIMCARD_SAL_INSTANCE_PATHS_H
