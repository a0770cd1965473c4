// K-means: start rules, clustering of a known sample, the file paths and
// untrusted sample files.
#include "kmeans.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

using namespace klav;

namespace klav {
struct KMeansTestAccess {
    static double Label(KMeans &k, const double *s, int *l) { return k.GetLabel(s, l); }
};
}  // namespace klav

namespace {

// Two blobs in 3 dimensions around (10, 10, 10) and (60, 40, 20), the
// first `half` samples from the first.
std::vector<double> TwoBlobs(int n, int half) {
    std::mt19937 rng(4);
    std::normal_distribution<double> d(0, 2);
    std::vector<double> v(static_cast<size_t>(n) * 3);
    for (int i = 0; i < n; ++i) {
        const double c[3] = {i < half ? 10.0 : 60.0, i < half ? 10.0 : 40.0, i < half ? 10.0 : 20.0};
        for (int k = 0; k < 3; ++k) v[i * 3 + k] = c[k] + d(rng);
    }
    return v;
}

std::string Temp(const char *name) { return "/tmp/klav-kmeans-" + std::to_string(getpid()) + "-" + name; }

void WriteSamples(const std::string &path, int32_t count, int32_t dim, const std::vector<double> &values) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char *>(&count), 4);
    out.write(reinterpret_cast<const char *>(&dim), 4);
    if (!values.empty()) out.write(reinterpret_cast<const char *>(values.data()), static_cast<std::streamsize>(values.size() * 8));
}

}  // namespace

TEST(KMeans, StartRulesAndTies) {
    KMeans k(2, 3, 10, 0.001f);
    k.SetInitMode(2);
    double data[6] = {1, 2, 3, 4, 5, 6};
    k.Init(data, 3);  // n equal to the cluster count: each sample once
    EXPECT_EQ(k.GetMean(0)[0], 1);
    EXPECT_EQ(k.GetMean(1)[0], 3);
    EXPECT_EQ(k.GetMean(2)[1], 6);
    double same[2] = {0, 0};
    k.SetMean(0, same);
    k.SetMean(1, same);
    int label = -1;
    KMeansTestAccess::Label(k, same, &label);
    EXPECT_EQ(label, 0);  // a tie keeps the lower index
    int labels[2] = {-1, -1};
    KMeans many(2, 5, 10, 0.001f);
    many.Cluster(data, 2, labels);
    EXPECT_EQ(labels[0], 0);
    EXPECT_EQ(labels[1], 1);
    EXPECT_EQ(k.GetMean(7), nullptr);
}

TEST(KMeans, RecoversTwoBlobsFromArraysAndFiles) {
    const int n = 400;
    std::vector<double> data = TwoBlobs(n, 150);
    for (int mode : {0, 2}) {
        KMeans k(3, 2, 100, 0.001f);
        k.SetInitMode(mode);
        std::vector<int> labels(n);
        k.Cluster(data.data(), n, labels.data());
        for (int i = 1; i < n; ++i) ASSERT_EQ(labels[i] == labels[0], i < 150) << "mode " << mode << " sample " << i;
        const double *a = k.GetMean(labels[0]), *b = k.GetMean(labels[n - 1]);
        EXPECT_NEAR(a[0], 10, 1);
        EXPECT_NEAR(b[1], 40, 1);
    }
    const std::string samples = Temp("samples.bin"), labelsFile = Temp("labels.bin");
    WriteSamples(samples, n, 3, data);
    KMeans k(3, 2, 100, 0.001f), ref(3, 2, 100, 0.001f);
    k.SetInitMode(2);
    ref.SetInitMode(2);
    k.Cluster(samples.c_str(), labelsFile.c_str());
    std::vector<int> expected(n);
    ref.Cluster(data.data(), n, expected.data());
    std::ifstream in(labelsFile, std::ios::binary);
    int32_t count = 0;
    in.read(reinterpret_cast<char *>(&count), 4);
    ASSERT_EQ(count, n);
    for (int i = 0; i < n; ++i) {
        int32_t l = -1;
        in.read(reinterpret_cast<char *>(&l), 4);
        ASSERT_EQ(l, expected[i]) << i;
    }
    std::remove(samples.c_str());
    std::remove(labelsFile.c_str());
}

TEST(KMeans, UntrustedSampleFilesWriteNothing) {
    const std::string samples = Temp("bad.bin"), labelsFile = Temp("bad-labels.bin");
    std::vector<double> few = {1, 2, 3, 4, 5, 6};
    struct Case {
        int32_t count, dim;
        size_t values;
    } cases[] = {{100, 3, 6}, {-5, 3, 6}, {2147483647, 3, 6}, {2, -3, 6}, {2, 7, 6}, {0, 3, 0}};
    for (const Case &c : cases) {
        WriteSamples(samples, c.count, c.dim, std::vector<double>(few.begin(), few.begin() + static_cast<long>(c.values)));
        std::remove(labelsFile.c_str());
        KMeans k(3, 2, 10, 0.001f);
        k.SetInitMode(2);
        k.Cluster(samples.c_str(), labelsFile.c_str());
        EXPECT_FALSE(std::ifstream(labelsFile).good()) << c.count << " " << c.dim;
    }
    std::ofstream(samples, std::ios::binary).write("\x02\x00", 2);  // header cut short
    KMeans k(3, 2, 10, 0.001f);
    k.Cluster(samples.c_str(), labelsFile.c_str());
    EXPECT_FALSE(std::ifstream(labelsFile).good());
    k.Cluster("/nonexistent/klav/samples.bin", labelsFile.c_str());
    std::remove(samples.c_str());
}
