// Face slimming and eye enlarging. Neither operation moves pixels itself: a
// dense mesh is built around the face (or the eyes) from the landmarks, part
// of it is moved, and the renderer redraws each triangle of the mesh from a
// copy of the image.
#include "thinface.h"

#include "common.h"
#include "mathutils.h"
#include "mls.h"
#include "standface.h"

#include <cmath>
#include <cstring>
#include <memory>

namespace klav {

namespace {

// Landmarks of the 310-point set taken for the face contour, by position.
// Positions 0 to 10 run along the jaw, 0, 1, 6, 14 and 31 build the
// forehead, and 29 is the centre of the mesh.
const int kSelectedLandmarks[39] = {98, 84, 90, 92, 94, 96, 88, 106, 104, 102, 100, 8,  0,
                                    169, 5, 3,  20, 28, 25, 23, 50, 76,  69,  58,  62, 54,
                                    49,  44, 47, 48, 18, 10, 170, 15, 13, 30,  37,  35, 33};

const int kRing = 46;          // points of each ring of the face mesh
const int kMeshPoints = 231;   // five rings and the centre
const int kCentre = 230;
const int kFaceCapacity = 350;
const int kEyeCapacity = 80;

// The mesh points that steer the slimming: outer ring 1 at contour indices
// 24, 27, 31, 35, 38, 7, 15, 22 and 40. Each is pulled toward its contour
// partner by the pull constant, or held (partner -1).
struct Control {
    int mesh;
    int partner;
    double pull;
};
const Control kControls[9] = {{70, 24, 0.4}, {73, 27, 0.3}, {77, -1, 0}, {81, 35, 0.3}, {84, 38, 0.4},
                              {53, -1, 0},   {61, -1, 0},   {68, 22, 0.2}, {86, 40, 0.2}};

// The contour indices moved for a face turned far one way, the other way,
// or facing forward, and the point count handed to the warp for each.
struct MoveRow {
    std::vector<int> indices;
    int passed;
};

MoveRow RowFor(float ratio) {
    MoveRow row;
    auto span = [&](int a, int b) {
        for (int i = a; i <= b; ++i) row.indices.push_back(i);
    };
    // NaN fails both comparisons and takes the middle row.
    if (ratio >= 10) {
        row.indices = {7, 8};
        span(17, 30);
        row.passed = 17;
    } else if (static_cast<double>(ratio) <= 0.1) {
        row.indices = {15, 16};
        span(31, 45);
        row.passed = 17;
    } else {
        row.indices = {7, 8};
        span(15, 44);
        row.passed = 33;
    }
    return row;
}

float SignedArea(Vector2 a, Vector2 b, Vector2 c) {
    return 0.5f * ((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y));
}

Vector2 Mid(Vector2 a, Vector2 b) { return {(a.x + b.x) / 2, (a.y + b.y) / 2}; }

// Two rows of n floats, (y, x) for the warp.
struct Rows {
    explicit Rows(int n) : storage(static_cast<size_t>(2) * n, 0.0f) {
        rows[0] = storage.data();
        rows[1] = storage.data() + n;
    }
    std::vector<float> storage;
    float *rows[2];
};

// A triangle table of the standard face in 16-bit form, made once. The
// tables are exported and so writable by a host: a triangle with an index
// past the mesh is left out rather than read outside the point lists.
struct TriangleTable {
    std::vector<unsigned short> indices;
    int count = 0;
    TriangleTable(const unsigned int *table, int triangles, unsigned int points) {
        for (int t = 0; t < triangles; ++t) {
            const unsigned int *v = table + 3 * t;
            if (v[0] >= points || v[1] >= points || v[2] >= points) continue;
            for (int k = 0; k < 3; ++k) indices.push_back(static_cast<unsigned short>(v[k]));
            ++count;
        }
    }
};

// The face table: 270 triangles over the contour ring, the outer rings and
// the inner ring (mesh points 6 to 229).
const TriangleTable &FaceTriangles() {
    static const TriangleTable table(g_Ctri, 270, kMeshPoints);
    return table;
}

// The eye table: the band between each eye's 20-point ring and its fixed
// outer ring, and the inside of the ring.
const TriangleTable &EyeTriangles() {
    static const TriangleTable table(g_CBigEyestri, 116, kEyeCapacity);
    return table;
}

// A NaN or infinite strength has no meaning and does nothing.
bool Valid(const Vector2 *landmarks, const unsigned char *image, int width, int height, float strength) {
    return landmarks && detail::ValidImage(image, width, height) && std::isfinite(strength);
}

}  // namespace

CThinFace::CThinFace()
    : m_selected(39),
      m_faceSrc(kFaceCapacity),
      m_faceDst(kFaceCapacity),
      m_eyeSrc(kEyeCapacity),
      m_eyeDst(kEyeCapacity),
      m_landmarks(nullptr),
      m_pointCount(0),
      m_width(0),
      m_height(0) {}

CThinFace::~CThinFace() {}

void CThinFace::RunThinFace(Vector2 *landmarks, unsigned char *image, int width, int height, float strength) {
    if (!Valid(landmarks, image, width, height, strength)) return;
    m_width = width;
    m_height = height;
    m_pointCount = 0;
    for (int i = 0; i < 39; ++i) m_selected[i] = landmarks[kSelectedLandmarks[i]];
    m_pointCount = CalResPoint();
    for (int i = 0; i < m_pointCount; ++i) m_faceDst[i] = m_faceSrc[i];
    UpdataPointCPP(image, strength);
}

int CThinFace::CalFaceTF(int first) {
    const Vector2 *S = m_selected.data();
    Vector2 *ring = m_faceSrc.data() + first;
    // The forehead top: x and y are scaled differently from the chin on
    // purpose, the forehead being taller than the chin-to-brow span suggests.
    const Vector2 M = Mid(S[14], S[31]);
    const Vector2 T = {S[0].x + 2 * (M.x - S[0].x), S[0].y + (M.y - S[0].y) * 9 / 5};
    // Two forehead shoulders; x from the landmark, y from the top.
    const Vector2 B = {S[1].x + (T.x - S[1].x) / 3, T.y + (S[1].y - T.y) / 3};
    const Vector2 C = {S[6].x + (T.x - S[6].x) / 3, T.y + (S[6].y - T.y) / 3};
    // Each piece is a Lagrange curve through three points; later pieces
    // overwrite earlier entries where they overlap.
    auto piece = [&](Vector2 a, Vector2 b, Vector2 c, int outputs, int skip, int take, int at) {
        Vector2 in[3] = {a, b, c}, out[7];
        CMathUtils::LagrangePolyfit(in, 3, out, outputs);
        for (int k = 0; k < take; ++k) ring[at + k] = out[skip + k];
    };
    piece(T, B, S[1], 7, 0, 7, 0);
    piece(ring[4], ring[5], S[1], 5, 0, 5, 4);
    piece(T, C, S[6], 7, 1, 6, 9);
    piece(ring[12], ring[13], S[6], 5, 0, 5, 12);
    piece(S[1], S[2], S[3], 7, 1, 6, 17);
    piece(S[3], S[4], S[5], 7, 1, 6, 23);
    piece(S[5], S[0], S[10], 7, 1, 6, 29);
    piece(S[10], S[9], S[8], 7, 1, 6, 35);
    piece(S[8], S[7], S[6], 7, 1, 5, 41);
    return first + kRing;
}

int CThinFace::CalFaceOutTF(int next) {
    const Vector2 centre = m_selected[29];
    const Vector2 *P = m_faceSrc.data();
    for (int r = 1; r <= 3; ++r) {
        const double t = 0.1 * r;
        for (int i = 0; i < kRing; ++i) {
            Vector2 &out = m_faceSrc[next + (r - 1) * kRing + i];
            out.x = static_cast<float>(P[i].x + (P[i].x - centre.x) * t);
            out.y = static_cast<float>(P[i].y + (P[i].y - centre.y) * t);
        }
    }
    return next + 3 * kRing;
}

int CThinFace::CalFaceInSideTF(int next) {
    const Vector2 centre = m_selected[29];
    const Vector2 *P = m_faceSrc.data();
    for (int i = 0; i < kRing; ++i) {
        Vector2 &out = m_faceSrc[next + i];
        out.x = static_cast<float>(P[i].x - (P[i].x - centre.x) * 0.1);
        out.y = static_cast<float>(P[i].y - (P[i].y - centre.y) * 0.1);
    }
    return next + kRing;
}

int CThinFace::CalResPoint() {
    int n = CalFaceTF(0);
    n = CalFaceOutTF(n);
    n = CalFaceInSideTF(n);
    m_faceSrc[kCentre] = m_selected[29];
    return n + 1;
}

void CThinFace::SetPower(Vector2 *mesh, float **target, float power, float factor) {
    for (int c = 0; c < 9; ++c) {
        const Vector2 a = mesh[kControls[c].mesh];
        if (kControls[c].partner < 0) {
            // Held: a small fixed offset, unequal to that of the controls at
            // rest, so that even strength 0 nudges the mesh slightly.
            target[0][c] = static_cast<float>(a.y + 0.009);
            target[1][c] = static_cast<float>(a.x + factor * 0.01);
        } else {
            const Vector2 b = mesh[kControls[c].partner];
            const double k = kControls[c].pull;
            target[0][c] = static_cast<float>(a.y + 0.01 - (a.y - b.y) * k * power * factor);
            target[1][c] = static_cast<float>(a.x + 0.01 - (a.x - b.x) * k * power * factor);
        }
    }
}

void CThinFace::MoveFacePoint(float strength) {
    const Vector2 *P = m_faceSrc.data();
    Vector2 *D = m_faceDst.data();
    // How far the face is turned: the areas of the triangles from the centre
    // to either side of the jaw.
    const Vector2 C = P[kCentre];
    const float ratio = SignedArea(P[8], C, P[31]) / SignedArea(P[16], P[31], C);
    const MoveRow row = RowFor(ratio);

    // The controls at rest, (y, x) rows as the warp takes them.
    Rows rest(9);
    for (int c = 0; c < 9; ++c) {
        rest.rows[0][c] = P[kControls[c].mesh].y + 0.01f;
        rest.rows[1][c] = P[kControls[c].mesh].x + 0.01f;
    }
    const float power = static_cast<float>(strength * 1.5);

    // Outer ring 2, outer ring 1 and the contour, each with its factor.
    const int ringBase[3] = {2 * kRing, kRing, 0};
    const float factors[3] = {0.4f, 0.5f, 0.6f};
    // Stale entries past the packed ones are warped with the rest and their
    // results dropped; the rows start zeroed so they are always defined.
    Rows eval(row.passed), result(row.passed);
    MLS mls;
    for (int r = 0; r < 3; ++r) {
        Rows moved(9);
        SetPower(m_faceSrc.data(), moved.rows, power, factors[r]);
        auto inImage = [&](const Vector2 &p) { return p.x >= 0 && p.x < m_width && p.y >= 0 && p.y < m_height; };
        int packed = 0;
        for (int idx : row.indices) {
            const Vector2 &p = P[ringBase[r] + idx];
            if (!inImage(p) || packed >= row.passed) continue;
            eval.rows[0][packed] = p.y;
            eval.rows[1][packed] = p.x;
            ++packed;
        }
        if (packed == 0) continue;
        mls.MLSD2DpointsDefRigid(eval.rows, result.rows, rest.rows, moved.rows, 9, row.passed);
        int k = 0;
        for (int idx : row.indices) {
            const Vector2 &p = P[ringBase[r] + idx];
            if (!inImage(p) || k >= packed) continue;
            D[ringBase[r] + idx] = {result.rows[1][k], result.rows[0][k]};
            ++k;
        }
    }
}

void CThinFace::MoveEyesPoint(float strength) {
    const Vector2 *L = m_landmarks;
    Vector2 *src = m_eyeSrc.data(), *dst = m_eyeDst.data();
    // Each eye's ring: two Hermite chains of six points, fifteen samples each,
    // with the joints shared between segments kept once.
    static const int kUpper[11] = {0, 1, 3, 4, 5, 7, 8, 10, 11, 13, 14};
    static const int kLower[9] = {1, 3, 4, 5, 7, 8, 10, 11, 13};
    auto half = [&](const int (&order)[6], const int *keep, int kept, int at) {
        Vector2 in[6], out[15];
        for (int k = 0; k < 6; ++k) in[k] = L[order[k]];
        CMathUtils::SmoothLines(out, in, 6, 0.5f, 2);
        for (int k = 0; k < kept; ++k) src[at + k] = out[keep[k]];
    };
    half({0, 1, 2, 3, 4, 5}, kUpper, 11, 0);
    half({5, 9, 8, 7, 6, 0}, kLower, 9, 11);
    half({10, 11, 12, 13, 14, 15}, kUpper, 11, 20);
    half({15, 19, 18, 17, 16, 10}, kLower, 9, 31);

    // Eyes already large against the face are enlarged less; past 0.9 of
    // the face width the enlargement turns into a reduction.
    auto dist = [](Vector2 a, Vector2 b) { return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y)); };
    const float e = (dist(L[5], L[0]) + dist(L[15], L[10])) / dist(L[107], L[89]);
    const float g = (0.9f - e) * strength * 0.2f;
    auto centre = [&](int a, int b, int c, int d) {
        const Vector2 m1 = Mid(L[a], L[b]), m2 = Mid(L[c], L[d]);
        return Mid(m1, m2);
    };
    const Vector2 centres[2] = {centre(7, 3, 8, 2), centre(17, 13, 18, 12)};
    for (int i = 0; i < 40; ++i) {
        const Vector2 c = centres[i / 20];
        dst[i] = {src[i].x + (src[i].x - c.x) * g, src[i].y + (src[i].y - c.y) * g};
        // A fixed ring twice as far out pins the warp.
        src[i + 40] = {2 * src[i].x - c.x, 2 * src[i].y - c.y};
        dst[i + 40] = src[i + 40];
    }
}

// Redraws the image from a copy of itself through the mesh.
static void RedrawThroughMesh(TextureMapping &mapper, unsigned char *image, int width, int height, Vector2 *from,
                       Vector2 *to, const TriangleTable &table) {
    const size_t bytes = detail::CheckedSize({width, height, 4});
    std::unique_ptr<unsigned char[]> copy(new unsigned char[bytes]);
    std::memcpy(copy.get(), image, bytes);
    mapper.DrawTextureList(copy.get(), image, width, height, from, to,
                           const_cast<unsigned short *>(table.indices.data()), table.count);
}

void CThinFace::UpdataPointCPP(unsigned char *image, float strength) {
    MoveFacePoint(strength);
    RedrawThroughMesh(m_mapper, image, m_width, m_height, m_faceSrc.data(), m_faceDst.data(), FaceTriangles());
}

void CThinFace::RunBigEyes(Vector2 *landmarks, unsigned char *image, int width, int height, float strength) {
    if (!Valid(landmarks, image, width, height, strength)) return;
    m_width = width;
    m_height = height;
    m_landmarks = landmarks;
    MoveEyesPoint(strength);
    RedrawThroughMesh(m_mapper, image, width, height, m_eyeSrc.data(), m_eyeDst.data(), EyeTriangles());
}

}  // namespace klav
