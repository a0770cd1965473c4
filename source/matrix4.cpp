#include "matrix4.h"

#include <cmath>
#include <cstring>

namespace klav {

namespace {
// Degrees to radians: 3.141593 / 180 in single precision, used by every
// degree conversion of the matrix family.
const float kDeg = 0.017453294f;
const float kSingular = 1e-5f;
}  // namespace

Matrix4::Matrix4() { identity(); }
Matrix4::Matrix4(const float src[16]) { set(src); }
Matrix4::Matrix4(float m00, float m01, float m02, float m03, float m04, float m05, float m06, float m07, float m08,
                 float m09, float m10, float m11, float m12, float m13, float m14, float m15) {
    set(m00, m01, m02, m03, m04, m05, m06, m07, m08, m09, m10, m11, m12, m13, m14, m15);
}

void Matrix4::set(const float src[16]) {
    std::memcpy(m, src, sizeof m);
    std::memset(tm, 0, sizeof tm);
}
void Matrix4::set(float m00, float m01, float m02, float m03, float m04, float m05, float m06, float m07, float m08,
                  float m09, float m10, float m11, float m12, float m13, float m14, float m15) {
    const float v[16] = {m00, m01, m02, m03, m04, m05, m06, m07, m08, m09, m10, m11, m12, m13, m14, m15};
    set(v);
}
void Matrix4::setRow(int i, const float row[4]) { std::memcpy(&m[i * 4], row, 4 * sizeof(float)); }
void Matrix4::setRow(int i, const Vector4 &v) { m[i * 4] = v.x, m[i * 4 + 1] = v.y, m[i * 4 + 2] = v.z, m[i * 4 + 3] = v.w; }
void Matrix4::setRow(int i, const Vector3 &v) { m[i * 4] = v.x, m[i * 4 + 1] = v.y, m[i * 4 + 2] = v.z; }
void Matrix4::setColumn(int i, const float col[4]) { m[i] = col[0], m[i + 4] = col[1], m[i + 8] = col[2], m[i + 12] = col[3]; }
void Matrix4::setColumn(int i, const Vector4 &v) { m[i] = v.x, m[i + 4] = v.y, m[i + 8] = v.z, m[i + 12] = v.w; }
void Matrix4::setColumn(int i, const Vector3 &v) { m[i] = v.x, m[i + 4] = v.y, m[i + 8] = v.z; }

const float *Matrix4::getTranspose() {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) tm[c * 4 + r] = m[r * 4 + c];
    return tm;
}

Matrix4 &Matrix4::identity() {
    set(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    return *this;
}

Matrix4 &Matrix4::transpose() {
    for (int r = 0; r < 4; ++r)
        for (int c = r + 1; c < 4; ++c) {
            float t = m[r * 4 + c];
            m[r * 4 + c] = m[c * 4 + r];
            m[c * 4 + r] = t;
        }
    return *this;
}

float Matrix4::getCofactor(float m0, float m1, float m2, float m3, float m4, float m5, float m6, float m7,
                           float m8) const {
    return m0 * (m4 * m8 - m5 * m7) - m1 * (m3 * m8 - m5 * m6) + m2 * (m3 * m7 - m4 * m6);
}

float Matrix4::getDeterminant() const {
    return m[0] * getCofactor(m[5], m[6], m[7], m[9], m[10], m[11], m[13], m[14], m[15]) -
           m[1] * getCofactor(m[4], m[6], m[7], m[8], m[10], m[11], m[12], m[14], m[15]) +
           m[2] * getCofactor(m[4], m[5], m[7], m[8], m[9], m[11], m[12], m[13], m[15]) -
           m[3] * getCofactor(m[4], m[5], m[6], m[8], m[9], m[10], m[12], m[13], m[14]);
}

Matrix4 &Matrix4::invert() {
    // An exact affine bottom row takes the cheaper path.
    if (m[12] == 0.0f && m[13] == 0.0f && m[14] == 0.0f && m[15] == 1.0f) return invertAffine();
    return invertGeneral();
}

namespace {
// Stores the 3 x 3 block r (row order) in m and replaces the translation t
// by -(r t), the inverse of an affine matrix whose block inverse is r.
void StoreAffineInverse(float *m, const float *r) {
    const float x = m[3], y = m[7], z = m[11];
    m[0] = r[0], m[1] = r[1], m[2] = r[2];
    m[4] = r[3], m[5] = r[4], m[6] = r[5];
    m[8] = r[6], m[9] = r[7], m[10] = r[8];
    m[3] = -(r[0] * x + r[1] * y + r[2] * z);
    m[7] = -(r[3] * x + r[4] * y + r[5] * z);
    m[11] = -(r[6] * x + r[7] * y + r[8] * z);
}
}  // namespace

Matrix4 &Matrix4::invertEuclidean() {
    // A rotation's inverse is its transpose.
    const float r[9] = {m[0], m[4], m[8], m[1], m[5], m[9], m[2], m[6], m[10]};
    StoreAffineInverse(m, r);
    return *this;
}

Matrix4 &Matrix4::invertAffine() {
    Matrix3 r(m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]);
    r.invert();  // the identity when singular
    StoreAffineInverse(m, r.get());
    return *this;
}

// The projective inverse goes through the cofactors as the general one
// does, with the same fallback to the identity.
Matrix4 &Matrix4::invertProjective() { return invertGeneral(); }

Matrix4 &Matrix4::invertGeneral() {
    float c[16];
    for (int r = 0; r < 4; ++r)
        for (int col = 0; col < 4; ++col) {
            float minor[9];
            int k = 0;
            for (int i = 0; i < 4; ++i) {
                if (i == r) continue;
                for (int j = 0; j < 4; ++j)
                    if (j != col) minor[k++] = m[i * 4 + j];
            }
            float cof = getCofactor(minor[0], minor[1], minor[2], minor[3], minor[4], minor[5], minor[6], minor[7],
                                    minor[8]);
            // Adjugate: the cofactor of (r, col) lands at (col, r).
            c[col * 4 + r] = ((r + col) & 1) ? -cof : cof;
        }
    float det = m[0] * c[0] + m[1] * c[4] + m[2] * c[8] + m[3] * c[12];
    if (std::fabs(det) <= kSingular) return identity();
    float inv = 1.0f / det;
    for (int i = 0; i < 16; ++i) m[i] = c[i] * inv;
    return *this;
}

Matrix4 &Matrix4::translate(float x, float y, float z) {
    for (int c = 0; c < 4; ++c) {
        m[c] += x * m[12 + c];
        m[4 + c] += y * m[12 + c];
        m[8 + c] += z * m[12 + c];
    }
    return *this;
}
Matrix4 &Matrix4::translate(const Vector3 &v) { return translate(v.x, v.y, v.z); }

Matrix4 &Matrix4::rotate(float angle, float x, float y, float z) {
    const float c = std::cos(angle * kDeg), s = std::sin(angle * kDeg), c1 = 1.0f - c;
    const float r[9] = {x * x * c1 + c,     x * y * c1 - z * s, x * z * c1 + y * s,
                        x * y * c1 + z * s, y * y * c1 + c,     y * z * c1 - x * s,
                        x * z * c1 - y * s, y * z * c1 + x * s, z * z * c1 + c};
    float out[12];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) out[i * 4 + j] = r[i * 3] * m[j] + r[i * 3 + 1] * m[4 + j] + r[i * 3 + 2] * m[8 + j];
    std::memcpy(m, out, sizeof out);
    return *this;
}
Matrix4 &Matrix4::rotate(float angle, const Vector3 &axis) { return rotate(angle, axis.x, axis.y, axis.z); }
Matrix4 &Matrix4::rotateX(float angle) { return rotate(angle, 1, 0, 0); }
Matrix4 &Matrix4::rotateY(float angle) { return rotate(angle, 0, 1, 0); }
Matrix4 &Matrix4::rotateZ(float angle) { return rotate(angle, 0, 0, 1); }

Matrix4 &Matrix4::scale(float s) { return scale(s, s, s); }
Matrix4 &Matrix4::scale(float sx, float sy, float sz) {
    for (int c = 0; c < 4; ++c) {
        m[c] *= sx;
        m[4 + c] *= sy;
        m[8 + c] *= sz;
    }
    return *this;
}

Matrix4 Matrix4::operator+(const Matrix4 &r) const { return Matrix4(*this) += r; }
Matrix4 Matrix4::operator-(const Matrix4 &r) const { return Matrix4(*this) -= r; }
Matrix4 &Matrix4::operator+=(const Matrix4 &r) {
    for (int i = 0; i < 16; ++i) m[i] += r.m[i];
    return *this;
}
Matrix4 &Matrix4::operator-=(const Matrix4 &r) {
    for (int i = 0; i < 16; ++i) m[i] -= r.m[i];
    return *this;
}
Vector4 Matrix4::operator*(const Vector4 &v) const {
    return Vector4{m[0] * v.x + m[1] * v.y + m[2] * v.z + m[3] * v.w, m[4] * v.x + m[5] * v.y + m[6] * v.z + m[7] * v.w,
                   m[8] * v.x + m[9] * v.y + m[10] * v.z + m[11] * v.w,
                   m[12] * v.x + m[13] * v.y + m[14] * v.z + m[15] * v.w};
}
Vector3 Matrix4::operator*(const Vector3 &v) const {
    return Vector3{m[0] * v.x + m[1] * v.y + m[2] * v.z, m[4] * v.x + m[5] * v.y + m[6] * v.z,
                   m[8] * v.x + m[9] * v.y + m[10] * v.z};
}
Vector2 Matrix4::operator*(const Vector2 &v) const {
    return Vector2{m[0] * v.x + m[1] * v.y + m[3], m[4] * v.x + m[5] * v.y + m[7]};
}
Matrix4 Matrix4::operator*(const Matrix4 &r) const {
    Matrix4 out;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            float s = 0;
            for (int k = 0; k < 4; ++k) s += m[i * 4 + k] * r.m[k * 4 + j];
            out.m[i * 4 + j] = s;
        }
    return out;
}
Matrix4 &Matrix4::operator*=(const Matrix4 &r) { return *this = *this * r; }
bool Matrix4::operator==(const Matrix4 &r) const {
    for (int i = 0; i < 16; ++i)
        if (m[i] != r.m[i]) return false;
    return true;
}
bool Matrix4::operator!=(const Matrix4 &r) const { return !(*this == r); }

namespace {
Vector3 Cross(const Vector3 &a, const Vector3 &b) {
    return Vector3{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
float Dot(const Vector3 &a, const Vector3 &b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vector3 Normalised(const Vector3 &a) {
    float l = std::sqrt(Dot(a, a));
    return Vector3{a.x / l, a.y / l, a.z / l};
}
Matrix4 Zero() {
    Matrix4 z;
    for (int i = 0; i < 16; ++i) z[i] = 0.0f;
    return z;
}
}  // namespace

Matrix4 lookAt(const Vector3 &eye, const Vector3 &target, const Vector3 &up) {
    Vector3 f = Normalised(Vector3{target.x - eye.x, target.y - eye.y, target.z - eye.z});
    Vector3 s = Normalised(Cross(f, up));
    Vector3 u = Cross(s, f);
    Matrix4 r = Zero();
    r[0] = s.x, r[4] = s.y, r[8] = s.z;
    r[1] = u.x, r[5] = u.y, r[9] = u.z;
    r[2] = -f.x, r[6] = -f.y, r[10] = -f.z;
    r[12] = -Dot(s, eye);
    r[13] = -Dot(u, eye);
    r[14] = Dot(f, eye);
    r[15] = 1.0f;
    return r;
}

Matrix4 setFrustum(float l, float r, float b, float t, float n, float f) {
    Matrix4 p = Zero();
    p[0] = 2 * n / (r - l);
    p[5] = 2 * n / (t - b);
    p[8] = (r + l) / (r - l);
    p[9] = (t + b) / (t - b);
    p[10] = -(f + n) / (f - n);
    p[11] = -1.0f;
    p[14] = -(f * n) / (f - n);
    return p;
}

Matrix4 setFrustum(float fovY, float aspect, float front, float back) {
    float h = std::tan(fovY * 0.5f * kDeg) * front;
    float w = h * aspect;
    return setFrustum(-w, w, -h, h, front, back);
}

Matrix4 setOrthoFrustum(float l, float r, float b, float t, float n, float f) {
    Matrix4 p = Zero();
    p[0] = 2 / (r - l);
    p[3] = -(r + l) / (r - l);
    p[5] = 2 / (t - b);
    p[7] = -(t + b) / (t - b);
    p[10] = -2 / (f - n);
    p[11] = -(f + n) / (f - n);
    p[15] = 1.0f;
    return p;
}

Matrix3 FrmMatrixNormal(Matrix4 &M) {
    const float a = M[0], b = M[1], c = M[2], d = M[4], e = M[5], f = M[6], g = M[8], h = M[9], i = M[10];
    const float A = e * i - f * h, B = -(d * i - f * g), C = d * h - e * g;
    const float D = -(b * i - c * h), E = a * i - c * g, F = -(a * h - b * g);
    const float G = b * f - c * e, H = -(a * f - c * d), I = a * e - b * d;
    const float det = a * A + b * B + c * C;
    // The inverse is the adjugate (cofactors transposed) over det; its
    // transpose is the cofactor matrix itself over det.
    return Matrix3(A / det, B / det, C / det, D / det, E / det, F / det, G / det, H / det, I / det);
}

}  // namespace klav
