/*
 * libsimcard: parameter access by data-model path, and the VLAN binding
 * values.
 *
 * A get answers from the configuration tree, reading a parameter's card file
 * once, the first time any readable parameter of that file is asked for. A
 * set changes the tree only and marks the file for simcard_syncData2Sim. The
 * VLAN binding parameters of LAN Ethernet ports and WLAN interfaces
 * (X_CT-COM_VLAN, X_CT-COM_Mode) are the exception: they are read and
 * written directly on the card, in the packed records of file 6F90.
 *
 * Conventions for every function below:
 *  - 0 (or 1 for found or handled) is success, -1 is failure.
 *  - Texts handed out belong to the tree: do not free or change them; one
 *    stays valid until that attribute is set again, so copy it before any
 *    further call into the library that may set it.
 *  - Texts handed in are the caller's and are copied as needed; they may
 *    be texts the library handed out.
 *  - Output buffers are the caller's, zeroed by the caller, of the size
 *    given with each function; results are cut to fit.
 *  - Paths are compared as exact text: no trailing dot, case or pattern
 *    is normalised.
 *  - Calls must be serialised by the caller; the library takes no locks.
 */
#ifndef SIMCARD_ACCESS_H
#define SIMCARD_ACCESS_H

#include <ixml.h>

#include "simcard/simcard_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- parameter access by path ------------------------------------------- */

/* The parameter's data-model value, or 0 (also before simcard_init). */
SIMCARD_API const char *simcard_getParamValueByUri(const char *uri);
/* Sets the value in memory (VLAN binding paths: on the card). 0 or -1. */
SIMCARD_API int simcard_setParamValueByUri(const char *uri, const char *value);
/* The first parameter element, in document order, whose "uri" is uri. */
SIMCARD_API IXML_Node *findParamNodeByUri(const char *uri);
/* Makes the parameter's "dbv" current, loading its file once. 0 or -1. */
SIMCARD_API int getParamVal(IXML_Node *param);
/* Sets "dbv" and the converted "simv", marks the file changed. 0 or -1. */
SIMCARD_API int setParamVal(IXML_Node *param, const char *value);
/* The pattern of an instance path ("%d" for instance numbers) into out:
 * 256 bytes. 0, or -1 for a null argument. */
SIMCARD_API int convertUriToFormatUri(const char *uri, char *out);
/* The "simv" of the file element's record name (first three characters,
 * any case) into out, which must hold it. 1 when found, -1 otherwise. */
SIMCARD_API int getSimvFromMem(IXML_Node *file_element, const char *name, char *out);

/* ---- VLAN binding values (file 6F90) ---------------------------------- */

/* The value of a VLAN binding path, or 0 when uri is none. */
SIMCARD_API const char *getVlanBindValueByUri(const char *uri);
/* 1 when uri is a VLAN binding path and was handled, 0 when it is none. */
SIMCARD_API int setVlanBindValueByUri(const char *uri, const char *value);
/* One port's value out of a card record ("1/100;2/200") into out: 512
 * bytes. Ports 0 to 4. */
SIMCARD_API void getVlanBindValue(const char *record, int port, char *out);
/* The record with one port's value replaced, into out: 512 bytes. */
SIMCARD_API void setVlanBindValue(const char *old_record, char *out, int port, const char *value);
/* One port's card entries for a value ("100;200" -> "2/100;2/200") into
 * out: 512 bytes; an empty value leaves out untouched. */
SIMCARD_API void formatVlanBindValue(int port, const char *value, char *out);
/* Sets "dbv" (when given) and "simv" (when given; then also written to the
 * card and committed) of record record_name of file 6F90. The element, or
 * 0. */
SIMCARD_API IXML_Node *setVlanBindConfig(const char *record_name, const char *simv,
                                         const char *dbv);

#ifdef __cplusplus
}
#endif

#endif /* SIMCARD_ACCESS_H */
