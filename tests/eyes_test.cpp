// Iris circles: the trimmed circle fit, the level set on a synthetic eye,
// and bad input.
#include "brighteye.h"
#include "eyepupilcircle.h"
#include "levelset.h"
#include "psimagescale.h"

#include <stb/stb_image.h>

#include "test_util.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <vector>

using namespace klav;

namespace klav {
struct CEyePupilCircleTestAccess {
    static CIRCEL Fit(const std::vector<Vector2> &pts, CIRCEL start) {
        CEyePupilCircle c(nullptr, 0, 0, {});
        CIRCEL out;
        c.FitCircle(pts, start, out);
        return out;
    }
};
}  // namespace klav

namespace {
std::vector<Vector2> Circle(float cx, float cy, float r, int n) {
    std::vector<Vector2> pts;
    for (int i = 0; i < n; ++i) {
        const float a = 6.2831853f * i / n;
        pts.push_back({cx + r * std::cos(a), cy + r * std::sin(a)});
    }
    return pts;
}

// A grey eye crop: skin 170, a white of the eye 215 inside an ellipse, and
// a dark iris disc of radius 7 at (cx, cy).
std::vector<unsigned char> SyntheticEye(int w, int h, float cx, float cy) {
    std::vector<unsigned char> img(static_cast<size_t>(w) * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const float u = (x - w / 2.0f) / (w * 0.45f), v = (y - h / 2.0f) / (h * 0.35f);
            unsigned char g = u * u + v * v <= 1 ? 215 : 170;
            if (std::hypot(x - cx, y - cy) <= 7.0f) g = 45;
            img[static_cast<size_t>(y) * w + x] = g;
        }
    return img;
}
}  // namespace

TEST(CircleFit, RecoversTrimsAndFallsBack) {
    const CIRCEL start{1, 2, 3};
    CIRCEL c = CEyePupilCircleTestAccess::Fit(Circle(20, 15, 9, 60), start);
    EXPECT_NEAR(c.x, 20, 1e-3f);
    EXPECT_NEAR(c.y, 15, 1e-3f);
    EXPECT_NEAR(c.r, 9, 1e-3f);
    // Two far outliers are trimmed before the second fit.
    std::vector<Vector2> noisy = Circle(20, 15, 9, 100);
    noisy.push_back({60, 60});
    noisy.push_back({-40, 15});
    c = CEyePupilCircleTestAccess::Fit(noisy, start);
    EXPECT_NEAR(c.x, 20, 0.5f);
    EXPECT_NEAR(c.r, 9, 0.5f);
    // A circle under radius 5, a line and no points keep the start circle.
    for (const auto &pts : {Circle(10, 10, 3, 40), std::vector<Vector2>{{0, 0}, {1, 1}, {2, 2}, {3, 3}}, std::vector<Vector2>{}}) {
        c = CEyePupilCircleTestAccess::Fit(pts, start);
        EXPECT_EQ(c.x, start.x);
        EXPECT_EQ(c.r, start.r);
    }
}

TEST(LevelSet, SettlesOnADarkDiscFromALargerCircle) {
    const int w = 44, h = 26;
    std::vector<unsigned char> eye = SyntheticEye(w, h, 23, 13);
    CLevelSet level(eye.data(), h, w, CIRCEL{21, 12, 12});
    std::vector<Vector2> contour = level.GetContour();
    ASSERT_GT(contour.size(), 10u);
    CIRCEL fit = CEyePupilCircleTestAccess::Fit(contour, CIRCEL{21, 12, 12});
    EXPECT_NEAR(fit.x, 23, 1.5f);
    EXPECT_NEAR(fit.y, 13, 1.5f);
    EXPECT_NEAR(fit.r, 7, 1.5f);
}

TEST(EyePupilCircle, CrossedOutputsAndBadMarks) {
    const int w = 120, h = 60;
    std::vector<unsigned char> gray(static_cast<size_t>(w) * h, 170);
    // Two synthetic eyes, the first mark on the right one.
    std::vector<unsigned char> eye = SyntheticEye(44, 26, 23, 13);
    for (int y = 0; y < 26; ++y)
        for (int x = 0; x < 44; ++x) {
            gray[static_cast<size_t>(y + 17) * w + x + 5] = eye[static_cast<size_t>(y) * 44 + x];
            gray[static_cast<size_t>(y + 17) * w + x + 70] = eye[static_cast<size_t>(y) * 44 + x];
        }
    auto mark = [](float dx) {
        return Eye_MARK{{dx + 7, 30}, {dx + 42, 30}, {dx + 24, 21}, {dx + 24, 39}, {dx + 25, 29}};
    };
    CEyePupilCircle finder(gray.data(), w, h, {mark(70), mark(5)});
    float ra = 0, rb = 0;
    Vector2 ca{0, 0}, cb{0, 0};
    finder.Run(ra, ca, rb, cb);
    EXPECT_NEAR(cb.x, 70 + 23, 2.0f);  // the first mark fills the second pair
    EXPECT_NEAR(ca.x, 5 + 23, 2.0f);
    EXPECT_NEAR(ca.y, 17 + 13, 2.0f);
    EXPECT_NEAR(ra, 7, 2.0f);

    // Marks outside the plane or not numbers: radius 0 and the pupil back.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    Eye_MARK outside{{-500, -500}, {-400, -500}, {-450, -520}, {-450, -480}, {-450, -500}};
    Eye_MARK broken{{nan, 1}, {1e30f, 1}, {3, nan}, {3, -1e30f}, {nan, nan}};
    CEyePupilCircle bad(gray.data(), w, h, {outside, broken});
    bad.Run(ra, ca, rb, cb);
    EXPECT_EQ(rb, 0);
    EXPECT_EQ(cb.x, -450);
    CEyePupilCircle none(nullptr, 0, 0, {mark(5), mark(70)});
    none.Run(ra, ca, rb, cb);
    EXPECT_EQ(ra, 0);
}

TEST(EyePupilCircle, FindsTheIrisesOfARealPortrait) {
    // The astronaut portrait enlarged three times (eyes about 52 pixels
    // wide) and cut to 600 x 400 around the eyes, with the detector's
    // points scaled alike.
    int w = 0, h = 0, n = 0;
    unsigned char *rgba = stbi_load(KLAV_TEST_DATA_DIR "/astronaut.png", &w, &h, &n, 4);
    ASSERT_NE(rgba, nullptr);
    std::ifstream in(KLAV_TEST_DATA_DIR "/astronaut.f0.pts39.txt");
    std::vector<Vector2> p;
    float x, y;
    while (in >> x >> y) p.push_back({x * 3, y * 3});
    ASSERT_EQ(p.size(), 39u);
    const int W = w * 3, H = h * 3;
    std::vector<unsigned char> big(static_cast<size_t>(W) * H * 4);
    ASSERT_TRUE(PsImageScale().Run(rgba, w, h, big.data(), W, H, 4, KV_SCALE_CUBIC_SOFT));
    stbi_image_free(rgba);
    const int cw = 600, ch = 400;
    const int cx = static_cast<int>((p[13].x + p[32].x) / 2) - cw / 2, cy = static_cast<int>((p[13].y + p[32].y) / 2) - ch / 2;
    std::vector<unsigned char> gray(static_cast<size_t>(cw) * ch);
    for (int yy = 0; yy < ch; ++yy)
        for (int xx = 0; xx < cw; ++xx) {
            const unsigned char *q = &big[(static_cast<size_t>(cy + yy) * W + cx + xx) * 4];
            gray[static_cast<size_t>(yy) * cw + xx] = static_cast<unsigned char>((601 * q[1] + 306 * q[0] + 117 * q[2]) >> 10);
        }
    for (Vector2 &v : p) v = {v.x - cx, v.y - cy};
    CEyePupilCircle finder(gray.data(), cw, ch, {{p[31], p[33], p[34], p[30], p[32]}, {p[12], p[14], p[15], p[11], p[13]}});
    float rl = 0, rr = 0;
    Vector2 cl{0, 0}, cr{0, 0};
    finder.Run(rl, cl, rr, cr);
    const float wl = std::hypot(p[12].x - p[14].x, p[12].y - p[14].y), wr = std::hypot(p[31].x - p[33].x, p[31].y - p[33].y);
    // She looks into the camera: the irises sit near the eye centres.
    EXPECT_LT(std::hypot(cl.x - p[13].x, cl.y - p[13].y), 4.0f);
    EXPECT_LT(std::hypot(cr.x - p[32].x, cr.y - p[32].y), 8.0f);
    EXPECT_GT(rl, 0.15f * wl);
    EXPECT_LT(rl, 0.4f * wl);
    EXPECT_GT(rr, 0.15f * wr);
    EXPECT_LT(rr, 0.4f * wr);
}

namespace {
// 310 points whose eyes are ellipses 60 x 24 pixels around (cx, 50) and
// (cx + 100, 50), numbered as the expansion numbers them.
std::vector<Vector2> EyePoints(float cx) {
    std::vector<Vector2> pts(310, Vector2{0, 0});
    for (int e = 0; e < 2; ++e) {
        const float x0 = cx + 100.0f * e;
        const int b = 10 * e;
        pts[b + 0] = {x0 - 30, 50};
        pts[b + 5] = {x0 + 30, 50};
        for (int i = 1; i <= 4; ++i) {
            const float u = -30 + 12.0f * i, v = 12.0f * std::sqrt(1 - (u / 30) * (u / 30));
            pts[b + i] = {x0 + u, 50 - v};
            pts[b + 5 + i] = {x0 + u, 50 + v};
        }
    }
    return pts;
}
}  // namespace

TEST(BrightEye, StrengthZeroKeepsTheImageAndTheCurveDarkensLashes) {
    const int w = 240, h = 100;
    std::vector<Vector2> pts = EyePoints(60);
    std::vector<unsigned char> img = testutil::RandomBytes(static_cast<size_t>(w) * h * 4, 3), before = img;
    CKVBrightEye bright;
    bright.Run(img.data(), w, h, pts.data(), {60, 50}, 10, {160, 50}, 10, 0.0f);
    EXPECT_EQ(img, before);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    bright.Run(img.data(), w, h, pts.data(), {nan, 50}, 1e30f, {160, nan}, nan, nan);
    EXPECT_EQ(img, before);

    // Full strength on a flat image: the eye opening follows the curve
    // (values up to 13 go to 0, 255 stays), the rest of the image is kept.
    for (unsigned char level : {10, 255}) {
        std::vector<unsigned char> flat(static_cast<size_t>(w) * h * 4, level);
        bright.Run(flat.data(), w, h, pts.data(), {60, 50}, 8, {160, 50}, 8, 1.0f);
        EXPECT_EQ(flat[(50 * w + 60) * 4], level == 10 ? 0 : 255);
        EXPECT_EQ(flat[(50 * w + 60) * 4 + 3], level);  // alpha untouched
        EXPECT_EQ(flat[(5 * w + 5) * 4], level);        // far from the eyes
    }
    // Eyes at the border and beyond it are clipped or skipped safely.
    std::vector<Vector2> edge = EyePoints(-20);
    std::vector<unsigned char> flat(static_cast<size_t>(w) * h * 4, 100);
    bright.Run(flat.data(), w, h, edge.data(), {-20, 50}, 12, {500, 50}, 12, 1.0f);
}
