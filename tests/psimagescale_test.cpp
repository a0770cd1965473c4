// Image scaling: tap tables, positions, pass order, flat images, thread
// independence, the wrappers and the argument checks.
#include "psimagescale.h"
#include "sfdsp.h"

#include "scale_internal.h"

#include <gtest/gtest.h>

#include "test_util.h"

#include <cmath>
#include <random>
#include <vector>

using namespace klav;

namespace klav {
struct PsImageScaleTestAccess {
    static void SetThreads(PsImageScale &s, int n) { s.m_threadCount = n; }
};
}  // namespace klav

namespace {
using Image = std::vector<unsigned char>;
Image Random(size_t n, unsigned seed) { return testutil::RandomBytes(n, seed); }
}  // namespace

TEST(ScaleTables, RowsSumTo16384AndTapCountsFollowTheScale) {
    for (int mode : {1, 2, 3}) {
        for (double scale : {4.0, 1.5, 1.0, 0.9, 0.6, 0.4, 0.25, 0.1}) {
            detail::ScaleTaps t = detail::CountTable(scale, mode);
            int expectTaps;
            if (scale >= 1.0) {
                expectTaps = mode == 3 ? 4 : 6;
            } else {
                const double b = mode == 1 ? 1.15 : mode == 3 ? 1.0 : 1.05;
                expectTaps = std::ceil(4 / (std::max(scale, 0.25) / b)) < 11 ? 10 : 20;
            }
            EXPECT_EQ(t.taps, expectTaps) << "mode " << mode << " scale " << scale;
            for (int r = 0; r < 128; ++r) {
                int sum = 0;
                for (int j = 0; j < t.taps; ++j) sum += t.Row(r)[j];
                // Each weight is truncated toward zero on its own.
                EXPECT_LE(std::abs(sum - 16384), t.taps) << "mode " << mode << " scale " << scale << " phase " << r;
            }
        }
    }
    // Both 10- and 20-tap tables occur.
    EXPECT_EQ(detail::CountTable(0.5, 1).taps, 10);
    EXPECT_EQ(detail::CountTable(0.3, 2).taps, 20);
    // Below a quarter the table is the quarter's.
    EXPECT_EQ(detail::CountTable(0.1, 2).weights, detail::CountTable(0.25, 2).weights);
    // Phase 0 of the 4-tap enlarging table peaks on the tap at the source pixel.
    detail::ScaleTaps e = detail::CountTable(2.0, 3);
    EXPECT_EQ(e.Row(0)[1], 16384);
    EXPECT_EQ(e.Row(0)[0], 0);
    EXPECT_DOUBLE_EQ(detail::ExpandWay(0.5), detail::ShrinkWay(0.5, -0.75));
    EXPECT_DOUBLE_EQ(detail::ExpandWay(1.5), detail::ShrinkWay(1.5, -0.75));
}

TEST(ScalePositions, CubicCentresAndBilinearTakesTheHalfOffFirst) {
    detail::ScalePositions up = detail::DstInSrcIndexCube(8, 2);
    // p = 0.125 - 0.5 at the start of an enlargement: q = trunc(-47.5) = -47,
    // index -47 >> 7 = -1, phase -47 & 127 = 81.
    EXPECT_EQ(up.index[0], -1);
    EXPECT_EQ(up.phase[0], 81);
    for (size_t i = 1; i < up.index.size(); ++i)
        EXPECT_GE(up.index[i] * 128 + up.phase[i], up.index[i - 1] * 128 + up.phase[i - 1]);
    EXPECT_EQ(up.index.back(), 1);  // clamped to src * 128 - 128
    EXPECT_EQ(up.phase.back(), 0);
    detail::ScalePositions lin = detail::DstInSrcIndex(4, 8);
    // p = (i + 0.5) / 4 * 7.5
    for (int i = 0; i < 4; ++i) {
        float p = (i + 0.5f) / 4.0f * 7.5f;
        long long q = static_cast<long long>(p * 128.0 + 0.5);
        EXPECT_EQ(lin.index[i] * 128 + lin.phase[i], q);
    }
}

TEST(Scale, FlatStaysFlatAndArgumentsAreChecked) {
    PsImageScale scaler;
    for (int channels : {1, 4}) {
        Image flat(50 * 40 * channels, 140);
        for (int mode : {0, 1, 2, 3}) {
            for (auto size : {std::pair<int, int>{17, 13}, {123, 97}, {50, 9}, {7, 80}}) {
                Image out(size.first * size.second * channels, 0);
                ASSERT_TRUE(scaler.Run(flat.data(), 50, 40, out.data(), size.first, size.second, channels,
                                       static_cast<eScaleMode>(mode)));
                // A flat source loses at most the truncation of the weights.
                for (unsigned char v : out) ASSERT_NEAR(v, 140, 1) << "mode " << mode;
            }
        }
    }
    Image src = Random(8 * 8 * 4, 1), dst(8 * 8 * 4, 7), untouched = dst;
    EXPECT_TRUE(scaler.Run(src.data(), 8, 8, dst.data(), 8, 8, 4, KV_SCALE_CUBIC));
    EXPECT_EQ(dst, src);
    EXPECT_FALSE(scaler.Run(src.data(), 8, 8, untouched.data(), 4, 4, 3, KV_SCALE_CUBIC));
    EXPECT_FALSE(scaler.Run(nullptr, 8, 8, untouched.data(), 4, 4, 4, KV_SCALE_CUBIC));
    EXPECT_FALSE(scaler.Run(src.data(), 8, -8, untouched.data(), 4, 4, 4, KV_SCALE_CUBIC));
    EXPECT_FALSE(scaler.Run(src.data(), 8, 8, untouched.data(), 0, 4, 4, KV_SCALE_CUBIC));
    EXPECT_EQ(untouched, Image(8 * 8 * 4, 7));
}

TEST(Scale, BytesDoNotDependOnTheThreadCount) {
    const int sw = 97, sh = 61;
    for (int channels : {1, 4}) {
        Image src = Random(sw * sh * channels, channels);
        for (int mode : {0, 1, 2, 3}) {
            for (auto size : {std::pair<int, int>{40, 25}, {211, 150}, {300, 30}, {20, 400}}) {
                Image ref(size.first * size.second * channels), out(ref.size());
                PsImageScale one, many;
                PsImageScaleTestAccess::SetThreads(one, 1);
                PsImageScaleTestAccess::SetThreads(many, 3);
                one.Run(src.data(), sw, sh, ref.data(), size.first, size.second, channels, static_cast<eScaleMode>(mode));
                many.Run(src.data(), sw, sh, out.data(), size.first, size.second, channels, static_cast<eScaleMode>(mode));
                EXPECT_EQ(out, ref) << "mode " << mode << " channels " << channels;
            }
        }
    }
}

TEST(Scale, FastWidthPassGivesThePlainBytes) {
    Image src = Random(131 * 37 * 4, 11);
    for (int mode : {0, 1, 2, 3}) {
        for (int dw : {20, 60, 100, 262, 500}) {
            Image fast(dw * 37 * 4), plain(fast.size());
            detail::g_scaleFast = true;
            PsImageScale().Run(src.data(), 131, 37, fast.data(), dw, 37, 4, static_cast<eScaleMode>(mode));
            detail::g_scaleFast = false;
            PsImageScale().Run(src.data(), 131, 37, plain.data(), dw, 37, 4, static_cast<eScaleMode>(mode));
            detail::g_scaleFast = true;
            EXPECT_EQ(fast, plain) << "mode " << mode << " width " << dw;
        }
    }
}

TEST(Scale, PassOrderAndTableChoice) {
    // A horizontal ramp scaled in width only reproduces the width pass of
    // the ramp; a vertical ramp scaled in height only, the height pass.
    const int sw = 64, sh = 48;
    Image ramp(sw * sh);
    for (int y = 0; y < sh; ++y)
        for (int x = 0; x < sw; ++x) ramp[y * sw + x] = static_cast<unsigned char>(x * 4);
    Image wide(100 * sh);
    PsImageScale scaler;
    scaler.Run(ramp.data(), sw, sh, wide.data(), 100, sh, 1, KV_SCALE_CUBIC);
    for (int y = 1; y < sh; ++y)
        for (int x = 0; x < 100; ++x) ASSERT_EQ(wide[y * 100 + x], wide[x]);  // rows stay equal
    for (int x = 1; x < 100; ++x) EXPECT_GE(wide[x] + 1, wide[x - 1]);        // and increasing

    // Reduction 40x40 -> 31x39 keeps the aspect (|A - B| = 31 < 40), so the
    // height pass (scale 39/40) runs with the width's table (scale 31/40)
    // and differs from a height pass with its own table followed by the
    // width pass.
    Image sq = Random(40 * 40, 8), kept(31 * 39), heightOnly(40 * 39), widthThen(31 * 39);
    scaler.Run(sq.data(), 40, 40, kept.data(), 31, 39, 1, KV_SCALE_CUBIC);
    scaler.Run(sq.data(), 40, 40, heightOnly.data(), 40, 39, 1, KV_SCALE_CUBIC);
    scaler.Run(heightOnly.data(), 40, 39, widthThen.data(), 31, 39, 1, KV_SCALE_CUBIC);
    EXPECT_NE(kept, widthThen);
}

TEST(Scale, WrappersAndExtremeSizes) {
    Image src = Random(20 * 10 * 4, 4), a(40 * 20 * 4), b(a.size());
    EXPECT_TRUE(SFDSP::BilinearReSample(src.data(), 20, 10, a.data(), 40, 20, 4));
    PsImageScale().Run(src.data(), 20, 10, b.data(), 40, 20, 4, KV_SCALE_CUBIC_SOFT);
    EXPECT_EQ(a, b);  // enlarging takes mode 1
    Image c(10 * 5 * 4), d(c.size());
    SFDSP::BilinearReSample(src.data(), 20, 10, c.data(), 10, 5, 4);
    PsImageScale().Run(src.data(), 20, 10, d.data(), 10, 5, 4, KV_SCALE_CUBIC);
    EXPECT_EQ(c, d);  // reducing takes mode 2
    EXPECT_TRUE(SFDSP::BilinearReSample(nullptr, 20, 10, c.data(), 10, 5, 4, KV_SCALE_CUBIC));
    EXPECT_FALSE(SFDSP::imresize(src.data(), 20, 10, c.data(), 10, 5, 3));
    EXPECT_TRUE(SFDSP::BilinearReSampleORIG(src.data(), 20, 10, c.data(), 10, 5, 4));

    // 1-pixel sources, lines, huge enlargement and strong reduction stay in
    // bounds (checked under the sanitizers).
    PsImageScale scaler;
    Image one = Random(4, 5), big(2000 * 4), tall(3 * 900);
    for (int mode : {0, 1, 2, 3}) {
        scaler.Run(one.data(), 1, 1, big.data(), 2000, 1, 4, static_cast<eScaleMode>(mode));
        Image line = Random(1000, 6), tiny(3);
        scaler.Run(line.data(), 1000, 1, tiny.data(), 3, 1, 1, static_cast<eScaleMode>(mode));
        Image col = Random(3, 7);
        scaler.Run(col.data(), 1, 3, tall.data(), 1, 900, 1, static_cast<eScaleMode>(mode));
    }
}
