// Colour conversions: the fixed-point and float conversions of
// CColorTransformer, and the HLS, HSL, HSB and byte-scaled Lab conversions
// of SFDSP. Each family keeps its own constants.
#include "colortransformer.h"

#include "common.h"
#include "sfdsp.h"

#include <cmath>
#include <algorithm>
#include <mutex>
#if defined(__SSE2__)
#include <emmintrin.h>
#include <cstring>
#include <cstdint>
#endif

namespace klav {

namespace {

using detail::ClampByte;
using detail::TruncByte;

std::once_flag g_ycbcrOnce, g_grayOnce, g_decodeOnce;

}  // namespace

namespace detail {
// Whether the channel form computes the table products directly (the fast
// path) or looks them up (the plain path); the bytes are the same.
bool g_channelArithmetic = true;
// Whether DecomposeToHSL takes four pixels a step in SSE2 (the fast path)
// or calls RGBtoHSL for each pixel (the plain path); the bytes are the same.
bool g_hslVector = true;
}  // namespace detail

using detail::g_channelArithmetic;

CColorTransformer::CColorTransformer() {}

CColorTransformer *CColorTransformer::GetInstance() {
    // Built once, safely from any thread, released at process exit.
    static CColorTransformer instance;
    return &instance;
}

void CColorTransformer::FillYCbCrTables() {
    std::call_once(g_ycbcrOnce, [this] {
        for (int i = 0; i < 256; ++i) {
            m_yR[i] = 4915 * i, m_yG[i] = 9667 * i, m_yB[i] = 1802 * i;
            m_cbR[i] = -2764 * i, m_cbG[i] = -5428 * i, m_cbB[i] = 8192 * i;
            m_crR[i] = 8192 * i, m_crG[i] = -6860 * i, m_crB[i] = -1332 * i;
            m_rFromCr[i] = -2940160 + 22970 * i;
            m_gFromCr[i] = -1497600 + 11700 * i;
            m_gFromCb[i] = -721664 + 5638 * i;
            m_bFromCb[i] = -3716096 + 29032 * i;
        }
    });
}

void CColorTransformer::FillGrayTables() {
    std::call_once(g_grayOnce, [this] {
        for (int i = 0; i < 256; ++i) m_grayR[i] = 4915 * i, m_grayG[i] = 9667 * i, m_grayB[i] = 1802 * i;
    });
}

void CColorTransformer::FillDecodeTable() {
    std::call_once(g_decodeOnce, [this] {
        for (int i = 0; i < 256; ++i) {
            const float c = static_cast<float>(i) / 255.0f;
            m_decode[i] = c > 0.04045f ? std::pow((c + 0.055f) / 1.055f, 2.4f) : c / 12.92f;
        }
    });
}

void CColorTransformer::RGB2YCbCr_Fast(unsigned char &r, unsigned char &g, unsigned char &b, unsigned char &y,
                                       unsigned char &cb, unsigned char &cr) {
    FillYCbCrTables();
    // Y needs no clamp: the weights sum to 16384.
    y = static_cast<unsigned char>((m_yR[r] + m_yG[g] + m_yB[b] + 8192) >> 14);
    cb = ClampByte((m_cbR[r] + m_cbG[g] + m_cbB[b] + 2105344) >> 14);
    cr = ClampByte((m_crR[r] + m_crG[g] + m_crB[b] + 2105344) >> 14);
}

void CColorTransformer::YCbCr2RGB_Fast(unsigned char &y, unsigned char &cb, unsigned char &cr, unsigned char &r,
                                       unsigned char &g, unsigned char &b) {
    FillYCbCrTables();
    const int base = y * 16384 + 8192;
    r = ClampByte((base + m_rFromCr[cr]) >> 14);
    g = ClampByte((base - m_gFromCb[cb] - m_gFromCr[cr]) >> 14);
    b = ClampByte((base + m_bFromCb[cb]) >> 14);
}

void CColorTransformer::RGB2YCbCr(unsigned char &r, unsigned char &g, unsigned char &b, unsigned char &y,
                                  unsigned char &cb, unsigned char &cr) {
    y = TruncByte(0.299 * r + 0.587 * g + 0.114 * b + 0.4);
    cb = TruncByte(0.5 * b - (0.3313 * g + 0.1687 * r) + 128.4);
    cr = TruncByte(0.5 * r - 0.4187 * g - 0.0813 * b + 128.4);
}

void CColorTransformer::YCbCr2RGB(unsigned char &y, unsigned char &cb, unsigned char &cr, unsigned char &r,
                                  unsigned char &g, unsigned char &b) {
    r = TruncByte(1.402 * (cr - 128) + y);
    g = TruncByte(y - 0.34414 * (cb - 128) - 0.71414 * (cr - 128));
    b = TruncByte(1.772 * (cb - 128) + y);
}

void CColorTransformer::sRGB_Pixel_RGB2GRAY_FastInit() { FillGrayTables(); }

void CColorTransformer::sRGB_Pixel_RGB2GRAY_FastProcess(unsigned char r, unsigned char g, unsigned char b,
                                                        unsigned char &grey) {
    grey = static_cast<unsigned char>((m_grayR[r] + m_grayG[g] + m_grayB[b] + 8192) >> 14);
}

void CColorTransformer::sRGB_Pixel_RGB2GRAY_Fast(unsigned char &r, unsigned char &g, unsigned char &b,
                                                 unsigned char &grey) {
    FillGrayTables();
    sRGB_Pixel_RGB2GRAY_FastProcess(r, g, b, grey);
}

void CColorTransformer::sRGB_Channel_RGB2YCbCr_Fast(unsigned char *image, unsigned char *y, unsigned char *cb,
                                                    unsigned char *cr, int pixelCount) {
    if (!image || !y || !cb || !cr || pixelCount <= 0) return;
    FillYCbCrTables();
    if (g_channelArithmetic) {
        // Every table entry is its index times a constant, so the products
        // can be formed directly; the sums, and so the bytes, are those of
        // the tables. SSE2 (the x86-64 baseline) takes four pixels a step.
        int i = 0;
#if defined(__SSE2__)
        const __m128i wy = _mm_setr_epi16(4915, 9667, 1802, 0, 4915, 9667, 1802, 0);
        const __m128i wcb = _mm_setr_epi16(-2764, -5428, 8192, 0, -2764, -5428, 8192, 0);
        const __m128i wcr = _mm_setr_epi16(8192, -6860, -1332, 0, 8192, -6860, -1332, 0);
        const __m128i zero = _mm_setzero_si128();
        const __m128i roundY = _mm_set1_epi32(8192), roundC = _mm_set1_epi32(2105344);
        // Sums of adjacent lane pairs of two madd results: the value of each
        // of four pixels.
        auto pixelSums = [&](__m128i lo, __m128i hi, __m128i w) {
            const __m128i a = _mm_madd_epi16(lo, w), b = _mm_madd_epi16(hi, w);
            const __m128i evens = _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(2, 0, 2, 0)));
            const __m128i odds = _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(3, 1, 3, 1)));
            return _mm_add_epi32(evens, odds);
        };
        auto store4 = [&](unsigned char *out, __m128i v) {
            const __m128i packed = _mm_packus_epi16(_mm_packs_epi32(v, v), zero);
            const int32_t word = _mm_cvtsi128_si32(packed);
            std::memcpy(out, &word, 4);
        };
        for (; i + 4 <= pixelCount; i += 4) {
            const __m128i px = _mm_loadu_si128(reinterpret_cast<const __m128i *>(image + static_cast<size_t>(i) * 4));
            const __m128i lo = _mm_unpacklo_epi8(px, zero), hi = _mm_unpackhi_epi8(px, zero);
            store4(y + i, _mm_srai_epi32(_mm_add_epi32(pixelSums(lo, hi, wy), roundY), 14));
            store4(cb + i, _mm_srai_epi32(_mm_add_epi32(pixelSums(lo, hi, wcb), roundC), 14));
            store4(cr + i, _mm_srai_epi32(_mm_add_epi32(pixelSums(lo, hi, wcr), roundC), 14));
        }
#endif
        for (; i < pixelCount; ++i) {
            const unsigned char *p = image + static_cast<size_t>(i) * 4;
            const int r = p[0], g = p[1], b = p[2];
            y[i] = static_cast<unsigned char>((4915 * r + 9667 * g + 1802 * b + 8192) >> 14);
            const int u = (-2764 * r - 5428 * g + 8192 * b + 2105344) >> 14;
            const int v = (8192 * r - 6860 * g - 1332 * b + 2105344) >> 14;
            cb[i] = static_cast<unsigned char>(u < 0 ? 0 : (u > 255 ? 255 : u));
            cr[i] = static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v));
        }
        return;
    }
    // The per-pixel formulas with the tables filled once for the buffer.
    for (int i = 0; i < pixelCount; ++i) {
        const unsigned char *p = image + static_cast<size_t>(i) * 4;
        y[i] = static_cast<unsigned char>((m_yR[p[0]] + m_yG[p[1]] + m_yB[p[2]] + 8192) >> 14);
        cb[i] = ClampByte((m_cbR[p[0]] + m_cbG[p[1]] + m_cbB[p[2]] + 2105344) >> 14);
        cr[i] = ClampByte((m_crR[p[0]] + m_crG[p[1]] + m_crB[p[2]] + 2105344) >> 14);
    }
}

void CColorTransformer::sRGB_Channel_YCbCr2RGB_Fast(unsigned char *image, unsigned char *y, unsigned char *cb,
                                                    unsigned char *cr, int pixelCount) {
    if (!image || !y || !cb || !cr || pixelCount <= 0) return;
    FillYCbCrTables();
    for (int i = 0; i < pixelCount; ++i) {
        unsigned char *p = image + static_cast<size_t>(i) * 4;
        const int base = y[i] * 16384 + 8192;
        p[0] = ClampByte((base + m_rFromCr[cr[i]]) >> 14);
        p[1] = ClampByte((base - m_gFromCb[cb[i]] - m_gFromCr[cr[i]]) >> 14);
        p[2] = ClampByte((base + m_bFromCb[cb[i]]) >> 14);
    }
}

void CColorTransformer::sRGB_Pixel_RGB2LAB(unsigned char r, unsigned char g, unsigned char b, float &L, float &a,
                                           float &bb) {
    FillDecodeTable();
    const float R = m_decode[r], G = m_decode[g], B = m_decode[b];
    const float X = (0.4360747f * R + 0.3850649f * G + 0.1430804f * B) / 0.96422f;
    const float Y = 0.2225045f * R + 0.7168786f * G + 0.0606169f * B;
    const float Z = (0.0139322f * R + 0.0971045f * G + 0.7141733f * B) / 0.82521f;
    auto f = [](float t) { return t > 0.008856f ? std::pow(t, 0.3333f) : 7.787f * t + 0.1379f; };
    const float fx = f(X), fy = f(Y), fz = f(Z);
    L = 116.0f * fy - 16.0f;
    a = 500.0f * (fx - fy);
    bb = 200.0f * (fy - fz);
}

void CColorTransformer::sRGB_Pixel_LAB2RGB(float L, float a, float bb, unsigned char &r, unsigned char &g,
                                           unsigned char &b) {
    const float fy = (L + 16.0f) / 116.0f, fx = a / 500.0f + fy, fz = fy - bb / 200.0f;
    const float fx3 = fx * fx * fx, fz3 = fz * fz * fz;
    const float X = 0.96422f * (fx3 > 0.008856f ? fx3 : 0.1284f * fx - 0.0177f);
    const float Z = 0.82521f * (fz3 > 0.008856f ? fz3 : 0.1284f * fz - 0.0177f);
    const float Y = L / 903.3f > 0.008856f ? fy * fy * fy : L / 903.3f;
    const float lin[3] = {3.133856f * X - 1.61687f * Y - 0.49061f * Z, -0.97877f * X + 1.916142f * Y + 0.033454f * Z,
                          0.071945f * X - 0.22899f * Y + 1.405243f * Z};
    unsigned char *out[3] = {&r, &g, &b};
    for (int c = 0; c < 3; ++c) {
        const float v = lin[c];
        float e = v <= 0.0031308f ? v * 12.92f : 1.055f * std::pow(v, 0.41666666f) - 0.055f;
        e = e > 0.0f ? (e < 1.0f ? e : 1.0f) : 0.0f;  // NaN ends at 0
        *out[c] = TruncByte(e * 255.0f);
    }
}

// ---------------------------------------------------------------- SFDSP

bool SFDSP::Color_RgbToHls(unsigned char r, unsigned char g, unsigned char b, double *h, double *l, double *s) {
    const double R = r / 255.0, G = g / 255.0, B = b / 255.0;
    const double mx = std::max(R, std::max(G, B)), mn = std::min(R, std::min(G, B));
    double H = 0, S = 0;
    const double L = (mx + mn) / 2;
    if (mx != mn) {
        const double d = mx - mn;
        S = L < 0.5 ? d / (mx + mn) : d / (2 - mx - mn);
        if (R == mx) H = (G - B) / d;
        else if (G == mx) H = (B - R) / d + 2;
        else H = (R - G) / d + 4;
        H /= 6;
        if (H < 0) H += 1;
    }
    if (h) *h = H;
    if (l) *l = L;
    if (s) *s = S;
    return true;
}

bool SFDSP::Color_HueToRgb(double p, double q, double h, double *out) {
    if (h < 0) h += 1;
    else if (h > 1) h -= 1;
    double v;
    if (6 * h < 1) v = (q - p) * h * 6 + p;
    else if (2 * h < 1) v = q;
    else if (3 * h < 2) v = (q - p) * (2.0 / 3.0 - h) * 6 + p;
    else v = p;
    if (out) *out = v;
    return true;
}

bool SFDSP::Color_HlsToRgb(double h, double l, double s, double *r, double *g, double *b) {
    double R, G, B;
    if (s == 0) {
        R = G = B = l * 255;
    } else {
        const double q = l <= 0.5 ? (s + 1) * l : l + s - l * s;
        const double p = 2 * l - q;
        Color_HueToRgb(p, q, h + 1.0 / 3.0, &R);
        Color_HueToRgb(p, q, h, &G);
        Color_HueToRgb(p, q, h - 1.0 / 3.0, &B);
        R *= 255, G *= 255, B *= 255;
    }
    if (r) *r = R;
    if (g) *g = G;
    if (b) *b = B;
    return true;
}

void SFDSP::RGBtoHSL(unsigned char r, unsigned char g, unsigned char b, unsigned char *h, unsigned char *s,
                     unsigned char *l) {
    const int mx = std::max<int>(r, std::max<int>(g, b)), mn = std::min<int>(r, std::min<int>(g, b));
    const int sum = mx + mn;
    const int L = (sum + 1) >> 1;
    int H, S;
    if (mx == mn) {
        // A grey pixel takes hue 170.
        S = 0, H = 170;
    } else {
        const int d = mx - mn;
        S = L > 127 ? d * 255 / (510 - sum) : d * 255 / sum;
        if (r == mx) H = (g - b) * 42 / d;
        else if (g == mx) H = (b - r) * 42 / d + 85;
        else H = (r - g) * 42 / d - 86;
    }
    // The hue is stored in a byte: a negative value wraps.
    if (h) *h = static_cast<unsigned char>(H & 255);
    if (s) *s = static_cast<unsigned char>(S);
    if (l) *l = static_cast<unsigned char>(L);
}

#if defined(__SSE2__)
namespace {

// Truncating quotients of four lanes of integers held exactly in floats
// (|num| and |num| + den below 2^24, den > 0). The float quotient is
// correctly rounded, so its truncation is the integer quotient or, when the
// exact quotient lies just under an integer, one more in magnitude; the
// product check, exact in floats, takes that step back.
inline __m128i TruncDiv4(__m128 num, __m128 den) {
    __m128i q = _mm_cvttps_epi32(_mm_div_ps(num, den));
    const __m128 back = _mm_mul_ps(_mm_cvtepi32_ps(q), den);
    const __m128 zero = _mm_setzero_ps();
    const __m128i over = _mm_castps_si128(_mm_and_ps(_mm_cmpgt_ps(back, num), _mm_cmpge_ps(num, zero)));
    const __m128i under = _mm_castps_si128(_mm_and_ps(_mm_cmplt_ps(back, num), _mm_cmplt_ps(num, zero)));
    // A true lane is -1: adding it steps down, subtracting steps up.
    return _mm_sub_epi32(_mm_add_epi32(q, over), under);
}

// RGBtoHSL of four RGBA pixels, as 32-bit lanes of hue, saturation and
// lightness, each 0..255.
inline void Hsl4(__m128i px, __m128i &hue, __m128i &sat, __m128i &lightness) {
    const __m128i byte = _mm_set1_epi32(255);
    const __m128i r = _mm_and_si128(px, byte), g = _mm_and_si128(_mm_srli_epi32(px, 8), byte),
                  b = _mm_and_si128(_mm_srli_epi32(px, 16), byte);
    // The lanes hold values below 2^15 with zero upper halves, so the 16-bit
    // maximum and minimum are those of the 32-bit lanes.
    const __m128i mx = _mm_max_epi16(r, _mm_max_epi16(g, b)), mn = _mm_min_epi16(r, _mm_min_epi16(g, b));
    const __m128i sum = _mm_add_epi32(mx, mn), d = _mm_sub_epi32(mx, mn);
    const __m128i L = _mm_srli_epi32(_mm_add_epi32(sum, _mm_set1_epi32(1)), 1);
    const __m128i grey = _mm_cmpeq_epi32(d, _mm_setzero_si128());
    // Grey lanes divide by one and are replaced afterwards.
    const __m128i one = _mm_set1_epi32(1);
    const __m128i light = _mm_cmpgt_epi32(L, _mm_set1_epi32(127));
    __m128i sDen = _mm_or_si128(_mm_and_si128(light, _mm_sub_epi32(_mm_set1_epi32(510), sum)),
                                _mm_andnot_si128(light, sum));
    sDen = _mm_or_si128(_mm_andnot_si128(grey, sDen), _mm_and_si128(grey, one));
    const __m128i dDen = _mm_or_si128(_mm_andnot_si128(grey, d), _mm_and_si128(grey, one));
    const __m128 dDenF = _mm_cvtepi32_ps(dDen);
    // d * 255 fits 16 bits unsigned; madd of (d, 0) lanes with (255, 0).
    const __m128i S = TruncDiv4(_mm_cvtepi32_ps(_mm_madd_epi16(d, byte)), _mm_cvtepi32_ps(sDen));
    // The hue sector: red first, then green, then blue, as the scalar rule.
    const __m128i isR = _mm_cmpeq_epi32(r, mx);
    const __m128i isG = _mm_andnot_si128(isR, _mm_cmpeq_epi32(g, mx));
    const __m128i isB = _mm_andnot_si128(_mm_or_si128(isR, isG), _mm_set1_epi32(-1));
    const __m128i diff = _mm_or_si128(_mm_or_si128(_mm_and_si128(isR, _mm_sub_epi32(g, b)),
                                                   _mm_and_si128(isG, _mm_sub_epi32(b, r))),
                                      _mm_and_si128(isB, _mm_sub_epi32(r, g)));
    const __m128i offset = _mm_or_si128(_mm_and_si128(isG, _mm_set1_epi32(85)), _mm_and_si128(isB, _mm_set1_epi32(-86)));
    const __m128 hueNum = _mm_mul_ps(_mm_cvtepi32_ps(diff), _mm_set1_ps(42.0f));
    __m128i H = _mm_add_epi32(TruncDiv4(hueNum, dDenF), offset);
    H = _mm_or_si128(_mm_andnot_si128(grey, H), _mm_and_si128(grey, _mm_set1_epi32(170)));
    hue = _mm_and_si128(H, byte);
    sat = _mm_andnot_si128(grey, S);
    lightness = L;
}

// Sixteen lanes of 0..255 in four vectors, packed to sixteen bytes.
inline void Store16(unsigned char *out, const __m128i (&v)[4]) {
    const __m128i lo = _mm_packs_epi32(v[0], v[1]), hi = _mm_packs_epi32(v[2], v[3]);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_packus_epi16(lo, hi));
}

}  // namespace
#endif

bool SFDSP::DecomposeToHSL(const unsigned char *image, int width, int height, int bytesPerRow, unsigned char *h,
                           unsigned char *s, unsigned char *l) {
    if (!detail::ValidImage(image, width, height) || !h || !s || !l || bytesPerRow < 4LL * width) return false;
    for (int y = 0; y < height; ++y) {
        const unsigned char *row = image + static_cast<size_t>(y) * bytesPerRow;
        const size_t at = static_cast<size_t>(y) * width;
        int x = 0;
#if defined(__SSE2__)
        if (detail::g_hslVector) {
            for (; x + 16 <= width; x += 16) {
                __m128i hv[4], sv[4], lv[4];
                for (int k = 0; k < 4; ++k)
                    Hsl4(_mm_loadu_si128(reinterpret_cast<const __m128i *>(row + 4 * (x + 4 * k))), hv[k], sv[k], lv[k]);
                Store16(h + at + x, hv);
                Store16(s + at + x, sv);
                Store16(l + at + x, lv);
            }
        }
#endif
        for (; x < width; ++x)
            RGBtoHSL(row[4 * x], row[4 * x + 1], row[4 * x + 2], h + at + x, s + at + x, l + at + x);
    }
    return true;
}

void SFDSP::HSLtoRGB(unsigned char h, unsigned char s, unsigned char l, unsigned char *r, unsigned char *g,
                     unsigned char *b) {
    if (s == 0) {
        if (r) *r = l;
        if (g) *g = l;
        if (b) *b = l;
        return;
    }
    const float t2 = l > 127 ? s + l - s * l * 0.0039215f : (s * 0.0039215f + 1) * l;
    const float t1 = 2.0f * l - t2;
    const float hn = h * 0.0039215f;
    auto channel = [&](float t) {
        float v;
        if (t < 0.166666f) v = (t2 - t1) * t * 6 + t1;
        else if (t < 0.5f) v = t2;
        else if (t < 0.666666f) v = (t2 - t1) * (0.666666f - t) * 6 + t1;
        else v = t1;
        return TruncByte(v);
    };
    float tr = hn + 0.33333f, tb = hn - 0.33333f;
    if (tr > 1) tr -= 1;
    if (tb < 0) tb += 1;
    if (r) *r = channel(tr);
    if (g) *g = channel(hn);
    if (b) *b = channel(tb);
}

void SFDSP::RGBtoHSB(int r, int g, int b, float &h, float &s, float &v) {
    const int mx = std::max(r, std::max(g, b)), mn = std::min(r, std::min(g, b));
    v = mx / 255.0f;
    h = 0;
    if (mx <= 0 || mx == mn) {
        s = 0;  // grey: the hue stays 0
        return;
    }
    s = static_cast<float>(mx - mn) / static_cast<float>(mx);
    const float range = static_cast<float>(mx - mn);
    const float dr = (mx - r) / range, dg = (mx - g) / range, db = (mx - b) / range;
    // The tests run one after the other; the last that holds wins.
    if (mx == r) h = (db + 6 - dg) * 60;
    if (mx == g) h = (dr + 2 - db) * 60;
    if (mx == b) h = (dg + 4 - dr) * 60;
    if (h > 360) h -= 360;
}

void SFDSP::HSBtoRGB(float h, float s, float v, unsigned char &r, unsigned char &g, unsigned char &b) {
    const int V = TruncByte(v * 255.0f);
    if (h == 0 || !(h == h)) {
        // A hue of 0 gives grey whatever the saturation (NaN likewise).
        r = g = b = static_cast<unsigned char>(V);
        return;
    }
    const int P = TruncByte(V - V * s);
    const float D = static_cast<float>(V - P);
    float R, G, B;
    if (h > 300) R = V, G = P, B = (360 - h) * D / 60 + P;
    else if (h > 240) R = (h - 240) * D / 60 + P, G = P, B = V;
    else if (h > 180) R = P, G = (240 - h) * D / 60 + P, B = V;
    else if (h > 120) R = P, G = V, B = (h - 120) * D / 60 + P;
    else if (h > 60) R = (120 - h) * D / 60 + P, G = V, B = P;
    else R = V, G = D * h / 60 + P, B = P;
    r = TruncByte(R), g = TruncByte(G), b = TruncByte(B);
}

void SFDSP::DecomposeToLab(unsigned char *image, int width, int height, int bytesPerRow, unsigned char *L,
                           unsigned char *a, unsigned char *b) {
    // Rows must hold their pixels: a shorter stride describes no image.
    if (!detail::ValidImage(image, width, height) || !L || !a || !b || bytesPerRow < 4LL * width) return;
    auto f = [](double t) { return t > 0.008856 ? std::cbrt(t) : 7.78 * t + 16.0 / 116.0; };
    for (int y = 0; y < height; ++y) {
        const unsigned char *row = image + static_cast<size_t>(y) * bytesPerRow;
        const size_t at = static_cast<size_t>(y) * width;
        for (int x = 0; x < width; ++x) {
            const double R = row[4 * x] / 255.0, G = row[4 * x + 1] / 255.0, B = row[4 * x + 2] / 255.0;
            const double X = (0.431 * R + 0.342 * G + 0.178 * B) / 0.951;
            const double Y = 0.222 * R + 0.707 * G + 0.071 * B;
            const double Z = (0.02 * R + 0.13 * G + 0.939 * B) / 1.089;
            double fY, Lv;
            if (Y > 0.008856) {
                fY = std::cbrt(Y);
                Lv = 116 * fY - 16;
            } else {
                Lv = 903.3 * Y;
                fY = 7.78 * Y + 16.0 / 116.0;
            }
            L[at + x] = TruncByte(Lv * 2.5599);
            a[at + x] = TruncByte((f(X) - fY) * 635 + 128);
            b[at + x] = TruncByte((fY - f(Z)) * 254 + 128);
        }
    }
}

void SFDSP::RecomposeFromLab(unsigned char *image, int width, int height, int bytesPerRow, unsigned char *L,
                             unsigned char *a, unsigned char *b) {
    if (!detail::ValidImage(image, width, height) || !L || !a || !b || bytesPerRow < 4LL * width) return;
    for (int y = 0; y < height; ++y) {
        unsigned char *row = image + static_cast<size_t>(y) * bytesPerRow;
        const size_t at = static_cast<size_t>(y) * width;
        for (int x = 0; x < width; ++x) {
            double P = (L[at + x] / 2.55 + 16) / 116;
            double A = (a[at + x] - 128) / 1.27 / 500, B = (b[at + x] - 128) / 1.27 / 200;
            double Y = P * P * P;
            if (Y <= 0.008856) {
                Y = (L[at + x] / 2.55) / 903.3;
                P = std::cbrt(Y);
                A /= 7.787;
                B /= 7.787;
            }
            const double X = 0.951 * std::pow(A + P, 3), Z = 1.089 * std::pow(P - B, 3);
            const double rgb[3] = {3.063 * X - 1.393 * Y - 0.476 * Z, -0.969 * X + 1.876 * Y + 0.042 * Z,
                                   0.068 * X - 0.229 * Y + 1.069 * Z};
            for (int c = 0; c < 3; ++c) {
                const double v = rgb[c] > 0 ? (rgb[c] < 1 ? rgb[c] : 1.0) : 0.0;
                row[4 * x + c] = TruncByte(v * 255.999);
            }
        }
    }
}

}  // namespace klav
