// Stack blur of a 4000 x 3000 RGBA image against OpenCV's separable
// Gaussian blur of comparable reach, single thread and the filter budget.
#include <benchmark/benchmark.h>

#include "bench_util.h"
#include "sfdsp.h"

#ifdef KLAV_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

const int kW = 4000, kH = 3000;

void StackBlur(benchmark::State &state, int radius, int threads) {
    std::vector<unsigned char> img = BenchImage(kW, kH, 4);
    for (auto _ : state) {
        klav::SFDSP::stackBlurOptimizedThreadN(img.data(), kW, kH, radius, threads);
        benchmark::DoNotOptimize(img.data());
    }
}

#ifdef KLAV_HAVE_OPENCV
// A Gaussian with the triangular kernel's standard deviation, sqrt(r(r+2)/6),
// over a window of 2r + 1 taps.
void GaussianPeer(benchmark::State &state, int radius, int threads) {
    cv::setNumThreads(threads);
    std::vector<unsigned char> img = BenchImage(kW, kH, 4);
    cv::Mat m(kH, kW, CV_8UC4, img.data()), out;
    const double sigma = std::sqrt(radius * (radius + 2) / 6.0);
    for (auto _ : state) {
        cv::GaussianBlur(m, out, cv::Size(2 * radius + 1, 2 * radius + 1), sigma, sigma, cv::BORDER_REPLICATE);
        benchmark::DoNotOptimize(out.data);
    }
}
void BoxPeer(benchmark::State &state, int radius, int threads) {
    cv::setNumThreads(threads);
    std::vector<unsigned char> img = BenchImage(kW, kH, 4);
    cv::Mat m(kH, kW, CV_8UC4, img.data()), out;
    for (auto _ : state) {
        cv::blur(m, out, cv::Size(2 * radius + 1, 2 * radius + 1), cv::Point(-1, -1), cv::BORDER_REPLICATE);
        benchmark::DoNotOptimize(out.data);
    }
}
#endif

}  // namespace

#define KLAV_BLUR_CASE(r, t)                                                                          \
    BENCHMARK_CAPTURE(StackBlur, klav, r, t)->Name("blur_r" #r "_t" #t "_vs_gaussian/klav")           \
        ->Unit(benchmark::kMillisecond)->MinTime(0.5);
KLAV_BLUR_CASE(10, 1)
KLAV_BLUR_CASE(40, 1)
KLAV_BLUR_CASE(10, 2)
BENCHMARK_CAPTURE(StackBlur, klav, 10, 1)->Name("blur_r10_t1_vs_box/klav")->Unit(benchmark::kMillisecond)->MinTime(0.5);

#ifdef KLAV_HAVE_OPENCV
BENCHMARK_CAPTURE(GaussianPeer, cv, 10, 1)->Name("blur_r10_t1_vs_gaussian/peer")->Unit(benchmark::kMillisecond)->MinTime(0.5);
BENCHMARK_CAPTURE(GaussianPeer, cv, 40, 1)->Name("blur_r40_t1_vs_gaussian/peer")->Unit(benchmark::kMillisecond)->MinTime(0.5);
BENCHMARK_CAPTURE(GaussianPeer, cv, 10, 2)->Name("blur_r10_t2_vs_gaussian/peer")->Unit(benchmark::kMillisecond)->MinTime(0.5);
BENCHMARK_CAPTURE(BoxPeer, cv, 10, 1)->Name("blur_r10_t1_vs_box/peer")->Unit(benchmark::kMillisecond)->MinTime(0.5);
#endif
