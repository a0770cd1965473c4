// Selective colour: parameter combination, range membership, masks, and
// the one-pixel forms.
#include "selectivecolor.h"
#include "sfdsp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "test_util.h"

using namespace klav;

namespace klav {
struct CSelectiveColorTestAccess {
    static int MakeParam(int v, int b) { return CSelectiveColor().MakeParam(v, b); }
};
}  // namespace klav

namespace {
std::vector<unsigned char> Pixels(std::initializer_list<std::array<int, 3>> colours) {
    std::vector<unsigned char> v;
    for (const auto &c : colours) {
        v.push_back(static_cast<unsigned char>(c[0]));
        v.push_back(static_cast<unsigned char>(c[1]));
        v.push_back(static_cast<unsigned char>(c[2]));
        v.push_back(77);
    }
    return v;
}
}  // namespace

TEST(SelectiveColor, MakeParamCombinesWithBlack) {
    EXPECT_EQ(CSelectiveColorTestAccess::MakeParam(100, 100), 300);
    EXPECT_EQ(CSelectiveColorTestAccess::MakeParam(-100, -100), -100);
    EXPECT_EQ(CSelectiveColorTestAccess::MakeParam(100, -100), -100);
    EXPECT_EQ(CSelectiveColorTestAccess::MakeParam(-100, 100), -100);
    EXPECT_EQ(CSelectiveColorTestAccess::MakeParam(30, 0), 30);
    EXPECT_EQ(CSelectiveColorTestAccess::MakeParam(0, -20), -20);
    EXPECT_EQ(CSelectiveColorTestAccess::MakeParam(50, -20), -20 + 50 * 80 / 100);
    EXPECT_EQ(CSelectiveColorTestAccess::MakeParam(-30, -50), -(50 + 30 * 50 / 100));
    CSelectiveColorTestAccess::MakeParam(2147483647, 2147483647);  // limited, no overflow
}

TEST(SelectiveColor, RangesMoveOnlyTheirPixels) {
    // Red, green, grey, black, white and a mid-blue pixel.
    std::vector<unsigned char> img = Pixels({{200, 40, 30}, {30, 200, 40}, {128, 128, 128}, {0, 0, 0}, {255, 255, 255}, {40, 60, 190}});
    std::vector<unsigned char> before = img;
    CSelectiveColor sc;
    sc.Execute(img.data(), 6, 1, nullptr);
    EXPECT_EQ(img, before);  // nothing set: untouched
    sc.SetSelectiveColor(KV_SELECTIVE_RED, 60, 0, 0, 0);
    sc.Execute(img.data(), 6, 1, nullptr);
    EXPECT_LT(img[0], before[0]);  // cyan takes away red from reds
    for (size_t i = 4; i < img.size(); ++i) EXPECT_EQ(img[i], before[i]) << i;
    EXPECT_EQ(img[3], 77);

    // Black pixel belongs to blacks (weight 255) and not to neutrals;
    // white to whites and not to neutrals; a grey to neutrals only.
    for (eColorType type : {KV_SELECTIVE_BLACK, KV_SELECTIVE_WHITE, KV_SELECTIVE_NEUTRAL}) {
        std::vector<unsigned char> px = Pixels({{0, 0, 0}, {255, 255, 255}, {128, 128, 128}});
        CSelectiveColor one;
        one.SetSelectiveColor(type, -100, -100, -100, 0);  // negative: adds
        one.Execute(px.data(), 3, 1, nullptr);
        EXPECT_EQ(px[0] > 0, type == KV_SELECTIVE_BLACK) << type;
        EXPECT_EQ(px[8] != 128, type == KV_SELECTIVE_NEUTRAL) << type;
        EXPECT_EQ(px[4], 255);
    }
    // minV of exactly 128 is not white; maxV of exactly 128 is not black.
    std::vector<unsigned char> edge = Pixels({{128, 200, 200}, {128, 10, 10}});
    CSelectiveColor whiteBlack;
    whiteBlack.SetSelectiveColor(KV_SELECTIVE_WHITE, 100, 100, 100, 0);
    whiteBlack.SetSelectiveColor(KV_SELECTIVE_BLACK, -100, -100, -100, 0);
    std::vector<unsigned char> edgeBefore = edge;
    whiteBlack.Execute(edge.data(), 2, 1, nullptr);
    EXPECT_EQ(edge, edgeBefore);
}

TEST(SelectiveColor, MaskKeepsOrTakesTheAdjustment) {
    std::vector<unsigned char> img = testutil::RandomBytes(64 * 4, 2), full = img, masked = img;
    std::vector<unsigned char> mask(64);
    for (int i = 0; i < 64; ++i) mask[i] = i % 2 ? 255 : 0;
    CSelectiveColor sc;
    for (int t = 0; t < 9; ++t) sc.SetSelectiveColor(static_cast<eColorType>(t), 20 - 5 * t, 10, -15, 5);
    sc.SetSelectiveColor(static_cast<eColorType>(9), 100, 100, 100, 100);  // ignored
    sc.Execute(full.data(), 8, 8, nullptr);
    sc.Execute(masked.data(), 8, 8, mask.data());
    for (int i = 0; i < 64; ++i)
        for (int c = 0; c < 4; ++c) ASSERT_EQ(masked[i * 4 + c], mask[i] ? full[i * 4 + c] : img[i * 4 + c]) << i;
    EXPECT_NE(full, img);
}

TEST(SelectiveColor, OnePixelFormsUseStrictConditions) {
    auto run = [](void (*f)(unsigned char *, int, int, int, int *, int, int, int), std::array<int, 3> c, int cyan) {
        unsigned char p[4] = {static_cast<unsigned char>(c[0]), static_cast<unsigned char>(c[1]),
                              static_cast<unsigned char>(c[2]), 0};
        int v[3] = {c[0], c[1], c[2]};
        std::sort(v, v + 3);
        int delta[3] = {0, 0, 0};
        f(p, v[0], v[1], v[2], delta, cyan, 0, 0);
        return delta[0];
    };
    EXPECT_GT(run(SFDSP::KVSelectiveColorRed, {200, 40, 30}, 50), 0);
    EXPECT_EQ(run(SFDSP::KVSelectiveColorRed, {200, 200, 30}, 50), 0);  // a tie belongs to no hue
    EXPECT_EQ(run(SFDSP::KVSelectiveColorRed, {30, 200, 40}, 50), 0);
    EXPECT_GT(run(SFDSP::KVSelectiveColorGreen, {30, 200, 40}, 50), 0);
    EXPECT_LT(run(SFDSP::KVSelectiveColorBlack, {0, 0, 0}, -50), 0);  // a negative percentage adds
    EXPECT_EQ(run(SFDSP::KVSelectiveColorBlack, {0, 0, 0}, 50), 0);   // nothing to take from 0
    EXPECT_EQ(run(SFDSP::KVSelectiveColorGray, {0, 0, 0}, 50), 0);
    EXPECT_EQ(run(SFDSP::KVSelectiveColorGray, {255, 255, 255}, 50), 0);
    EXPECT_EQ(run(SFDSP::KVSelectiveColorWhite, {200, 200, 200}, 50), 16);  // (56 * 145 * 50 + 12800) / 25600
    EXPECT_EQ(run(SFDSP::KVSelectiveColorWhite, {128, 200, 200}, 50), 0);
    // Above 100 a bright byte is pushed harder than 100 would push it.
    EXPECT_GT(run(SFDSP::KVSelectiveColorWhite, {250, 250, 250}, 300), run(SFDSP::KVSelectiveColorWhite, {250, 250, 250}, 100));
    run(SFDSP::KVSelectiveColorYellow, {200, 200, 10}, -2147483647);  // limited, no overflow
}
