// Parameter access by data-model path: a get loads the parameter's card file
// into the tree on first use and answers from memory; a set changes memory
// only and marks the file for the write-back. VLAN binding paths are served
// by sal/vlan.h first.
#ifndef SIMCARD_SAL_ACCESS_H
#define SIMCARD_SAL_ACCESS_H

#include <ixml.h>

#include <cstddef>
#include <string>

namespace simcard::sal {

// Room of convertUriToFormatUri's output, terminator included.
constexpr size_t kFormatUriSize = 256;

// simcard_getParamValueByUri: the parameter's dbv as the tree holds it, or
// null (also before initialisation).
const char *get_param_value(const char *uri);

// simcard_setParamValueByUri: 0, or -1 (also before initialisation).
int set_param_value(const char *uri, const char *value);

// findParamNodeByUri: the first parameter, in document order, of a file
// element ("a" starting with "EF", any case) of the root whose "uri" equals
// uri exactly; null when none.
IXML_Node *find_param(const char *uri);

// getParamVal: makes the parameter's dbv current, reading its card file once
// (the first time any readable parameter of the file is asked for). 0 or -1.
int load_param(IXML_Node *param);

// setParamVal: sets dbv and the converted simv in memory and marks the file
// changed ("wf" "2"). 0 or -1.
int set_param(IXML_Node *param, const char *value);

// convertUriToFormatUri: the pattern of a concrete instance path (instance
// numbers become "%d"; the part up to and including "WANConnectionDevice."
// stays as it is), from at most kFormatUriSize - 1 characters of uri.
// Always ends with ".".
std::string format_uri(const char *uri);

// getSimvFromMem: the simv of the first child of file_element whose "n"
// matches name in its first three characters, ignoring case; into out
// (unbounded, as the interface has it). 1 when found, -1 otherwise.
int simv_from_mem(IXML_Node *file_element, const char *name, char *out);

}  // namespace simcard::sal

#endif  // SIMCARD_SAL_ACCESS_H
