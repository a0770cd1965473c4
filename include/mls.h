// MLS: moving-least-squares deformation of planar point sets.
//
// Contract: point sets are `float **` of two rows (row 0 x, row 1 y), not
// arrays of Vector2. `p` (control points at rest) and `q` (the same points
// moved) hold nControl points, `v` and `out` hold nPoints; `out` is caller
// storage, written and never read before it is written; v, p and q are not
// changed. Each call allocates its work arrays and frees them before it
// returns; the object holds no state, so one object may serve any thread for
// one call at a time. Weights are 1 / (|p - v|^4 + 1e-8), all arithmetic in
// single precision. Counts of zero or less leave `out` untouched. A control
// set that does not span the plane (affine form) or a zero accumulator
// (rigid form) gives infinities or NaN in `out`: the caller must pass a
// spanning control set. Null pointers with positive counts are refused.
#ifndef KLAV_MLS_H
#define KLAV_MLS_H

#include "klav_export.h"

#include <vector>

namespace klav {

class KLAV_API MLS {
public:
    MLS() {}
    ~MLS() {}

    // Affine form: every point gets its own best affine map of p to q.
    void MLSD2DpointsDefAffine(float **v, float **out, float **p, float **q, int nControl, int nPoints);
    // Rigid form: the same with rotation only; keeps |v - pstar|.
    void MLSD2DpointsDefRigid(float **v, float **out, float **p, float **q, int nControl, int nPoints);

protected:
    void PrecomputeWeights(float **p, float **v, float **w, int nControl, int nPoints);
    void PrecomputeWCentroids(float **points, float **w, float **centroid, int nPoints, int nControl);
    void PrecomputeAffine(float **p, float **v, float **w, float **A, int nPoints, int nControl);
    void PrecomputeRigid(float **p, float **v, float **w, float *normof_v_Pstar,
                         std::vector<float **> &A, int nPoints, int nControl);
    void PrecomputeA(float **pstar, std::vector<float **> phat, float **v, float **w,
                     std::vector<float **> &A, float *normof_v_Pstar, int nPoints, int nControl);
    void PointsTransformAffine(float **A, float **w, float **q, float **out, int nControl, int nPoints);
    void PointsTransformRigid(std::vector<float **> A, float *normof_v_Pstar, float **w, float **q,
                              float **out, int nControl, int nPoints);
    // result[r][j] = sum over k ascending of left[r][k] * right[k][j];
    // result has `rows` rows of `cols` columns, `inner` is the summed length.
    void muliplymatrix(float **left, float **right, float **result, int cols, int rows, int inner);
};

}  // namespace klav

#endif
