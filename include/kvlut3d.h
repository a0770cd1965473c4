// CKVLut3D: colour grading of an RGBA image through a 3D lookup table
// stored as a four-byte image.
//
// Contract: the image is width x height RGBA, packed rows, changed in
// place; byte 3 is never touched. The table image holds the output colour
// in bytes 0..2 of each entry, the blue axis laid out in square tiles:
// grid 16 is a 64 x 64 image (entry (r, g, b) at byte 4 r + 256 g +
// 64 (b mod 4) + 4096 (b / 4)), grid 64 a 512 x 512 image (4 r + 2048 g +
// 256 (b mod 8) + 131072 (b / 8)). The table must have the exact size of
// its grid: a 64 x 64 table run as grid 64 is read past its end. Fixed-point
// trilinear interpolation with 7-bit fractions; no allocation; reentrant.
#ifndef KLAV_KVLUT3D_H
#define KLAV_KVLUT3D_H

#include "klav_export.h"

namespace klav {

class KLAV_API CKVLut3D {
public:
    // grid16 selects the 16-point table, otherwise the 64-point one; the
    // first flag is not read.
    static void Run(unsigned char *image, unsigned char *table, int width, int height, bool ignoredFlag, bool grid16);

private:
    friend class SFDSP;
    friend struct CKVLut3DTestAccess;
    static void KVLut3DC16(unsigned char *image, unsigned char *table, int width, int height);
    static void KVLut3DC64(unsigned char *image, unsigned char *table, int width, int height);
    // Vector forms for processors that have them; on this build they do
    // nothing and return false, which tells the caller to run the C form.
    static bool KVLut3DNeon16(unsigned char *image, unsigned char *table, int width, int height);
    static bool KVLut3DNeon64(unsigned char *image, unsigned char *table, int width, int height);
};

}  // namespace klav

#endif
