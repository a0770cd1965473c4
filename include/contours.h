// CContours: filters of the contour code on one-channel planes.
//
// Contract: one byte a pixel, width x height, packed rows, in place.
// Blur_Nebula is a box of 2r + 1 with rounding, mirroring (without
// repeating the edge) at the top and left and clamping at the bottom and
// right; a radius below 0 leaves the image alone. Scratch lives for one
// call; the object holds no state.
#ifndef KLAV_CONTOURS_H
#define KLAV_CONTOURS_H

#include "klav_export.h"

namespace klav {

class KLAV_API CContours {
public:
    static void Blur_Nebula(unsigned char *image, int width, int height, int radius);

private:
    friend struct CContoursTestAccess;
    // Stack blur on the calling thread, no radius guard.
    static void BlurOneChannel(unsigned char *image, int width, int height, int radius);
};

}  // namespace klav

#endif
