// Image scaling of a 4000 x 3000 RGBA image against OpenCV's resize, both
// on one thread.
#include <benchmark/benchmark.h>

#include "bench_util.h"
#include "psimagescale.h"
#include "sfdsp.h"

#ifdef KLAV_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

struct ScaleCase {
    int sw, sh, dw, dh;
};

void Ours(benchmark::State &state, ScaleCase c, int mode) {
    std::vector<unsigned char> src = BenchImage(c.sw, c.sh, 4), dst(static_cast<size_t>(c.dw) * c.dh * 4);
    // The scaler's thread budget is half the logical processors (one on a
    // two-core machine); the peer runs on one thread.
    klav::PsImageScale scaler;
    state.counters["threads"] = klav::SFDSP::GetCPUCount();
    for (auto _ : state) {
        scaler.Run(src.data(), c.sw, c.sh, dst.data(), c.dw, c.dh, 4, static_cast<klav::eScaleMode>(mode));
        benchmark::DoNotOptimize(dst.data());
    }
}

#ifdef KLAV_HAVE_OPENCV
void Peer(benchmark::State &state, ScaleCase c, int interpolation) {
    cv::setNumThreads(1);
    std::vector<unsigned char> src = BenchImage(c.sw, c.sh, 4);
    cv::Mat m(c.sh, c.sw, CV_8UC4, src.data()), out;
    for (auto _ : state) {
        cv::resize(m, out, cv::Size(c.dw, c.dh), 0, 0, interpolation);
        benchmark::DoNotOptimize(out.data);
    }
}
#endif

const ScaleCase kDown1{4000, 3000, 1920, 1440}, kDown2{4000, 3000, 1000, 750}, kUp{1000, 750, 4000, 3000};

}  // namespace

BENCHMARK_CAPTURE(Ours, a, kDown1, 2)->Name("down_1920_cubic/klav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ours, a, kDown2, 2)->Name("down_1000_cubic/klav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ours, a, kDown1, 0)->Name("down_1920_bilinear/klav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ours, a, kUp, 1)->Name("up_4000_cubic/klav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ours, a, kUp, 0)->Name("up_4000_bilinear/klav")->Unit(benchmark::kMillisecond);
#ifdef KLAV_HAVE_OPENCV
BENCHMARK_CAPTURE(Peer, a, kDown1, cv::INTER_AREA)->Name("down_1920_cubic/peer")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Peer, a, kDown2, cv::INTER_AREA)->Name("down_1000_cubic/peer")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Peer, a, kDown1, cv::INTER_LINEAR)->Name("down_1920_bilinear/peer")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Peer, a, kUp, cv::INTER_CUBIC)->Name("up_4000_cubic/peer")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Peer, a, kUp, cv::INTER_LINEAR)->Name("up_4000_bilinear/peer")->Unit(benchmark::kMillisecond);
#endif
