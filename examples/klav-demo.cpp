// klav-demo: runs the library's operations on a portrait and writes each
// result as a PNG.
//
//   klav-demo [image.png|image.jpg] [output-directory]
//
// Without arguments it uses the bundled portrait and writes to ./klav-demo-out.
#include <klav.h>

#include "image_io.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

std::string g_outDir;

void Save(const std::string &name, const unsigned char *data, int w, int h, int channels) {
    std::string path = g_outDir + "/" + name;
    if (SavePng(path, data, w, h, channels))
        std::printf("  wrote %s (%dx%d)\n", path.c_str(), w, h);
    else
        std::printf("  FAILED to write %s\n", path.c_str());
}

template <class F>
double TimeMs(F f) {
    auto t0 = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

std::vector<unsigned char> Grey(const RgbaImage &img) {
    std::vector<unsigned char> g(static_cast<size_t>(img.width) * img.height);
    for (size_t i = 0; i < g.size(); ++i) {
        const unsigned char *p = &img.pixels[i * 4];
        g[i] = static_cast<unsigned char>((306 * p[0] + 601 * p[1] + 117 * p[2]) >> 10);
    }
    return g;
}

void BlurDemos(const RgbaImage &src) {
    std::printf("blurs\n");
    RgbaImage img = src;
    double ms = TimeMs([&] { klav::SFDSP::stackBlur(img.pixels.data(), img.width, img.height, 12); });
    std::printf("  stack blur radius 12: %.2f ms\n", ms);
    Save("blur_r12.png", img.pixels.data(), img.width, img.height, 4);

    img = src;
    klav::SFDSP::stackBlurAndHighPass(img.pixels.data(), img.width, img.height, 6);
    Save("highpass_r6.png", img.pixels.data(), img.width, img.height, 4);

    std::vector<unsigned char> grey = Grey(src);
    klav::SFDSP::BlurOneChannel(grey.data(), src.width, src.height, 8);
    Save("grey_blur_r8.png", grey.data(), src.width, src.height, 1);

    grey = Grey(src);
    klav::SFDSP::MidBlur(grey.data(), src.width, src.height);
    Save("grey_median3.png", grey.data(), src.width, src.height, 1);
}

void ScaleDemos(const RgbaImage &src) {
    std::printf("scaling\n");
    klav::PsImageScale scaler;
    struct Case {
        const char *name;
        int w, h;
        klav::eScaleMode mode;
    } cases[] = {
        {"scale_half_cubic.png", src.width / 2, src.height / 2, klav::KV_SCALE_CUBIC},
        {"scale_quarter_bilinear.png", src.width / 4, src.height / 4, klav::KV_SCALE_BILINEAR},
        {"scale_double_cubic.png", src.width * 2, src.height * 2, klav::KV_SCALE_CUBIC_SOFT},
        {"scale_wide_sharp.png", src.width * 3 / 2, src.height * 3 / 4, klav::KV_SCALE_CUBIC_SHARP},
    };
    for (const Case &c : cases) {
        std::vector<unsigned char> dst(static_cast<size_t>(c.w) * c.h * 4);
        bool ok = false;
        double ms = TimeMs([&] {
            ok = scaler.Run(const_cast<unsigned char *>(src.pixels.data()), src.width, src.height,
                            dst.data(), c.w, c.h, 4, c.mode);
        });
        std::printf("  %s mode %d: %s, %.2f ms\n", c.name, static_cast<int>(c.mode), ok ? "ok" : "failed", ms);
        if (ok) Save(c.name, dst.data(), c.w, c.h, 4);
    }
}

}  // namespace

int main(int argc, char **argv) {
    std::string input = argc > 1 ? argv[1] : std::string(KLAV_DEMO_DATA_DIR) + "/hopper.png";
    g_outDir = argc > 2 ? argv[2] : "klav-demo-out";
    mkdir(g_outDir.c_str(), 0755);

    RgbaImage img;
    if (!LoadRgba(input, img)) {
        std::fprintf(stderr, "klav-demo: cannot read %s\n", input.c_str());
        return 1;
    }
    std::printf("klav-demo: %s, %dx%d, %d filter threads\n", input.c_str(), img.width, img.height,
                klav::SFDSP::GetCPUCount());
    Save("input.png", img.pixels.data(), img.width, img.height, 4);
    BlurDemos(img);
    ScaleDemos(img);
    std::printf("done: results in %s\n", g_outDir.c_str());
    return 0;
}
