#include "unsharpmask.h"

#include "common.h"
#include "sfdsp.h"

#include <cmath>
#include <vector>

namespace klav {

void CUnsharpMask::Run(unsigned char *image, int width, int height, int channels, int amount, float radius,
                       unsigned char threshold) {
    if (!detail::ValidImage(image, width, height) || !detail::ValidChannels(channels)) return;
    if (!(radius >= 0.0f) || !std::isfinite(radius)) return;
    const int r = radius < 1.0f ? 1 : (radius > 1000.0f ? 1000 : static_cast<int>(radius + 0.5f));
    const size_t n = detail::CheckedSize({width, height, channels});
    std::vector<unsigned char> blurred(image, image + n);
    if (channels == 4)
        SFDSP::stackBlur(blurred.data(), width, height, r);
    else
        SFDSP::BlurOneChannel(blurred.data(), width, height, r);
    for (size_t i = 0; i < n; ++i) {
        if (channels == 4 && (i & 3) == 3) continue;
        const int diff = image[i] - blurred[i];
        if ((diff < 0 ? -diff : diff) <= threshold) continue;
        const long long v = image[i] + static_cast<long long>(diff) * amount / 100;
        image[i] = static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v));
    }
}

}  // namespace klav
