// The scan conversion and samplers shared by the triangle renderers and the
// liquify brush. Images are 4 bytes a pixel with packed rows.
#ifndef KLAV_SOURCE_RASTER_INTERNAL_H
#define KLAV_SOURCE_RASTER_INTERNAL_H

#include "klavtypes.h"

#include <cstdint>

#include <cmath>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

// Whether the renderers draw each span, and look for its left end, four
// pixels a step (the fast path) or pixel by pixel (the plain path); the
// bytes are the same.
extern bool g_spanVector;

// The first x in left..right of row y inside the triangle, or right + 1:
// the walk of the span scan, four pixels a step. Each lane repeats the
// float operations of PointInTriangle, so the answer is the walk's.
inline int FirstInsideVector(const Vector2 *t, int y, int left, int right) {
    int x = left;
#if defined(__SSE2__)
    const Vector2 a = t[0], b = t[1], c = t[2];
    auto cross = [](float ux, float uy, float vx, float vy) { return ux * vy - uy * vx; };
    // Per edge: the reference side, the edge's origin and direction.
    const float ref[3] = {cross(c.x - a.x, c.y - a.y, b.x - a.x, b.y - a.y),
                          cross(b.x - a.x, b.y - a.y, c.x - a.x, c.y - a.y),
                          cross(a.x - b.x, a.y - b.y, c.x - b.x, c.y - b.y)};
    const Vector2 from[3] = {a, a, b}, to[3] = {b, c, c};
    const float fy = static_cast<float>(y);
    __m128 ox[3], uyv[3], vx[3], vy[3], rf[3];
    for (int k = 0; k < 3; ++k) {
        ox[k] = _mm_set1_ps(from[k].x);
        uyv[k] = _mm_set1_ps(fy - from[k].y);
        vx[k] = _mm_set1_ps(to[k].x - from[k].x);
        vy[k] = _mm_set1_ps(to[k].y - from[k].y);
        rf[k] = _mm_set1_ps(ref[k]);
    }
    const __m128 zero = _mm_setzero_ps();
    for (; x + 3 <= right; x += 4) {
        const __m128 px = _mm_setr_ps(static_cast<float>(x), static_cast<float>(x + 1), static_cast<float>(x + 2),
                                      static_cast<float>(x + 3));
        __m128 in = _mm_castsi128_ps(_mm_set1_epi32(-1));
        for (int k = 0; k < 3; ++k) {
            const __m128 ux = _mm_sub_ps(px, ox[k]);
            const __m128 cr = _mm_sub_ps(_mm_mul_ps(ux, vy[k]), _mm_mul_ps(uyv[k], vx[k]));
            in = _mm_and_ps(in, _mm_cmpge_ps(_mm_mul_ps(cr, rf[k]), zero));
        }
        const int bits = _mm_movemask_ps(in);
        if (bits) {
            int k = 0;
            while (!(bits >> k & 1)) ++k;
            return x + k;
        }
    }
#endif
    while (x <= right && !PointInTriangle(t[0], t[1], t[2], Vector2{static_cast<float>(x), static_cast<float>(y)})) ++x;
    return x;
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
        if (g_spanVector) {
            x = FirstInsideVector(t, y, left, right);
        } else {
            while (x <= right && !PointInTriangle(t[0], t[1], t[2], Vector2{static_cast<float>(x), fy})) ++x;
        }
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

// Pixels left..right of row y of dst (dstWidth wide) take, in channels 0
// to 2, the bilinear sample of src at the affine image m of the pixel; the
// alpha of dst stays. Every lane repeats the float operations of
// ClampSample and SampleBilinear in their order, so the bytes are theirs.
// Returns the first pixel not drawn (the caller finishes the row; with
// SSE2 every pixel is drawn here).
inline int DrawSpanVector(const unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst, int dstWidth,
                          const float *m, int y, int left, int right) {
    int x = left;
#if defined(__SSE2__)
    const __m128 m0 = _mm_set1_ps(m[0]), m1y = _mm_set1_ps(m[1] * static_cast<float>(y)), m2 = _mm_set1_ps(m[2]);
    const __m128 m3 = _mm_set1_ps(m[3]), m4y = _mm_set1_ps(m[4] * static_cast<float>(y)), m5 = _mm_set1_ps(m[5]);
    const __m128 zero = _mm_setzero_ps(), one = _mm_set1_ps(1.0f);
    const __m128 sizeX = _mm_set1_ps(static_cast<float>(srcWidth)), lastX = _mm_set1_ps(static_cast<float>(srcWidth - 1));
    const __m128 sizeY = _mm_set1_ps(static_cast<float>(srcHeight)), lastY = _mm_set1_ps(static_cast<float>(srcHeight - 1));
    const __m128i byte = _mm_set1_epi32(255), alpha = _mm_set1_epi32(static_cast<int>(0xFF000000u));
    auto clamp = [&](__m128 v, __m128 size, __m128 last) {
        v = _mm_and_ps(_mm_cmpge_ps(v, zero), v);  // below 0 or NaN: 0
        const __m128 big = _mm_cmpge_ps(v, size);
        return _mm_or_ps(_mm_and_ps(big, last), _mm_andnot_ps(big, v));
    };
    const size_t rowBytes = static_cast<size_t>(srcWidth) * 4;
    for (; x <= right; x += 4) {
        const __m128 px = _mm_setr_ps(static_cast<float>(x), static_cast<float>(x + 1), static_cast<float>(x + 2),
                                      static_cast<float>(x + 3));
        // The last group may hold fewer than four pixels: its other lanes
        // sample inside the source like any lane and are not stored.
        const int lanes = right + 1 - x < 4 ? right + 1 - x : 4;
        // (m0 x + m1 y) + m2, as the scalar form groups it.
        const __m128 sx = clamp(_mm_add_ps(_mm_add_ps(_mm_mul_ps(m0, px), m1y), m2), sizeX, lastX);
        const __m128 sy = clamp(_mm_add_ps(_mm_add_ps(_mm_mul_ps(m3, px), m4y), m5), sizeY, lastY);
        const __m128i ix = _mm_cvttps_epi32(sx), iy = _mm_cvttps_epi32(sy);
        const __m128 fx = _mm_sub_ps(sx, _mm_cvtepi32_ps(ix)), fy = _mm_sub_ps(sy, _mm_cvtepi32_ps(iy));
        const __m128 gx = _mm_sub_ps(one, fx), gy = _mm_sub_ps(one, fy);
        const __m128 w00 = _mm_mul_ps(gx, gy), w01 = _mm_mul_ps(fx, gy), w10 = _mm_mul_ps(gx, fy), w11 = _mm_mul_ps(fx, fy);
        alignas(16) int xs[4], ys[4];
        _mm_store_si128(reinterpret_cast<__m128i *>(xs), ix);
        _mm_store_si128(reinterpret_cast<__m128i *>(ys), iy);
        // The four neighbours of each lane as whole pixels. Away from the
        // last column a lane's left and right neighbours are one 8-byte
        // read per row; at the last column the right neighbour is the pixel
        // itself and is gathered alone (memcpy keeps unaligned reads defined).
        __m128i v00, v01, v10, v11;
        if (xs[0] < srcWidth - 1 && xs[1] < srcWidth - 1 && xs[2] < srcWidth - 1 && xs[3] < srcWidth - 1) {
            __m128i top[4], bottom[4];
            for (int k = 0; k < 4; ++k) {
                const unsigned char *p00 = src + static_cast<size_t>(ys[k]) * rowBytes + static_cast<size_t>(xs[k]) * 4;
                const size_t down = ys[k] == srcHeight - 1 ? 0 : rowBytes;
                top[k] = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(p00));
                bottom[k] = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(p00 + down));
            }
            const __m128 t01 = _mm_castsi128_ps(_mm_unpacklo_epi64(top[0], top[1]));
            const __m128 t23 = _mm_castsi128_ps(_mm_unpacklo_epi64(top[2], top[3]));
            const __m128 b01 = _mm_castsi128_ps(_mm_unpacklo_epi64(bottom[0], bottom[1]));
            const __m128 b23 = _mm_castsi128_ps(_mm_unpacklo_epi64(bottom[2], bottom[3]));
            v00 = _mm_castps_si128(_mm_shuffle_ps(t01, t23, _MM_SHUFFLE(2, 0, 2, 0)));
            v01 = _mm_castps_si128(_mm_shuffle_ps(t01, t23, _MM_SHUFFLE(3, 1, 3, 1)));
            v10 = _mm_castps_si128(_mm_shuffle_ps(b01, b23, _MM_SHUFFLE(2, 0, 2, 0)));
            v11 = _mm_castps_si128(_mm_shuffle_ps(b01, b23, _MM_SHUFFLE(3, 1, 3, 1)));
        } else {
            int q00[4], q01[4], q10[4], q11[4];
            for (int k = 0; k < 4; ++k) {
                const unsigned char *p00 = src + static_cast<size_t>(ys[k]) * rowBytes + static_cast<size_t>(xs[k]) * 4;
                const unsigned char *p01 = xs[k] == srcWidth - 1 ? p00 : p00 + 4;
                const size_t down = ys[k] == srcHeight - 1 ? 0 : rowBytes;
                std::memcpy(&q00[k], p00, 4);
                std::memcpy(&q01[k], p01, 4);
                std::memcpy(&q10[k], p00 + down, 4);
                std::memcpy(&q11[k], p01 + down, 4);
            }
            v00 = _mm_setr_epi32(q00[0], q00[1], q00[2], q00[3]);
            v01 = _mm_setr_epi32(q01[0], q01[1], q01[2], q01[3]);
            v10 = _mm_setr_epi32(q10[0], q10[1], q10[2], q10[3]);
            v11 = _mm_setr_epi32(q11[0], q11[1], q11[2], q11[3]);
        }
        unsigned char *out = dst + (static_cast<size_t>(y) * dstWidth + x) * 4;
        alignas(16) unsigned char partial[16] = {};
        if (lanes < 4) std::memcpy(partial, out, static_cast<size_t>(lanes) * 4);
        const unsigned char *old = lanes < 4 ? partial : out;
        __m128i result = _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(old)), alpha);
        for (int c = 0; c < 3; ++c) {
            auto channel = [&](__m128i v) { return _mm_cvtepi32_ps(_mm_and_si128(_mm_srli_epi32(v, 8 * c), byte)); };
            __m128 sum = _mm_mul_ps(channel(v00), w00);
            sum = _mm_add_ps(sum, _mm_mul_ps(channel(v01), w01));
            sum = _mm_add_ps(sum, _mm_mul_ps(channel(v10), w10));
            sum = _mm_add_ps(sum, _mm_mul_ps(channel(v11), w11));
            result = _mm_or_si128(result, _mm_slli_epi32(_mm_cvttps_epi32(sum), 8 * c));
        }
        if (lanes == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out), result);
        } else {
            _mm_store_si128(reinterpret_cast<__m128i *>(partial), result);
            std::memcpy(out, partial, static_cast<size_t>(lanes) * 4);
            x = right + 1;
            break;
        }
    }
#else
    (void)src, (void)srcWidth, (void)srcHeight, (void)dst, (void)dstWidth, (void)m, (void)y, (void)right;
#endif
    return x;
}

}  // namespace detail
}  // namespace klav

#endif
