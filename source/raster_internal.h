// The scan conversion and samplers shared by the triangle renderers and the
// liquify brush. Images are 4 bytes a pixel with packed rows.
#ifndef KLAV_SOURCE_RASTER_INTERNAL_H
#define KLAV_SOURCE_RASTER_INTERNAL_H

#include "klavtypes.h"

#include <cmath>

namespace klav {
namespace detail {

// A corner lies in the image when its pixel, rounded, does. A triangle is
// out only when none of its corners is in, so a triangle that crosses the
// image with all three corners outside is treated as out.
inline bool TriangleOutOfImage(const Vector2 *t, int width, int height) {
    for (int k = 0; k < 3; ++k)
        if (t[k].x > -0.5f && t[k].y > -0.5f && t[k].x + 0.5 < width && t[k].y + 0.5 < height) return false;
    return true;
}

// Inside test in floats: the point lies on the same side of each edge as
// the opposite corner, or on the edge. Every point is inside a triangle of
// zero area.
inline bool PointInTriangle(const Vector2 &a, const Vector2 &b, const Vector2 &c, const Vector2 &p) {
    auto cross = [](float ux, float uy, float vx, float vy) { return ux * vy - uy * vx; };
    if (!(cross(p.x - a.x, p.y - a.y, b.x - a.x, b.y - a.y) * cross(c.x - a.x, c.y - a.y, b.x - a.x, b.y - a.y) >= 0))
        return false;
    if (!(cross(p.x - a.x, p.y - a.y, c.x - a.x, c.y - a.y) * cross(b.x - a.x, b.y - a.y, c.x - a.x, c.y - a.y) >= 0))
        return false;
    return cross(p.x - b.x, p.y - b.y, c.x - b.x, c.y - b.y) * cross(a.x - b.x, a.y - b.y, c.x - b.x, c.y - b.y) >= 0;
}

// Rounds half away from zero. Corners far beyond any image are held at a
// bound first, so the conversion is always defined; the box clamps them to
// the image anyway.
inline int RoundCorner(float v) {
    double d = v;
    if (d > 1e9) d = 1e9;
    if (d < -1e9) d = -1e9;
    return static_cast<int>(d > 0 ? d + 0.5 : d - 0.5);
}

// The right end of a row's inside run that starts at `left`, found by
// bisection up to `right`; the run is assumed to touch `left`.
inline int SearchRightEnd(const Vector2 *t, int left, int right, int row) {
    if (right == left) return left;
    auto inside = [&](int x) {
        return PointInTriangle(t[0], t[1], t[2], Vector2{static_cast<float>(x), static_cast<float>(row)});
    };
    int mid = (left + right) / 2;
    while (right > left) {
        if (inside(mid)) {
            left = mid + 1;
            if (!inside(left)) break;
        } else {
            right = mid - 1;
        }
        mid = (right + left) / 2;
    }
    return mid;
}

// The span scan: for each row of the triangle's rounded, clamped box, the
// leftmost inside pixel is found by walking, the right end by bisection,
// and span(y, left, right) is called for the run between. A triangle with
// a non-finite corner has no defined pixels and is skipped.
template <class Span>
void ScanTriangle(const Vector2 *t, int width, int height, Span span) {
    for (int k = 0; k < 3; ++k)
        if (!std::isfinite(t[k].x) || !std::isfinite(t[k].y)) return;
    int x0 = RoundCorner(t[0].x), x1 = RoundCorner(t[1].x), x2 = RoundCorner(t[2].x);
    int y0 = RoundCorner(t[0].y), y1 = RoundCorner(t[1].y), y2 = RoundCorner(t[2].y);
    int left = x0 < x1 ? (x0 < x2 ? x0 : x2) : (x1 < x2 ? x1 : x2);
    int right = x0 > x1 ? (x0 > x2 ? x0 : x2) : (x1 > x2 ? x1 : x2);
    int top = y0 < y1 ? (y0 < y2 ? y0 : y2) : (y1 < y2 ? y1 : y2);
    int bottom = y0 > y1 ? (y0 > y2 ? y0 : y2) : (y1 > y2 ? y1 : y2);
    if (left < 0) left = 0;
    if (top < 0) top = 0;
    if (right > width - 1) right = width - 1;
    if (bottom > height - 1) bottom = height - 1;
    for (int y = top; y <= bottom; ++y) {
        const float fy = static_cast<float>(y);
        int x = left;
        while (x <= right && !PointInTriangle(t[0], t[1], t[2], Vector2{static_cast<float>(x), fy})) ++x;
        if (x > right) continue;
        span(y, x, SearchRightEnd(t, x, right, y));
    }
}

// Clamps a sample position to the image: below 0 (or NaN) to 0, at or past
// the size to the last pixel.
inline float ClampSample(float v, int size) {
    if (!(v >= 0)) return 0;
    if (v >= size) return static_cast<float>(size - 1);
    return v;
}

// Bilinear sample of `channels` channels at (x, y), already clamped, into
// out; the neighbour right or below is the pixel itself on the last column
// or row. Results are truncated.
inline void SampleBilinear(const unsigned char *image, int width, int height, float x, float y, int channels,
                           unsigned char *out) {
    const int ix = static_cast<int>(x), iy = static_cast<int>(y);
    const float fx = x - ix, fy = y - iy;
    const unsigned char *p00 = image + (static_cast<size_t>(iy) * width + ix) * 4;
    const unsigned char *p01 = ix == width - 1 ? p00 : p00 + 4;
    const size_t down = iy == height - 1 ? 0 : static_cast<size_t>(width) * 4;
    const unsigned char *p10 = p00 + down, *p11 = p01 + down;
    const float w00 = (1 - fx) * (1 - fy), w01 = fx * (1 - fy), w10 = (1 - fx) * fy, w11 = fx * fy;
    for (int c = 0; c < channels; ++c)
        out[c] = static_cast<unsigned char>(
            static_cast<int>(p00[c] * w00 + p01[c] * w01 + p10[c] * w10 + p11[c] * w11));
}

// Cubic convolution (a = -0.75) of channels 0 to 2 at (x, y) into dst,
// taps clamped to the image, accumulated from 0.5 and saturated. Channel 3
// of dst is not written. Rows are summed first, then weighted by row.
inline void SampleBicubic(const unsigned char *image, int width, int height, float x, float y, unsigned char *dst) {
    const int ix = static_cast<int>(std::floor(x)), iy = static_cast<int>(std::floor(y));
    auto weights = [](float f, float *w) {
        auto inner = [](float t) { return (1.25f * t - 2.25f) * t * t + 1; };
        auto outer = [](float t) { return ((-0.75f * t + 3.75f) * t - 6) * t + 3; };
        w[0] = outer(1 + f);
        w[1] = inner(f);
        w[2] = inner(1 - f);
        w[3] = 1 - w[0] - w[1] - w[2];
    };
    float wx[4], wy[4];
    weights(x - ix, wx);
    weights(y - iy, wy);
    int cols[4], rows[4];
    for (int k = 0; k < 4; ++k) {
        const int cx = ix - 1 + k, cy = iy - 1 + k;
        cols[k] = cx < 0 ? 0 : (cx > width - 1 ? width - 1 : cx);
        rows[k] = cy < 0 ? 0 : (cy > height - 1 ? height - 1 : cy);
    }
    for (int c = 0; c < 3; ++c) {
        float acc = 0.5f;
        for (int j = 0; j < 4; ++j) {
            const unsigned char *row = image + static_cast<size_t>(rows[j]) * width * 4;
            float line = 0;
            for (int i = 0; i < 4; ++i) line += wx[i] * row[cols[i] * 4 + c];
            acc += wy[j] * line;
        }
        dst[c] = static_cast<unsigned char>(acc <= 0 ? 0 : (acc >= 255 ? 255 : static_cast<int>(acc)));
    }
}

}  // namespace detail
}  // namespace klav

#endif
