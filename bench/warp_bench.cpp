// Face slimming and eye enlarging on 1920 x 1080 and 4000 x 3000 portraits
// (milliseconds per call), and the triangle renderer against a remap of the
// same output.
#include <benchmark/benchmark.h>

#include "bench_util.h"
#include "interpoint.h"
#include "texturemapping.h"
#include "thinface.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#ifdef KLAV_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

// The bundled face's 310 points, scaled so that the face spans half the
// height of a width x height image and centred in it.
std::vector<klav::Vector2> FacePoints(int width, int height) {
    std::unique_ptr<NativeFace> record(new NativeFace());
    std::memset(record.get(), 0, sizeof(NativeFace));
    FILE *f = std::fopen(KLAV_BENCH_DATA_DIR "/hopper.face.bin", "rb");
    if (!f || std::fread(record.get(), sizeof(NativeFace), 1, f) != 1) {
        if (f) std::fclose(f);
        return {};
    }
    std::fclose(f);
    std::vector<unsigned char> img = BenchImage(512, 600, 4);
    std::unique_ptr<klav::InterPoint> ip(new klav::InterPoint());
    std::FILE *quiet = std::freopen("/dev/null", "w", stderr);
    (void)quiet;
    if (!ip->Run(record.get(), img.data(), 512, 600)) return {};
    std::vector<klav::Vector2> pts(ip->GetResPoint(), ip->GetResPoint() + 310);
    const float scale = height / 600.0f;
    for (auto &p : pts) p = {p.x * scale + (width - 512 * scale) / 2, p.y * scale};
    return pts;
}

template <bool Eyes>
void FaceWarp(benchmark::State &state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    std::vector<klav::Vector2> pts = FacePoints(w, h);
    if (pts.empty()) {
        state.SkipWithError("cannot read the face record");
        return;
    }
    std::vector<unsigned char> img = BenchImage(w, h, 4);
    klav::CThinFace tf;
    for (auto _ : state) {
        if (Eyes)
            tf.RunBigEyes(pts.data(), img.data(), w, h, 0.8f);
        else
            tf.RunThinFace(pts.data(), img.data(), w, h, 0.8f);
        benchmark::DoNotOptimize(img.data());
    }
}

// A 33 x 19 grid over a 1920 x 1080 image, every inner vertex moved by up
// to four pixels: each output pixel is drawn once, from a mild warp.
struct Grid {
    static const int W = 1920, H = 1080, NX = 33, NY = 19;
    std::vector<klav::Vector2> from, to;
    std::vector<unsigned short> tri;
    Grid() {
        for (int j = 0; j < NY; ++j)
            for (int i = 0; i < NX; ++i) {
                const float x = (W - 1) * i / float(NX - 1), y = (H - 1) * j / float(NY - 1);
                const bool inner = i > 0 && j > 0 && i < NX - 1 && j < NY - 1;
                to.push_back({x, y});
                from.push_back({x + (inner ? 4 * std::sin(i * 1.3f + j) : 0), y + (inner ? 4 * std::cos(i + j * 0.7f) : 0)});
            }
        for (int j = 0; j + 1 < NY; ++j)
            for (int i = 0; i + 1 < NX; ++i) {
                const unsigned short a = j * NX + i, b = a + 1, c = a + NX, d = c + 1;
                tri.insert(tri.end(), {a, b, d, a, d, c});
            }
    }
};

void DrawOurs(benchmark::State &state) {
    Grid g;
    std::vector<unsigned char> src = BenchImage(Grid::W, Grid::H, 4), dst(src.size());
    klav::TextureMapping tm;
    for (auto _ : state) {
        tm.DrawTextureList(src.data(), dst.data(), Grid::W, Grid::H, g.from.data(), g.to.data(), g.tri.data(),
                           static_cast<int>(g.tri.size() / 3));
        benchmark::DoNotOptimize(dst.data());
    }
}

#ifdef KLAV_HAVE_OPENCV
void DrawPeer(benchmark::State &state) {
    // The same warp as a dense map, built once outside the timing.
    Grid g;
    std::vector<unsigned char> src = BenchImage(Grid::W, Grid::H, 4);
    cv::Mat in(Grid::H, Grid::W, CV_8UC4, src.data()), out, map(Grid::H, Grid::W, CV_32FC2);
    const float cw = (Grid::W - 1) / float(Grid::NX - 1), ch = (Grid::H - 1) / float(Grid::NY - 1);
    for (int y = 0; y < Grid::H; ++y)
        for (int x = 0; x < Grid::W; ++x) {
            const int i = std::min(int(x / cw), Grid::NX - 2), j = std::min(int(y / ch), Grid::NY - 2);
            const float u = x / cw - i, v = y / ch - j;
            auto at = [&](int di, int dj) { return g.from[(j + dj) * Grid::NX + i + di]; };
            map.at<cv::Vec2f>(y, x) = cv::Vec2f(
                (1 - u) * (1 - v) * at(0, 0).x + u * (1 - v) * at(1, 0).x + (1 - u) * v * at(0, 1).x + u * v * at(1, 1).x,
                (1 - u) * (1 - v) * at(0, 0).y + u * (1 - v) * at(1, 0).y + (1 - u) * v * at(0, 1).y + u * v * at(1, 1).y);
        }
    for (auto _ : state) {
        cv::remap(in, out, map, cv::noArray(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
        benchmark::DoNotOptimize(out.data);
    }
}
#endif

}  // namespace

BENCHMARK_TEMPLATE(FaceWarp, false)->Name("thinface_1920x1080/klav")->Args({1920, 1080})->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(FaceWarp, false)->Name("thinface_4000x3000/klav")->Args({4000, 3000})->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(FaceWarp, true)->Name("bigeyes_1920x1080/klav")->Args({1920, 1080})->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(FaceWarp, true)->Name("bigeyes_4000x3000/klav")->Args({4000, 3000})->Unit(benchmark::kMillisecond);
BENCHMARK(DrawOurs)->Name("drawtexture_1920x1080/klav")->Unit(benchmark::kMillisecond);
#ifdef KLAV_HAVE_OPENCV
BENCHMARK(DrawPeer)->Name("drawtexture_1920x1080/peer_remap")->Unit(benchmark::kMillisecond);
#endif
