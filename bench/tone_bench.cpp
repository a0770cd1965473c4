// Tone and colour on a 4000 x 3000 RGBA image, one thread: YCbCr planes,
// HSL and Lab against OpenCV's cvtColor, brightness and contrast against
// cv::LUT, and the fixed-point 3D lookup tables against a plain float
// trilinear loop.
#include <benchmark/benchmark.h>

#include "bench_util.h"
#include "colortransformer.h"
#include "kvlut3d.h"
#include "pscontrastbrightness.h"
#include "sfdsp.h"

#include <algorithm>
#include <cmath>

#ifdef KLAV_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

const int kW = 4000, kH = 3000;

void YCbCrOurs(benchmark::State &state) {
    std::vector<unsigned char> img = BenchImage(kW, kH, 4), y(kW * kH), cb(kW * kH), cr(kW * kH);
    for (auto _ : state) {
        klav::CColorTransformer::GetInstance()->sRGB_Channel_RGB2YCbCr_Fast(img.data(), y.data(), cb.data(), cr.data(), kW * kH);
        benchmark::DoNotOptimize(y.data());
    }
}

void HslOurs(benchmark::State &state) {
    std::vector<unsigned char> img = BenchImage(kW, kH, 4), hsl(kW * kH * 3);
    for (auto _ : state) {
        klav::SFDSP::DecomposeToHSL(img.data(), kW, kH, kW * 4, hsl.data(), hsl.data() + kW * kH,
                                    hsl.data() + 2 * kW * kH);
        benchmark::DoNotOptimize(hsl.data());
    }
}

void LabOurs(benchmark::State &state) {
    std::vector<unsigned char> img = BenchImage(kW, kH, 4), L(kW * kH), a(kW * kH), b(kW * kH);
    for (auto _ : state) {
        klav::SFDSP::DecomposeToLab(img.data(), kW, kH, kW * 4, L.data(), a.data(), b.data());
        benchmark::DoNotOptimize(L.data());
    }
}

void ToneOurs(benchmark::State &state) {
    std::vector<unsigned char> img = BenchImage(kW, kH, 4);
    klav::PSContrastBrightness tone;
    for (auto _ : state) {
        tone.Run(img.data(), kW, kH, 20.0f, 30.0f);
        benchmark::DoNotOptimize(img.data());
    }
}

// A graded table in the documented layout.
std::vector<unsigned char> GradeTable(int n) {
    const int tiles = n == 16 ? 4 : 8, side = n * tiles;
    std::vector<unsigned char> t(static_cast<size_t>(side) * side * 4);
    for (int b = 0; b < n; ++b)
        for (int g = 0; g < n; ++g)
            for (int r = 0; r < n; ++r) {
                unsigned char *p = &t[(static_cast<size_t>((b / tiles) * n + g) * side + (b % tiles) * n + r) * 4];
                p[0] = static_cast<unsigned char>(std::min(255, r * 255 / (n - 1) + 10));
                p[1] = static_cast<unsigned char>(g * 255 / (n - 1));
                p[2] = static_cast<unsigned char>(b * 230 / (n - 1));
                p[3] = 255;
            }
    return t;
}

void LutOurs(benchmark::State &state, int n) {
    std::vector<unsigned char> img = BenchImage(kW, kH, 4), work = img, table = GradeTable(n);
    for (auto _ : state) {
        work = img;
        klav::CKVLut3D::Run(work.data(), table.data(), kW, kH, false, n == 16);
        benchmark::DoNotOptimize(work.data());
    }
}

// The peer: trilinear interpolation in floats over the same table.
void LutPeer(benchmark::State &state, int n) {
    std::vector<unsigned char> img = BenchImage(kW, kH, 4), work = img, table = GradeTable(n);
    const int tiles = n == 16 ? 4 : 8, side = n * tiles;
    for (auto _ : state) {
        work = img;
        for (size_t i = 0; i < static_cast<size_t>(kW) * kH; ++i) {
            unsigned char *p = &work[i * 4];
            float f[3];
            int c0[3], c1[3];
            for (int k = 0; k < 3; ++k) {
                f[k] = p[k] * (n - 1) / 255.0f;
                c0[k] = static_cast<int>(f[k]);
                c1[k] = std::min(c0[k] + 1, n - 1);
                f[k] -= static_cast<float>(c0[k]);
            }
            float out[3] = {0, 0, 0};
            for (int corner = 0; corner < 8; ++corner) {
                const int r = corner & 1 ? c1[0] : c0[0], g = corner & 2 ? c1[1] : c0[1], b = corner & 4 ? c1[2] : c0[2];
                const float w = (corner & 1 ? f[0] : 1 - f[0]) * (corner & 2 ? f[1] : 1 - f[1]) * (corner & 4 ? f[2] : 1 - f[2]);
                const unsigned char *e = &table[(static_cast<size_t>((b / tiles) * n + g) * side + (b % tiles) * n + r) * 4];
                out[0] += w * e[0], out[1] += w * e[1], out[2] += w * e[2];
            }
            for (int k = 0; k < 3; ++k) p[k] = static_cast<unsigned char>(out[k] + 0.5f);
        }
        benchmark::DoNotOptimize(work.data());
    }
}

#ifdef KLAV_HAVE_OPENCV
void CvtPeer(benchmark::State &state, int code, int channelsIn) {
    cv::setNumThreads(1);
    std::vector<unsigned char> img = BenchImage(kW, kH, channelsIn);
    cv::Mat m(kH, kW, channelsIn == 4 ? CV_8UC4 : CV_8UC3, img.data()), out;
    for (auto _ : state) {
        cv::cvtColor(m, out, code);
        benchmark::DoNotOptimize(out.data);
    }
}

void LutCvPeer(benchmark::State &state) {
    cv::setNumThreads(1);
    std::vector<unsigned char> img = BenchImage(kW, kH, 4);
    cv::Mat m(kH, kW, CV_8UC4, img.data()), out, lut(1, 256, CV_8UC4);
    for (int i = 0; i < 256; ++i) lut.at<cv::Vec4b>(0, i) = cv::Vec4b(255 - i, i, i / 2, i);
    for (auto _ : state) {
        cv::LUT(m, lut, out);
        benchmark::DoNotOptimize(out.data);
    }
}
#endif

}  // namespace

BENCHMARK(YCbCrOurs)->Name("ycbcr_planes_4000x3000/klav")->Unit(benchmark::kMillisecond);
BENCHMARK(HslOurs)->Name("hsl_4000x3000/klav")->Unit(benchmark::kMillisecond);
BENCHMARK(LabOurs)->Name("lab_4000x3000/klav")->Unit(benchmark::kMillisecond);
BENCHMARK(ToneOurs)->Name("brightness_contrast_4000x3000/klav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LutOurs, g16, 16)->Name("lut3d_grid16_4000x3000/klav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LutPeer, g16, 16)->Name("lut3d_grid16_4000x3000/peer_float_trilinear")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LutOurs, g64, 64)->Name("lut3d_grid64_4000x3000/klav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LutPeer, g64, 64)->Name("lut3d_grid64_4000x3000/peer_float_trilinear")->Unit(benchmark::kMillisecond);
#ifdef KLAV_HAVE_OPENCV
BENCHMARK_CAPTURE(CvtPeer, ycrcb, cv::COLOR_RGB2YCrCb, 3)->Name("ycbcr_planes_4000x3000/peer_cvtColor")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CvtPeer, hls, cv::COLOR_RGB2HLS, 3)->Name("hsl_4000x3000/peer_cvtColor")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CvtPeer, lab, cv::COLOR_RGB2Lab, 3)->Name("lab_4000x3000/peer_cvtColor")->Unit(benchmark::kMillisecond);
BENCHMARK(LutCvPeer)->Name("brightness_contrast_4000x3000/peer_LUT")->Unit(benchmark::kMillisecond);
#endif
