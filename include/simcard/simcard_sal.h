/*
 * libsimcard: configuration model.
 *
 * Conventions for every function below:
 *  - 0 (or a count, or 1 for present or handled) is success, -1 is failure.
 *  - Elements are nodes of the configuration tree (IXML); the tree and every
 *    attribute text it hands out belong to the library. An attribute text
 *    stays valid until that attribute is set again.
 *  - Output buffers are the caller's, zeroed by the caller; their sizes are
 *    given with each function.
 *  - Calls must be serialised by the caller; the library takes no locks.
 */
#ifndef SIMCARD_SAL_H
#define SIMCARD_SAL_H

#include <ixml.h>

#include "simcard/simcard_export.h"

#if defined(__GNUC__)
#define SIMCARD_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define SIMCARD_PRINTF(fmt, args)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- configuration document and log -------------------------------------- */

/* Root element of the loaded document; 0 until the first successful load. */
SIMCARD_API extern IXML_Node *ct_simcfg_root;

SIMCARD_API int loadSimcardConfigxml(void);
/* The file element whose "n" names file_id (0x6F00..0x6FDA), or 0. */
SIMCARD_API IXML_Node *findFileNode(int file_id);
/* Upper-cases the first four characters, stopping at the terminator. */
SIMCARD_API void stringToUpper(char *text);
SIMCARD_API int dumpSubTree(IXML_Node *element);
SIMCARD_API int xmlSaveToFile(const char *path);
/* Appends "[func-line]  message" to log_path; -1 when it cannot be opened. */
SIMCARD_API int simcardLog(const char *log_path, const char *func, int line, const char *fmt, ...)
    SIMCARD_PRINTF(4, 5);

/* ---- value mapping -------------------------------------------------------- */

/* Converts one value: in is read, out receives the result. */
typedef int (*simv2dbv_fn)(const char *in, char *out);

typedef struct {
    const char *name;   /* the rule text that selects this row */
    simv2dbv_fn db2sim; /* data model -> card */
    simv2dbv_fn sim2db; /* card -> data model */
} simv2dbv_cb_t;

SIMCARD_API extern simv2dbv_cb_t simv2dbv_cb_tbl[1];

/* out: 1024 bytes, zeroed. */
SIMCARD_API int getDbValFromSimVal(const char *simv, const char *rule, char *out);
/* out: 256 bytes, zeroed. */
SIMCARD_API int getSimValFromDbVal(const char *dbv, const char *rule, char *out);
SIMCARD_API simv2dbv_cb_t *findSimv2dbvCallback(const char *name);
/* out: 256 bytes, zeroed. */
SIMCARD_API int callback_convertLanInterfaceDB2Sim(const char *dbv, char *out);
/* out: 1024 bytes; the paths are appended to what it holds. */
SIMCARD_API int callback_convertLanInterfaceSim2DB(const char *simv, char *out);
/* 1 when every character is a digit or '-' (also for ""), else 0. */
SIMCARD_API int isDigitString(const char *text);

#ifdef __cplusplus
}
#endif

#endif /* SIMCARD_SAL_H */
