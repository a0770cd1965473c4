// Colour conversions: the fixed values of each family and round trips.
#include "colortransformer.h"
#include "sfdsp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "test_util.h"

using namespace klav;

TEST(ColourValues, FixedPointsOfEachFamily) {
    CColorTransformer *ct = CColorTransformer::GetInstance();
    EXPECT_EQ(ct, CColorTransformer::GetInstance());
    unsigned char k = 0, w = 255, y, cb, cr;
    ct->RGB2YCbCr(k, k, k, y, cb, cr);
    EXPECT_EQ(y, 0);
    EXPECT_EQ(cb, 128);
    EXPECT_EQ(cr, 128);
    ct->RGB2YCbCr_Fast(w, w, w, y, cb, cr);
    EXPECT_EQ(y, 255);  // 4915 + 9667 + 1802 = 16384
    EXPECT_EQ(cb, 128);
    ct->RGB2YCbCr_Fast(k, k, k, y, cb, cr);
    EXPECT_EQ(cr, 128);
    unsigned char grey;
    ct->sRGB_Pixel_RGB2GRAY_Fast(w, w, w, grey);
    EXPECT_EQ(grey, 255);

    unsigned char h, s, l;
    SFDSP::RGBtoHSL(90, 90, 90, &h, &s, &l);
    EXPECT_EQ(h, 170);
    EXPECT_EQ(s, 0);
    SFDSP::RGBtoHSL(255, 255, 255, &h, &s, &l);
    EXPECT_EQ(l, 255);
    SFDSP::RGBtoHSL(255, 0, 10, &h, &s, &l);  // (0 - 10) * 42 / 255 = -1 wraps
    EXPECT_EQ(h, 255);
    unsigned char r, g, b;
    SFDSP::HSBtoRGB(0, 1, 1, r, g, b);
    EXPECT_EQ(r, 255);
    EXPECT_EQ(g, 255);  // hue 0 is grey, not red
    EXPECT_EQ(b, 255);
    SFDSP::HSBtoRGB(120, 1, 1, r, g, b);
    EXPECT_EQ(g, 255);
    EXPECT_EQ(r, 0);

    float L, a, bb;
    ct->sRGB_Pixel_RGB2LAB(0, 0, 0, L, a, bb);
    EXPECT_NEAR(L, 0, 0.01f);
    EXPECT_NEAR(a, 0, 0.01f);
    ct->sRGB_Pixel_RGB2LAB(255, 255, 255, L, a, bb);
    EXPECT_NEAR(L, 100, 0.05f);
    EXPECT_NEAR(bb, 0, 0.05f);

    unsigned char px[8] = {0, 0, 0, 7, 255, 255, 255, 9};
    unsigned char Lp[2], ap[2], bp[2];
    SFDSP::DecomposeToLab(px, 2, 1, 8, Lp, ap, bp);
    EXPECT_EQ(Lp[0], 0);
    EXPECT_EQ(ap[0], 128);
    EXPECT_EQ(bp[0], 128);
    EXPECT_EQ(Lp[1], 255);
}

TEST(ColourValues, HslOfEveryColourFollowsTheIntegerRules) {
    for (int r = 0; r < 256; ++r)
        for (int g = 0; g < 256; ++g)
            for (int b = 0; b < 256; b += 3) {
                unsigned char h, s, l;
                SFDSP::RGBtoHSL(r, g, b, &h, &s, &l);
                const int mx = std::max(r, std::max(g, b)), mn = std::min(r, std::min(g, b)), sum = mx + mn;
                int H = 170, S = 0;
                if (mx != mn) {
                    const int d = mx - mn;
                    S = (sum + 1) / 2 > 127 ? d * 255 / (510 - sum) : d * 255 / sum;
                    H = r == mx ? (g - b) * 42 / d : g == mx ? (b - r) * 42 / d + 85 : (r - g) * 42 / d - 86;
                }
                ASSERT_EQ(h, static_cast<unsigned char>(H & 255)) << r << " " << g << " " << b;
                ASSERT_EQ(s, S);
                ASSERT_EQ(l, (sum + 1) >> 1);
            }
}

TEST(ColourRoundTrips, WithinWhatTheArithmeticAllows) {
    CColorTransformer *ct = CColorTransformer::GetInstance();
    std::vector<unsigned char> px = testutil::RandomBytes(3 * 4000, 5);
    int worstFast = 0, worstFloat = 0, worstHsb = 0, worstLab = 0, worstHsl = 0;
    for (size_t i = 0; i < px.size(); i += 3) {
        unsigned char r = px[i], g = px[i + 1], b = px[i + 2], y, cb, cr, r2, g2, b2;
        ct->RGB2YCbCr_Fast(r, g, b, y, cb, cr);
        ct->YCbCr2RGB_Fast(y, cb, cr, r2, g2, b2);
        worstFast = std::max({worstFast, std::abs(r - r2), std::abs(g - g2), std::abs(b - b2)});
        ct->RGB2YCbCr(r, g, b, y, cb, cr);
        ct->YCbCr2RGB(y, cb, cr, r2, g2, b2);
        worstFloat = std::max({worstFloat, std::abs(r - r2), std::abs(g - g2), std::abs(b - b2)});
        float H, S, V;
        SFDSP::RGBtoHSB(r, g, b, H, S, V);
        if (H != 0) {
            SFDSP::HSBtoRGB(H, S, V, r2, g2, b2);
            worstHsb = std::max({worstHsb, std::abs(r - r2), std::abs(g - g2), std::abs(b - b2)});
        }
        float L, A, B;
        ct->sRGB_Pixel_RGB2LAB(r, g, b, L, A, B);
        ct->sRGB_Pixel_LAB2RGB(L, A, B, r2, g2, b2);
        worstLab = std::max({worstLab, std::abs(r - r2), std::abs(g - g2), std::abs(b - b2)});
        unsigned char hh, ss, ll;
        SFDSP::RGBtoHSL(r, g, b, &hh, &ss, &ll);
        SFDSP::HSLtoRGB(hh, ss, ll, &r2, &g2, &b2);
        worstHsl = std::max({worstHsl, std::abs(r - r2), std::abs(g - g2), std::abs(b - b2)});
        double dh, dl, ds, dr, dg, db;
        SFDSP::Color_RgbToHls(r, g, b, &dh, &dl, &ds);
        SFDSP::Color_HlsToRgb(dh, dl, ds, &dr, &dg, &db);
        ASSERT_NEAR(dr, r, 1e-6);
        ASSERT_NEAR(dg, g, 1e-6);
        ASSERT_NEAR(db, b, 1e-6);
    }
    EXPECT_LE(worstFast, 2);
    EXPECT_LE(worstFloat, 2);
    EXPECT_LE(worstHsb, 3);
    EXPECT_LE(worstLab, 2);
    // The hue runs 42 steps a sixth (252 a turn) one way and 255 a turn the
    // other, and both truncate: a few percent of the chroma come back off.
    EXPECT_LE(worstHsl, 16);
}

namespace klav {
namespace detail {
extern bool g_channelArithmetic;
extern bool g_hslVector;
}
}  // namespace klav

TEST(ColourPlanes, ArithmeticChannelFormGivesTheTableBytes) {
    // Every colour once: the direct products against the table lookups.
    const int n = 1 << 24;
    std::vector<unsigned char> img(static_cast<size_t>(n) * 4);
    for (int i = 0; i < n; ++i) {
        img[static_cast<size_t>(i) * 4] = static_cast<unsigned char>(i);
        img[static_cast<size_t>(i) * 4 + 1] = static_cast<unsigned char>(i >> 8);
        img[static_cast<size_t>(i) * 4 + 2] = static_cast<unsigned char>(i >> 16);
    }
    std::vector<unsigned char> y1(n), b1(n), r1(n), y2(n), b2(n), r2(n);
    detail::g_channelArithmetic = false;
    CColorTransformer::GetInstance()->sRGB_Channel_RGB2YCbCr_Fast(img.data(), y1.data(), b1.data(), r1.data(), n);
    detail::g_channelArithmetic = true;
    CColorTransformer::GetInstance()->sRGB_Channel_RGB2YCbCr_Fast(img.data(), y2.data(), b2.data(), r2.data(), n);
    EXPECT_TRUE(y1 == y2 && b1 == b2 && r1 == r2);
}

TEST(ColourPlanes, ChannelFormsAndLabPlanesKeepAlphaAndPadding) {
    CColorTransformer *ct = CColorTransformer::GetInstance();
    const int n = 3000;
    std::vector<unsigned char> img = testutil::RandomBytes(n * 4, 9), back(img);
    std::vector<unsigned char> y(n), cb(n), cr(n);
    ct->sRGB_Channel_RGB2YCbCr_Fast(img.data(), y.data(), cb.data(), cr.data(), n);
    for (int i = 0; i < n; i += 97) {
        unsigned char yy, bb, rr;
        ct->RGB2YCbCr_Fast(img[i * 4], img[i * 4 + 1], img[i * 4 + 2], yy, bb, rr);
        EXPECT_EQ(y[i], yy);
        EXPECT_EQ(cr[i], rr);
    }
    ct->sRGB_Channel_YCbCr2RGB_Fast(back.data(), y.data(), cb.data(), cr.data(), n);
    for (int i = 0; i < n; ++i) {
        ASSERT_EQ(back[i * 4 + 3], img[i * 4 + 3]);
        ASSERT_LE(std::abs(back[i * 4] - img[i * 4]), 2);
    }
    // A 5 x 3 image with rows padded to 24 bytes: planes stay packed.
    const int w = 5, h = 3, stride = 24;
    std::vector<unsigned char> padded = testutil::RandomBytes(stride * h, 2), original(padded);
    std::vector<unsigned char> L(w * h), a(w * h), b(w * h);
    SFDSP::DecomposeToLab(padded.data(), w, h, stride, L.data(), a.data(), b.data());
    SFDSP::RecomposeFromLab(padded.data(), w, h, stride, L.data(), a.data(), b.data());
    for (int yy = 0; yy < h; ++yy) {
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 4; ++c) {
                const int i = yy * stride + x * 4 + c;
                if (c == 3) EXPECT_EQ(padded[i], original[i]);
                else EXPECT_LE(std::abs(padded[i] - original[i]), 6) << yy << " " << x << " " << c;
            }
        for (int i = yy * stride + w * 4; i < (yy + 1) * stride; ++i) EXPECT_EQ(padded[i], original[i]);
    }
    // A stride shorter than the pixels describes no image: nothing is done.
    std::vector<unsigned char> untouched(L);
    SFDSP::DecomposeToLab(padded.data(), w, h, 4 * w - 1, L.data(), a.data(), b.data());
    EXPECT_EQ(L, untouched);
}

TEST(ColourPlanes, HslPlanesGiveThePixelBytesOnBothPaths) {
    // Every colour once, in rows of 4099 pixels so that the vector steps
    // leave a scalar tail, with a row stride wider than the pixels.
    const int n = 1 << 24, w = 4099, h = (n + w - 1) / w, stride = w * 4 + 12;
    std::vector<unsigned char> img(static_cast<size_t>(stride) * h, 7);
    for (int i = 0; i < n; ++i) {
        unsigned char *p = img.data() + static_cast<size_t>(i / w) * stride + (i % w) * 4;
        p[0] = static_cast<unsigned char>(i), p[1] = static_cast<unsigned char>(i >> 8);
        p[2] = static_cast<unsigned char>(i >> 16);
    }
    const size_t planes = static_cast<size_t>(w) * h;
    std::vector<unsigned char> h1(planes), s1(planes), l1(planes), h2(planes), s2(planes), l2(planes);
    detail::g_hslVector = false;
    ASSERT_TRUE(SFDSP::DecomposeToHSL(img.data(), w, h, stride, h1.data(), s1.data(), l1.data()));
    detail::g_hslVector = true;
    ASSERT_TRUE(SFDSP::DecomposeToHSL(img.data(), w, h, stride, h2.data(), s2.data(), l2.data()));
    EXPECT_TRUE(h1 == h2 && s1 == s2 && l1 == l2);
    // The plain path is the pixel routine; spot-check it against a direct call.
    for (int i = 0; i < n; i += 9973) {
        unsigned char hh, ss, ll;
        SFDSP::RGBtoHSL(i & 255, (i >> 8) & 255, i >> 16, &hh, &ss, &ll);
        ASSERT_EQ(hh, h2[i]);
        ASSERT_EQ(ss, s2[i]);
        ASSERT_EQ(ll, l2[i]);
    }
    // Refusals leave the planes alone.
    std::vector<unsigned char> untouched = h2;
    EXPECT_FALSE(SFDSP::DecomposeToHSL(img.data(), w, h, w * 4 - 1, h2.data(), s2.data(), l2.data()));
    EXPECT_FALSE(SFDSP::DecomposeToHSL(nullptr, w, h, stride, h2.data(), s2.data(), l2.data()));
    EXPECT_FALSE(SFDSP::DecomposeToHSL(img.data(), 0, h, stride, h2.data(), s2.data(), l2.data()));
    EXPECT_FALSE(SFDSP::DecomposeToHSL(img.data(), w, h, stride, h2.data(), nullptr, l2.data()));
    EXPECT_TRUE(h2 == untouched);
}
