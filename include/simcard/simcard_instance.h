/*
 * libsimcard: multi-instance objects.
 *
 * A multi-instance object of the data model (WAN connection, port mapping,
 * uplink QoS entry, WLAN configuration) is kept on the card as one card file
 * per instance. The configuration document describes each object once, as a
 * "demo" file element whose "uri" is a path pattern ("%d" for instance
 * numbers, "%s" for the connection kind); the instance files are the ids that
 * follow the demo id.
 *
 * Conventions for every function below:
 *  - Elements are nodes of the configuration tree; the tree owns them.
 *  - Paths are NUL-terminated texts owned by the caller.
 *  - Calls must be serialised by the caller; the library takes no locks.
 */
#ifndef SIMCARD_INSTANCE_H
#define SIMCARD_INSTANCE_H

#include <ixml.h>

#include "simcard/simcard_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Instance numbers of one instance file, read from the records that its file
 * element's "index" names. All fields are zero when nothing was read. */
typedef struct {
    int hasWan;       /* 1 when an index record held a WAN reference "w.IP.c" */
    int wanIndex;     /* WAN connection device number of that reference */
    char connType[4]; /* "IP" or "PPP" (any case); not terminated when 4 long */
    int connIndex;    /* connection number of that reference */
    int instIndex;    /* the last plain-number index record */
    int subIndex;     /* ordinal among classification type files of one class */
} InstanceIndexInfo;

/* Template elements by slot: 0 6F07, 1 6F17, 2 6F96, 3 6F2B, 4 6F38, 5 6F40,
 * 6 6F48, 7 6F54, 8 6F5C, 9 6F63 (never filled), 10 6F64. */
SIMCARD_API extern IXML_Node *templateNodeTable[11];

/* Instance kind: 0 WAN connection, 1 WLAN, 2 uplink QoS, 3 port mapping,
 * 4 not a multi-instance path. */
SIMCARD_API int getMulInstanceUriType(const char *uri);
/* Object table code: 1 WAN connection devices, 2 WLAN configurations, 3 QoS
 * apps, 4 QoS classifications, 5 QoS priority queues, 6 classification
 * types, 0 anything else. */
SIMCARD_API int checkMulInstanceUri(const char *uri);
/* Cuts an instance path in place back to its parent table. */
SIMCARD_API void getParentInstancePath(char *path);
/* Records a template element for its demo file id; 1 for a null element. */
SIMCARD_API int saveMulInstanceTemplateNade(IXML_Node *template_element, int file_id);
/* Gives every parameter with an empty "furi" the file's pattern plus its tail. */
SIMCARD_API void initNodeParamFuri(IXML_Node *file_element);
/* Completes the paths of the VLAN parameters of a WAN file element. */
SIMCARD_API void setVlanUri(IXML_Node *file_element);
/* Writes the WAN reference to record P00 on the card and fills the paths of
 * the parameters of that connection kind. */
SIMCARD_API void updateMulInstanceParamUri(IXML_Node *file_element, int wan_index, int conn_index,
                                           const char *wan_ref);
/* Fills the paths of a dynamic file element from instance numbers; 0 or -1. */
SIMCARD_API int updateNodeUri(IXML_Node *file_element, const InstanceIndexInfo *info);

#ifdef __cplusplus
}
#endif

#endif /* SIMCARD_INSTANCE_H */
