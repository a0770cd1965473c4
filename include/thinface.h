// CThinFace: face slimming and eye enlarging by mesh warps.
//
// Contract: `image` is RGBA, width x height, packed rows (4 bytes a pixel),
// changed in place: the image is redrawn triangle by triangle from a copy of
// itself, made and freed within the call, and only the colour channels of
// pixels inside moved triangles change (alpha stays). `landmarks` are the
// face's 310 expanded points in pixels (InterPoint), borrowed for the call;
// the buffer must hold 310 points. Strength 0 leaves the eyes byte for byte;
// the face mesh keeps its small fixed control offsets, so strength 0 there may
// move pixels by a fraction of a pixel. A negative strength warps the other
// way. A null pointer, a non-positive size or a NaN or infinite strength
// does nothing. Mesh points outside the image are not moved; NaN or far-off
// landmarks give triangles the renderer skips or clips. The object keeps its meshes between calls and
// is not safe for concurrent use; separate objects are independent.
#ifndef KLAV_THINFACE_H
#define KLAV_THINFACE_H

#include "klav_export.h"
#include "klavtypes.h"
#include "texturemapping.h"

#include <vector>

namespace klav {

class KLAV_API CThinFace {
public:
    CThinFace();
    virtual ~CThinFace();

    void RunThinFace(Vector2 *landmarks, unsigned char *image, int width, int height, float strength);
    void RunBigEyes(Vector2 *landmarks, unsigned char *image, int width, int height, float strength);

protected:
    friend struct CThinFaceTestAccess;
    int CalFaceTF(int first);
    int CalFaceOutTF(int next);
    int CalFaceInSideTF(int next);
    int CalResPoint();
    void MoveFacePoint(float strength);
    void MoveEyesPoint(float strength);
    // Moved controls for one ring factor; target rows are (y, x).
    void SetPower(Vector2 *mesh, float **target, float power, float factor);
    void UpdataPointCPP(unsigned char *image, float strength);

    // The arrays are owned by value, so copies of an object are independent.
    std::vector<Vector2> m_selected;  // 39 landmarks of the contour
    std::vector<Vector2> m_faceSrc;   // 350: the face mesh before the move
    std::vector<Vector2> m_faceDst;   // 350: after it
    std::vector<Vector2> m_eyeSrc;    // 80: the eye mesh before the move
    std::vector<Vector2> m_eyeDst;    // 80: after it
    Vector2 *m_landmarks;
    int m_pointCount;
    int m_width;
    int m_height;
    TextureMapping m_mapper;
};

}  // namespace klav

#endif
