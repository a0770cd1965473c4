// Matrices: storage orders, singular fallbacks, inverses and transforms.
#include "matrix2.h"
#include "matrix3.h"
#include "matrix4.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace klav;

namespace {
void ExpectIdentity4(const Matrix4 &m, float tol) {
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(m[i], (i % 5 == 0) ? 1.0f : 0.0f, tol) << "element " << i;
}
Matrix4 RandomAffine(std::mt19937 &rng) {
    std::uniform_real_distribution<float> d(-2, 2);
    Matrix4 m;
    m.rotate(d(rng) * 40, 0.3f, 0.5f, 0.8f).scale(1.5f, 0.7f, 1.2f).translate(d(rng), d(rng), d(rng));
    return m;
}
}  // namespace

TEST(Matrix, SmallInversesAndSingularFallback) {
    Matrix2 two(2, 0, 0, 2);
    two.invert();
    EXPECT_EQ(two, Matrix2(0.5f, 0, 0, 0.5f));
    Matrix2 flat(1, 2, 2, 4);
    EXPECT_EQ(flat.invert(), Matrix2());

    Matrix3 tiny(1e-2f, 0, 0, 0, 1e-2f, 0, 0, 0, 1e-2f);  // det 1e-6
    EXPECT_EQ(tiny.invert(), Matrix3());
    Matrix3 a(2, 1, 0, 0, 3, 1, 1, 0, 1);
    Matrix3 inv = a;
    inv.invert();
    Matrix3 prod = a * inv;
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(prod[i], i % 4 == 0 ? 1.0f : 0.0f, 1e-5f);
    Vector3 v = a * Vector3{1, 2, 3};
    EXPECT_FLOAT_EQ(v.x, 4);
    EXPECT_FLOAT_EQ(v.y, 9);
    EXPECT_FLOAT_EQ(v.z, 4);
}

TEST(Matrix, EveryFourByFourInverseUndoesItsMatrix) {
    std::mt19937 rng(1);
    for (int trial = 0; trial < 20; ++trial) {
        Matrix4 m = RandomAffine(rng);
        Matrix4 affine = m, general = m, projective = m;
        ExpectIdentity4(m * affine.invertAffine(), 1e-4f);
        ExpectIdentity4(m * general.invertGeneral(), 1e-4f);
        ExpectIdentity4(m * projective.invertProjective(), 1e-4f);
    }
    // A pure rotation and translation: the Euclidean inverse is exact enough.
    Matrix4 rigid;
    rigid.rotateZ(30).rotateX(10).translate(1, 2, 3);
    Matrix4 e = rigid;
    ExpectIdentity4(rigid * e.invertEuclidean(), 1e-5f);
    // m[15] of 0.999 is not an affine bottom row: the general path inverts it.
    Matrix4 p(1, 0, 0, 2, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0.999f);
    Matrix4 q = p;
    ExpectIdentity4(p * q.invert(), 1e-5f);
    EXPECT_NEAR(q[15], 1.0f / 0.999f, 1e-5f);
    // Singular: the identity.
    Matrix4 zero(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0.5f);
    ExpectIdentity4(zero.invert(), 0);
}

TEST(Matrix, TransformsPremultiplyAndVectorsDifferOnTranslation) {
    Matrix4 t;
    t.translate(1, 2, 3);
    EXPECT_EQ(t[3], 1);
    EXPECT_EQ(t[7], 2);
    EXPECT_EQ(t[11], 3);
    Vector3 v3 = t * Vector3{1, 1, 1};
    EXPECT_EQ(v3.x, 1);  // no translation for a 3-vector
    Vector2 v2 = t * Vector2{1, 1};
    EXPECT_EQ(v2.x, 2);
    EXPECT_EQ(v2.y, 3);
    // Scale applies to the translation column as well (premultiplied).
    t.scale(2);
    EXPECT_EQ(t[3], 2);
    EXPECT_EQ(t[15], 1);
    // rotateZ(90) turns x into y; then translating moves the result.
    Matrix4 r;
    r.rotateZ(90).translate(5, 0, 0);
    Vector4 p = r * Vector4{1, 0, 0, 1};
    EXPECT_NEAR(p.x, 5, 1e-5f);
    EXPECT_NEAR(p.y, 1, 1e-5f);
    // The axis is not normalised: a doubled axis changes the result.
    Matrix4 a, b;
    a.rotate(30, 0, 0, 1);
    b.rotate(30, 0, 0, 2);
    EXPECT_NE(a, b);
    const float *tr = r.getTranspose();
    EXPECT_EQ(tr[12], r[3]);
}

TEST(Matrix, ProjectionsWriteTheirOwnStorageOrders) {
    Matrix4 f = setFrustum(-1, 1, -1, 1, 1, 3);
    EXPECT_FLOAT_EQ(f[0], 1);
    EXPECT_FLOAT_EQ(f[10], -2);
    EXPECT_FLOAT_EQ(f[11], -1);
    EXPECT_FLOAT_EQ(f[14], -1.5f);  // no factor 2
    EXPECT_EQ(f[15], 0);
    Matrix4 g = setFrustum(90, 2, 1, 3);
    const float h = std::tan(90 * 0.5f * 0.017453294f);
    EXPECT_FLOAT_EQ(g[5], 2 / (2 * h));
    EXPECT_FLOAT_EQ(g[0], 2 / (4 * h));
    Matrix4 o = setOrthoFrustum(0, 4, 0, 2, 1, 5);
    EXPECT_FLOAT_EQ(o[0], 0.5f);
    EXPECT_FLOAT_EQ(o[3], -1);
    EXPECT_FLOAT_EQ(o[7], -1);
    EXPECT_FLOAT_EQ(o[11], -1.5f);
    EXPECT_EQ(o[12], 0);
    Matrix4 v = lookAt(Vector3{0, 0, 5}, Vector3{0, 0, 0}, Vector3{0, 1, 0});
    EXPECT_FLOAT_EQ(v[0], 1);   // s = (1, 0, 0) down the first column
    EXPECT_FLOAT_EQ(v[5], 1);   // u = (0, 1, 0)
    EXPECT_FLOAT_EQ(v[10], 1);  // -f with f = (0, 0, -1)
    EXPECT_FLOAT_EQ(v[14], -5);
    EXPECT_EQ(v[3], 0);
    Matrix4 s;
    s.scale(2, 4, 8);
    Matrix3 n = FrmMatrixNormal(s);
    EXPECT_FLOAT_EQ(n[0], 0.5f);
    EXPECT_FLOAT_EQ(n[4], 0.25f);
    EXPECT_FLOAT_EQ(n[8], 0.125f);
}
