// klav: portrait retouching library. This header includes every public
// header of the library; a test keeps the list complete.
#ifndef KLAV_KLAV_H
#define KLAV_KLAV_H

#include "klav_export.h"
#include "klavtypes.h"
#include "sfdsp.h"

#endif
