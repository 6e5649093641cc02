// WAN connections, the TR-069 WAN and port mappings: the instances whose card
// files carry, in their own records, the connection they belong to.
#ifndef SIMCARD_SAL_INSTANCE_WAN_H
#define SIMCARD_SAL_INSTANCE_WAN_H

#include <ixml.h>

namespace simcard::instance {

// handleWanAddInstance: a new WAN connection device fills the paths of its
// unfilled files (one of each WAN group); a new connection writes its WAN
// reference ("d.IP.c" or "d.PPP.c") to P00 of its device's files and fills
// the paths of that connection kind.
void wan_add(const char *uri, int instance);

// handleTr069AddInstance: the same on WAN demo file `demo` itself.
void tr069_add(const char *uri, int instance, int demo);

// handlePortMappingAddInstance: fills the element's paths and writes its WAN
// reference (P00) and its instance number (P01) to the card.
void port_mapping_add(IXML_Node *file_element, const char *uri, int instance);

// check_if_create_tr069_wan: another process of the gateway creates the
// marker file when the next WAN is the TR-069 one.
bool tr069_marker_present();

}  // namespace simcard::instance

#endif  // SIMCARD_SAL_INSTANCE_WAN_H
