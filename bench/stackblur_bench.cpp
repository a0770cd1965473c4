// Stack blur against OpenCV's Gaussian of the same spread and its box blur
// of the same width, one and four channels, on one thread.
#include <benchmark/benchmark.h>

#include "bench_util.h"
#include "sfdsp.h"

#include <cmath>
#include <string>

#ifdef KLAV_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

struct BlurCase {
    int w, h, channels, radius;
};

void Ours(benchmark::State &state, BlurCase c) {
    std::vector<unsigned char> img = BenchImage(c.w, c.h, c.channels);
    for (auto _ : state) {
        if (c.channels == 4)
            klav::SFDSP::stackBlurOptimizedThreadN(img.data(), c.w, c.h, c.radius, 1);
        else
            klav::SFDSP::BlurOneChannelOptimized(img.data(), c.w, c.h, c.radius, 1);
        benchmark::DoNotOptimize(img.data());
    }
}

#ifdef KLAV_HAVE_OPENCV
// The Gaussian with the triangular kernel's spread, sqrt(r (r + 2) / 6),
// over 2r + 1 taps, or the box of 2r + 1.
void Peer(benchmark::State &state, BlurCase c, bool gaussian) {
    cv::setNumThreads(1);
    std::vector<unsigned char> img = BenchImage(c.w, c.h, c.channels);
    cv::Mat m(c.h, c.w, c.channels == 4 ? CV_8UC4 : CV_8UC1, img.data()), out;
    const cv::Size k(2 * c.radius + 1, 2 * c.radius + 1);
    const double sigma = std::sqrt(c.radius * (c.radius + 2) / 6.0);
    for (auto _ : state) {
        if (gaussian)
            cv::GaussianBlur(m, out, k, sigma, sigma, cv::BORDER_REPLICATE);
        else
            cv::blur(m, out, k, cv::Point(-1, -1), cv::BORDER_REPLICATE);
        benchmark::DoNotOptimize(out.data);
    }
}
#endif

int Register() {
    for (auto size : {std::pair<int, int>{1920, 1080}, {4000, 3000}})
        for (int channels : {4, 1})
            for (int radius : {3, 10, 30}) {
                const BlurCase c{size.first, size.second, channels, radius};
                const std::string name = "blur_" + std::to_string(c.w) + "x" + std::to_string(c.h) + "_c" +
                                         std::to_string(channels) + "_r" + std::to_string(radius);
                benchmark::RegisterBenchmark((name + "/klav").c_str(), Ours, c)->Unit(benchmark::kMillisecond);
#ifdef KLAV_HAVE_OPENCV
                benchmark::RegisterBenchmark((name + "/peer_gaussian").c_str(), Peer, c, true)->Unit(benchmark::kMillisecond);
                benchmark::RegisterBenchmark((name + "/peer_box").c_str(), Peer, c, false)->Unit(benchmark::kMillisecond);
#endif
            }
    return 0;
}
const int registered = Register();

}  // namespace
