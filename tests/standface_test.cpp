// The standard face tables: fixed rows, consistency of the numberings, and
// a plausible face.
#include "standface.h"

#include <gtest/gtest.h>

using namespace klav;

namespace {
const int k39to83[39] = {0,  1,  2,  4,  6,  8,  10, 11, 13, 15, 17, 19, 21, 24, 25, 26, 29, 31, 33, 35,
                         37, 38, 45, 46, 47, 54, 58, 62, 63, 64, 65, 67, 70, 71, 72, 75, 77, 79, 81};
void ExpectPoint(Vector2 p, float x, float y) {
    EXPECT_FLOAT_EQ(p.x, x);
    EXPECT_FLOAT_EQ(p.y, y);
}
}  // namespace

TEST(StandardFace, FixedRowsAndZeroEntries) {
    ExpectPoint(g_StandCoord[0], 0.2859f, 0.3688f);
    ExpectPoint(g_StandCoord[98], 0.5090f, 0.6843f);
    ExpectPoint(g_StandCoord[169], 0.3656f, 0.3656f);
    ExpectPoint(g_StandCoord[309], 0.6687f, 0.5995f);
    ExpectPoint(g_StandFacePPCoord[0], 0.5109f, 0.6781f);
    ExpectPoint(g_StandFacePPCoordET[24], 0.3624f, 0.3661f);
    for (int i = 171; i <= 174; ++i) ExpectPoint(g_StandCoord[i], 0, 0);
    ExpectPoint(g_StandFacePPCoord[39], 0, 0);
    ExpectPoint(g_StandFacePPCoordET[83], 0, 0);
}

TEST(StandardFace, NumberingsAgreeAndTheFaceIsAFace) {
    for (int k = 1; k < 39; ++k) {
        EXPECT_EQ(g_StandFacePPCoord[k].x, g_StandFacePPCoordET[k39to83[k]].x) << k;
        EXPECT_EQ(g_StandFacePPCoordBackUp[k].y, g_StandFacePPCoord[k].y) << k;
    }
    // The stored 310 points hold the second forms at 50..107.
    for (int i = 0; i < 30; ++i) EXPECT_EQ(g_StandCoord[50 + i].x, g_StandMouceCoordET[i].x) << i;
    for (int i = 0; i < 28; ++i) EXPECT_EQ(g_StandCoord[80 + i].y, g_StandFaceCoordET[i].y) << i;
    const Vector2 *s = g_StandCoord;
    // Eyes above the nose tip, nose above the mouth, mouth above the chin,
    // forehead top above the brows; left parts left of right parts.
    EXPECT_LT(s[2].y, s[48].y);
    EXPECT_LT(s[48].y, s[54].y);
    EXPECT_LT(s[54].y, s[98].y);
    EXPECT_LT(s[80].y, s[22].y);
    EXPECT_LT(s[5].x, s[10].x);
    EXPECT_LT(s[50].x, s[58].x);
    // Everything but the rings and the zero entries lies in the frame.
    for (int i = 0; i < 215; ++i) {
        if (i >= 171 && i <= 174) continue;
        EXPECT_GT(s[i].x, 0.0f) << i;
        EXPECT_LT(s[i].x, 1.0f) << i;
        EXPECT_GT(s[i].y, 0.0f) << i;
        EXPECT_LT(s[i].y, 1.0f) << i;
    }
    EXPECT_EQ(g_position[3].count, 6);
    EXPECT_EQ(g_position[21].index[11], 79);
    EXPECT_EQ(g_position[4].count, 0);
}
