#include "matrix3.h"

#include <cmath>
#include <cstring>

namespace klav {

Matrix3::Matrix3() { identity(); }
Matrix3::Matrix3(const float src[9]) { set(src); }
Matrix3::Matrix3(float m0, float m1, float m2, float m3, float m4, float m5, float m6, float m7, float m8) {
    set(m0, m1, m2, m3, m4, m5, m6, m7, m8);
}

void Matrix3::set(const float src[9]) { std::memcpy(m, src, sizeof m); }
void Matrix3::set(float m0, float m1, float m2, float m3, float m4, float m5, float m6, float m7, float m8) {
    m[0] = m0, m[1] = m1, m[2] = m2, m[3] = m3, m[4] = m4, m[5] = m5, m[6] = m6, m[7] = m7, m[8] = m8;
}
void Matrix3::setRow(int i, const float row[3]) { m[i * 3] = row[0], m[i * 3 + 1] = row[1], m[i * 3 + 2] = row[2]; }
void Matrix3::setRow(int i, const Vector3 &v) { m[i * 3] = v.x, m[i * 3 + 1] = v.y, m[i * 3 + 2] = v.z; }
void Matrix3::setColumn(int i, const float col[3]) { m[i] = col[0], m[i + 3] = col[1], m[i + 6] = col[2]; }
void Matrix3::setColumn(int i, const Vector3 &v) { m[i] = v.x, m[i + 3] = v.y, m[i + 6] = v.z; }

float Matrix3::getDeterminant() const {
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
}

Matrix3 &Matrix3::identity() {
    set(1, 0, 0, 0, 1, 0, 0, 0, 1);
    return *this;
}

Matrix3 &Matrix3::invert() {
    // Cofactors of the transposed matrix form the adjugate.
    float c[9];
    c[0] = m[4] * m[8] - m[5] * m[7];
    c[1] = m[2] * m[7] - m[1] * m[8];
    c[2] = m[1] * m[5] - m[2] * m[4];
    c[3] = m[5] * m[6] - m[3] * m[8];
    c[4] = m[0] * m[8] - m[2] * m[6];
    c[5] = m[2] * m[3] - m[0] * m[5];
    c[6] = m[3] * m[7] - m[4] * m[6];
    c[7] = m[1] * m[6] - m[0] * m[7];
    c[8] = m[0] * m[4] - m[1] * m[3];
    float det = m[0] * c[0] + m[1] * c[3] + m[2] * c[6];
    // A near-singular matrix becomes the identity; nothing is reported.
    if (std::fabs(det) <= 1e-5f) return identity();
    float inv = 1.0f / det;
    for (int i = 0; i < 9; ++i) m[i] = c[i] * inv;
    return *this;
}

Matrix3 Matrix3::operator+(const Matrix3 &r) const { return Matrix3(*this) += r; }
Matrix3 Matrix3::operator-(const Matrix3 &r) const { return Matrix3(*this) -= r; }
Matrix3 &Matrix3::operator+=(const Matrix3 &r) {
    for (int i = 0; i < 9; ++i) m[i] += r.m[i];
    return *this;
}
Matrix3 &Matrix3::operator-=(const Matrix3 &r) {
    for (int i = 0; i < 9; ++i) m[i] -= r.m[i];
    return *this;
}
Vector3 Matrix3::operator*(const Vector3 &v) const {
    return Vector3{m[0] * v.x + m[1] * v.y + m[2] * v.z, m[3] * v.x + m[4] * v.y + m[5] * v.z,
                   m[6] * v.x + m[7] * v.y + m[8] * v.z};
}
Matrix3 Matrix3::operator*(const Matrix3 &r) const {
    Matrix3 out;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) out.m[i * 3 + j] = m[i * 3] * r.m[j] + m[i * 3 + 1] * r.m[3 + j] + m[i * 3 + 2] * r.m[6 + j];
    return out;
}
Matrix3 &Matrix3::operator*=(const Matrix3 &r) { return *this = *this * r; }
bool Matrix3::operator==(const Matrix3 &r) const {
    for (int i = 0; i < 9; ++i)
        if (m[i] != r.m[i]) return false;
    return true;
}
bool Matrix3::operator!=(const Matrix3 &r) const { return !(*this == r); }

}  // namespace klav
