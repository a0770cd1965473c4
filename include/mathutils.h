// CMathUtils: planar geometry on Vector2 arrays (static only).
//
// Contract: coordinates are pixels, x to the right and y down. Masks are
// one byte a pixel, w x h, packed rows; fills test each pixel at its integer
// coordinates and never write outside the mask whatever the polygon holds
// (bounds are clamped; NaN coordinates select nothing). Polygon routines
// take n points and build their own closed copy. Outputs are caller storage
// unless stated. Stateless and reentrant. Failures: false, or a count of 0.
#ifndef KLAV_MATHUTILS_H
#define KLAV_MATHUTILS_H

#include "klav_export.h"
#include "klavtypes.h"
#include "matrix3.h"

namespace klav {

class KLAV_API CMathUtils {
public:
    // Cubic Hermite chain through n >= 4 points with `steps` + 1 samples a
    // segment (joints twice); returns (n - 1) * (steps + 1). With a null
    // pointer only the count is returned. Below 4 points: 0, nothing written.
    static int SmoothLines(Vector2 *out, Vector2 *in, int n, float tension, int steps);
    // The same without repeated joints: (n - 1) * steps + 1 points.
    static int SmoothLines2(Vector2 *out, Vector2 *in, int n, float tension, int steps);
    // m samples of the Lagrange curve through the n points, evenly spaced
    // along their chord. The input is left alone.
    static void LagrangePolyfit(Vector2 *in, int n, Vector2 *out, int m);
    // Convex hull as a closed ring from the pivot (least y, then greatest x)
    // back to it: a square gives 5 points. `out` needs room for n + 1.
    static void CalcConvexHull(Vector2 *in, int n, Vector2 *out, int &count);
    // Crossing test on a closed array: closed[n] repeats closed[0].
    static bool InsidePolygon(Vector2 *closed, int n, Vector2 point);
    // Clears the mask to `back`, then writes `fill` at every inside pixel.
    static bool FillRect2(unsigned char *mask, int w, int h, Vector2 *poly, int n, unsigned char fill,
                          unsigned char back);
    // Writes `fill` at every inside pixel, no clearing.
    static bool FillRect3(unsigned char *mask, int w, int h, Vector2 *poly, int n, unsigned char fill);
    // Fills one run a row, from the first inside pixel to the last found by
    // halving: exact for convex polygons.
    static bool FillRect5(unsigned char *mask, int w, int h, Vector2 *poly, int n, unsigned char fill);
    // Writes `fill` outside the row runs of FillRect5, keeping the runs.
    static bool FillRect6(unsigned char *mask, int w, int h, Vector2 *poly, int n, unsigned char fill);
    // Clears the mask and draws the polyline in 255. A point past the right
    // edge wraps onto the next row; nothing is written outside the mask.
    static void DrawLine(unsigned char *mask, int w, int h, int n, Vector2 *poly);
    // Truncated integer bounds; n of 0 leaves the outputs alone.
    static void GetOutSideRect(Vector2 *poly, int n, int &minX, int &minY, int &maxX, int &maxY);
    static void CalcUnitVector(Vector2 &a, Vector2 &b, Vector2 &out);
    // Cross product of a - c with b - c.
    static float mult(Vector2 a, Vector2 b, Vector2 c);
    // Bounding boxes overlap and a, b straddle line cd (or touch it); the
    // test of c, d against line ab is not made.
    static bool intersect(Vector2 a, Vector2 b, Vector2 c, Vector2 d);
    // Intersection of the lines through ab and cd; false when parallel.
    static bool StraightLineIntersection(Vector2 a, Vector2 b, Vector2 c, Vector2 d, Vector2 &out);
    // The same, accepted when the point lies within cd's x or y range.
    static bool StraghtSegmentIntersection(Vector2 a, Vector2 b, Vector2 c, Vector2 d, Vector2 &out);
    // Affine map taking src[0..2] to dst[0..2]: rows (a b c), (d e f), (0 0 1).
    static Matrix3 getAffineTransform(Vector2 *src, Vector2 *dst);
    // x' = m0 x + m1 y + m2, y' = m3 x + m4 y + m5; in and out may alias.
    static void transform(Vector2 *in, Vector2 *out, int n, Matrix3 &m);

private:
    friend class polyfitTool;
    static bool SolveMat(double *A, double *b, double *x);
};

}  // namespace klav

#endif
