// KMeans: Lloyd's k-means over fixed-dimension double samples, from an
// array or from a sample file.
//
// Contract: samples are `dimNum` doubles each, packed. A sample file holds
// the int32 sample count at offset 0, the int32 dimension at 4, and the
// samples from offset 8; a label file holds the int32 count and one int32
// label a sample. The object owns its means (clusterNum rows of dimNum).
// The random start seeds the C generator with the time, so its results
// vary from run to run; the uniform start (mode 2) repeats. A sample file
// whose header is impossible, whose dimension is not the object's, or that
// is shorter than its header says is not read, and no label file is
// written. Not safe for concurrent use of one object.
#ifndef KLAV_KMEANS_H
#define KLAV_KMEANS_H

#include "klav_export.h"

#include <fstream>

namespace klav {

class KLAV_API KMeans {
public:
    KMeans(int dimNum = 1, int clusterNum = 1, int maxIterNum = 100, float endError = 0.001f);
    ~KMeans();
    KMeans(const KMeans &) = delete;
    KMeans &operator=(const KMeans &) = delete;

    void SetMean(int i, const double *u);
    double *GetMean(int i);
    void SetInitMode(int mode) { initMode = mode; }
    int GetInitMode() const { return initMode; }
    void SetMaxIterNum(int n) { maxIterNum = n; }
    int GetMaxIterNum() const { return maxIterNum; }
    void SetEndError(double e) { endError = e; }
    double GetEndError() const { return endError; }

    // Start values: mode 0 random within strides, 2 uniform, other values
    // keep the means set by SetMean.
    void Init(double *data, int n);
    void Init(std::ifstream &sampleFile);
    void Cluster(double *data, int n, int *labels);
    void Cluster(const char *sampleFile, const char *labelFile);

private:
    friend struct KMeansTestAccess;
    double GetLabel(const double *sample, int *label);
    double CalcDistance(const double *a, const double *b, int dim);
    void Accumulate(const double *sample, double *sums, int *counts, double &cost);
    void UpdateMeans(double *sums, const int *counts);

    int dimNum;
    int clusterNum;
    double **means;
    int initMode;
    int maxIterNum;
    double endError;
};

}  // namespace klav

#endif
