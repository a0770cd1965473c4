// Planar geometry: curves, hull, point in polygon, fills, segments, affine fit.
#include "mathutils.h"
#include "polyfittool.h"
#include "uniquepointset.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

using namespace klav;

TEST(Smoothing, CountsQueryFormAndPassingThroughTheInput) {
    Vector2 in[4] = {{0, 0}, {10, 5}, {20, 0}, {30, 5}};
    EXPECT_EQ(CMathUtils::SmoothLines(nullptr, in, 3, 0.5f, 2), 0);
    EXPECT_EQ(CMathUtils::SmoothLines(nullptr, in, 4, 0.5f, 2), 9);
    EXPECT_EQ(CMathUtils::SmoothLines2(nullptr, in, 4, 0.5f, 2), 7);
    Vector2 out[9], out2[7];
    ASSERT_EQ(CMathUtils::SmoothLines(out, in, 4, 0.5f, 2), 9);
    ASSERT_EQ(CMathUtils::SmoothLines2(out2, in, 4, 0.5f, 2), 7);
    // Joints appear twice in the first form and once in the second.
    EXPECT_EQ(out[2].x, out[3].x);
    EXPECT_EQ(out[3].x, 10);
    EXPECT_EQ(out2[2].x, 10);
    EXPECT_EQ(out2[6].x, 30);
    Vector2 *alloc = nullptr;
    ASSERT_EQ(polyfitTool::SmoothLines2(&alloc, in, 4, 0.5f, 2), 7);
    EXPECT_EQ(std::memcmp(alloc, out2, sizeof out2), 0);
    delete[] alloc;
    EXPECT_EQ(CMathUtils::SmoothLines(out, in, 4, 0.5f, 0), 0);  // no step: no curve
}

TEST(Lagrange, ReproducesACubicAlongAChordAndSurvivesDegenerateInput) {
    // Points of a cubic whose ends lie on the x axis, so the chord frame is
    // the image frame.
    auto cubic = [](float x) { return x * (x - 9.0f) * (x - 4.0f) / 50.0f; };
    Vector2 in[4];
    for (int i = 0; i < 4; ++i) {
        float x = static_cast<float>(i * 3);
        in[i] = Vector2{x, cubic(x)};
    }
    Vector2 out[7];
    CMathUtils::LagrangePolyfit(in, 4, out, 7);
    EXPECT_NEAR(out[0].x, in[0].x, 1e-4f);
    EXPECT_NEAR(out[6].x, in[3].x, 1e-3f);
    EXPECT_NEAR(out[6].y, in[3].y, 1e-3f);
    for (const Vector2 &p : out) {
        // A cubic through four points of a cubic is that cubic.
        EXPECT_NEAR(p.y, cubic(p.x), 2e-3f);
    }
    Vector2 same[2] = {{5, 5}, {5, 5}}, o[3];
    CMathUtils::LagrangePolyfit(same, 2, o, 3);
    for (const Vector2 &p : o) EXPECT_TRUE(std::isfinite(p.x) && std::isfinite(p.y));
    // The by-reference form leaves chord-frame values in its input.
    Vector2 seg[2] = {{0, 0}, {0, 4}};
    Vector2 *pin = seg, *pout = o;
    polyfitTool::LagrangePolyfit(pin, 2, pout, 3);
    EXPECT_NEAR(seg[1].x, 4, 1e-6f);
    EXPECT_NEAR(seg[1].y, 0, 1e-6f);
    EXPECT_NEAR(o[1].y, 2, 1e-6f);
}

TEST(Hull, PivotComesLastAndEveryPointIsInside) {
    Vector2 square[4] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
    Vector2 out[8];
    int count = 0;
    CMathUtils::CalcConvexHull(square, 4, out, count);
    ASSERT_EQ(count, 5);  // a closed ring: the pivot first and last
    EXPECT_EQ(out[count - 1].x, 10);  // least y, greatest x
    EXPECT_EQ(out[count - 1].y, 0);
    EXPECT_EQ(out[0].x, 10);
    EXPECT_EQ(out[0].y, 0);
    std::mt19937 rng(9);
    std::uniform_real_distribution<float> d(0, 100);
    std::vector<Vector2> pts(60);
    for (Vector2 &p : pts) p = Vector2{std::floor(d(rng)), std::floor(d(rng))};
    std::vector<Vector2> hull(61);
    CMathUtils::CalcConvexHull(pts.data(), 60, hull.data(), count);
    ASSERT_GE(count, 4);
    --count;  // the closing repeat of the pivot
    // Every point lies on the inner side of every hull edge (or on it), the
    // inner side being given by the hull's own winding.
    double area = 0;
    for (int i = 0; i < count; ++i) {
        Vector2 a = hull[i], b = hull[(i + 1) % count];
        area += a.x * b.y - b.x * a.y;
    }
    const float winding = area > 0 ? 1.0f : -1.0f;
    for (const Vector2 &p : pts)
        for (int i = 0; i < count; ++i) {
            Vector2 a = hull[i], b = hull[(i + 1) % count];
            float cross = (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
            EXPECT_GE(cross * winding, -1e-3f) << i;
        }
    Vector2 two[2] = {{1, 1}, {2, 2}};
    CMathUtils::CalcConvexHull(two, 2, out, count);
    EXPECT_EQ(count, 2);
}

TEST(Polygon, CrossingRuleOnEdges) {
    Vector2 sq[5] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}};
    EXPECT_TRUE(CMathUtils::InsidePolygon(sq, 4, Vector2{5, 5}));
    EXPECT_FALSE(CMathUtils::InsidePolygon(sq, 4, Vector2{5, 0}));   // top edge
    EXPECT_TRUE(CMathUtils::InsidePolygon(sq, 4, Vector2{5, 10}));   // bottom edge
    EXPECT_FALSE(CMathUtils::InsidePolygon(sq, 4, Vector2{15, 5}));
}

TEST(Fill, RunsPixelsOutsideAndBadPolygons) {
    const int w = 40, h = 30;
    Vector2 tri[3] = {{5, 3}, {30, 8}, {12, 25}};
    std::vector<unsigned char> a(w * h, 7), b(w * h, 0), c(w * h, 0);
    ASSERT_TRUE(CMathUtils::FillRect2(a.data(), w, h, tri, 3, 255, 0));
    ASSERT_TRUE(CMathUtils::FillRect5(b.data(), w, h, tri, 3, 255));
    // Convex: the runs agree with the per-pixel test (which stops before x1).
    for (int i = 0; i < w * h; ++i) EXPECT_EQ(a[i], b[i]) << i;
    ASSERT_TRUE(CMathUtils::FillRect6(c.data(), w, h, tri, 3, 200));
    for (int i = 0; i < w * h; ++i) EXPECT_EQ(c[i], b[i] ? 0 : 200) << i;
    std::vector<unsigned char> untouched(w * h, 9);
    EXPECT_FALSE(CMathUtils::FillRect2(untouched.data(), w, h, tri, 2, 255, 0));
    EXPECT_EQ(untouched[0], 9);

    // A concave "U": one run a row, so the right arm that the per-pixel fill
    // finds is missing from the run fill, and no row has a gap.
    Vector2 u[8] = {{2, 2}, {8, 2}, {8, 20}, {30, 20}, {30, 2}, {36, 2}, {36, 26}, {2, 26}};
    std::vector<unsigned char> runs(w * h, 0), pixels(w * h, 0);
    CMathUtils::FillRect5(runs.data(), w, h, u, 8, 255);
    CMathUtils::FillRect3(pixels.data(), w, h, u, 8, 255);
    EXPECT_EQ(pixels[10 * w + 33], 255);
    EXPECT_EQ(runs[10 * w + 33], 0);
    EXPECT_EQ(runs[10 * w + 5], 255);
    for (int y = 0; y < h; ++y) {
        int changes = 0;
        for (int x = 1; x < w; ++x) changes += runs[y * w + x] != runs[y * w + x - 1];
        EXPECT_LE(changes, 2) << "row " << y;
    }

    // Polygons far outside, huge or NaN never write outside the mask.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    Vector2 wild[4] = {{-1e30f, -5}, {1e30f, 1e9f}, {nan, 3}, {50, -1e20f}};
    std::vector<unsigned char> guard(w * h + 16, 0);
    CMathUtils::FillRect5(guard.data(), w, h, wild, 4, 255);
    CMathUtils::FillRect2(guard.data(), w, h, wild, 4, 255, 0);
    CMathUtils::FillRect6(guard.data(), w, h, wild, 4, 1);
    for (int i = w * h; i < w * h + 16; ++i) EXPECT_EQ(guard[i], 0);

    unsigned char *made = polyfitTool::FillRect2(w, h, 3, tri, 255);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(std::memcmp(made, b.data(), w * h), 0);
    EXPECT_EQ(polyfitTool::RectGrayValue(made, w, h, 3, tri), 255);
    klavFree(made);
    std::vector<unsigned char> band(w * h, 0);
    EXPECT_TRUE(polyfitTool::FillRect4(band.data(), w, h, -5, 3, 1));
    EXPECT_EQ(band[w * 5 + 3], 1);
    EXPECT_EQ(band[w * 5 + 4], 0);
    EXPECT_FALSE(polyfitTool::FillRect4(band.data(), 0, h, 1, 3, 1));
}

TEST(DrawLine, ClearsDrawsAndWrapsAtTheRightEdge) {
    const int w = 10, h = 5;
    std::vector<unsigned char> m(w * h, 3);
    Vector2 line[2] = {{8, 1}, {12, 1}};  // runs off the right edge
    CMathUtils::DrawLine(m.data(), w, h, 2, line);
    EXPECT_EQ(m[1 * w + 8], 255);
    EXPECT_EQ(m[1 * w + 9], 255);
    EXPECT_EQ(m[2 * w + 0], 255);  // x 10 wraps onto the next row
    EXPECT_EQ(m[0], 0);
    Vector2 far[2] = {{-100, -100}, {100, 100}};
    CMathUtils::DrawLine(m.data(), w, h, 2, far);
}

TEST(Segments, OneSidedTestAndIntersections) {
    // a, b straddle line cd but c, d lie on one side of ab: the segments do
    // not meet, and the one-sided test still answers true.
    EXPECT_TRUE(CMathUtils::intersect({0, 0}, {10, 10}, {2, 5}, {3, 9}));
    EXPECT_TRUE(CMathUtils::intersect({0, 0}, {10, 10}, {0, 10}, {10, 0}));
    EXPECT_TRUE(CMathUtils::intersect({0, 0}, {4, 4}, {2, 0}, {2, 10}));
    EXPECT_TRUE(CMathUtils::intersect({0, 0}, {10, 0}, {3, -1}, {4, 5}));
    EXPECT_FALSE(CMathUtils::intersect({0, 0}, {1, 1}, {5, 5}, {6, 7}));
    Vector2 out{-1, -1};
    EXPECT_FALSE(CMathUtils::StraightLineIntersection({0, 0}, {1, 1}, {2, 2}, {0, 0}, out));
    EXPECT_TRUE(CMathUtils::StraightLineIntersection({0, 0}, {2, 2}, {0, 2}, {2, 0}, out));
    EXPECT_NEAR(out.x, 1, 1e-6f);
    Vector2 seg{-7, -7};
    EXPECT_FALSE(CMathUtils::StraghtSegmentIntersection({0, 0}, {1, 0}, {5, 1}, {6, 2}, seg));
    EXPECT_EQ(seg.x, -7);  // untouched on refusal
    EXPECT_TRUE(CMathUtils::StraghtSegmentIntersection({0, 0}, {1, 0}, {5, -1}, {5, 1}, seg));
    EXPECT_NEAR(seg.x, 5, 1e-6f);
}

TEST(Affine, FitAndTransform) {
    Vector2 src[3] = {{0, 0}, {10, 0}, {0, 10}};
    Vector2 dst[3];
    for (int i = 0; i < 3; ++i) dst[i] = Vector2{2 * src[i].x + 0.5f * src[i].y + 3, -src[i].x + src[i].y - 4};
    Matrix3 m = CMathUtils::getAffineTransform(src, dst);
    EXPECT_NEAR(m[0], 2, 1e-5f);
    EXPECT_NEAR(m[1], 0.5f, 1e-5f);
    EXPECT_NEAR(m[2], 3, 1e-5f);
    EXPECT_NEAR(m[5], -4, 1e-5f);
    EXPECT_EQ(m[8], 1);
    Vector2 pts[3] = {src[0], src[1], src[2]};
    CMathUtils::transform(pts, pts, 3, m);  // in place
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(pts[i].y, dst[i].y, 1e-4f);
    Vector2 line[3] = {{0, 0}, {1, 1}, {2, 2}};  // collinear: no fit
    Matrix3 none = CMathUtils::getAffineTransform(line, dst);
    EXPECT_EQ(none[0], 0);
    int minX = 7, minY = 7, maxX = 7, maxY = 7;
    CMathUtils::GetOutSideRect(line, 0, minX, minY, maxX, maxY);
    EXPECT_EQ(minX, 7);
    CMathUtils::GetOutSideRect(dst, 3, minX, minY, maxX, maxY);
    EXPECT_EQ(minX, 3);
    EXPECT_EQ(maxX, 23);
}

TEST(UniquePointSet, InsertsOnce) {
    CUniquePointSet set;
    for (int i = 0; i < 40; ++i) {
        Vector2 p{static_cast<float>(i), 1};
        EXPECT_TRUE(set.Insert(p));
        EXPECT_FALSE(set.Insert(p));
    }
    EXPECT_EQ(set.Count(), 40);
}
