// Matrix3: 3 x 3 single-precision matrix.
//
// Contract: elements stored row by row, m[row * 3 + column]; default
// construction gives the identity; operator* with a vector multiplies the
// column vector. invert() of a matrix whose |determinant| <= 1e-5 sets the
// identity instead and reports nothing. Plain value type; no allocation.
#ifndef KLAV_MATRIX3_H
#define KLAV_MATRIX3_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

class KLAV_API Matrix3 {
public:
    Matrix3();
    explicit Matrix3(const float src[9]);
    Matrix3(float m0, float m1, float m2, float m3, float m4, float m5, float m6, float m7, float m8);

    void set(const float src[9]);
    void set(float m0, float m1, float m2, float m3, float m4, float m5, float m6, float m7, float m8);
    void setRow(int index, const float row[3]);
    void setRow(int index, const Vector3 &v);
    void setColumn(int index, const float col[3]);
    void setColumn(int index, const Vector3 &v);

    const float *get() const { return m; }
    float getDeterminant() const;
    Matrix3 &identity();
    Matrix3 &invert();

    Matrix3 operator+(const Matrix3 &r) const;
    Matrix3 operator-(const Matrix3 &r) const;
    Matrix3 &operator+=(const Matrix3 &r);
    Matrix3 &operator-=(const Matrix3 &r);
    Vector3 operator*(const Vector3 &v) const;
    Matrix3 operator*(const Matrix3 &r) const;
    Matrix3 &operator*=(const Matrix3 &r);
    bool operator==(const Matrix3 &r) const;
    bool operator!=(const Matrix3 &r) const;
    float operator[](int index) const { return m[index]; }
    float &operator[](int index) { return m[index]; }

private:
    float m[9];
};

}  // namespace klav

#endif
