// The liquify brush: stroke rules, the persistent field and its limits.
#include "liquify.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "test_util.h"

using namespace klav;

namespace klav {
struct CLiquifyTestAccess {
    static const double *Field(CLiquify &l) { return l.m_field; }
    static double Power(CLiquify &l) { return l.m_power; }
};
}  // namespace klav

namespace {

const int W = 64, H = 48;

// A brush over a random source; the show image starts as its copy.
struct Brush {
    std::vector<unsigned char> src = testutil::RandomBytes(W * H * 4, 5), show = src;
    CLiquify liq;
    Brush(int radius, int percent) {
        liq.SetRadius(radius);
        liq.SetIntensity(percent);
        liq.SetImageAndDestImage(show.data(), src.data(), W, H);
    }
    std::vector<double> field() { return {CLiquifyTestAccess::Field(liq), CLiquifyTestAccess::Field(liq) + W * H * 2}; }
};

double Norm(const std::vector<double> &f) {
    double s = 0;
    for (double v : f) s += v * v;
    return std::sqrt(s);
}

}  // namespace

TEST(Liquify, ZeroLengthMoveLeavesFieldAndImage) {
    Brush b(10, 80);
    b.liq.ProcImage(30, 20, 30, 20, DEFORM_MOVE);
    EXPECT_EQ(Norm(b.field()), 0.0);
    // Redrawn from the source at whole pixels: the bicubic taps reduce to
    // the pixel itself.
    EXPECT_EQ(b.show, b.src);
}

TEST(Liquify, MoveStrokeShiftsContentAndTouchesOnlyTheBrush) {
    // A vertical edge at x = 32; a stroke to the right pushes it right.
    std::vector<unsigned char> src(W * H * 4, 255);
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < 32; ++x)
            for (int c = 0; c < 3; ++c) src[(y * W + x) * 4 + c] = 0;
    std::vector<unsigned char> show = src;
    CLiquify liq;
    liq.SetRadius(12);
    liq.SetIntensity(100);
    liq.SetImageAndDestImage(show.data(), src.data(), W, H);
    liq.ProcImage(38, 24, 28, 24, DEFORM_MOVE);
    EXPECT_LT(show[(24 * W + 33) * 4], 128) << "dark pixels drawn across the edge";
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            const size_t at = (static_cast<size_t>(y) * W + x) * 4;
            EXPECT_EQ(show[at + 3], src[at + 3]);
            // Outside every brush centre's radius nothing changes.
            float nearest = 1e9f;
            for (int k = 0; k <= 10; ++k) nearest = std::min(nearest, std::hypot(x - (28.0f + k), y - 24.0f));
            if (nearest > 12) {
                ASSERT_EQ(show[at], src[at]) << x << "," << y;
            }
        }
}

TEST(Liquify, NegativeIntensityBulgesWhateverTheMode) {
    for (DeformMode asked : {DEFORM_MOVE, DEFORM_RESTORE, DEFORM_PINCH}) {
        Brush neg(9, -60), pos(9, 60);
        neg.liq.ProcImage(20, 20, 25, 22, asked);
        pos.liq.ProcImage(20, 20, 25, 22, DEFORM_BULGE);
        EXPECT_EQ(neg.field(), pos.field()) << asked;
        EXPECT_EQ(neg.show, pos.show) << asked;
        EXPECT_DOUBLE_EQ(CLiquifyTestAccess::Power(neg.liq), 0.6);
        EXPECT_GT(Norm(neg.field()), 0);
    }
}

TEST(Liquify, RestoreShrinksTheFieldAndTwirlsAreOpposite) {
    Brush b(10, 100);
    b.liq.ProcImage(30, 20, 30, 20, DEFORM_BULGE);
    const std::vector<double> before = b.field();
    b.liq.SetIntensity(50);
    b.liq.ProcImage(30, 20, 0, 0, DEFORM_RESTORE);
    const std::vector<double> after = b.field();
    EXPECT_LT(Norm(after), Norm(before));
    for (size_t i = 0; i < after.size(); ++i) EXPECT_LE(std::fabs(after[i]), std::fabs(before[i]) + 1e-12);
    // Twirls one way and the other way are mirror fields.
    Brush t4(8, 70), t5(8, 70);
    t4.liq.ProcImage(30, 20, 0, 0, DEFORM_TWIRL_A);
    t5.liq.ProcImage(30, 20, 0, 0, DEFORM_TWIRL_B);
    const std::vector<double> f4 = t4.field(), f5 = t5.field();
    for (size_t i = 0; i < f4.size(); ++i) EXPECT_NEAR(f4[i], -f5[i], 1e-9);
    EXPECT_GT(Norm(f4), 0);
}

TEST(Liquify, FieldKeepsEveryPixelInsideTheImage) {
    Brush b(20, 900);
    for (DeformMode m : {DEFORM_PINCH, DEFORM_BULGE, DEFORM_TWIRL_A, DEFORM_MOVE})
        for (auto p : {std::pair<int, int>{0, 0}, {W - 1, H - 1}, {W - 1, 0}, {3, H - 2}})
            b.liq.ProcImage(p.first, p.second, W / 2, H / 2, m);
    b.liq.AutoProcImage(0, 0, W - 1, H, 0);
    const std::vector<double> f = b.field();
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            const double px = x + f[(y * W + x) * 2], py = y + f[(y * W + x) * 2 + 1];
            ASSERT_TRUE(px >= -1e-9 && px <= W - 1 + 1e-9 && py >= -1e-9 && py <= H - 1 + 1e-9) << x << "," << y;
        }
    EXPECT_GT(Norm(f), 0);
}

TEST(Liquify, IgnoredStrokesAndBadSettings) {
    Brush b(10, 50);
    b.liq.ProcImage(-1, 5, 10, 10, DEFORM_MOVE);
    b.liq.ProcImage(5, 5, W, 10, DEFORM_MOVE);
    b.liq.ProcImage(5, 5, 10, 10, static_cast<DeformMode>(9));
    b.liq.SetIntensity(0);
    b.liq.ProcImage(5, 5, 10, 10, DEFORM_BULGE);
    EXPECT_EQ(Norm(b.field()), 0.0);
    EXPECT_EQ(b.show, b.src);
    // No radius, a negative or an absurd one, a one-pixel image, a huge box,
    // and a stroke after the memory is gone.
    for (int r : {0, -5, 1 << 30}) {
        Brush c(r, 50);
        c.liq.ProcImage(5, 5, 10, 10, DEFORM_BULGE);
        c.liq.AutoProcImage(0, 0, W, H, 0);
    }
    std::vector<unsigned char> one(4, 7), oneSrc(4, 9);
    CLiquify tiny;
    tiny.SetRadius(3);
    tiny.SetIntensity(100);
    tiny.SetImageAndDestImage(one.data(), oneSrc.data(), 1, 1);
    tiny.ProcImage(0, 0, 0, 0, DEFORM_BULGE);
    tiny.ProcImage(0, 0, 0, 0, DEFORM_MOVE);
    EXPECT_EQ(one[0], 9);
    b.liq.SetIntensity(50);
    b.liq.AutoProcImage(-2000000000, -2000000000, 2000000000, -1999999990, 0);
    b.liq.DestroyMem();
    b.liq.ProcImage(5, 5, 10, 10, DEFORM_BULGE);
    EXPECT_EQ(b.show, b.src);
}
