// InterPoint: import of the detector record, face selection, the 310-point
// expansion and the masks of facial parts.
#include "interpoint.h"

#include "common.h"
#include "eyepupilcircle.h"
#include "mathutils.h"
#include "mls.h"
#include "sfdsp.h"
#include "standface.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace klav {

namespace {

const char kModule[] = "source/interpoint";

// 83-point number of each of the 39 points.
const int k39to83[39] = {0,  1,  2,  4,  6,  8,  10, 11, 13, 15, 17, 19, 21, 24, 25, 26, 29, 31, 33, 35,
                         37, 38, 45, 46, 47, 54, 58, 62, 63, 64, 65, 67, 70, 71, 72, 75, 77, 79, 81};

inline Vector2 V(float x, float y) { return Vector2{x, y}; }
inline Vector2 operator+(Vector2 a, Vector2 b) { return V(a.x + b.x, a.y + b.y); }
inline Vector2 operator-(Vector2 a, Vector2 b) { return V(a.x - b.x, a.y - b.y); }
inline Vector2 operator*(Vector2 a, float s) { return V(a.x * s, a.y * s); }
inline Vector2 Mid(Vector2 a, Vector2 b) { return V((a.x + b.x) / 2.0f, (a.y + b.y) / 2.0f); }
inline float Dist(Vector2 a, Vector2 b) { return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y)); }

// Faces actually read from a record: the count limited to 0..10.
int UsableFaces(int count) { return count < 0 ? 0 : (count > 10 ? 10 : count); }

unsigned char *MallocMask(int width, int height) {
    size_t bytes = detail::CheckedSize({width, height});
    void *block = std::calloc(bytes ? bytes : 1, 1);
    if (!block) throw std::bad_alloc();
    return static_cast<unsigned char *>(block);
}

bool AllFinite(const Vector2 *p, int n) {
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(p[i].x) || !std::isfinite(p[i].y)) return false;
    return true;
}

}  // namespace

InterPoint::InterPoint() {
    // Every field starts at zero, including those that only Run gives a
    // meaning; the selection starts at -1 so that an empty object answers
    // consistently.
    std::memset(static_cast<void *>(this), 0, sizeof(*this));
    m_resPoint = nullptr;
    m_selectNo = -1;
}

// ---------------------------------------------------------------- lifecycle

bool InterPoint::Run(NativeFace *face, unsigned char *image, int width, int height) {
    if (!face) {
        KLAV_ERROR(kModule, "ERROR: InterPoint failed to run");
        return false;
    }
    m_width = width;
    m_height = height;
    std::memcpy(&m_native, face, sizeof(NativeFace));
    // A record may claim more faces than it can hold: at most ten are read.
    m_FaceCount = m_native.faceCount > 10 ? 10 : m_native.faceCount;
    const float fw = static_cast<float>(width), fh = static_cast<float>(height);
    for (int i = 0; i < UsableFaces(m_FaceCount); ++i) {
        NativeFaceEntry &e = m_native.faces[i];
        e.x *= fw;
        e.y *= fh;
        e.width *= fw;
        e.height *= fh;
        for (Vector2 &p : e.points39) p = V(p.x * fw, p.y * fh);
        for (Vector2 &p : e.points83) p = V(p.x * fw, p.y * fh);
        for (Vector2 &p : e.extra1) p = V(p.x * fw, p.y * fh);
        for (Vector2 &p : e.extra2) p = V(p.x * fw, p.y * fh);
    }
    m_selectNo = -1;
    m_firstFace = 0;
    if (m_FaceCount <= 0) {
        KLAV_ERROR(kModule, "No any face!!");
        return false;
    }

    // The working gray image: at most 640 pixels on the longer side. Above
    // that the plane has the reduced size but holds the first w * h pixels
    // of the full image read at the reduced row length; no resampling.
    int w = width, h = height;
    int longer = w > h ? w : h;
    if (longer > 640) {
        double factor = longer / 640.0;
        w = static_cast<int>(w / factor);
        h = static_cast<int>(h / factor);
    }
    unsigned char *gray = nullptr;
    if (image && width > 0 && height > 0 && w > 0 && h > 0) {
        gray = detail::NewArray<unsigned char>({w, h});
        const unsigned char *src = image;
        unsigned char *copy = nullptr;
        if (w == width && h == height) {
            copy = detail::NewArray<unsigned char>({w, h, 4});
            std::memcpy(copy, image, detail::CheckedSize({w, h, 4}));
            src = copy;
        }
        const size_t n = detail::CheckedSize({w, h});
        for (size_t i = 0; i < n; ++i) {
            const unsigned char *p = src + i * 4;
            gray[i] = static_cast<unsigned char>((601 * p[1] + 306 * p[0] + 117 * p[2]) >> 10);
        }
        delete[] copy;
    }

    AdjustEyeBrowPoint39(face);
    GetEyepupilInfo(gray, w, h);
    delete[] gray;
    SelectFace(m_firstFace);
    if (!m_resPoint) KLAV_ERROR(kModule, "ERROR:InterPoint AllPoints is NULL");
    return true;
}

void InterPoint::AdjustEyeBrowPoint39(NativeFace *face) {
    if (!face || m_width <= 0 || m_height <= 0) return;
    const float fw = static_cast<float>(m_width), fh = static_cast<float>(m_height);
    for (int i = 0; i < UsableFaces(m_FaceCount); ++i) {
        const Vector2 *p = m_native.faces[i].points39;
        const float t = (Dist(p[17], p[19]) + Dist(p[36], p[38])) / 2.0f;
        const int pairs[2][2] = {{17, 19}, {36, 38}};
        for (const auto &pair : pairs) {
            Vector2 m = Mid(p[pair[0]], p[pair[1]]);
            for (int end : pair) {
                Vector2 d = p[end] - m;
                float len = std::sqrt(d.x * d.x + d.y * d.y);
                // An end on the midpoint has no direction to move along.
                if (!(len > 0.0f) || !std::isfinite(t)) continue;
                Vector2 moved = m + d * (t / 2.0f / len);
                Vector2 normalised = V(moved.x / fw, moved.y / fh);
                face->faces[i].points39[end] = normalised;
                face->faces[i].points83[k39to83[end]] = normalised;
            }
        }
    }
}

bool InterPoint::GetEyepupilInfo(unsigned char *gray, int width, int height) {
    if (m_native.faceCount == 0) {
        KLAV_ERROR(kModule, "GetEyepupilInfo fail cause faceDetector NULL!");
        return false;
    }
    char message[96];
    std::snprintf(message, sizeof message, "GetEyepupilInfo width=%d height=%d", width, height);
    detail::InfoRecord(message);
    if (!gray) {
        KLAV_ERROR(kModule, "GetEyepupilInfo fail cause pBigGray NULL!");
        return false;
    }
    const float k = static_cast<float>(width) / static_cast<float>(m_width);
    for (int i = 0; i < UsableFaces(m_FaceCount); ++i) {
        const Vector2 *p = m_native.faces[i].points39;
        auto mark = [&](int c0, int c1, int top, int bottom, int pupil) {
            return Eye_MARK{p[c0] * k, p[c1] * k, p[top] * k, p[bottom] * k, p[pupil] * k};
        };
        std::vector<Eye_MARK> marks;
        marks.push_back(mark(31, 33, 34, 30, 32));  // right eye first
        marks.push_back(mark(12, 14, 15, 11, 13));
        CEyePupilCircle finder(gray, width, height, marks);
        float leftR = 0, rightR = 0;
        Vector2 leftC = V(0, 0), rightC = V(0, 0);
        // The first mark fills the second pair: the right eye comes back second.
        finder.Run(leftR, leftC, rightR, rightC);
        m_leftPupilRadius[i] = leftR / k;
        m_leftPupilCentre[i] = V(leftC.x / k, leftC.y / k);
        m_rightPupilRadius[i] = rightR / k;
        m_rightPupilCentre[i] = V(rightC.x / k, rightC.y / k);
    }
    return true;
}

bool InterPoint::SelectFace(int n) {
    if (n < 0 || n >= m_FaceCount) {
        char message[64];
        std::snprintf(message, sizeof message, "SelectFace num =%d", n);
        KLAV_ERROR(kModule, message);
        return false;
    }
    m_selectNo = n;
    std::memcpy(m_facePoint83, m_native.faces[n].points83, sizeof m_facePoint83);
    std::memcpy(m_faceppPoint, m_native.faces[n].points39, sizeof m_faceppPoint);
    m_use83 = true;
    m_isPoint = true;
    DealAfterFace();
    return true;
}

void InterPoint::DealAfterFace() {
    if (m_FaceCount == 0) {
        KLAV_ERROR(kModule, "DealAfterFace faceCount  is 0");
        return;
    }
    SetFacePoint();
    Vector2 *res = m_use83 ? m_res83 : m_res39;
    m_pointCount = GetPoint211(res);
    m_resPoint = res;
    SetAlterFace();
}

void InterPoint::SetFacePoint() {
    std::memcpy(&g_StandCoord[50], g_StandMouceCoord, sizeof(Vector2) * 30);
    std::memcpy(&g_StandCoord[80], g_StandFaceCoord, sizeof(Vector2) * 28);
    if (m_use83) {
        std::memcpy(&g_StandCoord[50], g_StandMouceCoordET, sizeof(Vector2) * 30);
        std::memcpy(&g_StandCoord[80], g_StandFaceCoordET, sizeof(Vector2) * 28);
    }
}

void InterPoint::IntroductionPoint(NativeFace *face) {
    if (!face || face->faceCount < 1) return;
    // A selection is needed to know which face to re-import; without one
    // there is nothing to update.
    if (m_selectNo < 0 || m_selectNo >= 10) return;
    const NativeFaceEntry &e = face->faces[m_selectNo];
    const float fw = static_cast<float>(m_width), fh = static_cast<float>(m_height);
    for (int k = 0; k < 83; ++k) m_facePoint83[k] = V(e.points83[k].x * fw, e.points83[k].y * fh);
    for (int k = 0; k < 39; ++k) m_faceppPoint[k] = V(e.points39[k].x * fw, e.points39[k].y * fh);
    m_use83 = true;
    m_isPoint = true;
    DealAfterFace();
}

void InterPoint::SetAlterFace() {
    AlterFacePoint &a = m_alterFacePoint;
    std::memset(&a, 0, sizeof a);
    int n = 0;
    auto take39 = [&](std::initializer_list<int> numbers, int *list, int &count) {
        for (int k : numbers) {
            m_alterFace[n] = m_faceppPoint[k];
            list[count++] = n++;
        }
    };
    auto take83 = [&](std::initializer_list<int> numbers, int *list, int &count) {
        for (int k : numbers) {
            m_alterFace[n] = m_facePoint83[k];
            list[count++] = n++;
        }
    };
    take39({12, 15, 14, 11}, a.leftEye, a.leftEyeCount);
    take39({31, 34, 33, 30}, a.rightEye, a.rightEyeCount);
    take39({16, 19, 18, 17}, a.leftBrow, a.leftBrowCount);
    take39({35, 38, 37, 36}, a.rightBrow, a.rightBrowCount);
    if (m_use83) {
        take83({37, 49, 48, 54, 51, 52, 46, 41, 38, 44}, a.mouth, a.mouthCount);
        take83({50, 47, 53}, a.upperInnerLip, a.upperInnerLipCount);
        take83({39, 45, 42}, a.lowerInnerLip, a.lowerInnerLipCount);
    } else {
        take39({20, 21, 23, 25}, a.mouth, a.mouthCount);
        take39({24}, a.upperInnerLip, a.upperInnerLipCount);
        take39({22}, a.lowerInnerLip, a.lowerInnerLipCount);
    }
    a.total = n;
}

// ---------------------------------------------------------------- getters

Vector2 *InterPoint::GetAstrictResPoint() {
    if (m_pointCount < 1 || !m_resPoint) return m_astrictRes;
    const int n = m_pointCount > 310 ? 310 : m_pointCount;
    const float maxX = static_cast<float>(m_width - 1), maxY = static_cast<float>(m_height - 1);
    for (int i = 0; i < n; ++i) {
        Vector2 p = m_resPoint[i];
        // NaN compares false both ways and ends at 0.
        p.x = p.x > maxX ? maxX : (p.x >= 0.0f ? p.x : 0.0f);
        p.y = p.y > maxY ? maxY : (p.y >= 0.0f ? p.y : 0.0f);
        m_astrictRes[i] = p;
    }
    return m_astrictRes;
}

FaceRect InterPoint::GetFirstFaceRect() {
    FaceRect r;
    r.x = r.y = r.width = r.height = -1;
    r.leftPupil = V(0, 0);
    r.rightPupil = V(0, 0);
    if (m_selectNo == -1) m_selectNo = m_firstFace;
    if (m_FaceCount <= 0 || m_selectNo < 0 || m_selectNo >= 10) return r;
    const NativeFaceEntry &e = m_native.faces[m_selectNo];
    r.x = detail::SaturateToInt(e.x);
    r.y = detail::SaturateToInt(e.y);
    r.width = detail::SaturateToInt(e.width);
    r.height = detail::SaturateToInt(e.height);
    r.leftPupil = m_faceppPoint[13];
    r.rightPupil = m_faceppPoint[32];
    return r;
}

int InterPoint::FaceSlot() const { return m_selectNo >= 0 && m_selectNo < 10 ? m_selectNo : -1; }

float InterPoint::GetLeftPupilRadius(int n) const { return n >= 0 && n < 10 ? m_leftPupilRadius[n] : 0.0f; }
float InterPoint::GetRightPupilRadius(int n) const { return n >= 0 && n < 10 ? m_rightPupilRadius[n] : 0.0f; }
Vector2 InterPoint::GetLeftPupilCentre(int n) const { return n >= 0 && n < 10 ? m_leftPupilCentre[n] : V(0, 0); }
Vector2 InterPoint::GetRightPupilCentre(int n) const { return n >= 0 && n < 10 ? m_rightPupilCentre[n] : V(0, 0); }

bool InterPoint::IsThooth() {
    if (!m_resPoint) return false;
    const Vector2 *r = m_resPoint;
    return Dist(r[62], r[69]) / Dist(r[49], r[54]) > 0.3f;
}

int InterPoint::GetTranPoint(int *out, int part, int which) {
    if (!out || part < 0 || part > 10) return 0;
    int record = (part == 5 && m_use83) ? 16 : part;
    const Position &pos = g_position[record];
    const int first = which == 1 ? 3 : 0;
    if (pos.count < first + 3) return 0;
    for (int i = 0; i < 3; ++i) out[i] = pos.index[first + i];
    return 3;
}

// ---------------------------------------------------------------- expansion

void InterPoint::LagrangePolyfit(std::vector<Vector2> control, std::vector<Vector2> &out, int samples) {
    out.assign(samples > 0 ? static_cast<size_t>(samples) : 0, V(0, 0));
    if (samples <= 0 || control.empty()) return;
    CMathUtils::LagrangePolyfit(control.data(), static_cast<int>(control.size()), out.data(), samples);
}

// Writes samples first..last of the curve through `control` to res[at..].
int InterPoint::CurveInto(Vector2 *res, int at, std::vector<Vector2> control, int samples, int first,
                          int last) {
    std::vector<Vector2> out;
    LagrangePolyfit(control, out, samples);
    for (int s = first; s <= last; ++s) res[at++] = out[s];
    return at;
}

// Copies `count` result points from `start` with their numbers into the
// part record, point i then number i, through the record's bytes: a part
// that writes more entries than its field holds runs on into the fields
// behind it, and the writers after it overwrite that spill, which is how
// the record's final contents come about. Nothing is written past the end
// of the record.
void InterPoint::RecordPart(size_t pointsOffset, size_t indexOffset, size_t indexSize, const Vector2 *res,
                            int start, int count) {
    unsigned char *base = reinterpret_cast<unsigned char *>(&m_facePoint);
    const size_t limit = sizeof(FacePoint);
    for (int i = 0; i < count; ++i) {
        size_t at = pointsOffset + static_cast<size_t>(i) * sizeof(Vector2);
        if (at + sizeof(Vector2) <= limit) std::memcpy(base + at, &res[start + i], sizeof(Vector2));
        at = indexOffset + static_cast<size_t>(i) * indexSize;
        if (at + indexSize > limit) continue;
        if (indexSize == sizeof(int)) {
            int number = start + i;
            std::memcpy(base + at, &number, sizeof number);
        } else {
            unsigned short number = static_cast<unsigned short>(start + i);
            std::memcpy(base + at, &number, sizeof number);
        }
    }
}

#define KLAV_RECORD(field, res, start, count)                                                   \
    RecordPart(offsetof(FacePoint, field), offsetof(FacePoint, field##Index),                   \
               sizeof(static_cast<FacePoint *>(nullptr)->field##Index[0]), res, start, count)

int InterPoint::CalPointMSL(Vector2 *stdControl, Vector2 *stdTargets, int targetCount, Vector2 *detControl,
                            Vector2 *res, int controlCount, int start) {
    // Planar rows with y in row 0 and x in row 1; the deformation does not
    // care which coordinate comes first.
    std::vector<float> pRows(static_cast<size_t>(controlCount) * 2), qRows(pRows.size());
    std::vector<float> vRows(static_cast<size_t>(targetCount) * 2), outRows(vRows.size());
    float *p[2] = {pRows.data(), pRows.data() + controlCount};
    float *q[2] = {qRows.data(), qRows.data() + controlCount};
    float *v[2] = {vRows.data(), vRows.data() + targetCount};
    float *out[2] = {outRows.data(), outRows.data() + targetCount};
    for (int k = 0; k < controlCount; ++k) {
        p[0][k] = stdControl[k].y * 1500.0f;
        p[1][k] = stdControl[k].x * 1000.0f;
        q[0][k] = detControl[k].y;
        q[1][k] = detControl[k].x;
    }
    for (int j = 0; j < targetCount; ++j) {
        v[0][j] = stdTargets[j].y * 1500.0f;
        v[1][j] = stdTargets[j].x * 1000.0f;
    }
    MLS().MLSD2DpointsDefAffine(v, out, p, q, controlCount, targetCount);
    for (int j = 0; j < targetCount; ++j) res[start + j] = V(out[1][j], out[0][j]);
    return start + targetCount;
}

namespace {
// Four control pairs out of the 39-point standard and detected faces.
void Controls39(const Vector2 *detected, std::initializer_list<int> numbers, Vector2 *stdOut, Vector2 *detOut) {
    int i = 0;
    for (int k : numbers) {
        stdOut[i] = g_StandFacePPCoord[k];
        detOut[i] = detected[k];
        ++i;
    }
}
}  // namespace

int InterPoint::CalLeftEyeMLS(int start, Vector2 *res) {
    Vector2 s[4], d[4];
    Controls39(m_faceppPoint, {12, 15, 14, 11}, s, d);
    int next = CalPointMSL(s, &g_StandCoord[0], 10, d, res, 4, start);
    KLAV_RECORD(leftEye, res, start, 10);
    return next;
}

int InterPoint::CalRightEyeMLS(int start, Vector2 *res) {
    Vector2 s[4], d[4];
    Controls39(m_faceppPoint, {31, 34, 33, 30}, s, d);
    int next = CalPointMSL(s, &g_StandCoord[10], 10, d, res, 4, start);
    KLAV_RECORD(rightEye, res, start, 10);
    return next;
}

int InterPoint::CalLeftEyeBrowMLS(int start, Vector2 *res) {
    Vector2 s[4], d[4];
    Controls39(m_faceppPoint, {16, 19, 18, 17}, s, d);
    int next = CalPointMSL(s, &g_StandCoord[20], 10, d, res, 4, start);
    KLAV_RECORD(leftBrow, res, start, 10);
    return next;
}

int InterPoint::CalRightEyeBrowMLS(int start, Vector2 *res) {
    Vector2 s[4], d[4];
    Controls39(m_faceppPoint, {35, 38, 37, 36}, s, d);
    int next = CalPointMSL(s, &g_StandCoord[30], 10, d, res, 4, start);
    KLAV_RECORD(rightBrow, res, start, 10);
    return next;
}

int InterPoint::CalNoise(int start, Vector2 *res) {
    const Vector2 *d = m_faceppPoint;
    res[start] = Mid(d[18], d[35]);
    Vector2 c = Mid(d[14], d[31]);
    CurveInto(res, start + 1, {c, d[27]}, 4, 0, 3);
    CurveInto(res, start + 5, {c, d[28]}, 4, 1, 3);
    res[start + 8] = d[29];
    res[start + 9] = d[26];
    KLAV_RECORD(nose, res, start, 10);
    return start + 10;
}

int InterPoint::CalMouceE(int start, Vector2 *res) {
    const Vector2 *d = m_facePoint83;
    Vector2 *r = res + start;  // r[0] is point 50
    r[0] = d[37];
    r[1] = d[49];
    r[2] = Mid(d[48], d[49]);
    r[3] = d[48];
    r[4] = d[54];
    r[5] = d[51];
    r[6] = Mid(d[51], d[52]);
    r[7] = d[52];
    r[8] = d[46];
    CurveInto(r, 9, {d[37], d[50], d[47]}, 5, 1, 4);
    CurveInto(r, 13, {d[47], d[53], d[46]}, 5, 1, 3);
    CurveInto(r, 16, {d[37], d[39], d[45]}, 5, 1, 4);
    CurveInto(r, 20, {d[45], d[42], d[46]}, 5, 1, 3);
    // The lower lip's outer edge follows the standard face, carried by three
    // detected points at a time.
    const Vector2 *et = g_StandFacePPCoordET;
    Vector2 s1[3] = {et[37], et[41], et[38]}, d1[3] = {d[37], d[41], d[38]};
    CalPointMSL(s1, &g_StandCoord[73], 3, d1, res, 3, start + 23);
    Vector2 s2[3] = {et[41], et[38], et[44]}, d2[3] = {d[41], d[38], d[44]};
    CalPointMSL(s2, &g_StandCoord[76], 1, d2, res, 3, start + 26);
    Vector2 s3[3] = {et[38], et[44], et[46]}, d3[3] = {d[38], d[44], d[46]};
    CalPointMSL(s3, &g_StandCoord[77], 3, d3, res, 3, start + 27);
    KLAV_RECORD(mouth, res, start, 30);
    return start + 30;
}

// The 39-point path: the mouth from the six 39-point lip points, each lip
// line a curve through its corners and centre point.
int InterPoint::CalMouceFacepp(int start, Vector2 *res) {
    const Vector2 *d = m_faceppPoint;
    Vector2 *r = res + start;
    Vector2 left = d[20], right = d[23];
    r[0] = left;
    CurveInto(r, 1, {left, d[25], right}, 9, 1, 7);
    r[8] = right;
    CurveInto(r, 9, {left, d[24], right}, 9, 1, 7);
    CurveInto(r, 16, {left, d[22], right}, 9, 1, 7);
    CurveInto(r, 23, {left, d[21], right}, 9, 1, 7);
    KLAV_RECORD(mouth, res, start, 30);
    return start + 30;
}

int InterPoint::CalFaceE(int start, Vector2 *res) {
    const Vector2 *d = m_facePoint83;
    Vector2 *r = res + start;  // r[0] is point 80
    Vector2 M = Mid(d[25], d[67]);
    Vector2 K = d[0];
    Vector2 T;
    T.x = 2.0f * (M.x - K.x) + K.x;
    float nine = (M.y - K.y) * 9.0f;  // single precision
    T.y = static_cast<float>(static_cast<double>(K.y) + static_cast<double>(nine) / 5.0);
    Vector2 D = (T * 0.6666667f + M * 0.3333333f) - M;
    Vector2 A = d[1] * 0.6666667f + M * 0.3333333f + D;
    Vector2 B = d[10] * 0.6666667f + M * 0.3333333f + D;
    CurveInto(r, 0, {T, A, d[1]}, 5, 0, 4);
    CurveInto(r, 5, {T, B, d[10]}, 5, 1, 4);
    CurveInto(r, 9, {d[1], d[2], d[3]}, 4, 1, 3);
    for (int i = 0; i < 6; ++i) r[12 + i] = d[4 + i];
    r[18] = d[0];
    for (int i = 0; i < 6; ++i) r[19 + i] = d[18 - i];
    CurveInto(r, 25, {d[12], d[11], d[10]}, 4, 0, 2);
    // This step records at the head field; the writers after it overwrite
    // what runs past it.
    RecordPart(offsetof(FacePoint, head), offsetof(FacePoint, headIndex), sizeof(int), res, start, 28);
    return start + 28;
}

// The 39-point path: the outline from the five contour points a side, with
// the forehead built as in the 83-point path.
int InterPoint::CalFace(int start, Vector2 *res) {
    const Vector2 *d = m_faceppPoint;
    Vector2 *r = res + start;
    Vector2 M = Mid(d[14], d[31]);
    Vector2 K = d[0];
    Vector2 T;
    T.x = 2.0f * (M.x - K.x) + K.x;
    T.y = K.y + (M.y - K.y) * 9.0f / 5.0f;
    CurveInto(r, 0, {T, Mid(T, d[1]) + (Mid(T, d[1]) - M) * 0.2f, d[1]}, 5, 0, 4);
    CurveInto(r, 5, {T, Mid(T, d[6]) + (Mid(T, d[6]) - M) * 0.2f, d[6]}, 5, 1, 4);
    CurveInto(r, 9, {d[1], d[2], d[3], d[4], d[5], K}, 11, 1, 9);
    r[18] = K;
    CurveInto(r, 19, {K, d[10], d[9], d[8], d[7], d[6]}, 11, 1, 9);
    KLAV_RECORD(face, res, start, 28);
    return start + 28;
}

int InterPoint::CalHead(int start, Vector2 *res) {
    CurveInto(res, start, {res[82], Mid(res[40], res[80]), res[86]}, 7, 1, 5);
    KLAV_RECORD(head, res, start, 5);
    return start + 5;
}

int InterPoint::CalLeftCheek(int start, Vector2 *res) {
    const int s = start;
    CurveInto(res, s + 0, {res[89], res[43]}, 6, 1, 4);
    CurveInto(res, s + 4, {res[90], res[44]}, 5, 1, 3);
    CurveInto(res, s + 7, {Mid(res[44], res[50]), res[91]}, 4, 0, 2);
    CurveInto(res, s + 10, {res[50], res[94]}, 4, 1, 2);
    CurveInto(res, s + 12, {res[123], res[93]}, 3, 1, 1);
    CurveInto(res, s + 13, {res[92], Mid(res[120], res[123])}, 3, 1, 2);
    CurveInto(res, s + 15, {res[84], Mid(res[115], res[7]), res[42]}, 7, 1, 5);
    KLAV_RECORD(leftCheek, res, start, 20);
    return start + 20;
}

int InterPoint::CalRightCheek(int start, Vector2 *res) {
    const int s = start;
    CurveInto(res, s + 0, {res[107], res[46]}, 6, 1, 4);
    CurveInto(res, s + 4, {res[106], res[47]}, 5, 1, 3);
    CurveInto(res, s + 7, {Mid(res[47], res[58]), res[105]}, 4, 0, 2);
    CurveInto(res, s + 10, {res[58], res[102]}, 4, 1, 2);
    CurveInto(res, s + 12, {res[143], res[103]}, 3, 1, 1);
    CurveInto(res, s + 13, {res[104], Mid(res[140], res[143])}, 3, 1, 2);
    CurveInto(res, s + 15, {res[45], Mid(res[135], res[18]), res[88]}, 7, 1, 5);
    KLAV_RECORD(rightCheek, res, start, 20);
    return start + 20;
}

int InterPoint::CalMouthOut(int start, Vector2 *res) {
    Vector2 m = Mid(res[49], res[54]);
    CurveInto(res, start, {res[120], m}, 4, 1, 2);
    res[start + 2] = m;
    CurveInto(res, start + 3, {m, res[140]}, 4, 1, 2);
    Vector2 A = res[76] + (res[98] - res[76]) * 0.3333f;
    Vector2 B = res[74] + (res[96] - res[74]) * 0.4f;
    Vector2 C = res[78] + (res[100] - res[78]) * 0.4f;
    CurveInto(res, start + 5, {res[123], B, A}, 7, 1, 5);
    res[start + 10] = A;
    CurveInto(res, start + 11, {A, C, res[143]}, 7, 1, 5);
    KLAV_RECORD(mouthOut, res, start, 16);
    return start + 16;
}

int InterPoint::CalEyepupil(int start, Vector2 *res) {
    res[start] = m_faceppPoint[13];
    res[start + 1] = m_faceppPoint[32];
    KLAV_RECORD(pupil, res, start, 2);
    return start + 2;
}

int InterPoint::CalMoreHeadPoint(int start, Vector2 *res) {
    CurveInto(res, start, {res[84], res[83], res[82], res[81], res[80]}, 9, 0, 8);
    CurveInto(res, start + 9, {res[80], res[85], res[86], res[87], res[88]}, 9, 1, 8);
    std::vector<Vector2> c;
    LagrangePolyfit({res[80], res[40]}, c, 7);  // c[1]..c[5] from the top down
    struct Row {
        int first, leftArc, rightArc, samples;
    } rows[5] = {{192, 181, 185, 3}, {195, 180, 186, 3}, {198, 179, 187, 4}, {203, 178, 188, 4}, {208, 177, 189, 5}};
    for (int i = 0; i < 5; ++i) {
        const Row &row = rows[i];
        Vector2 centre = c[i + 1];
        int at = CurveInto(res, row.first, {res[row.leftArc], centre}, row.samples, 1, row.samples - 2);
        res[at++] = centre;
        CurveInto(res, at, {centre, res[row.rightArc]}, row.samples, 1, row.samples - 2);
    }
    KLAV_RECORD(moreHead, res, start, 40);
    return start + 40;
}

int InterPoint::CalFaceOut(int start, Vector2 *res) {
    const Vector2 c = res[48];
    double running = 0.0;
    for (int ring = 0; ring < 3; ++ring) {
        running += 0.1;
        const float f = static_cast<float>(running);
        for (int i = 0; i < 28; ++i) {
            Vector2 p = res[80 + i];
            res[start + 28 * ring + i] = p + (p - c) * f;
        }
    }
    std::memcpy(m_faceOutPoint, &res[start], sizeof m_faceOutPoint);
    KLAV_RECORD(faceOut, res, start, 84);
    return start + 84;
}

int InterPoint::CalMoreMouthOut(int start, Vector2 *res) {
    Vector2 A = res[76] + (res[98] - res[76]) * 0.6666f;
    Vector2 B = res[74] + (res[96] - res[74]) * 0.7f;
    Vector2 C = res[78] + (res[100] - res[78]) * 0.7f;
    CurveInto(res, start, {res[124], B, A}, 7, 1, 5);
    res[start + 5] = A;
    CurveInto(res, start + 6, {A, C, res[144]}, 7, 1, 5);
    return start + 11;
}

#undef KLAV_RECORD

int InterPoint::GetPoint211(Vector2 *res) {
    int n = 0;
    n = CalLeftEyeMLS(n, res);
    n = CalRightEyeMLS(n, res);
    n = CalLeftEyeBrowMLS(n, res);
    n = CalRightEyeBrowMLS(n, res);
    n = CalNoise(n, res);
    n = m_use83 ? CalMouceE(n, res) : CalMouceFacepp(n, res);
    n = m_use83 ? CalFaceE(n, res) : CalFace(n, res);
    n = CalHead(n, res);
    n = CalLeftCheek(n, res);
    n = CalRightCheek(n, res);
    n = CalMouthOut(n, res);
    n = CalEyepupil(n, res);
    for (int i = 0; i < 4; ++i) {
        res[n + i] = V(0, 0);
        g_StandCoord[n + i] = V(0, 0);
    }
    n += 4;
    n = CalMoreHeadPoint(n, res);
    n = CalFaceOut(n, res);
    n = CalMoreMouthOut(n, res);
    return n;
}

// ---------------------------------------------------------------- masks

unsigned char *InterPoint::PolygonMask(const int *ring, int count, int width, int height, int grow, int radius,
                                       int &left, int &top, int &right, int &bottom, int &maskWidth,
                                       int &maskHeight) {
    if (width < 1 || height < 1 || !m_resPoint || m_width < 1) return nullptr;
    const float k = static_cast<float>(width) / static_cast<float>(m_width);
    std::vector<Vector2> poly(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) poly[i] = m_resPoint[ring[i]] * k;
    // Points that are not numbers have no place in an image.
    if (!AllFinite(poly.data(), count)) return nullptr;
    for (Vector2 &p : poly) {
        p.x = p.x < -1e7f ? -1e7f : (p.x > 1e7f ? 1e7f : p.x);
        p.y = p.y < -1e7f ? -1e7f : (p.y > 1e7f ? 1e7f : p.y);
    }
    int minX = 0, minY = 0, maxX = 0, maxY = 0;
    CMathUtils::GetOutSideRect(poly.data(), count, minX, minY, maxX, maxY);
    left = minX - grow < 0 ? 0 : minX - grow;
    top = minY - grow < 0 ? 0 : minY - grow;
    right = maxX + grow > width - 1 ? width - 1 : maxX + grow;
    bottom = maxY + grow > height - 1 ? height - 1 : maxY + grow;
    maskWidth = right - left + 1;
    maskHeight = bottom - top + 1;
    if (maskWidth < 1 || maskHeight < 1) return nullptr;
    for (Vector2 &p : poly) p = V(p.x - left, p.y - top);
    unsigned char *mask = MallocMask(maskWidth, maskHeight);
    CMathUtils::FillRect2(mask, maskWidth, maskHeight, poly.data(), count, 255, 0);
    SFDSP::BlurOneChannelOptimized(mask, maskWidth, maskHeight, radius, SFDSP::GetCPUCount());
    return mask;
}

unsigned char *InterPoint::GetEyeMask(int width, int height, int &left, int &top, int &right, int &bottom,
                                      int &maskWidth, int &maskHeight, int side) {
    static const int leftRing[10] = {0, 1, 2, 3, 4, 5, 9, 8, 7, 6};
    static const int rightRing[10] = {10, 11, 12, 13, 14, 15, 19, 18, 17, 16};
    return PolygonMask(side ? rightRing : leftRing, 10, width, height, 10, 5, left, top, right, bottom,
                       maskWidth, maskHeight);
}

unsigned char *InterPoint::GetLefeEyeMask(int width, int height, int &left, int &top, int &right, int &bottom,
                                          int &maskWidth, int &maskHeight) {
    return GetEyeMask(width, height, left, top, right, bottom, maskWidth, maskHeight, 0);
}

unsigned char *InterPoint::GetRightEyeMask(int width, int height, int &left, int &top, int &right, int &bottom,
                                           int &maskWidth, int &maskHeight) {
    return GetEyeMask(width, height, left, top, right, bottom, maskWidth, maskHeight, 1);
}

unsigned char *InterPoint::GetMouthMask(int width, int height, int &left, int &top, int &right, int &bottom,
                                        int &maskWidth, int &maskHeight) {
    static const int ring[16] = {50, 51, 52, 53, 54, 55, 56, 57, 58, 79, 78, 77, 76, 75, 74, 73};
    return PolygonMask(ring, 16, width, height, 12, 6, left, top, right, bottom, maskWidth, maskHeight);
}

unsigned char *InterPoint::GetMouthMask2(int width, int height, int &left, int &top, int &right, int &bottom,
                                         int &maskWidth, int &maskHeight) {
    static const int ring[16] = {50, 59, 60, 61, 62, 63, 64, 65, 58, 72, 71, 70, 69, 68, 67, 66};
    return PolygonMask(ring, 16, width, height, 6, 3, left, top, right, bottom, maskWidth, maskHeight);
}

unsigned char *InterPoint::GetEyeBrowMask(int width, int height, int &left, int &top, int &right, int &bottom,
                                          int &maskWidth, int &maskHeight, int part) {
    static const int leftRing[10] = {20, 21, 22, 23, 24, 25, 29, 28, 27, 26};
    static const int rightRing[10] = {30, 31, 32, 33, 34, 35, 39, 38, 37, 36};
    const bool leftBrow = part == MU_PART_LEFT_EYEBROW || part == MU_PART_LEFT_EYEBROW2;
    return PolygonMask(leftBrow ? leftRing : rightRing, 10, width, height, 25, 20, left, top, right, bottom,
                       maskWidth, maskHeight);
}

unsigned char *InterPoint::GetLeftEyeBrowMask(int width, int height, int &left, int &top, int &right,
                                              int &bottom, int &maskWidth, int &maskHeight) {
    return GetEyeBrowMask(width, height, left, top, right, bottom, maskWidth, maskHeight, MU_PART_LEFT_EYEBROW);
}

unsigned char *InterPoint::GetRightEyeBrowMask(int width, int height, int &left, int &top, int &right,
                                               int &bottom, int &maskWidth, int &maskHeight) {
    return GetEyeBrowMask(width, height, left, top, right, bottom, maskWidth, maskHeight, MU_PART_RIGHT_EYEBROW);
}

unsigned char *InterPoint::GetEyebowMaskAll(int width, int height) {
    if (width < 1 || height < 1 || !m_resPoint) return nullptr;
    unsigned char *all = MallocMask(width, height);
    for (int part : {MU_PART_LEFT_EYEBROW, MU_PART_RIGHT_EYEBROW}) {
        int l, t, r, b, mw, mh;
        unsigned char *m = GetEyeBrowMask(width, height, l, t, r, b, mw, mh, part);
        if (!m) continue;
        for (int y = 0; y < mh; ++y)
            for (int x = 0; x < mw; ++x) {
                unsigned char &dst = all[static_cast<size_t>(t + y) * width + (l + x)];
                unsigned char v = m[static_cast<size_t>(y) * mw + x];
                if (v > dst) dst = v;
            }
        std::free(m);
    }
    return all;
}

unsigned char *InterPoint::PupilMask(bool rightEye, int width, int height, int &left, int &top, int &rightEdge,
                                     int &bottom, int &maskWidth, int &maskHeight) {
    const int face = FaceSlot();
    if (face < 0 || width < 1 || height < 1 || !m_resPoint || m_width < 1) return nullptr;
    const float k = static_cast<float>(width) / static_cast<float>(m_width);
    const Vector2 centre = (rightEye ? m_rightPupilCentre[face] : m_leftPupilCentre[face]) * k;
    const float radius = (rightEye ? m_rightPupilRadius[face] : m_leftPupilRadius[face]) * k;
    if (!(radius > 0.0f) || !std::isfinite(radius) || !AllFinite(&centre, 1)) return nullptr;
    // The eye opening over the same box as the disc.
    std::vector<int> ring;
    const int base = rightEye ? 10 : 0;
    for (int i = 0; i <= 5; ++i) ring.push_back(base + i);
    for (int i = 9; i >= 6; --i) ring.push_back(base + i);
    std::vector<Vector2> disc;
    for (int i = 0; i < 25; ++i) {
        float a = i * 0.251327f;
        disc.push_back(V(centre.x + radius * std::cos(a), centre.y + radius * std::sin(a)));
    }
    int minX = 0, minY = 0, maxX = 0, maxY = 0;
    CMathUtils::GetOutSideRect(disc.data(), 25, minX, minY, maxX, maxY);
    left = minX - 10 < 0 ? 0 : minX - 10;
    top = minY - 10 < 0 ? 0 : minY - 10;
    rightEdge = maxX + 10 > width - 1 ? width - 1 : maxX + 10;
    bottom = maxY + 10 > height - 1 ? height - 1 : maxY + 10;
    maskWidth = rightEdge - left + 1;
    maskHeight = bottom - top + 1;
    if (maskWidth < 1 || maskHeight < 1) return nullptr;
    for (Vector2 &p : disc) p = V(p.x - left, p.y - top);
    std::vector<Vector2> opening;
    for (int n : ring) opening.push_back(V(m_resPoint[n].x * k - left, m_resPoint[n].y * k - top));
    if (!AllFinite(opening.data(), static_cast<int>(opening.size()))) return nullptr;
    unsigned char *mask = MallocMask(maskWidth, maskHeight);
    unsigned char *eye = MallocMask(maskWidth, maskHeight);
    CMathUtils::FillRect2(mask, maskWidth, maskHeight, disc.data(), 25, 255, 0);
    CMathUtils::FillRect2(eye, maskWidth, maskHeight, opening.data(), static_cast<int>(opening.size()), 255, 0);
    const size_t n = detail::CheckedSize({maskWidth, maskHeight});
    for (size_t i = 0; i < n; ++i)
        if (mask[i]) mask[i] = eye[i];
    std::free(eye);
    SFDSP::BlurOneChannelOptimized(mask, maskWidth, maskHeight, 3, SFDSP::GetCPUCount());
    return mask;
}

unsigned char *InterPoint::GetLeftEyepupilMask(int width, int height, int &left, int &top, int &right,
                                               int &bottom, int &maskWidth, int &maskHeight) {
    return PupilMask(false, width, height, left, top, right, bottom, maskWidth, maskHeight);
}

unsigned char *InterPoint::GetRightEyepupilMask(int width, int height, int &left, int &top, int &right,
                                                int &bottom, int &maskWidth, int &maskHeight) {
    return PupilMask(true, width, height, left, top, right, bottom, maskWidth, maskHeight);
}

}  // namespace klav
