// The detector record read from a real detector's output file.
#include "nativeface.h"
#include "test_util.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

using testutil::LoadRecord;

std::vector<klav::Vector2> LoadPoints(const std::string &name) {
    std::ifstream in(std::string(KLAV_TEST_DATA_DIR) + "/" + name);
    std::vector<klav::Vector2> pts;
    float x, y;
    while (in >> x >> y) pts.push_back({x, y});
    return pts;
}

}  // namespace

TEST(NativeFace, RecordFromTheDetectorMatchesItsPixelLists) {
    struct Case {
        const char *stem;
        int width, height;
    } cases[] = {{"hopper", 512, 600}, {"astronaut", 512, 512}};
    for (const Case &c : cases) {
        auto face = LoadRecord(std::string(c.stem) + ".face.bin");
        ASSERT_TRUE(face) << c.stem;
        EXPECT_EQ(face->faceCount, 1);
        auto p83 = LoadPoints(std::string(c.stem) + ".f0.pts83.txt");
        auto p39 = LoadPoints(std::string(c.stem) + ".f0.pts39.txt");
        ASSERT_EQ(p83.size(), 83u);
        ASSERT_EQ(p39.size(), 39u);
        const NativeFaceEntry &e = face->faces[0];
        for (int k = 0; k < 83; ++k) {
            EXPECT_NEAR(e.points83[k].x * c.width, p83[k].x, 0.01f) << c.stem << " point " << k;
            EXPECT_NEAR(e.points83[k].y * c.height, p83[k].y, 0.01f) << c.stem << " point " << k;
        }
        for (int k = 0; k < 39; ++k) EXPECT_NEAR(e.points39[k].x * c.width, p39[k].x, 0.01f);
        EXPECT_GT(e.width, 0.1f);
        EXPECT_EQ(e.extraCount1, 0);
        EXPECT_EQ(e.extraCount2, 0);
    }
}
