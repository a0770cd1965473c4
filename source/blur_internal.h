// The stack blur kernel shared by SFDSP, CStackBlur and CContours: lines,
// passes and the tables that take divisions and edge tests out of the loops.
#ifndef KLAV_SOURCE_BLUR_INTERNAL_H
#define KLAV_SOURCE_BLUR_INTERNAL_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace klav {
namespace detail {

// The largest radius whose sums fit the kernel's 32-bit arithmetic
// (255 * (r + 1)^2 below 2^31). Larger radii have no defined result and are
// treated as this one.
const int kMaxBlurRadius = 2896;

// Tables of one call, shared read-only by its threads.
struct BlurTables {
    int radius;
    int divisor;                      // (r + 1)^2
    std::vector<unsigned char> div;   // sum / divisor, or empty for large radii
    std::vector<int> successor;       // ring entry i -> (i + r + 1) mod (2r + 1)
    // For radii up to 63 the quotient is also exact in single precision:
    // floor(sum / d) == int((sum + 0.5) * (1 / d)), since the sum stays
    // below 2^23 and the result lies at least 0.5 / d from an integer,
    // far beyond the rounding of two float operations.
    bool floatDivide;
    float reciprocal;
    explicit BlurTables(int r);
    unsigned char Divide(int sum) const {
        return div.empty() ? static_cast<unsigned char>(sum / divisor) : div[static_cast<size_t>(sum)];
    }
};

// How the vertical pass stores: the blur itself, or src - blur + 128.
enum class BlurStore { Plain, HighPass };

// Blurs rows [row0, row1) of `src` into `dst` (same shape), one channel
// (pixelBytes 1) or bytes 0..2 of four-byte pixels (pixelBytes 4).
void BlurRows(const unsigned char *src, unsigned char *dst, int width, int row0, int row1, int pixelBytes,
              const BlurTables &t, unsigned char *ring);
// Blurs columns [col0, col1) of `src` into `dst`.
void BlurColumns(const unsigned char *src, unsigned char *dst, int width, int height, int col0, int col1,
                 int pixelBytes, const BlurTables &t, unsigned char *ring, BlurStore store);
// Selects the passes: true takes the fast forms (four-byte rows in vector
// lanes, the vertical pass swept row by row, float quotients), false the
// plain ring forms. Both give the same bytes; a test holds them equal.
extern bool g_blurFast;
// Whole image on the calling thread: rows into a scratch image, columns back.
void BlurImage(unsigned char *image, int width, int height, int radius, int pixelBytes, BlurStore store);
// Radius to use for a request: negative gives -1 (nothing to do), large
// radii are capped at kMaxBlurRadius.
int BlurRadius(int radius);

}  // namespace detail
}  // namespace klav

#endif
