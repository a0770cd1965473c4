// CKVMaskRaster: draws an RGBA source into an RGBA destination triangle by
// triangle, with source points as texture coordinates.
//
// Contract: images are 4 bytes a pixel with packed rows; BindDst and BindSrc
// bind the caller's buffers (borrowed: they must outlive the draws) and must
// precede DrawTrangles, which otherwise does nothing. Source points are
// texture coordinates, 0 to 1 across the source; destination points are
// pixels. Every destination pixel inside a destination triangle takes the
// bilinear sample (truncated, clamped to the source) of all four channels
// at its affine image: a plain overwrite. A triangle with every corner
// outside the destination, with a non-finite corner, or of exactly zero
// area is not drawn. The caller guarantees that every index is within both
// point lists. The object owns its two holders; copies share them through
// reference counts. Not thread-safe.
#ifndef KLAV_KVMASKRASTER_H
#define KLAV_KVMASKRASTER_H

#include "klav_export.h"
#include "klavtypes.h"
#include "matrix3.h"
#include "texture.h"

#include <memory>
#include <vector>

namespace klav {

class KLAV_API CKVMaskRaster {
public:
    CKVMaskRaster() : m_count(0) {}
    virtual ~CKVMaskRaster() {}

    void BindDst(unsigned char *pixels, int width, int height);
    void BindSrc(unsigned char *pixels, int width, int height);
    // `count` is the number of indices (three a triangle); below 1 nothing
    // is drawn.
    virtual void DrawTrangles(Vector2 *srcPoints, Vector2 *dstPoints, unsigned short *indices, int count);

protected:
    friend struct CKVMaskRasterTestAccess;
    void SearchPtAndROP(Vector2 (&tri)[3], Matrix3 &m);
    void BilinearInterpAndROP(Vector2 &pixel, Matrix3 &m);
    int SearchRightPoint(Vector2 (&tri)[3], int left, int right, int row);
    bool pointTriangleTest(Vector2 &a, Vector2 &b, Vector2 &c, Vector2 &p);
    bool IsTriOutImg(Vector2 *const corners, int width, int height);
    static Matrix3 GetAffineTransform(Vector2 *const from, Vector2 *const to);
    static bool SolveMat(double *const matrix, double *const rhs, double *const solution);
    // Maps a list without clamping.
    static void Transform(std::vector<Vector2> &in, std::vector<Vector2> &out, Matrix3 &m);
    // Maps and clamps to 0..width and 0..height.
    void GetTransformbyMAT(std::vector<Vector2> &in, std::vector<Vector2> &out, Matrix3 &m, int width, int height);
    void GetPtTransformbyMAT(Vector2 &in, Vector2 &out, Matrix3 &m, int &width, int &height);
    // Pixel lists of a triangle: over the rounded corners, column by column
    // (the first two), or by the span scan (the third).
    void IncreResterization(Vector2 (&tri)[3], std::vector<Vector2> &out, int width, int height);
    void IncreResTransform(Vector2 (&tri)[3], std::vector<Vector2> &points, std::vector<Vector2> &mapped, Matrix3 &m,
                           int width, int height);
    void IncreResbySearchPt(Vector2 (&tri)[3], std::vector<Vector2> &out, int width, int height);
    // Samplers of the source at `at` (clamped and written back): three
    // channels into the destination pixel, or 4, 3 or 1 bytes into `out`.
    void BilinearInterp(Vector2 &pixel, Vector2 &at);
    void GetValBilinearInterpBGRA(Vector2 &at, unsigned char *out);
    void GetValBilinearInterpBGRX(Vector2 &at, unsigned char *out);
    void GetValBilinearInterpXXRX(Vector2 &at, unsigned char *out);

    std::shared_ptr<Texture> m_dst;
    std::shared_ptr<Texture> m_src;
    int m_count;
};

}  // namespace klav

#endif
