// Deleting instances of multi-instance objects: freeing their card files and
// taking their elements out of the tree.
#ifndef SIMCARD_SAL_INSTANCE_REMOVE_H
#define SIMCARD_SAL_INSTANCE_REMOVE_H

#include <ixml.h>

namespace simcard::instance {

// simcard_delMulInstanceByUri: 1 handled (or no multi-instance path), 0 for a
// bad argument.
int delete_instance(const char *uri, int instance);

// delMulInstanceNodeByUri: frees every dynamic file at or under `uri`; when
// `uri` is a connection, clears the paths of its device's files instead.
// Deleting the TR-069 WAN (demo 6F07) makes the three WAN demos afresh.
void delete_under(const char *uri);

// delMulInstanceNode: empties P00 of the element's card file, then takes the
// element out of the tree. 1, or 0 when the card write failed.
int delete_node(IXML_Node *file_element);

// setAllParamUriEmpty: clears the parameters' paths except the VLAN ones and
// the card-only records.
void clear_param_uris(IXML_Node *file_element);

// Elements taken out of the tree stay allocated, since callers may still
// hold them or texts of theirs (a get's answer); this frees them. For the
// state reset only.
void release_removed();

}  // namespace simcard::instance

#endif  // SIMCARD_SAL_INSTANCE_REMOVE_H
