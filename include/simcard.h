/* libsimcard: every public declaration. */
#ifndef SIMCARD_H
#define SIMCARD_H

#include "simcard/simcard_hal.h"

#endif /* SIMCARD_H */
