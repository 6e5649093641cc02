/* libsimcard: every public declaration. */
#ifndef SIMCARD_H
#define SIMCARD_H

#include "simcard/simcard_hal.h"
#include "simcard/simcard_sal.h"

#endif /* SIMCARD_H */
