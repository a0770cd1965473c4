// Triangle-by-triangle redraw by inverse mapping: each destination pixel of
// a triangle takes the bilinear sample of the source at its affine image.
#include "texturemapping.h"

#include "common.h"
#include "mathutils.h"
#include "matrix3.h"
#include "raster_internal.h"

namespace klav {

namespace detail {
bool g_spanVector = true;
}  // namespace detail

namespace {

bool SameCorners(const Vector2 *a, const Vector2 *b) {
    for (int k = 0; k < 3; ++k)
        if (a[k].x != b[k].x || a[k].y != b[k].y) return false;
    return true;
}

// The pixel's source position: x' = m0 x + m1 y + m2, y' = m3 x + m4 y + m5.
inline Vector2 Map(const Matrix3 &m, float x, float y) {
    return {m[0] * x + m[1] * y + m[2], m[3] * x + m[4] * y + m[5]};
}

// Runs the scan over each triangle that is drawn and calls pixel(p, s) for
// every covered destination pixel p with its source position s.
// The fast span path is taken where one is given (fastSpan not null) and the
// switch allows it; it returns the first pixel it left to the plain path.
template <class Pixel, class Span>
void DrawTriangles(Vector2 *srcPoints, Vector2 *dstPoints, const unsigned short *indices, int count, int dstWidth,
                   int dstHeight, bool skipUnmoved, Pixel pixel, Span fastSpan) {
    if (!srcPoints || !dstPoints || !indices || count <= 0 || dstWidth <= 0 || dstHeight <= 0) return;
    for (int t = 0; t < count; ++t) {
        Vector2 s[3], d[3];
        for (int k = 0; k < 3; ++k) {
            s[k] = srcPoints[indices[3 * t + k]];
            d[k] = dstPoints[indices[3 * t + k]];
        }
        if (skipUnmoved && SameCorners(s, d)) continue;
        if (detail::TriangleOutOfImage(d, dstWidth, dstHeight)) continue;
        const Matrix3 m = CMathUtils::getAffineTransform(d, s);
        detail::ScanTriangle(d, dstWidth, dstHeight, [&](int y, int left, int right) {
            if (detail::g_spanVector) left = fastSpan(m, y, left, right);
            for (int x = left; x <= right; ++x) {
                Vector2 p = {static_cast<float>(x), static_cast<float>(y)};
                Vector2 q = Map(m, p.x, p.y);
                pixel(p, q);
            }
        });
    }
}

}  // namespace

bool TextureMapping::IsTriOutImg(Vector2 *const corners, int width, int height) {
    return detail::TriangleOutOfImage(corners, width, height);
}

void TextureMapping::BilinearInterp(unsigned char *src, unsigned char *dst, int width, int height, Vector2 &pixel,
                                    Vector2 &mapped) {
    BilinearInterp(src, dst, width, height, width, pixel, mapped);
}

void TextureMapping::BilinearInterp(unsigned char *src, unsigned char *dst, int srcWidth, int srcHeight,
                                    int dstWidth, Vector2 &pixel, Vector2 &mapped) {
    mapped.x = detail::ClampSample(mapped.x, srcWidth);
    mapped.y = detail::ClampSample(mapped.y, srcHeight);
    unsigned char *out =
        dst + (static_cast<size_t>(static_cast<int>(pixel.y)) * dstWidth + static_cast<int>(pixel.x)) * 4;
    detail::SampleBilinear(src, srcWidth, srcHeight, mapped.x, mapped.y, 3, out);
}

void TextureMapping::BilinearInterpMask(unsigned char *src, unsigned char *dst, int width, int height,
                                        Vector2 &pixel, Vector2 &mapped, unsigned char *mask) {
    mapped.x = detail::ClampSample(mapped.x, width);
    mapped.y = detail::ClampSample(mapped.y, height);
    const int px = static_cast<int>(pixel.x), py = static_cast<int>(pixel.y);
    // The mask index is formed in floats, as the mask was laid out by
    // float positions; past 2^24 pixels it may round, and is held inside
    // the mask.
    size_t at = static_cast<size_t>(static_cast<float>(width) * py + px);
    const size_t last = static_cast<size_t>(width) * height - 1;
    if (at > last) at = last;
    const float m = mask[at];
    unsigned char sample[3];
    detail::SampleBilinear(src, width, height, mapped.x, mapped.y, 3, sample);
    const unsigned char *nearest =
        src + (static_cast<size_t>(static_cast<int>(mapped.y)) * width + static_cast<int>(mapped.x)) * 4;
    unsigned char *out = dst + (static_cast<size_t>(py) * width + px) * 4;
    for (int c = 0; c < 3; ++c)
        out[c] = detail::TruncByte(sample[c] * (m / 255.0f) + ((255.0f - m) * nearest[c]) / 255.0f);
}

void TextureMapping::BicubicInterp(unsigned char *src, unsigned char *dst, int width, int height, Vector2 &pixel,
                                   Vector2 &mapped) {
    const bool srcIn = mapped.x >= 0 && mapped.y >= 0 && static_cast<int>(mapped.x) < width &&
                       static_cast<int>(mapped.y) < height;
    const bool dstIn = pixel.x >= 0 && pixel.y >= 0 && static_cast<int>(pixel.x) < width &&
                       static_cast<int>(pixel.y) < height;
    if (!srcIn || !dstIn) return;
    unsigned char *out =
        dst + (static_cast<size_t>(static_cast<int>(pixel.y)) * width + static_cast<int>(pixel.x)) * 4;
    detail::SampleBicubic(src, width, height, mapped.x, mapped.y, out);
}

void TextureMapping::DrawTextureList(unsigned char *src, unsigned char *dst, int width, int height,
                                     Vector2 *srcPoints, Vector2 *dstPoints, unsigned short *const indices,
                                     int triangleCount) {
    if (!src || !dst) return;
    DrawTriangles(
        srcPoints, dstPoints, indices, triangleCount, width, height, true,
        [&](Vector2 &p, Vector2 &q) { BilinearInterp(src, dst, width, height, p, q); },
        [&](const Matrix3 &m, int y, int left, int right) {
            return detail::DrawSpanVector(src, width, height, dst, width, m.get(), y, left, right);
        });
}

void TextureMapping::DrawTextureList(unsigned char *src, unsigned char *dst, int srcWidth, int srcHeight,
                                     int dstWidth, int dstHeight, Vector2 *srcPoints, Vector2 *dstPoints,
                                     unsigned short *indices, int triangleCount) {
    if (!src || !dst || srcWidth <= 0 || srcHeight <= 0) return;
    DrawTriangles(
        srcPoints, dstPoints, indices, triangleCount, dstWidth, dstHeight, false,
        [&](Vector2 &p, Vector2 &q) { BilinearInterp(src, dst, srcWidth, srcHeight, dstWidth, p, q); },
        [&](const Matrix3 &m, int y, int left, int right) {
            return detail::DrawSpanVector(src, srcWidth, srcHeight, dst, dstWidth, m.get(), y, left, right);
        });
}

void TextureMapping::DrawTextureListMask(unsigned char *src, unsigned char *dst, int width, int height,
                                         Vector2 *srcPoints, Vector2 *dstPoints, unsigned short *const indices,
                                         int triangleCount, unsigned char *mask) {
    if (!src || !dst || !mask) return;
    // The blend has no vector form: every span is drawn pixel by pixel.
    DrawTriangles(
        srcPoints, dstPoints, indices, triangleCount, width, height, true,
        [&](Vector2 &p, Vector2 &q) { BilinearInterpMask(src, dst, width, height, p, q, mask); },
        [](const Matrix3 &, int, int left, int) { return left; });
}

}  // namespace klav
