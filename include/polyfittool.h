// polyfitTool: the planar helpers in their allocating and by-reference
// forms (static only).
//
// Contract: as CMathUtils. SmoothLines and SmoothLines2 allocate the output
// (zeroed, new[]) and hand it over in *out; the caller releases it with
// delete[]. FillRect2 returns a malloc'ed mask that the caller gives back
// through klavFree. All fills work by row runs and never write outside the
// w x h mask.
#ifndef KLAV_POLYFITTOOL_H
#define KLAV_POLYFITTOOL_H

#include "klav_export.h"
#include "klavtypes.h"

#include <vector>

namespace klav {

class KLAV_API polyfitTool {
public:
    static int SmoothLines(Vector2 **out, Vector2 *in, int n, float tension, int steps);
    static int SmoothLines2(Vector2 **out, Vector2 *in, int n, float tension, int steps);
    // As CMathUtils::LagrangePolyfit, but the input points are overwritten
    // by their chord-frame values.
    static void LagrangePolyfit(Vector2 *&in, int n, Vector2 *&out, int m);
    static void CalcUnitVector(Vector2 &a, Vector2 &b, Vector2 &out);
    // A zeroed w x h mask with the polygon filled by row runs; null on bad input.
    static unsigned char *FillRect2(int w, int h, int n, Vector2 *poly, unsigned char fill);
    static bool FillRect3(unsigned char *mask, int w, int h, int n, Vector2 *poly, unsigned char fill);
    // Columns clamp(a) .. min(w - 1, max(a, b)) of every row: false when that
    // span is empty, true without writing when h < 1.
    static bool FillRect4(unsigned char *mask, int w, int h, int a, int b, unsigned char fill);
    static bool FillRect5(unsigned char *mask, int w, int h, std::vector<Vector2> &poly, unsigned char fill);
    static bool FillRect6(unsigned char *mask, int w, int h, std::vector<Vector2> &poly, unsigned char fill);
    // Mean mask value over the row runs of the polygon, 0 with no pixel.
    static unsigned char RectGrayValue(unsigned char *gray, int w, int h, int n, Vector2 *poly);
};

}  // namespace klav

#endif
