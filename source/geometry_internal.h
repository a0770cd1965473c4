// Internal pieces shared by CMathUtils and polyfitTool.
#ifndef KLAV_SOURCE_GEOMETRY_INTERNAL_H
#define KLAV_SOURCE_GEOMETRY_INTERNAL_H

#include "klavtypes.h"

#include <functional>

namespace klav {
namespace detail {

// Count of a Hermite chain; 0 below 4 points or 1 step.
int SmoothCount(int n, int steps, bool skipJoints);
// Writes the chain when both pointers are set; returns the count.
int SmoothInto(Vector2 *out, const Vector2 *in, int n, float tension, int steps, bool skipJoints);
// Chord-frame Lagrange sampling; with keepChordFrame the input points are
// replaced by their chord-frame values.
void Lagrange(Vector2 *in, int n, Vector2 *out, int m, bool keepChordFrame);
// Row runs of a polygon inside a w x h mask: sink(y, first, last) once a
// row that has an inside pixel. False for fewer than 3 points or no mask.
using SpanSink = std::function<void(int, int, int)>;
bool PolygonSpans(int w, int h, const Vector2 *poly, int n, const SpanSink &sink);

}  // namespace detail
}  // namespace klav

#endif
