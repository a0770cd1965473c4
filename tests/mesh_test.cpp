// The triangle meshes of the standard face: counts, first triangles,
// index ranges, no degenerate triangle, no two triangles overlapping, and
// the tiling of the eye and mouth regions.
#include "mathutils.h"
#include "standface.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace klav;

namespace {

struct Mesh {
    std::vector<int> idx;  // three a triangle
    std::vector<Vector2> pts;
};

double Cross(Vector2 o, Vector2 a, Vector2 b) {
    return (static_cast<double>(a.x) - o.x) * (static_cast<double>(b.y) - o.y) -
           (static_cast<double>(a.y) - o.y) * (static_cast<double>(b.x) - o.x);
}

// Whether the interiors of two triangles meet: no edge of either gives a
// separating axis (touching along an edge or at a corner does not count).
bool Overlap(const Vector2 *t, const Vector2 *u) {
    for (int pass = 0; pass < 2; ++pass) {
        const Vector2 *a = pass ? u : t, *b = pass ? t : u;
        for (int e = 0; e < 3; ++e) {
            const Vector2 p = a[e], q = a[(e + 1) % 3];
            const double nx = -(q.y - p.y), ny = q.x - p.x, len = std::hypot(nx, ny);
            double aMin = 1e30, aMax = -1e30, bMin = 1e30, bMax = -1e30;
            for (int k = 0; k < 3; ++k) {
                const double pa = (nx * a[k].x + ny * a[k].y) / len, pb = (nx * b[k].x + ny * b[k].y) / len;
                aMin = std::min(aMin, pa), aMax = std::max(aMax, pa);
                bMin = std::min(bMin, pb), bMax = std::max(bMax, pb);
            }
            if (aMax <= bMin + 1e-7 || bMax <= aMin + 1e-7) return false;
        }
    }
    return true;
}

void ExpectValid(const Mesh &m, const char *name) {
    const size_t n = m.idx.size() / 3;
    std::vector<Vector2> tri(3 * n);
    for (size_t i = 0; i < n; ++i)
        for (int k = 0; k < 3; ++k) {
            const int v = m.idx[3 * i + k];
            ASSERT_GE(v, 0) << name;
            ASSERT_LT(v, static_cast<int>(m.pts.size())) << name;
            tri[3 * i + k] = m.pts[v];
        }
    for (size_t i = 0; i < n; ++i) {
        const double area = std::fabs(Cross(tri[3 * i], tri[3 * i + 1], tri[3 * i + 2])) / 2;
        EXPECT_GT(area, 1e-7) << name << " triangle " << i << " is degenerate";
        for (size_t j = i + 1; j < n; ++j)
            EXPECT_FALSE(Overlap(&tri[3 * i], &tri[3 * j])) << name << " triangles " << i << " and " << j << " overlap";
    }
}

double MeshArea(const Mesh &m) {
    double area = 0;
    for (size_t i = 0; i + 2 < m.idx.size(); i += 3)
        area += std::fabs(Cross(m.pts[m.idx[i]], m.pts[m.idx[i + 1]], m.pts[m.idx[i + 2]])) / 2;
    return area;
}

double PolygonArea(const std::vector<Vector2> &p) {
    double a = 0;
    for (size_t i = 0; i < p.size(); ++i) {
        const Vector2 u = p[i], v = p[(i + 1) % p.size()];
        a += static_cast<double>(u.x) * v.y - static_cast<double>(v.x) * u.y;
    }
    return std::fabs(a) / 2;
}

// The 80-point eye mesh of the face warper on the standard face: for each
// eye a 20-point ring of Hermite curves through the lids (upper half
// thinned to 11 points, lower to 9) and a fixed ring twice as far from the
// eye's centre.
std::vector<Vector2> EyeMeshPoints(const Vector2 *L) {
    std::vector<Vector2> pts(80);
    const int upperKeep[11] = {0, 1, 3, 4, 5, 7, 8, 10, 11, 13, 14}, lowerKeep[9] = {1, 3, 4, 5, 7, 8, 10, 11, 13};
    for (int e = 0; e < 2; ++e) {
        const int b = 10 * e;
        Vector2 upper[6] = {L[b], L[b + 1], L[b + 2], L[b + 3], L[b + 4], L[b + 5]};
        Vector2 lower[6] = {L[b + 5], L[b + 9], L[b + 8], L[b + 7], L[b + 6], L[b]};
        Vector2 o[15];
        CMathUtils::SmoothLines(o, upper, 6, 0.5f, 2);
        for (int i = 0; i < 11; ++i) pts[20 * e + i] = o[upperKeep[i]];
        CMathUtils::SmoothLines(o, lower, 6, 0.5f, 2);
        for (int i = 0; i < 9; ++i) pts[20 * e + 11 + i] = o[lowerKeep[i]];
        const Vector2 c{((L[b + 7].x + L[b + 3].x) / 2 + (L[b + 8].x + L[b + 2].x) / 2) / 2,
                        ((L[b + 7].y + L[b + 3].y) / 2 + (L[b + 8].y + L[b + 2].y) / 2) / 2};
        for (int i = 0; i < 20; ++i)
            pts[40 + 20 * e + i] = {2 * pts[20 * e + i].x - c.x, 2 * pts[20 * e + i].y - c.y};
    }
    return pts;
}

}  // namespace

TEST(Meshes, CountsFirstTrianglesAndRanges) {
    EXPECT_EQ(sizeof g_StandIndexs / sizeof g_StandIndexs[0], 548u * 3);
    EXPECT_EQ(sizeof g_Ctri / sizeof g_Ctri[0], 270u * 3);
    EXPECT_EQ(sizeof g_CBigEyestri / sizeof g_CBigEyestri[0], 116u * 3);
    EXPECT_EQ(sizeof g_ThindFaceGrid / sizeof g_ThindFaceGrid[0], 621u * 3);
    EXPECT_EQ(sizeof g_StandToothGrid / sizeof g_StandToothGrid[0], 14u * 3);
    const unsigned firsts[5][3] = {{7, 2, 169}, {6, 7, 53}, {8, 13, 7}, {7, 2, 8}, {50, 59, 66}};
    const unsigned got[5][3] = {{g_StandIndexs[0], g_StandIndexs[1], g_StandIndexs[2]},
                                {g_Ctri[0], g_Ctri[1], g_Ctri[2]},
                                {g_CBigEyestri[0], g_CBigEyestri[1], g_CBigEyestri[2]},
                                {g_ThindFaceGrid[0], g_ThindFaceGrid[1], g_ThindFaceGrid[2]},
                                {g_StandToothGrid[0], g_StandToothGrid[1], g_StandToothGrid[2]}};
    for (int m = 0; m < 5; ++m)
        for (int k = 0; k < 3; ++k) EXPECT_EQ(got[m][k], firsts[m][k]) << "mesh " << m;
    unsigned maxStand = 0, maxCtri = 0, minCtri = 1000, maxEye = 0, maxGrid = 0;
    for (unsigned short v : g_StandIndexs) {
        maxStand = std::max<unsigned>(maxStand, v);
        EXPECT_FALSE(v >= 171 && v <= 174);
    }
    for (unsigned v : g_Ctri) maxCtri = std::max(maxCtri, v), minCtri = std::min(minCtri, v);
    for (unsigned v : g_CBigEyestri) maxEye = std::max(maxEye, v);
    for (unsigned v : g_ThindFaceGrid) maxGrid = std::max(maxGrid, v);
    EXPECT_EQ(maxStand, 309u);
    EXPECT_EQ(maxCtri, 229u);
    EXPECT_EQ(minCtri, 6u);
    EXPECT_EQ(maxEye, 79u);
    EXPECT_EQ(maxGrid, 333u);
    for (unsigned v : g_StandToothGrid) {
        EXPECT_GE(v, 50u);
        EXPECT_LE(v, 72u);
    }
}

TEST(Meshes, StandardAndGridAreTriangulations) {
    Mesh stand{std::vector<int>(std::begin(g_StandIndexs), std::end(g_StandIndexs)),
               std::vector<Vector2>(g_StandCoord, g_StandCoord + 310)};
    ExpectValid(stand, "g_StandIndexs");
    Mesh grid{std::vector<int>(std::begin(g_ThindFaceGrid), std::end(g_ThindFaceGrid)), stand.pts};
    grid.pts.insert(grid.pts.end(), g_ThindFaceGridFrame, g_ThindFaceGridFrame + 24);
    ExpectValid(grid, "g_ThindFaceGrid");
}

TEST(Meshes, EyeAndMouthMeshesTileTheirRegions) {
    Mesh eyes{std::vector<int>(std::begin(g_CBigEyestri), std::end(g_CBigEyestri)), EyeMeshPoints(g_StandCoord)};
    ExpectValid(eyes, "g_CBigEyestri");
    double regions = 0;
    for (int e = 0; e < 2; ++e) {
        std::vector<Vector2> outer(eyes.pts.begin() + 40 + 20 * e, eyes.pts.begin() + 60 + 20 * e);
        regions += PolygonArea(outer);  // the ring's inside plus the band
    }
    EXPECT_NEAR(MeshArea(eyes), regions, 1e-6 * regions + 1e-9);

    Mesh tooth{std::vector<int>(std::begin(g_StandToothGrid), std::end(g_StandToothGrid)),
               std::vector<Vector2>(g_StandCoord, g_StandCoord + 310)};
    ExpectValid(tooth, "g_StandToothGrid");
    std::vector<Vector2> opening = {g_StandCoord[50]};
    for (int i = 59; i <= 65; ++i) opening.push_back(g_StandCoord[i]);
    opening.push_back(g_StandCoord[58]);
    for (int i = 72; i >= 66; --i) opening.push_back(g_StandCoord[i]);
    EXPECT_NEAR(MeshArea(tooth), PolygonArea(opening), 1e-6);
}
