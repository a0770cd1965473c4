// The stack blur family against a plain triangular-kernel reference, the
// thread splits, the radius guards, the box blurs and the median.
#include "contours.h"
#include "sfdsp.h"
#include "stackblur.h"
#include "superfastblur.h"

#include "blur_internal.h"
#include "common.h"

#include <gtest/gtest.h>

#include "test_util.h"

#include <algorithm>
#include <random>
#include <vector>

using namespace klav;

namespace klav {
struct CStackBlurTestAccess {
    static void Channel1(unsigned char *p, int w, int h, int r) { CStackBlur::RunChannel1(p, w, h, r); }
    static void Channel4(unsigned char *p, int w, int h, int r) { CStackBlur::RunChannel4(p, w, h, r); }
};
struct CContoursTestAccess {
    static void Blur(unsigned char *p, int w, int h, int r) { CContours::BlurOneChannel(p, w, h, r); }
};
}  // namespace klav

namespace {

using Image = std::vector<unsigned char>;

Image Random(size_t n, unsigned seed) { return testutil::RandomBytes(n, seed); }

// Triangular kernel of radius r with clamped taps along rows, truncation,
// then along columns, truncation; channels 0..C-1 of `ps`-byte pixels.
Image Reference(const Image &in, int w, int h, int r, int ps, int C) {
    Image tmp(in), out(in);
    const int d = (r + 1) * (r + 1);
    for (int c = 0; c < C; ++c) {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                long long s = 0;
                for (int i = -r; i <= r; ++i) {
                    int xx = std::min(std::max(x + i, 0), w - 1);
                    s += static_cast<long long>(r + 1 - std::abs(i)) * in[(y * w + xx) * ps + c];
                }
                tmp[(y * w + x) * ps + c] = static_cast<unsigned char>(s / d);
            }
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                long long s = 0;
                for (int i = -r; i <= r; ++i) {
                    int yy = std::min(std::max(y + i, 0), h - 1);
                    s += static_cast<long long>(r + 1 - std::abs(i)) * tmp[(yy * w + x) * ps + c];
                }
                out[(y * w + x) * ps + c] = static_cast<unsigned char>(s / d);
            }
    }
    return out;
}

}  // namespace

TEST(StackBlur, EveryMemberMatchesTheTriangularKernel) {
    const int sizes[][2] = {{1, 1}, {7, 3}, {33, 17}, {64, 61}};
    for (auto s : sizes) {
        const int w = s[0], h = s[1];
        for (int r : {0, 1, 2, 5, 12, 40}) {
            Image one = Random(w * h, w * 31 + r), four = Random(w * h * 4, h * 7 + r);
            Image ref1 = Reference(one, w, h, r, 1, 1), ref4 = Reference(four, w, h, r, 4, 3);
            auto check1 = [&](void (*f)(unsigned char *, int, int, int), const char *name) {
                Image img = one;
                f(img.data(), w, h, r);
                EXPECT_EQ(img, ref1) << name << " " << w << "x" << h << " r " << r;
            };
            auto check4 = [&](void (*f)(unsigned char *, int, int, int), const char *name) {
                Image img = four;
                f(img.data(), w, h, r);
                EXPECT_EQ(img, ref4) << name << " " << w << "x" << h << " r " << r;
            };
            check1(SFDSP::BlurOneChannel, "BlurOneChannel");
            check1(CStackBlurTestAccess::Channel1, "RunChannel1");
            check1(CContoursTestAccess::Blur, "CContours::BlurOneChannel");
            check4(SFDSP::stackBlur, "stackBlur");
            check4(CStackBlurTestAccess::Channel4, "RunChannel4");
            if (r <= std::min(w, h) / 2) {
                check1(SFDSP::stackBlurOneChannel, "stackBlurOneChannel");
                check4(SFDSP::BlurFourChannle, "BlurFourChannle");
            }
        }
    }
}

TEST(StackBlur, ThreadSplitsGiveTheOneThreadBytes) {
    // One channel: heights around the 50-row rule, radii on both sides of
    // the 4 * radius rule, any thread count.
    for (int h : {49, 50, 51, 100, 203}) {
        for (int r : {1, 5, 12, 13, 30}) {
            const int w = 37;
            Image base = Random(w * h, h * 100 + r), single = base;
            SFDSP::BlurOneChannelOptimized(single.data(), w, h, r, 1);
            for (int t : {2, 3, 5}) {
                Image img = base;
                SFDSP::BlurOneChannelOptimized(img.data(), w, h, r, t);
                EXPECT_EQ(img, single) << "h " << h << " r " << r << " threads " << t;
            }
        }
    }
    // Four channels: row and column bands, the last taking the remainder
    // (3 threads on 100 rows: 33, 33, 34).
    for (int h : {50, 51, 100, 131}) {
        for (int t : {2, 3, 4, 7, 1000}) {
            const int w = 45, r = 6;
            Image base = Random(w * h * 4, h + t), single = base, img = base;
            SFDSP::stackBlurOptimizedThreadN(single.data(), w, h, r, 1);
            SFDSP::stackBlurOptimizedThreadN(img.data(), w, h, r, t);
            EXPECT_EQ(img, single) << "h " << h << " threads " << t;
        }
    }
    // More bands than columns still gives the same bytes.
    Image narrow = Random(3 * 80 * 4, 5), narrow1 = narrow;
    SFDSP::stackBlurOptimizedThreadN(narrow1.data(), 3, 80, 4, 1);
    SFDSP::stackBlurOptimizedThreadN(narrow.data(), 3, 80, 4, 4);
    EXPECT_EQ(narrow, narrow1);
}

TEST(StackBlur, FloatQuotientsAreExactWhereTheyAreUsed) {
    for (int r = 0; r <= 63; ++r) {
        detail::BlurTables t(r);
        ASSERT_TRUE(t.floatDivide);
        const int d = (r + 1) * (r + 1);
        for (int sum = 0; sum < 256 * d; ++sum)
            ASSERT_EQ(static_cast<int>((static_cast<float>(sum) + 0.5f) * t.reciprocal), sum / d) << "r " << r;
    }
    EXPECT_FALSE(detail::BlurTables(64).floatDivide);
}

TEST(StackBlur, FastAndPlainPassesGiveTheSameBytes) {
    for (int r : {0, 1, 4, 33, 63, 64, 90}) {
        for (int pb : {1, 4}) {
            const int w = 41, h = 57;
            Image base = Random(w * h * pb, r * 3 + pb), plain = base, fast = base, hpPlain = base, hpFast = base;
            detail::g_blurFast = false;
            detail::BlurImage(plain.data(), w, h, r, pb, detail::BlurStore::Plain);
            detail::BlurImage(hpPlain.data(), w, h, r, pb, detail::BlurStore::HighPass);
            detail::g_blurFast = true;
            detail::BlurImage(fast.data(), w, h, r, pb, detail::BlurStore::Plain);
            detail::BlurImage(hpFast.data(), w, h, r, pb, detail::BlurStore::HighPass);
            EXPECT_EQ(fast, plain) << "r " << r << " bytes " << pb;
            EXPECT_EQ(hpFast, hpPlain) << "r " << r << " bytes " << pb;
        }
    }
}

TEST(StackBlur, UniformStaysUniformAndAlphaIsNeverWritten) {
    for (int r : {1, 7, 300}) {
        for (int t : {1, 2, 4}) {
            Image img(60 * 70 * 4);
            for (size_t i = 0; i < img.size(); ++i) img[i] = (i % 4 == 3) ? static_cast<unsigned char>(i * 13) : 77;
            Image before = img;
            SFDSP::stackBlurOptimizedThreadN(img.data(), 60, 70, r, t);
            EXPECT_EQ(img, before) << "r " << r << " threads " << t;
        }
    }
    Image hp = Random(20 * 20 * 4, 1);
    for (size_t i = 0; i < hp.size(); ++i)
        if (i % 4 != 3) hp[i] = 90;
    Image before = hp;
    SFDSP::stackBlurAndHighPass(hp.data(), 20, 20, 4);
    for (size_t i = 0; i < hp.size(); ++i) EXPECT_EQ(hp[i], i % 4 == 3 ? before[i] : 128) << i;
}

TEST(StackBlur, HighPassIsSourceMinusBlurPlus128) {
    const int w = 31, h = 23, r = 3;
    Image img = Random(w * h * 4, 77), ref = Reference(img, w, h, r, 4, 3), out = img;
    SFDSP::stackBlurAndHighPass(out.data(), w, h, r);
    for (size_t i = 0; i < img.size(); ++i) {
        if (i % 4 == 3) continue;
        int expect = std::min(255, std::max(0, img[i] - ref[i] + 128));
        ASSERT_EQ(out[i], expect) << i;
    }
    Image same = img;
    SFDSP::stackBlurAndHighPass(same.data(), w, h, 0);
    EXPECT_EQ(same, img);
}

TEST(StackBlur, GuardsAndBadArguments) {
    // The clamping members lower the radius to half the shorter side.
    Image a = Random(3 * 100, 4), b = a;
    SFDSP::stackBlurOneChannel(a.data(), 3, 100, 10);
    SFDSP::BlurOneChannel(b.data(), 3, 100, 1);
    EXPECT_EQ(a, b);
    // Radius 0 and empty sizes leave the image; negative radii are refused.
    Image img = Random(16 * 16 * 4, 3), before = img;
    CStackBlur blur;
    blur.Run(img.data(), 16, 16, 64, 0);
    blur.Run(img.data(), 0, 16, 64, 3);
    blur.Run(img.data(), 16, 0, 64, 3);
    SFDSP::stackBlur(img.data(), 16, 16, -4);
    SFDSP::BlurOneChannelOptimized(img.data(), 16, 16, -1, 2);
    SFDSP::stackBlur(nullptr, 16, 16, 3);
    SFDSP::stackBlur(img.data(), -16, 16, 3);
    CContours::Blur_Nebula(img.data(), 16, 16, -2);
    EXPECT_EQ(img, before);
    // bytes per row equal to the width means one channel.
    Image plane = Random(16 * 16, 9), ref = Reference(plane, 16, 16, 2, 1, 1);
    blur.Run(plane.data(), 16, 16, 16, 2);
    EXPECT_EQ(plane, ref);
    Image four = Random(16 * 16 * 4, 2), ref4 = Reference(four, 16, 16, 2, 4, 3);
    blur.Run(four.data(), 16, 16, 32, 2);  // quotient 2: four channels
    EXPECT_EQ(four, ref4);
    // A radius beyond the kernel's 32-bit range is capped, not overflowed.
    Image huge = Random(9 * 9, 1), capped = huge;
    SFDSP::BlurOneChannel(huge.data(), 9, 9, 1 << 30);
    SFDSP::BlurOneChannel(capped.data(), 9, 9, detail::kMaxBlurRadius);
    EXPECT_EQ(huge, capped);
    EXPECT_EQ(detail::CpuBudgetFor(0), 1);
    EXPECT_EQ(detail::CpuBudgetFor(2), 1);
    EXPECT_EQ(detail::CpuBudgetFor(3), 1);
    EXPECT_EQ(detail::CpuBudgetFor(4), 2);
    EXPECT_EQ(detail::CpuBudgetFor(7), 3);
    EXPECT_EQ(detail::CpuBudgetFor(64), 4);
    EXPECT_GE(SFDSP::GetCPUCount(), 1);
    EXPECT_LE(SFDSP::GetCPUCount(), 4);
}

TEST(BoxBlurs, SuperFastAndMirroredAgainstPlainSums) {
    const int w = 23, h = 19;
    for (int r : {1, 3, 30}) {
        Image img = Random(w * h, r), ref(img), tmp(img);
        const int k = 2 * r + 1;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                int s = 0;
                for (int i = -r; i <= r; ++i) s += img[y * w + std::min(std::max(x + i, 0), w - 1)];
                tmp[y * w + x] = static_cast<unsigned char>(s / k);
            }
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                int s = 0;
                for (int i = -r; i <= r; ++i) s += tmp[std::min(std::max(y + i, 0), h - 1) * w + x];
                ref[y * w + x] = static_cast<unsigned char>(s / k);
            }
        CSuperFastBlur box;
        Image out = img;
        EXPECT_EQ(box.Run(out.data(), w, h, r, 256), 1);
        EXPECT_EQ(out, ref) << "r " << r;
        std::vector<int> wide(img.begin(), img.end());
        box.Run(wide.data(), w, h, r, 256);
        EXPECT_TRUE(std::equal(wide.begin(), wide.end(), ref.begin())) << "int r " << r;

        // Mirrored box: low side mirrors without the edge, high side clamps.
        auto idx = [](int i, int n) {
            if (i < 0) {
                i = -i;
                while (i >= n) i -= n;
            } else if (i >= n) {
                i = n - 1;
            }
            return i;
        };
        Image neb = img, nebRef(img);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                long long s = 0;
                for (int dy = -r; dy <= r; ++dy)
                    for (int dx = -r; dx <= r; ++dx) s += img[idx(y + dy, h) * w + idx(x + dx, w)];
                nebRef[y * w + x] = static_cast<unsigned char>((s + k * k / 2) / (k * k));
            }
        CContours::Blur_Nebula(neb.data(), w, h, r);
        EXPECT_EQ(neb, nebRef) << "nebula r " << r;
    }
    Image keep = Random(10 * 10, 1), before = keep;
    EXPECT_EQ(CSuperFastBlur().Run(keep.data(), 10, 10, 0, 256), 0);
    EXPECT_EQ(keep, before);
    // Values above the declared levels are still averaged, not looked up.
    std::vector<short> big(10 * 10, 1000);
    EXPECT_EQ(CSuperFastBlur().Run(big.data(), 10, 10, 2, 256), 1);
    EXPECT_EQ(big[55], 1000);
}

TEST(MidBlur, MedianWithItsEdgeRules) {
    const int w = 6, h = 5;
    Image img = Random(w * h, 12), out = img;
    SFDSP::MidBlur(out.data(), w, h);
    auto at = [&](int x, int y) { return img[y * w + x]; };
    auto med3 = [](int a, int b, int c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); };
    for (int y = 1; y < h - 1; ++y)
        for (int x = 1; x < w - 1; ++x) {
            unsigned char v[9];
            int k = 0;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) v[k++] = at(x + dx, y + dy);
            std::sort(v, v + 9);
            EXPECT_EQ(out[y * w + x], v[4]);
        }
    for (int x = 1; x < w - 1; ++x) {
        EXPECT_EQ(out[x], med3(at(x - 1, 0), at(x, 0), at(x + 1, 0)));
        EXPECT_EQ(out[(h - 1) * w + x], med3(at(x - 1, h - 1), at(x, h - 1), at(x + 1, h - 1)));
    }
    for (int y = 1; y < h - 1; ++y) {
        EXPECT_EQ(out[y * w], med3(at(0, y - 1), at(0, y), at(0, y + 1)));
        EXPECT_EQ(out[y * w + w - 1], med3(at(w - 2, y - 1), at(w - 1, y), at(w - 1, y + 1)));
    }
    for (int c : {0, w - 1, (h - 1) * w, h * w - 1}) EXPECT_EQ(out[c], img[c]);
    Image column = Random(1 * 9, 2);
    SFDSP::MidBlur(column.data(), 1, 9);  // one column: no right-column rule
}
