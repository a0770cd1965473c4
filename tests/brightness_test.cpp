// Brightness and contrast tables, the value rules of Run, and the colour
// blend.
#include "psblendcolor.h"
#include "pscontrastbrightness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "test_util.h"

using namespace klav;

namespace klav {
namespace detail {
extern bool g_toneComposed;
}
struct PSContrastBrightnessTestAccess {
    static std::vector<int> Brightness(int v) {
        unsigned char m[256] = {0};
        PSContrastBrightness().GetPSBrightnessMap(m, v);
        return std::vector<int>(m, m + 256);
    }
    static std::vector<int> Contrast(int v) {
        unsigned char m[256] = {0};
        PSContrastBrightness().GetPSContrastMap(m, v);
        return std::vector<int>(m, m + 256);
    }
};
struct CPSBlendColorTestAccess {
    static void Luminosity(unsigned char *p, unsigned char *l) { CPSBlendColor().ImageLuminosityBlend(p, l); }
};
}  // namespace klav

using Access = PSContrastBrightnessTestAccess;

TEST(ToneTables, ContrastEntriesFollowTheRule) {
    std::vector<int> c100 = Access::Contrast(100), cm50 = Access::Contrast(-50);
    EXPECT_EQ(c100[1], 0);
    EXPECT_EQ(c100[32], 14);
    EXPECT_EQ(c100[64], 40);
    EXPECT_EQ(c100[96], 78);
    EXPECT_EQ(c100[127], 127);
    EXPECT_EQ(c100[128], 128);
    EXPECT_EQ(cm50[1], 1);
    EXPECT_EQ(cm50[32], 41);
    EXPECT_EQ(cm50[64], 76);
    EXPECT_EQ(cm50[127], 127);
    for (int v : {-2, -1, 1, 2})
        for (int x = 0; x < 256; ++x) EXPECT_EQ(Access::Contrast(v)[x], x) << v;
    for (int v = -50; v <= 100; ++v) {
        if (v == 0) continue;
        std::vector<int> t = Access::Contrast(v);
        EXPECT_EQ(t[0], 0);
        EXPECT_EQ(t[255], 255);
        for (int x = 0; x < 256; ++x) EXPECT_EQ(t[x] + t[255 - x], 255) << "point symmetry, value " << v;
    }
}

TEST(ToneTables, BrightnessRowsAreKeptAndEveryTableIsMonotone) {
    struct Row {
        int value;
        int first[10], at64, at128, at192, last[10];
    } rows[] = {
        {150, {0, 3, 5, 8, 10, 13, 15, 18, 21, 23}, 162, 239, 253, {255, 255, 255, 255, 255, 255, 255, 255, 255, 255}},
        {100, {0, 2, 4, 6, 8, 9, 11, 13, 15, 17}, 120, 209, 245, {254, 254, 254, 254, 255, 255, 255, 255, 255, 255}},
        {50, {0, 1, 3, 4, 5, 7, 8, 10, 11, 12}, 88, 171, 228, {253, 253, 254, 254, 254, 254, 254, 255, 255, 255}},
        {1, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 64, 129, 194, {247, 248, 248, 249, 250, 251, 252, 253, 254, 255}},
        {-1, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 64, 127, 190, {245, 246, 248, 249, 250, 251, 252, 253, 254, 255}},
        {-50, {0, 1, 1, 2, 3, 4, 4, 5, 6, 7}, 47, 93, 148, {225, 227, 230, 233, 236, 239, 242, 246, 250, 255}},
        {-100, {0, 1, 1, 2, 2, 3, 3, 4, 4, 5}, 34, 68, 111, {196, 200, 204, 209, 214, 220, 227, 236, 245, 255}},
        {-150, {0, 0, 1, 1, 2, 2, 2, 3, 3, 3}, 25, 50, 79, {148, 152, 156, 161, 167, 174, 183, 195, 214, 255}},
    };
    for (const Row &r : rows) {
        std::vector<int> t = Access::Brightness(r.value);
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(t[i], r.first[i]) << r.value << " entry " << i;
            EXPECT_EQ(t[246 + i], r.last[i]) << r.value << " entry " << 246 + i;
        }
        EXPECT_EQ(t[64], r.at64) << r.value;
        EXPECT_EQ(t[128], r.at128) << r.value;
        EXPECT_EQ(t[192], r.at192) << r.value;
    }
    for (int v = -150; v <= 150; ++v) {
        if (v == 0) continue;
        std::vector<int> t = Access::Brightness(v);
        EXPECT_EQ(t[0], 0) << v;
        EXPECT_EQ(t[255], 255) << v;
        for (int x = 1; x < 256; ++x) ASSERT_GE(t[x], t[x - 1]) << "value " << v;
        // Brighter above 0, darker below.
        EXPECT_TRUE(v > 0 ? t[128] >= 128 : t[128] <= 128) << v;
    }
    // A negative table undoes its positive one (within the flat top).
    std::vector<int> up = Access::Brightness(50), down = Access::Brightness(-50);
    for (int x = 0; x < 200; ++x) EXPECT_LE(std::abs(down[up[x]] - x), 2) << x;
}

TEST(ToneRun, ValueRulesAndTheComposedPass) {
    std::vector<unsigned char> img = testutil::RandomBytes(40 * 30 * 4, 3);
    auto run = [&](float b, float c) {
        std::vector<unsigned char> out = img;
        PSContrastBrightness().Run(out.data(), 40, 30, b, c);
        return out;
    };
    auto through = [&](const std::vector<int> &map) {
        std::vector<unsigned char> out = img;
        for (size_t i = 0; i < out.size(); ++i)
            if (i % 4 != 3) out[i] = static_cast<unsigned char>(map[out[i]]);
        return out;
    };
    EXPECT_EQ(run(0, 0), img);
    EXPECT_EQ(run(NAN, NAN), img);
    EXPECT_EQ(run(-0.5f, 0), img);                           // -0.25 truncates to 0
    EXPECT_EQ(run(100, 0), through(Access::Brightness(150)));
    EXPECT_EQ(run(-100, 0), through(Access::Brightness(-149)));
    EXPECT_EQ(run(0, -100), through(Access::Contrast(-49)));
    EXPECT_EQ(run(0, 100.9f), through(Access::Contrast(100)));
    std::vector<unsigned char> black = run(100.34f, 0), black2 = run(0, 101);
    for (size_t i = 0; i < img.size(); ++i) {
        EXPECT_EQ(black[i], i % 4 == 3 ? img[i] : 0);
        EXPECT_EQ(black2[i], i % 4 == 3 ? img[i] : 0);
    }
    // One composed table gives the bytes of the two passes.
    for (float b : {-70.0f, 12.0f, 66.0f})
        for (float c : {-40.0f, 25.0f, 90.0f}) {
            detail::g_toneComposed = false;
            std::vector<unsigned char> plain = run(b, c);
            detail::g_toneComposed = true;
            EXPECT_EQ(run(b, c), plain) << b << " " << c;
        }
}

TEST(ColourBlend, GreyRedAndTheLuminositySwap) {
    CPSBlendColor blend;
    unsigned char img[8] = {10, 200, 60, 7, 0, 0, 0, 9}, grey[8] = {90, 90, 90, 0, 255, 0, 0, 0};
    blend.Run(img, grey, 2, 1);
    const int L = (30 * 10 + 59 * 200 + 11 * 60 + 50) / 100;
    EXPECT_EQ(img[0], L);
    EXPECT_EQ(img[2], L);
    EXPECT_EQ(img[3], 7);
    EXPECT_EQ(img[4], 0);  // red on black stays black
    unsigned char white[4] = {255, 255, 255, 1}, red[4] = {255, 0, 0, 0};
    blend.Run(white, red, 1, 1);
    EXPECT_EQ(white[0], 255);
    EXPECT_EQ(white[1], 255);
    EXPECT_EQ(white[2], 255);
    // Mid grey under a blue colour: the luminosity is kept to within a level.
    unsigned char mid[4] = {128, 128, 128, 0}, blue[4] = {40, 60, 200, 0};
    blend.Run(mid, blue, 1, 1);
    const int lum = (30 * mid[0] + 59 * mid[1] + 11 * mid[2] + 50) / 100;
    EXPECT_NEAR(lum, 128, 1);
    EXPECT_GT(mid[2], mid[0]);
    // The luminosity blend is the same computation with the roles swapped.
    unsigned char p[4] = {40, 60, 200, 0}, l[4] = {128, 128, 128, 0};
    CPSBlendColorTestAccess::Luminosity(p, l);
    EXPECT_EQ(p[0], mid[0]);
    EXPECT_EQ(p[2], mid[2]);
}
