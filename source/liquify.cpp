// The liquify brush: strokes edit a displacement field, and the pixels under
// the brush are redrawn from the untouched source through that field.
#include "liquify.h"

#include "common.h"
#include "raster_internal.h"

#include <cmath>
#include <cstdlib>
#include <climits>
#include <cstring>

namespace klav {

CLiquify::CLiquify()
    : m_stride(0),
      m_intensity(0),
      m_radius(0),
      m_width(0),
      m_height(0),
      m_show(nullptr),
      m_source(nullptr),
      m_falloff(nullptr),
      m_step(1),
      m_power(0.3),
      m_mode(DEFORM_MOVE),
      m_field(nullptr),
      m_window(nullptr) {}

CLiquify::~CLiquify() {
    DestroyMem();
    delete[] m_falloff;
}

void CLiquify::SetRadius(int radius) {
    if (radius < 0) radius = 0;
    if (radius > kMaxRadius) radius = kMaxRadius;
    if (radius == m_radius) return;
    delete[] m_falloff;
    delete[] m_window;
    m_falloff = nullptr;
    m_window = nullptr;
    m_radius = radius;
    m_step = radius * 0.2 < 1 ? 1 : static_cast<int>(radius * 0.2);
    if (radius == 0) return;
    // A raised cosine over the root of the squared distance, flattened near
    // the centre: strokes index it by (i * i + j * j) / radius.
    m_falloff = detail::NewArray<double>({radius});
    const double pi = 3.14159265358979323846;
    for (int i = 0; i < radius; ++i)
        m_falloff[i] = std::pow((std::cos(pi * std::sqrt(static_cast<double>(i) / radius)) + 1) * 0.5, 0.7);
    m_window = detail::NewZeroArray<double>({2 * radius + 1, 2 * radius + 1, 2});
}

void CLiquify::SetIntensity(int percent) { m_intensity = percent / 100.0; }

void CLiquify::SetImageAndDestImage(unsigned char *showImage, unsigned char *sourceImage, int width, int height) {
    if (!showImage || !sourceImage || width <= 0 || height <= 0) return;
    if (!m_field || width != m_width || height != m_height) {
        delete[] m_field;
        m_field = nullptr;
        m_field = detail::NewArray<double>({width, height, 2});
    }
    m_show = showImage;
    m_source = sourceImage;
    m_width = width;
    m_height = height;
    m_stride = width * 4;
    std::memset(m_field, 0, detail::CheckedSize({width, height, 2, sizeof(double)}));
}

void CLiquify::DestroyMem() {
    delete[] m_field;
    delete[] m_window;
    m_field = nullptr;
    m_window = nullptr;
    // The window goes with the field; the next SetRadius rebuilds it.
    if (m_radius) m_radius = 0;
    m_show = m_source = nullptr;
}

void CLiquify::ProcImage(int x0, int y0, int x1, int y1, DeformMode mode) {
    if (m_intensity == 0 || !m_show || !m_source || !m_field || m_radius < 1 || !m_window) return;
    int m = mode;
    if (m_intensity < 0) m = DEFORM_BULGE;
    if (m < DEFORM_PINCH || m > DEFORM_TWIRL_B) return;
    auto inImage = [&](int x, int y) { return x >= 0 && x < m_width && y >= 0 && y < m_height; };
    if (!inImage(x0, y0) || !inImage(x1, y1)) return;
    m_power = std::fabs(m_intensity);
    m_mode = m;
    if (m == DEFORM_MOVE) {
        // The stroke is cut into steps of about half a radius.
        const double dx = x0 - x1, dy = y0 - y1;
        const int n = 1 + static_cast<int>(2 * std::sqrt(dx * dx + dy * dy) / m_radius);
        const double sx = dx / n, sy = dy / n;
        for (int k = 1; k <= n; ++k)
            Deform(m_show, static_cast<int>(x1 + k * sx), static_cast<int>(y1 + k * sy), -sx, -sy);
    } else {
        Deform(m_show, x0, y0, 0, 0);
    }
}

void CLiquify::Deform(unsigned char *image, int x, int y, double dirX, double dirY) {
    const int r = m_radius, side = 2 * r + 1;
    const int iLo = -(x < r ? x : r), jLo = -(y < r ? y : r);
    const int iHi = m_width - 1 - x < r ? m_width - 1 - x : r;
    const int jHi = m_height - 1 - y < r ? m_height - 1 - y : r;
    const double p = m_power;
    for (int j = jLo; j <= jHi; ++j) {
        for (int i = iLo; i <= iHi; ++i) {
            const int t = (i * i + j * j) / r;
            if (t >= r) continue;
            const double k = m_falloff[t];
            double *w = m_window + 2 * (static_cast<size_t>(j + r) * side + (i + r));
            const int px = x + i, py = y + j;
            if (m_mode == DEFORM_RESTORE) {
                const double *f = m_field + 2 * (static_cast<size_t>(py) * m_width + px);
                w[0] = f[0] * (1 - p * 0.5 * k);
                w[1] = f[1] * (1 - p * 0.5 * k);
            } else {
                double ux = 0, uy = 0;
                switch (m_mode) {
                    case DEFORM_PINCH: ux = -(i * (k * 0.1 * p)), uy = -(j * (k * 0.1 * p)); break;
                    case DEFORM_BULGE: ux = i * (k * 0.1 * p), uy = j * (k * 0.1 * p); break;
                    case DEFORM_MOVE: ux = k * p * dirX, uy = k * p * dirY; break;
                    case DEFORM_TWIRL_A: ux = -(j * (k * p * 0.5)), uy = i * (k * p * 0.5); break;
                    default: ux = j * (k * p * 0.5), uy = -(i * (k * p * 0.5)); break;
                }
                double dx, dy;
                GetDeformVector(px + ux, py + uy, &dx, &dy);
                dx += ux, dy += uy;
                // The displaced pixel stays in the image.
                if (px + dx < 0) dx = -px;
                if (px + dx > m_width - 1) dx = m_width - 1 - px;
                if (py + dy < 0) dy = -py;
                if (py + dy > m_height - 1) dy = m_height - 1 - py;
                w[0] = dx, w[1] = dy;
            }
            GetPoint(px + w[0], py + w[1], px, py, m_source, image);
        }
    }
    // Only now does the field take the stroke: until here every sample saw
    // the field as it was.
    for (int j = jLo; j <= jHi; ++j)
        for (int i = iLo; i <= iHi; ++i) {
            if ((i * i + j * j) / r >= r) continue;
            const double *w = m_window + 2 * (static_cast<size_t>(j + r) * side + (i + r));
            double *f = m_field + 2 * (static_cast<size_t>(y + j) * m_width + (x + i));
            f[0] = w[0], f[1] = w[1];
        }
}

void CLiquify::GetDeformVector(double x, double y, double *dx, double *dy) {
    // Clamped below at 0 (NaN too), and to the last cell at the far end; a
    // field one pixel wide or high has no second cell and repeats the first.
    auto clampCell = [](double v, int size) {
        if (!(v >= 0)) return 0.0;
        if (v >= size - 1) return size >= 2 ? static_cast<double>(size - 2) : 0.0;
        return v;
    };
    x = clampCell(x, m_width);
    y = clampCell(y, m_height);
    const int ix = static_cast<int>(x), iy = static_cast<int>(y);
    const double fx = x - ix, fy = y - iy;
    const int ix1 = ix + 1 < m_width ? ix + 1 : ix, iy1 = iy + 1 < m_height ? iy + 1 : iy;
    const double *f00 = m_field + 2 * (static_cast<size_t>(iy) * m_width + ix);
    const double *f01 = m_field + 2 * (static_cast<size_t>(iy) * m_width + ix1);
    const double *f10 = m_field + 2 * (static_cast<size_t>(iy1) * m_width + ix);
    const double *f11 = m_field + 2 * (static_cast<size_t>(iy1) * m_width + ix1);
    for (int c = 0; c < 2; ++c) {
        const double v = (1 - fx) * (1 - fy) * f00[c] + fx * (1 - fy) * f01[c] + (1 - fx) * fy * f10[c] + fx * fy * f11[c];
        (c == 0 ? *dx : *dy) = v;
    }
}

void CLiquify::GetPoint(double x, double y, int dstX, int dstY, unsigned char *src, unsigned char *dst) {
    if (!(x >= 0 && y >= 0 && x < m_width && y < m_height)) return;
    if (dstX < 0 || dstY < 0 || dstX >= m_width || dstY >= m_height) return;
    detail::SampleBicubic(src, m_width, m_height, static_cast<float>(x), static_cast<float>(y),
                          dst + (static_cast<size_t>(dstY) * m_width + dstX) * 4);
}

void CLiquify::AutoProcImage(int left, int top, int right, int bottom, int) {
    if (m_radius < 1) return;
    // Counted in 64 bits so that a box near the int range cannot overflow;
    // strokes outside the image do nothing anyway.
    for (long long y = top; y < bottom; y += m_radius) {
        const int row = static_cast<int>(y);
        if (static_cast<long long>(left) + m_radius <= INT_MAX) ProcImage(left + m_radius, row, left, row, DEFORM_MOVE);
        if (static_cast<long long>(right) - m_radius >= INT_MIN) ProcImage(right - m_radius, row, right, row, DEFORM_MOVE);
    }
}

}  // namespace klav
