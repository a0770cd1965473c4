// The mask renderer: texture-coordinate sources drawn into a destination by
// the span scan, all four channels overwritten.
#include "kvmaskraster.h"

#include "common.h"
#include "mathutils.h"
#include "raster_internal.h"

#include <Eigen/Dense>

namespace klav {

namespace {

Vector2 Apply(const Matrix3 &m, const Vector2 &p) { return {m[0] * p.x + m[1] * p.y + m[2], m[3] * p.x + m[4] * p.y + m[5]}; }

std::shared_ptr<Texture> Holder(unsigned char *pixels, int width, int height) {
    std::shared_ptr<Texture> t = std::make_shared<Texture>();
    t->GenTextureWithData(pixels, width, height);
    return t;
}

bool Bound(const std::shared_ptr<Texture> &t) { return t && t->pixels && t->width > 0 && t->height > 0; }

}  // namespace

void CKVMaskRaster::BindDst(unsigned char *pixels, int width, int height) { m_dst = Holder(pixels, width, height); }

void CKVMaskRaster::BindSrc(unsigned char *pixels, int width, int height) { m_src = Holder(pixels, width, height); }

void CKVMaskRaster::DrawTrangles(Vector2 *srcPoints, Vector2 *dstPoints, unsigned short *indices, int count) {
    m_count = count;
    if (!Bound(m_dst) || !Bound(m_src)) return;
    m_dst->points = dstPoints;
    if (count < 1 || !srcPoints || !dstPoints || !indices) return;
    for (int t = 0; t + 2 < count; t += 3) {
        Vector2 d[3] = {dstPoints[indices[t]], dstPoints[indices[t + 1]], dstPoints[indices[t + 2]]};
        if (IsTriOutImg(d, m_dst->width, m_dst->height)) continue;
        Vector2 s[3];
        for (int k = 0; k < 3; ++k) {
            const Vector2 uv = srcPoints[indices[t + k]];
            s[k] = {uv.x * m_src->width, uv.y * m_src->height};
        }
        Matrix3 m = GetAffineTransform(d, s);
        SearchPtAndROP(d, m);
    }
    m_dst->points = nullptr;
}

void CKVMaskRaster::SearchPtAndROP(Vector2 (&tri)[3], Matrix3 &m) {
    // A destination of exactly zero area draws nothing.
    if ((tri[0].x - tri[1].x) * (tri[0].y - tri[2].y) == (tri[0].x - tri[2].x) * (tri[0].y - tri[1].y)) return;
    detail::ScanTriangle(tri, m_dst->width, m_dst->height, [&](int y, int left, int right) {
        for (int x = left; x <= right; ++x) {
            Vector2 p = {static_cast<float>(x), static_cast<float>(y)};
            BilinearInterpAndROP(p, m);
        }
    });
}

void CKVMaskRaster::BilinearInterpAndROP(Vector2 &pixel, Matrix3 &m) {
    Vector2 s = Apply(m, pixel);
    // Held to the source first; the sampler then takes the last pixel for
    // a position at the far edge.
    if (!(s.x >= 0)) s.x = 0;
    if (s.x > m_src->width) s.x = static_cast<float>(m_src->width);
    if (!(s.y >= 0)) s.y = 0;
    if (s.y > m_src->height) s.y = static_cast<float>(m_src->height);
    unsigned char *out =
        m_dst->pixels + (static_cast<size_t>(static_cast<int>(pixel.y)) * m_dst->width + static_cast<int>(pixel.x)) * 4;
    GetValBilinearInterpBGRA(s, out);
}

int CKVMaskRaster::SearchRightPoint(Vector2 (&tri)[3], int left, int right, int row) {
    return detail::SearchRightEnd(tri, left, right, row);
}

bool CKVMaskRaster::pointTriangleTest(Vector2 &a, Vector2 &b, Vector2 &c, Vector2 &p) {
    return detail::PointInTriangle(a, b, c, p);
}

bool CKVMaskRaster::IsTriOutImg(Vector2 *const corners, int width, int height) {
    return detail::TriangleOutOfImage(corners, width, height);
}

Matrix3 CKVMaskRaster::GetAffineTransform(Vector2 *const from, Vector2 *const to) {
    return CMathUtils::getAffineTransform(from, to);
}

bool CKVMaskRaster::SolveMat(double *const matrix, double *const rhs, double *const solution) {
    // Copies of the system, solved by LU with full pivoting; a singular
    // system gives whatever the factorisation yields (not checked, as the
    // callers only pass the corners of drawn triangles).
    Eigen::Matrix<double, 6, 6, Eigen::RowMajor> a = Eigen::Map<Eigen::Matrix<double, 6, 6, Eigen::RowMajor>>(matrix);
    Eigen::Matrix<double, 6, 1> b = Eigen::Map<Eigen::Matrix<double, 6, 1>>(rhs);
    const Eigen::Matrix<double, 6, 1> x = a.fullPivLu().solve(b);
    for (int i = 0; i < 6; ++i) solution[i] = x[i];
    return true;
}

void CKVMaskRaster::Transform(std::vector<Vector2> &in, std::vector<Vector2> &out, Matrix3 &m) {
    out.resize(in.size());
    for (size_t i = 0; i < in.size(); ++i) out[i] = Apply(m, in[i]);
}

void CKVMaskRaster::GetTransformbyMAT(std::vector<Vector2> &in, std::vector<Vector2> &out, Matrix3 &m, int width,
                                      int height) {
    out.resize(in.size());
    for (size_t i = 0; i < in.size(); ++i) GetPtTransformbyMAT(in[i], out[i], m, width, height);
}

void CKVMaskRaster::GetPtTransformbyMAT(Vector2 &in, Vector2 &out, Matrix3 &m, int &width, int &height) {
    out = Apply(m, in);
    if (!(out.x >= 0)) out.x = 0;
    if (out.x > width) out.x = static_cast<float>(width);
    if (!(out.y >= 0)) out.y = 0;
    if (out.y > height) out.y = static_cast<float>(height);
}

namespace {

// The column-by-column walk over the rounded corners: each column is left
// at its first outside point after an inside one. Calls take(x, y).
template <class Take>
void WalkColumns(Vector2 (&tri)[3], int width, int height, Take take) {
    for (int k = 0; k < 3; ++k)
        if (!std::isfinite(tri[k].x) || !std::isfinite(tri[k].y)) return;
    Vector2 r[3];
    int x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    for (int k = 0; k < 3; ++k) {
        const int rx = detail::RoundCorner(tri[k].x), ry = detail::RoundCorner(tri[k].y);
        r[k] = {static_cast<float>(rx), static_cast<float>(ry)};
        if (k == 0 || rx < x0) x0 = rx;
        if (k == 0 || rx > x1) x1 = rx;
        if (k == 0 || ry < y0) y0 = ry;
        if (k == 0 || ry > y1) y1 = ry;
    }
    // Only the part inside the image can yield points; the box is walked
    // there, which leaves the result as the whole walk would.
    if (x0 < 0) x0 = 0;
    if (x1 > width - 1) x1 = width - 1;
    for (int x = x0; x <= x1; ++x) {
        bool seen = false;
        for (int y = y0 < 0 ? 0 : y0; y <= y1 && y < height; ++y) {
            const Vector2 p = {static_cast<float>(x), static_cast<float>(y)};
            if (detail::PointInTriangle(r[0], r[1], r[2], p)) {
                seen = true;
                take(x, y);
            } else if (seen) {
                break;
            }
        }
    }
}

}  // namespace

void CKVMaskRaster::IncreResterization(Vector2 (&tri)[3], std::vector<Vector2> &out, int width, int height) {
    WalkColumns(tri, width, height, [&](int x, int y) { out.push_back({static_cast<float>(x), static_cast<float>(y)}); });
}

void CKVMaskRaster::IncreResTransform(Vector2 (&tri)[3], std::vector<Vector2> &points, std::vector<Vector2> &mapped,
                                      Matrix3 &m, int width, int height) {
    WalkColumns(tri, width, height, [&](int x, int y) {
        const Vector2 p = {static_cast<float>(x), static_cast<float>(y)};
        points.push_back(p);
        mapped.push_back(Apply(m, p));
    });
}

void CKVMaskRaster::IncreResbySearchPt(Vector2 (&tri)[3], std::vector<Vector2> &out, int width, int height) {
    detail::ScanTriangle(tri, width, height, [&](int y, int left, int right) {
        for (int x = left; x <= right; ++x) out.push_back({static_cast<float>(x), static_cast<float>(y)});
    });
}

void CKVMaskRaster::BilinearInterp(Vector2 &pixel, Vector2 &at) {
    if (!Bound(m_dst) || !Bound(m_src)) return;
    const int px = static_cast<int>(pixel.x), py = static_cast<int>(pixel.y);
    if (!(pixel.x >= 0 && pixel.y >= 0) || px >= m_dst->width || py >= m_dst->height) return;
    at.x = detail::ClampSample(at.x, m_src->width);
    at.y = detail::ClampSample(at.y, m_src->height);
    detail::SampleBilinear(m_src->pixels, m_src->width, m_src->height, at.x, at.y, 3,
                           m_dst->pixels + (static_cast<size_t>(py) * m_dst->width + px) * 4);
}

namespace {

void SampleInto(const std::shared_ptr<Texture> &src, Vector2 &at, int channels, unsigned char *out) {
    if (!Bound(src) || !out) return;
    at.x = detail::ClampSample(at.x, src->width);
    at.y = detail::ClampSample(at.y, src->height);
    detail::SampleBilinear(src->pixels, src->width, src->height, at.x, at.y, channels, out);
}

}  // namespace

void CKVMaskRaster::GetValBilinearInterpBGRA(Vector2 &at, unsigned char *out) { SampleInto(m_src, at, 4, out); }

void CKVMaskRaster::GetValBilinearInterpBGRX(Vector2 &at, unsigned char *out) { SampleInto(m_src, at, 3, out); }

void CKVMaskRaster::GetValBilinearInterpXXRX(Vector2 &at, unsigned char *out) { SampleInto(m_src, at, 1, out); }

}  // namespace klav
