// 3D lookup tables: identity tables at both grids, the grid-64 end cell,
// masks, one-pixel forms and a graded table against a float reference.
#include "kvlut3d.h"
#include "sfdsp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "test_util.h"

using namespace klav;

namespace klav {
struct CKVLut3DTestAccess {
    static bool Neon16(unsigned char *i, unsigned char *t, int w, int h) { return CKVLut3D::KVLut3DNeon16(i, t, w, h); }
    static bool Neon64(unsigned char *i, unsigned char *t, int w, int h) { return CKVLut3D::KVLut3DNeon64(i, t, w, h); }
};
}  // namespace klav

namespace {

// A table image of `n` points a side whose entry (r, g, b) is f(r, g, b)
// with cell values in 0..1, laid out in the tiles of the grid.
template <class F>
std::vector<unsigned char> Table(int n, F f) {
    const int tilesPerRow = n == 16 ? 4 : 8, side = n * tilesPerRow;
    std::vector<unsigned char> t(static_cast<size_t>(side) * side * 4, 0);
    for (int b = 0; b < n; ++b)
        for (int g = 0; g < n; ++g)
            for (int r = 0; r < n; ++r) {
                const int x = (b % tilesPerRow) * n + r, y = (b / tilesPerRow) * n + g;
                float rgb[3];
                f(r / float(n - 1), g / float(n - 1), b / float(n - 1), rgb);
                for (int c = 0; c < 3; ++c) t[(static_cast<size_t>(y) * side + x) * 4 + c] = static_cast<unsigned char>(std::lround(rgb[c] * 255));
                t[(static_cast<size_t>(y) * side + x) * 4 + 3] = 255;
            }
    return t;
}

void Identity(float r, float g, float b, float *out) { out[0] = r, out[1] = g, out[2] = b; }
// A warm grade: red up, blue down, a gentle curve.
void Grade(float r, float g, float b, float *out) {
    out[0] = std::pow(r, 0.8f), out[1] = g * g * (3 - 2 * g) * 0.5f + g * 0.5f, out[2] = b * 0.85f;
}

}  // namespace

TEST(Lut3D, IdentityTablesKeepTheImage) {
    std::vector<unsigned char> img = testutil::RandomBytes(64 * 48 * 4, 4);
    img[0] = img[1] = img[2] = 255;
    // Grid 16: cells at 17 levels a step, the identity entry k is 17 k.
    std::vector<unsigned char> table = Table(16, Identity), out = img;
    CKVLut3D::Run(out.data(), table.data(), 64, 48, false, true);
    for (size_t i = 0; i < img.size(); ++i) {
        if (i % 4 == 3) ASSERT_EQ(out[i], img[i]);
        else ASSERT_LE(std::abs(out[i] - img[i]), 1) << "byte " << i;
    }
    EXPECT_EQ(out[0], 255);  // white stays white
    // Grid 64 reads its cells at a quarter of a level: the identity entry k
    // is 4 k, which reaches 252 at the last cell.
    std::vector<unsigned char> quarter = Table(64, [](float r, float g, float b, float *o) {
        o[0] = r * 252 / 255, o[1] = g * 252 / 255, o[2] = b * 252 / 255;
    });
    out = img;
    CKVLut3D::Run(out.data(), quarter.data(), 64, 48, false, false);
    for (size_t i = 0; i < img.size(); ++i) {
        if (i % 4 == 3) ASSERT_EQ(out[i], img[i]);
        else if (img[i] <= 252) ASSERT_LE(std::abs(out[i] - img[i]), 1) << "byte " << i;
        else ASSERT_EQ(out[i], 252);
    }
}

TEST(Lut3D, Grid64EndCellGivesTheLastEntryExactly) {
    // A table whose last red entry differs from its neighbour: byte 255 has
    // fraction 95 between cell 63 and its repeat, so the result is exact.
    std::vector<unsigned char> table = Table(64, Identity);
    for (int g = 0; g < 64; ++g)
        for (int b = 0; b < 64; ++b) table[4 * 63 + 2048 * g + 256 * (b % 8) + 131072 * (b / 8)] = 200;
    unsigned char px[4] = {255, 10, 10, 77};
    CKVLut3D::Run(px, table.data(), 1, 1, false, false);
    EXPECT_EQ(px[0], 200);
    EXPECT_EQ(px[3], 77);
}

TEST(Lut3D, MaskBlendsAndOnePixelFormsFollowTheirChannels) {
    std::vector<unsigned char> table = Table(16, Grade);
    std::vector<unsigned char> img = testutil::RandomBytes(32 * 32 * 4, 8), full = img, masked = img;
    std::vector<unsigned char> mask(32 * 32);
    for (size_t i = 0; i < mask.size(); ++i) mask[i] = i % 2 ? 255 : 0;
    SFDSP::KVLut3D(full.data(), table.data(), 32, 32);
    SFDSP::KVLut3D(masked.data(), table.data(), 32, 32, mask.data());
    for (size_t i = 0; i < mask.size(); ++i)
        for (int c = 0; c < 3; ++c) ASSERT_EQ(masked[i * 4 + c], mask[i] ? full[i * 4 + c] : img[i * 4 + c]);

    // One pixel: channels 1..2 only, byte 0 untouched; results near the
    // whole-image form.
    unsigned char px[4] = {200, 100, 50, 9}, ref[4] = {200, 100, 50, 9};
    SFDSP::Lut3D16(px, table.data(), 15.0f / 255.0f, 1, 3);
    SFDSP::KVLut3D(ref, table.data(), 1, 1);
    EXPECT_EQ(px[0], 200);
    EXPECT_LE(std::abs(px[1] - ref[1]), 2);
    EXPECT_LE(std::abs(px[2] - ref[2]), 2);
    unsigned char same[4] = {1, 2, 3, 4};
    SFDSP::Lut3D16(same, table.data(), 0.05f, 2, 2);  // empty range
    EXPECT_EQ(same[2], 3);
    // A scale off the grid, or not a number, stays inside the table.
    std::vector<unsigned char> t64 = Table(64, Identity);
    unsigned char wild[4] = {255, 255, 255, 0};
    SFDSP::Lut3D64(wild, t64.data(), 1e9f, 0, 3);
    SFDSP::Lut3D64(wild, t64.data(), std::nanf(""), 0, 3);
    SFDSP::Lut3D16(wild, table.data(), -5.0f, -3, 9);
    EXPECT_FALSE(CKVLut3DTestAccess::Neon16(img.data(), table.data(), 32, 32));
    EXPECT_FALSE(CKVLut3DTestAccess::Neon64(img.data(), t64.data(), 32, 32));
}

TEST(Lut3D, GradedTableFollowsAFloatTrilinearReference) {
    for (int n : {16, 64}) {
        std::vector<unsigned char> table = Table(n, Grade);
        std::vector<unsigned char> img = testutil::RandomBytes(40 * 40 * 4, n), out = img;
        CKVLut3D::Run(out.data(), table.data(), 40, 40, false, n == 16);
        const int tilesPerRow = n == 16 ? 4 : 8, side = n * tilesPerRow;
        auto entry = [&](int r, int g, int b, int c) {
            return table[(static_cast<size_t>((b / tilesPerRow) * n + g) * side + (b % tilesPerRow) * n + r) * 4 + c];
        };
        int worst = 0;
        for (size_t i = 0; i < img.size(); i += 4) {
            float f[3];
            int c0[3], c1[3];
            for (int k = 0; k < 3; ++k) {
                f[k] = img[i + k] * (n - 1) / 255.0f;
                c0[k] = std::min(static_cast<int>(f[k]), n - 1);
                c1[k] = std::min(c0[k] + 1, n - 1);
                f[k] -= c0[k];
            }
            for (int c = 0; c < 3; ++c) {
                float v = 0;
                for (int corner = 0; corner < 8; ++corner) {
                    const int r = corner & 1 ? c1[0] : c0[0], g = corner & 2 ? c1[1] : c0[1], b = corner & 4 ? c1[2] : c0[2];
                    const float w = (corner & 1 ? f[0] : 1 - f[0]) * (corner & 2 ? f[1] : 1 - f[1]) * (corner & 4 ? f[2] : 1 - f[2]);
                    v += w * entry(r, g, b, c);
                }
                worst = std::max(worst, std::abs(out[i + c] - static_cast<int>(std::lround(v))));
            }
        }
        // Grid 64 reads its cells at a quarter of a level instead of 63/255.
        EXPECT_LE(worst, n == 16 ? 2 : 3) << "grid " << n;
    }
}
