// CEyePupilCircle: iris circles from a level set on each eye crop and a
// trimmed algebraic circle fit.
#include "eyepupilcircle.h"

#include "common.h"
#include "levelset.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace klav {

namespace {
float Dist(Vector2 a, Vector2 b) { return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y)); }

// Least-squares circle x^2 + y^2 + D x + E y + F = 0 through the points,
// solved from the 3 x 3 normal equations by cofactors in double. A
// vanishing determinant reports radius -1.
CIRCEL AlgebraicFit(const std::vector<Vector2> &pts) {
    double sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0, sz = 0, sxz = 0, syz = 0;
    const double n = static_cast<double>(pts.size());
    for (const Vector2 &p : pts) {
        const double x = p.x, y = p.y, z = x * x + y * y;
        sx += x, sy += y, sxx += x * x, syy += y * y, sxy += x * y, sz += z, sxz += x * z, syz += y * z;
    }
    // [sxx sxy sx; sxy syy sy; sx sy n] (D E F) = -(sxz syz sz)
    const double a[9] = {sxx, sxy, sx, sxy, syy, sy, sx, sy, n};
    const double b[3] = {-sxz, -syz, -sz};
    auto det3 = [](const double *m) {
        return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
    };
    const double det = det3(a);
    CIRCEL bad{0, 0, -1};
    if (!(std::fabs(det) > 1e-12) || !std::isfinite(det)) return bad;
    double sol[3];
    for (int k = 0; k < 3; ++k) {
        double m[9];
        std::memcpy(m, a, sizeof m);
        for (int r = 0; r < 3; ++r) m[r * 3 + k] = b[r];
        sol[k] = det3(m) / det;
    }
    const double cx = -sol[0] / 2, cy = -sol[1] / 2, rr = cx * cx + cy * cy - sol[2];
    if (!(rr > 0)) return bad;
    return CIRCEL{static_cast<float>(cx), static_cast<float>(cy), static_cast<float>(std::sqrt(rr))};
}
}  // namespace

CEyePupilCircle::CEyePupilCircle(unsigned char *gray, int width, int height, std::vector<Eye_MARK> marks)
    : grayImage(gray), grayWidth(width), grayHeight(height), eyeMarks(std::move(marks)) {}

float CEyePupilCircle::GetRadius() {
    float best = 0;
    bool first = true;
    for (const Eye_MARK &m : eyeMarks) {
        const float r = std::max(Dist(m.corner0, m.top), Dist(m.corner1, m.top));
        best = first ? r : std::min(best, r);
        first = false;
    }
    return best;
}

void CEyePupilCircle::GetEyeRect(const Eye_MARK &mark, myRect &rect) {
    const Vector2 pts[4] = {mark.corner0, mark.corner1, mark.top, mark.bottom};
    float minX = pts[0].x, maxX = pts[0].x, minY = pts[0].y, maxY = pts[0].y;
    for (const Vector2 &p : pts) {
        minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
    }
    const int top = detail::SaturateToInt(minY), bottom = detail::SaturateToInt(maxY);
    const long long span = static_cast<long long>(bottom) - top;
    const float h = static_cast<float>(span > 0 ? span : 0);
    rect = myRect(detail::SaturateToInt(minX), detail::SaturateToInt(static_cast<float>(top) - h / 5.0f),
                  detail::SaturateToInt(maxX), detail::SaturateToInt(static_cast<float>(bottom) + h / 3.0f));
}

int CEyePupilCircle::GetEyeImage(unsigned char *&out, myRect &rect, Eye_MARK &mark) {
    out = nullptr;
    GetEyeRect(mark, rect);
    // The crop keeps to the plane: a box reaching outside it is cut, so
    // that bad landmarks can never ask for a huge block.
    rect.left = std::min(std::max(rect.left, 0), std::max(grayWidth, 0));
    rect.top = std::min(std::max(rect.top, 0), std::max(grayHeight, 0));
    rect.right = std::max(std::min(rect.right, grayWidth - 1), -1);
    rect.bottom = std::max(std::min(rect.bottom, grayHeight - 1), -1);
    if (!grayImage || rect.Width() < 1 || rect.Height() < 1) return 0;
    const int w = rect.Width() + 1, h = rect.Height() + 1;
    out = detail::NewArray<unsigned char>({w, h});
    for (int y = 0; y < h; ++y)
        std::memcpy(out + static_cast<size_t>(y) * w, grayImage + static_cast<size_t>(rect.top + y) * grayWidth + rect.left,
                    static_cast<size_t>(w));
    const Vector2 shift{static_cast<float>(rect.left), static_cast<float>(rect.top)};
    for (Vector2 *p : {&mark.corner0, &mark.corner1, &mark.top, &mark.bottom, &mark.pupil})
        *p = Vector2{p->x - shift.x, p->y - shift.y};
    return 1;
}

void CEyePupilCircle::FitCircle(std::vector<Vector2> contour, CIRCEL start, CIRCEL &result) {
    CIRCEL fit = contour.size() >= 3 ? AlgebraicFit(contour) : CIRCEL{0, 0, -1};
    if (fit.r > 0) {
        // Keep the points strictly between the 3rd and 97th percentile of
        // their distance from the first fit, and fit again.
        std::vector<float> d(contour.size());
        for (size_t i = 0; i < contour.size(); ++i) d[i] = Dist(contour[i], Vector2{fit.x, fit.y});
        std::vector<float> sorted = d;
        std::sort(sorted.begin(), sorted.end());
        const float lo = sorted[static_cast<size_t>(contour.size() * 0.03)];
        const float hi = sorted[std::min(sorted.size() - 1, static_cast<size_t>(contour.size() * 0.97))];
        std::vector<Vector2> kept;
        for (size_t i = 0; i < contour.size(); ++i)
            if (d[i] > lo && d[i] < hi) kept.push_back(contour[i]);
        fit = kept.size() >= 3 ? AlgebraicFit(kept) : CIRCEL{0, 0, -1};
    }
    result = fit.r < 5.0f ? start : fit;
}

void CEyePupilCircle::Run(float &radiusA, Vector2 &centreA, float &radiusB, Vector2 &centreB) {
    const float base = GetRadius();
    float radii[2] = {0, 0};
    Vector2 centres[2] = {{0, 0}, {0, 0}};
    for (size_t e = 0; e < eyeMarks.size() && e < 2; ++e) {
        Eye_MARK mark = eyeMarks[e];
        unsigned char *crop = nullptr;
        myRect rect(0, 0, 0, 0);
        if (GetEyeImage(crop, rect, mark) == 0) {
            radii[e] = 0;
            centres[e] = eyeMarks[e].pupil;
            continue;
        }
        float radius = base;
        const float open = Dist(mark.top, mark.bottom);
        if (open > 1e-5f) {
            const float extra = (Dist(mark.corner0, mark.corner1) / open - 2.5f) * 2.2f;
            if (extra > 0) radius = base + extra;
        }
        // Outside the ellipse through the eye's corners, top and bottom lie
        // lids, lashes and skin, which are not the iris: they take the
        // brightest grey of the crop, so the front does not settle on them.
        const Vector2 mid{(mark.corner0.x + mark.corner1.x) / 2, (mark.corner0.y + mark.corner1.y) / 2};
        const float ax = std::max(1.0f, Dist(mark.corner0, mark.corner1) * 0.55f);
        const float ay = std::max(1.0f, open * 0.6f);
        const int cw = rect.Width() + 1, ch = rect.Height() + 1;
        unsigned char brightest = 0;
        for (int i = 0; i < cw * ch; ++i) brightest = std::max(brightest, crop[i]);
        for (int y = 0; y < ch; ++y)
            for (int x = 0; x < cw; ++x) {
                const float u = (static_cast<float>(x) - mid.x) / ax, v = (static_cast<float>(y) - mid.y) / ay;
                if (!(u * u + v * v <= 1.0f)) crop[static_cast<size_t>(y) * cw + x] = brightest;
            }
        const CIRCEL start{mark.pupil.x, mark.pupil.y, radius};
        CLevelSet level(crop, rect.Height() + 1, rect.Width() + 1, start);
        CIRCEL fit;
        FitCircle(level.GetContour(), start, fit);
        delete[] crop;
        radii[e] = fit.r;
        centres[e] = Vector2{fit.x + static_cast<float>(rect.left), fit.y + static_cast<float>(rect.top)};
    }
    // The first mark fills the second pair and the second mark the first.
    radiusB = radii[0];
    centreB = centres[0];
    radiusA = radii[1];
    centreA = centres[1];
}

}  // namespace klav
