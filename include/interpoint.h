// InterPoint: the central object of face work. It imports a detector record,
// selects one face at a time and expands its landmarks to 310 points.
//
// Contract: the record holds normalised coordinates; Run copies it and
// scales the copy to pixels of the width x height RGBA image (4 bytes a
// pixel, packed rows), which is read only during Run and never written.
// Run writes the levelled eyebrow points back into the host's record.
// Returned Vector2 pointers point into the object and change with the next
// Run, SelectFace or IntroductionPoint; the host does not free them. Mask
// getters return malloc'ed blocks of maskWidth x maskHeight bytes that the
// host gives back through klavFree. Expansion rewrites the process-wide
// standard tables (g_StandCoord), so two InterPoint objects must not run at
// once. Failures return false, 0 or null and write console records.
#ifndef KLAV_INTERPOINT_H
#define KLAV_INTERPOINT_H

#include "klav_export.h"
#include "klavtypes.h"
#include "nativeface.h"

#include <vector>

namespace klav {

class KLAV_API InterPoint {
public:
    InterPoint();

    // Imports the record, levels the eyebrows in the host's record, finds
    // the pupil circles and selects face 0. False when the record is null
    // or holds no face.
    bool Run(NativeFace *face, unsigned char *image, int width, int height);
    // Selects face n (0 <= n < face count) and expands its points.
    bool SelectFace(int n);
    // Re-imports the selected face's points from an edited record and expands.
    void IntroductionPoint(NativeFace *face);
    // Rebuilds the list of editable control points.
    void SetAlterFace();

    int GetCount() const { return m_pointCount; }
    int getFaceCount() const { return m_FaceCount; }
    int GetSelectNo() const { return m_selectNo; }
    bool GetIsPoint() const { return m_isPoint; }
    int GetWidth() const { return m_width; }
    int GetHeight() const { return m_height; }
    Vector2 *GetResPoint() { return m_resPoint; }
    // The result points clamped to the image.
    Vector2 *GetAstrictResPoint();
    Vector2 *GetFaceppPoint() { return m_faceppPoint; }
    Vector2 *GetFacePoint83() { return m_facePoint83; }
    Vector2 *GetFaceOutPoint() { return m_faceOutPoint; }
    Vector2 *GetAlterFace() { return m_alterFace; }
    int GetAlterCount() const { return m_alterFacePoint.total; }
    AlterFacePoint GetAlterFacePoint() const { return m_alterFacePoint; }
    FacePoint GetFacePointInfo() const { return m_facePoint; }
    // Box of the selected face (truncated) and its two pupils; -1 in the box
    // fields when there is no face.
    FaceRect GetFirstFaceRect();
    FaceRect GetCurrentFaceRect() { return GetFirstFaceRect(); }
    // Pupil circles found by Run for face n (radius 0 where none was found).
    float GetLeftPupilRadius(int n) const;
    float GetRightPupilRadius(int n) const;
    Vector2 GetLeftPupilCentre(int n) const;
    Vector2 GetRightPupilCentre(int n) const;
    // Whether the lips are apart on teeth: lip gap over nose-to-lip span > 0.3.
    bool IsThooth();
    // Three indices of triangle `which` (0 or 1) of a facial part; 3, or 0
    // for a part outside 0..10.
    int GetTranPoint(int *out, int part, int which);

    // ---- masks of facial parts. Each takes the size of the wanted mask
    // (points are scaled by width / image width), returns a block of
    // maskWidth x maskHeight bytes placed at (left, top) in that size, or
    // null when the size is below 1 or the box is empty. 255 inside, feathered
    // by a one-channel stack blur.
    // Eye opening: ring 0..5, 9..6 (side 0) or 10..15, 19..16; box grown by
    // 10; blur radius 5.
    unsigned char *GetEyeMask(int width, int height, int &left, int &top, int &right, int &bottom,
                              int &maskWidth, int &maskHeight, int side);
    unsigned char *GetLefeEyeMask(int width, int height, int &left, int &top, int &right, int &bottom,
                                  int &maskWidth, int &maskHeight);
    unsigned char *GetRightEyeMask(int width, int height, int &left, int &top, int &right, int &bottom,
                                   int &maskWidth, int &maskHeight);
    // Lips: outer lip line 50..58 then 79..73; box grown by 12; blur radius 6.
    unsigned char *GetMouthMask(int width, int height, int &left, int &top, int &right, int &bottom,
                                int &maskWidth, int &maskHeight);
    // Mouth opening between the inner lip lines: 50, 59..65, 58, 72..66;
    // box grown by 6; blur radius 3.
    unsigned char *GetMouthMask2(int width, int height, int &left, int &top, int &right, int &bottom,
                                 int &maskWidth, int &maskHeight);
    // Eyebrow: upper edge 20..25 then lower edge 29..26 (left) or 30..35,
    // 39..36 (right); box grown by 25; blur radius 20. `part` 9 or 13
    // selects the left brow, anything else the right one.
    unsigned char *GetEyeBrowMask(int width, int height, int &left, int &top, int &right, int &bottom,
                                  int &maskWidth, int &maskHeight, int part);
    unsigned char *GetLeftEyeBrowMask(int width, int height, int &left, int &top, int &right,
                                      int &bottom, int &maskWidth, int &maskHeight);
    unsigned char *GetRightEyeBrowMask(int width, int height, int &left, int &top, int &right,
                                       int &bottom, int &maskWidth, int &maskHeight);
    // Both eyebrows in one mask of the whole width x height; blur radius 20.
    unsigned char *GetEyebowMaskAll(int width, int height);
    // Iris: the pupil circle of the selected face limited to the eye
    // opening; box of the circle grown by 10; blur radius 3.
    unsigned char *GetLeftEyepupilMask(int width, int height, int &left, int &top, int &right,
                                       int &bottom, int &maskWidth, int &maskHeight);
    unsigned char *GetRightEyepupilMask(int width, int height, int &left, int &top, int &right,
                                        int &bottom, int &maskWidth, int &maskHeight);

protected:
    void AdjustEyeBrowPoint39(NativeFace *face);
    bool GetEyepupilInfo(unsigned char *gray, int width, int height);
    void DealAfterFace();
    void SetFacePoint();

    // Expansion; each writes from `start` upward and returns the next index.
    int GetPoint211(Vector2 *res);
    int CalLeftEyeMLS(int start, Vector2 *res);
    int CalRightEyeMLS(int start, Vector2 *res);
    int CalLeftEyeBrowMLS(int start, Vector2 *res);
    int CalRightEyeBrowMLS(int start, Vector2 *res);
    int CalNoise(int start, Vector2 *res);
    int CalMouceE(int start, Vector2 *res);
    int CalMouceFacepp(int start, Vector2 *res);
    int CalFaceE(int start, Vector2 *res);
    int CalFace(int start, Vector2 *res);
    int CalHead(int start, Vector2 *res);
    int CalLeftCheek(int start, Vector2 *res);
    int CalRightCheek(int start, Vector2 *res);
    int CalMouthOut(int start, Vector2 *res);
    int CalEyepupil(int start, Vector2 *res);
    int CalMoreHeadPoint(int start, Vector2 *res);
    int CalFaceOut(int start, Vector2 *res);
    int CalMoreMouthOut(int start, Vector2 *res);
    int CalPointMSL(Vector2 *stdControl, Vector2 *stdTargets, int targetCount, Vector2 *detControl,
                    Vector2 *res, int controlCount, int start);
    void LagrangePolyfit(std::vector<Vector2> control, std::vector<Vector2> &out, int samples);

private:
    friend struct InterPointTestAccess;
    unsigned char *PolygonMask(const int *ring, int count, int width, int height, int grow, int radius,
                               int &left, int &top, int &right, int &bottom, int &maskWidth,
                               int &maskHeight);
    unsigned char *PupilMask(bool right, int width, int height, int &left, int &top, int &rightEdge,
                             int &bottom, int &maskWidth, int &maskHeight);
    void RecordPart(size_t pointsOffset, size_t indexOffset, size_t indexSize, const Vector2 *res,
                    int start, int count);
    int CurveInto(Vector2 *res, int at, std::vector<Vector2> control, int samples, int first, int last);
    int FaceSlot() const;

    int m_height;
    int m_width;
    NativeFace m_native;
    int m_FaceCount;
    int m_pointCount;
    Vector2 m_faceOutPoint[28];
    Vector2 m_faceppPoint[39];
    Vector2 *m_resPoint;
    Vector2 m_res39[310];
    Vector2 m_res83[310];
    FacePoint m_facePoint;
    Vector2 m_astrictRes[310];
    Vector2 m_alterFace[310];
    AlterFacePoint m_alterFacePoint;
    Vector2 m_facePoint83[83];
    bool m_use83;
    bool m_isPoint;
    float m_leftPupilRadius[10];
    Vector2 m_leftPupilCentre[10];
    float m_rightPupilRadius[10];
    Vector2 m_rightPupilCentre[10];
    int m_selectNo;
    int m_firstFace;
};

}  // namespace klav

#endif
