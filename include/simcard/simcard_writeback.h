/*
 * libsimcard: writing changed files back to the card, and local restore.
 *
 * A set by path changes memory only and marks the file dirty; these calls
 * write whole files. Calls must be serialised by the caller.
 */
#ifndef SIMCARD_WRITEBACK_H
#define SIMCARD_WRITEBACK_H

#include "simcard/simcard_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Writes every parameter of every dirty file to the card and commits each
 * file. 0 when every dirty file was handled (one that failed to commit stays
 * dirty for the next call); -1 before start-up or when a parameter write
 * failed. */
SIMCARD_API int simcard_syncData2Sim(void);

/* Resets the files the document marks rf="1" to their factory contents, with
 * or without start-up. 0 once the document is available, -1 otherwise. */
SIMCARD_API int simcard_local_restore(void);

/* Adds and deletes WAN instances and dumps the tree to /tmp/mem.xml; the
 * result of the dump. For bring-up only. */
SIMCARD_API int testsynsimtomem(void);

#ifdef __cplusplus
}
#endif

#endif /* SIMCARD_WRITEBACK_H */
