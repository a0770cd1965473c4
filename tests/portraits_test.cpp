// The landmark object on every real portrait at hand: the bundled ones, and
// those of the shared data folder beside the checkout when it is there.
#include "interpoint.h"

#include <gtest/gtest.h>
#include <stb/stb_image.h>

#include <cmath>
#include <dirent.h>
#include <memory>
#include <string>
#include <vector>

#include "test_util.h"

using namespace klav;

namespace {

std::vector<std::string> Stems(const std::string &dir) {
    std::vector<std::string> stems;
    if (DIR *d = opendir(dir.c_str())) {
        while (dirent *e = readdir(d)) {
            const std::string n = e->d_name;
            if (n.size() > 9 && n.substr(n.size() - 9) == ".face.bin") stems.push_back(dir + "/" + n.substr(0, n.size() - 9));
        }
        closedir(d);
    }
    return stems;
}

std::unique_ptr<NativeFace> ReadRecord(const std::string &path) {
    std::unique_ptr<NativeFace> face(new NativeFace());
    FILE *f = std::fopen(path.c_str(), "rb");
    if (!f) return nullptr;
    const bool ok = std::fread(face.get(), sizeof(NativeFace), 1, f) == 1;
    std::fclose(f);
    return ok ? std::move(face) : nullptr;
}

float Dist(Vector2 a, Vector2 b) { return std::hypot(a.x - b.x, a.y - b.y); }

}  // namespace

TEST(Portraits, EveryFaceExpandsOntoItsFace) {
    std::vector<std::string> stems = Stems(KLAV_TEST_DATA_DIR);
    for (const std::string &s : Stems(KLAV_SHARED_PORTRAITS)) stems.push_back(s);
    ASSERT_GE(stems.size(), 2u);
    int faces = 0;
    for (const std::string &stem : stems) {
        int w = 0, h = 0, n = 0;
        unsigned char *rgba = stbi_load((stem + ".png").c_str(), &w, &h, &n, 4);
        std::unique_ptr<NativeFace> record = ReadRecord(stem + ".face.bin");
        if (!rgba || !record) {
            if (rgba) stbi_image_free(rgba);
            continue;
        }
        std::unique_ptr<InterPoint> ip(new InterPoint());
        bool ran = false;
        testutil::CaptureStderr([&] { ran = ip->Run(record.get(), rgba, w, h); });
        ASSERT_TRUE(ran) << stem;
        for (int f = 0; f < ip->getFaceCount(); ++f) {
            ASSERT_TRUE(ip->SelectFace(f)) << stem;
            ASSERT_EQ(ip->GetCount(), 310);
            const Vector2 *r = ip->GetResPoint();
            for (int i = 0; i < 310; ++i) ASSERT_TRUE(std::isfinite(r[i].x) && std::isfinite(r[i].y)) << stem << " " << i;
            const float eyeWidth = Dist(r[0], r[5]);
            SCOPED_TRACE(stem + " face " + std::to_string(f));
            // Brows above the eyes, eyes above the nose tip, the nose above
            // the mouth, the mouth above the chin, the forehead top above the
            // brows (rows grow downward; a tilted head keeps these orders).
            EXPECT_LT(r[22].y, r[2].y);
            EXPECT_LT(r[32].y, r[12].y);
            EXPECT_LT((r[2].y + r[12].y) / 2, r[48].y);
            EXPECT_LT(r[48].y, r[54].y + 1);
            EXPECT_LT(r[54].y, r[98].y);
            EXPECT_LT(r[80].y, (r[22].y + r[32].y) / 2);
            // The left eye left of the right eye, both about an eye apart.
            EXPECT_LT(r[5].x, r[10].x);
            EXPECT_GT(Dist(r[169], r[170]), eyeWidth);
            EXPECT_LT(Dist(r[169], r[170]), 4 * eyeWidth);
            // Each ring lies farther from the nose tip than the outline.
            for (int i = 0; i < 28; ++i) EXPECT_GT(Dist(r[271 + i], r[48]), Dist(r[80 + i], r[48]));
            ++faces;
        }
        stbi_image_free(rgba);
    }
    EXPECT_GE(faces, 2);
}
