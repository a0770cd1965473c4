// CSuperFastBlur: in-place box blur of a one-channel plane of bytes, shorts
// or ints.
//
// Contract: width x height elements, packed rows; a box of 2r + 1 along
// rows, then along columns, the edge element repeating; results rounded
// down. `levels` is one more than the largest value the plane holds (256
// for bytes). Values outside 0 .. levels - 1 are still averaged correctly,
// only more slowly. Scratch lives for one call. Returns 0 (image unchanged)
// for radius below 1, an empty image or levels below 1; 1 otherwise.
#ifndef KLAV_SUPERFASTBLUR_H
#define KLAV_SUPERFASTBLUR_H

#include "klav_export.h"

namespace klav {

class KLAV_API CSuperFastBlur {
public:
    int Run(unsigned char *image, int width, int height, int radius, int levels);
    int Run(short *image, int width, int height, int radius, int levels);
    int Run(int *image, int width, int height, int radius, int levels);
};

}  // namespace klav

#endif
