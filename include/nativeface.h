// Face records: the detector record NativeFace that a host fills and hands to
// InterPoint, and the per-face records the landmark code returns.
//
// Contract: NativeFace is a fixed 88,416-byte little-endian layout crossing
// the library boundary; coordinates in it are normalised to the image (x by
// width, y by height). Reserved bytes are never read. The other records are
// plain values copied by value; none of them owns memory.
#ifndef KLAV_NATIVEFACE_H
#define KLAV_NATIVEFACE_H

#include "klav_export.h"
#include "klavtypes.h"

#include <cstddef>

// One detected face inside a NativeFace record: 8,840 bytes.
struct NativeFaceEntry {
    unsigned char reserved0[12];
    float x, y, width, height;        // face box, normalised
    unsigned char reserved1[4];
    klav::Vector2 points39[39];       // 39-point numbering, normalised
    unsigned char reserved2[40];
    klav::Vector2 points83[83];       // 83-point numbering, normalised
    unsigned char reserved3[84];
    int extraCount1;                  // entries used in extra1
    unsigned char reserved4[4];
    klav::Vector2 extra1[349];
    int extraCount2;                  // entries used in extra2
    unsigned char reserved5[4];
    klav::Vector2 extra2[612];
    unsigned char reserved6[4];
};

// The detector record: a face count (at most 10 are read) and ten entries.
struct NativeFace {
    int faceCount;
    unsigned char reserved0[8];
    NativeFaceEntry faces[10];
    unsigned char reserved1[4];
};

static_assert(sizeof(NativeFaceEntry) == 8840, "face entry is 8,840 bytes");
static_assert(sizeof(NativeFace) == 88416, "NativeFace is 88,416 bytes");
static_assert(offsetof(NativeFace, faces) == 12, "faces start at 12");
static_assert(offsetof(NativeFaceEntry, x) == 12, "box at 12");
static_assert(offsetof(NativeFaceEntry, points39) == 32, "39 points at 32");
static_assert(offsetof(NativeFaceEntry, points83) == 384, "83 points at 384");
static_assert(offsetof(NativeFaceEntry, extraCount1) == 1132, "first extra count at 1,132");
static_assert(offsetof(NativeFaceEntry, extra1) == 1140, "first extra list at 1,140");
static_assert(offsetof(NativeFaceEntry, extraCount2) == 3932, "second extra count at 3,932");
static_assert(offsetof(NativeFaceEntry, extra2) == 3940, "second extra list at 3,940");

namespace klav {

// The expanded points of the selected face sorted by part, each beside its
// number in the 310-point set. Fields lie back to back.
struct FacePoint {
    Vector2 leftEye[10];
    int leftEyeIndex[10];
    Vector2 rightEye[10];
    int rightEyeIndex[10];
    Vector2 nose[10];
    int noseIndex[10];
    Vector2 face[28];
    int faceIndex[28];
    Vector2 leftBrow[10];
    int leftBrowIndex[10];
    Vector2 rightBrow[10];
    int rightBrowIndex[10];
    Vector2 mouth[30];
    int mouthIndex[30];
    Vector2 head[5];
    int headIndex[5];
    Vector2 leftCheek[15];
    int leftCheekIndex[15];
    Vector2 rightCheek[15];
    int rightCheekIndex[15];
    Vector2 mouthOut[16];
    int mouthOutIndex[16];
    Vector2 pupil[2];
    int pupilIndex[2];
    Vector2 moreHead[40];
    unsigned short moreHeadIndex[40];
    Vector2 faceOut[84];
    unsigned short faceOutIndex[84];
};

// Control points a host may edit, grouped by part, as indices into the
// array of InterPoint::GetAlterFace.
struct AlterFacePoint {
    int leftEye[5];
    int leftEyeCount;
    int rightEye[5];
    int rightEyeCount;
    int leftBrow[10];
    int leftBrowCount;
    int rightBrow[10];
    int rightBrowCount;
    int mouth[18];
    int mouthCount;
    int upperInnerLip[3];
    int upperInnerLipCount;
    int lowerInnerLip[3];
    int lowerInnerLipCount;
    int total;
};

// One eye: the two corners, the top, the bottom and the pupil, in that order.
struct Eye_MARK {
    Vector2 corner0;
    Vector2 corner1;
    Vector2 top;
    Vector2 bottom;
    Vector2 pupil;
};

// A list of triangle indices, triple after triple.
struct Position {
    int count;
    int index[100];
};

// Per-face record of the cosmetics code: rectangle in KV_Rect order and the
// 310 points.
struct KV_FaceInfo {
    int left, right, top, bottom;
    Vector2 points[310];
    int pointCount;
};

// Facial part selector.
enum MUFacePartType {
    MU_PART_NOSE = 3,
    MU_PART_MOUTH = 5,
    MU_PART_LEFT_EYE = 7,
    MU_PART_RIGHT_EYE = 8,
    MU_PART_LEFT_EYEBROW = 9,
    MU_PART_RIGHT_EYEBROW = 10,
    MU_PART_LEFT_EYEBROW2 = 13,
    MU_PART_RIGHT_EYEBROW2 = 14,
};

}  // namespace klav

#endif
