// Iris circles: the trimmed circle fit, the level set on a synthetic eye,
// and bad input.
#include "eyepupilcircle.h"
#include "levelset.h"

#include <gtest/gtest.h>

#include <cmath>
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
