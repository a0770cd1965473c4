// The colour blend: the chroma of one pixel at the luminosity of another.
#include "psblendcolor.h"

#include "common.h"

namespace klav {

void CPSBlendColor::Blend(unsigned char *out, const unsigned char *C, const unsigned char *Y) {
    const int *w = m_weights;
    // Rank the channels of the colour pixel.
    const int a = C[0] < C[1] ? 1 : 0, b = 1 - a;
    int hi, lo, mid = b;
    if (C[a] < C[2]) hi = 2, lo = a;
    else hi = a, lo = 2;
    if (C[mid] < C[lo]) {
        const int t = mid;
        mid = lo;
        lo = t;
    }
    const int L = w[0] * Y[0] + w[1] * Y[1] + w[2] * Y[2];  // luminosity times 100
    int res[3];
    if (C[hi] == C[lo]) {
        res[0] = res[1] = res[2] = (L + 50) / 100;
    } else {
        const int D = C[hi] - C[lo], M = C[mid] - C[lo];
        const int A = w[hi] * D + w[mid] * M, R = L - A;
        if (R < 0) {
            // Full chroma would go below zero.
            const int X = (w[mid] * (M - D) + (L - w[lo]) * D + A / 2) / A;
            if (X > 0) {
                res[hi] = X, res[lo] = 1, res[mid] = ((X - 1) * M + D / 2) / D + 1;
            } else {
                res[0] = res[1] = res[2] = 0;
            }
        } else {
            const int q = (R + 50) / 100;
            if (q + D < 256) {
                res[lo] = q, res[hi] = q + D, res[mid] = q + M;
            } else {
                // Full chroma would go above 255.
                const int B = w[lo] * D + w[mid] * (D - M);
                const int Z = (D * L - 255 * A + B / 2) / B;
                if (Z > 0) {
                    res[hi] = 255, res[lo] = Z, res[mid] = (255 * M + (D - M) * Z + D / 2) / D;
                } else {
                    res[0] = res[1] = res[2] = 0;
                }
            }
        }
    }
    // Stored as bytes, keeping the low eight bits.
    for (int c = 0; c < 3; ++c) out[c] = static_cast<unsigned char>(res[c] & 255);
}

void CPSBlendColor::ImageColorBlend(unsigned char *pixel, unsigned char *colourPixel) {
    const unsigned char y[3] = {pixel[0], pixel[1], pixel[2]};
    Blend(pixel, colourPixel, y);
}

void CPSBlendColor::ImageLuminosityBlend(unsigned char *pixel, unsigned char *lumaPixel) {
    const unsigned char c[3] = {pixel[0], pixel[1], pixel[2]};
    Blend(pixel, c, lumaPixel);
}

void CPSBlendColor::Run(unsigned char *image, unsigned char *colourSource, int width, int height) {
    if (!detail::ValidImage(image, width, height) || !colourSource) return;
    const size_t n = detail::CheckedSize({width, height});
    for (size_t i = 0; i < n; ++i) ImageColorBlend(image + i * 4, colourSource + i * 4);
}

}  // namespace klav
