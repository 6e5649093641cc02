/*
 * libsimcard: adding and deleting instances of multi-instance objects.
 *
 * The data model adds an instance with its table path ("...WANConnectionDevice.",
 * "...PortMapping.") and the number it gave the instance; it deletes one with
 * the instance's own path ("...WANConnectionDevice.2."). The library keeps
 * each instance in one card file (three for a WAN connection device): an add
 * takes a demo file that is still unused or the lowest free file id of the
 * object, a delete empties record P00 of every file at or under the path.
 * The records that tie WAN connections and port mappings to their connection
 * are written to the card at once; other values wait for the write-back.
 *
 * Conventions for every function below:
 *  - Elements are nodes of the configuration tree; the tree owns them.
 *  - Paths are NUL-terminated texts owned by the caller.
 *  - Calls must be serialised by the caller; the library takes no locks.
 */
#ifndef SIMCARD_OBJECTS_H
#define SIMCARD_OBJECTS_H

#include <ixml.h>

#include "simcard/simcard_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- adding ------------------------------------------------------------- */

/* Adds instance `instance` to the table `uri`. 1 when handled or nothing is
 * to be done; 0 for a bad argument, a duplicate, no free file id or an
 * unknown uplink QoS table. */
SIMCARD_API int simcard_addMulInstanceByUri(const char *uri, int instance);
/* The lowest file id from demo_id + 1 to last_id without a file element in
 * the tree; 0 when there is none. */
SIMCARD_API int mallocMulInstaneFreeFileId(int demo_id, int last_id);
/* 1 when an element named `name` has exactly the path instance_path, 0 when
 * none has, -1 for a null argument. */
SIMCARD_API int ifduplateInstanceadd(const char *instance_path, const char *name);
/* The first file element named `name` whose path is still a pattern and
 * contains object_path; null when none. */
SIMCARD_API IXML_Node *ifhaveEmptyNode(const char *object_path, const char *name);
/* A copy of demo_id's template, put after the template as file new_id; null
 * when the demo has no template or the copy failed. */
SIMCARD_API IXML_Node *addMulInstanceNode(int new_id, int demo_id);
/* Fills the paths of an uplink QoS instance element. */
SIMCARD_API void handleCommonAddInstance1(IXML_Node *file_element, const char *object_path,
                                          int instance);

/* ---- WAN connections and port mappings ---------------------------------- */

/* Fills the paths of a new WAN connection device, or writes the reference of
 * a new connection to P00 of its device's files. */
SIMCARD_API void handleWanAddInstance(const char *uri, int instance);
/* The same on the WAN demo file demo_id itself (the TR-069 WAN). */
SIMCARD_API void handleTr069AddInstance(const char *uri, int instance, int demo_id);
/* Fills the paths of a port mapping element and writes its connection (P00)
 * and its number (P01) to the card. */
SIMCARD_API void handlePortMappingAddInstance(IXML_Node *file_element, const char *uri,
                                              int instance);
/* 1 when the gateway asks for the TR-069 WAN (its marker file exists), else 0. */
SIMCARD_API int check_if_create_tr069_wan(void);

/* ---- deleting ----------------------------------------------------------- */

/* Deletes the instance at path `uri`; `instance` must be above 0. 1 when
 * handled or no multi-instance path, 0 for a bad argument. */
SIMCARD_API int simcard_delMulInstanceByUri(const char *uri, int instance);
/* Frees every instance file at or under `uri`, clears the parameter paths of
 * the device files of a deleted connection. */
SIMCARD_API void delMulInstanceNodeByUri(const char *uri);
/* Empties P00 of the element's card file and takes the element out of the
 * tree. 1, or 0 when the card write failed. */
SIMCARD_API int delMulInstanceNode(IXML_Node *file_element);
/* Clears the paths of the element's parameters, except its VLAN parameters
 * and card-only records. */
SIMCARD_API void setAllParamUriEmpty(IXML_Node *file_element);

/* ---- first coming online ------------------------------------------------ */

/* Gives WAN demo file 6F07, in the tree only, the reference of the first IP
 * connection of device 1 unless the card already holds one. 0, or -1 when
 * the card is offline, the library not initialised or the file not usable. */
SIMCARD_API int update6F07ForFirstOnline(void);

#ifdef __cplusplus
}
#endif

#endif /* SIMCARD_OBJECTS_H */
