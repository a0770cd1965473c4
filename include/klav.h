// klav: portrait retouching library. This header includes every public
// header of the library; a test keeps the list complete.
#ifndef KLAV_KLAV_H
#define KLAV_KLAV_H

#include "klav_export.h"
#include "klavtypes.h"
#include "matrix2.h"
#include "matrix3.h"
#include "matrix4.h"
#include "kvthreadpool.h"
#include "mathutils.h"
#include "polyfittool.h"
#include "uniquepointset.h"
#include "sfdsp.h"
#include "stackblur.h"
#include "superfastblur.h"
#include "contours.h"
#include "psimagescale.h"
#include "colortransformer.h"
#include "kvlut3d.h"
#include "pscontrastbrightness.h"
#include "psblendcolor.h"
#include "selectivecolor.h"
#include "sfcurve.h"
#include "kmeans.h"
#include "mls.h"
#include "nativeface.h"
#include "standface.h"
#include "eyepupilcircle.h"
#include "levelset.h"
#include "interpoint.h"
#include "unsharpmask.h"
#include "brighteye.h"
#include "texturemapping.h"
#include "liquify.h"
#include "thinface.h"

#endif
