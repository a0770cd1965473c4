// Planar geometry: Hermite and Lagrange curves, convex hull, point in
// polygon, polygon fills into masks, segment tests and affine fitting.
#include "mathutils.h"

#include "common.h"
#include "geometry_internal.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

namespace klav {

namespace {

inline Vector2 Sub(Vector2 a, Vector2 b) { return Vector2{a.x - b.x, a.y - b.y}; }
inline Vector2 Add(Vector2 a, Vector2 b) { return Vector2{a.x + b.x, a.y + b.y}; }
inline float Len(Vector2 a) { return std::sqrt(a.x * a.x + a.y * a.y); }

// Pixel bounds of a polygon for the fills: the truncated extent, one more
// at the high side, limited to the mask.
struct FillBounds {
    int x0, y0, x1, y1;
};

FillBounds BoundsOf(const Vector2 *poly, int n, int w, int h) {
    float minX = poly[0].x, maxX = poly[0].x, minY = poly[0].y, maxY = poly[0].y;
    for (int i = 1; i < n; ++i) {
        minX = std::min(minX, poly[i].x);
        maxX = std::max(maxX, poly[i].x);
        minY = std::min(minY, poly[i].y);
        maxY = std::max(maxY, poly[i].y);
    }
    auto plusOne = [](int v) { return v == INT_MAX ? v : v + 1; };
    FillBounds b;
    b.x0 = std::max(detail::SaturateToInt(minX), 0);
    b.y0 = std::max(detail::SaturateToInt(minY), 0);
    b.x1 = std::min(w - 1, plusOne(detail::SaturateToInt(maxX)));
    b.y1 = std::min(h - 1, plusOne(detail::SaturateToInt(maxY)));
    return b;
}

std::vector<Vector2> Closed(const Vector2 *poly, int n) {
    std::vector<Vector2> c(poly, poly + n);
    c.push_back(poly[0]);
    return c;
}

// Gaussian elimination with partial pivoting on an n x n system held row by
// row in a; gives up (false) at a pivot below the double epsilon.
bool Gauss(double *a, double *b, double *x, int n) {
    for (int col = 0; col < n; ++col) {
        int pivot = col;
        for (int r = col + 1; r < n; ++r)
            if (std::fabs(a[r * n + col]) > std::fabs(a[pivot * n + col])) pivot = r;
        if (std::fabs(a[pivot * n + col]) < 2.220446049250313e-16) return false;
        if (pivot != col) {
            for (int k = 0; k < n; ++k) std::swap(a[col * n + k], a[pivot * n + k]);
            std::swap(b[col], b[pivot]);
        }
        for (int r = col + 1; r < n; ++r) {
            double f = a[r * n + col] / a[col * n + col];
            for (int k = col; k < n; ++k) a[r * n + k] -= f * a[col * n + k];
            b[r] -= f * b[col];
        }
    }
    for (int r = n - 1; r >= 0; --r) {
        double s = b[r];
        for (int k = r + 1; k < n; ++k) s -= a[r * n + k] * x[k];
        x[r] = s / a[r * n + r];
    }
    return true;
}

// Hermite chain shared by both smoothing forms; `skipJoints` emits p[0]
// once and then samples 1..steps of each segment.
int Hermite(Vector2 *out, const Vector2 *in, int n, float tension, int steps, bool skipJoints) {
    std::vector<Vector2> q(static_cast<size_t>(n) + 2);
    q[0] = in[0];
    for (int i = 0; i < n; ++i) q[i + 1] = in[i];
    q[n + 1] = in[n - 1];
    int k = 0;
    if (skipJoints) out[k++] = in[0];
    for (int i = 0; i + 1 < n; ++i) {
        Vector2 A = q[i + 1], B = q[i + 2];
        Vector2 Ta{tension * (q[i + 2].x - q[i].x), tension * (q[i + 2].y - q[i].y)};
        Vector2 Tb{tension * (q[i + 3].x - q[i + 1].x), tension * (q[i + 3].y - q[i + 1].y)};
        for (int j = skipJoints ? 1 : 0; j <= steps; ++j) {
            float s = static_cast<float>(j) / static_cast<float>(steps);
            float s2 = s * s, s3 = s2 * s;
            float h1 = 2 * s3 - 3 * s2 + 1, h2 = 3 * s2 - 2 * s3, h3 = s3 - 2 * s2 + s, h4 = s3 - s2;
            out[k++] = Vector2{A.x * h1 + B.x * h2 + Ta.x * h3 + Tb.x * h4, A.y * h1 + B.y * h2 + Ta.y * h3 + Tb.y * h4};
        }
    }
    return k;
}

}  // namespace

namespace detail {

int SmoothCount(int n, int steps, bool skipJoints) {
    // Fewer than 4 points, or no step inside a segment, give no curve.
    if (n < 4 || steps < 1) return 0;
    long long count = skipJoints ? static_cast<long long>(n - 1) * steps + 1
                                 : static_cast<long long>(n - 1) * (static_cast<long long>(steps) + 1);
    return count > INT_MAX ? 0 : static_cast<int>(count);
}

int SmoothInto(Vector2 *out, const Vector2 *in, int n, float tension, int steps, bool skipJoints) {
    int count = SmoothCount(n, steps, skipJoints);
    if (count == 0 || !out || !in) return count;
    return Hermite(out, in, n, tension, steps, skipJoints);
}

void Lagrange(Vector2 *in, int n, Vector2 *out, int m, bool keepChordFrame) {
    if (!in || !out || n < 1 || m < 1) return;
    const Vector2 O = in[0];
    const Vector2 D = Sub(in[n - 1], O);
    float L = Len(D);
    if (std::fabs(L) < 0.001f) L = 0.001f;
    const float c = D.x / L, s = D.y / L;
    std::vector<float> xs(static_cast<size_t>(n)), ys(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        Vector2 p = Sub(in[i], O);
        xs[i] = p.x * c + p.y * s;
        ys[i] = p.y * c - p.x * s;
    }
    // One sample sits on the first point.
    const float step = m > 1 ? (xs[n - 1] - xs[0]) / static_cast<float>(m - 1) : 0.0f;
    for (int j = 0; j < m; ++j) {
        const float X = xs[0] + static_cast<float>(j) * step;
        float Y = 0.0f;
        for (int i = 0; i < n; ++i) {
            float term = ys[i];
            for (int k = 0; k < n; ++k) {
                if (k == i) continue;
                float den = xs[i] - xs[k];
                if (std::fabs(den) < 0.0001f) den = 0.0001f;
                term *= (X - xs[k]) / den;
            }
            Y += term;
        }
        out[j] = Vector2{X * c - Y * s + O.x, Y * c + X * s + O.y};
    }
    if (keepChordFrame)
        for (int i = 0; i < n; ++i) in[i] = Vector2{xs[i], ys[i]};
}

bool PolygonSpans(int w, int h, const Vector2 *poly, int n, const SpanSink &sink) {
    if (!poly || n < 3 || w < 1 || h < 1) return false;
    std::vector<Vector2> closed = Closed(poly, n);
    FillBounds b = BoundsOf(poly, n, w, h);
    for (int y = b.y0; y <= b.y1; ++y) {
        const float fy = static_cast<float>(y);
        int first = -1;
        for (int x = b.x0; x <= b.x1; ++x)
            if (CMathUtils::InsidePolygon(closed.data(), n, Vector2{static_cast<float>(x), fy})) {
                first = x;
                break;
            }
        if (first < 0) continue;
        // The last inside pixel by halving; `last` starts at x1, so a row
        // where no probe is inside runs through to x1.
        int lo = first, hi = b.x1, last = b.x1;
        while (lo <= hi) {
            int mid = (lo + hi) >> 1;
            if (CMathUtils::InsidePolygon(closed.data(), n, Vector2{static_cast<float>(mid), fy})) {
                last = mid;
                lo = mid + 1;
            } else {
                hi = mid - 1;
            }
        }
        sink(y, first, last);
    }
    return true;
}

}  // namespace detail

int CMathUtils::SmoothLines(Vector2 *out, Vector2 *in, int n, float tension, int steps) {
    return detail::SmoothInto(out, in, n, tension, steps, false);
}

int CMathUtils::SmoothLines2(Vector2 *out, Vector2 *in, int n, float tension, int steps) {
    return detail::SmoothInto(out, in, n, tension, steps, true);
}

void CMathUtils::LagrangePolyfit(Vector2 *in, int n, Vector2 *out, int m) { detail::Lagrange(in, n, out, m, false); }

void CMathUtils::CalcConvexHull(Vector2 *in, int n, Vector2 *out, int &count) {
    count = 0;
    if (!in || !out || n <= 0) return;
    if (n < 3) {
        for (int i = 0; i < n; ++i) out[i] = in[i];
        count = n;
        return;
    }
    Vector2 pivot = in[0];
    for (int i = 1; i < n; ++i)
        if (in[i].y < pivot.y || (in[i].y == pivot.y && in[i].x > pivot.x)) pivot = in[i];
    std::vector<Vector2> list;
    for (int i = 0; i < n; ++i)
        if (!(in[i].x == pivot.x && in[i].y == pivot.y)) list.push_back(Sub(in[i], pivot));
    std::stable_sort(list.begin(), list.end(), [](Vector2 a, Vector2 b) {
        float la = Len(a), lb = Len(b);
        float ka = a.x / la, kb = b.x / lb;
        if (ka != kb) return ka > kb;
        return la < lb;
    });
    list.erase(std::unique(list.begin(), list.end(), [](Vector2 a, Vector2 b) { return a.x == b.x && a.y == b.y; }),
               list.end());
    if (list.size() < 3) {
        // Kept as it stands: the short list is returned relative to the pivot.
        for (size_t i = 0; i < list.size(); ++i) out[i] = list[i];
        count = static_cast<int>(list.size());
        return;
    }
    for (size_t i = list.size() - 1; i > 0; --i) list[i] = Sub(list[i], list[i - 1]);
    size_t i = 1;
    while (i < list.size()) {
        Vector2 a = list[i], b = list[i - 1];
        // The turn test runs on truncated products, so tiny turns count as
        // straight.
        long long k1 = static_cast<long long>(detail::SaturateToInt(a.x * b.y));
        long long k2 = static_cast<long long>(detail::SaturateToInt(b.x * a.y));
        if (k1 < k2 || (k1 == k2 && a.x * b.x > 0 && a.y * b.y > 0)) {
            ++i;
            continue;
        }
        list[i] = Add(a, b);
        list.erase(list.begin() + static_cast<long>(i - 1));
        i = i > 1 ? i - 1 : 1;
    }
    // The pivot goes in front of the differences, their running sum gives
    // the corners, and the pivot is appended: the ring comes back closed,
    // the pivot first and last.
    list.insert(list.begin(), pivot);
    for (size_t k = 1; k < list.size(); ++k) list[k] = Add(list[k], list[k - 1]);
    for (size_t k = 0; k < list.size(); ++k) out[k] = list[k];
    out[list.size()] = pivot;
    count = static_cast<int>(list.size()) + 1;
}

bool CMathUtils::InsidePolygon(Vector2 *closed, int n, Vector2 point) {
    if (!closed || n < 1) return false;
    const float x = point.x, y = point.y;
    int crossings = 0;
    for (int i = 0; i < n; ++i) {
        const Vector2 P = closed[i], Q = closed[i + 1];
        if (y > std::min(P.y, Q.y) && y <= std::max(P.y, Q.y) && x <= std::max(P.x, Q.x) && P.y != Q.y) {
            if (P.x == Q.x || (Q.x - P.x) * (y - P.y) / (Q.y - P.y) + P.x >= x) ++crossings;
        }
    }
    return (crossings & 1) != 0;
}

namespace {
// Per-pixel fill over the bounds: rows y0..y1, columns x0 up to x1 exclusive.
bool FillPerPixel(unsigned char *mask, int w, int h, Vector2 *poly, int n, unsigned char fill) {
    std::vector<Vector2> closed = Closed(poly, n);
    FillBounds b = BoundsOf(poly, n, w, h);
    for (int y = b.y0; y <= b.y1; ++y)
        for (int x = b.x0; x < b.x1; ++x)
            if (CMathUtils::InsidePolygon(closed.data(), n, Vector2{static_cast<float>(x), static_cast<float>(y)}))
                mask[static_cast<size_t>(y) * w + x] = fill;
    return true;
}
}  // namespace

bool CMathUtils::FillRect2(unsigned char *mask, int w, int h, Vector2 *poly, int n, unsigned char fill,
                           unsigned char back) {
    if (!mask || !poly || n < 3 || w < 1 || h < 1) return false;
    std::memset(mask, back, detail::CheckedSize({w, h}));
    return FillPerPixel(mask, w, h, poly, n, fill);
}

bool CMathUtils::FillRect3(unsigned char *mask, int w, int h, Vector2 *poly, int n, unsigned char fill) {
    if (!mask || !poly || n < 3 || w < 1 || h < 1) return false;
    return FillPerPixel(mask, w, h, poly, n, fill);
}

bool CMathUtils::FillRect5(unsigned char *mask, int w, int h, Vector2 *poly, int n, unsigned char fill) {
    if (!mask) return false;
    return detail::PolygonSpans(w, h, poly, n, [&](int y, int x0, int x1) {
        std::memset(mask + static_cast<size_t>(y) * w + x0, fill, static_cast<size_t>(x1 - x0 + 1));
    });
}

bool CMathUtils::FillRect6(unsigned char *mask, int w, int h, Vector2 *poly, int n, unsigned char fill) {
    if (!mask || !poly || n < 3 || w < 1 || h < 1) return false;
    const size_t bytes = detail::CheckedSize({w, h});
    std::vector<unsigned char> copy(mask, mask + bytes);
    std::memset(mask, fill, bytes);
    return detail::PolygonSpans(w, h, poly, n, [&](int y, int x0, int x1) {
        const size_t at = static_cast<size_t>(y) * w + x0;
        std::memcpy(mask + at, copy.data() + at, static_cast<size_t>(x1 - x0 + 1));
    });
}

void CMathUtils::DrawLine(unsigned char *mask, int w, int h, int n, Vector2 *poly) {
    if (!mask || w < 1 || h < 1) return;
    const long long total = static_cast<long long>(w) * h;
    std::memset(mask, 0, detail::CheckedSize({w, h}));
    if (!poly || n < 2) return;
    auto round = [](float v) { return detail::SaturateToInt(v + 0.5f); };
    auto put = [&](int x, int y) {
        // Only the linear index is bounded: a point past the right edge
        // lands on the next row.
        long long at = static_cast<long long>(y) * w + x;
        if (at >= 0 && at < total) mask[at] = 255;
    };
    for (int i = 0; i + 1 < n; ++i) {
        Vector2 p = poly[i], q = poly[i + 1];
        float dx = q.x - p.x, dy = q.y - p.y;
        if (!std::isfinite(dx) || !std::isfinite(dy)) continue;
        if (std::fabs(dy) >= std::fabs(dx)) {
            if (p.y > q.y) std::swap(p, q);
            int y0 = round(p.y), y1 = round(q.y);
            float inc = std::fabs(dy) > 0 ? (q.x - p.x) / std::fabs(dy) : 0.0f;
            for (long long y = y0; y <= y1; ++y) put(round(p.x + static_cast<float>(y - y0) * inc), static_cast<int>(y));
        } else {
            if (p.x > q.x) std::swap(p, q);
            int x0 = round(p.x), x1 = round(q.x);
            float inc = (q.y - p.y) / std::fabs(dx);
            for (long long x = x0; x <= x1; ++x) put(static_cast<int>(x), round(p.y + static_cast<float>(x - x0) * inc));
        }
    }
}

void CMathUtils::GetOutSideRect(Vector2 *poly, int n, int &minX, int &minY, int &maxX, int &maxY) {
    if (!poly || n <= 0) return;
    minX = maxX = detail::SaturateToInt(poly[0].x);
    minY = maxY = detail::SaturateToInt(poly[0].y);
    for (int i = 0; i < n; ++i) {
        int x = detail::SaturateToInt(poly[i].x), y = detail::SaturateToInt(poly[i].y);
        if (x < minX) minX = x;
        else if (x > maxX) maxX = x;
        if (y < minY) minY = y;
        else if (y > maxY) maxY = y;
    }
}

void CMathUtils::CalcUnitVector(Vector2 &a, Vector2 &b, Vector2 &out) {
    Vector2 d = Sub(b, a);
    float l = Len(d);
    out = Vector2{d.x / l, d.y / l};
}

float CMathUtils::mult(Vector2 a, Vector2 b, Vector2 c) {
    return (a.x - c.x) * (b.y - c.y) - (b.x - c.x) * (a.y - c.y);
}

bool CMathUtils::intersect(Vector2 a, Vector2 b, Vector2 c, Vector2 d) {
    if (std::max(a.x, b.x) < std::min(c.x, d.x) || std::max(c.x, d.x) < std::min(a.x, b.x) ||
        std::max(a.y, b.y) < std::min(c.y, d.y) || std::max(c.y, d.y) < std::min(a.y, b.y))
        return false;
    // a and b on opposite sides of line cd, or on it.
    return mult(a, d, c) * mult(d, b, c) >= 0;
}

bool CMathUtils::StraightLineIntersection(Vector2 a, Vector2 b, Vector2 c, Vector2 d, Vector2 &out) {
    Vector2 u1, u2;
    CalcUnitVector(a, b, u1);
    CalcUnitVector(c, d, u2);
    // A segment of no length has no direction.
    if (!std::isfinite(u1.x) || !std::isfinite(u2.x)) return false;
    if ((u1.x == u2.x && u1.y == u2.y) || (u1.x == -u2.x && u1.y == -u2.y)) return false;
    float t = ((a.x - c.x) * (c.y - d.y) - (a.y - c.y) * (c.x - d.x)) /
              ((a.x - b.x) * (c.y - d.y) - (a.y - b.y) * (c.x - d.x));
    out = Vector2{a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
    return true;
}

bool CMathUtils::StraghtSegmentIntersection(Vector2 a, Vector2 b, Vector2 c, Vector2 d, Vector2 &out) {
    Vector2 p;
    if (!StraightLineIntersection(a, b, c, d, p)) return false;
    bool inX = p.x >= std::min(c.x, d.x) && p.x <= std::max(c.x, d.x);
    bool inY = p.y >= std::min(c.y, d.y) && p.y <= std::max(c.y, d.y);
    if (!inX && !inY) return false;
    out = p;
    return true;
}

bool CMathUtils::SolveMat(double *A, double *b, double *x) {
    double a[36], bb[6];
    std::memcpy(a, A, sizeof a);
    std::memcpy(bb, b, sizeof bb);
    // A singular system leaves the solution at zero.
    for (int i = 0; i < 6; ++i) x[i] = 0.0;
    if (!Gauss(a, bb, x, 6))
        for (int i = 0; i < 6; ++i) x[i] = 0.0;
    return true;
}

Matrix3 CMathUtils::getAffineTransform(Vector2 *src, Vector2 *dst) {
    double A[36] = {0}, b[6], x[6];
    for (int i = 0; i < 3; ++i) {
        double *r0 = &A[(2 * i) * 6], *r1 = &A[(2 * i + 1) * 6];
        r0[0] = src[i].x, r0[1] = src[i].y, r0[2] = 1.0;
        r1[3] = src[i].x, r1[4] = src[i].y, r1[5] = 1.0;
        b[2 * i] = dst[i].x;
        b[2 * i + 1] = dst[i].y;
    }
    SolveMat(A, b, x);
    return Matrix3(static_cast<float>(x[0]), static_cast<float>(x[1]), static_cast<float>(x[2]),
                   static_cast<float>(x[3]), static_cast<float>(x[4]), static_cast<float>(x[5]), 0.0f, 0.0f, 1.0f);
}

void CMathUtils::transform(Vector2 *in, Vector2 *out, int n, Matrix3 &m) {
    if (!in || !out || n <= 0) return;
    std::vector<Vector2> tmp(in, in + n);
    for (int i = 0; i < n; ++i)
        out[i] = Vector2{m[0] * tmp[i].x + m[1] * tmp[i].y + m[2], m[3] * tmp[i].x + m[4] * tmp[i].y + m[5]};
}

}  // namespace klav
