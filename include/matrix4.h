// Matrix4: 4 x 4 single-precision matrix, and the view and projection
// helpers lookAt, setFrustum, setOrthoFrustum and FrmMatrixNormal.
//
// Contract: elements stored row by row, m[row * 4 + column], translation in
// m[3], m[7], m[11]; default construction gives the identity. Transforms
// (translate, rotate, scale) premultiply this matrix and return it; angles
// are in degrees with the factor 0.017453294. lookAt and the perspective
// setFrustum write their elements column by column, setOrthoFrustum row by
// row. Inverses of a near-singular matrix (|determinant| <= 1e-5) give the
// identity. getTranspose fills a second array inside the object and returns
// it; the pointer lives as long as the object. No allocation.
#ifndef KLAV_MATRIX4_H
#define KLAV_MATRIX4_H

#include "klav_export.h"
#include "klavtypes.h"
#include "matrix3.h"

namespace klav {

class KLAV_API Matrix4 {
public:
    Matrix4();
    explicit Matrix4(const float src[16]);
    Matrix4(float m00, float m01, float m02, float m03, float m04, float m05, float m06, float m07, float m08,
            float m09, float m10, float m11, float m12, float m13, float m14, float m15);

    void set(const float src[16]);
    void set(float m00, float m01, float m02, float m03, float m04, float m05, float m06, float m07, float m08,
             float m09, float m10, float m11, float m12, float m13, float m14, float m15);
    void setRow(int index, const float row[4]);
    void setRow(int index, const Vector4 &v);
    void setRow(int index, const Vector3 &v);  // the fourth element stays
    void setColumn(int index, const float col[4]);
    void setColumn(int index, const Vector4 &v);
    void setColumn(int index, const Vector3 &v);  // the fourth element stays

    const float *get() const { return m; }
    const float *getTranspose();
    float getDeterminant() const;

    Matrix4 &identity();
    Matrix4 &transpose();
    Matrix4 &invert();
    Matrix4 &invertEuclidean();
    Matrix4 &invertAffine();
    Matrix4 &invertProjective();
    Matrix4 &invertGeneral();

    Matrix4 &translate(float x, float y, float z);
    Matrix4 &translate(const Vector3 &v);
    Matrix4 &rotate(float angle, const Vector3 &axis);
    Matrix4 &rotate(float angle, float x, float y, float z);
    Matrix4 &rotateX(float angle);
    Matrix4 &rotateY(float angle);
    Matrix4 &rotateZ(float angle);
    Matrix4 &scale(float s);
    Matrix4 &scale(float sx, float sy, float sz);

    Matrix4 operator+(const Matrix4 &r) const;
    Matrix4 operator-(const Matrix4 &r) const;
    Matrix4 &operator+=(const Matrix4 &r);
    Matrix4 &operator-=(const Matrix4 &r);
    Vector4 operator*(const Vector4 &v) const;
    // Upper-left 3 x 3 only: no translation, no division by w.
    Vector3 operator*(const Vector3 &v) const;
    // x' = m0 x + m1 y + m3, y' = m4 x + m5 y + m7: the translation applies.
    Vector2 operator*(const Vector2 &v) const;
    Matrix4 operator*(const Matrix4 &r) const;
    Matrix4 &operator*=(const Matrix4 &r);
    bool operator==(const Matrix4 &r) const;
    bool operator!=(const Matrix4 &r) const;
    float operator[](int index) const { return m[index]; }
    float &operator[](int index) { return m[index]; }

private:
    float getCofactor(float m0, float m1, float m2, float m3, float m4, float m5, float m6, float m7,
                      float m8) const;
    float m[16];
    float tm[16];
};

// View matrix looking from eye to target (column order).
KLAV_API Matrix4 lookAt(const Vector3 &eye, const Vector3 &target, const Vector3 &up);
// Perspective frustum (column order); m[14] is -(f n) / (f - n).
KLAV_API Matrix4 setFrustum(float l, float r, float b, float t, float n, float f);
// Perspective frustum from a vertical field of view in degrees.
KLAV_API Matrix4 setFrustum(float fovY, float aspect, float front, float back);
// Orthographic frustum (row order).
KLAV_API Matrix4 setOrthoFrustum(float l, float r, float b, float t, float n, float f);
// Inverse transpose of the upper-left 3 x 3; no test for a zero determinant.
KLAV_API Matrix3 FrmMatrixNormal(Matrix4 &matrix);

}  // namespace klav

#endif
