// CLevelSet: local two-region level-set evolution with box-window means.
#include "levelset.h"

#include "common.h"

#include <algorithm>
#include <cmath>

namespace klav {

namespace {

// Mean of a float plane over a (2k + 1)^2 window clamped to the plane, by
// running sums along rows and then along columns.
void BoxSum(const std::vector<float> &in, std::vector<float> &out, int rows, int cols, int k) {
    std::vector<float> tmp(in.size());
    for (int y = 0; y < rows; ++y) {
        const float *r = &in[static_cast<size_t>(y) * cols];
        float *t = &tmp[static_cast<size_t>(y) * cols];
        double s = 0;
        for (int x = 0; x <= std::min(k, cols - 1); ++x) s += r[x];
        for (int x = 0; x < cols; ++x) {
            t[x] = static_cast<float>(s);
            if (x + k + 1 < cols) s += r[x + k + 1];
            if (x - k >= 0) s -= r[x - k];
        }
    }
    out.assign(in.size(), 0.0f);
    for (int x = 0; x < cols; ++x) {
        double s = 0;
        for (int y = 0; y <= std::min(k, rows - 1); ++y) s += tmp[static_cast<size_t>(y) * cols + x];
        for (int y = 0; y < rows; ++y) {
            out[static_cast<size_t>(y) * cols + x] = static_cast<float>(s);
            if (y + k + 1 < rows) s += tmp[static_cast<size_t>(y + k + 1) * cols + x];
            if (y - k >= 0) s -= tmp[static_cast<size_t>(y - k) * cols + x];
        }
    }
}

}  // namespace

CLevelSet::CLevelSet(unsigned char *image, int rows, int columns, CIRCEL start)
    : m_rows(rows > 0 ? rows : 0), m_columns(columns > 0 ? columns : 0) {
    Initialise();
    if (!image || m_rows == 0 || m_columns == 0) return;
    const size_t n = detail::CheckedSize({m_rows, m_columns});
    m_image.assign(image, image + n);
    m_phi.resize(n);
    for (int y = 0; y < m_rows; ++y)
        for (int x = 0; x < m_columns; ++x) {
            const float dx = static_cast<float>(x) - start.x, dy = static_cast<float>(y) - start.y;
            m_phi[static_cast<size_t>(y) * m_columns + x] = start.r - std::sqrt(dx * dx + dy * dy);
        }
    // A start circle that is not a number gives nothing to evolve.
    if (!std::isfinite(start.x) || !std::isfinite(start.y) || !std::isfinite(start.r)) {
        m_phi.assign(n, -1.0f);
        return;
    }
    Evolve(120);
}

void CLevelSet::Initialise() {
    m_timeStep = 0.5f;
    m_window = 8;
    m_epsilon = 1e-7f;
    m_lambda = 1.0f;
}

void CLevelSet::Evolve(int iterations) {
    const int rows = m_rows, cols = m_columns;
    const size_t n = m_phi.size();
    std::vector<float> inside(n), insideI(n), sumIn, sumInI, sumAll, sumAllI, force(n), smooth(n);
    BoxSum(m_image, sumAllI, rows, cols, m_window);
    std::vector<float> ones(n, 1.0f);
    BoxSum(ones, sumAll, rows, cols, m_window);
    // The two grey levels the regions compete for: two-means of the
    // crop's histogram, the darker being the inside (an iris is darker than
    // the white of the eye around it).
    float dark = 0, bright = 255;
    {
        int hist[256] = {0};
        for (float v : m_image) hist[static_cast<int>(v)]++;
        for (int round = 0; round < 20; ++round) {
            const float cut = (dark + bright) / 2;
            double s1 = 0, c1 = 0, s2 = 0, c2 = 0;
            for (int v = 0; v < 256; ++v) {
                if (v <= cut) s1 += v * hist[v], c1 += hist[v];
                else s2 += v * hist[v], c2 += hist[v];
            }
            dark = c1 > 0 ? static_cast<float>(s1 / c1) : dark;
            bright = c2 > 0 ? static_cast<float>(s2 / c2) : bright;
        }
    }
    for (int it = 0; it < iterations; ++it) {
        for (size_t i = 0; i < n; ++i) {
            inside[i] = m_phi[i] > 0 ? 1.0f : 0.0f;
            insideI[i] = inside[i] * m_image[i];
        }
        // The first three quarters of the steps compete on the two levels of
        // the whole crop, which finds the dark disc from any start; the rest
        // refines the front on the means of each pixel's window.
        const bool local = it >= iterations * 3 / 4;
        BoxSum(inside, sumIn, rows, cols, m_window);
        BoxSum(insideI, sumInI, rows, cols, m_window);
        float peak = 0;
        for (size_t i = 0; i < n; ++i) {
            const float cin = sumIn[i], cout = sumAll[i] - sumIn[i];
            // Means of the two regions in the pixel's window; a region absent
            // from the window, or a start that left one region nearly empty,
            // falls back to the whole-crop means.
            float m1 = dark, m2 = bright;
            if (local && cin > 0.5f && cout > 0.5f) {
                m1 = sumInI[i] / (cin + m_epsilon);
                m2 = (sumAllI[i] - sumInI[i]) / (cout + m_epsilon);
            }
            const float d1 = m_image[i] - m1, d2 = m_image[i] - m2;
            force[i] = m_lambda * (d2 * d2 - d1 * d1);
            peak = std::max(peak, std::fabs(force[i]));
        }
        if (peak <= 0) break;
        // Move by the normalised force, so that the front advances about a
        // pixel a step, then smooth with a 3 x 3 mean, which keeps the front
        // short and round.
        for (size_t i = 0; i < n; ++i) m_phi[i] += m_timeStep * 2.0f * force[i] / peak;
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < cols; ++x) {
                float s = 0;
                int c = 0;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        const int yy = y + dy, xx = x + dx;
                        if (yy < 0 || yy >= rows || xx < 0 || xx >= cols) continue;
                        s += m_phi[static_cast<size_t>(yy) * cols + xx];
                        ++c;
                    }
                smooth[static_cast<size_t>(y) * cols + x] = s / static_cast<float>(c);
            }
        m_phi.swap(smooth);
        if (it % 10 == 9) Reinitialise();
    }
}

// Rebuilds the level function as the signed distance to its zero contour,
// so that the front keeps a steady slope.
void CLevelSet::Reinitialise() {
    const std::vector<Vector2> contour = GetContour();
    if (contour.empty()) return;
    const int rows = m_rows, cols = m_columns;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x) {
            float best = 1e30f;
            for (const Vector2 &p : contour) {
                const float dx = p.x - static_cast<float>(x), dy = p.y - static_cast<float>(y);
                best = std::min(best, dx * dx + dy * dy);
            }
            float &v = m_phi[static_cast<size_t>(y) * cols + x];
            const float d = std::sqrt(best);
            v = v > 0 ? d : -d;
        }
}

std::vector<Vector2> CLevelSet::GetContour() const {
    std::vector<Vector2> points;
    const int rows = m_rows, cols = m_columns;
    if (m_phi.empty()) return points;
    auto at = [&](int x, int y) { return m_phi[static_cast<size_t>(y) * cols + x]; };
    // A point on every grid edge where the function changes sign, placed by
    // linear interpolation.
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x) {
            const float v = at(x, y);
            if (x + 1 < cols) {
                const float w = at(x + 1, y);
                if ((v > 0) != (w > 0)) points.push_back(Vector2{static_cast<float>(x) + v / (v - w), static_cast<float>(y)});
            }
            if (y + 1 < rows) {
                const float w = at(x, y + 1);
                if ((v > 0) != (w > 0)) points.push_back(Vector2{static_cast<float>(x), static_cast<float>(y) + v / (v - w)});
            }
        }
    return points;
}

}  // namespace klav
