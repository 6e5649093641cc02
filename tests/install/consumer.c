/* A gateway program built against the installed library alone: it starts
 * the library and walks the configuration tree with IXML itself. */
#include <ixml.h>
#include <simcard.h>
#include <stdio.h>
#include <string.h>

int main(void) {
    IXML_Node *node;
    int files = 0;
    if (simcard_init() != 0) {
        fputs("consumer: start-up failed\n", stderr);
        return 1;
    }
    for (node = ixmlNode_getFirstChild(ct_simcfg_root); node != NULL;
         node = ixmlNode_getNextSibling(node)) {
        const char *kind = ixmlElement_getAttribute((IXML_Element *)node, "a");
        files += kind != NULL && strcmp(kind, "EF") == 0;
    }
    printf("file elements: %d\n", files);
    return files > 0 ? 0 : 1;
}
