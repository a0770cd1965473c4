// Matrix2: 2 x 2 single-precision matrix.
//
// Contract: elements stored row by row, m[row * 2 + column]; default
// construction gives the identity; operator* with a vector multiplies the
// column vector. invert() of a matrix whose |determinant| <= 1e-5 sets the
// identity instead and reports nothing. Plain value type; no allocation.
#ifndef KLAV_MATRIX2_H
#define KLAV_MATRIX2_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

class KLAV_API Matrix2 {
public:
    Matrix2();
    explicit Matrix2(const float src[4]);
    Matrix2(float m0, float m1, float m2, float m3);

    void set(const float src[4]);
    void set(float m0, float m1, float m2, float m3);
    void setRow(int index, const float row[2]);
    void setRow(int index, const Vector2 &v);
    void setColumn(int index, const float col[2]);
    void setColumn(int index, const Vector2 &v);

    const float *get() const { return m; }
    float getDeterminant() const;
    Matrix2 &identity();
    Matrix2 &invert();

    Matrix2 operator+(const Matrix2 &r) const;
    Matrix2 operator-(const Matrix2 &r) const;
    Matrix2 &operator+=(const Matrix2 &r);
    Matrix2 &operator-=(const Matrix2 &r);
    Vector2 operator*(const Vector2 &v) const;
    Matrix2 operator*(const Matrix2 &r) const;
    Matrix2 &operator*=(const Matrix2 &r);
    bool operator==(const Matrix2 &r) const;
    bool operator!=(const Matrix2 &r) const;
    float operator[](int index) const { return m[index]; }
    float &operator[](int index) { return m[index]; }

private:
    float m[4];
};

}  // namespace klav

#endif
