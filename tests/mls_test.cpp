// Moving least squares: identity, exact reproduction of affine and rigid
// moves, the control-point singularity and the empty cases.
#include "mls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

using klav::MLS;

namespace {

struct Planar {
    std::vector<float> x, y;
    float *rows[2];
    explicit Planar(size_t n) : x(n), y(n) { Bind(); }
    Planar(const Planar &o) : x(o.x), y(o.y) { Bind(); }
    void Bind() { rows[0] = x.data(), rows[1] = y.data(); }
    float **get() { return rows; }
};

Planar RandomPoints(size_t n, std::mt19937 &rng, float lo, float hi) {
    std::uniform_real_distribution<float> d(lo, hi);
    Planar p(n);
    for (size_t i = 0; i < n; ++i) p.x[i] = d(rng), p.y[i] = d(rng);
    return p;
}

// Applies x' = a x + b y + c, y' = d x + e y + f.
Planar Affine(const Planar &p, float a, float b, float c, float d, float e, float f) {
    Planar q(p.x.size());
    for (size_t i = 0; i < p.x.size(); ++i) {
        q.x[i] = a * p.x[i] + b * p.y[i] + c;
        q.y[i] = d * p.x[i] + e * p.y[i] + f;
    }
    return q;
}

}  // namespace

TEST(MLS, UnmovedControlsGiveThePointsBack) {
    std::mt19937 rng(7);
    Planar p = RandomPoints(12, rng, 0, 100), v = RandomPoints(40, rng, 0, 100);
    MLS mls;
    for (int rigid = 0; rigid < 2; ++rigid) {
        Planar out(40);
        if (rigid)
            mls.MLSD2DpointsDefRigid(v.get(), out.get(), p.get(), p.get(), 12, 40);
        else
            mls.MLSD2DpointsDefAffine(v.get(), out.get(), p.get(), p.get(), 12, 40);
        for (int j = 0; j < 40; ++j) {
            EXPECT_NEAR(out.x[j], v.x[j], 2e-3f) << "rigid " << rigid << " point " << j;
            EXPECT_NEAR(out.y[j], v.y[j], 2e-3f) << "rigid " << rigid << " point " << j;
        }
    }
}

TEST(MLS, AffineFormReproducesAnAffineMove) {
    std::mt19937 rng(11);
    Planar p = RandomPoints(9, rng, 0, 50), v = RandomPoints(25, rng, 0, 50);
    Planar q = Affine(p, 1.2f, 0.3f, 5.0f, -0.2f, 0.9f, -3.0f);
    Planar expect = Affine(v, 1.2f, 0.3f, 5.0f, -0.2f, 0.9f, -3.0f);
    Planar out(25);
    MLS().MLSD2DpointsDefAffine(v.get(), out.get(), p.get(), q.get(), 9, 25);
    for (int j = 0; j < 25; ++j) {
        EXPECT_NEAR(out.x[j], expect.x[j], 2e-3f);
        EXPECT_NEAR(out.y[j], expect.y[j], 2e-3f);
    }
}

TEST(MLS, RigidFormKeepsDistancesUnderARigidMove) {
    std::mt19937 rng(5);
    Planar p = RandomPoints(10, rng, 0, 50), v = RandomPoints(30, rng, 0, 50);
    const float angle = 0.4f, c = std::cos(angle), s = std::sin(angle);
    Planar q = Affine(p, c, -s, 7.0f, s, c, 2.0f);
    Planar expect = Affine(v, c, -s, 7.0f, s, c, 2.0f);
    Planar out(30);
    MLS().MLSD2DpointsDefRigid(v.get(), out.get(), p.get(), q.get(), 10, 30);
    for (int j = 0; j < 30; ++j) {
        EXPECT_NEAR(out.x[j], expect.x[j], 2e-3f);
        EXPECT_NEAR(out.y[j], expect.y[j], 2e-3f);
    }
    // Pairwise distances survive.
    for (int i = 0; i + 1 < 30; ++i) {
        float d0 = std::hypot(v.x[i] - v.x[i + 1], v.y[i] - v.y[i + 1]);
        float d1 = std::hypot(out.x[i] - out.x[i + 1], out.y[i] - out.y[i + 1]);
        EXPECT_NEAR(d0, d1, 5e-3f);
    }
}

TEST(MLS, RigidFormIsNotASimilarity) {
    // Scaling every control by 2 about the origin: the rigid form keeps the
    // length of v - pstar, so points near the centroid do not move outward
    // twice as far, while the affine form scales them.
    Planar p(4), v(1);
    const float px[4] = {-10, 10, 10, -10}, py[4] = {-10, -10, 10, 10};
    for (int k = 0; k < 4; ++k) p.x[k] = px[k], p.y[k] = py[k];
    Planar q = Affine(p, 2, 0, 0, 0, 2, 0);
    v.x[0] = 3, v.y[0] = 0;
    Planar rigid(1), affine(1);
    MLS().MLSD2DpointsDefRigid(v.get(), rigid.get(), p.get(), q.get(), 4, 1);
    MLS().MLSD2DpointsDefAffine(v.get(), affine.get(), p.get(), q.get(), 4, 1);
    EXPECT_NEAR(affine.x[0], 6.0f, 1e-3f);
    // Weighted centroid of the rest controls; the moved centroid is twice it.
    double sw = 0, cx = 0, cy = 0;
    for (int k = 0; k < 4; ++k) {
        double d2 = (px[k] - 3.0) * (px[k] - 3.0) + py[k] * py[k];
        double w = 1.0 / (d2 * d2);
        sw += w, cx += w * px[k], cy += w * py[k];
    }
    cx /= sw, cy /= sw;
    double restLength = std::hypot(3.0 - cx, 0.0 - cy);
    double movedLength = std::hypot(rigid.x[0] - 2 * cx, rigid.y[0] - 2 * cy);
    EXPECT_NEAR(movedLength, restLength, 1e-3);
    EXPECT_GT(std::fabs(affine.x[0] - rigid.x[0]), 1.0f);
}

TEST(MLS, APointOnAFixedControlStaysPut) {
    std::mt19937 rng(3);
    Planar p = RandomPoints(6, rng, 0, 100);
    Planar q = p;
    for (int k = 1; k < 6; ++k) q.x[k] += 9.0f, q.y[k] -= 4.0f;  // control 0 holds
    Planar v(1), out(1);
    v.x[0] = p.x[0], v.y[0] = p.y[0];
    MLS().MLSD2DpointsDefAffine(v.get(), out.get(), p.get(), q.get(), 6, 1);
    EXPECT_NEAR(out.x[0], p.x[0], 1e-2f);
    EXPECT_NEAR(out.y[0], p.y[0], 1e-2f);
}

TEST(MLS, EmptyCountsAndNullSetsLeaveTheOutputAlone) {
    Planar p(3), v(2), out(2);
    out.x = {42, 43};
    out.y = {44, 45};
    MLS mls;
    mls.MLSD2DpointsDefAffine(v.get(), out.get(), p.get(), p.get(), 3, 0);
    mls.MLSD2DpointsDefRigid(v.get(), out.get(), p.get(), p.get(), 0, 2);
    mls.MLSD2DpointsDefRigid(v.get(), out.get(), nullptr, p.get(), 3, 2);
    EXPECT_EQ(out.x[0], 42);
    EXPECT_EQ(out.y[1], 45);
}
