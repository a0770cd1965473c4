// Tap tables and source positions of the image scaler.
#ifndef KLAV_SOURCE_SCALE_INTERNAL_H
#define KLAV_SOURCE_SCALE_INTERNAL_H

#include <vector>

namespace klav {
namespace detail {

// 128 rows of `taps` weights, one row per source phase; each row sums to
// 16384 up to the truncation of each weight.
struct ScaleTaps {
    int taps = 0;
    std::vector<short> weights;  // 128 * taps
    const short *Row(int phase) const { return weights.data() + phase * taps; }
};

// For each destination index: the source index (may be -1 at the start of
// a cubic enlargement) and the phase 0..127.
struct ScalePositions {
    std::vector<int> index;
    std::vector<unsigned char> phase;
};

// Selects the width pass of four-byte pixels: true the SSE2 form, false the
// plain loops; both give the same bytes.
extern bool g_scaleFast;

ScalePositions DstInSrcIndexCube(int dst, int src);
ScalePositions DstInSrcIndex(int dst, int src);
// The cubic table of `mode` for a scale dst / src on one axis.
ScaleTaps CountTable(double scale, int mode);
double ExpandWay(double x);
double ShrinkWay(double x, double a);

}  // namespace detail
}  // namespace klav

#endif
