// polyfitTool: allocating and by-reference forms over the shared geometry.
#include "polyfittool.h"

#include "common.h"
#include "geometry_internal.h"
#include "mathutils.h"

#include <cstdlib>
#include <cstring>

namespace klav {

namespace {
int SmoothAllocating(Vector2 **out, Vector2 *in, int n, float tension, int steps, bool skipJoints) {
    int count = detail::SmoothCount(n, steps, skipJoints);
    // There is no query form: without an output pointer nothing is made.
    if (count == 0 || !out || !in) return 0;
    *out = detail::NewZeroArray<Vector2>({count});
    return detail::SmoothInto(*out, in, n, tension, steps, skipJoints);
}
}  // namespace

int polyfitTool::SmoothLines(Vector2 **out, Vector2 *in, int n, float tension, int steps) {
    return SmoothAllocating(out, in, n, tension, steps, false);
}

int polyfitTool::SmoothLines2(Vector2 **out, Vector2 *in, int n, float tension, int steps) {
    return SmoothAllocating(out, in, n, tension, steps, true);
}

void polyfitTool::LagrangePolyfit(Vector2 *&in, int n, Vector2 *&out, int m) {
    detail::Lagrange(in, n, out, m, true);
}

void polyfitTool::CalcUnitVector(Vector2 &a, Vector2 &b, Vector2 &out) { CMathUtils::CalcUnitVector(a, b, out); }

unsigned char *polyfitTool::FillRect2(int w, int h, int n, Vector2 *poly, unsigned char fill) {
    if (w < 1 || h < 1 || !poly || n < 3) return nullptr;
    unsigned char *mask = static_cast<unsigned char *>(std::calloc(detail::CheckedSize({w, h}), 1));
    if (!mask) throw std::bad_alloc();
    CMathUtils::FillRect5(mask, w, h, poly, n, fill);
    return mask;
}

bool polyfitTool::FillRect3(unsigned char *mask, int w, int h, int n, Vector2 *poly, unsigned char fill) {
    return CMathUtils::FillRect5(mask, w, h, poly, n, fill);
}

bool polyfitTool::FillRect4(unsigned char *mask, int w, int h, int a, int b, unsigned char fill) {
    if (!mask || w < 1) return false;
    const int lo = a < 0 ? 0 : (a > w - 1 ? w - 1 : a);
    const int hi = (a > b ? a : b) < w - 1 ? (a > b ? a : b) : w - 1;
    if (hi - lo + 1 < 1) return false;
    if (h < 1) return true;
    for (int y = 0; y < h; ++y) std::memset(mask + static_cast<size_t>(y) * w + lo, fill, static_cast<size_t>(hi - lo + 1));
    return true;
}

bool polyfitTool::FillRect5(unsigned char *mask, int w, int h, std::vector<Vector2> &poly, unsigned char fill) {
    return CMathUtils::FillRect5(mask, w, h, poly.data(), static_cast<int>(poly.size()), fill);
}

bool polyfitTool::FillRect6(unsigned char *mask, int w, int h, std::vector<Vector2> &poly, unsigned char fill) {
    return CMathUtils::FillRect6(mask, w, h, poly.data(), static_cast<int>(poly.size()), fill);
}

unsigned char polyfitTool::RectGrayValue(unsigned char *gray, int w, int h, int n, Vector2 *poly) {
    if (!gray) return 0;
    unsigned long long sum = 0, count = 0;
    detail::PolygonSpans(w, h, poly, n, [&](int y, int x0, int x1) {
        const unsigned char *row = gray + static_cast<size_t>(y) * w;
        for (int x = x0; x <= x1; ++x) sum += row[x];
        count += static_cast<unsigned long long>(x1 - x0 + 1);
    });
    return count ? static_cast<unsigned char>(sum / count) : 0;
}

}  // namespace klav
