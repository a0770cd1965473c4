// Shared helpers of the benchmarks: test images of a given size.
#ifndef KLAV_BENCH_UTIL_H
#define KLAV_BENCH_UTIL_H

#include <cstdint>
#include <vector>

// A deterministic pseudo-random image with some smooth structure, so that
// no routine meets a flat or a pure-noise input.
inline std::vector<unsigned char> BenchImage(int width, int height, int channels) {
    std::vector<unsigned char> img(static_cast<size_t>(width) * height * channels);
    uint32_t s = 12345;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c) {
                s = s * 1664525u + 1013904223u;
                int v = ((x * (c + 1) + y * 3) & 255) / 2 + static_cast<int>(s >> 26);
                img[(static_cast<size_t>(y) * width + x) * channels + c] = static_cast<unsigned char>(v);
            }
    return img;
}

#endif
