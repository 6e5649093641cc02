/* Plain C99 against the public headers: what a gateway program writes. */
#include <stdio.h>

#include "simcard.h"

int main(void) {
    struct simio_request req = {0};
    sim_session_t *session = &sim_session;
    (void)req;
    if (sim_card_fd != -1 || session->content != 0) {
        puts("unexpected state at load");
        return 1;
    }
    /* Nothing is open yet: every card call refuses quietly. */
    if (sim_card_online() != -1 || simcard_ReadFile(0x6F07, 0, 0) != -1) {
        puts("card call worked without a device");
        return 1;
    }
    return 0;
}
