// SFCurve: tone curves from control points, applied per channel through
// 256-entry tables.
//
// Contract: the image is rows x columns RGBA pixels, packed, changed in
// place (bytes 0..2; byte 3 stays). The object owns five tables (master,
// then composite, red, green, blue), allocated by the constructor and freed
// by the destructor; a new or Reset object holds the identity in all five.
// A copy takes over the table pointers, so only one of the two may be
// destroyed. ApplyCurve composes the master curve with the channel curves
// once, then costs one lookup a byte. Not safe against GetCurveByPoints
// during ApplyCurve.
#ifndef KLAV_SFCURVE_H
#define KLAV_SFCURVE_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

class KLAV_API SFCurve {
public:
    // 0 composite (no bytes change), 1 red, 2 green, 3 blue, 4 master (all).
    enum Channel { CHANNEL_COMPOSITE = 0, CHANNEL_RED = 1, CHANNEL_GREEN = 2, CHANNEL_BLUE = 3, CHANNEL_MASTER = 4 };

    SFCurve();
    virtual ~SFCurve();

    void Reset();
    // The curve through `count` points (ascending x, 0..255) into the table
    // of the channel; a channel outside the enumeration changes nothing.
    void GetCurveByPoints(KvPointI *points, int count, Channel channel);
    // A uniform cubic B-spline through the points, sampled into `table`.
    // With two points it is the straight line between them, with one point
    // the constant of its y; with none (or no table) nothing is written.
    void getBezierPoints(KvPointI *points, int count, unsigned char *table);
    void ApplyCurve(Channel channel, unsigned char *image, int rows, int columns);

private:
    friend struct SFCurveTestAccess;
    unsigned char *m_master;
    unsigned char *m_channels[4];
};

}  // namespace klav

#endif
