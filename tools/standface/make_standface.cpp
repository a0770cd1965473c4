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

#include <stb/stb_image_write.h>

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


// ---- meshes

struct Tri {
    int a, b, c;
};

double Cross(Vector2 o, Vector2 a, Vector2 b) {
    return (static_cast<double>(a.x) - o.x) * (static_cast<double>(b.y) - o.y) -
           (static_cast<double>(a.y) - o.y) * (static_cast<double>(b.x) - o.x);
}

// Bowyer-Watson Delaunay triangulation of the points named by `ids`.
std::vector<Tri> Delaunay(const std::vector<Vector2> &pts, const std::vector<int> &ids) {
    std::vector<Vector2> p = pts;
    const int s0 = static_cast<int>(p.size());
    p.push_back({-100, -100});
    p.push_back({100, -100});
    p.push_back({0, 100});
    std::vector<Tri> tris = {{s0, s0 + 1, s0 + 2}};
    auto inCircle = [&](const Tri &t, Vector2 d) {
        Vector2 a = p[t.a], b = p[t.b], c = p[t.c];
        if (Cross(a, b, c) < 0) std::swap(b, c);
        const double ax = a.x - d.x, ay = a.y - d.y, bx = b.x - d.x, by = b.y - d.y, cx = c.x - d.x, cy = c.y - d.y;
        return (ax * ax + ay * ay) * (bx * cy - cx * by) - (bx * bx + by * by) * (ax * cy - cx * ay) +
                   (cx * cx + cy * cy) * (ax * by - bx * ay) > 0;
    };
    for (int id : ids) {
        std::vector<Tri> keep;
        std::vector<std::pair<int, int>> edges;
        for (const Tri &t : tris) {
            if (inCircle(t, p[id])) {
                edges.push_back({t.a, t.b});
                edges.push_back({t.b, t.c});
                edges.push_back({t.c, t.a});
            } else {
                keep.push_back(t);
            }
        }
        for (size_t i = 0; i < edges.size(); ++i) {
            bool shared = false;
            for (size_t j = 0; j < edges.size(); ++j)
                if (i != j && ((edges[i].first == edges[j].second && edges[i].second == edges[j].first) ||
                               (edges[i].first == edges[j].first && edges[i].second == edges[j].second)))
                    shared = true;
            if (!shared) keep.push_back({edges[i].first, edges[i].second, id});
        }
        tris.swap(keep);
    }
    std::vector<Tri> out;
    for (const Tri &t : tris)
        if (t.a < s0 && t.b < s0 && t.c < s0) out.push_back(t);
    return out;
}

// Flips away slivers: a triangle of nearly no area (a point on or next to
// the segment of two others, as curve samples along a straight chord are)
// gives up its longest edge to the triangle behind that edge. A sliver on
// the boundary has no such neighbour and is dropped.
void FlipSlivers(std::vector<Tri> &tris, const std::vector<Vector2> &p) {
    const double tiny = 2e-6;
    for (int round = 0; round < 1000; ++round) {
        int sliver = -1;
        for (size_t i = 0; i < tris.size() && sliver < 0; ++i)
            if (std::fabs(Cross(p[tris[i].a], p[tris[i].b], p[tris[i].c])) < tiny) sliver = static_cast<int>(i);
        if (sliver < 0) return;
        Tri t = tris[sliver];
        int v[3] = {t.a, t.b, t.c};
        // Longest edge (v[e], v[e + 1]) opposite v[e + 2].
        int e = 0;
        double longest = -1;
        for (int k = 0; k < 3; ++k) {
            const Vector2 a = p[v[k]], b = p[v[(k + 1) % 3]];
            const double l = std::hypot(static_cast<double>(a.x - b.x), a.y - b.y);
            if (l > longest) longest = l, e = k;
        }
        const int a = v[e], b = v[(e + 1) % 3], c = v[(e + 2) % 3];
        int other = -1, d = -1;
        for (size_t j = 0; j < tris.size(); ++j) {
            if (static_cast<int>(j) == sliver) continue;
            const int w[3] = {tris[j].a, tris[j].b, tris[j].c};
            bool hasA = false, hasB = false;
            int rest = -1;
            for (int k : w) {
                if (k == a) hasA = true;
                else if (k == b) hasB = true;
                else rest = k;
            }
            if (hasA && hasB) other = static_cast<int>(j), d = rest;
        }
        if (other < 0) {
            tris.erase(tris.begin() + sliver);
            continue;
        }
        tris[sliver] = {a, d, c};
        tris[other] = {d, b, c};
    }
}

// Removes triangles on the boundary (an edge no other triangle shares),
// the thinnest first, until `count` remain.
void Peel(std::vector<Tri> &tris, const std::vector<Vector2> &p, size_t count) {
    while (tris.size() > count) {
        int best = -1;
        double bestScore = 1e30;
        for (size_t i = 0; i < tris.size(); ++i) {
            const int v[3] = {tris[i].a, tris[i].b, tris[i].c};
            bool boundary = false;
            for (int e = 0; e < 3 && !boundary; ++e) {
                int shared = 0;
                for (size_t j = 0; j < tris.size(); ++j) {
                    if (i == j) continue;
                    const int w[3] = {tris[j].a, tris[j].b, tris[j].c};
                    int hits = 0;
                    for (int k = 0; k < 3; ++k) hits += (w[k] == v[e]) + (w[k] == v[(e + 1) % 3]);
                    if (hits == 2) ++shared;
                }
                boundary = shared == 0;
            }
            if (!boundary) continue;
            // Thinness: area over the longest edge squared.
            const Vector2 a = p[v[0]], b = p[v[1]], c = p[v[2]];
            double longest = 0;
            for (auto e : {std::make_pair(a, b), std::make_pair(b, c), std::make_pair(c, a)})
                longest = std::max(longest, std::hypot(static_cast<double>(e.first.x - e.second.x), e.first.y - e.second.y));
            const double score = std::fabs(Cross(a, b, c)) / (longest * longest);
            if (score < bestScore) bestScore = score, best = static_cast<int>(i);
        }
        if (best < 0) break;
        tris.erase(tris.begin() + best);
    }
}

// Moves the triangle with the corners of `first` to the front, with its
// corners in that order.
bool PutFirst(std::vector<Tri> &tris, Tri first) {
    for (size_t i = 0; i < tris.size(); ++i) {
        const int v[3] = {tris[i].a, tris[i].b, tris[i].c};
        int hits = 0;
        for (int k : v) hits += (k == first.a) + (k == first.b) + (k == first.c);
        if (hits == 3) {
            tris.erase(tris.begin() + static_cast<long>(i));
            tris.insert(tris.begin(), first);
            return true;
        }
    }
    return false;
}

// The inside of a 20-point eye ring (upper lid 0..10 left to right, lower
// lid 11..19 right to left) as a strip of 18 triangles, the diagonals
// running from each upper point to the lower point left of it; then the
// band of 40 to the outer ring at +40. `base` is 0 or 20.
std::vector<Tri> EyeMesh(int base) {
    std::vector<Tri> tris;
    auto at = [&](int i) { return base + i; };
    tris.push_back({at(8), at(13), at(7)});
    tris.push_back({at(8), at(12), at(13)});
    for (int u = 1; u <= 8; ++u) {
        if (u == 7) continue;
        tris.push_back({at(u + 1), at(20 - u), at(u)});
        tris.push_back({at(u + 1), at(19 - u), at(20 - u)});
    }
    tris.push_back({at(0), at(1), at(19)});
    tris.push_back({at(9), at(10), at(11)});
    for (int i = 0; i < 20; ++i) {
        const int j = (i + 1) % 20;
        tris.push_back({at(i), at(j), at(40 + j)});
        tris.push_back({at(i), at(40 + j), at(40 + i)});
    }
    return tris;
}

void WriteMesh(FILE *out, const char *type, const char *name, const std::vector<Tri> &tris) {
    std::fprintf(out, "%s %s[%zu * 3] = {\n", type, name, tris.size());
    for (size_t i = 0; i < tris.size(); ++i)
        std::fprintf(out, "%s%d, %d, %d,%s", i % 6 == 0 ? "    " : " ", tris[i].a, tris[i].b, tris[i].c,
                     (i % 6 == 5 || i + 1 == tris.size()) ? "\n" : "");
    std::fprintf(out, "};\n\n");
}

void Draw(const std::string &path, const std::vector<Vector2> &pts, const std::vector<Tri> &tris) {
    const int W = 1000, H = 1500;
    std::vector<unsigned char> img(static_cast<size_t>(W) * H * 3, 255);
    auto line = [&](Vector2 a, Vector2 b) {
        const int steps = 400;
        for (int i = 0; i <= steps; ++i) {
            const float t = static_cast<float>(i) / steps;
            const int x = static_cast<int>((a.x + (b.x - a.x) * t) * 800 + 100), y = static_cast<int>((a.y + (b.y - a.y) * t) * 1200 + 150);
            if (x >= 0 && y >= 0 && x < W && y < H) {
                unsigned char *q = &img[(static_cast<size_t>(y) * W + x) * 3];
                q[0] = 40, q[1] = 80, q[2] = 200;
            }
        }
    };
    for (const Tri &t : tris) {
        line(pts[t.a], pts[t.b]);
        line(pts[t.b], pts[t.c]);
        line(pts[t.c], pts[t.a]);
    }
    stbi_write_png(path.c_str(), W, H, 3, img.data(), W * 3);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: make_standface INPUT_DIR OUTPUT.cpp [DRAWING_DIR]\n");
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

    // ---- the meshes
    std::vector<Vector2> points(stand, stand + 310);
    // Points the meshes leave out: the four (0, 0) entries and the points
    // that repeat an earlier one (within a tenth of a canvas pixel, as
    // curve samples that land on a control point do).
    std::vector<bool> skip(310, false);
    for (int i = 171; i <= 174; ++i) skip[i] = true;
    for (int i = 0; i < 310; ++i)
        for (int j = 0; j < i && !skip[i]; ++j)
            if (!skip[j] && std::fabs(points[i].x - points[j].x) < 1e-4f && std::fabs(points[i].y - points[j].y) < 1e-4f)
                skip[i] = true;
    std::vector<int> ids;
    for (int i = 0; i < 310; ++i)
        if (!skip[i]) ids.push_back(i);
    std::vector<Tri> standTris = Delaunay(points, ids);
    FlipSlivers(standTris, points);
    std::fprintf(stderr, "standard mesh: %zu points, %zu Delaunay triangles\n", ids.size(), standTris.size());
    Peel(standTris, points, 548);
    if (standTris.size() != 548 || !PutFirst(standTris, {7, 2, 169})) {
        std::fprintf(stderr, "standard mesh: %zu triangles, first triangle %s\n", standTris.size(),
                     standTris.size() == 548 ? "missing" : "-");
        return 1;
    }
    // The dense grid: the same points without the pupils, and a frame of 24
    // points around everything, 7 a side with the corners.
    std::vector<Vector2> gridPoints = points;
    float minX = 1e9f, minY = 1e9f, maxX = -1e9f, maxY = -1e9f;
    for (int i : ids) {
        minX = std::min(minX, points[i].x), maxX = std::max(maxX, points[i].x);
        minY = std::min(minY, points[i].y), maxY = std::max(maxY, points[i].y);
    }
    minX -= 0.05f, minY -= 0.05f, maxX += 0.05f, maxY += 0.05f;
    Vector2 frame[24];
    for (int k = 0; k < 6; ++k) {
        const float t = k / 6.0f;
        frame[k] = {minX + (maxX - minX) * t, minY};
        frame[6 + k] = {maxX, minY + (maxY - minY) * t};
        frame[12 + k] = {maxX - (maxX - minX) * t, maxY};
        frame[18 + k] = {minX, maxY - (maxY - minY) * t};
    }
    // The points between the corners sit a little inside the rectangle, so
    // that no three frame points are collinear.
    for (int k = 0; k < 24; ++k) {
        if (k % 6 == 0) continue;
        const int side = k / 6;
        const float in = 0.01f;
        if (side == 0) frame[k].y += in;
        if (side == 1) frame[k].x -= in;
        if (side == 2) frame[k].y -= in;
        if (side == 3) frame[k].x += in;
    }
    std::vector<int> gridIds;
    for (int i : ids)
        if (i != 169 && i != 170) gridIds.push_back(i);
    for (int k = 0; k < 24; ++k) {
        gridPoints.push_back(frame[k]);
        gridIds.push_back(310 + k);
    }
    std::vector<Tri> grid = Delaunay(gridPoints, gridIds);
    FlipSlivers(grid, gridPoints);
    std::fprintf(stderr, "grid: %zu points, %zu Delaunay triangles\n", gridIds.size(), grid.size());
    Peel(grid, gridPoints, 621);
    if (grid.size() != 621 || !PutFirst(grid, {7, 2, 8})) {
        std::fprintf(stderr, "grid: %zu triangles, first triangle missing\n", grid.size());
        return 1;
    }
    std::vector<Tri> eyes = EyeMesh(0), right = EyeMesh(20);
    eyes.insert(eyes.end(), right.begin(), right.end());
    // The mouth opening: upper inner lip 50, 59..65, 58, lower 66..72.
    std::vector<Tri> tooth = {{50, 59, 66}};
    for (int k = 0; k < 6; ++k) {
        tooth.push_back({59 + k, 60 + k, 67 + k});
        tooth.push_back({59 + k, 67 + k, 66 + k});
    }
    tooth.push_back({65, 58, 72});
    if (argc > 3) {
        Draw(std::string(argv[3]) + "/standard_mesh.png", points, standTris);
        Draw(std::string(argv[3]) + "/grid_mesh.png", gridPoints, grid);
        Draw(std::string(argv[3]) + "/tooth_mesh.png", points, tooth);
    }

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
    WriteMesh(out, "unsigned short", "g_StandIndexs", standTris);
    WriteMesh(out, "unsigned int", "g_CBigEyestri", eyes);
    WriteMesh(out, "unsigned int", "g_ThindFaceGrid", grid);
    WriteMesh(out, "unsigned int", "g_StandToothGrid", tooth);
    WriteTable(out, "Vector2", "g_ThindFaceGridFrame", frame, 24);
    std::fprintf(out, "}  // namespace klav\n");
    std::fclose(out);
    std::fprintf(stderr, "wrote %s from %zu faces\n", argv[2], faces.size());
    return 0;
}
