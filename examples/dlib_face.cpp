// dlib's 68 points to the library's 83-point numbering.
//
// The 68 points, 0-based: 0-16 jaw from the image-left ear over the chin (8)
// to the image-right ear; 17-21 and 22-26 the brows along their upper edge,
// image left to right; 27-30 nose bridge down to the tip; 31-35 nostril
// base; 36-41 and 42-47 the eyes from their image-left corner clockwise;
// 48-59 outer lip line clockwise from the left corner; 60-67 inner lip line.
//
// The mapping ("left" is always the image left):
// - Contour: 83-point 0 is 68-point 8 (chin); 1..9 lie at 0, 1/9, ..., 8/9 of
//   the arc length of a smooth curve through 68-points 0..8; 10..18 the same
//   through 16..8.
// - Eyes: corners 21/25 (left eye, outer/inner) and 67/71 (right eye,
//   inner/outer) are the detector's corners; on smooth curves through each
//   lid the points at 1/4, 1/2, 3/4 of the length are 27, 26, 28 and 22, 19,
//   23 (left eye, upper and lower lid) and 73, 72, 74 and 68, 65, 69 (right
//   eye). Centre and pupil (20 and 24, 66 and 70) are the mean of the six eye
//   points: the detector finds no iris.
// - Brows: the detector gives the upper edge. 34, 35, 36 and 80, 81, 82 lie
//   at 1/4, 1/2, 3/4 of a smooth curve through it; the lower edge 30, 31, 32
//   and 76, 77, 78 is the same three points moved toward the eye by a
//   thickness rising from 0.18 D at the outer tail to 0.40 D at the inner
//   head, D being the distance from the middle of the upper edge to the top
//   of the eye; the ends (29/33 left outer/inner, 75/79 right inner/outer)
//   lie halfway between the two edges.
// - Mouth: corners 37 and 46 are 68-points 48 and 54; the lip points follow
//   the table in kMouth below. Where the inner lip lines cross on a closed
//   mouth, both points of the pair are set to their midpoint.
// - Nose: with w half the distance between 68-points 31 and 35, "across" the
//   direction from 35 to 31 and "up" the direction from 30 to 27: 64 tip =
//   30, 58 base = 33, 57/61 = 32/34, 62/63 the wings 31/35 moved outward by
//   0.1 w and up by 0.3 w, 55/59 = 28 moved 0.4 w to either side, 56/60 = the
//   midpoint of 29 and 30 moved 0.7 w to either side.
#include "dlib_face.h"

#include <dlib/image_processing.h>
#include <dlib/image_processing/frontal_face_detector.h>
#include <dlib/image_transforms.h>

#include <algorithm>
#include <cmath>
#include <cstring>

using klav::Vector2;

namespace {

Vector2 Add(Vector2 a, Vector2 b) { return {a.x + b.x, a.y + b.y}; }
Vector2 Sub(Vector2 a, Vector2 b) { return {a.x - b.x, a.y - b.y}; }
Vector2 Scale(Vector2 a, float s) { return {a.x * s, a.y * s}; }
Vector2 Mid(Vector2 a, Vector2 b) { return {(a.x + b.x) * 0.5f, (a.y + b.y) * 0.5f}; }
float Length(Vector2 a) { return std::sqrt(a.x * a.x + a.y * a.y); }
Vector2 Unit(Vector2 a) {
    float l = Length(a);
    return l > 0 ? Scale(a, 1.0f / l) : Vector2{0, 0};
}

// Catmull-Rom curve through the points, densely sampled.
std::vector<Vector2> SmoothCurve(const std::vector<Vector2> &p) {
    std::vector<Vector2> out;
    const int steps = 32;
    for (size_t i = 0; i + 1 < p.size(); ++i) {
        Vector2 p0 = p[i == 0 ? 0 : i - 1], p1 = p[i], p2 = p[i + 1];
        Vector2 p3 = p[std::min(i + 2, p.size() - 1)];
        for (int s = 0; s < steps; ++s) {
            float t = static_cast<float>(s) / steps, t2 = t * t, t3 = t2 * t;
            Vector2 v;
            v.x = 0.5f * (2 * p1.x + (-p0.x + p2.x) * t + (2 * p0.x - 5 * p1.x + 4 * p2.x - p3.x) * t2 +
                          (-p0.x + 3 * p1.x - 3 * p2.x + p3.x) * t3);
            v.y = 0.5f * (2 * p1.y + (-p0.y + p2.y) * t + (2 * p0.y - 5 * p1.y + 4 * p2.y - p3.y) * t2 +
                          (-p0.y + 3 * p1.y - 3 * p2.y + p3.y) * t3);
            out.push_back(v);
        }
    }
    out.push_back(p.back());
    return out;
}

// The point at `fraction` of the arc length of the curve through `p`.
Vector2 AtArcFraction(const std::vector<Vector2> &p, float fraction) {
    std::vector<Vector2> c = SmoothCurve(p);
    std::vector<float> acc(c.size(), 0.0f);
    for (size_t i = 1; i < c.size(); ++i) acc[i] = acc[i - 1] + Length(Sub(c[i], c[i - 1]));
    float target = fraction * acc.back();
    for (size_t i = 1; i < c.size(); ++i) {
        if (acc[i] >= target) {
            float seg = acc[i] - acc[i - 1];
            float t = seg > 0 ? (target - acc[i - 1]) / seg : 0.0f;
            return Add(c[i - 1], Scale(Sub(c[i], c[i - 1]), t));
        }
    }
    return c.back();
}

std::vector<Vector2> Pick(const Landmarks68 &f, std::initializer_list<int> idx) {
    std::vector<Vector2> v;
    for (int i : idx) v.push_back(f.pts[i]);
    return v;
}

// 83-point number and its 68-point source for the lips.
const int kMouth[][2] = {{37, 48}, {49, 49}, {48, 50}, {54, 51}, {51, 52}, {52, 53}, {46, 54},
                         {50, 61}, {47, 62}, {53, 63}, {39, 67}, {45, 66}, {42, 65}, {40, 59},
                         {41, 58}, {38, 57}, {44, 56}, {43, 55}};

// One brow from its five upper-edge points (image left to right). `out`
// names the 83-point numbers to write: the image-left end, the three upper
// quarter points, the three lower-edge points and the image-right end.
void Brow(const Landmarks68 &f, const int upper[5], Vector2 eyeTop, bool outerFirst, const int out[8],
          Vector2 *o) {
    std::vector<Vector2> edge;
    for (int i = 0; i < 5; ++i) edge.push_back(f.pts[upper[i]]);
    Vector2 q[3] = {AtArcFraction(edge, 0.25f), AtArcFraction(edge, 0.5f), AtArcFraction(edge, 0.75f)};
    float d = Length(Sub(eyeTop, q[1]));
    // Thickness at curve fraction t (0 at the image-left end).
    auto thickness = [&](float t) {
        float fromOuter = outerFirst ? t : 1.0f - t;
        return d * (0.18f + (0.40f - 0.18f) * fromOuter);
    };
    auto down = [&](Vector2 p, float t) { return Add(p, Scale(Unit(Sub(eyeTop, p)), thickness(t))); };
    o[out[0]] = Mid(edge.front(), down(edge.front(), 0.0f));
    o[out[7]] = Mid(edge.back(), down(edge.back(), 1.0f));
    for (int i = 0; i < 3; ++i) {
        o[out[1 + i]] = q[i];
        o[out[4 + i]] = down(q[i], 0.25f * (i + 1));
    }
}

}  // namespace

void ConvertTo83(const Landmarks68 &f, Vector2 o[83]) {
    std::memset(o, 0, sizeof(Vector2) * 83);
    // Contour.
    o[0] = f.pts[8];
    std::vector<Vector2> left = Pick(f, {0, 1, 2, 3, 4, 5, 6, 7, 8});
    std::vector<Vector2> right = Pick(f, {16, 15, 14, 13, 12, 11, 10, 9, 8});
    for (int i = 0; i < 9; ++i) {
        o[1 + i] = AtArcFraction(left, i / 9.0f);
        o[10 + i] = AtArcFraction(right, i / 9.0f);
    }
    // Eyes: upper lid quarter points, lower lid quarter points, corners, centre.
    struct Eye {
        int c0, u1, u2, c1, l1, l2;  // 68-points: left corner, upper lid, right corner, lower lid
        int leftCorner, rightCorner, upper[3], lower[3], centre, pupil;
    } eyes[2] = {{36, 37, 38, 39, 41, 40, 21, 25, {27, 26, 28}, {22, 19, 23}, 20, 24},
                 {42, 43, 44, 45, 47, 46, 67, 71, {73, 72, 74}, {68, 65, 69}, 66, 70}};
    for (const Eye &e : eyes) {
        std::vector<Vector2> upper = Pick(f, {e.c0, e.u1, e.u2, e.c1});
        std::vector<Vector2> lower = Pick(f, {e.c0, e.l1, e.l2, e.c1});
        o[e.leftCorner] = f.pts[e.c0];
        o[e.rightCorner] = f.pts[e.c1];
        for (int i = 0; i < 3; ++i) {
            o[e.upper[i]] = AtArcFraction(upper, 0.25f * (i + 1));
            o[e.lower[i]] = AtArcFraction(lower, 0.25f * (i + 1));
        }
        Vector2 mean{0, 0};
        for (int k : {e.c0, e.u1, e.u2, e.c1, e.l1, e.l2}) mean = Add(mean, f.pts[k]);
        mean = Scale(mean, 1.0f / 6.0f);
        o[e.centre] = mean;
        o[e.pupil] = mean;
    }
    // Brows: left brow runs outer (image left) to inner, right brow inner to outer.
    const int leftUpper[5] = {17, 18, 19, 20, 21}, rightUpper[5] = {22, 23, 24, 25, 26};
    const int leftOut[8] = {29, 34, 35, 36, 30, 31, 32, 33};
    const int rightOut[8] = {75, 80, 81, 82, 76, 77, 78, 79};
    Brow(f, leftUpper, o[26], true, leftOut, o);
    Brow(f, rightUpper, o[72], false, rightOut, o);
    // Mouth, then the closed-mouth rule for the inner lip pairs.
    for (const auto &m : kMouth) o[m[0]] = f.pts[m[1]];
    const int pairs[3][2] = {{50, 39}, {47, 45}, {53, 42}};
    for (const auto &p : pairs) {
        if (o[p[0]].y > o[p[1]].y) {
            Vector2 mid = Mid(o[p[0]], o[p[1]]);
            o[p[0]] = mid;
            o[p[1]] = mid;
        }
    }
    // Nose.
    float w = 0.5f * Length(Sub(f.pts[31], f.pts[35]));
    Vector2 across = Unit(Sub(f.pts[31], f.pts[35]));
    Vector2 up = Unit(Sub(f.pts[27], f.pts[30]));
    o[64] = f.pts[30];
    o[58] = f.pts[33];
    o[57] = f.pts[32];
    o[61] = f.pts[34];
    o[62] = Add(Add(f.pts[31], Scale(across, 0.1f * w)), Scale(up, 0.3f * w));
    o[63] = Add(Add(f.pts[35], Scale(across, -0.1f * w)), Scale(up, 0.3f * w));
    o[55] = Add(f.pts[28], Scale(across, 0.4f * w));
    o[59] = Add(f.pts[28], Scale(across, -0.4f * w));
    Vector2 flank = Mid(f.pts[29], f.pts[30]);
    o[56] = Add(flank, Scale(across, 0.7f * w));
    o[60] = Add(flank, Scale(across, -0.7f * w));
}

void FillNativeFace(const std::vector<Landmarks68> &input, int width, int height, NativeFace &record) {
    static const int k39to83[39] = {0,  1,  2,  4,  6,  8,  10, 11, 13, 15, 17, 19, 21,
                                    24, 25, 26, 29, 31, 33, 35, 37, 38, 45, 46, 47, 54,
                                    58, 62, 63, 64, 65, 67, 70, 71, 72, 75, 77, 79, 81};
    std::memset(&record, 0, sizeof(record));
    std::vector<Landmarks68> faces = input;
    std::sort(faces.begin(), faces.end(),
              [](const Landmarks68 &a, const Landmarks68 &b) { return a.left < b.left; });
    if (faces.size() > 10) faces.resize(10);
    record.faceCount = static_cast<int>(faces.size());
    const float sx = 1.0f / width, sy = 1.0f / height;
    for (size_t i = 0; i < faces.size(); ++i) {
        NativeFaceEntry &e = record.faces[i];
        const Landmarks68 &f = faces[i];
        e.x = f.left * sx;
        e.y = f.top * sy;
        e.width = (f.right - f.left + 1) * sx;
        e.height = (f.bottom - f.top + 1) * sy;
        Vector2 p83[83];
        ConvertTo83(f, p83);
        for (int k = 0; k < 83; ++k) e.points83[k] = {p83[k].x * sx, p83[k].y * sy};
        for (int k = 0; k < 39; ++k) e.points39[k] = e.points83[k39to83[k]];
    }
}

bool DetectLandmarks(const unsigned char *rgba, int width, int height, std::vector<Landmarks68> &faces,
                     std::string &error, const std::string &modelPath) {
    faces.clear();
    std::string model = modelPath.empty() ? "/usr/share/dlib/shape_predictor_68_face_landmarks.dat" : modelPath;
    dlib::shape_predictor predictor;
    try {
        dlib::deserialize(model) >> predictor;
    } catch (const std::exception &e) {
        error = "cannot read the shape predictor " + model + ": " + e.what();
        return false;
    }
    dlib::array2d<dlib::rgb_pixel> img(height, width);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const unsigned char *p = rgba + (static_cast<size_t>(y) * width + x) * 4;
            img[y][x] = dlib::rgb_pixel(p[0], p[1], p[2]);
        }
    // Small faces are found on the image upsampled once; coordinates are
    // brought back to the original pixels.
    const bool upsample = static_cast<long long>(width) * height <= 1500LL * 1500LL;
    dlib::array2d<dlib::rgb_pixel> big;
    double scale = 1.0;
    if (upsample) {
        dlib::pyramid_up(img, big, dlib::pyramid_down<2>());
        scale = 0.5;
    }
    dlib::frontal_face_detector detector = dlib::get_frontal_face_detector();
    // A raised threshold keeps weak detections (patterns in clothing,
    // backgrounds) out of the record.
    const double threshold = 0.3;
    std::vector<dlib::rectangle> rects = upsample ? detector(big, threshold) : detector(img, threshold);
    for (const dlib::rectangle &r : rects) {
        dlib::full_object_detection shape = upsample ? predictor(big, r) : predictor(img, r);
        if (shape.num_parts() != 68) continue;
        Landmarks68 f;
        for (int i = 0; i < 68; ++i)
            f.pts[i] = {static_cast<float>(shape.part(i).x() * scale), static_cast<float>(shape.part(i).y() * scale)};
        f.left = static_cast<float>(r.left() * scale);
        f.top = static_cast<float>(r.top() * scale);
        f.right = static_cast<float>(r.right() * scale);
        f.bottom = static_cast<float>(r.bottom() * scale);
        faces.push_back(f);
    }
    return true;
}
