// klav-demo: runs the library's operations on a portrait and writes each
// result as a PNG.
//
//   klav-demo [image.png|image.jpg] [output-directory]
//
// Without arguments it uses the bundled portrait and writes to ./klav-demo-out.
#include <klav.h>

#include "draw.h"
#include "image_io.h"
#ifdef KLAV_HAVE_DLIB
#include "dlib_face.h"
#endif

#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
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

// The face record of the image: detected with dlib when the example was
// built with it, otherwise the record bundled beside the image
// (NAME.face.bin for NAME.png).
bool FaceRecord(const std::string &input, const RgbaImage &img, NativeFace &record) {
#ifdef KLAV_HAVE_DLIB
    std::vector<Landmarks68> faces;
    std::string error;
    if (DetectLandmarks(img.pixels.data(), img.width, img.height, faces, error)) {
        FillNativeFace(faces, img.width, img.height, record);
        std::printf("  dlib found %d face(s)\n", record.faceCount);
        return record.faceCount > 0;
    }
    std::printf("  dlib: %s; trying the bundled record\n", error.c_str());
#endif
    std::string path = input.substr(0, input.find_last_of('.')) + ".face.bin";
    FILE *f = std::fopen(path.c_str(), "rb");
    if (!f) return false;
    const bool ok = std::fread(&record, sizeof record, 1, f) == 1;
    std::fclose(f);
    if (ok) std::printf("  read %d face(s) from %s\n", record.faceCount, path.c_str());
    return ok && record.faceCount > 0;
}

void FaceDemos(const std::string &input, const RgbaImage &src) {
    std::printf("landmarks\n");
    std::unique_ptr<NativeFace> record(new NativeFace());
    std::memset(record.get(), 0, sizeof(NativeFace));
    if (!FaceRecord(input, src, *record)) {
        std::printf("  no face record: skipping the face operations\n");
        return;
    }
    RgbaImage img = src;
    std::unique_ptr<klav::InterPoint> ip(new klav::InterPoint());
    double ms = TimeMs([&] { ip->Run(record.get(), img.pixels.data(), img.width, img.height); });
    std::printf("  InterPoint::Run: %d faces, %d points, %.2f ms\n", ip->getFaceCount(), ip->GetCount(), ms);
    RgbaImage points = src;
    const int scale = img.width >= 1000 ? 2 : 1;
    for (int n = 0; n < ip->getFaceCount(); ++n) {
        if (!ip->SelectFace(n)) continue;
        const klav::Vector2 *res = ip->GetResPoint();
        for (int i = 0; i < ip->GetCount(); ++i) {
            if (i >= 171 && i <= 174) continue;
            const Rgb colour = i < 40 ? Rgb{0, 255, 0} : i < 108 ? Rgb{255, 255, 0} : i < 215 ? Rgb{0, 200, 255} : Rgb{255, 80, 80};
            DrawDot(points.pixels.data(), img.width, img.height, res[i].x, res[i].y, scale, colour);
            DrawNumber(points.pixels.data(), img.width, img.height, static_cast<int>(res[i].x) + 2,
                       static_cast<int>(res[i].y) + 1, i, scale, colour);
        }
        // Eye, mouth and brow masks as tints.
        RgbaImage masks = src;
        int l, t, r, b, mw, mh;
        auto tint = [&](unsigned char *m, Rgb c) {
            if (!m) return;
            TintMask(masks.pixels.data(), img.width, img.height, m, l, t, mw, mh, c, 0.7f);
            klav::klavFree(m);
        };
        tint(ip->GetEyeMask(img.width, img.height, l, t, r, b, mw, mh, 0), {0, 255, 0});
        tint(ip->GetEyeMask(img.width, img.height, l, t, r, b, mw, mh, 1), {0, 255, 0});
        tint(ip->GetMouthMask(img.width, img.height, l, t, r, b, mw, mh), {255, 0, 128});
        tint(ip->GetLeftEyeBrowMask(img.width, img.height, l, t, r, b, mw, mh), {255, 200, 0});
        tint(ip->GetRightEyeBrowMask(img.width, img.height, l, t, r, b, mw, mh), {255, 200, 0});
        Save("face" + std::to_string(n) + "_masks.png", masks.pixels.data(), img.width, img.height, 4);

        // Eye brightening with the iris circles found by Run; where none was
        // found the host falls back to a circle of a fifth of the eye width
        // on the detector's pupil.
        klav::Vector2 lc = ip->GetLeftPupilCentre(n), rc = ip->GetRightPupilCentre(n);
        float lr = ip->GetLeftPupilRadius(n), rr = ip->GetRightPupilRadius(n);
        if (!(lr >= 1.0f)) lc = res[169], lr = 0.2f * std::hypot(res[5].x - res[0].x, res[5].y - res[0].y);
        if (!(rr >= 1.0f)) rc = res[170], rr = 0.2f * std::hypot(res[15].x - res[10].x, res[15].y - res[10].y);
        std::printf("  face %d irises: left r %.1f at (%.1f, %.1f), right r %.1f at (%.1f, %.1f)\n", n, lr, lc.x, lc.y,
                    rr, rc.x, rc.y);
        for (float strength : {0.5f, 1.0f}) {
            RgbaImage bright = src;
            klav::CKVBrightEye eyes;
            ms = TimeMs([&] {
                eyes.Run(bright.pixels.data(), img.width, img.height, const_cast<klav::Vector2 *>(res), lc, lr, rc, rr,
                         strength);
            });
            char name[64];
            std::snprintf(name, sizeof name, "face%d_bright_eyes_%.1f.png", n, strength);
            std::printf("  eye brightening %.1f: %.2f ms\n", strength, ms);
            Save(name, bright.pixels.data(), img.width, img.height, 4);
        }
    }
    Save("points310.png", points.pixels.data(), img.width, img.height, 4);
}

// A grid-16 table in the documented layout (blue in 4 x 4 tiles of 16 x 16).
std::vector<unsigned char> LutTable(bool graded) {
    std::vector<unsigned char> t(64 * 64 * 4);
    for (int b = 0; b < 16; ++b)
        for (int g = 0; g < 16; ++g)
            for (int r = 0; r < 16; ++r) {
                unsigned char *p = &t[(static_cast<size_t>((b / 4) * 16 + g) * 64 + (b % 4) * 16 + r) * 4];
                const double R = r / 15.0, G = g / 15.0, B = b / 15.0;
                if (graded) {
                    // A warm film look: lifted blacks, warm highlights, teal shadows.
                    const double luma = 0.3 * R + 0.59 * G + 0.11 * B;
                    p[0] = static_cast<unsigned char>(std::lround(255 * (0.06 + 0.9 * std::pow(R, 0.9) + 0.04 * luma)));
                    p[1] = static_cast<unsigned char>(std::lround(255 * (0.05 + 0.9 * G)));
                    p[2] = static_cast<unsigned char>(std::lround(255 * (0.08 + 0.82 * B + 0.05 * (1 - luma))));
                } else {
                    p[0] = static_cast<unsigned char>(r * 17), p[1] = static_cast<unsigned char>(g * 17), p[2] = static_cast<unsigned char>(b * 17);
                }
                p[3] = 255;
            }
    return t;
}

void ToneDemos(const RgbaImage &src) {
    std::printf("tone and colour\n");
    RgbaImage img = src;
    double ms = TimeMs([&] { klav::PSContrastBrightness().Run(img.pixels.data(), img.width, img.height, 25.0f, 20.0f); });
    std::printf("  brightness 25, contrast 20: %.2f ms\n", ms);
    Save("tone_brightness_contrast.png", img.pixels.data(), img.width, img.height, 4);

    img = src;
    klav::CSelectiveColor selective;
    selective.SetSelectiveColor(klav::KV_SELECTIVE_RED, -10, 15, 20, 0);     // warmer, richer reds
    selective.SetSelectiveColor(klav::KV_SELECTIVE_BLUE, 30, 0, -30, 10);    // deeper blues
    ms = TimeMs([&] { selective.Execute(img.pixels.data(), img.width, img.height, nullptr); });
    std::printf("  selective colour (reds and blues): %.2f ms\n", ms);
    Save("tone_selective_colour.png", img.pixels.data(), img.width, img.height, 4);

    img = src;
    klav::SFCurve curve;
    klav::KvPointI points[4] = {klav::KvPointI(0, 0), klav::KvPointI(64, 52), klav::KvPointI(190, 205), klav::KvPointI(255, 255)};
    curve.GetCurveByPoints(points, 4, klav::SFCurve::CHANNEL_MASTER);
    curve.ApplyCurve(klav::SFCurve::CHANNEL_MASTER, img.pixels.data(), img.height, img.width);
    Save("tone_curve_s.png", img.pixels.data(), img.width, img.height, 4);

    img = src;
    klav::SFDSP::WeiMei(img.pixels.data(), img.width, img.height);
    Save("tone_warm.png", img.pixels.data(), img.width, img.height, 4);

    for (bool graded : {false, true}) {
        img = src;
        std::vector<unsigned char> table = LutTable(graded);
        ms = TimeMs([&] { klav::CKVLut3D::Run(img.pixels.data(), table.data(), img.width, img.height, false, true); });
        std::printf("  3D lookup table (%s): %.2f ms\n", graded ? "graded" : "identity", ms);
        Save(graded ? "lut_graded.png" : "lut_identity.png", img.pixels.data(), img.width, img.height, 4);
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
    ToneDemos(img);
    FaceDemos(input, img);
    std::printf("done: results in %s\n", g_outDir.c_str());
    return 0;
}
