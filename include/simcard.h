/* libsimcard: every public declaration. */
#ifndef SIMCARD_H
#define SIMCARD_H

/* The library's version. The build takes it from here: the shared object is
 * libsimcard.so.MAJOR.MINOR.PATCH with the SONAME libsimcard.so.MAJOR. */
#define SIMCARD_VERSION_MAJOR 1
#define SIMCARD_VERSION_MINOR 0
#define SIMCARD_VERSION_PATCH 0
#define SIMCARD_VERSION_STRING "1.0.0"

#include "simcard/simcard_access.h"
#include "simcard/simcard_hal.h"
#include "simcard/simcard_instance.h"
#include "simcard/simcard_lifecycle.h"
#include "simcard/simcard_loader.h"
#include "simcard/simcard_objects.h"
#include "simcard/simcard_sal.h"
#include "simcard/simcard_writeback.h"

#endif /* SIMCARD_H */
