// Helpers shared by the test programs: random images, captured standard
// error, and the face records of tests/data.
#ifndef KLAV_TESTS_TEST_UTIL_H
#define KLAV_TESTS_TEST_UTIL_H

#include "nativeface.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace testutil {

inline std::vector<unsigned char> RandomBytes(size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<unsigned char> v(n);
    for (auto &b : v) b = static_cast<unsigned char>(rng() & 255);
    return v;
}

// What a call writes to standard error.
template <class F>
std::string CaptureStderr(F f) {
    std::fflush(stderr);
    char path[] = "/tmp/klav-stderr-XXXXXX";
    const int fd = mkstemp(path);
    const int saved = dup(2);
    dup2(fd, 2);
    f();
    std::fflush(stderr);
    dup2(saved, 2);
    close(saved);
    std::string text;
    if (FILE *in = std::fopen(path, "rb")) {
        char buf[512];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, in)) > 0) text.append(buf, n);
        std::fclose(in);
    }
    close(fd);
    unlink(path);
    return text;
}

// A face record of tests/data, or null when it cannot be read whole.
inline std::unique_ptr<NativeFace> LoadRecord(const std::string &name) {
    std::unique_ptr<NativeFace> face(new NativeFace());
    FILE *f = std::fopen((std::string(KLAV_TEST_DATA_DIR) + "/" + name).c_str(), "rb");
    if (!f) return nullptr;
    const size_t n = std::fread(face.get(), 1, sizeof(NativeFace), f);
    std::fclose(f);
    return n == sizeof(NativeFace) ? std::move(face) : nullptr;
}

}  // namespace testutil

#endif
