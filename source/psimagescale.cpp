// PsImageScale: separable fixed-point resampling with cubic kernels tuned
// for enlarging and reducing, and a bilinear path.
#include "psimagescale.h"

#include "common.h"
#include "scale_internal.h"
#include "sfdsp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace klav {

namespace detail {

namespace {
ScalePositions Positions(int dst, int src, bool cubic) {
    ScalePositions pos;
    pos.index.resize(static_cast<size_t>(dst));
    pos.phase.resize(static_cast<size_t>(dst));
    const long long top = static_cast<long long>(src) * 128 - 128;
    for (int i = 0; i < dst; ++i) {
        // The cubic path centres pixels (p may be just below 0 when
        // enlarging); the bilinear path takes the half off the source length
        // before the product.
        float p = cubic ? (static_cast<float>(i) + 0.5f) / static_cast<float>(dst) * static_cast<float>(src) - 0.5f
                        : (static_cast<float>(i) + 0.5f) / static_cast<float>(dst) * (static_cast<float>(src) - 0.5f);
        long long q = static_cast<long long>(static_cast<double>(p) * 128.0 + 0.5);
        if (q > top) q = top;
        pos.index[i] = static_cast<int>(q >> 7);
        pos.phase[i] = static_cast<unsigned char>(q & 127);
    }
    return pos;
}
}  // namespace

ScalePositions DstInSrcIndexCube(int dst, int src) { return Positions(dst, src, true); }
ScalePositions DstInSrcIndex(int dst, int src) { return Positions(dst, src, false); }

double ExpandWay(double x) {
    const double t = std::fabs(x);
    if (t >= 2) return 0;
    if (t >= 1) return ((3.75 - 0.75 * t) * t - 6) * t + 3;
    return t * t * (1.25 * t - 2.25) + 1;
}

double ShrinkWay(double x, double a) {
    const double t = std::fabs(x);
    if (t >= 2) return 0;
    if (t >= 1) return ((t - 5) * a * t + 8 * a) * t - 4 * a;
    return ((a + 2) * t - a - 3) * t * t + 1;
}

ScaleTaps CountTable(double scale, int mode) {
    // Blur b and the kernel parameter near scale 1 and near scale 0.25.
    double b, a1, a025;
    if (mode == 1) {
        b = 1.15, a1 = -0.625, a025 = -1.0;
    } else if (mode == 3) {
        b = 1.0, a1 = -0.75, a025 = -0.75;
    } else {
        b = 1.05, a1 = -1.0, a025 = -2.2;
    }
    ScaleTaps t;
    std::vector<double> row;
    auto store = [&](int phase) {
        double sum = 0;
        for (double v : row) sum += v;
        for (int j = 0; j < t.taps; ++j) t.weights[static_cast<size_t>(phase * t.taps + j)] = static_cast<short>(row[j] / sum * 16384.0);
    };
    if (scale >= 1.0) {
        t.taps = mode == 3 ? 4 : 6;
        t.weights.resize(static_cast<size_t>(128 * t.taps));
        row.resize(static_cast<size_t>(t.taps));
        for (int r = 0; r < 128; ++r) {
            const double f = r / 128.0;
            for (int j = 0; j < t.taps; ++j)
                row[j] = mode == 3 ? ExpandWay(j - (f + 1)) : ShrinkWay((j - (f + 2)) / b, a1);
            store(r);
        }
        return t;
    }
    const double s = std::max(scale, 0.25);
    const double c = s / b;
    const double a = (1 - (s - 0.25) / 0.75) * (a025 - a1) + a1;
    const int centre = std::ceil(4 / c) < 11 ? 4 : 9;
    t.taps = centre == 4 ? 10 : 20;
    t.weights.resize(static_cast<size_t>(128 * t.taps));
    row.resize(static_cast<size_t>(t.taps));
    for (int r = 0; r < 128; ++r) {
        const double f = r / 128.0;
        for (int j = 0; j < t.taps; ++j) row[j] = ShrinkWay((j - (f + centre)) * c, a);
        store(r);
    }
    return t;
}

}  // namespace detail

namespace {

using detail::ScalePositions;
using detail::ScaleTaps;

inline unsigned char Clamp255(int v) { return static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// Bilinear weights of a phase as a two-tap table.
ScaleTaps BilinearTaps() {
    ScaleTaps t;
    t.taps = 2;
    t.weights.resize(256);
    for (int r = 0; r < 128; ++r) {
        t.weights[r * 2] = static_cast<short>(16384 - 128 * r);
        t.weights[r * 2 + 1] = static_cast<short>(128 * r);
    }
    return t;
}

// Window start of destination position i: source index - taps / 2 + 1.
// The bilinear window starts at the index itself.
inline int WindowStart(int index, int taps) { return taps == 2 ? index : index - taps / 2 + 1; }

// Width pass of rows [y0, y1): each source row is copied into a line with
// 10 border pixels repeated at each end, then convolved.
template <int C, int TAPS>
void WidthRows(const unsigned char *src, int sw, unsigned char *dst, int dw, int y0, int y1, const ScaleTaps &t,
               const ScalePositions &pos) {
    const int margin = 10;
    std::vector<unsigned char> line(static_cast<size_t>(sw + 2 * margin) * C);
    for (int y = y0; y < y1; ++y) {
        const unsigned char *s = src + static_cast<size_t>(y) * sw * C;
        for (int m = 0; m < margin; ++m)
            for (int c = 0; c < C; ++c) {
                line[static_cast<size_t>(m) * C + c] = s[c];
                line[static_cast<size_t>(margin + sw + m) * C + c] = s[static_cast<size_t>(sw - 1) * C + c];
            }
        std::memcpy(line.data() + margin * C, s, static_cast<size_t>(sw) * C);
        unsigned char *d = dst + static_cast<size_t>(y) * dw * C;
        for (int x = 0; x < dw; ++x) {
            const short *w = t.Row(pos.phase[x]);
            // Past the last pixel the margin repeats it, which is also the
            // bilinear rule for the second tap at the end.
            const int start = WindowStart(pos.index[x], TAPS);
            const unsigned char *p = line.data() + static_cast<ptrdiff_t>(start + margin) * C;
            for (int c = 0; c < C; ++c) {
                int acc = 8192;
                for (int j = 0; j < TAPS; ++j) acc += p[j * C + c] * w[j];
                d[static_cast<size_t>(x) * C + c] = Clamp255(acc >> 14);
            }
        }
    }
}

// Height pass of destination rows [y0, y1): each output row is a weighted
// sum of whole source rows, the rows outside the image repeating the edge
// row, which is the same as the padded column of the width pass.
template <int TAPS>
void HeightRows(const unsigned char *src, size_t rowBytes, int sh, unsigned char *dst, int y0, int y1,
                const ScaleTaps &t, const ScalePositions &pos) {
    std::vector<int> acc(static_cast<size_t>(rowBytes));
    for (int y = y0; y < y1; ++y) {
        const short *w = t.Row(pos.phase[y]);
        const int start = WindowStart(pos.index[y], TAPS);
        std::fill(acc.begin(), acc.end(), 8192);
        for (int j = 0; j < TAPS; ++j) {
            int row = start + j;
            row = row < 0 ? 0 : (row > sh - 1 ? sh - 1 : row);
            const unsigned char *s = src + static_cast<size_t>(row) * rowBytes;
            const int wj = w[j];
            for (size_t i = 0; i < rowBytes; ++i) acc[i] += s[i] * wj;
        }
        unsigned char *d = dst + static_cast<size_t>(y) * rowBytes;
        for (size_t i = 0; i < rowBytes; ++i) d[i] = Clamp255(acc[i] >> 14);
    }
}

#if defined(__SSE2__)
// The width pass for four-byte pixels in SSE2 (the x86-64 baseline): two
// taps at a time, each channel's pair of pixels against the pair of
// weights in one multiply-add. The sums are those of the plain loop.
template <int TAPS>
void WidthRowsFourLanes(const unsigned char *src, int sw, unsigned char *dst, int dw, int y0, int y1,
                        const ScaleTaps &t, const ScalePositions &pos) {
    static_assert(TAPS % 2 == 0, "taps come in pairs");
    const int margin = 10;
    std::vector<unsigned char> line(static_cast<size_t>(sw + 2 * margin) * 4 + 8);
    // Weights of each phase as pairs repeated over the four channels.
    std::vector<short> pairs(static_cast<size_t>(128) * TAPS * 4);
    for (int ph = 0; ph < 128; ++ph)
        for (int j = 0; j < TAPS; j += 2)
            for (int c = 0; c < 4; ++c) {
                pairs[(static_cast<size_t>(ph) * TAPS + j) * 4 + 2 * c] = t.Row(ph)[j];
                pairs[(static_cast<size_t>(ph) * TAPS + j) * 4 + 2 * c + 1] = t.Row(ph)[j + 1];
            }
    const __m128i zero = _mm_setzero_si128(), round = _mm_set1_epi32(8192);
    for (int y = y0; y < y1; ++y) {
        const unsigned char *s = src + static_cast<size_t>(y) * sw * 4;
        for (int m = 0; m < margin; ++m) {
            std::memcpy(&line[static_cast<size_t>(m) * 4], s, 4);
            std::memcpy(&line[static_cast<size_t>(margin + sw + m) * 4], s + static_cast<size_t>(sw - 1) * 4, 4);
        }
        std::memcpy(line.data() + margin * 4, s, static_cast<size_t>(sw) * 4);
        unsigned char *d = dst + static_cast<size_t>(y) * dw * 4;
        for (int x = 0; x < dw; ++x) {
            const unsigned char *p = line.data() + static_cast<ptrdiff_t>(WindowStart(pos.index[x], TAPS) + margin) * 4;
            const short *w = &pairs[static_cast<size_t>(pos.phase[x]) * TAPS * 4];
            __m128i acc = round;
            for (int j = 0; j < TAPS; j += 2) {
                __m128i two;
                int64_t bytes;
                std::memcpy(&bytes, p + j * 4, 8);
                two = _mm_unpacklo_epi8(_mm_cvtsi64_si128(bytes), zero);              // r0 g0 b0 a0 r1 g1 b1 a1
                two = _mm_unpacklo_epi16(two, _mm_srli_si128(two, 8));                 // r0 r1 g0 g1 b0 b1 a0 a1
                const __m128i weights = _mm_loadu_si128(reinterpret_cast<const __m128i *>(w + j * 4));
                acc = _mm_add_epi32(acc, _mm_madd_epi16(two, weights));
            }
            const __m128i q = _mm_srai_epi32(acc, 14);
            const __m128i packed = _mm_packus_epi16(_mm_packs_epi32(q, q), zero);
            const int32_t word = _mm_cvtsi128_si32(packed);
            std::memcpy(d + static_cast<size_t>(x) * 4, &word, 4);
        }
    }
}
#endif

}  // namespace

bool detail::g_scaleFast = true;

namespace {

template <int C>
void WidthDispatch(const unsigned char *src, int sw, unsigned char *dst, int dw, int y0, int y1, const ScaleTaps &t,
                   const ScalePositions &pos) {
#if defined(__SSE2__)
    if (C == 4 && detail::g_scaleFast) {
        switch (t.taps) {
        case 2: WidthRowsFourLanes<2>(src, sw, dst, dw, y0, y1, t, pos); return;
        case 4: WidthRowsFourLanes<4>(src, sw, dst, dw, y0, y1, t, pos); return;
        case 6: WidthRowsFourLanes<6>(src, sw, dst, dw, y0, y1, t, pos); return;
        case 10: WidthRowsFourLanes<10>(src, sw, dst, dw, y0, y1, t, pos); return;
        default: WidthRowsFourLanes<20>(src, sw, dst, dw, y0, y1, t, pos); return;
        }
    }
#endif
    switch (t.taps) {
    case 2: WidthRows<C, 2>(src, sw, dst, dw, y0, y1, t, pos); break;
    case 4: WidthRows<C, 4>(src, sw, dst, dw, y0, y1, t, pos); break;
    case 6: WidthRows<C, 6>(src, sw, dst, dw, y0, y1, t, pos); break;
    case 10: WidthRows<C, 10>(src, sw, dst, dw, y0, y1, t, pos); break;
    default: WidthRows<C, 20>(src, sw, dst, dw, y0, y1, t, pos); break;
    }
}

// One pass along the width: rows split into bands over the threads.
void WidthPass(const unsigned char *src, int sw, int h, unsigned char *dst, int dw, int channels, const ScaleTaps &t,
               const ScalePositions &pos, int threads) {
    if (sw == dw) {
        std::memcpy(dst, src, detail::CheckedSize({sw, h, channels}));
        return;
    }
    const int bands = std::max(1, std::min(threads, h));
    detail::ForkJoin(bands, [&](int b) {
        const int y0 = static_cast<int>(static_cast<long long>(h) * b / bands);
        const int y1 = static_cast<int>(static_cast<long long>(h) * (b + 1) / bands);
        if (channels == 1)
            WidthDispatch<1>(src, sw, dst, dw, y0, y1, t, pos);
        else
            WidthDispatch<4>(src, sw, dst, dw, y0, y1, t, pos);
    });
}

void HeightPass(const unsigned char *src, int w, int sh, unsigned char *dst, int dh, int channels, const ScaleTaps &t,
                const ScalePositions &pos, int threads) {
    if (sh == dh) {
        std::memcpy(dst, src, detail::CheckedSize({w, sh, channels}));
        return;
    }
    const size_t rowBytes = detail::CheckedSize({w, channels});
    const int bands = std::max(1, std::min(threads, dh));
    detail::ForkJoin(bands, [&](int b) {
        const int y0 = static_cast<int>(static_cast<long long>(dh) * b / bands);
        const int y1 = static_cast<int>(static_cast<long long>(dh) * (b + 1) / bands);
        switch (t.taps) {
        case 2: HeightRows<2>(src, rowBytes, sh, dst, y0, y1, t, pos); break;
        case 4: HeightRows<4>(src, rowBytes, sh, dst, y0, y1, t, pos); break;
        case 6: HeightRows<6>(src, rowBytes, sh, dst, y0, y1, t, pos); break;
        case 10: HeightRows<10>(src, rowBytes, sh, dst, y0, y1, t, pos); break;
        default: HeightRows<20>(src, rowBytes, sh, dst, y0, y1, t, pos); break;
        }
    });
}

}  // namespace

PsImageScale::PsImageScale() : m_threadCount(SFDSP::GetCPUCount()) {}

bool PsImageScale::Run(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst, int dstWidth,
                       int dstHeight, int channels, eScaleMode mode) {
    if (!src || !dst) return false;
    if (!detail::ValidChannels(channels)) return false;
    if (srcWidth <= 0 || srcHeight <= 0 || dstWidth <= 0 || dstHeight <= 0) return false;
    if (srcWidth == dstWidth && srcHeight == dstHeight) {
        std::memcpy(dst, src, detail::CheckedSize({srcWidth, srcHeight, channels}));
        return true;
    }
    if (mode != 0)
        ImageScaleBiCubic(src, srcWidth, srcHeight, dst, dstWidth, dstHeight, channels, mode);
    else
        ImageScaleBilinear(src, srcWidth, srcHeight, dst, dstWidth, dstHeight, channels);
    return true;
}

void PsImageScale::ImageScaleBilinear(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst,
                                      int dstWidth, int dstHeight, int channels) {
    if (!src || !dst || !detail::ValidChannels(channels) || srcWidth <= 0 || srcHeight <= 0 || dstWidth <= 0 ||
        dstHeight <= 0)
        return;
    const ScalePositions px = detail::DstInSrcIndex(dstWidth, srcWidth);
    const ScalePositions py = detail::DstInSrcIndex(dstHeight, srcHeight);
    const ScaleTaps t = BilinearTaps();
    const int threads = m_threadCount;
    if (static_cast<long long>(srcHeight) * dstWidth <= static_cast<long long>(srcWidth) * dstHeight) {
        std::vector<unsigned char> mid(detail::CheckedSize({dstWidth, srcHeight, channels}));
        WidthPass(src, srcWidth, srcHeight, mid.data(), dstWidth, channels, t, px, threads);
        HeightPass(mid.data(), dstWidth, srcHeight, dst, dstHeight, channels, t, py, threads);
    } else {
        std::vector<unsigned char> mid(detail::CheckedSize({srcWidth, dstHeight, channels}));
        HeightPass(src, srcWidth, srcHeight, mid.data(), dstHeight, channels, t, py, threads);
        WidthPass(mid.data(), srcWidth, dstHeight, dst, dstWidth, channels, t, px, threads);
    }
}

void PsImageScale::ImageScaleBiCubic(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst,
                                     int dstWidth, int dstHeight, int channels, eScaleMode mode) {
    if (!src || !dst || !detail::ValidChannels(channels) || srcWidth <= 0 || srcHeight <= 0 || dstWidth <= 0 ||
        dstHeight <= 0)
        return;
    const ScalePositions px = detail::DstInSrcIndexCube(dstWidth, srcWidth);
    const ScalePositions py = detail::DstInSrcIndexCube(dstHeight, srcHeight);
    const double sx = static_cast<double>(dstWidth) / srcWidth, sy = static_cast<double>(dstHeight) / srcHeight;
    const long long A = static_cast<long long>(dstWidth) * srcHeight, B = static_cast<long long>(dstHeight) * srcWidth;
    const int threads = m_threadCount;
    const int m = static_cast<int>(mode);
    if (std::llabs(A - B) >= std::max(srcWidth, srcHeight)) {
        if (A <= B) {
            // The aspect changes: width first, each axis with its own table.
            std::vector<unsigned char> mid(detail::CheckedSize({dstWidth, srcHeight, channels}));
            WidthPass(src, srcWidth, srcHeight, mid.data(), dstWidth, channels, detail::CountTable(sx, m), px, threads);
            HeightPass(mid.data(), dstWidth, srcHeight, dst, dstHeight, channels, detail::CountTable(sy, m), py, threads);
        } else {
            std::vector<unsigned char> mid(detail::CheckedSize({srcWidth, dstHeight, channels}));
            HeightPass(src, srcWidth, srcHeight, mid.data(), dstHeight, channels, detail::CountTable(sy, m), py, threads);
            WidthPass(mid.data(), srcWidth, dstHeight, dst, dstWidth, channels, detail::CountTable(sx, m), px, threads);
        }
        return;
    }
    // The aspect is kept: the width's table serves both passes, height first.
    const ScaleTaps t = detail::CountTable(sx, m);
    std::vector<unsigned char> mid(detail::CheckedSize({srcWidth, dstHeight, channels}));
    HeightPass(src, srcWidth, srcHeight, mid.data(), dstHeight, channels, t, py, threads);
    WidthPass(mid.data(), srcWidth, dstHeight, dst, dstWidth, channels, t, px, threads);
}

}  // namespace klav
