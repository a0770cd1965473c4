// Tone curves, the SFDSP tone routines and the mask files.
#include "sfcurve.h"

#include "common.h"
#include "sfdsp.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace klav {

namespace {
using detail::ClampByte;
using detail::TruncByte;
void Identity(unsigned char *t) {
    for (int i = 0; i < 256; ++i) t[i] = static_cast<unsigned char>(i);
}
}  // namespace

SFCurve::SFCurve() : m_master(detail::NewArray<unsigned char>({256})), m_channels{} {
    for (unsigned char *&c : m_channels) c = detail::NewArray<unsigned char>({256});
    Reset();
}

SFCurve::~SFCurve() {
    delete[] m_master;
    for (unsigned char *c : m_channels) delete[] c;
}

void SFCurve::Reset() {
    Identity(m_master);
    for (unsigned char *c : m_channels) Identity(c);
}

void SFCurve::GetCurveByPoints(KvPointI *points, int count, Channel channel) {
    unsigned char *table = nullptr;
    if (channel == CHANNEL_MASTER) table = m_master;
    else if (channel >= CHANNEL_COMPOSITE && channel <= CHANNEL_BLUE) table = m_channels[channel];
    getBezierPoints(points, count, table);
}

void SFCurve::getBezierPoints(KvPointI *points, int count, unsigned char *table) {
    if (!points || !table || count < 1) return;
    const KvPointI *P = points;
    const int n = count;
    // Outside the points the curve holds the end values.
    const int firstX = std::max(0, std::min(255, P[0].x)), lastX = std::max(0, std::min(255, P[n - 1].x));
    for (int i = 0; i < firstX; ++i) table[i] = ClampByte(P[0].y);
    for (int i = lastX; i < 256; ++i) table[i] = ClampByte(P[n - 1].y);
    if (n == 1) {
        std::memset(table, ClampByte(P[0].y), 256);
        return;
    }
    // Control values of the spline (only y takes part in the samples).
    std::vector<long long> B(static_cast<size_t>(n));
    B[0] = P[0].y;
    B[n - 1] = P[n - 1].y;
    if (n == 3) {
        B[1] = (6LL * P[1].y - P[0].y - P[2].y) >> 2;
    } else if (n > 3) {
        // B[i-1] + 4 B[i] + B[i+1] = 6 P[i]: doubles for the diagonal and
        // the multipliers, integers (truncated at each step) for the rest.
        std::vector<double> diag(static_cast<size_t>(n), 4.0);
        std::vector<long long> rhs(static_cast<size_t>(n), 0);
        for (int i = 1; i <= n - 2; ++i) rhs[i] = 6LL * P[i].y;
        rhs[1] -= B[0];
        rhs[n - 2] -= B[n - 1];
        for (int i = 2; i <= n - 2; ++i) {
            const double mult = 1.0 / diag[i - 1];
            diag[i] = 4.0 - mult;
            rhs[i] = static_cast<long long>(rhs[i] - mult * rhs[i - 1]);
        }
        B[n - 2] = static_cast<long long>(rhs[n - 2] / diag[n - 2]);
        for (int i = n - 3; i >= 1; --i) B[i] = static_cast<long long>((rhs[i] - B[i + 1]) / diag[i]);
    }
    // Samples of every segment, written from entry 0 upward.
    int at = 0;
    for (int i = 0; i + 1 < n && at < 256; ++i) {
        long long steps = std::llabs(static_cast<long long>(P[i + 1].x) - P[i].x);
        if (steps == 0) steps = 1;
        const long long c0 = B[i], c1 = B[i + 1];
        const long long q1 = (2 * c0 + c1) / 3, q2 = (2 * c1 + c0) / 3;
        for (long long j = 0; j < steps && at < 256; ++j) {
            const double t = static_cast<double>(j) / static_cast<double>(steps), u = 1 - t;
            const double v = u * u * u * P[i].y + 3 * u * u * t * q1 + 3 * u * t * t * q2 + t * t * t * P[i + 1].y;
            table[at++] = TruncByte(std::trunc(v));
        }
    }
}

void SFCurve::ApplyCurve(Channel channel, unsigned char *image, int rows, int columns) {
    if (!detail::ValidImage(image, columns, rows)) return;
    unsigned char A[256], B[256], C[256];
    for (int i = 0; i < 256; ++i) {
        A[i] = m_master[m_channels[1][i]];
        B[i] = m_master[m_channels[2][i]];
        C[i] = m_master[m_channels[3][i]];
    }
    const bool r = channel == CHANNEL_RED || channel == CHANNEL_MASTER;
    const bool g = channel == CHANNEL_GREEN || channel == CHANNEL_MASTER;
    const bool b = channel == CHANNEL_BLUE || channel == CHANNEL_MASTER;
    if (!r && !g && !b) return;
    const size_t n = detail::CheckedSize({rows, columns});
    for (size_t i = 0; i < n; ++i) {
        unsigned char *p = image + i * 4;
        if (r) p[0] = A[p[0]];
        if (g) p[1] = B[p[1]];
        if (b) p[2] = C[p[2]];
    }
}

// ---------------------------------------------------------------- SFDSP

bool SFDSP::SaveMaskImage(const char *path, unsigned char *data, int width, int height) {
    return SaveBinChannel(path, data, width, height, 1);
}

bool SFDSP::SaveBinChannel(const char *path, unsigned char *data, int width, int height, int channels) {
    if (!path || !data || channels < 1 || width < 0 || height < 0) return false;
    FILE *f = std::fopen(path, "wb");
    if (!f) return false;
    const unsigned char header[8] = {
        static_cast<unsigned char>(width), static_cast<unsigned char>(width >> 8),
        static_cast<unsigned char>(width >> 16), static_cast<unsigned char>(width >> 24),
        static_cast<unsigned char>(height), static_cast<unsigned char>(height >> 8),
        static_cast<unsigned char>(height >> 16), static_cast<unsigned char>(height >> 24)};
    bool ok = std::fwrite(header, 1, 8, f) == 8;
    const size_t bytes = detail::CheckedSize({width, height, channels});
    ok = ok && std::fwrite(data, 1, bytes, f) == bytes;
    return std::fclose(f) == 0 && ok;
}

bool SFDSP::LoadMaskImage(const char *path, unsigned char **data, int &width, int &height) {
    if (!path || !data) return false;
    FILE *f = std::fopen(path, "rb");
    if (!f) return false;
    unsigned char header[8] = {0};
    const size_t got = std::fread(header, 1, 8, f);
    auto word = [&](int at) {
        return static_cast<int>(static_cast<unsigned>(header[at]) | static_cast<unsigned>(header[at + 1]) << 8 |
                                static_cast<unsigned>(header[at + 2]) << 16 | static_cast<unsigned>(header[at + 3]) << 24);
    };
    const int w = word(0), h = word(4);
    // A header that names no image, or more bytes than an int counts, is
    // not a mask file.
    if (got < 8 || w <= 0 || h <= 0 || static_cast<long long>(w) * h > INT_MAX) {
        std::fclose(f);
        return false;
    }
    const size_t bytes = static_cast<size_t>(w) * static_cast<size_t>(h);
    unsigned char *block = static_cast<unsigned char *>(std::calloc(bytes, 1));
    if (!block) {
        std::fclose(f);
        throw std::bad_alloc();
    }
    // A short file leaves the missing bytes at zero.
    (void)std::fread(block, 1, bytes, f);
    std::fclose(f);
    *data = block;
    width = w;
    height = h;
    return true;
}

void SFDSP::GeneCurveMiddle(unsigned char *table, int x, int y) {
    if (!table) return;
    KvPointI pts[3] = {KvPointI(0, 0), KvPointI(x, y), KvPointI(255, 255)};
    SFCurve curve;
    curve.getBezierPoints(pts, 3, table);
}

bool SFDSP::ImageMix(unsigned char *first, unsigned char *second, int width, int height, int percent,
                     int storeInSecond, unsigned char *mask) {
    if (!first || !second) return false;
    if (width < 1 || height < 1) return true;
    unsigned char *out = storeInSecond ? second : first;
    const size_t n = detail::CheckedSize({width, height});
    const long long pc = std::max(-100000, std::min(100000, percent));
    for (size_t i = 0; i < n; ++i) {
        const long long k = mask ? mask[i] * pc / 255 : pc;
        for (int c = 0; c < 3; ++c) {
            const long long v = (second[i * 4 + c] * k + first[i * 4 + c] * (100 - k)) / 100;
            out[i * 4 + c] = static_cast<unsigned char>(v);
        }
    }
    return true;
}

void SFDSP::Sharp(unsigned char *image, unsigned char *blurred, int width, int height, float amount) {
    if (!detail::ValidImage(image, width, height) || !blurred || !(amount == amount)) return;
    const float limited = std::max(-1000.0f, std::min(1000.0f, amount));
    const long long s = static_cast<long long>(limited * 16384.0f + 0.5f);
    const size_t n = detail::CheckedSize({width, height});
    for (size_t i = 0; i < n; ++i)
        for (int c = 0; c < 3; ++c) {
            const long long v = (image[i * 4 + c] * (s + 16384) - blurred[i * 4 + c] * s) >> 14;
            image[i * 4 + c] = static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v));
        }
}

void SFDSP::HueSaturationBright(unsigned char *image, int width, int height, int hue, int saturation,
                                int brightness) {
    if (!detail::ValidImage(image, width, height)) return;
    const size_t n = detail::CheckedSize({width, height});
    for (size_t i = 0; i < n; ++i) {
        unsigned char *p = image + i * 4;
        float h, s, v;
        RGBtoHSB(p[0], p[1], p[2], h, s, v);
        h = std::max(0.0f, std::min(360.0f, h + static_cast<float>(hue)));
        s = std::max(0.0f, std::min(1.0f, s + static_cast<float>(saturation) * 0.01f));
        v = std::max(0.0f, std::min(1.0f, v + static_cast<float>(brightness) * 0.01f));
        HSBtoRGB(h, s, v, p[0], p[1], p[2]);
    }
}

void SFDSP::Saturateconst_Faster(unsigned char *image, long width, long height, long value) {
    if (!image || width < 1 || height < 1) return;
    const double s = std::max(-1000L, std::min(1000L, value)) * 0.01 + 1, k = 1 - s;
    const long m = static_cast<long>(s * 256);
    const long wr = static_cast<long>(k * 79), wg = static_cast<long>(k * 156), wb = static_cast<long>(k * 21);
    const size_t n = detail::CheckedSize({width, height});
    for (size_t i = 0; i < n; ++i) {
        unsigned char *p = image + i * 4;
        const long g = p[0] * wr + p[1] * wg + p[2] * wb;
        for (int c = 0; c < 3; ++c) {
            const long v = p[c] * m + g;
            p[c] = static_cast<unsigned char>(v < 256 ? 0 : ((v >> 8) >= 256 ? 255 : (v >> 8)));
        }
    }
}

void SFDSP::Saturateconst_Faster(unsigned char *image, long imageWidth, long left, long top, long rectWidth,
                                 long rectHeight, long value) {
    if (!image || rectHeight < 1 || rectWidth < 1 || imageWidth < 1 || left < 0 || top < 0 ||
        left + rectWidth > imageWidth)
        return;
    const long v = std::max(-1000L, std::min(1000L, value));
    const double s = v < 1 ? 1 + 0.01 * v : 1 + 0.01 * 3 * v, k = 1 - s;
    for (long y = top; y < top + rectHeight; ++y)
        for (long x = left; x < left + rectWidth; ++x) {
            unsigned char *p = image + (static_cast<size_t>(y) * imageWidth + x) * 4;
            const double g = p[0] * k * 0.30859375 + p[1] * k * 0.609375 + p[2] * k * 0.08203125;
            for (int c = 0; c < 3; ++c) p[c] = TruncByte(std::trunc(p[c] * s + g));
        }
}

void SFDSP::HQCColor(unsigned char *image, int pixelCount, float strength) {
    if (!image || pixelCount <= 0 || !(strength == strength)) return;
    for (int i = 0; i < pixelCount; ++i) {
        unsigned char *p = image + static_cast<size_t>(i) * 4;
        const int mx = std::max<int>(p[0], std::max<int>(p[1], p[2])), mn = std::min<int>(p[0], std::min<int>(p[1], p[2]));
        const double L = (mx / 255.0 + mn / 255.0) / 2;
        double t[3];
        Color_HlsToRgb(0.098484, L, 0.897959, &t[0], &t[1], &t[2]);
        for (int c = 0; c < 3; ++c) p[c] = TruncByte(p[c] * (1 - strength) + strength * t[c]);
    }
}

void SFDSP::ShadowHighlightZdk(unsigned char *image, int width, int height, unsigned char *mask,
                               unsigned char *result) {
    if (!image || !mask || !result || width < 1 || height < 1) return;
    const size_t n = detail::CheckedSize({width, height});
    long long hist[256] = {0};
    auto luma = [&](size_t i) { return (30 * image[i * 4] + 59 * image[i * 4 + 1] + 11 * image[i * 4 + 2]) / 100; };
    for (size_t i = 0; i < n; ++i)
        if (mask[i]) hist[luma(i)]++;
    int top = 0;
    long long count = 0, sum = 0;
    for (int v = 0; v < 256; ++v) {
        if (hist[v]) top = v;
        count += hist[v];
        sum += hist[v] * v;
    }
    const int mean = static_cast<int>(sum / (count ? count : 1));
    std::memset(result, 0, n);
    if (top <= mean + 1) return;
    unsigned char table[256] = {0};
    const unsigned char high = static_cast<unsigned char>(std::min(255, static_cast<int>(top * 1.5)));
    for (int v = mean + (top - mean) / 4; v <= top; ++v) table[v] = high;
    for (size_t i = 0; i < n; ++i)
        if (mask[i]) result[i] = table[luma(i)];
}

void SFDSP::AdjustTone(unsigned char *image, int width, int height, float strength, bool keepColour) {
    if (!detail::ValidImage(image, width, height) || !(strength > 0)) return;
    strength = std::min(strength, 1.0f);
    const size_t n = detail::CheckedSize({width, height});
    long long hist[4][256] = {{0}};
    for (size_t i = 0; i < n; ++i) {
        const unsigned char *p = image + i * 4;
        hist[0][p[0]]++, hist[1][p[1]]++, hist[2][p[2]]++;
        hist[3][(30 * p[0] + 59 * p[1] + 11 * p[2]) / 100]++;
    }
    // The levels between the 0.5th and 99.5th percentiles go to 0..255.
    auto stretch = [&](const long long *h, unsigned char *map) {
        const long long cut = static_cast<long long>(n / 200);
        int lo = 0, hi = 255;
        for (long long acc = 0; lo < 255 && (acc += h[lo]) <= cut;) ++lo;
        for (long long acc = 0; hi > 0 && (acc += h[hi]) <= cut;) --hi;
        for (int v = 0; v < 256; ++v) {
            const double full = hi > lo ? (v - lo) * 255.0 / (hi - lo) : v;
            const double target = std::max(0.0, std::min(255.0, full));
            map[v] = static_cast<unsigned char>(std::lround(v + (target - v) * strength));
        }
    };
    unsigned char maps[3][256];
    if (keepColour) {
        stretch(hist[3], maps[0]);
        std::memcpy(maps[1], maps[0], 256);
        std::memcpy(maps[2], maps[0], 256);
    } else {
        for (int c = 0; c < 3; ++c) stretch(hist[c], maps[c]);
    }
    for (size_t i = 0; i < n; ++i)
        for (int c = 0; c < 3; ++c) image[i * 4 + c] = maps[c][image[i * 4 + c]];
}

void SFDSP::WeiMei(unsigned char *image, int width, int height) {
    if (!detail::ValidImage(image, width, height)) return;
    // A mid-tone lift (gamma 0.9) with red warmed by up to 6 levels and blue
    // cooled by up to 4, both strongest in the mid-tones and zero at black
    // and white.
    unsigned char maps[3][256];
    const double shift[3] = {6.0, 1.5, -4.0};
    for (int v = 0; v < 256; ++v) {
        const double lifted = 255.0 * std::pow(v / 255.0, 0.9);
        const double bell = std::sin(3.14159265358979 * v / 255.0);
        for (int c = 0; c < 3; ++c) maps[c][v] = TruncByte(std::lround(lifted + shift[c] * bell));
    }
    const size_t n = detail::CheckedSize({width, height});
    for (size_t i = 0; i < n; ++i)
        for (int c = 0; c < 3; ++c) image[i * 4 + c] = maps[c][image[i * 4 + c]];
}

}  // namespace klav
