/*
 * libsimcard: loading card contents into the configuration model.
 *
 * Start-up (simcard_init) builds the multi-instance part of the tree: a
 * template after every demo file element, the paths of the WAN demo files,
 * and one file element for each instance file that the card holds. A card
 * file's records reach the tree when first needed, as the card value "simv"
 * and the data-model value "dbv" of each parameter.
 *
 * Conventions: elements belong to the tree; texts are the caller's.
 * Calls must be serialised by the caller; the library takes no locks.
 */
#ifndef SIMCARD_LOADER_H
#define SIMCARD_LOADER_H

#include <ixml.h>

#include "simcard/simcard_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Copies the records of one card file, given as its whole text, into the
 * parameters of file_element. 1, or -1 on failure. */
SIMCARD_API int synFileDataFromSimToMem(IXML_Node *file_element, const char *file_text);
/* The same from the current-file session's text (size bytes at most); marks
 * the file loaded ("wf" "1"). 0 or -1. */
SIMCARD_API int syncCurrentSesionDataToMem(IXML_Node *file_element, int file_id, int size);
/* Templates, "init" marks of the WAN demo files and their paths. Always 0. */
SIMCARD_API int getAllSimcardInfoToXmlMem1(void);
/* One file element per instance file that the card holds. Always 0. */
SIMCARD_API int getAllSimcardInfoToXmlMem2(void);
/* Marks a file element for the first step of path building; 0 or -1. */
SIMCARD_API int setDynamicInit(int file_id);

#ifdef __cplusplus
}
#endif

#endif /* SIMCARD_LOADER_H */
