/* libsimcard: every public declaration. */
#ifndef SIMCARD_H
#define SIMCARD_H

#include "simcard/simcard_access.h"
#include "simcard/simcard_hal.h"
#include "simcard/simcard_instance.h"
#include "simcard/simcard_lifecycle.h"
#include "simcard/simcard_loader.h"
#include "simcard/simcard_objects.h"
#include "simcard/simcard_sal.h"
#include "simcard/simcard_writeback.h"

#endif /* SIMCARD_H */
