// CKVBrightEye: sharpens the irises and brightens the eye openings of a
// face.
//
// Contract: `image` is RGBA, width x height, packed rows, changed in place
// (alpha is left alone). `points` are the face's 310 expanded points in
// pixels, borrowed for the call; the circles are the irises (for example
// from CEyePupilCircle through InterPoint). `strength` 0 leaves the image
// as it was; 1 applies the full effect. Masks and crops live for one call.
// Parts whose box falls outside the image are skipped. Not safe for
// concurrent use of one object.
#ifndef KLAV_BRIGHTEYE_H
#define KLAV_BRIGHTEYE_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

class KLAV_API CKVBrightEye {
public:
    CKVBrightEye() : imageWidth(0), imageHeight(0), eyePoints(nullptr) {}
    void Run(unsigned char *image, int width, int height, Vector2 *points, Vector2 leftCentre, float leftRadius,
             Vector2 rightCentre, float rightRadius, float strength);

private:
    friend struct CKVBrightEyeTestAccess;
    // Each returns a new[] block of maskWidth x maskHeight at (left, top),
    // or null for an empty box.
    unsigned char *GetEyeMask(int &left, int &top, int &right, int &bottom, int &maskWidth, int &maskHeight,
                              bool rightEye);
    unsigned char *GetLeftEyepupilMask(int &left, int &top, int &right, int &bottom, int &maskWidth,
                                       int &maskHeight, Vector2 *points, Vector2 centre, float radius);
    unsigned char *GetRightEyepupilMask(int &left, int &top, int &right, int &bottom, int &maskWidth,
                                        int &maskHeight, Vector2 *points, Vector2 centre, float radius);
    unsigned char *PupilMask(int &left, int &top, int &right, int &bottom, int &maskWidth, int &maskHeight,
                             Vector2 *points, Vector2 centre, float radius, int base);

    int imageWidth;
    int imageHeight;
    Vector2 *eyePoints;
};

}  // namespace klav

#endif
