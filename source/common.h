// Internal helpers shared by every module: overflow-checked buffer sizes,
// argument checks of the public entries, and the console records.
#ifndef KLAV_SOURCE_COMMON_H
#define KLAV_SOURCE_COMMON_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <new>
#include <pthread.h>
#include <vector>

namespace klav {
namespace detail {

// Product of the factors as a byte count. A negative factor or a product that
// does not fit in size_t throws std::bad_alloc here, so an impossible size
// fails the same way as an exhausted heap under every build and sanitizer.
inline size_t CheckedSize(std::initializer_list<long long> factors) {
    size_t total = 1;
    for (long long f : factors) {
        if (f < 0) throw std::bad_alloc();
        size_t u = static_cast<size_t>(f);
        if (u != 0 && total > SIZE_MAX / u) throw std::bad_alloc();
        total *= u;
    }
    return total;
}

// Allocates an array of n elements of T through CheckedSize; the caller
// owns the block (delete[]).
template <class T>
T *NewArray(std::initializer_list<long long> counts) {
    size_t bytes = CheckedSize(counts);
    size_t n = bytes;
    if (n > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
    return new T[n];
}

// The same with every element value-initialised (zero for numbers).
template <class T>
T *NewZeroArray(std::initializer_list<long long> counts) {
    size_t n = CheckedSize(counts);
    if (n > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
    return new T[n]();
}

// Float to int by truncation toward zero, saturating at the int range; NaN
// gives 0. Used wherever a coordinate from the host becomes an index.
inline int SaturateToInt(float v) {
    if (!(v == v)) return 0;
    if (v >= 2147483520.0f) return 2147483647;
    if (v <= -2147483648.0f) return -2147483647 - 1;
    return static_cast<int>(v);
}

// An int to a byte, clamped to 0..255.
inline unsigned char ClampByte(int v) { return static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// A real number to a byte by truncation, clamped to 0..255 first; NaN
// gives 0.
inline unsigned char TruncByte(double v) {
    if (!(v > 0)) return 0;
    return v >= 255 ? 255 : static_cast<unsigned char>(v);
}

// Argument checks used at the head of public entries.
inline bool ValidImage(const void *data, int width, int height) {
    return data != nullptr && width > 0 && height > 0;
}
inline bool ValidChannels(int channels) { return channels == 1 || channels == 4; }

// Thread budget of the fork-join filters for a given number of logical
// processors: half of it, at least 1, at most 4 (0 processors gives 1).
int CpuBudgetFor(int logicalProcessors);

// Fork-join over bands: calls fn(band) for band 0 .. count - 1, bands 0 to
// count - 2 on threads of their own and the last on the calling thread, then
// joins them all. A count below 2 runs everything on the calling thread.
// A thread that cannot be started runs its band on the calling thread, so
// the result never depends on how many threads the system granted.
template <class F>
void ForkJoin(int count, F fn) {
    if (count < 2) {
        for (int b = 0; b < count; ++b) fn(b);
        return;
    }
    struct Job {
        F *fn;
        int band;
        static void *Enter(void *arg) {
            Job *job = static_cast<Job *>(arg);
            (*job->fn)(job->band);
            return nullptr;
        }
    };
    std::vector<Job> jobs(static_cast<size_t>(count));
    std::vector<pthread_t> threads(static_cast<size_t>(count));
    std::vector<char> started(static_cast<size_t>(count), 0);
    for (int b = 0; b < count - 1; ++b) {
        jobs[b].fn = &fn;
        jobs[b].band = b;
        started[b] = pthread_create(&threads[b], nullptr, &Job::Enter, &jobs[b]) == 0;
    }
    fn(count - 1);
    for (int b = 0; b < count - 1; ++b) {
        if (started[b])
            pthread_join(threads[b], nullptr);
        else
            fn(b);
    }
}

// Console records. ErrorRecord switches the colour to attribute 12 (bright
// red), prints "%08d : " with clock(), the message and "\r\n<path>(<line>)\r\n"
// to standard error. InfoRecord uses attribute 11 (bright cyan) and ends with
// "\r\n". The colour switch is an ANSI escape written only when standard
// error is a terminal, and it is left in force after the record.
void ErrorRecord(const char *message, const char *path, int line);
void InfoRecord(const char *message);
// The attribute last set by a record (0 before any); kept for inspection.
int LastConsoleAttribute();

}  // namespace detail
}  // namespace klav

// The module path printed by error records, "source/<stem>".
#define KLAV_ERROR(module, msg) ::klav::detail::ErrorRecord((msg), (module), __LINE__)

#endif
