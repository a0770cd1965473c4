// InterPoint: import, selection, expansion to 310 points, the part record,
// the masks and the failure paths, on real detector records.
#include "interpoint.h"
#include "standface.h"

#include "common.h"
#include "test_util.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

using namespace klav;

namespace klav {
struct InterPointTestAccess {
    static void Apex(InterPoint &ip, Vector2 M, Vector2 K, Vector2 &T) {
        // Inner eye corners at M and chin at K; every other point on M.
        for (Vector2 &p : ip.m_facePoint83) p = M;
        ip.m_facePoint83[0] = K;
        Vector2 res[310] = {};
        ip.CalFaceE(80, res);
        T = res[80];
    }
};
}  // namespace klav

namespace {

using testutil::CaptureStderr;
using testutil::LoadRecord;

std::vector<unsigned char> GreyImage(int w, int h) { return std::vector<unsigned char>(static_cast<size_t>(w) * h * 4, 128); }

struct Hopper : ::testing::Test {
    std::unique_ptr<NativeFace> record = LoadRecord("hopper.face.bin");
    std::vector<unsigned char> image = GreyImage(512, 600);
    std::unique_ptr<InterPoint> ip{new InterPoint()};
    void SetUp() override {
        ASSERT_TRUE(record);
        ASSERT_TRUE(ip->Run(record.get(), image.data(), 512, 600));
    }
};

bool Same(Vector2 a, Vector2 b) { return a.x == b.x && a.y == b.y; }

}  // namespace

TEST(InterPointFailures, NullRecordEmptyRecordAndBadSelections) {
    std::unique_ptr<InterPoint> ip(new InterPoint());
    EXPECT_EQ(ip->GetResPoint(), nullptr);
    FaceRect empty = ip->GetCurrentFaceRect();
    EXPECT_EQ(empty.x, -1);
    EXPECT_EQ(empty.width, -1);
    EXPECT_EQ(empty.height, -1);

    std::string text = CaptureStderr([&] { EXPECT_FALSE(ip->Run(nullptr, nullptr, 10, 10)); });
    EXPECT_NE(text.find("ERROR: InterPoint failed to run\r\nsource/interpoint("), std::string::npos) << text;

    std::unique_ptr<NativeFace> none(new NativeFace());
    std::memset(none.get(), 0, sizeof(NativeFace));
    auto image = GreyImage(64, 64);
    text = CaptureStderr([&] { EXPECT_FALSE(ip->Run(none.get(), image.data(), 64, 64)); });
    EXPECT_NE(text.find("No any face!!"), std::string::npos);
    EXPECT_EQ(ip->GetSelectNo(), -1);

    text = CaptureStderr([&] {
        EXPECT_FALSE(ip->SelectFace(-1));
        EXPECT_FALSE(ip->SelectFace(0));
    });
    EXPECT_NE(text.find("SelectFace num =-1"), std::string::npos);
    EXPECT_EQ(ip->GetSelectNo(), -1);
}

TEST_F(Hopper, ExpansionGivesThe310PointSet) {
    EXPECT_EQ(ip->GetCount(), 310);
    EXPECT_EQ(ip->GetSelectNo(), 0);
    EXPECT_TRUE(ip->GetIsPoint());
    const Vector2 *res = ip->GetResPoint();
    const Vector2 *d83 = ip->GetFacePoint83();
    const Vector2 *d39 = ip->GetFaceppPoint();
    for (int i = 171; i <= 174; ++i) {
        EXPECT_TRUE(Same(res[i], Vector2{0, 0}));
        EXPECT_TRUE(Same(g_StandCoord[i], Vector2{0, 0}));
    }
    EXPECT_TRUE(Same(res[98], d83[0]));
    EXPECT_TRUE(Same(res[169], d39[13]));
    EXPECT_TRUE(Same(res[170], d39[32]));
    EXPECT_TRUE(Same(res[50], d83[37]));
    EXPECT_TRUE(Same(res[58], d83[46]));
    for (int i = 0; i < 28; ++i) EXPECT_TRUE(Same(ip->GetFaceOutPoint()[i], res[215 + i]));
    // Every point is finite and near the face (the portrait is 512 x 600).
    for (int i = 0; i < 310; ++i) {
        ASSERT_TRUE(std::isfinite(res[i].x) && std::isfinite(res[i].y)) << i;
        EXPECT_GT(res[i].x, -200.0f) << i;
        EXPECT_LT(res[i].x, 712.0f) << i;
    }
    // Eyes land between their detected corners, the forehead above the brows.
    EXPECT_GT(res[2].x, d83[21].x);
    EXPECT_LT(res[2].x, d83[25].x);
    EXPECT_LT(res[80].y, res[22].y);
    // The rings grow outward from the nose tip.
    for (int i = 0; i < 28; ++i) {
        float d0 = std::hypot(res[80 + i].x - res[48].x, res[80 + i].y - res[48].y);
        float d3 = std::hypot(res[271 + i].x - res[48].x, res[271 + i].y - res[48].y);
        EXPECT_NEAR(d3, d0 * 1.3f, 1e-2f * d0);
    }
}

TEST(InterPointExpansion, ApexFollowsTheEyesAndChin) {
    std::unique_ptr<InterPoint> ip(new InterPoint());
    Vector2 T;
    InterPointTestAccess::Apex(*ip, Vector2{100, 100}, Vector2{100, 200}, T);
    EXPECT_FLOAT_EQ(T.x, 100.0f);
    EXPECT_FLOAT_EQ(T.y, 20.0f);
}

TEST_F(Hopper, PartRecordHoldsTheFinalContentsOfItsWriters) {
    FacePoint fp = ip->GetFacePointInfo();
    const Vector2 *res = ip->GetResPoint();
    // The outline was recorded at the head field: `face` stays as it was.
    for (int i = 0; i < 28; ++i) {
        EXPECT_EQ(fp.face[i].x, 0.0f);
        EXPECT_EQ(fp.faceIndex[i], 0);
    }
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(Same(fp.head[i], res[108 + i]));
        EXPECT_EQ(fp.headIndex[i], 108 + i);
    }
    // Cheeks: 15 points stand, numbers 10..14 stand, and the first ten index
    // entries hold the bit patterns of points 15..19.
    for (int i = 0; i < 15; ++i) EXPECT_TRUE(Same(fp.leftCheek[i], res[113 + i]));
    for (int i = 10; i < 15; ++i) EXPECT_EQ(fp.leftCheekIndex[i], 113 + i);
    for (int i = 0; i < 5; ++i) {
        Vector2 spilled;
        std::memcpy(&spilled, &fp.leftCheekIndex[2 * i], sizeof spilled);
        EXPECT_TRUE(Same(spilled, res[128 + i]));
        std::memcpy(&spilled, &fp.rightCheekIndex[2 * i], sizeof spilled);
        EXPECT_TRUE(Same(spilled, res[148 + i]));
    }
    // The writers after each cheek overwrote the spill of its numbers.
    EXPECT_TRUE(Same(fp.rightCheek[0], res[133]));
    EXPECT_TRUE(Same(fp.mouthOut[0], res[153]));
    EXPECT_EQ(fp.faceOutIndex[83], 298);
    EXPECT_EQ(fp.moreHeadIndex[0], 175);
}

TEST_F(Hopper, AlterListRectangleClampAndTeeth) {
    EXPECT_EQ(ip->GetAlterCount(), 32);
    AlterFacePoint a = ip->GetAlterFacePoint();
    EXPECT_EQ(a.mouthCount, 10);
    EXPECT_EQ(a.rightEye[0], 4);
    EXPECT_TRUE(Same(ip->GetAlterFace()[16], ip->GetFacePoint83()[37]));

    FaceRect r = ip->GetCurrentFaceRect();
    EXPECT_GT(r.width, 100);
    EXPECT_TRUE(Same(r.leftPupil, ip->GetFaceppPoint()[13]));

    Vector2 *res = ip->GetResPoint();
    Vector2 saved = res[0];
    res[0] = Vector2{-3.0f, 602.0f};
    Vector2 *clamped = ip->GetAstrictResPoint();
    EXPECT_TRUE(Same(clamped[0], Vector2{0.0f, 599.0f}));
    EXPECT_EQ(res[0].x, -3.0f);
    res[0] = saved;
    EXPECT_FALSE(ip->IsThooth());  // closed mouth

    int tri[3];
    EXPECT_EQ(ip->GetTranPoint(tri, 11, 0), 0);
}

TEST_F(Hopper, HostRecordGetsEqualBrowThickness) {
    const NativeFaceEntry &e = record->faces[0];
    auto dist = [&](int a, int b) {
        return std::hypot((e.points39[a].x - e.points39[b].x) * 512.0f, (e.points39[a].y - e.points39[b].y) * 600.0f);
    };
    EXPECT_NEAR(dist(17, 19), dist(36, 38), 1e-3f);
    EXPECT_EQ(e.points83[31].x, e.points39[17].x);
    EXPECT_EQ(e.points83[81].y, e.points39[38].y);
}

TEST_F(Hopper, SecondFaceChangesContentsNotThePointer) {
    std::unique_ptr<NativeFace> two(new NativeFace(*record));
    two->faceCount = 2;
    two->faces[1] = two->faces[0];
    for (Vector2 &p : two->faces[1].points83) p.x += 0.1f;
    for (Vector2 &p : two->faces[1].points39) p.x += 0.1f;
    ASSERT_TRUE(ip->Run(two.get(), image.data(), 512, 600));
    Vector2 *before = ip->GetResPoint();
    Vector2 first = before[98];
    ASSERT_TRUE(ip->SelectFace(1));
    EXPECT_EQ(ip->GetResPoint(), before);
    EXPECT_NEAR(before[98].x - first.x, 51.2f, 1e-3f);
    EXPECT_FALSE(ip->SelectFace(2));
    EXPECT_EQ(ip->GetSelectNo(), 1);
}

TEST_F(Hopper, MasksCoverTheirPartsAndAreFreedByTheHost) {
    int l, t, r, b, mw, mh;
    unsigned char *eye = ip->GetEyeMask(512, 600, l, t, r, b, mw, mh, 0);
    ASSERT_NE(eye, nullptr);
    EXPECT_EQ(mw, r - l + 1);
    EXPECT_EQ(mh, b - t + 1);
    const Vector2 *res = ip->GetResPoint();
    int cx = static_cast<int>((res[0].x + res[5].x) / 2) - l, cy = static_cast<int>((res[0].y + res[5].y) / 2) - t;
    EXPECT_GT(eye[cy * mw + cx], 150);
    EXPECT_EQ(eye[0], 0);  // the corner of the grown box is outside
    klavFree(eye);

    // At half the size the box halves too.
    int l2, t2, r2, b2, mw2, mh2;
    unsigned char *half = ip->GetEyeMask(256, 300, l2, t2, r2, b2, mw2, mh2, 0);
    ASSERT_NE(half, nullptr);
    EXPECT_NEAR(l2, (l + 10) / 2 - 10, 2);
    klavFree(half);

    unsigned char *(InterPoint::*boxed[])(int, int, int &, int &, int &, int &, int &, int &) = {
        &InterPoint::GetLefeEyeMask, &InterPoint::GetRightEyeMask, &InterPoint::GetMouthMask,
        &InterPoint::GetLeftEyeBrowMask, &InterPoint::GetRightEyeBrowMask};
    for (auto getter : boxed) {
        unsigned char *m = (ip.get()->*getter)(512, 600, l, t, r, b, mw, mh);
        ASSERT_NE(m, nullptr);
        int peak = 0;
        for (int i = 0; i < mw * mh; ++i) peak = m[i] > peak ? m[i] : peak;
        EXPECT_GT(peak, 40);  // thin parts under a wide feather
        klavFree(m);
    }
    unsigned char *all = ip->GetEyebowMaskAll(512, 600);
    ASSERT_NE(all, nullptr);
    int bx = static_cast<int>(res[22].x), by = static_cast<int>((res[22].y + res[27].y) / 2);
    EXPECT_GT(all[by * 512 + bx], 40);
    EXPECT_EQ(all[599 * 512 + 511], 0);
    klavFree(all);
    EXPECT_EQ(ip->GetEyeMask(0, 600, l, t, r, b, mw, mh, 0), nullptr);
}

TEST(InterPointBadInput, NaNAndIdenticalPointsStaySafe) {
    std::unique_ptr<NativeFace> record(new NativeFace());
    std::memset(record.get(), 0, sizeof(NativeFace));
    record->faceCount = 1;
    for (Vector2 &p : record->faces[0].points83) p = Vector2{0.5f, 0.5f};
    for (Vector2 &p : record->faces[0].points39) p = Vector2{0.5f, 0.5f};
    auto image = GreyImage(100, 100);
    std::unique_ptr<InterPoint> ip(new InterPoint());
    CaptureStderr([&] { ASSERT_TRUE(ip->Run(record.get(), image.data(), 100, 100)); });
    for (int i = 0; i < 310; ++i) {
        EXPECT_TRUE(std::isfinite(ip->GetResPoint()[i].x)) << i;
        EXPECT_TRUE(std::isfinite(ip->GetResPoint()[i].y)) << i;
    }

    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (Vector2 &p : record->faces[0].points83) p = Vector2{nan, 1e30f};
    for (Vector2 &p : record->faces[0].points39) p = Vector2{nan, -1e30f};
    record->faceCount = 99;  // more than a record holds
    CaptureStderr([&] { ip->Run(record.get(), image.data(), 100, 100); });
    EXPECT_LE(ip->getFaceCount(), 10);
    int l, t, r, b, mw, mh;
    unsigned char *m = ip->GetEyeMask(100, 100, l, t, r, b, mw, mh, 0);
    klavFree(m);
    ip->GetAstrictResPoint();
    ip->GetCurrentFaceRect();
}

TEST(InterPointBadInput, NegativeCountsAndTinyImages) {
    std::unique_ptr<NativeFace> record = LoadRecord("hopper.face.bin");
    ASSERT_TRUE(record);
    std::unique_ptr<InterPoint> ip(new InterPoint());
    record->faceCount = -3;
    auto image = GreyImage(512, 600);
    std::string text = CaptureStderr([&] { EXPECT_FALSE(ip->Run(record.get(), image.data(), 512, 600)); });
    EXPECT_NE(text.find("No any face!!"), std::string::npos);
    EXPECT_EQ(ip->GetSelectNo(), -1);
    // An image far smaller than the face box: the points scale down with it.
    record = LoadRecord("hopper.face.bin");
    auto tiny = GreyImage(6, 5);
    CaptureStderr([&] { EXPECT_TRUE(ip->Run(record.get(), tiny.data(), 6, 5)); });
    EXPECT_EQ(ip->GetCount(), 310);
    int l, t, r, b, mw, mh;
    klavFree(ip->GetMouthMask(6, 5, l, t, r, b, mw, mh));
    klavFree(ip->GetLeftEyepupilMask(6, 5, l, t, r, b, mw, mh));
    // A null image: the pupil search is skipped with its record.
    text = CaptureStderr([&] { EXPECT_TRUE(ip->Run(record.get(), nullptr, 512, 600)); });
    EXPECT_NE(text.find("GetEyepupilInfo fail cause pBigGray NULL!"), std::string::npos);
}

TEST(InterPointGray, LargeImagesReadTheFirstPixelsAtTheReducedRowLength) {
    // 1280 x 800 becomes 640 x 400; the pupil search then sees the first
    // 256,000 pixels of the full image. The record comes through whole.
    std::unique_ptr<NativeFace> record = LoadRecord("hopper.face.bin");
    auto image = GreyImage(1280, 800);
    std::unique_ptr<InterPoint> ip(new InterPoint());
    std::string text = CaptureStderr([&] { EXPECT_TRUE(ip->Run(record.get(), image.data(), 1280, 800)); });
    EXPECT_NE(text.find("GetEyepupilInfo width=640 height=400"), std::string::npos);
    text = CaptureStderr([&] { EXPECT_TRUE(ip->Run(record.get(), image.data(), 512, 600)); });
    EXPECT_NE(text.find("GetEyepupilInfo width=512 height=600"), std::string::npos);
}
