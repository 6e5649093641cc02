// Finding a parameter element by its data-model path.
//
// The answer is defined by a walk of the tree: the first child, in document
// order, of a file element of the root ("a" starting with "EF", any case)
// whose "uri" equals the path as exact text. A full get of the tree asks
// that of every parameter, so the walk is backed by an index: a hash map
// from path to the first element in document order, built from one walk and
// valid for one root and one shape generation (sal/xml.h), which every
// structure change and every write of "a", "n" or "uri" through the helpers
// moves on. Each hit is checked as well (its "uri" still equals the path and
// it still stands in a file element of the root), so that an element removed
// or rewritten past the helpers is never answered; a failed check falls back
// to the walk and drops the index.
#ifndef SIMCARD_SAL_PARAM_INDEX_H
#define SIMCARD_SAL_PARAM_INDEX_H

#include <ixml.h>

#include <cstddef>

namespace simcard::sal {

// The first parameter of root's file elements whose "uri" is uri; null when
// none. Uses the index.
IXML_Node *first_param_with_uri(IXML_Node *root, const char *uri);

// The same by walking the whole tree, without the index.
IXML_Node *first_param_with_uri_walk(IXML_Node *root, const char *uri);

// What the index has done since the process started (for tests and
// benchmarks).
struct ParamIndexStats {
    unsigned long builds = 0;     // walks that built the index
    unsigned long fallbacks = 0;  // hits that failed their check
    size_t entries = 0;           // paths in the index now
};
ParamIndexStats param_index_stats();

}  // namespace simcard::sal

#endif  // SIMCARD_SAL_PARAM_INDEX_H
