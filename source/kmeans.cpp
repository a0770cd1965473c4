// K-means: start values, Lloyd iterations with the unchanged-cost stop, and
// the file paths.
#include "kmeans.h"

#include "common.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <algorithm>
#include <vector>

namespace klav {

KMeans::KMeans(int dimNum_, int clusterNum_, int maxIterNum_, float endError_)
    : dimNum(dimNum_ > 0 ? dimNum_ : 1), clusterNum(clusterNum_ > 0 ? clusterNum_ : 1), means(nullptr), initMode(0),
      maxIterNum(maxIterNum_), endError(endError_) {
    means = detail::NewArray<double *>({clusterNum});
    for (int i = 0; i < clusterNum; ++i) means[i] = detail::NewZeroArray<double>({dimNum});
}

KMeans::~KMeans() {
    for (int i = 0; i < clusterNum; ++i) delete[] means[i];
    delete[] means;
}

void KMeans::SetMean(int i, const double *u) {
    if (i < 0 || i >= clusterNum || !u) return;
    std::memcpy(means[i], u, sizeof(double) * static_cast<size_t>(dimNum));
}

double *KMeans::GetMean(int i) { return i >= 0 && i < clusterNum ? means[i] : nullptr; }

double KMeans::CalcDistance(const double *a, const double *b, int dim) {
    double s = 0;
    for (int d = 0; d < dim; ++d) s += (a[d] - b[d]) * (a[d] - b[d]);
    return std::sqrt(s);
}

double KMeans::GetLabel(const double *sample, int *label) {
    double best = -1;
    for (int i = 0; i < clusterNum; ++i) {
        const double d = CalcDistance(sample, means[i], dimNum);
        // A tie keeps the lower index.
        if (best == -1 || d < best) {
            best = d;
            *label = i;
        }
    }
    return best;
}

namespace {
// The index of start sample i of k among n: uniform, or random within the
// i-th stride.
int StartIndex(int mode, int i, int k, int n) {
    if (mode == 2) return static_cast<int>(static_cast<long long>(i) * n / k);
    const int s = n / k;
    return static_cast<int>(static_cast<double>(std::rand()) * (s - 1) / 32767) + i * s;
}
}  // namespace

void KMeans::Init(double *data, int n) {
    if (!data || n <= 0 || (initMode != 0 && initMode != 2)) return;
    if (initMode == 0) std::srand(static_cast<unsigned>(std::time(nullptr)));
    for (int i = 0; i < clusterNum; ++i) {
        const int at = StartIndex(initMode, i, clusterNum, n);
        if (at >= 0 && at < n) std::memcpy(means[i], data + static_cast<size_t>(at) * dimNum, sizeof(double) * dimNum);
    }
}

void KMeans::Init(std::ifstream &file) {
    if (initMode != 0 && initMode != 2) return;
    int32_t n = 0;
    file.clear();
    file.seekg(0);
    if (!file.read(reinterpret_cast<char *>(&n), 4) || n <= 0) return;
    if (initMode == 0) std::srand(static_cast<unsigned>(std::time(nullptr)));
    for (int i = 0; i < clusterNum; ++i) {
        const int at = StartIndex(initMode, i, clusterNum, n);
        if (at < 0 || at >= n) continue;
        file.seekg(8 + static_cast<std::streamoff>(at) * dimNum * 8);
        std::vector<double> sample(static_cast<size_t>(dimNum));
        if (file.read(reinterpret_cast<char *>(sample.data()), static_cast<std::streamsize>(8 * dimNum)))
            std::memcpy(means[i], sample.data(), sizeof(double) * dimNum);
    }
}

void KMeans::Accumulate(const double *sample, double *sums, int *counts, double &cost) {
    int label = 0;
    cost += GetLabel(sample, &label);
    counts[label]++;
    for (int d = 0; d < dimNum; ++d) sums[static_cast<size_t>(label) * dimNum + d] += sample[d];
}

void KMeans::UpdateMeans(double *sums, const int *counts) {
    for (int i = 0; i < clusterNum; ++i) {
        if (counts[i] == 0) continue;  // an empty cluster keeps its centre
        for (int d = 0; d < dimNum; ++d) means[i][d] = sums[static_cast<size_t>(i) * dimNum + d] / counts[i];
    }
}

void KMeans::Cluster(double *data, int n, int *labels) {
    if (!data || !labels || n <= 0) return;
    if (clusterNum > n) {
        for (int i = 0; i < n; ++i) labels[i] = i;
        return;
    }
    Init(data, n);
    std::vector<double> sums(detail::CheckedSize({clusterNum, dimNum}));
    std::vector<int> counts(static_cast<size_t>(clusterNum));
    int iterations = 0, unchanged = 0;
    double cost = 0;
    while (true) {
        const double last = cost;
        cost = 0;
        std::fill(sums.begin(), sums.end(), 0.0);
        std::fill(counts.begin(), counts.end(), 0);
        for (int i = 0; i < n; ++i) Accumulate(data + static_cast<size_t>(i) * dimNum, sums.data(), counts.data(), cost);
        cost /= n;
        UpdateMeans(sums.data(), counts.data());
        ++iterations;
        if (last * endError > std::fabs(last - cost)) ++unchanged;  // never reset
        if (iterations >= maxIterNum || unchanged >= 3) break;
    }
    for (int i = 0; i < n; ++i) GetLabel(data + static_cast<size_t>(i) * dimNum, &labels[i]);
}

void KMeans::Cluster(const char *sampleFile, const char *labelFile) {
    if (!sampleFile || !labelFile) return;
    std::ifstream in(sampleFile, std::ios::binary);
    if (!in) return;
    int32_t n = 0, dim = 0;
    in.read(reinterpret_cast<char *>(&n), 4);
    in.read(reinterpret_cast<char *>(&dim), 4);
    in.seekg(0, std::ios::end);
    const long long size = static_cast<long long>(in.tellg());
    // The header must describe samples of this object's dimension that the
    // file really holds.
    if (!in || n <= 0 || dim != dimNum || size < 8 + static_cast<long long>(n) * dim * 8) return;
    Init(in);
    std::vector<double> sums(detail::CheckedSize({clusterNum, dimNum}));
    std::vector<int> counts(static_cast<size_t>(clusterNum));
    std::vector<double> sample(static_cast<size_t>(dimNum));
    auto readAll = [&](auto visit) {
        in.clear();
        in.seekg(8);
        for (int i = 0; i < n; ++i) {
            if (!in.read(reinterpret_cast<char *>(sample.data()), static_cast<std::streamsize>(8 * dimNum))) return false;
            visit(sample.data());
        }
        return true;
    };
    int iterations = 0, unchanged = 0;
    double cost = 0;
    while (true) {
        const double last = cost;
        cost = 0;
        std::fill(sums.begin(), sums.end(), 0.0);
        std::fill(counts.begin(), counts.end(), 0);
        if (!readAll([&](const double *s) { Accumulate(s, sums.data(), counts.data(), cost); })) return;
        cost /= n;
        UpdateMeans(sums.data(), counts.data());
        ++iterations;
        if (last * endError > std::fabs(last - cost)) ++unchanged;
        if (iterations >= maxIterNum || unchanged >= 3) break;
    }
    std::ofstream out(labelFile, std::ios::binary);
    if (!out) return;
    out.write(reinterpret_cast<const char *>(&n), 4);
    readAll([&](const double *s) {
        int32_t label = 0;
        int l = 0;
        GetLabel(s, &l);
        label = l;
        out.write(reinterpret_cast<const char *>(&label), 4);
    });
}

}  // namespace klav
