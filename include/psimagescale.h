// PsImageScale: resizes an image or a mask in two separable passes, in
// fixed point (7-bit source phase, 14-bit tap weights).
//
// Contract: src and dst are caller buffers of packed rows, 1 or 4 bytes a
// pixel (all four channels, alpha included, go through alike); dst is
// allocated by the caller at dstWidth x dstHeight and src is never written.
// Edges repeat the border pixel. Mode 0 is bilinear; modes 1 and 3 and any
// other value are cubic kernels tuned for enlarging and reducing. Scratch
// lives for one call. A call splits each pass over up to the object's
// thread count (SFDSP::GetCPUCount at construction) and joins before it
// returns; the bytes do not depend on the thread count. Run returns false
// (dst untouched) for null buffers, non-positive sizes or channels other
// than 1 and 4; an impossible buffer size throws std::bad_alloc.
#ifndef KLAV_PSIMAGESCALE_H
#define KLAV_PSIMAGESCALE_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

class KLAV_API PsImageScale {
public:
    PsImageScale();

    bool Run(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst, int dstWidth, int dstHeight,
             int channels, eScaleMode mode);
    void ImageScaleBilinear(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst, int dstWidth,
                            int dstHeight, int channels);
    void ImageScaleBiCubic(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst, int dstWidth,
                           int dstHeight, int channels, eScaleMode mode);

private:
    friend struct PsImageScaleTestAccess;
    int m_threadCount;
};

}  // namespace klav

#endif
