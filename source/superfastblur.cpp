// CSuperFastBlur: separable box blur with a division table.
#include "superfastblur.h"

#include "common.h"

#include <algorithm>
#include <vector>

namespace klav {

namespace {

template <class T>
int BoxBlur(T *image, int width, int height, int radius, int levels) {
    if (radius < 1 || levels < 1 || !detail::ValidImage(image, width, height)) return 0;
    const long long k = 2LL * radius + 1;
    // Table entry i is i / k for sums of in-range values; sums outside it
    // (values beyond levels - 1, or a table too large to be worth building)
    // are divided directly.
    std::vector<T> table;
    const long long entries = static_cast<long long>(levels) * k;
    if (entries <= (1LL << 24)) {
        table.resize(static_cast<size_t>(entries));
        for (long long i = 0; i < entries; ++i) table[static_cast<size_t>(i)] = static_cast<T>(i / k);
    }
    auto divide = [&](long long sum) {
        return sum >= 0 && sum < static_cast<long long>(table.size()) ? table[static_cast<size_t>(sum)]
                                                                     : static_cast<T>(sum / k);
    };
    std::vector<T> scratch(detail::CheckedSize({width, height}));
    auto line = [&](const T *p, ptrdiff_t step, T *out, ptrdiff_t outStep, int n) {
        long long sum = 0;
        for (int i = -radius; i <= radius; ++i) sum += p[static_cast<ptrdiff_t>(std::min(std::max(i, 0), n - 1)) * step];
        for (int x = 0; x < n; ++x) {
            out[x * outStep] = divide(sum);
            const long long add = std::min<long long>(n - 1, static_cast<long long>(x) + radius + 1);
            sum += static_cast<long long>(p[add * step]) - p[static_cast<ptrdiff_t>(std::max(x - radius, 0)) * step];
        }
    };
    for (int y = 0; y < height; ++y)
        line(image + static_cast<size_t>(y) * width, 1, scratch.data() + static_cast<size_t>(y) * width, 1, width);
    for (int x = 0; x < width; ++x) line(scratch.data() + x, width, image + x, width, height);
    return 1;
}

}  // namespace

int CSuperFastBlur::Run(unsigned char *image, int width, int height, int radius, int levels) {
    return BoxBlur(image, width, height, radius, levels);
}
int CSuperFastBlur::Run(short *image, int width, int height, int radius, int levels) {
    return BoxBlur(image, width, height, radius, levels);
}
int CSuperFastBlur::Run(int *image, int width, int height, int radius, int levels) {
    return BoxBlur(image, width, height, radius, levels);
}

}  // namespace klav
