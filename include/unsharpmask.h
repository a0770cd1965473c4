// CUnsharpMask: sharpens an image in place by adding back its difference
// from a blurred copy.
//
// Contract: width x height pixels of `channels` bytes (1, or 4 with bytes
// 0..2 sharpened and byte 3 left alone), packed rows, in place. `amount` is
// in percent (80 adds 0.8 of the difference); `radius` is the reach of the
// stack blur that makes the blurred copy (rounded to whole pixels, at least
// 1); differences not above `threshold` are left alone. Scratch lives for
// one call. Bad sizes or channel counts leave the image unchanged.
#ifndef KLAV_UNSHARPMASK_H
#define KLAV_UNSHARPMASK_H

#include "klav_export.h"

namespace klav {

class KLAV_API CUnsharpMask {
public:
    void Run(unsigned char *image, int width, int height, int channels, int amount, float radius,
             unsigned char threshold);
};

}  // namespace klav

#endif
