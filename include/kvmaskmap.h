// KVMaskMap: lays a mask painted on the standard face over a detected face.
//
// Contract: the mask and the destination are RGBA, 4 bytes a pixel, packed
// rows. setMask copies the mask (owned until the next set or destruction);
// setMaskWithData borrows it (the caller's buffer must outlive maskMap). The
// mask covers a box of the standard face in its 1000 x 1500 frame (left,
// top, mask width, mask height in those units); maskMap redraws it into the
// destination through the triangles that join the standard face's landmarks
// (g_StandCoord, which InterPoint rewrites: do not map while an InterPoint
// runs) with the detected ones. Landmark counts above 310 are cut to 310;
// a null pointer, no mask, or a non-positive size does nothing. Texture
// coordinates outside the mask clamp to its edges. Not thread-safe.
#ifndef KLAV_KVMASKMAP_H
#define KLAV_KVMASKMAP_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

class KLAV_API KVMaskMap {
public:
    KVMaskMap() : m_owned(nullptr), m_pixels(nullptr), m_width(0), m_height(0) {}
    ~KVMaskMap();
    KVMaskMap(const KVMaskMap &) = delete;
    KVMaskMap &operator=(const KVMaskMap &) = delete;

    void setMask(unsigned char *pixels, int width, int height);
    void setMaskWithData(unsigned char *pixels, int width, int height);
    void maskMap(unsigned char *dst, int width, int height, Vector2 *landmarks, int landmarkCount, int left, int top,
                 int maskWidth, int maskHeight, unsigned short *indices, int indexCount);

private:
    unsigned char *m_owned;
    unsigned char *m_pixels;
    int m_width;
    int m_height;
};

}  // namespace klav

#endif
