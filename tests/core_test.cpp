// Value types, the returned-block free function, the size helper and the
// console records.
#include "common.h"
#include "klavtypes.h"
#include "test_util.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

using namespace klav;

TEST(ValueTypes, RectanglesKeepTheirFieldOrders) {
    myRect r(1, 2, 3, 4);  // left, top, right, bottom
    EXPECT_EQ(r.left, 1);
    EXPECT_EQ(r.right, 3);
    EXPECT_EQ(r.top, 2);
    EXPECT_EQ(r.bottom, 4);
    EXPECT_EQ(r.Width(), 2);
    EXPECT_EQ(r.Height(), 2);
    EXPECT_EQ(r.TopLeft().x, 1);
    EXPECT_EQ(r.TopLeft().y, 2);
    EXPECT_EQ(r.BottomRight().x, 3);
    EXPECT_EQ(r.BottomRight().y, 4);
    // Stored as left, right, top, bottom: the second int is the right edge.
    EXPECT_EQ(reinterpret_cast<const int *>(&r)[1], 3);

    KvRectI ri(1, 2, 3, 4);
    EXPECT_EQ(ri.right(), 4);
    EXPECT_EQ(ri.bottom(), 6);
    KvRectF rf(0.5f, 1.0f, 2.0f, 3.0f);
    EXPECT_FLOAT_EQ(rf.right(), 2.5f);
    EXPECT_FLOAT_EQ(rf.bottom(), 4.0f);

    KvPointF pf;
    BorderPt bp;
    EXPECT_EQ(pf.x, 0.0f);
    EXPECT_EQ(bp.c, 0.0f);
    static_assert(sizeof(FaceRect) == 4 * sizeof(int) + 2 * sizeof(Vector2), "FaceRect layout");
    static_assert(sizeof(CIRCEL) == 3 * sizeof(float), "CIRCEL layout");
    static_assert(sizeof(tagRectFF) == 4 * sizeof(int), "tagRectFF layout");
}

TEST(ValueTypes, PiIsComputedAtLoad) { EXPECT_EQ(g_pi, std::acos(-1.0)); }

TEST(KlavFree, NullIsIgnoredAndHeapBlocksAreReleased) {
    klavFree(static_cast<unsigned char *>(nullptr));
    klavFree(static_cast<KV_Rect *>(nullptr));
    klavFree(static_cast<unsigned char *>(std::malloc(64)));
    klavFree(static_cast<KV_Rect *>(std::malloc(sizeof(KV_Rect))));
}

TEST(CheckedSize, MultipliesAndRefusesOverflowAndNegatives) {
    EXPECT_EQ(detail::CheckedSize({3, 4, 5}), 60u);
    EXPECT_EQ(detail::CheckedSize({0, LLONG_MAX}), 0u);
    EXPECT_THROW(detail::CheckedSize({-1, 4}), std::bad_alloc);
    EXPECT_THROW(detail::CheckedSize({INT_MAX, INT_MAX, INT_MAX}), std::bad_alloc);
    EXPECT_THROW(detail::NewArray<double>({LLONG_MAX / 4}), std::bad_alloc);
    int *block = detail::NewArray<int>({7, 3});
    block[20] = 1;  // the whole 21 elements exist
    delete[] block;
}

TEST(ForkJoin, EveryBandRunsOnce) {
    for (int count : {0, 1, 2, 5}) {
        std::vector<int> hits(static_cast<size_t>(count > 0 ? count : 1), 0);
        detail::ForkJoin(count, [&](int band) { hits[band]++; });
        for (int b = 0; b < count; ++b) EXPECT_EQ(hits[b], 1) << "count " << count << " band " << b;
    }
}

using testutil::CaptureStderr;

TEST(ConsoleRecords, ShapesAreExactAndTheColourStays) {
    std::string error = CaptureStderr([] { detail::ErrorRecord("no face", "source/interpoint", 42); });
    // Not a terminal: no escape, "%08d : " clock stamp, message, path line.
    ASSERT_EQ(error.size(), std::string("00000000 : no face\r\nsource/interpoint(42)\r\n").size());
    EXPECT_EQ(error.substr(8), " : no face\r\nsource/interpoint(42)\r\n");
    for (int i = 0; i < 8; ++i) EXPECT_TRUE(isdigit(static_cast<unsigned char>(error[i])));
    EXPECT_EQ(detail::LastConsoleAttribute(), 12);

    std::string info = CaptureStderr([] { detail::InfoRecord("face 1 of 2"); });
    EXPECT_EQ(info.substr(8), " : face 1 of 2\r\n");
    EXPECT_EQ(detail::LastConsoleAttribute(), 11);

    CaptureStderr([] {
        detail::ErrorRecord("a", "source/x", 1);
        detail::ErrorRecord("b", "source/x", 2);
    });
    EXPECT_EQ(detail::LastConsoleAttribute(), 12);
}
