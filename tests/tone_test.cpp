// Curves, the tone routines and the mask files.
#include "sfcurve.h"
#include "sfdsp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "test_util.h"

using namespace klav;

namespace {
using Image = std::vector<unsigned char>;

std::string TempPath(const char *name) { return std::string("/tmp/klav-tone-") + std::to_string(getpid()) + "-" + name; }

void WriteBytes(const std::string &path, const std::vector<unsigned char> &bytes) {
    FILE *f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
}
}  // namespace

TEST(Curves, IdentityChannelsAndTheMiddleCurve) {
    Image img = testutil::RandomBytes(30 * 20 * 4, 1), out = img;
    SFCurve curve;
    curve.ApplyCurve(SFCurve::CHANNEL_MASTER, out.data(), 20, 30);
    EXPECT_EQ(out, img);
    KvPointI dark[3] = {KvPointI(0, 0), KvPointI(128, 60), KvPointI(255, 255)};
    curve.GetCurveByPoints(dark, 3, SFCurve::CHANNEL_RED);
    curve.ApplyCurve(SFCurve::CHANNEL_COMPOSITE, out.data(), 20, 30);
    EXPECT_EQ(out, img);  // composite changes no byte
    curve.ApplyCurve(SFCurve::CHANNEL_RED, out.data(), 20, 30);
    for (size_t i = 0; i < img.size(); ++i) {
        if (i % 4 == 0) EXPECT_LE(out[i], img[i]);
        else EXPECT_EQ(out[i], img[i]);
    }
    unsigned char table[256];
    SFDSP::GeneCurveMiddle(table, 128, 128);
    for (int i = 0; i < 256; ++i) EXPECT_NEAR(table[i], i, 2) << i;
    SFDSP::GeneCurveMiddle(table, 100, 160);
    for (int i = 1; i < 256; ++i) EXPECT_GE(table[i], table[i - 1]);
    EXPECT_GT(table[100], 140);
    // Two points with the same x give one sample; a channel outside the
    // enumeration changes nothing.
    KvPointI step[4] = {KvPointI(0, 0), KvPointI(100, 50), KvPointI(100, 200), KvPointI(255, 255)};
    curve.getBezierPoints(step, 4, table);
    curve.GetCurveByPoints(step, 4, static_cast<SFCurve::Channel>(9));
    KvPointI line[2] = {KvPointI(0, 40), KvPointI(255, 200)};
    curve.getBezierPoints(line, 2, table);
    EXPECT_NEAR(table[128], 40 + 160 * 128 / 255, 1);
}

TEST(ToneRoutines, MixSharpHsbAndSaturation) {
    Image a = testutil::RandomBytes(10 * 10 * 4, 2), b = testutil::RandomBytes(10 * 10 * 4, 3);
    Image x = a;
    EXPECT_TRUE(SFDSP::ImageMix(x.data(), b.data(), 10, 10, 0, 0, nullptr));
    EXPECT_EQ(x, a);
    EXPECT_TRUE(SFDSP::ImageMix(x.data(), b.data(), 10, 10, 100, 0, nullptr));
    for (size_t i = 0; i < x.size(); ++i) EXPECT_EQ(x[i], i % 4 == 3 ? a[i] : b[i]);
    EXPECT_FALSE(SFDSP::ImageMix(nullptr, b.data(), 10, 10, 50, 0, nullptr));

    Image s = a;
    SFDSP::Sharp(s.data(), b.data(), 10, 10, 0.0f);
    EXPECT_EQ(s, a);
    SFDSP::Sharp(s.data(), a.data(), 10, 10, 2.0f);
    EXPECT_EQ(s, a);  // nothing to sharpen against itself

    unsigned char grey[4] = {90, 90, 90, 5};
    SFDSP::HueSaturationBright(grey, 1, 1, 0, 0, 0);
    EXPECT_EQ(grey[0], 90);
    EXPECT_EQ(grey[2], 90);
    unsigned char rose[4] = {255, 0, 43, 0};  // hue near 350
    SFDSP::HueSaturationBright(rose, 1, 1, 40, 0, 0);  // stops at 360, not wrapped
    EXPECT_EQ(rose[0], 255);
    EXPECT_EQ(rose[2], 0);

    Image sat = a;
    SFDSP::Saturateconst_Faster(sat.data(), 10, 10, 0);
    EXPECT_EQ(sat, a);
    SFDSP::Saturateconst_Faster(sat.data(), 10, 10, -100);
    for (size_t i = 0; i < sat.size(); i += 4) {
        EXPECT_EQ(sat[i], sat[i + 1]);
        EXPECT_EQ(sat[i + 1], sat[i + 2]);
        EXPECT_NEAR(sat[i], (a[i] * 79 + a[i + 1] * 156 + a[i + 2] * 21) / 256, 1);
    }
    Image rect = a;
    SFDSP::Saturateconst_Faster(rect.data(), 10, 2, 2, 3, 3, -100);
    EXPECT_EQ(rect[0], a[0]);
    SFDSP::Saturateconst_Faster(rect.data(), 10, 8, 0, 5, 3, -100);  // reaches past the row: refused

    Image wash = a;
    SFDSP::HQCColor(wash.data(), 100, 0.0f);
    EXPECT_EQ(wash, a);
    Image zero(100, 7), mask(100, 0);
    SFDSP::ShadowHighlightZdk(a.data(), 10, 10, mask.data(), zero.data());
    EXPECT_EQ(zero, Image(100, 0));
}

TEST(ToneRoutines, AutomaticToneAndTheWarmTone) {
    // A dull image (levels 90..160) is stretched to the full range.
    Image img(64 * 64 * 4);
    for (size_t i = 0; i < img.size(); ++i) img[i] = static_cast<unsigned char>(i % 4 == 3 ? 200 : 90 + (i * 7) % 71);
    Image out = img;
    SFDSP::AdjustTone(out.data(), 64, 64, 0.0f, true);
    EXPECT_EQ(out, img);
    SFDSP::AdjustTone(out.data(), 64, 64, 1.0f, true);
    int lo = 255, hi = 0;
    for (size_t i = 0; i < out.size(); ++i)
        if (i % 4 != 3) lo = std::min<int>(lo, out[i]), hi = std::max<int>(hi, out[i]);
    EXPECT_LE(lo, 5);
    EXPECT_GE(hi, 250);
    EXPECT_EQ(out[3], 200);
    Image again = out;
    SFDSP::AdjustTone(again.data(), 64, 64, 1.0f, false);
    for (size_t i = 0; i < out.size(); ++i) EXPECT_LE(std::abs(again[i] - out[i]), 3);  // nearly idempotent
    // A grey stays grey when the colour is kept.
    unsigned char greyPx[8] = {40, 40, 40, 0, 200, 200, 200, 0};
    SFDSP::AdjustTone(greyPx, 2, 1, 1.0f, true);
    EXPECT_EQ(greyPx[0], greyPx[2]);

    Image ramp(256 * 4);
    for (int v = 0; v < 256; ++v) ramp[v * 4] = ramp[v * 4 + 1] = ramp[v * 4 + 2] = static_cast<unsigned char>(v), ramp[v * 4 + 3] = 9;
    SFDSP::WeiMei(ramp.data(), 256, 1);
    EXPECT_EQ(ramp[0], 0);
    EXPECT_EQ(ramp[255 * 4 + 2], 255);
    EXPECT_GT(ramp[128 * 4], ramp[128 * 4 + 2]);  // warm: red above blue
    EXPECT_GE(ramp[128 * 4 + 1], 128);             // mid-tones lifted
    for (int v = 1; v < 256; ++v)
        for (int c = 0; c < 3; ++c) EXPECT_GE(ramp[v * 4 + c], ramp[(v - 1) * 4 + c]);
    EXPECT_EQ(ramp[3], 9);
}

TEST(MaskFiles, RoundTripAndUntrustedFiles) {
    const std::string path = TempPath("mask.bin");
    unsigned char two[4] = {0, 255, 17, 128};
    ASSERT_TRUE(SFDSP::SaveMaskImage(path.c_str(), two, 2, 2));
    FILE *f = std::fopen(path.c_str(), "rb");
    std::fseek(f, 0, SEEK_END);
    EXPECT_EQ(std::ftell(f), 12);  // two ints and four bytes
    std::fclose(f);
    unsigned char *data = nullptr;
    int w = 0, h = 0;
    ASSERT_TRUE(SFDSP::LoadMaskImage(path.c_str(), &data, w, h));
    EXPECT_EQ(w, 2);
    EXPECT_EQ(h, 2);
    EXPECT_EQ(data[1], 255);
    EXPECT_EQ(data[3], 128);
    klavFree(data);

    // Truncated data: true, the missing bytes zero.
    WriteBytes(path, {3, 0, 0, 0, 2, 0, 0, 0, 9, 9});
    data = nullptr;
    ASSERT_TRUE(SFDSP::LoadMaskImage(path.c_str(), &data, w, h));
    EXPECT_EQ(data[1], 9);
    EXPECT_EQ(data[2], 0);
    EXPECT_EQ(data[5], 0);
    klavFree(data);

    // Headers that name no image, or one past the int range, and a header
    // cut short: false, nothing allocated, outputs untouched.
    const std::vector<std::vector<unsigned char>> bad = {
        {0, 0, 0, 0, 5, 0, 0, 0},       {255, 255, 255, 255, 5, 0, 0, 0},
        {0, 0, 1, 0, 0, 0, 1, 0},       {255, 255, 255, 127, 255, 255, 255, 127},
        {4, 0, 0},                      {}};
    for (const auto &bytes : bad) {
        WriteBytes(path, bytes);
        unsigned char *untouched = reinterpret_cast<unsigned char *>(0x1);
        int uw = -7, uh = -8;
        EXPECT_FALSE(SFDSP::LoadMaskImage(path.c_str(), &untouched, uw, uh)) << bytes.size();
        EXPECT_EQ(untouched, reinterpret_cast<unsigned char *>(0x1));
        EXPECT_EQ(uw, -7);
        EXPECT_EQ(uh, -8);
    }
    EXPECT_FALSE(SFDSP::LoadMaskImage("/nonexistent/klav/mask.bin", &data, w, h));
    EXPECT_FALSE(SFDSP::LoadMaskImage(nullptr, &data, w, h));
    EXPECT_FALSE(SFDSP::SaveMaskImage(path.c_str(), nullptr, 2, 2));
    EXPECT_FALSE(SFDSP::SaveBinChannel(path.c_str(), two, 2, 2, 0));
    unsigned char rgba[16] = {0};
    EXPECT_TRUE(SFDSP::SaveBinChannel(path.c_str(), rgba, 2, 2, 4));
    std::remove(path.c_str());
}
