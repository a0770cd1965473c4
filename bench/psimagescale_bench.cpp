// Image scaling against OpenCV's resize, both on one thread (the scaler's
// budget is half the logical processors: one on a two-core machine).
#include <benchmark/benchmark.h>

#include "bench_util.h"
#include "psimagescale.h"

#include <string>

#ifdef KLAV_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

struct ScaleCase {
    int sw, sh, dw, dh, mode;
};

void Ours(benchmark::State &state, ScaleCase c) {
    std::vector<unsigned char> src = BenchImage(c.sw, c.sh, 4), dst(static_cast<size_t>(c.dw) * c.dh * 4);
    klav::PsImageScale scaler;
    for (auto _ : state) {
        scaler.Run(src.data(), c.sw, c.sh, dst.data(), c.dw, c.dh, 4, static_cast<klav::eScaleMode>(c.mode));
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

void Add(const std::string &name, ScaleCase c, bool cubic, bool linear, bool area) {
    benchmark::RegisterBenchmark((name + "/klav").c_str(), Ours, c)->Unit(benchmark::kMillisecond)->Iterations(3);
#ifdef KLAV_HAVE_OPENCV
    if (cubic) benchmark::RegisterBenchmark((name + "/peer_cubic").c_str(), Peer, c, cv::INTER_CUBIC)->Unit(benchmark::kMillisecond)->Iterations(3);
    if (linear) benchmark::RegisterBenchmark((name + "/peer_linear").c_str(), Peer, c, cv::INTER_LINEAR)->Unit(benchmark::kMillisecond)->Iterations(3);
    if (area) benchmark::RegisterBenchmark((name + "/peer_area").c_str(), Peer, c, cv::INTER_AREA)->Unit(benchmark::kMillisecond)->Iterations(3);
#else
    (void)cubic, (void)linear, (void)area;
#endif
}

int Register() {
    for (auto size : {std::pair<int, int>{1920, 1080}, {4000, 3000}})
        for (int mode : {0, 1, 2, 3})
            for (int up : {0, 1}) {
                const int dw = up ? size.first * 2 : size.first / 2, dh = up ? size.second * 2 : size.second / 2;
                const std::string name = "scale_" + std::to_string(size.first) + "x" + std::to_string(size.second) +
                                         (up ? "_x2" : "_x0.5") + "_mode" + std::to_string(mode);
                Add(name, {size.first, size.second, dw, dh, mode}, mode != 0, mode == 0, mode != 0 && !up);
            }
    // Twelve megapixels down to 640 x 480: the 20-tap table.
    Add("scale_4000x3000_to_640x480_mode2", {4000, 3000, 640, 480, 2}, false, false, true);
    return 0;
}
const int registered = Register();

}  // namespace
