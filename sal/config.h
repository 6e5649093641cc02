// The configuration document: loading it, reaching file elements, dumping it.
#ifndef SIMCARD_SAL_CONFIG_H
#define SIMCARD_SAL_CONFIG_H

#include <ixml.h>

#include "simcard/simcard_sal.h"

namespace simcard::sal {

// Card file ids that a file element can name.
constexpr int kFirstFileId = 0x6F00;
constexpr int kLastFileId = 0x6FDA;

// Parses the configuration document and makes its first child the root.
// 0 when loaded; -1 leaves the root as it was.
int load_config();

// The document that owns the root, or null before the first load.
IXML_Document *document();

// The root's child whose "n" names file_id (compared ignoring case), or null.
IXML_Node *find_file_node(int file_id);

void string_to_upper(char *text);
int dump_subtree(IXML_Node *element);
int save_to_file(const char *path);

// Frees every loaded document and forgets the root.
void reset_state();

}  // namespace simcard::sal

#endif  // SIMCARD_SAL_CONFIG_H
