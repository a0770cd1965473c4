// Selective colour: the whole-image form with its per-level map, and the
// one-pixel accumulating forms of SFDSP.
#include "selectivecolor.h"

#include "common.h"
#include "sfdsp.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace klav {

namespace {

// How far a channel byte may be pushed, by the byte (100 up to 128).
const int kT[256] = {
    100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100,
    100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100,
    100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100,
    100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100,
    100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100,
    100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100,
    100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100,
    100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100,
    100, 101, 103, 104, 106, 108, 109, 111, 113, 115, 116, 118, 120, 122, 124, 126,
    128, 130, 132, 134, 137, 139, 141, 143, 146, 148, 150, 153, 156, 158, 161, 163,
    166, 169, 172, 175, 178, 181, 184, 187, 190, 194, 197, 201, 204, 208, 212, 216,
    220, 224, 228, 232, 236, 241, 245, 250, 255, 260, 265, 271, 276, 282, 287, 293,
    300, 306, 312, 319, 326, 333, 341, 349, 357, 365, 374, 383, 392, 401, 412, 422,
    433, 444, 456, 468, 481, 495, 509, 524, 540, 556, 573, 591, 611, 631, 652, 675,
    700, 725, 753, 782, 814, 848, 884, 924, 966, 1013, 1063, 1119, 1180, 1247, 1322, 1405,
    1500, 1606, 1728, 1869, 2033, 2227, 2460, 2744, 3100, 3557, 4166, 5020, 6300, 8433, 12700, 25500,
};

// The divisor floor of dark bytes.
const unsigned char kU[129] = {
    0, 1, 1, 1, 2, 2, 2, 3, 3, 4, 4, 4, 5, 5, 6, 6,
    7, 7, 8, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13, 14,
    14, 15, 16, 16, 17, 17, 18, 18, 19, 19, 20, 21, 21, 22, 22, 23,
    23, 24, 25, 25, 26, 27, 27, 28, 28, 29, 30, 30, 31, 32, 32, 33,
    34, 34, 35, 36, 36, 37, 38, 38, 39, 40, 41, 41, 42, 43, 44, 44,
    45, 46, 47, 48, 49, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59,
    60, 61, 62, 63, 64, 65, 66, 67, 69, 70, 71, 72, 73, 75, 76, 77,
    78, 80, 81, 82, 84, 85, 86, 88, 89, 90, 92, 93, 94, 96, 97, 99,
    100,
};

inline int Clamp(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

// Ranks a pixel's channels: the indices of the highest, middle and lowest
// byte, ties going to a channel as the comparisons fall.
void Rank(const unsigned char *p, int &hi, int &mid, int &lo) {
    const int a = p[0] < p[1] ? 1 : 0, b = 1 - a;
    if (p[a] < p[2]) hi = 2, lo = a;
    else hi = a, lo = 2;
    mid = b;
    if (p[mid] < p[lo]) std::swap(mid, lo);
}

}  // namespace

void CSelectiveColor::Init() { std::memset(m_params, 0, sizeof m_params); }

int CSelectiveColor::MakeParam(int value, int black) {
    // Percentages far beyond the scale are limited first, so that the
    // products below stay in range.
    value = Clamp(value, -100000, 100000);
    black = Clamp(black, -100000, 100000);
    if (black == 0) return value;
    if (value == 0) return black;
    double r;
    if (value > 0 && black > 0) {
        r = value + black + value * static_cast<double>(black) * 0.01;
    } else if (value < 0 && black < 0) {
        const double a = -value, b = -black, m = std::max(a, b), n = std::min(a, b);
        r = -(m + n * (100 - m) * 0.01);
    } else {
        const double p = value > 0 ? value : black, q = value > 0 ? black : value;
        r = q + p * (100 + q) * 0.01;
    }
    return static_cast<int>(r);
}

void CSelectiveColor::SetSelectiveColor(eColorType type, int cyan, int magenta, int yellow, int black) {
    const int t = static_cast<int>(type);
    if (t < 0 || t > 8) return;
    m_params[t][0] = MakeParam(cyan, black);
    m_params[t][1] = MakeParam(magenta, black);
    m_params[t][2] = MakeParam(yellow, black);
}

void CSelectiveColor::InitMap(int value, unsigned char (*map)[54], int column) {
    if (value == 0) return;
    const int t = Clamp(value, -100, 100);
    for (int i = 0; i < 256; ++i) {
        if (i < 128) {
            const int m = t >= 1 ? i : 255 - i;
            map[i][column] = static_cast<unsigned char>(((t * m) >> 8) + 128);
            map[i][column + 1] = static_cast<unsigned char>(t > 0 ? std::max<int>(t, kU[i]) : 100);
        } else {
            map[i][column] = static_cast<unsigned char>(((t * (255 - i)) >> 8) + 128);
            map[i][column + 1] = 100;
        }
    }
}

void CSelectiveColor::Update(unsigned char *pixel, eColorType type, int weight, int &delta0, int &delta1,
                             int &delta2, unsigned char (*map)[54]) {
    int *delta[3] = {&delta0, &delta1, &delta2};
    const int t = static_cast<int>(type);
    for (int c = 0; c < 3; ++c) {
        if (m_params[t][c] == 0) continue;
        const unsigned char *row = map[pixel[c]];
        const int col = 6 * t + 2 * c;
        *delta[c] += (row[col] - 128) * weight / row[col + 1];
    }
}

void CSelectiveColor::Execute(unsigned char *image, int width, int height, unsigned char *mask) {
    if (!detail::ValidImage(image, width, height)) return;
    unsigned char map[256][54];
    bool flags[9] = {false};
    bool any = false;
    for (int t = 0; t < 9; ++t) {
        if (m_params[t][0] == 0 && m_params[t][1] == 0 && m_params[t][2] == 0) continue;
        for (int c = 0; c < 3; ++c) InitMap(m_params[t][c], map, 6 * t + 2 * c);
        flags[t] = any = true;
    }
    if (!any) return;
    const size_t n = detail::CheckedSize({width, height});
    for (size_t i = 0; i < n; ++i) {
        unsigned char *p = image + i * 4;
        int hi, mid, lo;
        Rank(p, hi, mid, lo);
        const int maxV = p[hi], midV = p[mid], minV = p[lo];
        const int d1 = maxV - midV, d2 = midV - minV;
        int d[3] = {0, 0, 0};
        auto add = [&](int type, bool holds, int weight) {
            if (flags[type] && holds) Update(p, static_cast<eColorType>(type), weight, d[0], d[1], d[2], map);
        };
        add(KV_SELECTIVE_RED, hi == 0 && d1 != 0, d1);
        add(KV_SELECTIVE_YELLOW, lo == 2 && d2 != 0, d2);
        add(KV_SELECTIVE_GREEN, hi == 1 && d1 != 0, d1);
        add(KV_SELECTIVE_CYAN, lo == 0 && d2 != 0, d2);
        add(KV_SELECTIVE_BLUE, hi == 2 && d1 != 0, d1);
        add(KV_SELECTIVE_MAGENTA, lo == 1 && d2 != 0, d2);
        add(KV_SELECTIVE_WHITE, minV >= 129, 2 * minV - 255);
        const int neutral = std::abs(255 - std::abs(maxV - 128) - std::abs(minV - 128));
        add(KV_SELECTIVE_NEUTRAL, !(maxV == 0 && minV == 0) && !(maxV == 255 && minV == 255) && neutral != 0, neutral);
        add(KV_SELECTIVE_BLACK, maxV < 128, 255 - 2 * maxV);
        for (int c = 0; c < 3; ++c) {
            const int v = Clamp(p[c] - d[c], 0, 255);
            p[c] = static_cast<unsigned char>(mask ? (v * mask[i] + p[c] * (255 - mask[i])) / 255 : v);
        }
    }
}

// ---------------------------------------------------------------- SFDSP

namespace {

// Adds one range's adjustment of one pixel to delta, for each non-zero
// parameter (cyan, magenta, yellow act on bytes 0, 1, 2). Parameters are
// limited to +-25500, the reach of the push table.
void AddSelective(const unsigned char *pixel, int weight, int *delta, int cyan, int magenta, int yellow) {
    const int params[3] = {cyan, magenta, yellow};
    for (int c = 0; c < 3; ++c) {
        if (params[c] == 0) continue;
        const int p = pixel[c];
        const int t = std::min(Clamp(params[c], -25500, 25500), kT[p]);
        const long long m = (t > 0 && p < 129) ? p : 256 - p;
        const long long A = m * weight * t;
        if (t >= 1 && p < 128) {
            const long long g = static_cast<long long>(std::max<int>(t, kU[p])) * 256;
            delta[c] += static_cast<int>((A + g / 2) / g);
        } else {
            delta[c] += static_cast<int>((A + 12800) / 25600);
        }
    }
}

}  // namespace

void SFDSP::KVSelectiveColorRed(unsigned char *p, int minValue, int midValue, int maxValue, int *delta, int cyan,
                                int magenta, int yellow) {
    (void)minValue;
    if (!p || !delta || !(p[0] > p[1] && p[0] > p[2])) return;
    AddSelective(p, maxValue - midValue, delta, cyan, magenta, yellow);
}

void SFDSP::KVSelectiveColorYellow(unsigned char *p, int minValue, int midValue, int maxValue, int *delta, int cyan,
                                   int magenta, int yellow) {
    (void)maxValue;
    if (!p || !delta || !(p[2] < p[1] && p[2] < p[0])) return;
    AddSelective(p, midValue - minValue, delta, cyan, magenta, yellow);
}

void SFDSP::KVSelectiveColorGreen(unsigned char *p, int minValue, int midValue, int maxValue, int *delta, int cyan,
                                  int magenta, int yellow) {
    (void)minValue;
    if (!p || !delta || !(p[1] > p[0] && p[1] > p[2])) return;
    AddSelective(p, maxValue - midValue, delta, cyan, magenta, yellow);
}

void SFDSP::KVSelectiveColorCyan(unsigned char *p, int minValue, int midValue, int maxValue, int *delta, int cyan,
                                 int magenta, int yellow) {
    (void)maxValue;
    if (!p || !delta || !(p[0] < p[1] && p[0] < p[2])) return;
    AddSelective(p, midValue - minValue, delta, cyan, magenta, yellow);
}

void SFDSP::KVSelectiveColorBlue(unsigned char *p, int minValue, int midValue, int maxValue, int *delta, int cyan,
                                 int magenta, int yellow) {
    (void)minValue;
    if (!p || !delta || !(p[2] > p[1] && p[2] > p[0])) return;
    AddSelective(p, maxValue - midValue, delta, cyan, magenta, yellow);
}

void SFDSP::KVSelectiveColorMagenta(unsigned char *p, int minValue, int midValue, int maxValue, int *delta, int cyan,
                                    int magenta, int yellow) {
    (void)maxValue;
    if (!p || !delta || !(p[1] < p[0] && p[1] < p[2])) return;
    AddSelective(p, midValue - minValue, delta, cyan, magenta, yellow);
}

void SFDSP::KVSelectiveColorWhite(unsigned char *p, int minValue, int midValue, int maxValue, int *delta, int cyan,
                                  int magenta, int yellow) {
    (void)midValue, (void)maxValue;
    if (!p || !delta || !(p[0] >= 129 && p[1] >= 129 && p[2] >= 129)) return;
    AddSelective(p, static_cast<int>(2 * (minValue - 127.5)), delta, cyan, magenta, yellow);
}

void SFDSP::KVSelectiveColorGray(unsigned char *p, int minValue, int midValue, int maxValue, int *delta, int cyan,
                                 int magenta, int yellow) {
    (void)midValue;
    if (!p || !delta) return;
    if (p[0] == p[1] && p[1] == p[2] && (p[0] == 0 || p[0] == 255)) return;
    AddSelective(p, std::abs(255 - std::abs(maxValue - 128) - std::abs(minValue - 128)), delta, cyan, magenta, yellow);
}

void SFDSP::KVSelectiveColorBlack(unsigned char *p, int minValue, int midValue, int maxValue, int *delta, int cyan,
                                  int magenta, int yellow) {
    (void)minValue, (void)midValue;
    if (!p || !delta || !(p[0] < 128 && p[1] < 128 && p[2] < 128)) return;
    AddSelective(p, static_cast<int>(2 * (127.5 - maxValue)), delta, cyan, magenta, yellow);
}

}  // namespace klav
