// Loading card contents into the configuration tree: the records of one file,
// and at start-up the templates and instance file elements.
#ifndef SIMCARD_SAL_LOADER_H
#define SIMCARD_SAL_LOADER_H

#include <ixml.h>

#include <string_view>

#include "simcard/simcard_instance.h"

namespace simcard::sal {

// Copies the record of every parameter of file_element out of file_text:
// "simv" gets the card value, "dbv" the converted one. 1, or -1.
int copy_file_records(IXML_Node *file_element, const char *file_text);

// copy_file_records from the current-file session, then "wf" "1". 0 or -1.
int copy_session_records(IXML_Node *file_element, int file_id, int size);

// Reads the instance numbers of a card file from the records named in
// index_list (comma-separated, at most 31 characters looked at). 0 or -1.
int read_instance_index(int file_id, std::string_view index_list, InstanceIndexInfo *info);

// Fills "furi" and "uri" of an instance file element and of its parameters
// from the file's instance numbers. 0 or -1.
int build_uri_for_node(IXML_Node *file_element, int file_id);

// build_uri_for_node over the dynamic file elements of the tree: in step 1
// those marked "init", in any other step the rest. 0, or -1 without a tree.
int build_tree_uris(int step);

// Puts a template after the demo's file element and records it. 0, or -1
// when the demo is not in the tree.
int create_template(int demo);

int set_dynamic_init(int file_id);

// Inserts a file element for each instance file from demo + 1 to last that
// the card holds, before the demo's template in ascending order. 0 once the
// template was found, -1 otherwise.
int insert_instances(int demo, int last);

// The two halves of start-up; both always 0.
int build_templates_and_paths();
int insert_card_instances();

}  // namespace simcard::sal

#endif  // SIMCARD_SAL_LOADER_H
