// The triangle renderer and the face slimming and eye enlarging built on it.
#include "interpoint.h"
#include "standface.h"
#include "texturemapping.h"
#include "thinface.h"

#include <gtest/gtest.h>
#include <stb/stb_image.h>

#include <cmath>
#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "test_util.h"

using namespace klav;

namespace klav {
namespace detail {
extern bool g_spanVector;
}
struct CThinFaceTestAccess {
    static Vector2 *Src(CThinFace &t) { return t.m_faceSrc.data(); }
    static Vector2 *Dst(CThinFace &t) { return t.m_faceDst.data(); }
    static Vector2 *Selected(CThinFace &t) { return t.m_selected.data(); }
    static int Build(CThinFace &t, const Vector2 *landmarks, int w, int h) {
        static const int pick[39] = {98, 84, 90, 92, 94, 96, 88, 106, 104, 102, 100, 8,  0,  169, 5, 3, 20, 28, 25, 23,
                                     50, 76, 69, 58, 62, 54, 49, 44,  47,  48,  18,  10, 170, 15, 13, 30, 37, 35, 33};
        t.m_width = w, t.m_height = h;
        for (int i = 0; i < 39; ++i) t.m_selected[i] = landmarks[pick[i]];
        return t.CalResPoint();
    }
    static void Move(CThinFace &t, float s) {
        for (int i = 0; i < 231; ++i) t.m_faceDst[i] = t.m_faceSrc[i];
        t.MoveFacePoint(s);
    }
};
}  // namespace klav

namespace {

struct Image {
    int w, h;
    std::vector<unsigned char> px;
    Image(int w_, int h_, unsigned seed) : w(w_), h(h_), px(testutil::RandomBytes(static_cast<size_t>(w_) * h_ * 4, seed)) {}
    const unsigned char *at(int x, int y) const { return px.data() + (static_cast<size_t>(y) * w + x) * 4; }
};

// Two triangles covering the image, as a point list and an index list.
struct Quad {
    std::vector<Vector2> pts;
    std::vector<unsigned short> idx{0, 1, 2, 0, 2, 3};
    Quad(float x0, float y0, float x1, float y1) : pts{{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}} {}
};

std::vector<Vector2> Shifted(const std::vector<Vector2> &p, float dx, float dy) {
    std::vector<Vector2> q = p;
    for (auto &v : q) v.x += dx, v.y += dy;
    return q;
}

struct Loaded {
    int w = 0, h = 0;
    std::vector<unsigned char> rgba;
    std::vector<Vector2> points;
};

Loaded LoadFace(const std::string &stem) {
    Loaded l;
    int n = 0;
    unsigned char *data = stbi_load((stem + ".png").c_str(), &l.w, &l.h, &n, 4);
    std::unique_ptr<NativeFace> record = testutil::LoadRecord("hopper.face.bin");
    if (!data || !record) {
        if (data) stbi_image_free(data);
        return l;
    }
    l.rgba.assign(data, data + static_cast<size_t>(l.w) * l.h * 4);
    stbi_image_free(data);
    std::unique_ptr<InterPoint> ip(new InterPoint());
    bool ran = false;
    testutil::CaptureStderr([&] { ran = ip->Run(record.get(), l.rgba.data(), l.w, l.h); });
    if (ran) l.points.assign(ip->GetResPoint(), ip->GetResPoint() + 310);
    return l;
}

}  // namespace

TEST(TextureMapping, WholePixelMovesCopyAndKeepTheDestinationAlpha) {
    Image src(37, 23, 1), dst(37, 23, 2);
    const std::vector<unsigned char> before = dst.px;
    Quad q(0, 0, 36, 22);
    TextureMapping tm;
    // The same points: the first form skips every triangle.
    tm.DrawTextureList(src.px.data(), dst.px.data(), 37, 23, q.pts.data(), q.pts.data(), q.idx.data(), 2);
    EXPECT_EQ(dst.px, before);
    // The second form has no skip: the identity reproduces the colours.
    tm.DrawTextureList(src.px.data(), dst.px.data(), 37, 23, 37, 23, q.pts.data(), q.pts.data(), q.idx.data(), 2);
    for (int y = 0; y < 23; ++y)
        for (int x = 0; x < 37; ++x)
            for (int c = 0; c < 4; ++c)
                ASSERT_EQ(dst.at(x, y)[c], c < 3 ? src.at(x, y)[c] : before[(y * 37 + x) * 4 + 3]);
    // Sampling 3 pixels to the right, clamped at the right edge: the last
    // columns repeat the edge pixel, and nothing is read past a row.
    std::vector<Vector2> from = Shifted(q.pts, 3, 0);
    tm.DrawTextureList(src.px.data(), dst.px.data(), 37, 23, from.data(), q.pts.data(), q.idx.data(), 2);
    for (int y = 0; y < 23; ++y)
        for (int x = 0; x < 37; ++x)
            for (int c = 0; c < 3; ++c) ASSERT_EQ(dst.at(x, y)[c], src.at(std::min(x + 3, 36), y)[c]) << x << "," << y;
}

TEST(TextureMapping, HalfPixelShiftAveragesAndTruncates) {
    Image src(16, 8, 3), dst(16, 8, 4);
    Quad q(0, 0, 15, 7);
    std::vector<Vector2> from = Shifted(q.pts, 0.5f, 0);
    TextureMapping().DrawTextureList(src.px.data(), dst.px.data(), 16, 8, from.data(), q.pts.data(), q.idx.data(), 2);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 15; ++x)
            for (int c = 0; c < 3; ++c) ASSERT_EQ(dst.at(x, y)[c], (src.at(x, y)[c] + src.at(x + 1, y)[c]) / 2);
}

TEST(TextureMapping, ScanCoversTheInsideAndNothingFarOutside) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> u(-20, 80);
    const int w = 64, h = 48;
    std::vector<unsigned char> src(w * h * 4, 255);
    int drawn = 0;
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<Vector2> d = {{u(rng), u(rng)}, {u(rng), u(rng)}, {u(rng), u(rng)}};
        std::vector<Vector2> s = {{1, 1}, {2, 1}, {1, 2}};
        std::vector<unsigned short> idx{0, 1, 2};
        std::vector<unsigned char> dst(w * h * 4, 0);
        TextureMapping().DrawTextureList(src.data(), dst.data(), w, h, s.data(), d.data(), idx.data(), 1);
        const double area = (d[1].x - d[0].x) * (d[2].y - d[0].y) - (d[2].x - d[0].x) * (d[1].y - d[0].y);
        bool anyCornerIn = false;
        for (auto &p : d) anyCornerIn |= p.x > -0.5f && p.y > -0.5f && p.x + 0.5 < w && p.y + 0.5 < h;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                // Signed distances of the pixel to the three edges.
                double minDist = 1e9;
                for (int k = 0; k < 3; ++k) {
                    const Vector2 a = d[k], b = d[(k + 1) % 3];
                    const double len = std::hypot(b.x - a.x, b.y - a.y);
                    const double cr = ((b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x)) / len;
                    minDist = std::min(minDist, area > 0 ? cr : -cr);
                }
                // Float weights may sum just under one: 255 can come out 254.
                const bool painted = dst[(y * w + x) * 4] >= 254;
                if (!anyCornerIn) {
                    ASSERT_FALSE(painted) << "a triangle with every corner outside is skipped";
                } else if (minDist > 1e-3) {
                    ASSERT_TRUE(painted) << trial << " " << x << "," << y << " tri " << d[0].x << "," << d[0].y << " " << d[1].x << "," << d[1].y << " " << d[2].x << "," << d[2].y;
                } else if (minDist < -1e-3) {
                    ASSERT_FALSE(painted) << trial << " " << x << "," << y;
                }
                drawn += painted;
            }
    }
    EXPECT_GT(drawn, 10000);
}

TEST(TextureMapping, SpanVectorPathGivesThePixelPathBytes) {
    // Random meshes over random images of odd sizes, warped far enough to
    // clamp at every border, in both forms; a second source size for the
    // second form.
    std::mt19937 rng(11);
    for (int trial = 0; trial < 40; ++trial) {
        const int w = 5 + static_cast<int>(rng() % 120), h = 3 + static_cast<int>(rng() % 90);
        const int sw = 2 + static_cast<int>(rng() % 70), sh = 2 + static_cast<int>(rng() % 70);
        Image src(w, h, trial), small(sw, sh, trial + 100), base(w, h, trial + 200);
        std::uniform_real_distribution<float> ux(-0.3f * w, 1.3f * w), uy(-0.3f * h, 1.3f * h);
        std::vector<Vector2> from(12), to(12);
        for (int i = 0; i < 12; ++i) from[i] = {ux(rng), uy(rng)}, to[i] = {ux(rng), uy(rng)};
        std::vector<unsigned short> idx;
        for (int i = 0; i < 10; ++i) idx.insert(idx.end(), {static_cast<unsigned short>(i), static_cast<unsigned short>(i + 1), static_cast<unsigned short>(i + 2)});
        std::vector<unsigned char> out[2][2];
        for (int fast = 0; fast < 2; ++fast) {
            detail::g_spanVector = fast != 0;
            out[fast][0] = out[fast][1] = base.px;
            TextureMapping().DrawTextureList(src.px.data(), out[fast][0].data(), w, h, from.data(), to.data(), idx.data(), 10);
            TextureMapping().DrawTextureList(small.px.data(), out[fast][1].data(), sw, sh, w, h, from.data(), to.data(), idx.data(), 10);
        }
        detail::g_spanVector = true;
        ASSERT_EQ(out[0][0], out[1][0]) << trial;
        ASSERT_EQ(out[0][1], out[1][1]) << trial;
        ASSERT_NE(out[0][0], base.px) << trial;
    }
}

TEST(TextureMapping, MaskBlendsTowardTheNearestSourcePixel) {
    Image src(20, 10, 5), a(20, 10, 6);
    Image b = a, c = a;
    Quad q(0, 0, 19, 9);
    std::vector<Vector2> from = Shifted(q.pts, 0.5f, 0.25f);
    std::vector<unsigned char> full(200, 255), none(200, 0);
    TextureMapping tm;
    tm.DrawTextureList(src.px.data(), a.px.data(), 20, 10, from.data(), q.pts.data(), q.idx.data(), 2);
    tm.DrawTextureListMask(src.px.data(), b.px.data(), 20, 10, from.data(), q.pts.data(), q.idx.data(), 2, full.data());
    tm.DrawTextureListMask(src.px.data(), c.px.data(), 20, 10, from.data(), q.pts.data(), q.idx.data(), 2, none.data());
    EXPECT_EQ(a.px, b.px);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x)
            for (int ch = 0; ch < 3; ++ch) ASSERT_EQ(c.at(x, y)[ch], src.at(x, y)[ch]);
}

TEST(TextureMapping, BadTrianglesAndCountsDrawNothingAndStayInside) {
    Image src(8, 8, 8), dst(8, 8, 9);
    const std::vector<unsigned char> before = dst.px;
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    std::vector<Vector2> s = {{0, 0}, {7, 0}, {0, 7}};
    std::vector<unsigned short> idx{0, 1, 2};
    TextureMapping tm;
    std::vector<Vector2> d = {{1, 1}, {nan, 3}, {2, 6}};
    tm.DrawTextureList(src.px.data(), dst.px.data(), 8, 8, s.data(), d.data(), idx.data(), 1);
    d = {{1, 1}, {inf, 3}, {2, 6}};
    tm.DrawTextureList(src.px.data(), dst.px.data(), 8, 8, s.data(), d.data(), idx.data(), 1);
    d = {{100, 100}, {200, 100}, {100, 300}};
    tm.DrawTextureList(src.px.data(), dst.px.data(), 8, 8, s.data(), d.data(), idx.data(), 1);
    tm.DrawTextureList(src.px.data(), dst.px.data(), 8, 8, s.data(), s.data(), idx.data(), 0);
    tm.DrawTextureList(src.px.data(), dst.px.data(), 8, 8, 8, 8, s.data(), s.data(), idx.data(), -3);
    EXPECT_EQ(dst.px, before);
    // Far-off corners with one corner in, NaN source points and a collinear
    // destination: drawn without reading or writing outside.
    d = {{3, 3}, {1e30f, 5}, {4, -1e30f}};
    tm.DrawTextureList(src.px.data(), dst.px.data(), 8, 8, s.data(), d.data(), idx.data(), 1);
    std::vector<Vector2> sn = {{nan, 0}, {7, nan}, {0, 7}};
    d = {{0, 0}, {7, 0}, {0, 7}};
    tm.DrawTextureList(src.px.data(), dst.px.data(), 8, 8, sn.data(), d.data(), idx.data(), 1);
    d = {{0, 0}, {3, 3}, {7, 7}};
    tm.DrawTextureList(src.px.data(), dst.px.data(), 8, 8, s.data(), d.data(), idx.data(), 1);
    // A smaller source through the second form clamps to its own size.
    std::vector<unsigned char> small(2 * 2 * 4, 9);
    d = {{0, 0}, {7, 0}, {0, 7}};
    tm.DrawTextureList(small.data(), dst.px.data(), 2, 2, 8, 8, s.data(), d.data(), idx.data(), 1);
    EXPECT_EQ(dst.at(0, 0)[0], 9);
}

TEST(ThinFace, MeshRingsFollowTheLandmarks) {
    Loaded f = LoadFace(std::string(KLAV_TEST_DATA_DIR) + "/hopper");
    ASSERT_EQ(f.points.size(), 310u);
    CThinFace tf;
    ASSERT_EQ(CThinFaceTestAccess::Build(tf, f.points.data(), f.w, f.h), 231);
    const Vector2 *P = CThinFaceTestAccess::Src(tf), *S = CThinFaceTestAccess::Selected(tf);
    auto same = [](Vector2 a, Vector2 b) { return std::fabs(a.x - b.x) < 1e-3f && std::fabs(a.y - b.y) < 1e-3f; };
    EXPECT_TRUE(same(P[8], S[1]));
    EXPECT_TRUE(same(P[16], S[6]));
    // The chin point is the middle sample of the jaw's lowest piece: at
    // the chin up to how far the chin sits off the middle of the chord.
    EXPECT_LT(std::hypot(P[31].x - S[0].x, P[31].y - S[0].y), 0.05f * std::hypot(S[5].x - S[10].x, S[5].y - S[10].y));
    EXPECT_TRUE(same(P[230], S[29]));
    // The forehead top lies above the brows, the outer rings outside the
    // contour at 1.1, 1.2 and 1.3 times its distance from the centre, the
    // inner ring at 0.9.
    EXPECT_LT(P[0].y, f.points[22].y);
    const Vector2 c = S[29];
    for (int i = 0; i < 46; ++i) {
        const float r = std::hypot(P[i].x - c.x, P[i].y - c.y);
        const float k[4] = {1.1f, 1.2f, 1.3f, 0.9f};
        for (int g = 0; g < 4; ++g) {
            const Vector2 q = P[46 * (g + 1) + i];
            EXPECT_NEAR(std::hypot(q.x - c.x, q.y - c.y), k[g] * r, 1e-3f * r + 1e-3f);
        }
    }
}

TEST(ThinFace, TurningPicksTheRowOfMovedContourPoints) {
    Loaded f = LoadFace(std::string(KLAV_TEST_DATA_DIR) + "/hopper");
    ASSERT_EQ(f.points.size(), 310u);
    // Which contour indices moved after one move of the given mesh.
    auto moved = [&](void (*edit)(Vector2 *)) {
        CThinFace tf;
        CThinFaceTestAccess::Build(tf, f.points.data(), f.w, f.h);
        edit(CThinFaceTestAccess::Src(tf));
        CThinFaceTestAccess::Move(tf, 1.0f);
        const Vector2 *P = CThinFaceTestAccess::Src(tf), *D = CThinFaceTestAccess::Dst(tf);
        std::set<int> out;
        for (int i = 0; i < 46; ++i)
            if (!(P[i].x == D[i].x && P[i].y == D[i].y)) out.insert(i);
        // Outer ring 3, the inner ring and the centre never move.
        for (int i = 138; i < 231; ++i) EXPECT_TRUE(P[i].x == D[i].x && P[i].y == D[i].y) << i;
        return out;
    };
    auto range = [](std::set<int> s, int a, int b) {
        for (int i = a; i <= b; ++i) s.insert(i);
        return s;
    };
    EXPECT_EQ(moved([](Vector2 *) {}), range({7, 8}, 15, 44));
    // The right side collapsed onto the chin-centre line: the ratio is
    // infinite and only the near side moves.
    EXPECT_EQ(moved([](Vector2 *P) { P[16] = {(P[31].x + P[230].x) / 2, (P[31].y + P[230].y) / 2}; }),
              range({7, 8}, 17, 30));
    EXPECT_EQ(moved([](Vector2 *P) { P[8] = {(P[31].x + P[230].x) / 2, (P[31].y + P[230].y) / 2}; }),
              range({15, 16}, 31, 45));
    // Both areas zero: the ratio is NaN and takes the middle row.
    EXPECT_EQ(moved([](Vector2 *P) {
                  P[8] = {(P[31].x + P[230].x) / 2, (P[31].y + P[230].y) / 2};
                  P[16] = P[8];
              }),
              range({7, 8}, 15, 44));
}

TEST(ThinFace, RealPortraitWarpsStayNearTheFace) {
    Loaded f = LoadFace(std::string(KLAV_TEST_DATA_DIR) + "/hopper");
    ASSERT_EQ(f.points.size(), 310u);
    CThinFace tf;
    // Eye enlarging at strength 0 leaves every byte.
    std::vector<unsigned char> img = f.rgba;
    tf.RunBigEyes(f.points.data(), img.data(), f.w, f.h, 0.0f);
    EXPECT_EQ(img, f.rgba);
    // Slimming changes pixels only inside the outermost ring's box, and
    // moves some; eye enlarging only near the eyes.
    for (float s : {0.3f, 1.0f}) {
        img = f.rgba;
        tf.RunThinFace(f.points.data(), img.data(), f.w, f.h, s);
        const Vector2 *P = CThinFaceTestAccess::Src(tf);
        float x0 = 1e9f, y0 = 1e9f, x1 = -1e9f, y1 = -1e9f;
        for (int i = 138; i < 184; ++i)
            x0 = std::min(x0, P[i].x), x1 = std::max(x1, P[i].x), y0 = std::min(y0, P[i].y), y1 = std::max(y1, P[i].y);
        long changed = 0;
        for (int y = 0; y < f.h; ++y)
            for (int x = 0; x < f.w; ++x) {
                const size_t at = (static_cast<size_t>(y) * f.w + x) * 4;
                const bool diff = std::memcmp(&img[at], &f.rgba[at], 4) != 0;
                changed += diff;
                if (diff) {
                    ASSERT_TRUE(x >= x0 - 1 && x <= x1 + 1 && y >= y0 - 1 && y <= y1 + 1) << x << "," << y;
                }
                ASSERT_EQ(img[at + 3], f.rgba[at + 3]);
            }
        EXPECT_GT(changed, 1000) << s;
    }
    img = f.rgba;
    tf.RunBigEyes(f.points.data(), img.data(), f.w, f.h, 1.0f);
    const float eyeWidth = std::hypot(f.points[5].x - f.points[0].x, f.points[5].y - f.points[0].y);
    long changed = 0;
    for (int y = 0; y < f.h; ++y)
        for (int x = 0; x < f.w; ++x) {
            const size_t at = (static_cast<size_t>(y) * f.w + x) * 4;
            if (std::memcmp(&img[at], &f.rgba[at], 4) == 0) continue;
            ++changed;
            float nearest = 1e9f;
            for (int i = 0; i < 20; ++i)
                nearest = std::min(nearest, std::hypot(x - f.points[i].x, y - f.points[i].y));
            ASSERT_LT(nearest, 1.5f * eyeWidth) << x << "," << y;
        }
    EXPECT_GT(changed, 100);
}

TEST(ThinFace, BadLandmarksAndSizesAreSafe) {
    Image img(40, 30, 11);
    const std::vector<unsigned char> before = img.px;
    std::vector<Vector2> pts(310);
    std::mt19937 rng(3);
    std::uniform_real_distribution<float> u(0, 40);
    for (auto &p : pts) p = {u(rng), u(rng)};
    CThinFace tf;
    tf.RunThinFace(nullptr, img.px.data(), 40, 30, 1);
    tf.RunThinFace(pts.data(), nullptr, 40, 30, 1);
    tf.RunThinFace(pts.data(), img.px.data(), 0, 30, 1);
    tf.RunBigEyes(pts.data(), img.px.data(), 40, -1, 1);
    tf.RunBigEyes(pts.data(), img.px.data(), 40, 30, std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(img.px, before);
    // Scattered, identical, NaN and far-off landmarks on a tiny and a
    // normal image: no access outside either.
    for (float fill : {5.0f, std::numeric_limits<float>::quiet_NaN(), 1e30f, -1e30f}) {
        std::vector<Vector2> odd = pts;
        for (int i = 0; i < 310; i += 2) odd[i] = {fill, fill};
        tf.RunThinFace(odd.data(), img.px.data(), 40, 30, 1);
        tf.RunBigEyes(odd.data(), img.px.data(), 40, 30, -3);
        std::vector<unsigned char> one(4, 1);
        tf.RunThinFace(odd.data(), one.data(), 1, 1, 0.5f);
        tf.RunBigEyes(odd.data(), one.data(), 1, 1, 0.5f);
    }
    tf.RunThinFace(pts.data(), img.px.data(), 40, 30, 1);
    tf.RunBigEyes(pts.data(), img.px.data(), 40, 30, 1);
}
