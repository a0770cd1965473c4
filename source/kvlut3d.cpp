// 3D lookup tables: the fixed-point whole-image forms and the one-pixel
// float-coordinate forms.
#include "kvlut3d.h"

#include "common.h"
#include "sfdsp.h"

#include <cmath>

namespace klav {

namespace {

// Coordinates (cell << 7 | fraction) and byte offsets of one grid.
struct Grid {
    int coord[256];
    int offR[65], offG[65], offB[65];
};

void FillGrid(Grid &g, bool grid16) {
    const int n = grid16 ? 16 : 64;
    for (int i = 0; i < 256; ++i)
        // Grid 64 scales by a quarter of a level: 255 gives cell 63 with
        // fraction 95, between the last entry and its repeat.
        g.coord[i] = grid16 ? i * 1920 / 255 : (i == 0 ? 0 : 32 * i - 1);
    for (int i = 0; i <= n; ++i) {
        const int k = i < n ? i : n - 1;  // the extra entry repeats the last
        if (grid16) {
            g.offR[i] = 4 * k, g.offG[i] = 256 * k, g.offB[i] = 64 * (k % 4) + 4096 * (k / 4);
        } else {
            g.offR[i] = 4 * k, g.offG[i] = 2048 * k, g.offB[i] = 256 * (k % 8) + 131072 * (k / 8);
        }
    }
}

// The interpolated colour of one pixel; `mask` null means full effect.
inline void LutPixel(unsigned char *p, const unsigned char *table, const Grid &g, const unsigned char *mask) {
    const int cr = g.coord[p[0]], cg = g.coord[p[1]], cb = g.coord[p[2]];
    const int fx = cr & 127, fy = cg & 127, fz = cb & 127;
    const int r0 = g.offR[cr >> 7], r1 = g.offR[(cr >> 7) + 1];
    const int g0 = g.offG[cg >> 7], g1 = g.offG[(cg >> 7) + 1];
    const int b0 = g.offB[cb >> 7], b1 = g.offB[(cb >> 7) + 1];
    const unsigned char *c000 = table + r0 + g0 + b0, *c100 = table + r1 + g0 + b0;
    const unsigned char *c010 = table + r0 + g1 + b0, *c110 = table + r1 + g1 + b0;
    const unsigned char *c001 = table + r0 + g0 + b1, *c101 = table + r1 + g0 + b1;
    const unsigned char *c011 = table + r0 + g1 + b1, *c111 = table + r1 + g1 + b1;
    int out[3];
    for (int c = 0; c < 3; ++c) {
        const int e00 = (c100[c] - c000[c]) * fx + c000[c] * 128;
        const int e10 = (c110[c] - c010[c]) * fx + c010[c] * 128;
        const int e01 = (c101[c] - c001[c]) * fx + c001[c] * 128;
        const int e11 = (c111[c] - c011[c]) * fx + c011[c] * 128;
        const int lo = (((e10 - e00) * fy + 64) >> 7) + e00;
        const int hi = (((e11 - e01) * fy + 64) >> 7) + e01;
        const int v = (((hi - lo) * fz + 128) >> 14) + ((lo + 64) >> 7);
        out[c] = v < 0 ? 0 : (v > 255 ? 255 : v);
    }
    for (int c = 0; c < 3; ++c) {
        if (mask) {
            const int k = *mask;
            p[c] = static_cast<unsigned char>(p[c] + ((out[c] - p[c]) * k) / 255);
        } else {
            p[c] = static_cast<unsigned char>(out[c]);
        }
    }
}

void LutImage(unsigned char *image, unsigned char *table, int width, int height, bool grid16,
              const unsigned char *mask) {
    if (!detail::ValidImage(image, width, height) || !table) return;
    Grid g;
    FillGrid(g, grid16);
    const size_t n = detail::CheckedSize({width, height});
    for (size_t i = 0; i < n; ++i) LutPixel(image + i * 4, table, g, mask ? mask + i : nullptr);
}

// One pixel with float cell coordinates; n is the last cell (15 or 63).
void LutOnePixel(unsigned char *pixel, const unsigned char *table, float scale, int firstChannel, int endChannel,
                 int n, bool grid16) {
    if (!pixel || !table) return;
    Grid g;
    FillGrid(g, grid16);
    const float f[3] = {pixel[0] * scale, pixel[1] * scale, pixel[2] * scale};
    int c0[3], c1[3];
    float frac[3];
    for (int k = 0; k < 3; ++k) {
        // A scale past the grid (or not a number) stays on the grid.
        const float v = f[k] > 0 ? (f[k] < static_cast<float>(n) ? f[k] : static_cast<float>(n)) : 0.0f;
        c0[k] = static_cast<int>(v);
        c1[k] = c0[k] + 1 < n ? c0[k] + 1 : n;
        frac[k] = v - static_cast<float>(c0[k]);
    }
    const int wr = static_cast<int>(frac[0] * 1048576.0f), wg = static_cast<int>(frac[1] * 1024.0f),
              wb = static_cast<int>(frac[2] * 1024.0f);
    if (firstChannel >= endChannel) return;
    if (firstChannel < 0) firstChannel = 0;
    if (endChannel > 4) endChannel = 4;
    unsigned char result[4];
    for (int c = firstChannel; c < endChannel; ++c) {
        auto at = [&](int r, int gg, int b) {
            return static_cast<int>(table[g.offR[r] + g.offG[gg] + g.offB[b] + c]);
        };
        int alongR[2][2];
        for (int gi = 0; gi < 2; ++gi)
            for (int bi = 0; bi < 2; ++bi) {
                const int gg = gi ? c1[1] : c0[1], b = bi ? c1[2] : c0[2];
                alongR[gi][bi] = static_cast<int>((static_cast<long long>(at(c0[0], gg, b)) * (1048576 - wr) +
                                                   static_cast<long long>(at(c1[0], gg, b)) * wr) >> 10);
            }
        const long long lo = (static_cast<long long>(alongR[0][0]) * (1024 - wg) + static_cast<long long>(alongR[1][0]) * wg) >> 10;
        const long long hi = (static_cast<long long>(alongR[0][1]) * (1024 - wg) + static_cast<long long>(alongR[1][1]) * wg) >> 10;
        // Stored as a byte with no clamp.
        result[c] = static_cast<unsigned char>((lo * (1024 - wb) + hi * wb) >> 20);
    }
    for (int c = firstChannel; c < endChannel; ++c) pixel[c] = result[c];
}

}  // namespace

void CKVLut3D::Run(unsigned char *image, unsigned char *table, int width, int height, bool, bool grid16) {
    if (grid16)
        KVLut3DC16(image, table, width, height);
    else
        KVLut3DC64(image, table, width, height);
}

void CKVLut3D::KVLut3DC16(unsigned char *image, unsigned char *table, int width, int height) {
    LutImage(image, table, width, height, true, nullptr);
}

void CKVLut3D::KVLut3DC64(unsigned char *image, unsigned char *table, int width, int height) {
    LutImage(image, table, width, height, false, nullptr);
}

bool CKVLut3D::KVLut3DNeon16(unsigned char *, unsigned char *, int, int) { return false; }
bool CKVLut3D::KVLut3DNeon64(unsigned char *, unsigned char *, int, int) { return false; }

void SFDSP::KVLut3D(unsigned char *image, unsigned char *table, int width, int height) {
    CKVLut3D::KVLut3DC16(image, table, width, height);
}

void SFDSP::KVLut3D(unsigned char *image, unsigned char *table, int width, int height, unsigned char *mask) {
    if (!mask) return;
    LutImage(image, table, width, height, true, mask);
}

void SFDSP::Lut3D16(unsigned char *pixel, unsigned char *table, float scale, int firstChannel, int endChannel) {
    LutOnePixel(pixel, table, scale, firstChannel, endChannel, 15, true);
}

void SFDSP::Lut3D64(unsigned char *pixel, unsigned char *table, float scale, int firstChannel, int endChannel) {
    LutOnePixel(pixel, table, scale, firstChannel, endChannel, 63, false);
}

}  // namespace klav
