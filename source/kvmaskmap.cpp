// Mask mapping: a mask painted once on the standard face, redrawn over a
// detected face through the triangles joining the two landmark sets.
#include "kvmaskmap.h"

#include "common.h"
#include "kvmaskraster.h"
#include "standface.h"

#include <cstring>
#include <vector>

namespace klav {

KVMaskMap::~KVMaskMap() { delete[] m_owned; }

void KVMaskMap::setMask(unsigned char *pixels, int width, int height) {
    if (!pixels || width <= 0 || height <= 0) return;
    unsigned char *copy = detail::NewArray<unsigned char>({width, height, 4});
    std::memcpy(copy, pixels, detail::CheckedSize({width, height, 4}));
    delete[] m_owned;
    m_owned = m_pixels = copy;
    m_width = width, m_height = height;
}

void KVMaskMap::setMaskWithData(unsigned char *pixels, int width, int height) {
    if (!pixels || width <= 0 || height <= 0) return;
    delete[] m_owned;
    m_owned = nullptr;
    m_pixels = pixels;
    m_width = width, m_height = height;
}

void KVMaskMap::maskMap(unsigned char *dst, int width, int height, Vector2 *landmarks, int landmarkCount, int left,
                        int top, int maskWidth, int maskHeight, unsigned short *indices, int indexCount) {
    if (!m_pixels || !dst || width <= 0 || height <= 0 || !landmarks || landmarkCount <= 0 || !indices ||
        indexCount < 3 || maskWidth <= 0 || maskHeight <= 0)
        return;
    if (landmarkCount > 310) landmarkCount = 310;
    // The mask's place on the standard face, in the face's 0..1 frame.
    const float a = left / 1000.0f, b = maskWidth / 1000.0f, c = top / 1500.0f, d = maskHeight / 1500.0f;
    std::vector<Vector2> uv(landmarkCount);
    for (int i = 0; i < landmarkCount; ++i) uv[i] = {(g_StandCoord[i].x - a) / b, (g_StandCoord[i].y - c) / d};
    // Triangles naming a point past the landmarks are left out.
    std::vector<unsigned short> kept;
    kept.reserve(indexCount);
    for (int t = 0; t + 2 < indexCount; t += 3)
        if (indices[t] < landmarkCount && indices[t + 1] < landmarkCount && indices[t + 2] < landmarkCount)
            kept.insert(kept.end(), {indices[t], indices[t + 1], indices[t + 2]});
    if (kept.empty()) return;
    CKVMaskRaster raster;
    raster.BindDst(dst, width, height);
    raster.BindSrc(m_pixels, m_width, m_height);
    raster.DrawTrangles(uv.data(), landmarks, kept.data(), static_cast<int>(kept.size()));
}

}  // namespace klav
