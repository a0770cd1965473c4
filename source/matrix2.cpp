#include "matrix2.h"

#include <cmath>
#include <cstring>

namespace klav {

Matrix2::Matrix2() { identity(); }
Matrix2::Matrix2(const float src[4]) { set(src); }
Matrix2::Matrix2(float m0, float m1, float m2, float m3) { set(m0, m1, m2, m3); }

void Matrix2::set(const float src[4]) { std::memcpy(m, src, sizeof m); }
void Matrix2::set(float m0, float m1, float m2, float m3) {
    m[0] = m0, m[1] = m1, m[2] = m2, m[3] = m3;
}
void Matrix2::setRow(int i, const float row[2]) { m[i * 2] = row[0], m[i * 2 + 1] = row[1]; }
void Matrix2::setRow(int i, const Vector2 &v) { m[i * 2] = v.x, m[i * 2 + 1] = v.y; }
void Matrix2::setColumn(int i, const float col[2]) { m[i] = col[0], m[i + 2] = col[1]; }
void Matrix2::setColumn(int i, const Vector2 &v) { m[i] = v.x, m[i + 2] = v.y; }

float Matrix2::getDeterminant() const { return m[0] * m[3] - m[1] * m[2]; }

Matrix2 &Matrix2::identity() {
    set(1, 0, 0, 1);
    return *this;
}

Matrix2 &Matrix2::invert() {
    float det = getDeterminant();
    // A near-singular matrix becomes the identity; nothing is reported.
    if (std::fabs(det) <= 1e-5f) return identity();
    float inv = 1.0f / det;
    set(m[3] * inv, -m[1] * inv, -m[2] * inv, m[0] * inv);
    return *this;
}

Matrix2 Matrix2::operator+(const Matrix2 &r) const { return Matrix2(*this) += r; }
Matrix2 Matrix2::operator-(const Matrix2 &r) const { return Matrix2(*this) -= r; }
Matrix2 &Matrix2::operator+=(const Matrix2 &r) {
    for (int i = 0; i < 4; ++i) m[i] += r.m[i];
    return *this;
}
Matrix2 &Matrix2::operator-=(const Matrix2 &r) {
    for (int i = 0; i < 4; ++i) m[i] -= r.m[i];
    return *this;
}
Vector2 Matrix2::operator*(const Vector2 &v) const { return Vector2{m[0] * v.x + m[1] * v.y, m[2] * v.x + m[3] * v.y}; }
Matrix2 Matrix2::operator*(const Matrix2 &r) const {
    return Matrix2(m[0] * r.m[0] + m[1] * r.m[2], m[0] * r.m[1] + m[1] * r.m[3], m[2] * r.m[0] + m[3] * r.m[2],
                   m[2] * r.m[1] + m[3] * r.m[3]);
}
Matrix2 &Matrix2::operator*=(const Matrix2 &r) { return *this = *this * r; }
bool Matrix2::operator==(const Matrix2 &r) const {
    for (int i = 0; i < 4; ++i)
        if (m[i] != r.m[i]) return false;
    return true;
}
bool Matrix2::operator!=(const Matrix2 &r) const { return !(*this == r); }

}  // namespace klav
