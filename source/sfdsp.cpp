// SFDSP: the stack blur family, its thread splits, the median and the
// thread budget of the filters.
#include "sfdsp.h"

#include "blur_internal.h"
#include "common.h"
#include "psimagescale.h"

#include <algorithm>
#include <cstring>
#include <unistd.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace klav {

namespace detail {

int CpuBudgetFor(int logicalProcessors) {
    if (logicalProcessors <= 0) return 1;
    int half = logicalProcessors / 2;
    if (half >= 4) return 4;
    if (half < 2) return 1;
    return half;
}

int BlurRadius(int radius) {
    if (radius < 0) return -1;
    return radius > kMaxBlurRadius ? kMaxBlurRadius : radius;
}

BlurTables::BlurTables(int r)
    : radius(r), divisor((r + 1) * (r + 1)), floatDivide(r <= 63), reciprocal(1.0f / static_cast<float>((r + 1) * (r + 1))) {
    // The division table has 256 runs of (r + 1)^2 equal bytes; above 4 MiB
    // the quotient is computed instead, with the same values.
    const size_t entries = CheckedSize({256, divisor});
    if (entries <= (size_t(4) << 20)) {
        div.resize(entries);
        for (int v = 0; v < 256; ++v)
            std::memset(div.data() + static_cast<size_t>(v) * divisor, v, static_cast<size_t>(divisor));
    }
    const int ringSize = 2 * r + 1;
    successor.resize(static_cast<size_t>(ringSize));
    for (int i = 0; i < ringSize; ++i) successor[i] = (i + r + 1) % ringSize;
}

namespace {

#if defined(__SSE2__)
void RowsFourLanes(const unsigned char *const *src, unsigned char *const *dst, int count, int width, const BlurTables &t);
#endif

// One line of the stack blur. `src` and `dst` step by srcStep and dstStep
// bytes from pixel to pixel; C is the number of summed bytes (1, or 3 of a
// four-byte pixel). The ring holds 2r + 1 pixels of C bytes.
template <int C, BlurStore Store>
void BlurLine(const unsigned char *src, ptrdiff_t srcStep, unsigned char *dst, ptrdiff_t dstStep, int n,
              const BlurTables &t, const int *far, unsigned char *ring) {
    const int r = t.radius;
    const int ringSize = 2 * r + 1;
    int sum[C], outSum[C], inSum[C];
    for (int c = 0; c < C; ++c) {
        const int p0 = src[c];
        sum[c] = p0 * (r + 1) * (r + 2) / 2;
        outSum[c] = p0 * (r + 1);
        inSum[c] = 0;
        for (int i = 0; i <= r; ++i) ring[i * C + c] = static_cast<unsigned char>(p0);
    }
    for (int i = 1; i <= r; ++i) {
        const unsigned char *p = src + static_cast<ptrdiff_t>(std::min(i, n - 1)) * srcStep;
        for (int c = 0; c < C; ++c) {
            ring[(r + i) * C + c] = p[c];
            inSum[c] += p[c];
            sum[c] += p[c] * (r + 1 - i);
        }
    }
    int sp = r;
    const int *succ = t.successor.data();
    for (int x = 0; x < n; ++x) {
        unsigned char *out = dst + static_cast<ptrdiff_t>(x) * dstStep;
        const int start = succ[sp];
        const unsigned char *in = src + static_cast<ptrdiff_t>(far[x]) * srcStep;
        for (int c = 0; c < C; ++c) {
            const unsigned char blurred = t.Divide(sum[c]);
            if (Store == BlurStore::Plain) {
                out[c] = blurred;
            } else {
                const int v = out[c] - blurred + 128;
                out[c] = static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v));
            }
            sum[c] -= outSum[c];
            outSum[c] -= ring[start * C + c];
            ring[start * C + c] = in[c];
            inSum[c] += in[c];
            sum[c] += inSum[c];
        }
        sp = sp + 1 == ringSize ? 0 : sp + 1;
        for (int c = 0; c < C; ++c) {
            outSum[c] += ring[sp * C + c];
            inSum[c] -= ring[sp * C + c];
        }
    }
}

std::vector<int> FarIndex(int n, int r) {
    std::vector<int> far(static_cast<size_t>(n));
    for (int x = 0; x < n; ++x) far[x] = static_cast<int>(std::min<long long>(static_cast<long long>(x) + r + 1, n - 1));
    return far;
}

}  // namespace

namespace {
// Blurs `count` rows given by pointers, source row i into destination row i.
void BlurRowPointers(const unsigned char *const *src, unsigned char *const *dst, int count, int width,
                     int pixelBytes, const BlurTables &t, unsigned char *ring) {
    if (count <= 0) return;
#if defined(__SSE2__)
    if (g_blurFast && pixelBytes == 4 && t.floatDivide) {
        RowsFourLanes(src, dst, count, width, t);
        return;
    }
#endif
    std::vector<int> far = FarIndex(width, t.radius);
    for (int i = 0; i < count; ++i) {
        if (pixelBytes == 1)
            BlurLine<1, BlurStore::Plain>(src[i], 1, dst[i], 1, width, t, far.data(), ring);
        else
            BlurLine<3, BlurStore::Plain>(src[i], 4, dst[i], 4, width, t, far.data(), ring);
    }
}
}  // namespace

void BlurRows(const unsigned char *src, unsigned char *dst, int width, int row0, int row1, int pixelBytes,
              const BlurTables &t, unsigned char *ring) {
    if (row1 <= row0) return;
    const size_t rowBytes = static_cast<size_t>(width) * pixelBytes;
    std::vector<const unsigned char *> in;
    std::vector<unsigned char *> out;
    for (int y = row0; y < row1; ++y) {
        in.push_back(src + y * rowBytes);
        out.push_back(dst + y * rowBytes);
    }
    BlurRowPointers(in.data(), out.data(), row1 - row0, width, pixelBytes, t, ring);
}

namespace {

// The bits of byte 3 within a 32-bit pixel word, whatever the byte order.
uint32_t AlphaMask() {
    static const unsigned char bytes[4] = {0, 0, 0, 255};
    uint32_t m;
    std::memcpy(&m, bytes, 4);
    return m;
}

// Stores a row of blurred bytes: all of them for one-byte pixels, bytes
// 0..2 of four-byte pixels (byte 3 keeps its value), or for the high-pass
// the clamped source - blur + 128.
void StoreRow(unsigned char *out, const unsigned char *blurred, size_t lanes, bool keepAlpha, BlurStore store) {
    if (store == BlurStore::HighPass) {
        for (size_t l = 0; l < lanes; ++l) {
            if (keepAlpha && (l & 3) == 3) continue;
            const int v = out[l] - blurred[l] + 128;
            out[l] = static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v));
        }
        return;
    }
    if (!keepAlpha) {
        std::memcpy(out, blurred, lanes);
        return;
    }
    for (size_t i = 0; i + 3 < lanes; i += 4) {
        uint32_t o, b;
        std::memcpy(&o, out + i, 4);
        std::memcpy(&b, blurred + i, 4);
        o = (o & AlphaMask()) | (b & ~AlphaMask());
        std::memcpy(out + i, &o, 4);
    }
}

// The vertical pass swept row by row: every column of the band advances
// together, so each step reads and writes whole rows instead of striding
// down one column at a time. The stack sum moves by the ring-free update
// (pixels entering below, leaving above), which gives the same sums, and so
// the same bytes, as the ring. Alpha lanes of four-byte pixels are summed
// along (harmlessly) but never stored.
template <class RowAt>
void SweepColumns(RowAt rowAt, unsigned char *dst, int width, int height, int col0, int col1, int pixelBytes,
                  const BlurTables &t, BlurStore store) {
    const int r = t.radius;
    const size_t rowBytes = static_cast<size_t>(width) * pixelBytes;
    const size_t lane0 = static_cast<size_t>(col0) * pixelBytes, lanes = static_cast<size_t>(col1 - col0) * pixelBytes;
    std::vector<int> sum(lanes), inSum(lanes, 0), outSum(lanes);
    const unsigned char *row0 = rowAt(0) + lane0;
    for (size_t l = 0; l < lanes; ++l) {
        sum[l] = row0[l] * (r + 1) * (r + 2) / 2;
        outSum[l] = row0[l] * (r + 1);
    }
    for (int i = 1; i <= r; ++i) {
        const unsigned char *p = rowAt(std::min(i, height - 1)) + lane0;
        const int weight = r + 1 - i;
        for (size_t l = 0; l < lanes; ++l) {
            inSum[l] += p[l];
            sum[l] += p[l] * weight;
        }
    }
    std::vector<unsigned char> blurredRow(lanes);
    for (int y = 0; y < height; ++y) {
        unsigned char *out = dst + static_cast<size_t>(y) * rowBytes + lane0;
        unsigned char *b = blurredRow.data();
        if (t.floatDivide) {
            const float inv = t.reciprocal;
            for (size_t l = 0; l < lanes; ++l)
                b[l] = static_cast<unsigned char>(static_cast<int>((static_cast<float>(sum[l]) + 0.5f) * inv));
        } else {
            for (size_t l = 0; l < lanes; ++l) b[l] = t.Divide(sum[l]);
        }
        StoreRow(out, b, lanes, pixelBytes == 4, store);
        if (y + 1 == height) break;
        const unsigned char *in = rowAt(std::min(y + r + 1, height - 1)) + lane0;
        const unsigned char *next = rowAt(y + 1) + lane0;
        const unsigned char *leaving = rowAt(std::max(y - r, 0)) + lane0;
        for (size_t l = 0; l < lanes; ++l) {
            sum[l] += inSum[l] + in[l] - outSum[l];
            inSum[l] += in[l] - next[l];
            outSum[l] += next[l] - leaving[l];
        }
    }
}

void ColumnsRowSweep(const unsigned char *src, unsigned char *dst, int width, int height, int col0, int col1,
                     int pixelBytes, const BlurTables &t, BlurStore store) {
    const size_t rowBytes = static_cast<size_t>(width) * pixelBytes;
    SweepColumns([&](int k) { return src + static_cast<size_t>(k) * rowBytes; }, dst, width, height, col0, col1,
                 pixelBytes, t, store);
}

// Rows of four-byte pixels with the four bytes of a pixel in the lanes of
// one SSE2 register (the x86-64 baseline): the stack sum moves by the
// ring-free update, two rows at a time so that their chains overlap. Byte 3
// of the scratch image is written too; nothing reads it into a result.
#if defined(__SSE2__)
inline __m128i Pixel(const unsigned char *p) {
    int32_t word;
    std::memcpy(&word, p, 4);
    const __m128i zero = _mm_setzero_si128();
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(word), zero), zero);
}

inline void Store(unsigned char *o, __m128i sum, __m128 inv) {
    const __m128 half = _mm_set1_ps(0.5f);
    const __m128i q = _mm_cvttps_epi32(_mm_mul_ps(_mm_add_ps(_mm_cvtepi32_ps(sum), half), inv));
    const __m128i packed = _mm_packus_epi16(_mm_packs_epi32(q, q), _mm_setzero_si128());
    const int32_t word = _mm_cvtsi128_si32(packed);
    std::memcpy(o, &word, 4);
}

// 32-bit lane multiply by a small constant without SSE4.1.
inline __m128i Times(__m128i v, int k) {
    const __m128i kk = _mm_set1_epi32(k);
    const __m128i even = _mm_mul_epu32(v, kk), odd = _mm_mul_epu32(_mm_srli_epi64(v, 32), kk);
    return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)), _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)));
}

void RowsFourLanes(const unsigned char *const *src, unsigned char *const *dst, int count, int width, const BlurTables &t) {
    const int r = t.radius;
    const __m128 inv = _mm_set1_ps(t.reciprocal);
    struct Row {
        const unsigned char *p;
        unsigned char *out;
        __m128i sum, inSum, outSum;
    };
    auto seed = [&](Row &row, int y) {
        row.p = src[y];
        row.out = dst[y];
        const __m128i p0 = Pixel(row.p);
        row.sum = Times(p0, (r + 1) * (r + 2) / 2);
        row.outSum = Times(p0, r + 1);
        row.inSum = _mm_setzero_si128();
        for (int i = 1; i <= r; ++i) {
            const __m128i v = Pixel(row.p + static_cast<size_t>(std::min(i, width - 1)) * 4);
            row.inSum = _mm_add_epi32(row.inSum, v);
            row.sum = _mm_add_epi32(row.sum, Times(v, r + 1 - i));
        }
    };
    auto step = [&](Row &row, int x) {
        Store(row.out + static_cast<size_t>(x) * 4, row.sum, inv);
        if (x + 1 == width) return;
        const __m128i in = Pixel(row.p + static_cast<size_t>(std::min(x + r + 1, width - 1)) * 4);
        const __m128i next = Pixel(row.p + static_cast<size_t>(x + 1) * 4);
        const __m128i leaving = Pixel(row.p + static_cast<size_t>(std::max(x - r, 0)) * 4);
        row.sum = _mm_sub_epi32(_mm_add_epi32(row.sum, _mm_add_epi32(row.inSum, in)), row.outSum);
        row.inSum = _mm_sub_epi32(_mm_add_epi32(row.inSum, in), next);
        row.outSum = _mm_sub_epi32(_mm_add_epi32(row.outSum, next), leaving);
    };
    int y = 0;
    for (; y + 1 < count; y += 2) {
        Row a, b;
        seed(a, y);
        seed(b, y + 1);
        for (int x = 0; x < width; ++x) {
            step(a, x);
            step(b, x);
        }
    }
    for (; y < count; ++y) {
        Row a;
        seed(a, y);
        for (int x = 0; x < width; ++x) step(a, x);
    }
}
#endif

}  // namespace

bool g_blurFast = true;

void BlurColumns(const unsigned char *src, unsigned char *dst, int width, int height, int col0, int col1,
                 int pixelBytes, const BlurTables &t, unsigned char *ring, BlurStore store) {
    if (col1 <= col0) return;
    if (g_blurFast) {
        ColumnsRowSweep(src, dst, width, height, col0, col1, pixelBytes, t, store);
        return;
    }
    std::vector<int> far = FarIndex(height, t.radius);
    const ptrdiff_t step = static_cast<ptrdiff_t>(width) * pixelBytes;
    for (int x = col0; x < col1; ++x) {
        const unsigned char *s = src + static_cast<size_t>(x) * pixelBytes;
        unsigned char *d = dst + static_cast<size_t>(x) * pixelBytes;
        if (pixelBytes == 1) {
            if (store == BlurStore::Plain)
                BlurLine<1, BlurStore::Plain>(s, step, d, step, height, t, far.data(), ring);
            else
                BlurLine<1, BlurStore::HighPass>(s, step, d, step, height, t, far.data(), ring);
        } else {
            if (store == BlurStore::Plain)
                BlurLine<3, BlurStore::Plain>(s, step, d, step, height, t, far.data(), ring);
            else
                BlurLine<3, BlurStore::HighPass>(s, step, d, step, height, t, far.data(), ring);
        }
    }
}

void BlurImage(unsigned char *image, int width, int height, int radius, int pixelBytes, BlurStore store) {
    if (!ValidImage(image, width, height) || radius < 0) return;
    BlurTables t(radius);
    if (g_blurFast) {
        // Rows are blurred into a rolling buffer of 2r + 2 rows just before
        // the vertical sweep needs them, so no whole scratch image goes
        // through memory. The sweep asks for rows y - r .. y + r + 1 at step
        // y and writes row y of the image, which no later row reads.
        const size_t rowBytes = CheckedSize({width, pixelBytes});
        const int slots = static_cast<int>(std::min<long long>(2LL * radius + 2, height));
        std::vector<unsigned char> rows(CheckedSize({slots, static_cast<long long>(rowBytes)}));
        std::vector<unsigned char> ring(CheckedSize({2LL * radius + 1, 3}));
        int done = -1;
        auto rowAt = [&](int k) -> const unsigned char * {
            while (done < k) {
                ++done;
                const unsigned char *in = image + static_cast<size_t>(done) * rowBytes;
                unsigned char *out = rows.data() + static_cast<size_t>(done % slots) * rowBytes;
                BlurRowPointers(&in, &out, 1, width, pixelBytes, t, ring.data());
            }
            return rows.data() + static_cast<size_t>(k % slots) * rowBytes;
        };
        SweepColumns(rowAt, image, width, height, 0, width, pixelBytes, t, store);
        return;
    }
    std::vector<unsigned char> scratch(CheckedSize({width, height, pixelBytes}));
    std::vector<unsigned char> ring(CheckedSize({2LL * radius + 1, 3}));
    BlurRows(image, scratch.data(), width, 0, height, pixelBytes, t, ring.data());
    BlurColumns(scratch.data(), image, width, height, 0, width, pixelBytes, t, ring.data(), store);
}

}  // namespace detail

namespace {
// Thread counts: below 1 means 1, and more than 64 bands add nothing.
int Bands(int threadCount) { return threadCount < 1 ? 1 : (threadCount > 64 ? 64 : threadCount); }
}  // namespace

int SFDSP::GetCPUCount() {
    long online = sysconf(_SC_NPROCESSORS_ONLN);
    return detail::CpuBudgetFor(online > 0 ? static_cast<int>(online) : 0);
}

void SFDSP::BlurOneChannelOptimized(unsigned char *image, int width, int height, int radius, int threadCount) {
    const int r = detail::BlurRadius(radius);
    if (!detail::ValidImage(image, width, height) || r < 0) return;
    if (4LL * r >= height || threadCount < 2 || height < 50) {
        detail::BlurImage(image, width, height, r, 1, detail::BlurStore::Plain);
        return;
    }
    // Two bands whatever the thread count. The top band blurs a private copy
    // of rows 0 .. half + r + 1, the bottom band the image from row
    // half - r - 2 down; the overlap keeps each band's clamped cut edge out
    // of the rows it keeps, so the result equals the one-band run.
    const int half = height / 2;
    const int topRows = half + r + 2;
    const int bottomStart = half - r - 2;
    const size_t rowBytes = static_cast<size_t>(width);
    std::vector<unsigned char> top(image, image + detail::CheckedSize({topRows, width}));
    detail::ForkJoin(2, [&](int band) {
        if (band == 0)
            detail::BlurImage(top.data(), width, topRows, r, 1, detail::BlurStore::Plain);
        else
            detail::BlurImage(image + bottomStart * rowBytes, width, height - bottomStart, r, 1,
                              detail::BlurStore::Plain);
    });
    std::memcpy(image, top.data(), static_cast<size_t>(half) * rowBytes);
}

void SFDSP::stackBlurOptimizedThreadN(unsigned char *image, int width, int height, int radius, int threadCount) {
    const int r = detail::BlurRadius(radius);
    if (!detail::ValidImage(image, width, height) || r < 0) return;
    const int T = Bands(threadCount);
    if (height <= 50 || T < 2) {
        detail::BlurImage(image, width, height, r, 4, detail::BlurStore::Plain);
        return;
    }
    detail::BlurTables t(r);
    std::vector<unsigned char> scratch(detail::CheckedSize({width, height, 4}));
    // One ring buffer of T slices, slice i for band i.
    const size_t slice = detail::CheckedSize({2LL * r + 1, 3});
    std::vector<unsigned char> rings(detail::CheckedSize({T, static_cast<long long>(slice)}));
    const int rowsPerBand = height / T, colsPerBand = width / T;
    detail::ForkJoin(T, [&](int band) {
        const int y0 = band * rowsPerBand, y1 = band == T - 1 ? height : (band + 1) * rowsPerBand;
        detail::BlurRows(image, scratch.data(), width, y0, y1, 4, t, rings.data() + band * slice);
    });
    detail::ForkJoin(T, [&](int band) {
        const int x0 = band * colsPerBand, x1 = band == T - 1 ? width : (band + 1) * colsPerBand;
        detail::BlurColumns(scratch.data(), image, width, height, x0, x1, 4, t, rings.data() + band * slice,
                            detail::BlurStore::Plain);
    });
}

void SFDSP::BlurOneChannel(unsigned char *image, int width, int height, int radius) {
    BlurOneChannelOptimized(image, width, height, radius, GetCPUCount());
}

void SFDSP::stackBlur(unsigned char *image, int width, int height, int radius) {
    stackBlurOptimizedThreadN(image, width, height, radius, GetCPUCount());
}

namespace {
// The clamping members lower the radius to half the shorter side.
int ClampedRadius(int radius, int width, int height) {
    return std::min(radius, std::min(width, height) / 2);
}
}  // namespace

void SFDSP::stackBlurOneChannel(unsigned char *image, int width, int height, int radius) {
    if (!detail::ValidImage(image, width, height)) return;
    const int r = ClampedRadius(radius, width, height);
    if (r <= 0) return;
    detail::BlurImage(image, width, height, detail::BlurRadius(r), 1, detail::BlurStore::Plain);
}

void SFDSP::BlurFourChannle(unsigned char *image, int width, int height, int radius) {
    if (!detail::ValidImage(image, width, height)) return;
    const int r = ClampedRadius(radius, width, height);
    if (r <= 0) return;
    detail::BlurImage(image, width, height, detail::BlurRadius(r), 4, detail::BlurStore::Plain);
}

void SFDSP::stackBlurAndHighPass(unsigned char *image, int width, int height, int radius) {
    if (radius < 1) return;
    detail::BlurImage(image, width, height, detail::BlurRadius(radius), 4, detail::BlurStore::HighPass);
}

void SFDSP::MidBlur(unsigned char *image, int width, int height) {
    if (!detail::ValidImage(image, width, height)) return;
    const std::vector<unsigned char> src(image, image + detail::CheckedSize({width, height}));
    auto at = [&](int x, int y) { return src[static_cast<size_t>(y) * width + x]; };
    auto put = [&](int x, int y, unsigned char v) { image[static_cast<size_t>(y) * width + x] = v; };
    // Insertion sort of a small window; the middle element is the median.
    auto median = [](unsigned char *v, int n) {
        for (int i = 1; i < n; ++i) {
            unsigned char key = v[i];
            int j = i - 1;
            while (j >= 0 && v[j] > key) {
                v[j + 1] = v[j];
                --j;
            }
            v[j + 1] = key;
        }
        return v[n / 2];
    };
    for (int y = 1; y + 1 < height; ++y)
        for (int x = 1; x + 1 < width; ++x) {
            unsigned char w9[9];
            int k = 0;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) w9[k++] = at(x + dx, y + dy);
            put(x, y, median(w9, 9));
        }
    for (int x = 1; x + 1 < width; ++x) {
        unsigned char t3[3] = {at(x - 1, 0), at(x, 0), at(x + 1, 0)};
        put(x, 0, median(t3, 3));
        if (height > 1) {
            unsigned char b3[3] = {at(x - 1, height - 1), at(x, height - 1), at(x + 1, height - 1)};
            put(x, height - 1, median(b3, 3));
        }
    }
    for (int y = 1; y + 1 < height; ++y) {
        unsigned char l3[3] = {at(0, y - 1), at(0, y), at(0, y + 1)};
        put(0, y, median(l3, 3));
        // The right column's first tap sits one column to the left of the
        // other two. A one-pixel-wide image has no such column.
        if (width >= 2) {
            unsigned char r3[3] = {at(width - 2, y - 1), at(width - 1, y), at(width - 1, y + 1)};
            put(width - 1, y, median(r3, 3));
        }
    }
}

}  // namespace klav

// ---- resampling entries

namespace klav {

bool SFDSP::BilinearReSample(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst, int dstWidth,
                             int dstHeight, int channels, eScaleMode mode) {
    PsImageScale scaler;
    scaler.Run(src, srcWidth, srcHeight, dst, dstWidth, dstHeight, channels, mode);
    return true;
}

bool SFDSP::BilinearReSample(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst, int dstWidth,
                             int dstHeight, int channels) {
    // Enlarging (fewer source pixels) takes the soft kernel, reducing the other.
    const bool enlarging = static_cast<long long>(srcWidth) * srcHeight < static_cast<long long>(dstWidth) * dstHeight;
    return BilinearReSample(src, srcWidth, srcHeight, dst, dstWidth, dstHeight, channels,
                            enlarging ? KV_SCALE_CUBIC_SOFT : KV_SCALE_CUBIC);
}

// The plain float resamplers are served by the scaler's bilinear mode.
bool SFDSP::BilinearReSampleORIG(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst, int dstWidth,
                                 int dstHeight, int channels) {
    return PsImageScale().Run(src, srcWidth, srcHeight, dst, dstWidth, dstHeight, channels, KV_SCALE_BILINEAR);
}

bool SFDSP::imresize(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst, int dstWidth, int dstHeight,
                     int channels) {
    return BilinearReSampleORIG(src, srcWidth, srcHeight, dst, dstWidth, dstHeight, channels);
}

}  // namespace klav
