// The mask renderer, its image record and the mapping of standard-face
// masks onto detected faces.
#include "interpoint.h"
#include "kvmaskmap.h"
#include "kvmaskraster.h"
#include "standface.h"
#include "texture.h"

#include <gtest/gtest.h>
#include <stb/stb_image.h>

#include <cmath>
#include <limits>
#include <memory>
#include <set>
#include <vector>

#include "test_util.h"

using namespace klav;

namespace klav {
struct CKVMaskRasterTestAccess {
    static void Bind(CKVMaskRaster &r, unsigned char *d, unsigned char *s, int w, int h) {
        r.BindDst(d, w, h);
        r.BindSrc(s, w, h);
    }
    static std::vector<Vector2> Scan(CKVMaskRaster &r, Vector2 (&t)[3], int w, int h) {
        std::vector<Vector2> v;
        r.IncreResbySearchPt(t, v, w, h);
        return v;
    }
    static std::vector<Vector2> Columns(CKVMaskRaster &r, Vector2 (&t)[3], int w, int h) {
        std::vector<Vector2> v;
        r.IncreResterization(t, v, w, h);
        return v;
    }
    static bool Solve(double *a, double *b, double *x) { return CKVMaskRaster::SolveMat(a, b, x); }
};
}  // namespace klav

namespace {

const int W = 30, H = 20;

std::vector<Vector2> Corners(float w, float h) { return {{0, 0}, {w, 0}, {w, h}, {0, h}}; }

}  // namespace

TEST(MaskRaster, TextureCoordinatesScaleToTheSourceAndOverwriteAllChannels) {
    std::vector<unsigned char> src = testutil::RandomBytes(W * H * 4, 1), dst(W * H * 4, 0);
    std::vector<Vector2> uv = Corners(1, 1), px = Corners(W, H);
    std::vector<unsigned short> idx{0, 1, 2, 0, 2, 3};
    CKVMaskRaster r;
    r.BindDst(dst.data(), W, H);
    r.BindSrc(src.data(), W, H);
    // Counts are of indices: two are no triangle, three are one.
    r.DrawTrangles(uv.data(), px.data(), idx.data(), 2);
    EXPECT_EQ(dst, std::vector<unsigned char>(W * H * 4, 0));
    r.DrawTrangles(uv.data(), px.data(), idx.data(), 6);
    EXPECT_EQ(dst, src) << "the identity copies every channel, alpha too";
    // Coordinates past the mask clamp to its edges.
    std::vector<Vector2> wide = {{-1, 0}, {2, 0}, {2, 1}, {-1, 1}};
    std::fill(dst.begin(), dst.end(), 0);
    r.DrawTrangles(wide.data(), px.data(), idx.data(), 6);
    for (int y = 0; y < H; ++y) {
        EXPECT_EQ(dst[(y * W) * 4], src[(y * W) * 4]) << y;
        EXPECT_EQ(dst[(y * W + W - 1) * 4 + 1], src[(y * W + W - 1) * 4 + 1]) << y;
    }
}

TEST(MaskRaster, DegenerateUnboundAndNonFiniteDrawNothing) {
    std::vector<unsigned char> src = testutil::RandomBytes(W * H * 4, 2), dst(W * H * 4, 7);
    const std::vector<unsigned char> before = dst;
    std::vector<Vector2> uv = Corners(1, 1);
    std::vector<unsigned short> idx{0, 1, 2};
    CKVMaskRaster unbound;
    std::vector<Vector2> px = Corners(W, H);
    unbound.DrawTrangles(uv.data(), px.data(), idx.data(), 3);
    CKVMaskRaster r;
    r.BindDst(dst.data(), W, H);
    r.BindSrc(src.data(), W, H);
    std::vector<Vector2> line = {{1, 1}, {5, 5}, {9, 9}};
    r.DrawTrangles(uv.data(), line.data(), idx.data(), 3);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<Vector2> bad = {{1, 1}, {nan, 5}, {9, 2}};
    r.DrawTrangles(uv.data(), bad.data(), idx.data(), 3);
    std::vector<Vector2> off = {{100, 100}, {200, 100}, {150, 300}};
    r.DrawTrangles(uv.data(), off.data(), idx.data(), 3);
    r.DrawTrangles(uv.data(), px.data(), idx.data(), -3);
    EXPECT_EQ(dst, before);
    // NaN texture coordinates sample the first pixel; corners far past any
    // image are clipped (their float edge tests may overflow: no defined
    // pixels, but no access outside either).
    std::vector<Vector2> nanUv = {{nan, nan}, {nan, 0}, {0, nan}};
    std::vector<Vector2> inside = {{1, 1}, {20, 2}, {3, 15}};
    r.DrawTrangles(nanUv.data(), inside.data(), idx.data(), 3);
    EXPECT_EQ(dst[(3 * W + 3) * 4], src[0]);
    std::vector<Vector2> far = {{-1e30f, 3}, {5, 5}, {3, 1e30f}};
    r.DrawTrangles(uv.data(), far.data(), idx.data(), 3);
}

TEST(MaskRaster, PixelListsAgreeWithTheDrawing) {
    Vector2 t[3] = {{2.3f, 1.2f}, {25.7f, 6.4f}, {9.1f, 18.6f}};
    std::vector<unsigned char> src(W * H * 4, 200), dst(W * H * 4, 0);
    std::vector<Vector2> uv = {{0, 0}, {1, 0}, {0, 1}}, px(t, t + 3);
    std::vector<unsigned short> idx{0, 1, 2};
    CKVMaskRaster r;
    CKVMaskRasterTestAccess::Bind(r, dst.data(), src.data(), W, H);
    r.DrawTrangles(uv.data(), px.data(), idx.data(), 3);
    std::set<std::pair<int, int>> painted, scanned, columns;
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x)
            if (dst[(y * W + x) * 4]) painted.insert({x, y});
    for (const Vector2 &p : CKVMaskRasterTestAccess::Scan(r, t, W, H)) scanned.insert({int(p.x), int(p.y)});
    for (const Vector2 &p : CKVMaskRasterTestAccess::Columns(r, t, W, H)) columns.insert({int(p.x), int(p.y)});
    EXPECT_EQ(painted, scanned);
    EXPECT_GT(painted.size(), 150u);
    // The column walk tests the rounded corners, so it differs only at the
    // rim: both sets are about the triangle's area.
    EXPECT_NEAR(static_cast<double>(columns.size()), static_cast<double>(painted.size()), 0.2 * painted.size());
    // The solver returns the exact solution of a regular system.
    double a[36], b[6], x[6], want[6] = {1, -2, 3, 0.5, 4, -1};
    std::mt19937 rng(4);
    for (double &v : a) v = static_cast<double>(rng() % 1000) / 100.0 - 5;
    for (int i = 0; i < 6; ++i) {
        b[i] = 0;
        for (int j = 0; j < 6; ++j) b[i] += a[i * 6 + j] * want[j];
    }
    ASSERT_TRUE(CKVMaskRasterTestAccess::Solve(a, b, x));
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(x[i], want[i], 1e-9);
}

TEST(Texture, OwnedBorrowedAndSingleChannelRecords) {
    std::vector<unsigned char> grey = {1, 2, 3, 4, 5, 6};
    Texture t;
    ASSERT_TRUE(t.GenTextureXXRX(grey.data(), 3, 2));
    EXPECT_EQ(t.pixels, t.buffer);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(t.pixels[i * 4], grey[i]);
        EXPECT_EQ(t.pixels[i * 4 + 1], 0);
    }
    std::vector<unsigned char> rgba(24, 9);
    ASSERT_TRUE(t.GenTextureWithData(rgba.data(), 3, 2));
    EXPECT_EQ(t.pixels, rgba.data());
    EXPECT_EQ(t.buffer, nullptr);
    ASSERT_TRUE(t.GenTexture(rgba.data(), 3, 2));
    EXPECT_NE(t.pixels, rgba.data());
    EXPECT_EQ(t.pixels[23], 9);
    EXPECT_FALSE(t.GenTexture(0, 5));
    EXPECT_EQ(t.pixels, nullptr);
    EXPECT_FALSE(t.GenTextureWithData(nullptr, 3, 2));
}

TEST(MaskMap, StandardFaceMaskLandsOnTheDetectedFace) {
    int w = 0, h = 0, n = 0;
    unsigned char *data = stbi_load(KLAV_TEST_DATA_DIR "/hopper.png", &w, &h, &n, 4);
    std::unique_ptr<NativeFace> record = testutil::LoadRecord("hopper.face.bin");
    ASSERT_TRUE(data && record);
    std::vector<unsigned char> img(data, data + static_cast<size_t>(w) * h * 4);
    stbi_image_free(data);
    std::unique_ptr<InterPoint> ip(new InterPoint());
    testutil::CaptureStderr([&] { ASSERT_TRUE(ip->Run(record.get(), img.data(), w, h)); });
    std::vector<Vector2> pts(ip->GetResPoint(), ip->GetResPoint() + 310);
    // A mask over the whole standard frame, red inside a band across the
    // eyes and nose (frame rows 500 to 900) and blue elsewhere.
    const int mw = 100, mh = 150;
    std::vector<unsigned char> mask(mw * mh * 4);
    for (int y = 0; y < mh; ++y)
        for (int x = 0; x < mw; ++x) {
            unsigned char *p = &mask[(y * mw + x) * 4];
            const bool band = y >= 50 && y < 90;
            p[0] = band ? 255 : 0, p[1] = 0, p[2] = band ? 0 : 255, p[3] = 255;
        }
    std::vector<unsigned char> out(img.size(), 0);
    KVMaskMap map;
    map.setMask(mask.data(), mw, mh);
    std::fill(mask.begin(), mask.end(), 0);  // the map keeps its own copy
    map.maskMap(out.data(), w, h, pts.data(), 400, 0, 0, 1000, 1500, g_StandIndexs, 548 * 3);
    auto at = [&](Vector2 p) { return &out[(static_cast<size_t>(p.y) * w + static_cast<size_t>(p.x)) * 4]; };
    const Vector2 nose = pts[45], chin = pts[98], farCorner = {2, 2};
    // Float bilinear weights may sum just under one: 255 can come out 254.
    EXPECT_GE(at(nose)[0], 254) << "the band lies across the nose";
    EXPECT_GE(at({(pts[54].x + chin.x) / 2, (pts[54].y + chin.y) / 2})[2], 254) << "below the band";
    EXPECT_EQ(at(farCorner)[3], 0) << "outside the landmark hull nothing is drawn";
    // Indices past the landmarks are dropped; a borrowed mask is read in place.
    std::vector<unsigned short> badIdx = {0, 1, 400, 5, 6, 7};
    std::vector<unsigned char> blank(img.size(), 0);
    map.setMaskWithData(mask.data(), mw, mh);
    map.maskMap(blank.data(), w, h, pts.data(), 310, 0, 0, 1000, 1500, badIdx.data(), 6);
    map.maskMap(blank.data(), w, h, pts.data(), 310, 0, 0, 0, 1500, g_StandIndexs, 548 * 3);
    map.maskMap(blank.data(), w, h, nullptr, 310, 0, 0, 1000, 1500, g_StandIndexs, 548 * 3);
    EXPECT_EQ(blank, std::vector<unsigned char>(img.size(), 0)) << "the borrowed mask is blank";
}
