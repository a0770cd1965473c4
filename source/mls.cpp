// Moving-least-squares point deformation, affine and rigid, in single
// precision. Work matrices are arrays of row pointers with one allocation a
// row, controls as rows, so that every inner loop runs over a contiguous row
// of evaluation points.
#include "mls.h"

#include "common.h"

#include <cmath>

namespace klav {

namespace {

// A rows x cols matrix of floats, zero-filled, one allocation per row.
float **NewRows(int rows, int cols) {
    float **m = detail::NewArray<float *>({rows});
    for (int r = 0; r < rows; ++r) m[r] = detail::NewZeroArray<float>({cols});
    return m;
}

void FreeRows(float **m, int rows) {
    if (!m) return;
    for (int r = 0; r < rows; ++r) delete[] m[r];
    delete[] m;
}

bool ValidArgs(float **v, float **out, float **p, float **q, int nControl, int nPoints) {
    if (nControl <= 0 || nPoints <= 0) return false;
    return v && out && p && q && v[0] && v[1] && out[0] && out[1] && p[0] && p[1] && q[0] && q[1];
}

}  // namespace

void MLS::PrecomputeWeights(float **p, float **v, float **w, int nControl, int nPoints) {
    const float tiny = 1e-8f;
    for (int k = 0; k < nControl; ++k) {
        float *wk = w[k];
        for (int j = 0; j < nPoints; ++j) {
            float dx = p[0][k] - v[0][j];
            float dy = p[1][k] - v[1][j];
            float s = dx * dx + dy * dy;
            wk[j] = 1.0f / (s * s + tiny);
        }
    }
}

void MLS::muliplymatrix(float **left, float **right, float **result, int cols, int rows, int inner) {
    for (int r = 0; r < rows; ++r) {
        float *res = result[r];
        for (int j = 0; j < cols; ++j) res[j] = 0.0f;
        for (int k = 0; k < inner; ++k) {
            float l = left[r][k];
            const float *rk = right[k];
            for (int j = 0; j < cols; ++j) res[j] += l * rk[j];
        }
    }
}

void MLS::PrecomputeWCentroids(float **points, float **w, float **centroid, int nPoints, int nControl) {
    muliplymatrix(points, w, centroid, nPoints, 2, nControl);
    float *sum = detail::NewZeroArray<float>({nPoints});
    for (int k = 0; k < nControl; ++k)
        for (int j = 0; j < nPoints; ++j) sum[j] += w[k][j];
    for (int j = 0; j < nPoints; ++j) {
        centroid[0][j] /= sum[j];
        centroid[1][j] /= sum[j];
    }
    delete[] sum;
}

void MLS::PrecomputeAffine(float **p, float **v, float **w, float **A, int nPoints, int nControl) {
    float **pstar = NewRows(2, nPoints);
    PrecomputeWCentroids(p, w, pstar, nPoints, nControl);
    float *a = detail::NewZeroArray<float>({nPoints});
    float *b = detail::NewZeroArray<float>({nPoints});
    float *c = detail::NewZeroArray<float>({nPoints});
    for (int k = 0; k < nControl; ++k) {
        for (int j = 0; j < nPoints; ++j) {
            float dx = p[0][k] - pstar[0][j];
            float dy = p[1][k] - pstar[1][j];
            float wk = w[k][j];
            a[j] += dx * wk * dx;
            b[j] += dx * wk * dy;
            c[j] += dy * wk * dy;
        }
    }
    for (int j = 0; j < nPoints; ++j) {
        float vx = v[0][j] - pstar[0][j];
        float vy = v[1][j] - pstar[1][j];
        float det = a[j] * c[j] - b[j] * b[j];
        float m00 = c[j] / det;
        float m01 = (-b[j]) / det;
        float m11 = a[j] / det;
        float tx = vx * m00 + vy * m01;
        float ty = vx * m01 + vy * m11;
        for (int k = 0; k < nControl; ++k) {
            float dx = p[0][k] - pstar[0][j];
            float dy = p[1][k] - pstar[1][j];
            A[k][j] = (dx * tx + dy * ty) * w[k][j];
        }
    }
    delete[] a;
    delete[] b;
    delete[] c;
    FreeRows(pstar, 2);
}

void MLS::PointsTransformAffine(float **A, float **w, float **q, float **out, int nControl, int nPoints) {
    float **qstar = NewRows(2, nPoints);
    PrecomputeWCentroids(q, w, qstar, nPoints, nControl);
    for (int j = 0; j < nPoints; ++j) {
        out[0][j] = qstar[0][j];
        out[1][j] = qstar[1][j];
    }
    for (int k = 0; k < nControl; ++k) {
        for (int j = 0; j < nPoints; ++j) {
            out[0][j] += (q[0][k] - qstar[0][j]) * A[k][j];
            out[1][j] += (q[1][k] - qstar[1][j]) * A[k][j];
        }
    }
    FreeRows(qstar, 2);
}

void MLS::MLSD2DpointsDefAffine(float **v, float **out, float **p, float **q, int nControl, int nPoints) {
    if (!ValidArgs(v, out, p, q, nControl, nPoints)) return;
    float **w = NewRows(nControl, nPoints);
    float **A = NewRows(nControl, nPoints);
    PrecomputeWeights(p, v, w, nControl, nPoints);
    PrecomputeAffine(p, v, w, A, nPoints, nControl);
    PointsTransformAffine(A, w, q, out, nControl, nPoints);
    FreeRows(A, nControl);
    FreeRows(w, nControl);
}

void MLS::PrecomputeA(float **pstar, std::vector<float **> phat, float **v, float **w,
                      std::vector<float **> &A, float *normof_v_Pstar, int nPoints, int nControl) {
    for (int k = 0; k < nControl; ++k) {
        float **ak = A[k];
        float **ph = phat[k];
        for (int j = 0; j < nPoints; ++j) {
            float vx = v[0][j] - pstar[0][j];
            float vy = v[1][j] - pstar[1][j];
            float nx = vy, ny = -vx;
            float wk = w[k][j];
            float px = ph[0][j], py = ph[1][j];
            ak[0][j] = (vx * px + vy * py) * wk;
            ak[1][j] = (nx * px + ny * py) * wk;
            ak[2][j] = (vx * py - vy * px) * wk;
            ak[3][j] = (nx * py - ny * px) * wk;
            normof_v_Pstar[j] = std::sqrt(vx * vx + vy * vy);
        }
    }
}

void MLS::PrecomputeRigid(float **p, float **v, float **w, float *normof_v_Pstar,
                          std::vector<float **> &A, int nPoints, int nControl) {
    float **pstar = NewRows(2, nPoints);
    PrecomputeWCentroids(p, w, pstar, nPoints, nControl);
    std::vector<float **> phat(static_cast<size_t>(nControl));
    for (int k = 0; k < nControl; ++k) {
        phat[k] = NewRows(2, nPoints);
        for (int j = 0; j < nPoints; ++j) {
            phat[k][0][j] = p[0][k] - pstar[0][j];
            phat[k][1][j] = p[1][k] - pstar[1][j];
        }
    }
    PrecomputeA(pstar, phat, v, w, A, normof_v_Pstar, nPoints, nControl);
    for (int k = 0; k < nControl; ++k) FreeRows(phat[k], 2);
    FreeRows(pstar, 2);
}

void MLS::PointsTransformRigid(std::vector<float **> A, float *normof_v_Pstar, float **w, float **q,
                               float **out, int nControl, int nPoints) {
    float **qstar = NewRows(2, nPoints);
    PrecomputeWCentroids(q, w, qstar, nPoints, nControl);
    float **f = NewRows(2, nPoints);
    for (int k = 0; k < nControl; ++k) {
        float **ak = A[k];
        for (int j = 0; j < nPoints; ++j) {
            float qx = q[0][k] - qstar[0][j];
            float qy = q[1][k] - qstar[1][j];
            f[0][j] += qx * ak[0][j] + qy * ak[2][j];
            f[1][j] += qx * ak[1][j] + qy * ak[3][j];
        }
    }
    for (int j = 0; j < nPoints; ++j) {
        float s = normof_v_Pstar[j] / std::sqrt(f[0][j] * f[0][j] + f[1][j] * f[1][j]);
        out[0][j] = f[0][j] * s + qstar[0][j];
        out[1][j] = f[1][j] * s + qstar[1][j];
    }
    FreeRows(f, 2);
    FreeRows(qstar, 2);
}

void MLS::MLSD2DpointsDefRigid(float **v, float **out, float **p, float **q, int nControl, int nPoints) {
    if (!ValidArgs(v, out, p, q, nControl, nPoints)) return;
    float **w = NewRows(nControl, nPoints);
    float *norms = detail::NewZeroArray<float>({nPoints});
    std::vector<float **> A(static_cast<size_t>(nControl));
    for (int k = 0; k < nControl; ++k) A[k] = NewRows(4, nPoints);
    PrecomputeWeights(p, v, w, nControl, nPoints);
    PrecomputeRigid(p, v, w, norms, A, nPoints, nControl);
    PointsTransformRigid(A, norms, w, q, out, nControl, nPoints);
    for (int k = 0; k < nControl; ++k) FreeRows(A[k], 4);
    delete[] norms;
    FreeRows(w, nControl);
}

}  // namespace klav
