// CContours: the mirrored box blur and the one-thread stack blur.
#include "contours.h"

#include "blur_internal.h"
#include "common.h"

#include <vector>

namespace klav {

void CContours::BlurOneChannel(unsigned char *image, int width, int height, int radius) {
    detail::BlurImage(image, width, height, detail::BlurRadius(radius), 1, detail::BlurStore::Plain);
}

namespace {
// Index table for positions -r .. n + r - 1: the low side mirrors without
// repeating the edge (folded back by subtraction while it is past the end),
// the high side clamps.
std::vector<int> MirrorClampTable(int n, int r) {
    std::vector<int> table(static_cast<size_t>(n) + 2 * static_cast<size_t>(r));
    for (int p = 0; p < n + 2 * r; ++p) {
        long long i = static_cast<long long>(p) - r;
        if (i < 0) {
            i = -i;
            if (i >= n) i %= n;  // the same as subtracting n until below n
        } else if (i >= n) {
            i = n - 1;
        }
        table[p] = static_cast<int>(i);
    }
    return table;
}
}  // namespace

void CContours::Blur_Nebula(unsigned char *image, int width, int height, int radius) {
    if (!detail::ValidImage(image, width, height) || radius < 0) return;
    // Beyond this radius every output is the rounded mean of huge sums with
    // no more meaning; the cap keeps the tables of a sane size.
    const int r = radius > detail::kMaxBlurRadius ? detail::kMaxBlurRadius : radius;
    const int k = 2 * r + 1;
    const std::vector<int> cols = MirrorClampTable(width, r), rows = MirrorClampTable(height, r);
    const size_t w = static_cast<size_t>(width);
    std::vector<int> rowSum(detail::CheckedSize({width, height}));
    std::vector<unsigned char> padded(w + 2 * static_cast<size_t>(r));
    for (int y = 0; y < height; ++y) {
        const unsigned char *src = image + y * w;
        for (size_t i = 0; i < padded.size(); ++i) padded[i] = src[cols[i]];
        int *sums = rowSum.data() + y * w;
        int s = 0;
        for (int i = 0; i < k; ++i) s += padded[static_cast<size_t>(i)];
        sums[0] = s;
        for (size_t x = 0; x + 1 < w; ++x) sums[x + 1] = sums[x] + padded[x + k] - padded[x];
    }
    std::vector<long long> colSum(w, 0);
    for (int p = 0; p < 2 * r; ++p) {
        const int *sums = rowSum.data() + static_cast<size_t>(rows[p]) * w;
        for (size_t x = 0; x < w; ++x) colSum[x] += sums[x];
    }
    const long long area = static_cast<long long>(k) * k;
    for (int y = 0; y < height; ++y) {
        const int *add = rowSum.data() + static_cast<size_t>(rows[y + 2 * r]) * w;
        const int *sub = rowSum.data() + static_cast<size_t>(rows[y]) * w;
        unsigned char *out = image + y * w;
        for (size_t x = 0; x < w; ++x) {
            const long long total = colSum[x] + add[x];
            out[x] = static_cast<unsigned char>((total + area / 2) / area);
            colSum[x] = total - sub[x];
        }
    }
}

}  // namespace klav
