// CStackBlur: in-place stack blur of a one- or four-channel image.
//
// Contract: rows are packed (no padding). Run tells the channel count by
// bytesPerRow / width: exactly 1 means one channel; any other quotient means
// four channels, of which bytes 0..2 are blurred and byte 3 is never
// written — the buffer must then hold width * height * 4 bytes, whatever
// bytesPerRow says. The kernel clamps at the edges (the edge pixel
// repeats). Work is split over SFDSP::GetCPUCount() threads, joined before
// Run returns; scratch lives for one call. Radius below 1 or an empty image
// leaves the image as it was. The object holds no state.
#ifndef KLAV_STACKBLUR_H
#define KLAV_STACKBLUR_H

#include "klav_export.h"

namespace klav {

class KLAV_API CStackBlur {
public:
    void Run(unsigned char *image, int width, int height, int bytesPerRow, int radius);

private:
    friend struct CStackBlurTestAccess;
    // The same kernel in a ring-free form reading the source line directly,
    // on the calling thread; Run does not use them.
    static void RunChannel1(unsigned char *image, int width, int height, int radius);
    static void RunChannel4(unsigned char *image, int width, int height, int radius);
};

}  // namespace klav

#endif
