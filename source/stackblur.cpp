// CStackBlur: the threaded entry and the ring-free form of the kernel.
#include "stackblur.h"

#include "blur_internal.h"
#include "common.h"
#include "sfdsp.h"

#include <algorithm>
#include <vector>

namespace klav {

void CStackBlur::Run(unsigned char *image, int width, int height, int bytesPerRow, int radius) {
    if (radius < 1 || width <= 0 || height <= 0 || !image) return;
    if (bytesPerRow / width == 1)
        SFDSP::BlurOneChannelOptimized(image, width, height, radius, SFDSP::GetCPUCount());
    else
        SFDSP::stackBlurOptimizedThreadN(image, width, height, radius, SFDSP::GetCPUCount());
}

namespace {

// One line without a ring: the stack sum moves by the pixels entering on
// the right (inSum) and leaving on the left (outSum).
void RingFreeLine(const unsigned char *p, ptrdiff_t step, unsigned char *out, ptrdiff_t outStep, int n,
                  const detail::BlurTables &t, const int *near, const int *far) {
    const int r = t.radius;
    const int p0 = p[0];
    int sum = p0 * (r + 1) * (r + 2) / 2, outSum = p0 * (r + 1), inSum = 0;
    for (int i = 1; i <= r; ++i) {
        const int v = p[static_cast<ptrdiff_t>(std::min(i, n - 1)) * step];
        inSum += v;
        sum += v * (r + 1 - i);
    }
    for (int x = 0; x + 1 < n; ++x) {
        out[x * outStep] = t.Divide(sum);
        const int in = p[static_cast<ptrdiff_t>(far[x]) * step];
        const int next = p[static_cast<ptrdiff_t>(x + 1) * step];
        sum += inSum + in - outSum;
        inSum += in - next;
        outSum += next - p[static_cast<ptrdiff_t>(near[x]) * step];
    }
    out[static_cast<ptrdiff_t>(n - 1) * outStep] = t.Divide(sum);
}

// Blurs `planes` planes of width x height held `planeStep` bytes apart with
// `pixelStep` bytes between pixels, rows into `scratch` planes and columns
// back into `dst`.
void RingFreeImage(const unsigned char *src, unsigned char *dst, int pixelStep, int planes, int width, int height,
                   int radius) {
    detail::BlurTables t(radius);
    auto index = [](int n, int r, std::vector<int> &near, std::vector<int> &far) {
        near.resize(static_cast<size_t>(n));
        far.resize(static_cast<size_t>(n));
        for (int x = 0; x < n; ++x) {
            near[x] = std::max(x - r, 0);
            far[x] = static_cast<int>(std::min<long long>(n - 1, static_cast<long long>(x) + r + 1));
        }
    };
    std::vector<int> nearX, farX, nearY, farY;
    index(width, radius, nearX, farX);
    index(height, radius, nearY, farY);
    const size_t planeSize = detail::CheckedSize({width, height});
    std::vector<unsigned char> scratch(detail::CheckedSize({planes, static_cast<long long>(planeSize)}));
    for (int c = 0; c < planes; ++c) {
        unsigned char *s = scratch.data() + c * planeSize;
        for (int y = 0; y < height; ++y)
            RingFreeLine(src + (static_cast<size_t>(y) * width) * pixelStep + c, pixelStep, s + static_cast<size_t>(y) * width,
                         1, width, t, nearX.data(), farX.data());
        for (int x = 0; x < width; ++x)
            RingFreeLine(s + x, width, dst + static_cast<size_t>(x) * pixelStep + c,
                         static_cast<ptrdiff_t>(width) * pixelStep, height, t, nearY.data(), farY.data());
    }
}

}  // namespace

void CStackBlur::RunChannel1(unsigned char *image, int width, int height, int radius) {
    const int r = detail::BlurRadius(radius);
    if (!detail::ValidImage(image, width, height) || r < 0) return;
    RingFreeImage(image, image, 1, 1, width, height, r);
}

void CStackBlur::RunChannel4(unsigned char *image, int width, int height, int radius) {
    const int r = detail::BlurRadius(radius);
    if (!detail::ValidImage(image, width, height) || r < 0) return;
    // Three byte planes as scratch; bytes 0..2 of each pixel are written.
    RingFreeImage(image, image, 4, 3, width, height, r);
}

}  // namespace klav
