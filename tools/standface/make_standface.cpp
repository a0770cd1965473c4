// make_standface: builds the standard face tables of the library from
// measured landmarks and the library's own landmark expansion, and writes
// them as source/data/standface_data.cpp.
//
//   make_standface INPUT_DIR OUTPUT.cpp
//
// 1. Every *.pts83.txt in INPUT_DIR (83 points in pixels, one "x y" a line)
//    is aligned to the first by a similarity on all points; the mean is made
//    symmetric with its mirror image.
// 2. The mean face is placed on the standard frame (x over 1000, y over
//    1500) by the similarity that best puts its left pupil and chin on the
//    table's fixed rows; those rows are then set exactly.
// 3. Eyes, eyebrows and the lower lip of the 310-point face are sampled
//    along smooth curves through the standard 83 points; everything else is
//    what the expansion makes of the standard face.
#include "interpoint.h"
#include "mathutils.h"
#include "standface.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

using namespace klav;

namespace {

using Face = std::vector<Vector2>;

// Left/right counterpart of each 83-point number.
const int kMirror83[83] = {
    0,  10, 11, 12, 13, 14, 15, 16, 17, 18, 1,  2,  3,  4,  5,  6,  7,  8,  9,  65, 66, 71, 69, 68, 70, 67, 72, 74,
    73, 79, 78, 77, 76, 75, 82, 81, 80, 46, 38, 42, 43, 44, 39, 40, 41, 45, 37, 47, 51, 52, 53, 48, 49, 50, 54, 59,
    60, 61, 58, 55, 56, 57, 63, 62, 64, 19, 20, 25, 23, 22, 24, 21, 26, 28, 27, 33, 32, 31, 30, 29, 36, 35, 34};
const int k39to83[39] = {0,  1,  2,  4,  6,  8,  10, 11, 13, 15, 17, 19, 21, 24, 25, 26, 29, 31, 33, 35,
                         37, 38, 45, 46, 47, 54, 58, 62, 63, 64, 65, 67, 70, 71, 72, 75, 77, 79, 81};

Face Load(const std::string &path) {
    Face f;
    std::ifstream in(path);
    float x, y;
    while (in >> x >> y) f.push_back({x, y});
    return f;
}

// Similarity (scale, rotation, shift) taking `from` onto `to` in least squares.
Face Align(const Face &from, const Face &to) {
    double mfx = 0, mfy = 0, mtx = 0, mty = 0;
    const double n = static_cast<double>(from.size());
    for (size_t i = 0; i < from.size(); ++i) mfx += from[i].x, mfy += from[i].y, mtx += to[i].x, mty += to[i].y;
    mfx /= n, mfy /= n, mtx /= n, mty /= n;
    double a = 0, b = 0, d = 0;
    for (size_t i = 0; i < from.size(); ++i) {
        const double fx = from[i].x - mfx, fy = from[i].y - mfy, tx = to[i].x - mtx, ty = to[i].y - mty;
        a += fx * tx + fy * ty;
        b += fx * ty - fy * tx;
        d += fx * fx + fy * fy;
    }
    a /= d, b /= d;
    Face out(from.size());
    for (size_t i = 0; i < from.size(); ++i) {
        const double fx = from[i].x - mfx, fy = from[i].y - mfy;
        out[i] = {static_cast<float>(a * fx - b * fy + mtx), static_cast<float>(b * fx + a * fy + mty)};
    }
    return out;
}

// The point at `fraction` of the arc length of a smooth curve through `p`.
Vector2 AtArc(std::vector<Vector2> p, float fraction) {
    if (p.size() < 4) p.insert(p.begin() + 1, Vector2{(p[0].x + p[1].x) / 2, (p[0].y + p[1].y) / 2});
    const int steps = 16;
    std::vector<Vector2> c(static_cast<size_t>(CMathUtils::SmoothLines2(nullptr, p.data(), static_cast<int>(p.size()), 0.5f, steps)));
    CMathUtils::SmoothLines2(c.data(), p.data(), static_cast<int>(p.size()), 0.5f, steps);
    std::vector<float> acc(c.size(), 0.0f);
    for (size_t i = 1; i < c.size(); ++i) acc[i] = acc[i - 1] + std::hypot(c[i].x - c[i - 1].x, c[i].y - c[i - 1].y);
    const float target = fraction * acc.back();
    for (size_t i = 1; i < c.size(); ++i)
        if (acc[i] >= target) {
            const float t = (target - acc[i - 1]) / std::max(acc[i] - acc[i - 1], 1e-6f);
            return {c[i - 1].x + (c[i].x - c[i - 1].x) * t, c[i - 1].y + (c[i].y - c[i - 1].y) * t};
        }
    return c.back();
}

// `count` points strictly inside a curve through the 83 points named.
void Along(const Face &f, std::initializer_list<int> through, int count, Vector2 *out) {
    std::vector<Vector2> p;
    for (int k : through) p.push_back(f[k]);
    for (int i = 0; i < count; ++i) out[i] = AtArc(p, static_cast<float>(i + 1) / static_cast<float>(count + 1));
}

void WriteTable(FILE *out, const char *type, const char *name, const Vector2 *v, int n) {
    std::fprintf(out, "%s %s[%d] = {\n", type, name, n);
    for (int i = 0; i < n; ++i) std::fprintf(out, "    {%.6ff, %.6ff},%s", v[i].x, v[i].y, (i % 3 == 2 || i == n - 1) ? "\n" : "");
    std::fprintf(out, "};\n\n");
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: make_standface INPUT_DIR OUTPUT.cpp\n");
        return 2;
    }
    std::vector<Face> faces;
    DIR *dir = opendir(argv[1]);
    if (!dir) return 1;
    std::vector<std::string> names;
    while (dirent *e = readdir(dir)) {
        std::string n = e->d_name;
        if (n.size() > 10 && n.substr(n.size() - 10) == ".pts83.txt") names.push_back(n);
    }
    closedir(dir);
    std::sort(names.begin(), names.end());
    for (const std::string &n : names) {
        Face f = Load(std::string(argv[1]) + "/" + n);
        if (f.size() == 83) faces.push_back(f);
    }
    if (faces.empty()) return 1;

    // 1. Mean of the aligned faces, made symmetric with its mirror image.
    Face mean(83, Vector2{0, 0});
    for (const Face &f : faces) {
        Face a = Align(f, faces[0]);
        for (int k = 0; k < 83; ++k) mean[k].x += a[k].x / faces.size(), mean[k].y += a[k].y / faces.size();
    }
    Face mirrored(83);
    for (int k = 0; k < 83; ++k) mirrored[k] = {-mean[kMirror83[k]].x, mean[kMirror83[k]].y};
    mirrored = Align(mirrored, mean);
    for (int k = 0; k < 83; ++k) mean[k] = {(mean[k].x + mirrored[k].x) / 2, (mean[k].y + mirrored[k].y) / 2};
    // Make it upright: the line between the pupils horizontal.
    {
        const float ang = std::atan2(mean[70].y - mean[24].y, mean[70].x - mean[24].x);
        const float c = std::cos(-ang), s = std::sin(-ang);
        for (Vector2 &p : mean) p = {c * p.x - s * p.y, s * p.x + c * p.y};
    }

    // 2. Onto the canvas of 1000 x 1500, with the chin on the centre line:
    // the vertical scale puts the left pupil at its fixed height above the
    // chin, the horizontal scale fits the fixed offsets of the left pupil
    // and the left eye's outer corner from the centre line.
    const Vector2 pupil{362.4f, 0.3661f * 1500}, chin{510.9f, 0.6781f * 1500};
    const float outerCorner = 285.9f;
    const float p = mean[0].x - mean[24].x, c = mean[0].x - mean[21].x;
    const float tp = chin.x - pupil.x, tc = chin.x - outerCorner;
    const float sx = (tp * p + tc * c) / (p * p + c * c);
    const float sy = (chin.y - pupil.y) / (mean[0].y - mean[24].y);
    Face canvas(83);
    for (int k = 0; k < 83; ++k) canvas[k] = {chin.x + (mean[k].x - mean[0].x) * sx, chin.y + (mean[k].y - mean[0].y) * sy};
    std::fprintf(stderr, "scales x %.3f y %.3f; residuals: pupil %.2f px, outer corner %.2f px, corner height %.2f px\n", sx,
                 sy, canvas[24].x - pupil.x, canvas[21].x - outerCorner, canvas[21].y - 0.3688f * 1500);
    canvas[24] = pupil;
    canvas[0] = chin;
    // An open mouth keeps the tooth area a real region: inner lips at least
    // 6 canvas pixels apart.
    const int pairs[3][2] = {{50, 39}, {47, 45}, {53, 42}};
    for (const auto &p : pairs) {
        const float gap = canvas[p[1]].y - canvas[p[0]].y;
        if (gap < 6.0f) {
            const float mid = (canvas[p[0]].y + canvas[p[1]].y) / 2;
            canvas[p[0]].y = mid - 3.0f;
            canvas[p[1]].y = mid + 3.0f;
        }
    }

    // Tables of the 83 and 39 numberings.
    Vector2 et[84] = {}, pp[40] = {};
    for (int k = 0; k < 83; ++k) et[k] = {canvas[k].x / 1000.0f, canvas[k].y / 1500.0f};
    for (int k = 0; k < 39; ++k) pp[k] = et[k39to83[k]];
    pp[0] = {0.5109f, 0.6781f};
    et[24] = {0.3624f, 0.3661f};

    // 3. The parts of the 310 points the expansion reads from the standard.
    Vector2 stand[310] = {};
    const Face &f = canvas;
    auto put = [&](int at, Vector2 p) { stand[at] = {p.x / 1000.0f, p.y / 1500.0f}; };
    Vector2 tmp[7];
    put(0, f[21]);
    Along(f, {21, 27, 26, 28, 25}, 4, tmp);
    for (int i = 0; i < 4; ++i) put(1 + i, tmp[i]);
    put(5, f[25]);
    Along(f, {21, 22, 19, 23, 25}, 4, tmp);
    for (int i = 0; i < 4; ++i) put(6 + i, tmp[i]);
    put(10, f[67]);
    Along(f, {67, 73, 72, 74, 71}, 4, tmp);
    for (int i = 0; i < 4; ++i) put(11 + i, tmp[i]);
    put(15, f[71]);
    Along(f, {67, 68, 65, 69, 71}, 4, tmp);
    for (int i = 0; i < 4; ++i) put(16 + i, tmp[i]);
    put(20, f[29]);
    Along(f, {29, 34, 35, 36, 33}, 4, tmp);
    for (int i = 0; i < 4; ++i) put(21 + i, tmp[i]);
    put(25, f[33]);
    Along(f, {29, 30, 31, 32, 33}, 4, tmp);
    for (int i = 0; i < 4; ++i) put(26 + i, tmp[i]);
    put(30, f[75]);
    Along(f, {75, 80, 81, 82, 79}, 4, tmp);
    for (int i = 0; i < 4; ++i) put(31 + i, tmp[i]);
    put(35, f[79]);
    Along(f, {75, 76, 77, 78, 79}, 4, tmp);
    for (int i = 0; i < 4; ++i) put(36 + i, tmp[i]);
    Along(f, {37, 40, 41, 38, 44, 43, 46}, 7, tmp);  // lower lip, bottom edge
    for (int i = 0; i < 7; ++i) put(73 + i, tmp[i]);

    std::memcpy(g_StandCoord, stand, sizeof stand);
    std::memcpy(g_StandFacePPCoord, pp, sizeof pp);
    std::memcpy(g_StandFacePPCoordET, et, sizeof et);
    std::memcpy(g_StandMouceCoordET, &stand[50], sizeof(Vector2) * 30);
    std::memcpy(g_StandMouceCoord, &stand[50], sizeof(Vector2) * 30);

    // The expansion of the standard face on its own canvas.
    std::unique_ptr<NativeFace> record(new NativeFace());
    std::memset(record.get(), 0, sizeof(NativeFace));
    record->faceCount = 1;
    for (int k = 0; k < 83; ++k) record->faces[0].points83[k] = et[k];
    for (int k = 0; k < 39; ++k) record->faces[0].points39[k] = pp[k];
    std::vector<unsigned char> image(1000 * 1500 * 4, 128);
    std::unique_ptr<InterPoint> ip(new InterPoint());
    if (!ip->Run(record.get(), image.data(), 1000, 1500) || ip->GetCount() != 310) {
        std::fprintf(stderr, "expansion failed\n");
        return 1;
    }
    const Vector2 *res = ip->GetResPoint();
    for (int i = 0; i < 310; ++i) {
        if ((i >= 0 && i < 40) || (i >= 73 && i < 80)) continue;  // kept from the curves
        stand[i] = {res[i].x / 1000.0f, res[i].y / 1500.0f};
    }
    // The fixed rows of the table.
    stand[0] = {0.2859f, 0.3688f};
    stand[98] = {0.5090f, 0.6843f};
    stand[169] = {0.3656f, 0.3656f};
    stand[309] = {0.6687f, 0.5995f};
    for (int i = 171; i <= 174; ++i) stand[i] = {0, 0};

    FILE *out = std::fopen(argv[2], "w");
    if (!out) return 1;
    std::fprintf(out,
                 "// Generated by tools/standface/make_standface from the landmark lists in\n"
                 "// tools/standface/inputs; do not edit. Re-run:\n"
                 "//   cmake -S . -B build-tools -DKLAV_BUILD_TOOLS=ON && cmake --build build-tools --target make_standface\n"
                 "//   build-tools/tools/make_standface tools/standface/inputs source/data/standface_data.cpp\n"
                 "#include \"standface.h\"\n\nnamespace klav {\n\n");
    WriteTable(out, "Vector2", "g_StandCoord", stand, 310);
    WriteTable(out, "Vector2", "g_StandMouceCoord", &stand[50], 30);
    WriteTable(out, "Vector2", "g_StandMouceCoordET", &stand[50], 30);
    WriteTable(out, "Vector2", "g_StandFaceCoord", &stand[80], 28);
    WriteTable(out, "Vector2", "g_StandFaceCoordET", &stand[80], 28);
    WriteTable(out, "Vector2", "g_StandEyeBrowCoord", &stand[20], 20);
    WriteTable(out, "Vector2", "g_StandEyeBrowCoordET", &stand[20], 20);
    WriteTable(out, "Vector2", "g_StandFacePPCoord", pp, 40);
    WriteTable(out, "Vector2", "g_StandFacePPCoordBackUp", pp, 40);
    WriteTable(out, "Vector2", "g_StandFacePPCoordET", et, 84);
    std::fprintf(out, "}  // namespace klav\n");
    std::fclose(out);
    std::fprintf(stderr, "wrote %s from %zu faces\n", argv[2], faces.size());
    return 0;
}
