// CEyePupilCircle: finds the circle of the iris of each eye in a grey image.
//
// Contract: `gray` is a one-byte plane of width x height, packed rows,
// borrowed for the object's life and never written. Each Eye_MARK gives the
// two corners, top, bottom and pupil of one eye in the plane's pixels. Run
// crops each eye (pixels outside the plane are read as 0), evolves a level
// set from a start circle, and fits a circle to its zero contour. Scratch
// lives for one call. Not safe for concurrent use of one object.
#ifndef KLAV_EYEPUPILCIRCLE_H
#define KLAV_EYEPUPILCIRCLE_H

#include "klav_export.h"
#include "klavtypes.h"
#include "nativeface.h"

#include <vector>

namespace klav {

struct myRect;

class KLAV_API CEyePupilCircle {
public:
    CEyePupilCircle(unsigned char *gray, int width, int height, std::vector<Eye_MARK> marks);
    // The first mark fills the second pair (radiusB, centreB), the second
    // mark fills the first pair. An eye that cannot be cropped reports
    // radius 0 and its mark's pupil point as the centre.
    void Run(float &radiusA, Vector2 &centreA, float &radiusB, Vector2 &centreB);

private:
    friend struct CEyePupilCircleTestAccess;
    float GetRadius();
    void GetEyeRect(const Eye_MARK &mark, myRect &rect);
    int GetEyeImage(unsigned char *&out, myRect &rect, Eye_MARK &mark);
    void FitCircle(std::vector<Vector2> contour, CIRCEL start, CIRCEL &result);

    unsigned char *grayImage;
    int grayWidth;
    int grayHeight;
    std::vector<Eye_MARK> eyeMarks;
};

}  // namespace klav

#endif
